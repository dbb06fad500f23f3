// Environment variables, for platforms without <windows.h>. Names are
// compared without regard to case, as on Windows, when no variable of the
// exact spelling exists.
#ifndef BASEKEL_WIN32_ENVIRONMENT_H
#define BASEKEL_WIN32_ENVIRONMENT_H

#if !defined(_WIN32)

#include "types.h"

// Returns the value's length when the buffer holds it and its NUL, the size
// needed including the NUL when not, and 0 with ERROR_ENVVAR_NOT_FOUND when
// the variable is not set.
WINBASEAPI DWORD GetEnvironmentVariableA(LPCSTR lpName, LPSTR lpBuffer, DWORD nSize);
// A null value removes the variable.
WINBASEAPI BOOL SetEnvironmentVariableA(LPCSTR lpName, LPCSTR lpValue);

#endif // !_WIN32
#endif
