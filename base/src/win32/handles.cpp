// CloseHandle: hands a handle to the service that owns it.
#if !defined(_WIN32)

#include "win32/filehandle.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace kelwin {
namespace {

// The hooks live in a fixed array that only grows: CloseHandle reads it
// without a lock and without copying, so that closing a handle allocates
// nothing and may happen in a fault handler (file mappings are closed there).
constexpr int kMaxCloseHooks = 16;
std::atomic<CloseHook> g_hooks[kMaxCloseHooks];
std::atomic<int> g_hookCount{0};

// Never destroyed: library objects with handles (such as the process-wide
// stop event) close them during static destruction, in any order.
std::mutex& hooks_lock() {
    static auto* lock = new std::mutex;
    return *lock;
}

} // namespace

void register_close_hook(CloseHook hook) {
    std::lock_guard<std::mutex> guard(hooks_lock());
    const int count = g_hookCount.load(std::memory_order_relaxed);
    if (count == kMaxCloseHooks)
        std::abort(); // a fixed number of services register; more is a build error
    g_hooks[count].store(hook, std::memory_order_relaxed);
    g_hookCount.store(count + 1, std::memory_order_release);
}

} // namespace kelwin

BOOL CloseHandle(HANDLE hObject) {
    // INVALID_HANDLE_VALUE is the current process's pseudo-handle.
    if (hObject == INVALID_HANDLE_VALUE)
        return TRUE;
    const int count = kelwin::g_hookCount.load(std::memory_order_acquire);
    for (int i = 0; i < count; ++i) {
        BOOL result = FALSE;
        if (kelwin::g_hooks[i].load(std::memory_order_relaxed)(hObject, &result))
            return result;
    }
    kelwin::fail(ERROR_INVALID_HANDLE);
    return FALSE;
}

#endif // !_WIN32
