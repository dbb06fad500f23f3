// Library start-up and shutdown: what the library does when it is loaded into
// a process, when threads start and end, and when it is unloaded.
//
// The loader calls DllMain with the reason. Each reason has one function
// below, and each of those is a list of steps, one function per step, in the
// order they run.
//
// Windows calls DllMain for all four reasons. Linux announces neither loading
// nor threads, so the end of this file stands in for the loader: a static
// object's construction and destruction are process attach and detach, a
// thread is attached on its first look at its error state (which also covers
// threads that existed before the library was loaded), and the layer calls
// the thread's detach when it ends, after its thread_local destructors, so
// that those may still report errors. The main thread is detached at process
// detach.
#include <new>

#include "kelwin32.h"
#include "Error.h"
#include "MessageCatalogue.h"
#include "TestHooks.h"
#include "ThreadErrorState.h"

namespace {

HINSTANCE s_module = nullptr;
std::new_handler s_previousNewHandler = nullptr;

// ---------------------------------------------------------------------------
// Process attach steps

void KeepModuleHandle(HINSTANCE module) {
    s_module = module;
}

void InstallMemoryFailureHandler() {
    s_previousNewHandler = std::set_new_handler(kelmo_new_handler);
}

// Notes only which module is the library: the files are looked for at the
// first lookup that needs one (no file work while the loader runs).
void ChooseMessageFile() {
    TheMessageSystem().ChooseStartupFile(static_cast<HMODULE>(s_module));
}

// ---------------------------------------------------------------------------
// Process detach steps

// An unloaded library leaves no handler behind: the one that was there before
// comes back, unless someone replaced ours meanwhile.
void RemoveMemoryFailureHandler() {
    if (std::get_new_handler() == kelmo_new_handler)
        std::set_new_handler(s_previousNewHandler);
}

// ---------------------------------------------------------------------------
// The four reasons

void ThreadAttach() {
    AttachThreadErrorState();
}

void ThreadDetach() {
    DetachThreadErrorState();
}

void ProcessAttach(HINSTANCE module) {
    KeepModuleHandle(module);
    InstallMemoryFailureHandler();
    ChooseMessageFile();
    ThreadAttach();
}

void ProcessDetach() {
    ThreadDetach();
    RemoveMemoryFailureHandler();
}

} // namespace

// The library's entry point; always 1, also for reasons it does not know.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        ProcessAttach(module);
        break;
    case DLL_THREAD_ATTACH:
        ThreadAttach();
        break;
    case DLL_THREAD_DETACH:
        ThreadDetach();
        break;
    case DLL_PROCESS_DETACH:
        ProcessDetach();
        break;
    default:
        break;
    }
    return TRUE;
}

void RestoreStartupMessageFile() {
    ChooseMessageFile();
}

#if !defined(_WIN32)

namespace {

void DetachAtThreadEnd() {
    DllMain(s_module, DLL_THREAD_DETACH, nullptr);
}

// Attaches the thread on its first use and arranges its detach. A thread
// whose detach cannot be arranged still gets its state (ThreadErrorState
// attaches on first use by itself) and is tried again at its next use.
void AttachOnFirstUse() {
    if (kelwin_is_called_at_thread_end(DetachAtThreadEnd))
        return;
    DllMain(s_module, DLL_THREAD_ATTACH, nullptr);
    kelwin_call_at_thread_end(DetachAtThreadEnd);
}

HINSTANCE OwnModuleHandle() {
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&DetachAtThreadEnd), &module);
    return module;
}

class ProcessLifetime {
public:
    ProcessLifetime() {
        DllMain(OwnModuleHandle(), DLL_PROCESS_ATTACH, nullptr);
        SetThreadFirstUseRoutine(AttachOnFirstUse);
        AttachOnFirstUse();
    }
    ~ProcessLifetime() {
        DllMain(s_module, DLL_PROCESS_DETACH, nullptr);
        // No thread may call into the library once it is gone.
        SetThreadFirstUseRoutine(nullptr);
        kelwin_cancel_thread_end(DetachAtThreadEnd);
    }
    ProcessLifetime(const ProcessLifetime&) = delete;
    ProcessLifetime& operator=(const ProcessLifetime&) = delete;
};

ProcessLifetime s_processLifetime;

} // namespace

#endif // !_WIN32
