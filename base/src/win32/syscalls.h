// The table of system calls that the Linux side of the platform layer makes.
// Every call goes through a named, replaceable function pointer, so that a
// test can make any one of them fail with a chosen errno and check the Win32
// result and error code that come out (the same idea as SQLite's aSyscall).
//
// A layer file declares the calls it uses once, at namespace scope:
//     KELWIN_SYSCALL(open);
// and calls sys_open(...) where it would call ::open(...).
#ifndef BASEKEL_SRC_WIN32_SYSCALLS_H
#define BASEKEL_SRC_WIN32_SYSCALLS_H

#if !defined(_WIN32)

#include "kelexport.h"

namespace kelwin {

// Links one function-pointer variable into the process-wide table under its
// system call's name. Several files may register the same name; an override
// then applies to all of them.
class SyscallRegistration {
public:
    SyscallRegistration(const char* name, void** slot);
    SyscallRegistration(const SyscallRegistration&) = delete;
    SyscallRegistration& operator=(const SyscallRegistration&) = delete;

    const char* const name;
    void** const slot;
    void* const original;
    SyscallRegistration* next;
};

} // namespace kelwin

#define KELWIN_SYSCALL(fn)                                                                         \
    static decltype(&::fn) sys_##fn = &::fn;                                                       \
    static ::kelwin::SyscallRegistration sys_##fn##_registration(                                  \
        #fn, reinterpret_cast<void**>(&sys_##fn))

// Replaces the system call `name` by `replacement` (null restores the
// original). Returns 1 when a call of that name is registered, else 0.
// Meant for tests: it must not race with calls of the same system call.
extern "C" BASEKEL_API int kelwin_set_syscall(const char* name, void* replacement);

// Restores every system call to the original.
extern "C" BASEKEL_API void kelwin_reset_syscalls();

#endif // !_WIN32
#endif
