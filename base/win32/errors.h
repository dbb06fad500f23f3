// Win32 error codes and FormatMessageA for platforms without <windows.h>.
// KELWIN_ERROR_CODES is the one list of the codes this layer produces: each
// with its Win32 value and the English text that Windows gives for it. The
// translation from errno values to these codes lives in src/win32/errors.cpp.
#ifndef BASEKEL_WIN32_ERRORS_H
#define BASEKEL_WIN32_ERRORS_H

#if !defined(_WIN32)

#include <cstdarg>

#include "types.h"

// X(name, value, text)
#define KELWIN_ERROR_CODES(X)                                                                      \
    X(ERROR_SUCCESS, 0, "The operation completed successfully.")                                   \
    X(ERROR_INVALID_FUNCTION, 1, "Incorrect function.")                                            \
    X(ERROR_FILE_NOT_FOUND, 2, "The system cannot find the file specified.")                       \
    X(ERROR_PATH_NOT_FOUND, 3, "The system cannot find the path specified.")                       \
    X(ERROR_TOO_MANY_OPEN_FILES, 4, "The system cannot open the file.")                            \
    X(ERROR_ACCESS_DENIED, 5, "Access is denied.")                                                 \
    X(ERROR_INVALID_HANDLE, 6, "The handle is invalid.")                                           \
    X(ERROR_NOT_ENOUGH_MEMORY, 8,                                                                  \
      "Not enough memory resources are available to process this command.")                        \
    X(ERROR_INVALID_ACCESS, 12, "The access code is invalid.")                                     \
    X(ERROR_INVALID_DATA, 13, "The data is invalid.")                                              \
    X(ERROR_OUTOFMEMORY, 14,                                                                       \
      "Not enough memory resources are available to complete this operation.")                     \
    X(ERROR_INVALID_DRIVE, 15, "The system cannot find the drive specified.")                      \
    X(ERROR_CURRENT_DIRECTORY, 16, "The directory cannot be removed.")                             \
    X(ERROR_NOT_SAME_DEVICE, 17, "The system cannot move the file to a different disk drive.")     \
    X(ERROR_NO_MORE_FILES, 18, "There are no more files.")                                         \
    X(ERROR_WRITE_PROTECT, 19, "The media is write protected.")                                    \
    X(ERROR_NOT_READY, 21, "The device is not ready.")                                             \
    X(ERROR_BAD_LENGTH, 24, "The program issued a command but the command length is incorrect.")   \
    X(ERROR_SEEK, 25, "The drive cannot locate a specific area or track on the disk.")             \
    X(ERROR_WRITE_FAULT, 29, "The system cannot write to the specified device.")                   \
    X(ERROR_READ_FAULT, 30, "The system cannot read from the specified device.")                   \
    X(ERROR_GEN_FAILURE, 31, "A device attached to the system is not functioning.")                \
    X(ERROR_SHARING_VIOLATION, 32,                                                                 \
      "The process cannot access the file because it is being used by another process.")           \
    X(ERROR_LOCK_VIOLATION, 33,                                                                    \
      "The process cannot access the file because another process has locked a portion of the "    \
      "file.")                                                                                     \
    X(ERROR_HANDLE_EOF, 38, "Reached the end of the file.")                                        \
    X(ERROR_HANDLE_DISK_FULL, 39, "The disk is full.")                                             \
    X(ERROR_NOT_SUPPORTED, 50, "The request is not supported.")                                    \
    X(ERROR_BAD_NETPATH, 53, "The network path was not found.")                                    \
    X(ERROR_NETWORK_ACCESS_DENIED, 65, "Network access is denied.")                                \
    X(ERROR_BAD_NET_NAME, 67, "The network name cannot be found.")                                 \
    X(ERROR_FILE_EXISTS, 80, "The file exists.")                                                   \
    X(ERROR_CANNOT_MAKE, 82, "The directory or file cannot be created.")                           \
    X(ERROR_INVALID_PARAMETER, 87, "The parameter is incorrect.")                                  \
    X(ERROR_BROKEN_PIPE, 109, "The pipe has been ended.")                                          \
    X(ERROR_OPEN_FAILED, 110, "The system cannot open the device or file specified.")              \
    X(ERROR_BUFFER_OVERFLOW, 111, "The file name is too long.")                                    \
    X(ERROR_DISK_FULL, 112, "There is not enough space on the disk.")                              \
    X(ERROR_CALL_NOT_IMPLEMENTED, 120, "This function is not supported on this system.")           \
    X(ERROR_SEM_TIMEOUT, 121, "The semaphore timeout period has expired.")                         \
    X(ERROR_INSUFFICIENT_BUFFER, 122, "The data area passed to a system call is too small.")       \
    X(ERROR_INVALID_NAME, 123,                                                                     \
      "The filename, directory name, or volume label syntax is incorrect.")                        \
    X(ERROR_MOD_NOT_FOUND, 126, "The specified module could not be found.")                        \
    X(ERROR_PROC_NOT_FOUND, 127, "The specified procedure could not be found.")                    \
    X(ERROR_NEGATIVE_SEEK, 131,                                                                    \
      "An attempt was made to move the file pointer before the beginning of the file.")            \
    X(ERROR_DIR_NOT_EMPTY, 145, "The directory is not empty.")                                     \
    X(ERROR_BAD_PATHNAME, 161, "The specified path is invalid.")                                   \
    X(ERROR_BUSY, 170, "The requested resource is in use.")                                        \
    X(ERROR_ALREADY_EXISTS, 183, "Cannot create a file when that file already exists.")            \
    X(ERROR_ENVVAR_NOT_FOUND, 203,                                                                 \
      "The system could not find the environment option that was entered.")                        \
    X(ERROR_FILENAME_EXCED_RANGE, 206, "The filename or extension is too long.")                   \
    X(ERROR_PIPE_BUSY, 231, "All pipe instances are busy.")                                        \
    X(ERROR_NO_DATA, 232, "The pipe is being closed.")                                             \
    X(ERROR_PIPE_NOT_CONNECTED, 233, "No process is on the other end of the pipe.")                \
    X(ERROR_MORE_DATA, 234, "More data is available.")                                             \
    X(WAIT_TIMEOUT, 258, "The wait operation timed out.")                                          \
    X(ERROR_NO_MORE_ITEMS, 259, "No more data is available.")                                      \
    X(ERROR_DIRECTORY, 267, "The directory name is invalid.")                                      \
    X(ERROR_NOT_OWNER, 288, "Attempt to release mutex not owned by caller.")                       \
    X(ERROR_TOO_MANY_POSTS, 298, "Too many posts were made to a semaphore.")                       \
    X(ERROR_PARTIAL_COPY, 299,                                                                     \
      "Only part of a ReadProcessMemory or WriteProcessMemory request was completed.")             \
    X(ERROR_MR_MID_NOT_FOUND, 317,                                                                 \
      "The system cannot find message text for message number 0x%1 in the message file for %2.")   \
    X(ERROR_INVALID_ADDRESS, 487, "Attempt to access invalid address.")                            \
    X(ERROR_PIPE_CONNECTED, 535, "There is a process on other end of the pipe.")                   \
    X(ERROR_PIPE_LISTENING, 536, "Waiting for a process to open the other end of the pipe.")       \
    X(ERROR_OPERATION_ABORTED, 995,                                                                \
      "The I/O operation has been aborted because of either a thread exit or an application "      \
      "request.")                                                                                  \
    X(ERROR_IO_INCOMPLETE, 996, "Overlapped I/O event is not in a signaled state.")                \
    X(ERROR_IO_PENDING, 997, "Overlapped I/O operation is in progress.")                           \
    X(ERROR_NOACCESS, 998, "Invalid access to memory location.")                                   \
    X(ERROR_INVALID_FLAGS, 1004, "Invalid flags.")                                                 \
    X(ERROR_FILE_INVALID, 1006,                                                                    \
      "The volume for a file has been externally altered so that the opened file is no longer "    \
      "valid.")                                                                                    \
    X(ERROR_NO_UNICODE_TRANSLATION, 1113,                                                          \
      "No mapping for the Unicode character exists in the target multi-byte code page.")           \
    X(ERROR_IO_DEVICE, 1117, "The request could not be performed because of an I/O device error.") \
    X(ERROR_MAPPED_ALIGNMENT, 1132,                                                                \
      "The base address or the file offset specified does not have the proper alignment.")         \
    X(ERROR_TOO_MANY_LINKS, 1142,                                                                  \
      "An attempt was made to create more links on a file than the file system supports.")         \
    X(ERROR_NOT_FOUND, 1168, "Element not found.")                                                 \
    X(ERROR_CANCELLED, 1223, "The operation was canceled by the user.")                            \
    X(ERROR_USER_MAPPED_FILE, 1224,                                                                \
      "The requested operation cannot be performed on a file with a user-mapped section open.")    \
    X(ERROR_DISK_QUOTA_EXCEEDED, 1295,                                                             \
      "The requested operation cannot be completed due to a disk quota violation.")                \
    X(ERROR_PRIVILEGE_NOT_HELD, 1314, "A required privilege is not held by the client.")           \
    X(ERROR_TIMEOUT, 1460, "This operation returned because the timeout period expired.")          \
    X(ERROR_CANT_RESOLVE_FILENAME, 1921, "The name of the file cannot be resolved by the system.")

