// CloseHandle: hands a handle to the service that owns it.
#if !defined(_WIN32)

#include "win32/filehandle.h"

#include <mutex>
#include <vector>

namespace kelwin {
namespace {

// Never destroyed: library objects with handles (such as the process-wide
// stop event) close them during static destruction, in any order.
std::mutex& hooks_lock() {
    static auto* lock = new std::mutex;
    return *lock;
}

std::vector<CloseHook>& hooks() {
    static auto* list = new std::vector<CloseHook>;
    return *list;
}

} // namespace

void register_close_hook(CloseHook hook) {
    std::lock_guard<std::mutex> guard(hooks_lock());
    hooks().push_back(hook);
}

} // namespace kelwin

BOOL CloseHandle(HANDLE hObject) {
    // INVALID_HANDLE_VALUE is the current process's pseudo-handle.
    if (hObject == INVALID_HANDLE_VALUE)
        return TRUE;
    std::vector<kelwin::CloseHook> hooks;
    {
        std::lock_guard<std::mutex> guard(kelwin::hooks_lock());
        hooks = kelwin::hooks();
    }
    for (auto hook : hooks) {
        BOOL result = FALSE;
        if (hook(hObject, &result))
            return result;
    }
    kelwin::fail(ERROR_INVALID_HANDLE);
    return FALSE;
}

#endif // !_WIN32
