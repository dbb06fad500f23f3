// A call when a thread ends, for platforms without <windows.h>.
//
// Windows tells a library about every thread that ends (DllMain with
// DLL_THREAD_DETACH). Linux has no such notification, so code that keeps
// state per thread arranges, for each thread that has some, a routine to be
// called when that thread ends. The layer knows nothing of the routines: it
// only calls them.
#ifndef BASEKEL_WIN32_THREADEND_H
#define BASEKEL_WIN32_THREADEND_H

#if !defined(_WIN32)

#include "types.h"

typedef void (*KELWIN_THREAD_END_ROUTINE)(void);

// How many different routines the process may have arranged at one time.
#define KELWIN_THREAD_END_ROUTINES 8

// Arranges for `routine` to be called once, on the calling thread, when it
// ends, after the thread's thread_local destructors (so that those may still
// use what the routine releases). Arranging it again before then changes
// nothing. The main thread ends with the process and is not called back.
// Fails with ERROR_INVALID_PARAMETER for a null routine, ERROR_NO_MORE_ITEMS
// when KELWIN_THREAD_END_ROUTINES other routines are in use, and with the
// translation of the system's error when no key can be had for the routine.
WINBASEAPI BOOL kelwin_call_at_thread_end(KELWIN_THREAD_END_ROUTINE routine);

// Whether `routine` is arranged for the calling thread. While the routine
// runs at thread end it is no longer arranged, so a routine arranged again
// from code that runs after it at thread end is called once more.
WINBASEAPI BOOL kelwin_is_called_at_thread_end(KELWIN_THREAD_END_ROUTINE routine);

// From now on no thread calls `routine` at its end (code that is about to be
// unloaded). It may be arranged again afterwards.
WINBASEAPI void kelwin_cancel_thread_end(KELWIN_THREAD_END_ROUTINE routine);

#endif // !_WIN32
#endif
