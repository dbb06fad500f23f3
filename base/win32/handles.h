// Closing kernel-object handles, for platforms without <windows.h>.
#ifndef BASEKEL_WIN32_HANDLES_H
#define BASEKEL_WIN32_HANDLES_H

#if !defined(_WIN32)

#include "types.h"

// Closes a handle of any kind of kernel object. Fails with
// ERROR_INVALID_HANDLE for a value that is not an open handle. The value of
// INVALID_HANDLE_VALUE is also the current process's pseudo-handle, which
// closes successfully without effect, as on Windows.
WINBASEAPI BOOL CloseHandle(HANDLE hObject);

#endif // !_WIN32
#endif
