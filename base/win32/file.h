// Files and file-system operations, for platforms without <windows.h>.
// Paths are DOS paths: '\' or '/' separate components, "X:" names a drive
// (mapped to a host directory, see docs/PATHS.md), and a component that does
// not exist as spelled is found without regard to case.
#ifndef BASEKEL_WIN32_FILE_H
#define BASEKEL_WIN32_FILE_H

#if !defined(_WIN32)

#include "types.h"

// Access rights.
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define GENERIC_EXECUTE 0x20000000u
#define GENERIC_ALL 0x10000000u
#define DELETE 0x00010000u
#define FILE_READ_DATA 0x0001u
#define FILE_WRITE_DATA 0x0002u
#define FILE_APPEND_DATA 0x0004u
#define FILE_READ_ATTRIBUTES 0x0080u
#define FILE_WRITE_ATTRIBUTES 0x0100u

// Share modes.
#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u
#define FILE_SHARE_DELETE 0x00000004u

// Creation dispositions.
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

// File attributes and flags.
#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_HIDDEN 0x00000002u
#define FILE_ATTRIBUTE_SYSTEM 0x00000004u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define FILE_FLAG_WRITE_THROUGH 0x80000000u
#define FILE_FLAG_OVERLAPPED 0x40000000u
#define FILE_FLAG_NO_BUFFERING 0x20000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

// File pointer.
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu

// MoveFileExA flags.
#define MOVEFILE_REPLACE_EXISTING 0x00000001u
#define MOVEFILE_COPY_ALLOWED 0x00000002u
#define MOVEFILE_DELAY_UNTIL_REBOOT 0x00000004u
#define MOVEFILE_WRITE_THROUGH 0x00000008u

// Opens or creates a file. Sharing is enforced across processes: an open that
// conflicts with the access or share mode of another open of the same file
// fails with ERROR_SHARING_VIOLATION. On success the last error is 0, or
// ERROR_ALREADY_EXISTS when CREATE_ALWAYS or OPEN_ALWAYS found the file.
WINBASEAPI HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                              LPSECURITY_ATTRIBUTES lpSecurityAttributes,
                              DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes,
                              HANDLE hTemplateFile);
WINBASEAPI BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                         LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);
WINBASEAPI BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                          LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);
WINBASEAPI DWORD SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh,
                                DWORD dwMoveMethod);
WINBASEAPI DWORD GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh);
WINBASEAPI BOOL SetEndOfFile(HANDLE hFile);
WINBASEAPI BOOL FlushFileBuffers(HANDLE hFile);
WINBASEAPI BOOL GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                            LPFILETIME lpLastWriteTime);

WINBASEAPI DWORD GetFileAttributesA(LPCSTR lpFileName);
// Only FILE_ATTRIBUTE_READONLY has an effect on the host (it removes the
// write permissions); the other attributes are accepted and ignored.
WINBASEAPI BOOL SetFileAttributesA(LPCSTR lpFileName, DWORD dwFileAttributes);
WINBASEAPI BOOL CopyFileA(LPCSTR lpExistingFileName, LPCSTR lpNewFileName, BOOL bFailIfExists);
WINBASEAPI BOOL MoveFileExA(LPCSTR lpExistingFileName, LPCSTR lpNewFileName, DWORD dwFlags);
WINBASEAPI BOOL DeleteFileA(LPCSTR lpFileName);
WINBASEAPI BOOL CreateDirectoryA(LPCSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes);
WINBASEAPI BOOL RemoveDirectoryA(LPCSTR lpPathName);
// "<path>\<up to 3 characters of prefix><hex digits of the unique number>.tmp";
// a unique number of 0 picks a free one and creates the file.
WINBASEAPI UINT GetTempFileNameA(LPCSTR lpPathName, LPCSTR lpPrefixString, UINT uUnique,
                                 LPSTR lpTempFileName);

#endif // !_WIN32
#endif
