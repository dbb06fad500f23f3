// System information, time and thread identity on Linux.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

KELWIN_SYSCALL(gethostname);
KELWIN_SYSCALL(clock_gettime);
KELWIN_SYSCALL(nanosleep);
KELWIN_SYSCALL(localtime_r);

BOOL GetComputerNameA(LPSTR lpBuffer, LPDWORD nSize) {
    if (!nSize) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    char host[256] = {};
    if (sys_gethostname(host, sizeof host - 1) != 0) {
        kelwin::fail_errno(errno);
        return FALSE;
    }
    // Windows reports the NetBIOS name: the first label, at most 15
    // characters, in upper case.
    std::size_t length = std::strcspn(host, ".");
    if (length > MAX_COMPUTERNAME_LENGTH)
        length = MAX_COMPUTERNAME_LENGTH;
    if (!lpBuffer || *nSize < length + 1) {
        *nSize = static_cast<DWORD>(length + 1);
        kelwin::fail(ERROR_BUFFER_OVERFLOW);
        return FALSE;
    }
    for (std::size_t i = 0; i < length; ++i)
        lpBuffer[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(host[i])));
    lpBuffer[length] = '\0';
    *nSize = static_cast<DWORD>(length);
    return TRUE;
}

ULONGLONG GetTickCount64() {
    timespec now{};
    sys_clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000u +
           static_cast<ULONGLONG>(now.tv_nsec) / 1000000u;
}

DWORD GetTickCount() {
    return static_cast<DWORD>(GetTickCount64());
}

void Sleep(DWORD dwMilliseconds) {
    if (dwMilliseconds == INFINITE) {
        for (;;)
            pause();
    }
    timespec remaining{static_cast<time_t>(dwMilliseconds / 1000),
                       static_cast<long>(dwMilliseconds % 1000) * 1000000L};
    while (sys_nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(::syscall(SYS_gettid));
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(::getpid());
}

void GetLocalTime(LPSYSTEMTIME lpSystemTime) {
    timespec now{};
    sys_clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    const time_t seconds = now.tv_sec;
    sys_localtime_r(&seconds, &local);
    lpSystemTime->wYear = static_cast<WORD>(local.tm_year + 1900);
    lpSystemTime->wMonth = static_cast<WORD>(local.tm_mon + 1);
    lpSystemTime->wDayOfWeek = static_cast<WORD>(local.tm_wday);
    lpSystemTime->wDay = static_cast<WORD>(local.tm_mday);
    lpSystemTime->wHour = static_cast<WORD>(local.tm_hour);
    lpSystemTime->wMinute = static_cast<WORD>(local.tm_min);
    // Windows has no leap second.
    lpSystemTime->wSecond = static_cast<WORD>(local.tm_sec > 59 ? 59 : local.tm_sec);
    lpSystemTime->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}

#endif // !_WIN32
