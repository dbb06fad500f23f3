// The per-thread last error code of the Linux platform layer.
#if !defined(_WIN32)

#include "kelwin32.h"
#include "win32/layer.h"

namespace {
thread_local DWORD t_lastError = ERROR_SUCCESS;
}

DWORD GetLastError() {
    return t_lastError;
}

void SetLastError(DWORD dwErrCode) {
    t_lastError = dwErrCode;
}

namespace kelwin {

DWORD fail(DWORD code) {
    SetLastError(code);
    return code;
}

DWORD fail_errno(int errnum) {
    return fail(kelwin_error_from_errno(errnum));
}

} // namespace kelwin

#endif // !_WIN32
