// The calling thread's last Win32 error code, for platforms without <windows.h>.
#ifndef BASEKEL_WIN32_LASTERROR_H
#define BASEKEL_WIN32_LASTERROR_H

#if !defined(_WIN32)

#include "types.h"

WINBASEAPI DWORD GetLastError();
WINBASEAPI void SetLastError(DWORD dwErrCode);

#endif // !_WIN32
#endif
