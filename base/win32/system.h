// System information, time and thread identity, for platforms without <windows.h>.
#ifndef BASEKEL_WIN32_SYSTEM_H
#define BASEKEL_WIN32_SYSTEM_H

#if !defined(_WIN32)

#include "types.h"

#define MAX_COMPUTERNAME_LENGTH 15

// The host name, cut at the first '.' and at MAX_COMPUTERNAME_LENGTH and
// upper-cased as Windows reports NetBIOS names. *nSize is the buffer size on
// entry and the length written on success; when the buffer is too small it
// fails with ERROR_BUFFER_OVERFLOW and *nSize is the size needed.
WINBASEAPI BOOL GetComputerNameA(LPSTR lpBuffer, LPDWORD nSize);

// Milliseconds since the system started, wrapping at 32 bits.
WINBASEAPI DWORD GetTickCount();
WINBASEAPI ULONGLONG GetTickCount64();
WINBASEAPI void Sleep(DWORD dwMilliseconds);
WINBASEAPI DWORD GetCurrentThreadId();
WINBASEAPI DWORD GetCurrentProcessId();

typedef struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

// The current date and time in the local time zone (the TZ rules of the C
// runtime).
WINBASEAPI void GetLocalTime(LPSYSTEMTIME lpSystemTime);

#endif // !_WIN32
#endif
