// Directory searches with '*' and '?' wildcards, for platforms without <windows.h>.
#ifndef BASEKEL_WIN32_FIND_H
#define BASEKEL_WIN32_FIND_H

#if !defined(_WIN32)

#include "types.h"

typedef struct _WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    CHAR cFileName[MAX_PATH];
    CHAR cAlternateFileName[14];
} WIN32_FIND_DATAA, *PWIN32_FIND_DATAA, *LPWIN32_FIND_DATAA;

// Starts a search of one directory for the names that match the last
// component of lpFileName, with Windows' (DOS) wildcard rules and without
// regard to case. "." and ".." come first in a directory other than a drive's
// root. Fails with ERROR_FILE_NOT_FOUND when nothing matches.
WINBASEAPI HANDLE FindFirstFileA(LPCSTR lpFileName, LPWIN32_FIND_DATAA lpFindFileData);
// Fails with ERROR_NO_MORE_FILES after the last match.
WINBASEAPI BOOL FindNextFileA(HANDLE hFindFile, LPWIN32_FIND_DATAA lpFindFileData);
WINBASEAPI BOOL FindClose(HANDLE hFindFile);

#endif // !_WIN32
#endif
