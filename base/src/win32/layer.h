// Helpers shared by the files of the Linux platform layer.
#ifndef BASEKEL_SRC_WIN32_LAYER_H
#define BASEKEL_SRC_WIN32_LAYER_H

#if !defined(_WIN32)

#include "kelwin32.h"
#include "win32/syscalls.h"

namespace kelwin {

// Sets the calling thread's last error to `code` and returns it.
DWORD fail(DWORD code);

// Sets the last error to the Win32 translation of an errno value.
DWORD fail_errno(int errnum);

// Sets the last error to `code` and returns `result`, the failure value of
// the caller: `return fail_with(ERROR_ACCESS_DENIED, FALSE);`.
template <typename T> T fail_with(DWORD code, T result) {
    fail(code);
    return result;
}

// Sets the last error to the translation of an errno value and returns `result`.
template <typename T> T fail_errno_with(int errnum, T result) {
    fail_errno(errnum);
    return result;
}

} // namespace kelwin

#endif // !_WIN32
#endif
