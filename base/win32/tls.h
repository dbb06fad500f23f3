// Thread-local storage indexes, for platforms without <windows.h>.
//
// As on Windows, an index allocated by TlsAlloc names one pointer-sized slot
// in every thread of the process, zero in every thread when the index is
// allocated; TlsGetValue and TlsSetValue reach the calling thread's slot
// without any lock. The slots live in storage that stays readable until the
// thread has finished running every thread-exit destructor, so code that
// cleans up at thread end can still read them.
#ifndef BASEKEL_WIN32_TLS_H
#define BASEKEL_WIN32_TLS_H

#if !defined(_WIN32)

#include "types.h"

// The number of indexes Windows guarantees to every process; this layer
// offers exactly that many.
#define TLS_MINIMUM_AVAILABLE 64
#define TLS_OUT_OF_INDEXES ((DWORD)0xFFFFFFFF)

// The lowest free index, or TLS_OUT_OF_INDEXES with ERROR_NO_MORE_ITEMS.
WINBASEAPI DWORD TlsAlloc();
// The calling thread's value; sets the last error to ERROR_SUCCESS so that a
// null value can be told from a failure (ERROR_INVALID_PARAMETER for an index
// out of range).
WINBASEAPI LPVOID TlsGetValue(DWORD dwTlsIndex);
WINBASEAPI BOOL TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue);
// Fails with ERROR_INVALID_PARAMETER for an index that is not allocated.
WINBASEAPI BOOL TlsFree(DWORD dwTlsIndex);

#endif // !_WIN32
#endif
