// The kernel objects of the Linux platform layer that one can wait on, the
// table of handles that names them, and the hook by which CloseHandle reaches
// the tables of every service.
//
// Events, mutexes and semaphores derive from Waitable and get their HANDLE
// from handle_insert; so does any later kind that WaitForSingleObject and
// WaitForMultipleObjects must reach (a pipe end, a process). Services with
// objects of their own (files, searches) keep their own tables in their own
// value ranges and register a CloseHook.
#ifndef BASEKEL_SRC_WIN32_OBJECTS_H
#define BASEKEL_SRC_WIN32_OBJECTS_H

#if !defined(_WIN32)

#include "win32/layer.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>

namespace kelwin {

enum class ObjectKind : std::uint32_t {
    None = 0,
    Event = 1,
    Mutex = 2,
    Semaphore = 3,
};

// Anything a HANDLE names. It is destroyed when its last handle is closed and
// the last operation in progress on it (a wait) has ended.
class KernelObject {
public:
    virtual ~KernelObject() = default;
    virtual ObjectKind kind() const = 0;
};

// A time-out of a wait, measured on the monotonic clock from the moment the
// wait began.
class Deadline {
public:
    explicit Deadline(DWORD milliseconds);
    bool infinite() const { return m_infinite; }
    bool zero() const { return m_zero; }
    bool expired() const;
    // The time left, cut to at most `cap_ms`; null when the wait is infinite
    // and no cap is given.
    const timespec* remaining(timespec& out, DWORD cap_ms = INFINITE) const;
    // The end of the wait as an absolute time on `clock`.
    timespec absolute(clockid_t clock) const;

private:
    bool m_infinite;
    bool m_zero;
    std::int64_t m_end_ns; // CLOCK_MONOTONIC
};

// What a wait found an object in; Failed comes with the last error set.
enum class Acquire { NotReady, Acquired, Abandoned, Failed };

// An object one can wait on. Signalling follows one protocol, so that any mix
// of kinds can be waited on together:
//  - try_acquire makes the state change of a satisfied wait (takes a mutex,
//    consumes an auto-reset event or a semaphore unit) or reports NotReady;
//  - whoever changes the state so that try_acquire may newly succeed calls
//    announce(), which bumps wake_word() and wakes the threads blocked on it
//    and, when some thread waits on this object together with others
//    (multi_waiters() > 0), the shared wait generation.
class Waitable : public KernelObject {
public:
    virtual Acquire try_acquire() = 0;
    virtual std::atomic<std::uint32_t>& wake_word() = 0;
    virtual std::atomic<std::uint32_t>& multi_waiters() = 0;
    // True when the object may become ready without announce() being called
    // (a mutex whose owning thread ends); a wait on several objects then
    // looks again at short intervals.
    virtual bool needs_polling() const { return false; }
    // True for an object that other processes may signal.
    virtual bool shared_between_processes() const { return false; }
    // A wait on this object alone: WAIT_OBJECT_0, WAIT_ABANDONED, WAIT_TIMEOUT
    // or WAIT_FAILED with the last error set. The default blocks on wake_word().
    virtual DWORD wait_alone(const Deadline& deadline);

    // Tells the waiters that the object may have become ready: bumps and
    // wakes wake_word(), then announce_to_multi_waiters().
    void announce();
    // Wakes the waits on several objects that include this one, if any.
    void announce_to_multi_waiters();
};

// Puts an object into the table of waitable objects (handle values 0x300000,
// 0x300004, ...). Returns null with the last error set when the table cannot
// grow.
HANDLE handle_insert(std::shared_ptr<KernelObject> object);

// The object a handle names, or null (the last error is not touched).
std::shared_ptr<KernelObject> handle_lookup(HANDLE handle);

// The object a handle names when it is a Waitable, else null with
// ERROR_INVALID_HANDLE set.
std::shared_ptr<Waitable> waitable_lookup(HANDLE handle);

// CloseHandle asks each registered hook in turn whether the handle is one of
// its own; the hook that owns it closes it, stores the result and returns
// true. A handle no hook owns is invalid.
using CloseHook = bool (*)(HANDLE handle, BOOL* result);
void register_close_hook(CloseHook hook);

} // namespace kelwin

#endif // !_WIN32
#endif
