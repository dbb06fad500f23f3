// Events, mutexes, semaphores, waits and interlocked counters for platforms
// without <windows.h>, with Win32's semantics:
//  - a mutex is owned by a thread and re-entrant for it; when the owning thread
//    (or its process) ends, the next wait that takes it reports WAIT_ABANDONED;
//  - events are manual- or auto-reset; a satisfied wait on an auto-reset event
//    resets it, so does one on a semaphore take one unit;
//  - named objects are system-wide: every process that creates or opens the same
//    name gets the same object; a create that finds it reports
//    ERROR_ALREADY_EXISTS and ignores its own initial state; a name held by an
//    object of another kind fails with ERROR_INVALID_HANDLE. "Global\" and
//    "Local\" name the same single namespace (there are no sessions here).
// WaitForMultipleObjects waits for any one of up to MAXIMUM_WAIT_OBJECTS
// objects; waiting for all of them (bWaitAll) is not supported and fails with
// ERROR_NOT_SUPPORTED.
#ifndef BASEKEL_WIN32_SYNC_H
#define BASEKEL_WIN32_SYNC_H

#if !defined(_WIN32)

#include "types.h"

#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED 0x00000080u
#define WAIT_ABANDONED_0 0x00000080u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64

#define SYNCHRONIZE 0x00100000u
#define STANDARD_RIGHTS_REQUIRED 0x000F0000u
#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3u)
#define MUTEX_MODIFY_STATE 0x0001u
#define MUTEX_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x1u)
#define SEMAPHORE_MODIFY_STATE 0x0002u
#define SEMAPHORE_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3u)

// Security attributes are accepted and ignored: named objects are open to the
// user who created them. Names longer than MAX_PATH fail with
// ERROR_FILENAME_EXCED_RANGE; an empty name creates an unnamed object.
WINBASEAPI HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner,
                               LPCSTR lpName);
WINBASEAPI HANDLE OpenMutexA(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCSTR lpName);
WINBASEAPI BOOL ReleaseMutex(HANDLE hMutex);

WINBASEAPI HANDLE CreateEventA(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset,
                               BOOL bInitialState, LPCSTR lpName);
WINBASEAPI HANDLE OpenEventA(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCSTR lpName);
WINBASEAPI BOOL SetEvent(HANDLE hEvent);
WINBASEAPI BOOL ResetEvent(HANDLE hEvent);

WINBASEAPI HANDLE CreateSemaphoreA(LPSECURITY_ATTRIBUTES lpSemaphoreAttributes, LONG lInitialCount,
                                   LONG lMaximumCount, LPCSTR lpName);
WINBASEAPI HANDLE OpenSemaphoreA(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCSTR lpName);
WINBASEAPI BOOL ReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, PLONG lpPreviousCount);

// WAIT_OBJECT_0 (+ index), WAIT_ABANDONED_0 (+ index) for an abandoned mutex,
// which the caller then owns, WAIT_TIMEOUT, or WAIT_FAILED with the last error
// set. A time-out of INFINITE never ends.
WINBASEAPI DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
WINBASEAPI DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                        DWORD dwMilliseconds);

// Interlocked operations: atomic and sequentially consistent; results wrap at
// 32 bits as on Windows.
inline LONG InterlockedIncrement(LONG volatile* Addend) {
    return __atomic_add_fetch(Addend, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(LONG volatile* Addend) {
    return __atomic_sub_fetch(Addend, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchange(LONG volatile* Target, LONG Value) {
    return __atomic_exchange_n(Target, Value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchangeAdd(LONG volatile* Addend, LONG Value) {
    return __atomic_fetch_add(Addend, Value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedCompareExchange(LONG volatile* Destination, LONG Exchange, LONG Comparand) {
    __atomic_compare_exchange_n(Destination, &Comparand, Exchange, false, __ATOMIC_SEQ_CST,
                                __ATOMIC_SEQ_CST);
    return Comparand;
}

#endif // !_WIN32
#endif
