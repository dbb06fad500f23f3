// The registry of replaceable system calls of the Linux platform layer.
#if !defined(_WIN32)

#include "win32/syscalls.h"

#include <cstring>
#include <mutex>

namespace kelwin {
namespace {

// Registrations happen during static initialisation of the library, overrides
// from tests afterwards; the lock keeps the list itself consistent.
std::mutex& registry_lock() {
    static std::mutex lock;
    return lock;
}

SyscallRegistration*& registry_head() {
    static SyscallRegistration* head = nullptr;
    return head;
}

} // namespace

SyscallRegistration::SyscallRegistration(const char* name_, void** slot_)
    : name(name_), slot(slot_), original(*slot_), next(nullptr) {
    std::lock_guard<std::mutex> guard(registry_lock());
    next = registry_head();
    registry_head() = this;
}

} // namespace kelwin

extern "C" int kelwin_set_syscall(const char* name, void* replacement) {
    std::lock_guard<std::mutex> guard(kelwin::registry_lock());
    int found = 0;
    for (auto* entry = kelwin::registry_head(); entry; entry = entry->next) {
        if (std::strcmp(entry->name, name) == 0) {
            *entry->slot = replacement ? replacement : entry->original;
            found = 1;
        }
    }
    return found;
}

extern "C" void kelwin_reset_syscalls() {
    std::lock_guard<std::mutex> guard(kelwin::registry_lock());
    for (auto* entry = kelwin::registry_head(); entry; entry = entry->next)
        *entry->slot = entry->original;
}

#endif // !_WIN32
