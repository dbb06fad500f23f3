// Thread priorities, for platforms without <windows.h>.
//
// Only the calling thread can be named (GetCurrentThread's pseudo-handle).
// The priority is remembered per thread and reported back as Windows does,
// but it does not change how the host schedules the thread: raising a
// thread's priority needs privileges there that a library cannot assume.
#ifndef BASEKEL_WIN32_PRIORITY_H
#define BASEKEL_WIN32_PRIORITY_H

#if !defined(_WIN32)

#include "types.h"

#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_ERROR_RETURN 0x7FFFFFFF

// The pseudo-handle (-2) that stands for the calling thread.
WINBASEAPI HANDLE GetCurrentThread();
// THREAD_PRIORITY_ERROR_RETURN with ERROR_INVALID_HANDLE for other handles.
WINBASEAPI int GetThreadPriority(HANDLE hThread);
// One of the THREAD_PRIORITY_* values, else ERROR_INVALID_PARAMETER.
WINBASEAPI BOOL SetThreadPriority(HANDLE hThread, int nPriority);

#endif // !_WIN32
#endif
