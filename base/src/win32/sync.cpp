// Events, mutexes and semaphores of the Linux platform layer, and the waits on
// them (see docs/ARCHITECTURE.md, "Kernel objects on Linux").
//
// Map of this file:
//  - time-outs and futexes;
//  - the wait generation: the one word that threads waiting on several objects
//    at once sleep on;
//  - the three kinds of object, each over an ObjectBlock (win32/syncstore.h);
//  - the Win32 functions.
//
// Waiting. Every object has a futex word (`wake`) that whoever makes it ready
// bumps and wakes; a wait on one event or semaphore sleeps on that word. A
// mutex is held by holding a robust pthread mutex, so a wait on one mutex
// blocks in pthread_mutex_lock and learns from the kernel when the owner ended
// (EOWNERDEAD, reported as WAIT_ABANDONED). A wait on several objects
// registers itself with each of them (`multi_waiters`) and sleeps on the wait
// generation, which every signal of an object with registered waiters bumps.
// The one case in which a wait looks again without a wake-up is a wait on
// several objects that include a mutex: the end of the mutex's owner wakes
// nobody, so such waits look again every kPollMs.
#if !defined(_WIN32)

#include "win32/syncstore.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/futex.h>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

KELWIN_SYSCALL(syscall);
KELWIN_SYSCALL(clock_gettime);
KELWIN_SYSCALL(shm_open);
KELWIN_SYSCALL(ftruncate);
KELWIN_SYSCALL(mmap);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(getpid);
KELWIN_SYSCALL(getuid);

