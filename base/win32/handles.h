// Handles of kernel objects for platforms without <windows.h>: the security
// attributes every creating call takes, and the calls that close a handle.
// The objects behind the handles live in the files of their own kind.
#ifndef BASEKEL_WIN32_HANDLES_H
#define BASEKEL_WIN32_HANDLES_H

#if !defined(_WIN32)

#include "types.h"

typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

// Closes a handle of any kernel object. The object goes when its last handle
// is closed and no wait on it is in progress. A null handle, a handle closed
// before and a find handle fail with ERROR_INVALID_HANDLE.
WINBASEAPI BOOL CloseHandle(HANDLE hObject);

// Closes a find handle (FindFirstFileA); any other value fails with
// ERROR_INVALID_HANDLE.
WINBASEAPI BOOL FindClose(HANDLE hFindFile);

#endif // !_WIN32
#endif
