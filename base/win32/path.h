// Paths, drives, the current directory and the temporary directory, for
// platforms without <windows.h>. Every path this layer returns is a DOS path
// ("C:\dir\name") that maps back to the same host file; docs/PATHS.md tells
// how drives map to host directories.
#ifndef BASEKEL_WIN32_PATH_H
#define BASEKEL_WIN32_PATH_H

#if !defined(_WIN32)

#include "types.h"

#define DRIVE_UNKNOWN 0
#define DRIVE_NO_ROOT_DIR 1
#define DRIVE_REMOVABLE 2
#define DRIVE_FIXED 3
#define DRIVE_REMOTE 4
#define DRIVE_CDROM 5
#define DRIVE_RAMDISK 6

// The text getters below follow Win32's convention: when the buffer holds the
// text and its NUL they return the text's length, otherwise the size needed
// including the NUL, leaving the buffer alone.
WINBASEAPI DWORD GetFullPathNameA(LPCSTR lpFileName, DWORD nBufferLength, LPSTR lpBuffer,
                                  LPSTR* lpFilePart);
WINBASEAPI DWORD GetCurrentDirectoryA(DWORD nBufferLength, LPSTR lpBuffer);
WINBASEAPI BOOL SetCurrentDirectoryA(LPCSTR lpPathName);
// TMP, TEMP, TMPDIR or "/tmp", as a full DOS path ending with '\'.
WINBASEAPI DWORD GetTempPathA(DWORD nBufferLength, LPSTR lpBuffer);
// DRIVE_FIXED for a mapped drive whose directory exists, else DRIVE_NO_ROOT_DIR.
WINBASEAPI UINT GetDriveTypeA(LPCSTR lpRootPathName);

#endif // !_WIN32
#endif
