// The storage of events, mutexes and semaphores on Linux: heap blocks for
// unnamed objects, POSIX shared-memory segments for named ones.
//
// Named objects are system-wide as on Windows. The segment of a name is
// created with O_EXCL, so exactly one process creates it; the creator fills the
// block and publishes it by setting `layout` last. Every process that holds
// handles to the object has an entry (pid, handles) in the block. A handle
// closed in the last live process removes the name (shm_unlink), so that the
// next create makes a fresh object, as Windows does once the last handle is
// gone. Entries of processes that died without closing are pruned (kill(pid,
// 0) fails with ESRCH) whenever the list is looked at; a segment that only dead
// processes held is therefore taken over as a fresh object by the next create,
// and reported as not found by the next open. A segment whose creator died
// before publishing it is given up as stale after kCreationWaitMs.
#if !defined(_WIN32)

#include "win32/syncstore.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

KELWIN_SYSCALL(shm_open);
KELWIN_SYSCALL(shm_unlink);
KELWIN_SYSCALL(fallocate);
KELWIN_SYSCALL(fstat);
KELWIN_SYSCALL(mmap);
KELWIN_SYSCALL(munmap);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(kill);
KELWIN_SYSCALL(getpid);

namespace kelwin {
namespace {

// Marks a published block; the low byte is the layout version, so that a
// block of an incompatible build is refused instead of misread.
constexpr std::uint32_t kBlockLayout = 0x4B4C5301;
constexpr DWORD kCreationWaitMs = 5000;
constexpr int kMaxOpenAttempts = 1000;
constexpr std::size_t kMaxEscapedName = 200;

bool process_alive(std::int32_t pid) {
    return sys_kill(pid, 0) == 0 || errno == EPERM;
}

void prune_dead_processes(ObjectBlock& block, std::int32_t self) {
    for (ProcessRef& ref : block.processes) {
        if (ref.pid != 0 && ref.pid != self && !process_alive(ref.pid))
            ref = ProcessRef{0, 0};
    }
}

bool in_use(const ObjectBlock& block) {
    if (block.untracked != 0)
        return true;
    for (const ProcessRef& ref : block.processes)
        if (ref.pid != 0)
            return true;
    return false;
}

// Counts a handle of process `self`; false when the list is full and the
// handle is counted as untracked instead.
bool add_process_ref(ObjectBlock& block, std::int32_t self) {
    ProcessRef* free_entry = nullptr;
    for (ProcessRef& ref : block.processes) {
        if (ref.pid == self) {
            ++ref.handles;
            return true;
        }
        if (!free_entry && ref.pid == 0)
            free_entry = &ref;
    }
    if (!free_entry) {
        ++block.untracked;
        return false;
    }
    *free_entry = ProcessRef{self, 1};
    return true;
}

void drop_process_ref(ObjectBlock& block, std::int32_t self, bool tracked) {
    if (!tracked) {
        if (block.untracked > 0)
            --block.untracked;
        return;
    }
    for (ProcessRef& ref : block.processes) {
        if (ref.pid == self) {
            if (--ref.handles == 0)
                ref = ProcessRef{0, 0};
            return;
        }
    }
}

// Memory that must stay for the rest of the process; kept reachable so that
// leak checkers see it as intended.
void retain_forever(void* memory) {
    static std::mutex* lock = new std::mutex;
    static std::vector<void*>* kept = new std::vector<void*>;
    std::lock_guard<std::mutex> guard(*lock);
    try {
        kept->push_back(memory);
    } catch (const std::bad_alloc&) {
        // Leaked unrecorded: still never freed, which is what matters.
    }
}

void init_block(ObjectBlock& block, ObjectKind kind, const BlockInit& init) {
    block.kind = static_cast<std::uint32_t>(kind);
    init_robust_mutex(block.lock, false);
    init_robust_mutex(block.ownership, true);
    init(block);
}

// Gives a block that no live process holds to a new creator: the state of
// the object that was there is dropped.
void revive_block(ObjectBlock& block, ObjectKind kind, const BlockInit& init) {
    block.kind = static_cast<std::uint32_t>(kind);
    block.multi_waiters.store(0);
    block.manual_reset = block.signalled = 0;
    block.count = block.maximum = 0;
    init_robust_mutex(block.ownership, true);
    block.owner_tid.store(0);
    block.owner_pid.store(0);
    block.recursion = 0;
    block.untracked = 0;
    init(block);
}

class HeapStorage final : public ObjectStorage {
public:
    void attach(ObjectBlock* block) { m_block = block; }
    ~HeapStorage() override {
        if (!m_block)
            return;
        if (m_keep) {
            retain_forever(m_block);
            return;
        }
        pthread_mutex_destroy(&m_block->ownership);
        pthread_mutex_destroy(&m_block->lock);
        delete m_block;
    }
    bool named() const override { return false; }
};

class SegmentStorage final : public ObjectStorage {
public:
    SegmentStorage(std::string segment, std::int32_t opener)
        : m_segment(std::move(segment)), m_opener(opener) {}
    void attach(ObjectBlock* block, bool tracked) {
        m_block = block;
        m_tracked = tracked;
    }
    ~SegmentStorage() override {
        if (!m_block)
            return;
        // A process forked from the opener shares the mapping but was never
        // counted; only the opener gives the reference back.
        if (sys_getpid() == m_opener)
            release_reference();
        if (m_keep)
            retain_forever(m_block);
        else
            sys_munmap(m_block, sizeof(ObjectBlock));
    }
    bool named() const override { return true; }

private:
    void release_reference() {
        BlockLock guard(*m_block);
        drop_process_ref(*m_block, m_opener, m_tracked);
        prune_dead_processes(*m_block, m_opener);
        if (!in_use(*m_block) && !m_block->unlinked) {
            m_block->unlinked = 1;
            sys_shm_unlink(m_segment.c_str());
        }
    }

