// The translation of errno values into Win32 error codes, and FormatMessageA
// with the English text of every code this layer produces.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct ErrnoMapping {
    int errnum;
    DWORD code;
};

// The one table from errno to Win32. Where POSIX is finer than Win32 several
// errno values share a code; the choice follows what the corresponding Win32
// call reports for the same situation.
const ErrnoMapping kErrnoTable[] = {
    {0, ERROR_SUCCESS},
    {EPERM, ERROR_ACCESS_DENIED},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EIO, ERROR_IO_DEVICE},
    {ENXIO, ERROR_FILE_NOT_FOUND},
    {E2BIG, ERROR_INVALID_PARAMETER},
    {EBADF, ERROR_INVALID_HANDLE},
    {EAGAIN, ERROR_NOT_ENOUGH_MEMORY},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EACCES, ERROR_ACCESS_DENIED},
    {EFAULT, ERROR_NOACCESS},
    {EBUSY, ERROR_BUSY},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {ENODEV, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EFBIG, ERROR_DISK_FULL},
    {ENOSPC, ERROR_DISK_FULL},
    {ESPIPE, ERROR_SEEK},
    {EROFS, ERROR_WRITE_PROTECT},
    {EMLINK, ERROR_TOO_MANY_LINKS},
    {EPIPE, ERROR_BROKEN_PIPE},
    {EDOM, ERROR_INVALID_PARAMETER},
    {ERANGE, ERROR_INVALID_PARAMETER},
    {EDEADLK, ERROR_LOCK_VIOLATION},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOLCK, ERROR_LOCK_VIOLATION},
    {ENOSYS, ERROR_CALL_NOT_IMPLEMENTED},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {ETIMEDOUT, ERROR_TIMEOUT},
    {ECANCELED, ERROR_OPERATION_ABORTED},
    {EOWNERDEAD, ERROR_NOT_OWNER},
    {ENOTSUP, ERROR_NOT_SUPPORTED},
    {EDQUOT, ERROR_DISK_QUOTA_EXCEEDED},
    {ENOTCONN, ERROR_PIPE_NOT_CONNECTED},
    {ECONNRESET, ERROR_BROKEN_PIPE},
    {EINTR, ERROR_OPERATION_ABORTED},
};

struct ErrorText {
    DWORD code;
    const char* text;
};

#define KELWIN_ERROR_TEXT(name, value, text) {value, text},
const ErrorText kErrorTexts[] = {KELWIN_ERROR_CODES(KELWIN_ERROR_TEXT)};
#undef KELWIN_ERROR_TEXT

const char* text_of(DWORD code) {
    for (const auto& entry : kErrorTexts)
        if (entry.code == code)
            return entry.text;
    return nullptr;
}

} // namespace

DWORD kelwin_error_from_errno(int errnum) {
    for (const auto& entry : kErrnoTable)
        if (entry.errnum == errnum)
            return entry.code;
    return ERROR_GEN_FAILURE;
}

DWORD FormatMessageA(DWORD dwFlags, LPCVOID, DWORD dwMessageId, DWORD, LPSTR lpBuffer, DWORD nSize,
                     va_list*) {
    if (!(dwFlags & FORMAT_MESSAGE_FROM_SYSTEM) ||
        (dwFlags & (FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_HMODULE)) || !lpBuffer) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const char* text = text_of(dwMessageId);
    if (!text) {
        kelwin::fail(ERROR_MR_MID_NOT_FOUND);
        return 0;
    }
    const DWORD length = static_cast<DWORD>(std::strlen(text)) + 2; // with "\r\n"
    char* out = lpBuffer;
    if (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
        DWORD size = length + 1 > nSize ? length + 1 : nSize;
        out = static_cast<char*>(std::malloc(size));
        if (!out) {
            kelwin::fail(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        *reinterpret_cast<char**>(lpBuffer) = out;
    } else if (nSize < length + 1) {
        kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::snprintf(out, length + 1, "%s\r\n", text);
    return length;
}

HANDLE LocalFree(HANDLE hMem) {
    std::free(hMem);
    return nullptr;
}

#endif // !_WIN32