#define KELWIN_DEFINE_ERROR_CODE(name, value, text) constexpr DWORD name = value;
KELWIN_ERROR_CODES(KELWIN_DEFINE_ERROR_CODE)
#undef KELWIN_DEFINE_ERROR_CODE

constexpr DWORD NO_ERROR = 0;

// FormatMessageA, for texts of system error codes. The flags a caller may
// combine; FORMAT_MESSAGE_FROM_STRING and FROM_HMODULE are not supported
// here and fail with ERROR_INVALID_PARAMETER.
constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x00000100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x00000200;
constexpr DWORD FORMAT_MESSAGE_FROM_STRING = 0x00000400;
constexpr DWORD FORMAT_MESSAGE_FROM_HMODULE = 0x00000800;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x00001000;
constexpr DWORD FORMAT_MESSAGE_ARGUMENT_ARRAY = 0x00002000;
constexpr DWORD FORMAT_MESSAGE_MAX_WIDTH_MASK = 0x000000FF;

#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_NEUTRAL 0x00
#define MAKELANGID(p, s) ((((WORD)(s)) << 10) | (WORD)(p))

// Writes the English text of a system error code, ending in "\r\n" as on
// Windows. With FORMAT_MESSAGE_ALLOCATE_BUFFER, lpBuffer receives a pointer
// to a buffer to be released with LocalFree. Returns the number of characters
// written without the NUL, or 0 with the last error set (ERROR_MR_MID_NOT_FOUND
// for an unknown code, ERROR_INSUFFICIENT_BUFFER when nSize is too small).
WINBASEAPI DWORD FormatMessageA(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId,
                                DWORD dwLanguageId, LPSTR lpBuffer, DWORD nSize,
                                va_list* Arguments);
WINBASEAPI HANDLE LocalFree(HANDLE hMem);

// The Win32 code for an errno value, the translation every call of this layer
// uses when a system call fails. Unknown values give ERROR_GEN_FAILURE.
BASEKEL_API DWORD kelwin_error_from_errno(int errnum);

#endif // !_WIN32
#endif
