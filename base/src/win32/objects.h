// The kernel objects of the Linux platform layer and the handle table that
// names them. Every kind of object (events, mutexes, semaphores here; files,
// find handles, pipes in their own files) derives from KernelObject and gets
// its HANDLE from handle_insert. Objects that WaitForSingleObject and
// WaitForMultipleObjects can wait on derive from Waitable.
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
    Find = 16, // closed by FindClose, not by CloseHandle
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

// Puts an object into the handle table. Returns null with the last error set
// when the table cannot grow.
HANDLE handle_insert(std::shared_ptr<KernelObject> object);

// The object a handle names, or null (the last error is not touched).
std::shared_ptr<KernelObject> handle_lookup(HANDLE handle);

// The object a handle names when it is a Waitable, else null with
// ERROR_INVALID_HANDLE set.
std::shared_ptr<Waitable> waitable_lookup(HANDLE handle);

// Removes a handle from the table and gives its object back, or null when the
// handle names nothing. The object goes when the caller drops it.
std::shared_ptr<KernelObject> handle_remove(HANDLE handle);

} // namespace kelwin

#endif // !_WIN32
#endif
