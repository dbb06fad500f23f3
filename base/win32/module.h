// Module file names, for platforms without <windows.h>. A module handle is
// the module's load address, as on Windows; any address inside a loaded
// module names that module.
#ifndef BASEKEL_WIN32_MODULE_H
#define BASEKEL_WIN32_MODULE_H

#if !defined(_WIN32)

#include "types.h"

// The DOS path of the module's file; a null module is the executable. A
// buffer too small receives the path cut to nSize - 1 characters and a NUL;
// the function then returns nSize and sets ERROR_INSUFFICIENT_BUFFER.
WINBASEAPI DWORD GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize);

#endif // !_WIN32
#endif
