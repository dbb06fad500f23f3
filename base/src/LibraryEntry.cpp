// Process and thread attach and detach of the library.
#include "LibraryEntry.h"

#include <new>
#include <string>

#include "Error.h"
#include "MessageCatalogue.h"
#include "TestHooks.h"
#include "ThreadErrorState.h"

namespace {

HINSTANCE s_module = nullptr;
std::new_handler s_previousNewHandler = nullptr;

// The library's own file, for the message file kept beside it.
std::string LibraryPath(HINSTANCE module) {
    char path[MAX_PATH + 1] = {};
    const DWORD length = GetModuleFileNameA(static_cast<HMODULE>(module), path, sizeof path);
    return length > 0 && length < sizeof path ? std::string(path, length) : std::string();
}

} // namespace

void BaseProcessAttach(HINSTANCE module) {
    s_module = module;
    s_previousNewHandler = std::set_new_handler(kelmo_new_handler);
    TheMessageSystem().ChooseStartupFile(LibraryPath(module).c_str());
    BaseThreadAttach();
}

void BaseProcessDetach() {
    BaseThreadDetach();
    if (std::get_new_handler() == kelmo_new_handler)
        std::set_new_handler(s_previousNewHandler);
}

void BaseThreadAttach() {
    AttachThreadErrorState();
}

void BaseThreadDetach() {
    DetachThreadErrorState();
}

HINSTANCE BaseModuleHandle() {
    return s_module;
}

void RestoreStartupMessageFile() {
    TheMessageSystem().ChooseStartupFile(LibraryPath(s_module).c_str());
}
