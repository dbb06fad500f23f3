// The library's entry point: where the platform tells the library that it is
// loaded into a process, that threads start and end, and that it is unloaded.
//
// Windows calls DllMain for all four events. Linux has no such notifications:
// a static object's construction and destruction stand for process attach and
// detach, and a thread is attached on its first use of the error state (which
// also covers threads that existed before the library was loaded). Its detach
// comes from a pthread key destructor, which runs after the thread's
// thread_local destructors, so that those may still report errors. The main
// thread runs no key destructors; it is detached at process detach.
#include "LibraryEntry.h"

#if defined(_WIN32)

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        BaseProcessAttach(module);
        break;
    case DLL_THREAD_ATTACH:
        BaseThreadAttach();
        break;
    case DLL_THREAD_DETACH:
        BaseThreadDetach();
        break;
    case DLL_PROCESS_DETACH:
        BaseProcessDetach();
        break;
    default:
        break;
    }
    return TRUE;
}

void PlatformThreadFirstUse() {}

#else // !_WIN32

#include <atomic>
#include <dlfcn.h>
#include <pthread.h>

namespace {

pthread_once_t s_keyOnce = PTHREAD_ONCE_INIT;
pthread_key_t s_threadEndKey;
std::atomic<bool> s_keyReady{false};

// The library's module handle: its load address, as on Windows.
HINSTANCE OwnModuleHandle() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&PlatformThreadFirstUse), &info))
        return nullptr;
    return info.dli_fbase;
}

void DetachAtThreadEnd(void*) {
    BaseThreadDetach();
}

void CreateThreadEndKey() {
    if (pthread_key_create(&s_threadEndKey, DetachAtThreadEnd) == 0)
        s_keyReady.store(true, std::memory_order_release);
}

// Process attach when the library's static objects are constructed, process
// detach when they are destroyed.
class ProcessLifetime {
public:
    ProcessLifetime() {
        BaseProcessAttach(OwnModuleHandle());
        PlatformThreadFirstUse();
    }
    ~ProcessLifetime() {
        BaseProcessDetach();
        // No key destructor may run into the library once it is gone.
        if (s_keyReady.exchange(false))
            pthread_key_delete(s_threadEndKey);
    }
    ProcessLifetime(const ProcessLifetime&) = delete;
    ProcessLifetime& operator=(const ProcessLifetime&) = delete;
};

ProcessLifetime s_processLifetime;

} // namespace

void PlatformThreadFirstUse() {
    pthread_once(&s_keyOnce, CreateThreadEndKey);
    if (!s_keyReady.load(std::memory_order_acquire) || pthread_getspecific(s_threadEndKey))
        return;
    BaseThreadAttach();
    // Any non-null value makes the key's destructor run at thread end.
    pthread_setspecific(s_threadEndKey, &s_threadEndKey);
}

#endif
