// Virtual memory and file mappings on Linux.
//
// Every allocation the layer makes (a reservation, committed memory or a view)
// is recorded in a fixed table, which VirtualQuery and VirtualFree consult; a
// mapping object is a slot of a second fixed table holding a duplicate of the
// file's descriptor. Both tables live in static storage under one spin lock,
// and all work is done with system calls, so that every function here may run
// in a synchronous fault handler: it allocates nothing, and the lock is never
// held by code that can fault on a mapped range.
//
// Address space is placed as on Windows: at a multiple of 64 KiB, and at a
// requested address only where the range is free (MAP_FIXED_NOREPLACE); the
// layer maps with MAP_FIXED only over a reservation it has just made itself.
#if !defined(_WIN32)

#include "win32/filehandle.h"
#include "win32/mapping.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

KELWIN_SYSCALL(mmap);
KELWIN_SYSCALL(munmap);
KELWIN_SYSCALL(mincore);
KELWIN_SYSCALL(ftruncate);
KELWIN_SYSCALL(fstat);
KELWIN_SYSCALL(fcntl);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(memfd_create);

namespace kelwin {
namespace {

constexpr std::uintptr_t kGranularity = 0x10000;
constexpr std::uintptr_t kMinimumAddress = 0x10000;
constexpr std::uintptr_t kMaximumAddress = 0x7FFFFFFEFFFF;

std::uintptr_t page_size() {
    static std::atomic<std::uintptr_t> cached{0};
    std::uintptr_t size = cached.load(std::memory_order_relaxed);
    if (size == 0) {
        size = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        cached.store(size, std::memory_order_relaxed);
    }
    return size;
}

std::uintptr_t round_down(std::uintptr_t value, std::uintptr_t unit) {
    return value - value % unit;
}

// False when the result does not fit.
bool round_up(std::uintptr_t value, std::uintptr_t unit, std::uintptr_t& result) {
    const std::uintptr_t rest = value % unit;
    result = value;
    return rest == 0 || !__builtin_add_overflow(value, unit - rest, &result);
}

// A lock for the two tables that a fault handler may take: it spins (yielding)
// instead of sleeping in the kernel, and no path holds it while it can fault.
class SpinLock {
public:
    void lock() {
        while (m_held.exchange(true, std::memory_order_acquire))
            sched_yield();
    }
    void unlock() { m_held.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_held{false};
};

SpinLock g_lock;

class Locked {
public:
    Locked() { g_lock.lock(); }
    ~Locked() { g_lock.unlock(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

// ---------------------------------------------------------------------------
// The allocations

// Released: address space given back by VirtualFree or UnmapViewOfFile but
// still held by the layer (see release_space); it is free for Win32 callers.
enum class RegionKind : std::uint8_t { Unused, Reserved, Committed, View, Released };

struct Region {
    std::uintptr_t start;
    std::uintptr_t size;
    RegionKind kind;
    DWORD protect;           // of the pages (0 for a reservation)
    DWORD allocationProtect; // as given when the allocation was made
    dev_t device;            // of the file a view shows
    ino_t inode;
    std::uint64_t released; // when a Released region was released (a sequence number)
};

constexpr int kMaxRegions = 2048;
Region g_regions[kMaxRegions];
int g_regionsInUse = 0; // entries at and above this index are unused

bool contains(const Region& region, std::uintptr_t address) {
    return address >= region.start && address - region.start < region.size;
}

// The allocation containing the address (released space is not one).
Region* region_containing(std::uintptr_t address) {
    for (int i = 0; i < g_regionsInUse; ++i) {
        Region& region = g_regions[i];
        if (region.kind != RegionKind::Unused && region.kind != RegionKind::Released &&
            contains(region, address))
            return &region;
    }
    return nullptr;
}

Region* released_containing(std::uintptr_t address) {
    for (int i = 0; i < g_regionsInUse; ++i) {
        Region& region = g_regions[i];
        if (region.kind == RegionKind::Released && contains(region, address))
            return &region;
    }
    return nullptr;
}

// The start of the first released region above the address, or `limit`.
std::uintptr_t next_released(std::uintptr_t address, std::uintptr_t limit) {
    std::uintptr_t next = limit;
    for (int i = 0; i < g_regionsInUse; ++i) {
        const Region& region = g_regions[i];
        if (region.kind == RegionKind::Released && region.start > address && region.start < next)
            next = region.start;
    }
    return next;
}

Region* add_region(const Region& region) {
    for (int i = 0; i < kMaxRegions; ++i) {
        if (g_regions[i].kind != RegionKind::Unused)
            continue;
        g_regions[i] = region;
        if (i >= g_regionsInUse)
            g_regionsInUse = i + 1;
        return &g_regions[i];
    }
    return nullptr;
}

void remove_region(Region* region) {
    region->kind = RegionKind::Unused;
    while (g_regionsInUse > 0 && g_regions[g_regionsInUse - 1].kind == RegionKind::Unused)
        --g_regionsInUse;
}

// Released address space: at most this many pieces are kept; the oldest goes
// back to the system when there are more.
constexpr int kMaxReleased = 64;
std::uint64_t g_releaseCount = 0;

void trim_released() {
    for (;;) {
        int count = 0;
        Region* oldest = nullptr;
        for (int i = 0; i < g_regionsInUse; ++i) {
            Region& region = g_regions[i];
            if (region.kind != RegionKind::Released)
                continue;
            ++count;
            if (!oldest || region.released < oldest->released)
                oldest = &region;
        }
        if (count <= kMaxReleased)
            return;
        sys_munmap(reinterpret_cast<void*>(oldest->start), oldest->size);
        remove_region(oldest);
    }
}

// Gives an allocation's address space back. Rather than unmapping it, which
// would let any other mapping of the process (another thread's malloc, a new
// thread's stack) move in at once, the range is replaced in one step by an
// inaccessible mapping that the layer keeps as released space: a caller that
// rebuilds a range at the same address (a growing mapped file does) finds it
// still free for its own placement. False with errno set on failure.
bool release_space(Region* region) {
    void* start = reinterpret_cast<void*>(region->start);
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED;
    if (sys_mmap(start, region->size, PROT_NONE, flags, -1, 0) == MAP_FAILED) {
        if (sys_munmap(start, region->size) != 0)
            return false;
        remove_region(region);
        return true;
    }
    region->kind = RegionKind::Released;
    region->protect = 0;
    region->allocationProtect = 0;
    region->released = ++g_releaseCount;
    trim_released();
    return true;
}

// Takes [start, end) out of the released space: what is left of each piece
// on either side stays released (or goes back to the system when the table
// has no room for a split).
void consume_released(std::uintptr_t start, std::uintptr_t end) {
    for (int i = 0; i < g_regionsInUse; ++i) {
        Region& region = g_regions[i];
        const std::uintptr_t regionEnd = region.start + region.size;
        if (region.kind != RegionKind::Released || regionEnd <= start || region.start >= end)
            continue;
        const bool left = region.start < start;
        const bool right = regionEnd > end;
        if (left && right) {
            Region rest = region;
            rest.start = end;
            rest.size = regionEnd - end;
            region.size = start - region.start;
            if (!add_region(rest))
                sys_munmap(reinterpret_cast<void*>(rest.start), rest.size);
        } else if (left) {
            region.size = start - region.start;
        } else if (right) {
            region.size = regionEnd - end;
            region.start = end;
        } else {
            remove_region(&region);
        }
    }
}

// Forgets released pieces in [start, end) without touching them, after a
// placement there failed and may have unmapped them.
void forget_released(std::uintptr_t start, std::uintptr_t end) {
    for (int i = 0; i < g_regionsInUse; ++i) {
        Region& region = g_regions[i];
        if (region.kind == RegionKind::Released && region.start < end &&
            region.start + region.size > start)
            remove_region(&region);
    }
}

// ---------------------------------------------------------------------------
// The mapping objects

constexpr int kMaxMappingObjects = 1024;
// Below the ranges of the other services' handles, which therefore turn these
// values away without taking their locks.
constexpr std::uintptr_t kFirstMappingHandle = 0x40000;

struct MappingObject {
    bool used;
    bool writable; // PAGE_READWRITE: views may write to the file
    int fd;
    std::uint64_t size;
    dev_t device;
    ino_t inode;
};

MappingObject g_mappings[kMaxMappingObjects];
int g_nextMapping = 0; // slots are handed out round-robin, so values come back late

bool mapping_slot(HANDLE handle, int& slot) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (value < kFirstMappingHandle || (value - kFirstMappingHandle) % 4 != 0)
        return false;
    const std::uintptr_t index = (value - kFirstMappingHandle) / 4;
    if (index >= kMaxMappingObjects)
        return false;
    slot = static_cast<int>(index);
    return true;
}

MappingObject* mapping_of(HANDLE handle) {
    int slot = 0;
    if (!mapping_slot(handle, slot) || !g_mappings[slot].used)
        return nullptr;
    return &g_mappings[slot];
}

HANDLE add_mapping(const MappingObject& object) {
    for (int n = 0; n < kMaxMappingObjects; ++n) {
        const int slot = (g_nextMapping + n) % kMaxMappingObjects;
        if (g_mappings[slot].used)
            continue;
        g_mappings[slot] = object;
        g_mappings[slot].used = true;
        g_nextMapping = (slot + 1) % kMaxMappingObjects;
        return reinterpret_cast<HANDLE>(kFirstMappingHandle +
                                        4 * static_cast<std::uintptr_t>(slot));
    }
    return nullptr;
}

bool close_mapping_handle(HANDLE handle, BOOL* result) {
    int fd = -1;
    {
        Locked locked;
        MappingObject* object = mapping_of(handle);
        if (!object)
            return false;
        fd = object->fd;
        object->used = false;
    }
    sys_close(fd);
    *result = TRUE;
    return true;
}

const bool g_closeHookRegistered = (register_close_hook(&close_mapping_handle), true);

// ---------------------------------------------------------------------------
// Placing address space

// Reserves `size` bytes (whole pages) without access at a multiple of the
// allocation granularity chosen by the kernel.
void* reserve_aligned(std::uintptr_t size) {
    const std::uintptr_t slack = kGranularity - page_size();
    std::uintptr_t total = 0;
    if (__builtin_add_overflow(size, slack, &total)) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    void* raw =
        sys_mmap(nullptr, total, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (raw == MAP_FAILED)
        return MAP_FAILED;
    const auto start = reinterpret_cast<std::uintptr_t>(raw);
    std::uintptr_t aligned = start;
    round_up(start, kGranularity, aligned);
    if (aligned > start)
        sys_munmap(raw, aligned - start);
    if (start + total > aligned + size)
        sys_munmap(reinterpret_cast<void*>(aligned + size), start + total - aligned - size);
    return reinterpret_cast<void*>(aligned);
}

// Maps at exactly `address` where nothing is mapped; EEXIST when something is.
void* map_unused(std::uintptr_t address, std::uintptr_t size, int prot, int flags, int fd,
                 std::uint64_t offset) {
    void* wanted = reinterpret_cast<void*>(address);
    void* result =
        sys_mmap(wanted, size, prot, flags | MAP_FIXED_NOREPLACE, fd, static_cast<off_t>(offset));
    if (result == MAP_FAILED)
        return MAP_FAILED;
    if (result != wanted) { // a kernel that takes the address as a hint only
        sys_munmap(result, size);
        errno = EEXIST;
        return MAP_FAILED;
    }
    return result;
}

// Maps at exactly `address`, which must be free for Win32 callers: unused, or
// space the layer released. The unused gaps between released pieces are
// claimed first (each fails with EEXIST when anything is mapped there), then
// the mapping replaces the whole range in one step.
void* map_at(std::uintptr_t address, std::uintptr_t size, int prot, int flags, int fd,
             std::uint64_t offset) {
    const std::uintptr_t end = address + size;
    if (!released_containing(address) && next_released(address, end) == end)
        return map_unused(address, size, prot, flags, fd, offset);

    struct Gap {
        std::uintptr_t start;
        std::uintptr_t size;
    } gaps[kMaxReleased + 2];
    int gapCount = 0;
    const auto undo_gaps = [&] {
        for (int i = 0; i < gapCount; ++i)
            sys_munmap(reinterpret_cast<void*>(gaps[i].start), gaps[i].size);
    };
    for (std::uintptr_t position = address; position < end;) {
        if (const Region* released = released_containing(position)) {
            position = released->start + released->size;
            continue;
        }
        const std::uintptr_t gapEnd = next_released(position, end);
        const int claim = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
        if (gapCount == kMaxReleased + 2 ||
            map_unused(position, gapEnd - position, PROT_NONE, claim, -1, 0) == MAP_FAILED) {
            undo_gaps();
            errno = EEXIST;
            return MAP_FAILED;
        }
        gaps[gapCount++] = Gap{position, gapEnd - position};
        position = gapEnd;
    }
    void* result = sys_mmap(reinterpret_cast<void*>(address), size, prot, flags | MAP_FIXED, fd,
                            static_cast<off_t>(offset));
    if (result == MAP_FAILED) {
        const int error = errno;
        undo_gaps();
        forget_released(address, end);
        errno = error;
        return MAP_FAILED;
    }
    consume_released(address, end);
    return result;
}

// Maps at a multiple of the allocation granularity: first reserves the range,
// then maps over that reservation of its own.
void* map_aligned(std::uintptr_t size, int prot, int flags, int fd, std::uint64_t offset) {
    void* space = reserve_aligned(size);
    if (space == MAP_FAILED)
        return MAP_FAILED;
    void* result = sys_mmap(space, size, prot, flags | MAP_FIXED, fd, static_cast<off_t>(offset));
    if (result == MAP_FAILED) {
        const int error = errno;
        sys_munmap(space, size);
        errno = error;
    }
    return result;
}

void* place(std::uintptr_t address, std::uintptr_t size, int prot, int flags, int fd,
            std::uint64_t offset) {
    return address ? map_at(address, size, prot, flags, fd, offset)
                   : map_aligned(size, prot, flags, fd, offset);
}

// The Win32 error of a failed placement.
void fail_placement(int error) {
    fail(error == EEXIST ? ERROR_INVALID_ADDRESS : kelwin_error_from_errno(error));
}

bool host_protection(DWORD protect, int& prot) {
    switch (protect) {
    case PAGE_NOACCESS:
        prot = PROT_NONE;
        return true;
    case PAGE_READONLY:
        prot = PROT_READ;
        return true;
    case PAGE_READWRITE:
        prot = PROT_READ | PROT_WRITE;
        return true;
    case PAGE_EXECUTE:
    case PAGE_EXECUTE_READ:
        prot = PROT_READ | PROT_EXEC;
        return true;
    case PAGE_EXECUTE_READWRITE:
        prot = PROT_READ | PROT_WRITE | PROT_EXEC;
        return true;
    default:
        return false;
    }
}

// Committing pages of an allocation that exists already: memory committed
// whole is committed already; parts of a reservation are not supported.
LPVOID commit_existing(std::uintptr_t address) {
    Locked locked;
    const Region* region = region_containing(address);
    if (!region)
        return fail_with(ERROR_INVALID_ADDRESS, nullptr);
    if (region->kind != RegionKind::Committed)
        return fail_with(ERROR_NOT_SUPPORTED, nullptr);
    return reinterpret_cast<LPVOID>(round_down(address, page_size()));
}

void describe_region(const Region& region, std::uintptr_t page, MEMORY_BASIC_INFORMATION& info) {
    info.BaseAddress = reinterpret_cast<LPVOID>(page);
    if (region.kind == RegionKind::Released) {
        info.RegionSize = region.start + region.size - page;
        info.State = MEM_FREE;
        info.Protect = PAGE_NOACCESS;
        return;
    }
    info.AllocationBase = reinterpret_cast<LPVOID>(region.start);
    info.AllocationProtect = region.allocationProtect;
    info.RegionSize = region.start + region.size - page;
    info.Protect = region.protect;
    info.State = region.kind == RegionKind::Reserved ? MEM_RESERVE : MEM_COMMIT;
    info.Type = region.kind == RegionKind::View ? MEM_MAPPED : MEM_PRIVATE;
}

// Memory the layer did not allocate, one page at a time.
void describe_foreign_page(std::uintptr_t page, MEMORY_BASIC_INFORMATION& info) {
    unsigned char resident = 0;
    const bool mapped =
        sys_mincore(reinterpret_cast<void*>(page), page_size(), &resident) == 0 || errno != ENOMEM;
    info.BaseAddress = reinterpret_cast<LPVOID>(page);
    info.RegionSize = page_size();
    if (mapped) {
        info.AllocationBase = reinterpret_cast<LPVOID>(page);
        info.AllocationProtect = PAGE_READWRITE;
        info.State = MEM_COMMIT;
        info.Protect = PAGE_READWRITE;
        info.Type = MEM_PRIVATE;
    } else {
        info.State = MEM_FREE;
        info.Protect = PAGE_NOACCESS;
    }
}

// The descriptor and size of the file behind a new mapping object, the file
// grown where the object is larger. -1 with the last error set on failure.
int mapping_file(HANDLE hFile, bool writable, std::uint64_t& size, struct stat& st) {
    FileAccess access;
    if (!file_handle_access(hFile, access))
        return -1;
    if (access.isDirectory || !access.canRead || (writable && !access.canWrite))
        return fail_with(ERROR_ACCESS_DENIED, -1);
    if (sys_fstat(access.fd, &st) != 0)
        return fail_errno_with(errno, -1);
    const auto fileSize = static_cast<std::uint64_t>(st.st_size);
    if (size == 0 && fileSize == 0)
        return fail_with(ERROR_FILE_INVALID, -1);
    if (size == 0)
        size = fileSize;
    if (size > fileSize && !writable)
        return fail_with(ERROR_NOT_ENOUGH_MEMORY, -1);
    if (size > fileSize && sys_ftruncate(access.fd, static_cast<off_t>(size)) != 0)
        return fail_errno_with(errno, -1);
    const int fd = sys_fcntl(access.fd, F_DUPFD_CLOEXEC, 0);
    if (fd < 0)
        fail_errno(errno);
    return fd;
}

// Anonymous memory shared between the views of one mapping object.
int mapping_memory(std::uint64_t size, struct stat& st) {
    const int fd = sys_memfd_create("basekel-mapping", MFD_CLOEXEC);
    if (fd < 0)
        return fail_errno_with(errno, -1);
    if (sys_ftruncate(fd, static_cast<off_t>(size)) != 0 || sys_fstat(fd, &st) != 0) {
        fail_errno(errno);
        sys_close(fd);
        return -1;
    }
    return fd;
}

} // namespace

bool file_is_mapped(dev_t device, ino_t inode) {
    Locked locked;
    for (const MappingObject& object : g_mappings) {
        if (object.used && object.device == device && object.inode == inode)
            return true;
    }
    for (int i = 0; i < g_regionsInUse; ++i) {
        const Region& region = g_regions[i];
        if (region.kind == RegionKind::View && region.device == device && region.inode == inode)
            return true;
    }
    return false;
}

} // namespace kelwin

using namespace kelwin;

void GetSystemInfo(LPSYSTEM_INFO lpSystemInfo) {
    SYSTEM_INFO info{};
#if defined(__x86_64__)
    info.wProcessorArchitecture = PROCESSOR_ARCHITECTURE_AMD64;
    info.dwProcessorType = 8664; // PROCESSOR_AMD_X8664
#elif defined(__aarch64__)
    info.wProcessorArchitecture = PROCESSOR_ARCHITECTURE_ARM64;
#elif defined(__i386__)
    info.wProcessorArchitecture = PROCESSOR_ARCHITECTURE_INTEL;
    info.dwProcessorType = 586; // PROCESSOR_INTEL_PENTIUM
#else
    info.wProcessorArchitecture = PROCESSOR_ARCHITECTURE_UNKNOWN;
#endif
    info.dwPageSize = static_cast<DWORD>(page_size());
    info.lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(kMinimumAddress);
    info.lpMaximumApplicationAddress = reinterpret_cast<LPVOID>(kMaximumAddress);
    long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
    if (processors < 1)
        processors = 1;
    info.dwNumberOfProcessors = static_cast<DWORD>(processors);
    info.dwActiveProcessorMask =
        processors >= 64 ? ~DWORD_PTR{0} : (DWORD_PTR{1} << processors) - 1;
    info.dwAllocationGranularity = static_cast<DWORD>(kGranularity);
    *lpSystemInfo = info;
}

LPVOID VirtualAlloc(LPVOID lpAddress, SIZE_T dwSize, DWORD flAllocationType, DWORD flProtect) {
    const DWORD known = MEM_COMMIT | MEM_RESERVE | MEM_TOP_DOWN;
    int prot = PROT_NONE;
    if ((flAllocationType & ~known) || !(flAllocationType & (MEM_COMMIT | MEM_RESERVE)) ||
        !host_protection(flProtect, prot) || dwSize == 0)
        return fail_with(ERROR_INVALID_PARAMETER, nullptr);
    const auto address = reinterpret_cast<std::uintptr_t>(lpAddress);
    const bool reserve = flAllocationType & MEM_RESERVE;
    if (!reserve && address)
        return commit_existing(address);
    const bool commit = flAllocationType & MEM_COMMIT;

    std::uintptr_t start = round_down(address, kGranularity);
    std::uintptr_t end = 0;
    if (__builtin_add_overflow(address, dwSize, &end) || !round_up(end, page_size(), end) ||
        (address && end > kMaximumAddress + 1))
        return fail_with(address ? ERROR_INVALID_ADDRESS : ERROR_NOT_ENOUGH_MEMORY, nullptr);
    const std::uintptr_t size = end - start;

    Locked locked;
    int flags = MAP_PRIVATE | MAP_ANONYMOUS | (commit ? 0 : MAP_NORESERVE);
    void* result = place(start, size, commit ? prot : PROT_NONE, flags, -1, 0);
    if (result == MAP_FAILED) {
        fail_placement(errno);
        return nullptr;
    }
    start = reinterpret_cast<std::uintptr_t>(result);
    Region region{start,
                  size,
                  commit ? RegionKind::Committed : RegionKind::Reserved,
                  commit ? flProtect : 0,
                  flProtect,
                  0,
                  0,
                  0};
    if (!add_region(region)) {
        sys_munmap(result, size);
        return fail_with(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    }
    return result;
}

BOOL VirtualFree(LPVOID lpAddress, SIZE_T dwSize, DWORD dwFreeType) {
    if (dwFreeType == MEM_DECOMMIT)
        return fail_with(ERROR_NOT_SUPPORTED, FALSE);
    if (dwFreeType != MEM_RELEASE || dwSize != 0)
        return fail_with(ERROR_INVALID_PARAMETER, FALSE);
    const auto address = reinterpret_cast<std::uintptr_t>(lpAddress);
    Locked locked;
    Region* region = region_containing(address);
    if (region && region->kind == RegionKind::View)
        return fail_with(ERROR_INVALID_PARAMETER, FALSE);
    if (!region || region->start != address)
        return fail_with(ERROR_INVALID_ADDRESS, FALSE);
    if (!release_space(region))
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

SIZE_T VirtualQuery(LPCVOID lpAddress, PMEMORY_BASIC_INFORMATION lpBuffer, SIZE_T dwLength) {
    if (dwLength < sizeof(MEMORY_BASIC_INFORMATION))
        return fail_with(ERROR_BAD_LENGTH, 0);
    const auto address = reinterpret_cast<std::uintptr_t>(lpAddress);
    if (address > kMaximumAddress)
        return fail_with(ERROR_INVALID_PARAMETER, 0);
    const std::uintptr_t page = round_down(address, page_size());
    MEMORY_BASIC_INFORMATION info{};
    bool ours = false;
    {
        Locked locked;
        const Region* region = region_containing(address);
        if (!region)
            region = released_containing(address);
        if (region) {
            describe_region(*region, page, info);
            ours = true;
        }
    }
    if (!ours)
        describe_foreign_page(page, info);
    *lpBuffer = info;
    return sizeof(MEMORY_BASIC_INFORMATION);
}

HANDLE CreateFileMappingA(HANDLE hFile, LPSECURITY_ATTRIBUTES, DWORD flProtect,
                          DWORD dwMaximumSizeHigh, DWORD dwMaximumSizeLow, LPCSTR lpName) {
    if (lpName && *lpName)
        return fail_with(ERROR_NOT_SUPPORTED, nullptr);
    const DWORD protect = flProtect & 0xFF;
    bool writable = false;
    switch (protect) {
    case PAGE_READWRITE:
    case PAGE_EXECUTE_READWRITE:
        writable = true;
        break;
    case PAGE_READONLY:
    case PAGE_WRITECOPY:
    case PAGE_EXECUTE_READ:
    case PAGE_EXECUTE_WRITECOPY:
        break;
    default:
        return fail_with(ERROR_INVALID_PARAMETER, nullptr);
    }
    if (flProtect & ~(0xFFu | SEC_COMMIT))
        return fail_with(ERROR_INVALID_PARAMETER, nullptr);
    std::uint64_t size = (static_cast<std::uint64_t>(dwMaximumSizeHigh) << 32) | dwMaximumSizeLow;
    struct stat st {};
    int fd = -1;
    if (hFile == INVALID_HANDLE_VALUE) {
        if (size == 0)
            return fail_with(ERROR_INVALID_PARAMETER, nullptr);
        writable = true; // anonymous memory is always writable through the object
        fd = mapping_memory(size, st);
    } else {
        fd = mapping_file(hFile, writable, size, st);
    }
    if (fd < 0)
        return nullptr;
    HANDLE handle = nullptr;
    {
        Locked locked;
        handle = add_mapping(MappingObject{true, writable, fd, size, st.st_dev, st.st_ino});
    }
    if (!handle) {
        sys_close(fd);
        return fail_with(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    }
    SetLastError(ERROR_SUCCESS);
    return handle;
}

LPVOID MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess, DWORD dwFileOffsetHigh,
                     DWORD dwFileOffsetLow, SIZE_T dwNumberOfBytesToMap) {
    return MapViewOfFileEx(hFileMappingObject, dwDesiredAccess, dwFileOffsetHigh, dwFileOffsetLow,
                           dwNumberOfBytesToMap, nullptr);
}

LPVOID MapViewOfFileEx(HANDLE hFileMappingObject, DWORD dwDesiredAccess, DWORD dwFileOffsetHigh,
                       DWORD dwFileOffsetLow, SIZE_T dwNumberOfBytesToMap, LPVOID lpBaseAddress) {
    const bool write = dwDesiredAccess & FILE_MAP_WRITE;
    const bool copy = !write && (dwDesiredAccess & FILE_MAP_COPY);
    if (!(dwDesiredAccess & (FILE_MAP_READ | FILE_MAP_WRITE | FILE_MAP_COPY)))
        return fail_with(ERROR_INVALID_PARAMETER, nullptr);
    const std::uint64_t offset =
        (static_cast<std::uint64_t>(dwFileOffsetHigh) << 32) | dwFileOffsetLow;
    const auto base = reinterpret_cast<std::uintptr_t>(lpBaseAddress);

    Locked locked; // the object's descriptor stays open while it is mapped
    const MappingObject* object = mapping_of(hFileMappingObject);
    if (!object)
        return fail_with(ERROR_INVALID_HANDLE, nullptr);
    if (write && !object->writable)
        return fail_with(ERROR_ACCESS_DENIED, nullptr);
    if (offset % kGranularity != 0 || base % kGranularity != 0)
        return fail_with(ERROR_MAPPED_ALIGNMENT, nullptr);
    if (offset >= object->size || dwNumberOfBytesToMap > object->size - offset)
        return fail_with(ERROR_ACCESS_DENIED, nullptr);
    const std::uint64_t length =
        dwNumberOfBytesToMap ? dwNumberOfBytesToMap : object->size - offset;
    std::uintptr_t size = 0;
    if (length > kMaximumAddress || !round_up(length, page_size(), size) ||
        (base && size > kMaximumAddress + 1 - base))
        return fail_with(ERROR_NOT_ENOUGH_MEMORY, nullptr);

    const int prot = PROT_READ | ((write || copy) ? PROT_WRITE : 0);
    const int flags = copy ? MAP_PRIVATE : MAP_SHARED;
    void* result = place(base, size, prot, flags, object->fd, offset);
    if (result == MAP_FAILED) {
        fail_placement(errno);
        return nullptr;
    }
    const DWORD protect = write ? PAGE_READWRITE : copy ? PAGE_WRITECOPY : PAGE_READONLY;
    Region region{reinterpret_cast<std::uintptr_t>(result),
                  size,
                  RegionKind::View,
                  protect,
                  protect,
                  object->device,
                  object->inode,
                  0};
    if (!add_region(region)) {
        sys_munmap(result, size);
        return fail_with(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    }
    return result;
}

BOOL UnmapViewOfFile(LPCVOID lpBaseAddress) {
    Locked locked;
    Region* region = region_containing(reinterpret_cast<std::uintptr_t>(lpBaseAddress));
    if (!region || region->kind != RegionKind::View)
        return fail_with(ERROR_INVALID_ADDRESS, FALSE);
    if (!release_space(region))
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

#endif // !_WIN32
