// Where the state of an event, mutex or semaphore lives: one ObjectBlock, on
// the heap for an unnamed object, in a POSIX shared-memory segment for a named
// one, so that every process that opens the name works on the same block.
// The block is plain data with process-shared locks and futex words; it
// carries no pointers.
#ifndef BASEKEL_SRC_WIN32_SYNCSTORE_H
#define BASEKEL_SRC_WIN32_SYNCSTORE_H

#if !defined(_WIN32)

#include "win32/objects.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <pthread.h>
#include <string>

namespace kelwin {

// A process that holds handles to a named object, and how many.
struct ProcessRef {
    std::int32_t pid;
    std::uint32_t handles;
};

constexpr int kMaxProcessRefs = 64;

struct ObjectBlock {
    // kBlockLayout once the creator has initialised the block; zero before.
    std::atomic<std::uint32_t> layout;
    std::uint32_t kind; // ObjectKind

    // Guards the state below, the event and semaphore state and the process
    // list. Robust and process-shared: a process that dies inside it leaves
    // it usable.
    pthread_mutex_t lock;
    // Futex word, bumped by every change that may satisfy a wait.
    std::atomic<std::uint32_t> wake;
    // Threads waiting on this object together with others.
    std::atomic<std::uint32_t> multi_waiters;

    // Event.
    std::uint32_t manual_reset;
    std::uint32_t signalled;

    // Semaphore.
    std::int32_t count;
    std::int32_t maximum;

    // Mutex: holding the Win32 mutex is holding `ownership`, a robust,
    // recursive, process-shared mutex, so that the kernel marks it when the
    // owning thread or process ends. The fields after it are written by the
    // owner only.
    pthread_mutex_t ownership;
    std::atomic<std::uint32_t> owner_tid;
    std::atomic<std::uint32_t> owner_pid;
    std::uint32_t recursion;

    // Named objects: set once the name has been removed, so that an opener
    // that still reached this block starts again.
    std::uint32_t unlinked;
    // References of processes that found no free entry in `processes`.
    std::uint32_t untracked;
    ProcessRef processes[kMaxProcessRefs];
    char name[MAX_PATH + 1];
};

// Takes a block's lock; a lock left by a process that died is made consistent
// and taken.
class BlockLock {
public:
    explicit BlockLock(ObjectBlock& block);
    ~BlockLock();
    BlockLock(const BlockLock&) = delete;
    BlockLock& operator=(const BlockLock&) = delete;

private:
    ObjectBlock& m_block;
};

// Prepares the kind-specific state of a block that is being created (with its
// lock held when the block is already visible to others).
using BlockInit = std::function<void(ObjectBlock&)>;

// The storage of one handle's object. Destroying it closes the handle's
// reference: an unnamed block is freed; a named one is unmapped, and the
// segment is removed when no live process holds a handle any more.
class ObjectStorage {
public:
    virtual ~ObjectStorage() = default;
    ObjectBlock& block() const { return *m_block; }
    virtual bool named() const = 0;
    // Keeps the memory for the rest of the process: used when a thread of
    // this process still owns the mutex in it, whose address the kernel then
    // still holds in that thread's robust list.
    void keep_memory() { m_keep = true; }

protected:
    ObjectBlock* m_block = nullptr;
    bool m_keep = false;
};

// An unnamed object's storage. Throws std::bad_alloc when memory runs out.
std::unique_ptr<ObjectStorage> create_unnamed_storage(ObjectKind kind, const BlockInit& init);

// Opens the named block `name` of `kind`, creating it with `init` when it does
// not exist and `create` is set. `existed` tells whether it was there before.
// Null with the last error set on failure (std::bad_alloc when memory runs out
// before anything was set up): ERROR_FILE_NOT_FOUND (open only),
// ERROR_INVALID_HANDLE (another kind), ERROR_PATH_NOT_FOUND,
// ERROR_FILENAME_EXCED_RANGE, or the translation of a failing system call.
std::unique_ptr<ObjectStorage> open_named_storage(const char* name, ObjectKind kind, bool create,
                                                  const BlockInit& init, bool& existed);

// The shared-memory name of an object name: "/basekel." followed by the name
// with every byte other than letters, digits, '-' and '_' written as %XX; long
// names end in a hash of the whole name instead.
std::string segment_name(const std::string& object_name);

// Initialises a process-shared robust mutex; `recursive` for Win32 mutexes.
void init_robust_mutex(pthread_mutex_t& mutex, bool recursive);

} // namespace kelwin

#endif // !_WIN32
#endif
