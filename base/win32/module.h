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

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x1
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x2
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x4

// The handle of the module that contains the address lpModuleName (with
// GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS), or of the executable for a null
// name. Modules are never unloaded behind a caller's back here, so the
// reference-count flags change nothing. Looking a module up by its name is
// not carried (ERROR_NOT_SUPPORTED); an address outside every module fails
// with ERROR_MOD_NOT_FOUND. *phModule is null after a failure.
WINBASEAPI BOOL GetModuleHandleExA(DWORD dwFlags, LPCSTR lpModuleName, HMODULE* phModule);

// The reasons for which the loader calls a library's entry point.
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

#endif // !_WIN32
#endif