    std::string m_segment;
    std::int32_t m_opener;
    bool m_tracked = false;
};

// Strips the namespace prefixes; a further backslash names an object
// directory that does not exist here.
DWORD object_name_of(const char* name, std::string& out) {
    if (std::strlen(name) > MAX_PATH)
        return ERROR_FILENAME_EXCED_RANGE;
    out = name;
    for (const char* prefix : {"Global\\", "Local\\"}) {
        if (out.compare(0, std::strlen(prefix), prefix) == 0) {
            out.erase(0, std::strlen(prefix));
            break;
        }
    }
    if (out.find('\\') != std::string::npos)
        return ERROR_PATH_NOT_FOUND;
    return ERROR_SUCCESS;
}

std::uint64_t fnv1a(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001b3ull;
    }
    return hash;
}

enum class Join { Joined, Revived, Retry, Failed };

class NamedOpener {
public:
    NamedOpener(const std::string& object_name, ObjectKind kind, bool create, const BlockInit& init)
        : m_name(object_name), m_segment(segment_name(object_name)), m_kind(kind), m_create(create),
          m_init(init), m_self(sys_getpid()) {}

    // Allocates everything it needs before it touches a block, so that nothing
    // can fail once a block (perhaps with a mutex taken for its creator) is set up.
    std::unique_ptr<ObjectStorage> open(bool& existed) {
        m_storage.reset(new SegmentStorage(m_segment, m_self));
        for (int attempt = 0; attempt < kMaxOpenAttempts; ++attempt) {
            if (m_create) {
                int fd = sys_shm_open(m_segment.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
                if (fd >= 0) {
                    existed = false;
                    return create_segment(fd);
                }
                if (errno != EEXIST) {
                    fail_errno(errno);
                    return nullptr;
                }
            }
            int fd = sys_shm_open(m_segment.c_str(), O_RDWR, 0);
            if (fd < 0) {
                if (errno == ENOENT && m_create)
                    continue; // removed in between: create it
                fail(errno == ENOENT ? ERROR_FILE_NOT_FOUND : kelwin_error_from_errno(errno));
                return nullptr;
            }
            ObjectBlock* block = nullptr;
            switch (join_segment(fd, block)) {
            case Join::Joined:
                existed = true;
                return make_storage(block);
            case Join::Revived:
                existed = false;
                return make_storage(block);
            case Join::Retry:
                continue;
            case Join::Failed:
                return nullptr;
            }
        }
        fail(ERROR_BUSY);
        return nullptr;
    }

private:
    std::unique_ptr<ObjectStorage> make_storage(ObjectBlock* block) {
        m_storage->attach(block, m_tracked);
        return std::move(m_storage);
    }

    std::unique_ptr<ObjectStorage> create_segment(int fd) {
        // fallocate rather than ftruncate: a full /dev/shm fails here instead of
        // raising SIGBUS at the first touch of the page.
        if (sys_fallocate(fd, 0, 0, sizeof(ObjectBlock)) != 0)
            return abandon_creation(fd, errno);
        void* memory =
            sys_mmap(nullptr, sizeof(ObjectBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (memory == MAP_FAILED)
            return abandon_creation(fd, errno);
        sys_close(fd);
        auto* block = new (memory) ObjectBlock();
        init_block(*block, m_kind, m_init);
        std::snprintf(block->name, sizeof block->name, "%s", m_name.c_str());
        m_tracked = add_process_ref(*block, m_self);
        block->layout.store(kBlockLayout, std::memory_order_release);
        return make_storage(block);
    }

    std::unique_ptr<ObjectStorage> abandon_creation(int fd, int errnum) {
        sys_close(fd);
        sys_shm_unlink(m_segment.c_str());
        fail_errno(errnum);
        return nullptr;
    }

    // Waits until the creator of the segment has published it, then joins it.
    Join join_segment(int fd, ObjectBlock*& out) {
        const Deadline deadline(kCreationWaitMs);
        struct stat st {};
        for (;;) {
            if (sys_fstat(fd, &st) != 0) {
                fail_errno(errno);
                sys_close(fd);
                return Join::Failed;
            }
            if (st.st_size >= static_cast<off_t>(sizeof(ObjectBlock)))
                break;
            if (deadline.expired())
                return give_up_stale(fd);
            Sleep(1);
        }
        void* memory =
            sys_mmap(nullptr, sizeof(ObjectBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        const int errnum = errno;
        if (memory == MAP_FAILED) {
            sys_close(fd);
            fail_errno(errnum);
            return Join::Failed;
        }
        auto* block = static_cast<ObjectBlock*>(memory);
        while (block->layout.load(std::memory_order_acquire) != kBlockLayout) {
            if (block->layout.load() != 0) {
                // Made by an incompatible build of the library.
                sys_close(fd);
                sys_munmap(memory, sizeof(ObjectBlock));
                fail(ERROR_INVALID_HANDLE);
                return Join::Failed;
            }
            if (deadline.expired()) {
                sys_munmap(memory, sizeof(ObjectBlock));
                return give_up_stale(fd);
            }
            Sleep(1);
        }
        sys_close(fd);
        const Join result = join_block(*block);
        if (result == Join::Joined || result == Join::Revived)
            out = block;
        else
            sys_munmap(memory, sizeof(ObjectBlock));
        return result;
    }

    Join give_up_stale(int fd) {
        sys_close(fd);
        sys_shm_unlink(m_segment.c_str());
        return Join::Retry;
    }

    Join join_block(ObjectBlock& block) {
        BlockLock guard(block);
        if (block.unlinked)
            return Join::Retry;
        if (m_name != block.name) {
            // Two long names with the same hash: the second cannot be had.
            fail(ERROR_INVALID_HANDLE);
            return Join::Failed;
        }
        prune_dead_processes(block, m_self);
        Join result = Join::Joined;
        if (!in_use(block)) {
            // Only dead processes held it: the object is gone.
            if (!m_create) {
                block.unlinked = 1;
                sys_shm_unlink(m_segment.c_str());
                fail(ERROR_FILE_NOT_FOUND);
                return Join::Failed;
            }
            revive_block(block, m_kind, m_init);
            result = Join::Revived;
        } else if (block.kind != static_cast<std::uint32_t>(m_kind)) {
            fail(ERROR_INVALID_HANDLE);
            return Join::Failed;
        }
        m_tracked = add_process_ref(block, m_self);
        return result;
    }

    const std::string& m_name;
    const std::string m_segment;
    const ObjectKind m_kind;
    const bool m_create;
    const BlockInit& m_init;
    const std::int32_t m_self;
    bool m_tracked = false;
    std::unique_ptr<SegmentStorage> m_storage;
};

} // namespace

BlockLock::BlockLock(ObjectBlock& block) : m_block(block) {
    if (pthread_mutex_lock(&m_block.lock) == EOWNERDEAD)
        pthread_mutex_consistent(&m_block.lock);
}

BlockLock::~BlockLock() {
    pthread_mutex_unlock(&m_block.lock);
}

void init_robust_mutex(pthread_mutex_t& mutex, bool recursive) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (recursive)
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

std::string segment_name(const std::string& object_name) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string escaped;
    for (unsigned char c : object_name) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
            c == '-' || c == '_') {
            escaped += static_cast<char>(c);
        } else {
            escaped += '%';
            escaped += kHex[c >> 4];
            escaped += kHex[c & 15];
        }
    }
    if (escaped.size() > kMaxEscapedName) {
        char hash[24];
        std::snprintf(hash, sizeof hash, "~%016llx",
                      static_cast<unsigned long long>(fnv1a(object_name)));
        escaped.resize(kMaxEscapedName);
        escaped += hash;
    }
    return "/basekel." + escaped;
}

std::unique_ptr<ObjectStorage> create_unnamed_storage(ObjectKind kind, const BlockInit& init) {
    std::unique_ptr<HeapStorage> storage(new HeapStorage);
    auto* block = new ObjectBlock();
    init_block(*block, kind, init);
    block->layout.store(kBlockLayout);
    storage->attach(block);
    return storage;
}

std::unique_ptr<ObjectStorage> open_named_storage(const char* name, ObjectKind kind, bool create,
                                                  const BlockInit& init, bool& existed) {
    std::string object_name;
    if (DWORD error = object_name_of(name, object_name)) {
        fail(error);
        return nullptr;
    }
    return NamedOpener(object_name, kind, create, init).open(existed);
}

} // namespace kelwin

#endif // !_WIN32
