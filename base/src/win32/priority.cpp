// Thread priorities on Linux: remembered per thread, without effect on the
// host's scheduling (see win32/priority.h).
#if !defined(_WIN32)

#include "win32/layer.h"

namespace {

// The pseudo-handle GetCurrentThread hands out, as on Windows.
HANDLE const kCurrentThread = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2));

thread_local int t_priority = THREAD_PRIORITY_NORMAL;

bool is_priority(int priority) {
    return priority == THREAD_PRIORITY_IDLE || priority == THREAD_PRIORITY_TIME_CRITICAL ||
           (priority >= THREAD_PRIORITY_LOWEST && priority <= THREAD_PRIORITY_HIGHEST);
}

} // namespace

HANDLE GetCurrentThread() {
    return kCurrentThread;
}

int GetThreadPriority(HANDLE hThread) {
    if (hThread != kCurrentThread) {
        kelwin::fail(ERROR_INVALID_HANDLE);
        return THREAD_PRIORITY_ERROR_RETURN;
    }
    return t_priority;
}

BOOL SetThreadPriority(HANDLE hThread, int nPriority) {
    if (hThread != kCurrentThread) {
        kelwin::fail(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!is_priority(nPriority)) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    t_priority = nPriority;
    return TRUE;
}

#endif // !_WIN32