namespace kelwin {
namespace {

constexpr DWORD kPollMs = 50;

std::int64_t clock_ns(clockid_t clock) {
    timespec now{};
    sys_clock_gettime(clock, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

timespec timespec_of(std::int64_t ns) {
    return timespec{static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
}

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t),
              "futex words are plain 32-bit words");

std::uint32_t* futex_address(std::atomic<std::uint32_t>& word) {
    return reinterpret_cast<std::uint32_t*>(&word);
}

// Sleeps while `word` holds `expected`, at most `timeout` (null: no limit).
// Wake-ups, time-outs, signals and a changed word all return true; any other
// failure returns false with the last error set.
bool futex_wait(std::atomic<std::uint32_t>& word, std::uint32_t expected, const timespec* timeout) {
    if (sys_syscall(SYS_futex, futex_address(word), FUTEX_WAIT, expected, timeout, nullptr, 0) ==
            0 ||
        errno == EAGAIN || errno == EINTR || errno == ETIMEDOUT)
        return true;
    fail_errno(errno);
    return false;
}

void futex_wake_all(std::atomic<std::uint32_t>& word) {
    sys_syscall(SYS_futex, futex_address(word), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// The word that threads waiting on several objects sleep on: one 32-bit word
// in a shared-memory segment per user, so that an object signalled in another
// process wakes them too. Its value means nothing beyond "changed"; the
// segment is never removed. Without it a private word serves, and waits that
// include a named object then look again every kPollMs.
class WaitGeneration {
public:
    static WaitGeneration& instance() {
        static WaitGeneration* generation = new WaitGeneration;
        return *generation;
    }

    std::atomic<std::uint32_t>& word() { return *m_word; }
    bool system_wide() const { return m_word != &m_private; }

    void bump() {
        m_word->fetch_add(1);
        futex_wake_all(*m_word);
    }

private:
    WaitGeneration() : m_word(&m_private) {
        const std::string name = "/basekel.wait." + std::to_string(sys_getuid());
        int fd = sys_shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
        if (fd < 0)
            return;
        const long page = sysconf(_SC_PAGESIZE);
        void* memory = MAP_FAILED;
        if (sys_ftruncate(fd, page) == 0)
            memory = sys_mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        sys_close(fd);
        if (memory != MAP_FAILED)
            m_word = static_cast<std::atomic<std::uint32_t>*>(memory);
    }

    std::atomic<std::uint32_t> m_private{0};
    std::atomic<std::uint32_t>* m_word;
};

DWORD wait_result(Acquire outcome, DWORD index) {
    switch (outcome) {
    case Acquire::Acquired:
        return WAIT_OBJECT_0 + index;
    case Acquire::Abandoned:
        return WAIT_ABANDONED_0 + index;
    case Acquire::Failed:
        return WAIT_FAILED;
    case Acquire::NotReady:
        break;
    }
    return WAIT_TIMEOUT;
}

std::int32_t current_pid() {
    return static_cast<std::int32_t>(sys_getpid());
}

// ---------------------------------------------------------------------------
// The objects.

class SyncObject : public Waitable {
public:
    explicit SyncObject(ObjectKind kind) : m_kind(kind) {}
    void attach(std::unique_ptr<ObjectStorage> storage) { m_storage = std::move(storage); }
    ObjectKind kind() const override { return m_kind; }
    std::atomic<std::uint32_t>& wake_word() override { return block().wake; }
    std::atomic<std::uint32_t>& multi_waiters() override { return block().multi_waiters; }
    bool shared_between_processes() const override { return m_storage->named(); }

protected:
    ObjectBlock& block() const { return m_storage->block(); }

    const ObjectKind m_kind;
    std::unique_ptr<ObjectStorage> m_storage;
};

class EventObject final : public SyncObject {
public:
    using SyncObject::SyncObject;

    Acquire try_acquire() override {
        BlockLock guard(block());
        if (!block().signalled)
            return Acquire::NotReady;
        if (!block().manual_reset)
            block().signalled = 0;
        return Acquire::Acquired;
    }

    void set() {
        {
            BlockLock guard(block());
            block().signalled = 1;
        }
        announce();
    }

    void reset() {
        BlockLock guard(block());
        block().signalled = 0;
    }
};

class SemaphoreObject final : public SyncObject {
public:
    using SyncObject::SyncObject;

    Acquire try_acquire() override {
        BlockLock guard(block());
        if (block().count == 0)
            return Acquire::NotReady;
        --block().count;
        return Acquire::Acquired;
    }

    DWORD release(LONG count, LONG& previous) {
        {
            BlockLock guard(block());
            if (static_cast<std::int64_t>(block().count) + count > block().maximum)
                return ERROR_TOO_MANY_POSTS;
            previous = block().count;
            block().count += count;
        }
        announce();
        return ERROR_SUCCESS;
    }
};

#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer knows neither pthread_mutex_clocklock nor the EOWNERDEAD
// result of pthread_mutex_timedlock; under it a timed wait on a mutex tries
// the lock once a millisecond instead, which it follows correctly.
int timed_lock(pthread_mutex_t& mutex, const Deadline& deadline) {
    for (;;) {
        const int rc = pthread_mutex_trylock(&mutex);
        if (rc != EBUSY)
            return rc;
        if (deadline.expired())
            return ETIMEDOUT;
        Sleep(1);
    }
}
#else
int timed_lock(pthread_mutex_t& mutex, const Deadline& deadline) {
    const timespec until = deadline.absolute(CLOCK_MONOTONIC);
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &until);
}
#endif

class MutexObject final : public SyncObject {
public:
    using SyncObject::SyncObject;

    ~MutexObject() override {
        if (m_storage)
            settle_before_close();
    }

    Acquire try_acquire() override { return taken(pthread_mutex_trylock(&block().ownership)); }

    bool needs_polling() const override { return true; }

    DWORD wait_alone(const Deadline& deadline) override {
        for (;;) {
            int rc;
            if (deadline.infinite())
                rc = pthread_mutex_lock(&block().ownership);
            else if (deadline.zero())
                rc = pthread_mutex_trylock(&block().ownership);
            else
                rc = timed_lock(block().ownership, deadline);
            if (rc == ETIMEDOUT && !deadline.expired())
                continue;
            return wait_result(taken(rc), 0);
        }
    }

    DWORD release() {
        ObjectBlock& b = block();
        if (b.owner_tid.load() != GetCurrentThreadId())
            return ERROR_NOT_OWNER;
        if (--b.recursion == 0) {
            b.owner_tid.store(0);
            b.owner_pid.store(0);
        }
        if (pthread_mutex_unlock(&b.ownership) != 0)
            return ERROR_NOT_OWNER;
        // Threads blocked on this mutex alone are woken by the unlock itself;
        // only waits on several objects need the announcement.
        announce_to_multi_waiters();
        return ERROR_SUCCESS;
    }

    // Records the creator as owner; called while the block is being created.
    static void take_for_creator(ObjectBlock& b) {
        pthread_mutex_lock(&b.ownership);
        record_owner(b, false);
    }

private:
    Acquire taken(int rc) {
        switch (rc) {
        case 0:
            record_owner(block(), false);
            return Acquire::Acquired;
        case EOWNERDEAD:
            pthread_mutex_consistent(&block().ownership);
            record_owner(block(), true);
            return Acquire::Abandoned;
        case EBUSY:
        case ETIMEDOUT:
            return Acquire::NotReady;
        default:
            fail_errno(rc);
            return Acquire::Failed;
        }
    }

    static void record_owner(ObjectBlock& b, bool abandoned) {
        const DWORD self = GetCurrentThreadId();
        if (abandoned || b.owner_tid.load() != self) {
            b.recursion = 1;
            b.owner_tid.store(self);
            b.owner_pid.store(static_cast<std::uint32_t>(current_pid()));
        } else {
            ++b.recursion;
        }
    }

    // The kernel keeps the address of a held robust mutex in the owning
    // thread's list and writes to it when the thread ends, so the memory of a
    // mutex held by a thread of this process must not go. An unnamed mutex
    // closed by its owner (its only handle) is released; otherwise the memory
    // is kept.
    void settle_before_close() {
        ObjectBlock& b = block();
        if (b.owner_pid.load() != static_cast<std::uint32_t>(current_pid()))
            return;
        if (!m_storage->named() && b.owner_tid.load() == GetCurrentThreadId()) {
            while (b.owner_tid.load() == GetCurrentThreadId() && release() == ERROR_SUCCESS) {
            }
            return;
        }
        m_storage->keep_memory();
    }
};

// ---------------------------------------------------------------------------
// Creation and the waits.

// Makes the object of `kind` over new or opened storage and gives it a
// handle. The last error is ERROR_ALREADY_EXISTS when a named object existed
// before, else 0, as on Windows.
// The object is allocated before its storage is set up, so that no
// allocation can fail between taking a new mutex for its creator and the
// object that releases it on failure.
template <class Object>
HANDLE make_handle(ObjectKind kind, LPCSTR name, bool create, const BlockInit& init) {
    try {
        auto object = std::make_shared<Object>(kind);
        bool existed = false;
        std::unique_ptr<ObjectStorage> storage =
            name && *name ? open_named_storage(name, kind, create, init, existed)
                          : create_unnamed_storage(kind, init);
        if (!storage)
            return nullptr;
        object->attach(std::move(storage));
        HANDLE handle = handle_insert(std::move(object));
        if (handle)
            SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return handle;
    } catch (const std::bad_alloc&) {
        fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

template <class Object> HANDLE open_existing(ObjectKind kind, LPCSTR name) {
    if (!name) {
        fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!*name) {
        fail(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    return make_handle<Object>(kind, name, false, [](ObjectBlock&) {});
}

// The object of a handle when it is of kind Object, else null with
// ERROR_INVALID_HANDLE set.
template <class Object> std::shared_ptr<Object> object_of(HANDLE handle) {
    auto object = std::dynamic_pointer_cast<Object>(handle_lookup(handle));
    if (!object)
        fail(ERROR_INVALID_HANDLE);
    return object;
}

// Decrements the registrations of a wait on several objects when it ends.
class MultiWaitRegistration {
public:
    explicit MultiWaitRegistration(const std::vector<std::shared_ptr<Waitable>>& objects)
        : m_objects(objects) {
        // Read-modify-writes on the same word as announce_to_multi_waiters:
        // whichever comes second in the word's order sees the other's effect,
        // so either this waiter sees the new state or the signaller sees the
        // registration.
        for (const auto& object : m_objects)
            object->multi_waiters().fetch_add(1);
    }
    ~MultiWaitRegistration() {
        for (const auto& object : m_objects)
            object->multi_waiters().fetch_sub(1);
    }
    MultiWaitRegistration(const MultiWaitRegistration&) = delete;
    MultiWaitRegistration& operator=(const MultiWaitRegistration&) = delete;

private:
    const std::vector<std::shared_ptr<Waitable>>& m_objects;
};

DWORD wait_any(const std::vector<std::shared_ptr<Waitable>>& objects, const Deadline& deadline) {
    WaitGeneration& generation = WaitGeneration::instance();
    bool poll = false;
    for (const auto& object : objects)
        poll = poll || object->needs_polling() ||
               (object->shared_between_processes() && !generation.system_wide());
    MultiWaitRegistration registration(objects);
    for (;;) {
        // Read before looking, so that a signal after the look changes it.
        const std::uint32_t seen = generation.word().load();
        for (DWORD i = 0; i < objects.size(); ++i) {
            const Acquire outcome = objects[i]->try_acquire();
            if (outcome != Acquire::NotReady)
                return wait_result(outcome, i);
        }
        if (deadline.zero() || deadline.expired())
            return WAIT_TIMEOUT;
        timespec left{};
        if (!futex_wait(generation.word(), seen,
                        deadline.remaining(left, poll ? kPollMs : INFINITE)))
            return WAIT_FAILED;
    }
}

} // namespace

// ---------------------------------------------------------------------------
// The shared parts of the object interface (win32/objects.h).

Deadline::Deadline(DWORD milliseconds)
    : m_infinite(milliseconds == INFINITE), m_zero(milliseconds == 0),
      m_end_ns(m_infinite ? 0
                          : clock_ns(CLOCK_MONOTONIC) +
                                static_cast<std::int64_t>(milliseconds) * 1000000) {}

bool Deadline::expired() const {
    return !m_infinite && clock_ns(CLOCK_MONOTONIC) >= m_end_ns;
}

const timespec* Deadline::remaining(timespec& out, DWORD cap_ms) const {
    const std::int64_t cap_ns =
        cap_ms == INFINITE ? INT64_MAX : static_cast<std::int64_t>(cap_ms) * 1000000;
    if (m_infinite && cap_ms == INFINITE)
        return nullptr;
    std::int64_t left = m_infinite ? cap_ns : m_end_ns - clock_ns(CLOCK_MONOTONIC);
    if (left < 0)
        left = 0;
    if (left > cap_ns)
        left = cap_ns;
    out = timespec_of(left);
    return &out;
}

timespec Deadline::absolute(clockid_t clock) const {
    std::int64_t left = m_end_ns - clock_ns(CLOCK_MONOTONIC);
    if (left < 0)
        left = 0;
    return timespec_of(clock_ns(clock) + left);
}

DWORD Waitable::wait_alone(const Deadline& deadline) {
    for (;;) {
        const std::uint32_t seen = wake_word().load();
        const Acquire outcome = try_acquire();
        if (outcome != Acquire::NotReady)
            return wait_result(outcome, 0);
        if (deadline.zero() || deadline.expired())
            return WAIT_TIMEOUT;
        timespec left{};
        if (!futex_wait(wake_word(), seen, deadline.remaining(left)))
            return WAIT_FAILED;
    }
}

void Waitable::announce() {
    wake_word().fetch_add(1);
    futex_wake_all(wake_word());
    announce_to_multi_waiters();
}

void Waitable::announce_to_multi_waiters() {
    // A read-modify-write, not a load: see MultiWaitRegistration.
    if (multi_waiters().fetch_add(0) > 0)
        WaitGeneration::instance().bump();
}

std::shared_ptr<Waitable> waitable_lookup(HANDLE handle) {
    return object_of<Waitable>(handle);
}

} // namespace kelwin

using kelwin::EventObject;
using kelwin::MutexObject;
using kelwin::ObjectBlock;
using kelwin::ObjectKind;
using kelwin::SemaphoreObject;

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL bInitialOwner, LPCSTR lpName) {
    return kelwin::make_handle<MutexObject>(ObjectKind::Mutex, lpName, true,
                                            [bInitialOwner](ObjectBlock& block) {
                                                if (bInitialOwner)
                                                    MutexObject::take_for_creator(block);
                                            });
}

HANDLE OpenMutexA(DWORD, BOOL, LPCSTR lpName) {
    return kelwin::open_existing<MutexObject>(ObjectKind::Mutex, lpName);
}

BOOL ReleaseMutex(HANDLE hMutex) {
    auto mutex = kelwin::object_of<MutexObject>(hMutex);
    if (!mutex)
        return FALSE;
    if (DWORD error = mutex->release()) {
        kelwin::fail(error);
        return FALSE;
    }
    return TRUE;
}

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCSTR lpName) {
    return kelwin::make_handle<EventObject>(ObjectKind::Event, lpName, true,
                                            [=](ObjectBlock& block) {
                                                block.manual_reset = bManualReset ? 1 : 0;
                                                block.signalled = bInitialState ? 1 : 0;
                                            });
}

HANDLE OpenEventA(DWORD, BOOL, LPCSTR lpName) {
    return kelwin::open_existing<EventObject>(ObjectKind::Event, lpName);
}

BOOL SetEvent(HANDLE hEvent) {
    auto event = kelwin::object_of<EventObject>(hEvent);
    if (!event)
        return FALSE;
    event->set();
    return TRUE;
}

BOOL ResetEvent(HANDLE hEvent) {
    auto event = kelwin::object_of<EventObject>(hEvent);
    if (!event)
        return FALSE;
    event->reset();
    return TRUE;
}

HANDLE CreateSemaphoreA(LPSECURITY_ATTRIBUTES, LONG lInitialCount, LONG lMaximumCount,
                        LPCSTR lpName) {
    if (lMaximumCount <= 0 || lInitialCount < 0 || lInitialCount > lMaximumCount) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return kelwin::make_handle<SemaphoreObject>(ObjectKind::Semaphore, lpName, true,
                                                [=](ObjectBlock& block) {
                                                    block.count = lInitialCount;
                                                    block.maximum = lMaximumCount;
                                                });
}

HANDLE OpenSemaphoreA(DWORD, BOOL, LPCSTR lpName) {
    return kelwin::open_existing<SemaphoreObject>(ObjectKind::Semaphore, lpName);
}

BOOL ReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, PLONG lpPreviousCount) {
    auto semaphore = kelwin::object_of<SemaphoreObject>(hSemaphore);
    if (!semaphore)
        return FALSE;
    if (lReleaseCount <= 0) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    LONG previous = 0;
    if (DWORD error = semaphore->release(lReleaseCount, previous)) {
        kelwin::fail(error);
        return FALSE;
    }
    if (lpPreviousCount)
        *lpPreviousCount = previous;
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    const kelwin::Deadline deadline(dwMilliseconds);
    auto object = kelwin::waitable_lookup(hHandle);
    return object ? object->wait_alone(deadline) : WAIT_FAILED;
}

DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                             DWORD dwMilliseconds) {
    const kelwin::Deadline deadline(dwMilliseconds);
    if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || !lpHandles) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    if (bWaitAll) {
        kelwin::fail(ERROR_NOT_SUPPORTED);
        return WAIT_FAILED;
    }
    try {
        std::vector<std::shared_ptr<kelwin::Waitable>> objects;
        for (DWORD i = 0; i < nCount; ++i) {
            objects.push_back(kelwin::waitable_lookup(lpHandles[i]));
            if (!objects.back())
                return WAIT_FAILED;
        }
        if (nCount == 1)
            return objects[0]->wait_alone(deadline);
        return kelwin::wait_any(objects, deadline);
    } catch (const std::bad_alloc&) {
        kelwin::fail(ERROR_NOT_ENOUGH_MEMORY);
        return WAIT_FAILED;
    }
}

#endif // !_WIN32
