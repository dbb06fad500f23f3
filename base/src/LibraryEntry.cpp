// Process and thread attach and detach of the library.
#include "LibraryEntry.h"

#include <new>

#include "Error.h"
#include "MessageCatalogue.h"
#include "TestHooks.h"
#include "ThreadErrorState.h"

namespace {

HINSTANCE s_module = nullptr;
std::new_handler s_previousNewHandler = nullptr;

} // namespace

void BaseProcessAttach(HINSTANCE module) {
    s_module = module;
    s_previousNewHandler = std::set_new_handler(kelmo_new_handler);
    TheMessageSystem().ChooseStartupFile(static_cast<HMODULE>(module));
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
    TheMessageSystem().ChooseStartupFile(static_cast<HMODULE>(s_module));
}
