// TDynamicMemoryMappedFile: a file mapped on demand into a reserved range.
//
// The state of every live range is kept in a fixed table (g_ranges), not in
// the objects: copies of an object share it, and the vectored exception
// handler that grows a range when an access faults finds it there with
// atomic loads only. On Linux that handler runs inside the SIGSEGV handler
// (win32/exceptions.h), so the path from a fault to a grown mapping
// allocates nothing, raises nothing and takes no lock but the library's
// rebuild flag, which no thread holds while it touches a range.
//
// Set, CopyIn and CopyOut map what they are about to touch before the byte
// loop runs, so that a failure to grow is raised as a library error on the
// calling thread rather than met inside a fault, and check the guard zone
// first; the fault handler is what serves plain pointers, and a loop that
// meets a rebuild by another thread.
#include "DYNAMIC.h"
#include "Error.h"
#include "FILE.h"
#include "TString.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

namespace {

TMessageBase g_DynamicOrigin("DynamicError", "DYNAMIC", __FILE__, __LINE__);

// Message codes of the module's origin; kNone is no failure.
enum Failure : int {
    kNone = -1,
    kReserveFailed = 0,
    kMappingFailed = 1,
    kWrongAddress = 2,
    kBadAccess = 3,
};

const SYSTEM_INFO& SystemInfo() {
    static const SYSTEM_INFO info = [] {
        SYSTEM_INFO system{};
        GetSystemInfo(&system);
        return system;
    }();
    return info;
}

DWORD RoundUp32(DWORD value, DWORD unit) {
    return (value + unit - 1) / unit * unit; // wraps at 32 bits, as the original arithmetic does
}

std::uint64_t RoundUp64(std::uint64_t value, std::uint64_t unit) {
    return (value + unit - 1) / unit * unit;
}

// ---------------------------------------------------------------------------
// The table of live ranges

// state: generation (high 32 bits) | kBusy | number of objects sharing the
// range. An entry with no holders and not busy is free; busy means that one
// thread is setting it up or tearing it down.
constexpr std::uint64_t kBusy = std::uint64_t{1} << 31;
constexpr std::uint64_t kHolderMask = kBusy - 1;
constexpr unsigned kNoRange = ~0u;

std::uint32_t GenerationOf(std::uint64_t state) {
    return static_cast<std::uint32_t>(state >> 32);
}

std::uint64_t StateOf(std::uint32_t generation, std::uint64_t flags) {
    return (std::uint64_t{generation} << 32) | flags;
}

struct LiveRange {
    std::atomic<std::uint64_t> state{0};
    // The base while faults on the range are to be served, else null.
    std::atomic<char*> published{nullptr};
    // Written by the thread that sets the range up, before it is published.
    char* start = nullptr;
    DWORD reserve = 0;
    DWORD step = 0;
    DWORD guard = 0;
    DWORD access = 0;
    HANDLE file = nullptr;
    // Changed under the rebuild flag only.
    std::atomic<HANDLE> mapping{nullptr};
    std::atomic<std::uint64_t> mapped{0}; // bytes mapped from start
    std::atomic<std::uint32_t> rebuilds{0};

    std::uint64_t Span() const { return std::uint64_t{reserve} + guard; }
    bool Writable() const { return (access & GENERIC_WRITE) != 0; }
};

constexpr unsigned kMaxRanges = 256;
LiveRange g_ranges[kMaxRanges];

// Held while any range is rebuilt, and while a new range is reserved. A
// rebuild leaves the range's address space free for a moment (Win32 cannot map
// a view over a reservation); no other range of the library may be placed
// there meanwhile. It spins (yielding) rather than sleeping in the kernel,
// because a fault handler takes it, and no thread holds it while it touches a
// range.
std::atomic<bool> g_rebuilding{false};

class RebuildLock {
public:
    RebuildLock() {
        while (g_rebuilding.exchange(true, std::memory_order_acquire))
            Sleep(0);
    }
    ~RebuildLock() { g_rebuilding.store(false, std::memory_order_release); }
    RebuildLock(const RebuildLock&) = delete;
    RebuildLock& operator=(const RebuildLock&) = delete;
};

// A free entry, made busy for the caller; null when all are in use.
LiveRange* ClaimRange(unsigned& index, std::uint32_t& generation) {
    for (unsigned i = 0; i < kMaxRanges; ++i) {
        std::uint64_t state = g_ranges[i].state.load(std::memory_order_acquire);
        if (state & (kBusy | kHolderMask))
            continue;
        const std::uint32_t next = GenerationOf(state) + 1;
        if (g_ranges[i].state.compare_exchange_strong(state, StateOf(next, kBusy),
                                                      std::memory_order_acq_rel)) {
            index = i;
            generation = next;
            return &g_ranges[i];
        }
    }
    return nullptr;
}

bool IsHeld(std::uint64_t state, std::uint32_t generation) {
    return GenerationOf(state) == generation && !(state & kBusy) && (state & kHolderMask) != 0;
}

// The entry an object shares, or null when it has been released since.
LiveRange* RangeOf(unsigned index, std::uint32_t generation) {
    if (index >= kMaxRanges)
        return nullptr;
    LiveRange& range = g_ranges[index];
    return IsHeld(range.state.load(std::memory_order_acquire), generation) ? &range : nullptr;
}

// Adds a holder; false when the range has been released.
bool AddHolder(LiveRange& range, std::uint32_t generation) {
    std::uint64_t state = range.state.load(std::memory_order_acquire);
    while (IsHeld(state, generation)) {
        if (range.state.compare_exchange_weak(state, state + 1, std::memory_order_acq_rel))
            return true;
    }
    return false;
}

// Removes a holder; true when it was the last one and the caller now owns the
// (busy) entry and must release it.
bool RemoveHolder(LiveRange& range, std::uint32_t generation) {
    std::uint64_t state = range.state.load(std::memory_order_acquire);
    while (IsHeld(state, generation)) {
        const bool last = (state & kHolderMask) == 1;
        const std::uint64_t next = last ? StateOf(generation, kBusy) : state - 1;
        if (range.state.compare_exchange_weak(state, next, std::memory_order_acq_rel))
            return last;
    }
    return false;
}

// Takes the range from all its holders at once; true when the caller now owns
// the (busy) entry and must release it.
bool TakeFromHolders(LiveRange& range, std::uint32_t generation) {
    std::uint64_t state = range.state.load(std::memory_order_acquire);
    while (IsHeld(state, generation)) {
        if (range.state.compare_exchange_weak(state, StateOf(generation, kBusy),
                                              std::memory_order_acq_rel))
            return true;
    }
    return false;
}

// ---------------------------------------------------------------------------
// Building and clearing a range (the caller holds the rebuild lock)

// Unmaps the view at the start and releases the reservation after it, or the
// reservation of the whole range, and closes the mapping object.
void ClearRange(LiveRange& range) {
    MEMORY_BASIC_INFORMATION info{};
    const bool described = VirtualQuery(range.start, &info, sizeof info) != 0;
    Sleep(0);
    if (described && info.State != MEM_FREE && info.AllocationBase == range.start) {
        if (info.Type == MEM_MAPPED) {
            UnmapViewOfFile(range.start);
            const std::uint64_t view = range.mapped.load(std::memory_order_relaxed);
            if (view < range.Span())
                VirtualFree(range.start + view, 0, MEM_RELEASE);
        } else if (info.State == MEM_RESERVE) {
            VirtualFree(range.start, 0, MEM_RELEASE);
        }
    }
    if (HANDLE mapping = range.mapping.exchange(nullptr, std::memory_order_relaxed))
        CloseHandle(mapping);
    range.mapped.store(0, std::memory_order_release);
}

// After a failed construction: the whole range reserved again where it can
// be, so that no other allocation moves into it.
void ReclaimRange(LiveRange& range) {
    VirtualAlloc(range.start, static_cast<SIZE_T>(range.Span()), MEM_RESERVE, PAGE_NOACCESS);
}

// Maps n bytes rounded up to the step at the start (the file grows to that
// size when the mapping is writable) and reserves the rest of the range.
Failure ConstructRange(LiveRange& range, std::uint64_t n) {
    const std::uint64_t length = RoundUp64(n, range.step);
    const bool writable = range.Writable();
    if (length > 0) {
        if (length > SIZE_MAX) {
            ReclaimRange(range);
            return kWrongAddress;
        }
        HANDLE mapping = CreateFileMappingA(
            range.file, nullptr, writable ? PAGE_READWRITE : PAGE_READONLY,
            static_cast<DWORD>(length >> 32), static_cast<DWORD>(length), nullptr);
        if (!mapping) {
            ReclaimRange(range);
            return kMappingFailed;
        }
        void* view = MapViewOfFileEx(mapping, writable ? FILE_MAP_WRITE : FILE_MAP_READ, 0, 0,
                                     static_cast<SIZE_T>(length), range.start);
        if (view != range.start) {
            if (view)
                UnmapViewOfFile(view);
            CloseHandle(mapping);
            ReclaimRange(range);
            return kWrongAddress;
        }
        range.mapping.store(mapping, std::memory_order_relaxed);
        range.mapped.store(length, std::memory_order_release);
    }
    if (length < range.Span()) {
        char* rest = range.start + length;
        void* reserved = VirtualAlloc(rest, static_cast<SIZE_T>(range.Span() - length), MEM_RESERVE,
                                      PAGE_NOACCESS);
        if (reserved != rest) {
            if (reserved)
                VirtualFree(reserved, 0, MEM_RELEASE);
            return kWrongAddress;
        }
    }
    return kNone;
}

// Clears and constructs the range with the thread at time-critical priority,
// so that the range is unmapped for as short a time as possible.
Failure RebuildRange(LiveRange& range, std::uint64_t n) {
    HANDLE thread = GetCurrentThread();
    const int previous = GetThreadPriority(thread);
    SetThreadPriority(thread, THREAD_PRIORITY_TIME_CRITICAL);
    ClearRange(range);
    const Failure failure = ConstructRange(range, n);
    range.rebuilds.fetch_add(1, std::memory_order_relaxed);
    if (previous != THREAD_PRIORITY_ERROR_RETURN)
        SetThreadPriority(thread, previous);
    return failure;
}

// Reserves a new range. The reservation waits for any rebuild, so that it
// cannot take the address space a rebuild has just freed, and it is placed at
// the top of the address space, away from the allocations that the process
// makes from the bottom up (heaps, thread stacks), which could otherwise take
// a range's place while it is rebuilt.
void* ReserveSpan(std::uint64_t span) {
    if (span > SIZE_MAX)
        return nullptr;
    RebuildLock lock;
    return VirtualAlloc(nullptr, static_cast<SIZE_T>(span), MEM_RESERVE | MEM_TOP_DOWN,
                        PAGE_NOACCESS);
}

// Unpublishes, tears down and frees an entry the caller owns (busy).
void ReleaseRange(LiveRange& range) {
    range.published.store(nullptr, std::memory_order_release);
    {
        RebuildLock lock;
        ClearRange(range);
    }
    const std::uint64_t state = range.state.load(std::memory_order_relaxed);
    range.state.store(StateOf(GenerationOf(state), 0), std::memory_order_release);
}

// Grows the range to at least `needed` mapped bytes; a failure code or kNone.
Failure GrowRange(LiveRange& range, std::uint64_t needed) {
    RebuildLock lock;
    if (!range.published.load(std::memory_order_acquire))
        return kBadAccess; // released meanwhile by a copy on another thread
    if (range.mapped.load(std::memory_order_relaxed) >= needed)
        return kNone;
    return RebuildRange(range, needed);
}

// ---------------------------------------------------------------------------
// The fault handler

// The last fault this thread found already mapped, to tell a fault that met a
// rebuild by another thread (repeat it) from one the mapping does not allow,
// such as a write to a read-only file (it would fault again for ever).
thread_local std::uintptr_t t_lastMappedFault = 0;
thread_local std::uint32_t t_lastMappedRebuilds = 0;

bool ServeFault(LiveRange& range, char* base, std::uint64_t offset) {
    RebuildLock lock;
    if (range.published.load(std::memory_order_acquire) != base)
        return false; // released meanwhile
    const std::uint32_t rebuilds = range.rebuilds.load(std::memory_order_relaxed);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(base) + offset;
    if (range.mapped.load(std::memory_order_acquire) > offset) {
        const bool repeated = t_lastMappedFault == address && t_lastMappedRebuilds == rebuilds;
        t_lastMappedFault = address;
        t_lastMappedRebuilds = rebuilds;
        return !repeated;
    }
    t_lastMappedFault = 0;
    return RebuildRange(range, offset + 1) == kNone &&
           range.mapped.load(std::memory_order_relaxed) > offset;
}

// Grows the range an access violation falls in, when it falls in a reserve.
LONG CALLBACK OnAccessViolation(PEXCEPTION_POINTERS info) {
    const EXCEPTION_RECORD& record = *info->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::uintptr_t address = record.ExceptionInformation[1];
    for (LiveRange& range : g_ranges) {
        char* base = range.published.load(std::memory_order_acquire);
        const auto start = reinterpret_cast<std::uintptr_t>(base);
        if (!base || address < start || address - start >= range.reserve)
            continue;
        const DWORD lastError = GetLastError();
        const bool resolved = ServeFault(range, base, address - start);
        SetLastError(lastError);
        return resolved ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// The ways a live range's mappings are set up for `n` bytes.
using RangeBuilder = Failure (*)(LiveRange& range, std::uint64_t n);

// Sets a live range up for `n` bytes with `build`, under the rebuild lock.
Failure BuildLocked(LiveRange& range, RangeBuilder build, std::uint64_t n) {
    RebuildLock lock;
    return build(range, n);
}

// Sets an object's live range up for `n` bytes with `build` and hands back
// the mapping object it leaves. A closed or released object (no range) has
// nothing to map.
Failure MapRange(LiveRange* range, RangeBuilder build, std::uint64_t n, HANDLE& mapping) {
    if (!range)
        return kBadAccess;
    const Failure failure = BuildLocked(*range, build, n);
    mapping = range->mapping.load(std::memory_order_relaxed);
    return failure;
}

// Added with the first mapping, first in the chain; removed when the library
// is unloaded, so that no handler is left pointing into unloaded code.
class FaultHandler {
public:
    FaultHandler() : m_handle(AddVectoredExceptionHandler(1, &OnAccessViolation)) {}
    ~FaultHandler() {
        if (m_handle)
            RemoveVectoredExceptionHandler(m_handle);
    }
    FaultHandler(const FaultHandler&) = delete;
    FaultHandler& operator=(const FaultHandler&) = delete;

private:
    PVOID m_handle;
};

void EnsureFaultHandler() {
    static FaultHandler handler;
}

} // namespace

// ---------------------------------------------------------------------------
// TDynamicMemoryMappedFile

struct TDynamicMemoryMappedFile::Access {
    char* address;      // where the part inside the reserve starts
    std::size_t inside; // bytes of the access inside the reserve, mapped
    bool overrun;       // the access goes beyond the reserve or is not allowed
};

TDynamicMemoryMappedFile::TDynamicMemoryMappedFile() {
    ClearFields();
}

TDynamicMemoryMappedFile::TDynamicMemoryMappedFile(const TDynamicMemoryMappedFile& other) {
    ClearFields();
    Join(other);
}

TDynamicMemoryMappedFile&
TDynamicMemoryMappedFile::operator=(const TDynamicMemoryMappedFile& other) {
    if (this != &other) {
        Leave();
        Join(other);
    }
    return *this;
}

TDynamicMemoryMappedFile::~TDynamicMemoryMappedFile() {
    Leave();
}

void TDynamicMemoryMappedFile::ClearFields() {
    m_nReserveSize = 0;
    m_nStep = 0;
    m_nGuardSize = 0;
    m_hFile = nullptr;
    m_hMapping = nullptr;
    m_nAccess = 0;
    m_pBase = nullptr;
    m_nRange = kNoRange;
    m_nGeneration = 0;
}

void TDynamicMemoryMappedFile::Join(const TDynamicMemoryMappedFile& other) {
    m_nReserveSize = other.m_nReserveSize;
    m_nStep = other.m_nStep;
    m_nGuardSize = other.m_nGuardSize;
    m_hFile = other.m_hFile;
    m_hMapping = other.m_hMapping;
    m_nAccess = other.m_nAccess;
    m_pBase = other.m_pBase;
    m_nRange = kNoRange;
    m_nGeneration = 0;
    LiveRange* range = RangeOf(other.m_nRange, other.m_nGeneration);
    if (range && AddHolder(*range, other.m_nGeneration)) {
        m_nRange = other.m_nRange;
        m_nGeneration = other.m_nGeneration;
    }
}

void TDynamicMemoryMappedFile::Leave() {
    LiveRange* range = RangeOf(m_nRange, m_nGeneration);
    if (range && RemoveHolder(*range, m_nGeneration))
        ReleaseRange(*range);
    m_nRange = kNoRange;
}

void TDynamicMemoryMappedFile::Raise(int code) const {
    ThrowNewError(g_DynamicOrigin, static_cast<unsigned short>(code));
}

void* TDynamicMemoryMappedFile::Create(void* file, unsigned long access, unsigned long size,
                                       unsigned long step, unsigned long guard) {
    const DWORD granularity = SystemInfo().dwAllocationGranularity;
    Leave();
    ClearFields();
    const DWORD requested = static_cast<DWORD>(size);
    const DWORD reserve =
        RoundUp32(requested != 0 ? requested : GetFileSize(file, nullptr), granularity);
    const DWORD growth = RoundUp32(static_cast<DWORD>(step), granularity);
    const DWORD guardSize = static_cast<DWORD>(guard);
    const std::uint64_t span = std::uint64_t{reserve} + guardSize;
    void* base = ReserveSpan(span);
    unsigned index = kNoRange;
    std::uint32_t generation = 0;
    LiveRange* range = base ? ClaimRange(index, generation) : nullptr;
    if (!range) {
        if (base)
            VirtualFree(base, 0, MEM_RELEASE);
        Raise(kReserveFailed);
        return nullptr;
    }
    range->start = static_cast<char*>(base);
    range->reserve = reserve;
    range->step = growth != 0 ? growth : granularity;
    range->guard = guardSize;
    range->access = static_cast<DWORD>(access) & (GENERIC_READ | GENERIC_WRITE);
    range->file = file;
    range->mapping.store(nullptr, std::memory_order_relaxed);
    range->mapped.store(0, std::memory_order_relaxed);
    EnsureFaultHandler();

    const Failure failure = BuildLocked(*range, RebuildRange, GetFileSize(file, nullptr));
    if (failure != kNone) {
        ReleaseRange(*range);
        Raise(failure);
        return nullptr;
    }
    m_nReserveSize = range->reserve;
    m_nStep = range->step;
    m_nGuardSize = range->guard;
    m_hFile = file;
    m_hMapping = range->mapping.load(std::memory_order_relaxed);
    m_nAccess = range->access;
    m_pBase = range->start;
    m_nRange = index;
    m_nGeneration = generation;
    range->published.store(range->start, std::memory_order_release);
    range->state.store(StateOf(generation, 1), std::memory_order_release);
    return base;
}

void* TDynamicMemoryMappedFile::Create(TFile& file, unsigned long size, unsigned long step,
                                       unsigned long guard) {
    return Create(file.Handle(), file.Mode(), size, step, guard);
}

void TDynamicMemoryMappedFile::Close(unsigned long finalSize) {
    LiveRange* range = RangeOf(m_nRange, m_nGeneration);
    if (range && TakeFromHolders(*range, m_nGeneration))
        ReleaseRange(*range);
    const DWORD size = static_cast<DWORD>(finalSize);
    if (size != 0 && (m_nAccess & GENERIC_WRITE) && m_hFile) {
        // The size as an unsigned 32-bit offset: the high part keeps sizes of
        // 2 GiB and more from being taken as negative distances.
        LONG high = 0;
        SetLastError(NO_ERROR);
        const DWORD moved = SetFilePointer(m_hFile, static_cast<LONG>(size), &high, FILE_BEGIN);
        if (moved != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR)
            SetEndOfFile(m_hFile);
    }
    ClearFields();
}

long TDynamicMemoryMappedFile::ExceptionFilter(struct _EXCEPTION_POINTERS* info) {
    const EXCEPTION_RECORD* record = info ? info->ExceptionRecord : nullptr;
    if (!record || record->ExceptionCode != EXCEPTION_ACCESS_VIOLATION ||
        record->NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    LiveRange* range = RangeOf(m_nRange, m_nGeneration);
    const auto address = static_cast<std::uintptr_t>(record->ExceptionInformation[1]);
    const auto base = reinterpret_cast<std::uintptr_t>(m_pBase);
    if (!range || address < base)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::uint64_t offset = address - base;
    if (offset >= range->reserve && offset < range->Span()) {
        Raise(kBadAccess);
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (offset >= range->reserve)
        return EXCEPTION_CONTINUE_SEARCH;
    AdjustRegion(static_cast<unsigned long>(offset + 1));
    return range->mapped.load(std::memory_order_acquire) > offset ? EXCEPTION_CONTINUE_EXECUTION
                                                                  : EXCEPTION_CONTINUE_SEARCH;
}

void TDynamicMemoryMappedFile::AdjustRegion(unsigned long n) {
    const Failure failure =
        MapRange(RangeOf(m_nRange, m_nGeneration), RebuildRange, static_cast<DWORD>(n), m_hMapping);
    if (failure != kNone)
        Raise(failure);
}

void TDynamicMemoryMappedFile::ClearRegion() {
    if (LiveRange* range = RangeOf(m_nRange, m_nGeneration)) {
        RebuildLock lock;
        ClearRange(*range);
    }
    m_hMapping = nullptr;
}

void TDynamicMemoryMappedFile::ConstructRegion(unsigned long n) {
    const Failure failure = MapRange(RangeOf(m_nRange, m_nGeneration), ConstructRange,
                                     static_cast<DWORD>(n), m_hMapping);
    if (failure != kNone)
        Raise(failure);
}

TDynamicMemoryMappedFile::Access
TDynamicMemoryMappedFile::PrepareAccess(unsigned long offset, unsigned long count, bool writes) {
    const DWORD first = static_cast<DWORD>(offset);
    const DWORD length = static_cast<DWORD>(count);
    Access access{nullptr, 0, false};
    if (length == 0)
        return access;
    LiveRange* range = RangeOf(m_nRange, m_nGeneration);
    if (!range || (writes && !range->Writable())) {
        access.overrun = true;
        return access;
    }
    const std::uint64_t end = std::uint64_t{first} + length;
    access.overrun = end > range->reserve;
    if (first >= range->reserve)
        return access;
    const std::uint64_t insideEnd = std::min<std::uint64_t>(end, range->reserve);
    if (range->mapped.load(std::memory_order_acquire) < insideEnd) {
        const Failure failure = GrowRange(*range, insideEnd);
        m_hMapping = range->mapping.load(std::memory_order_relaxed);
        if (failure != kNone) {
            Raise(failure);
            return Access{nullptr, 0, false}; // an error already on its way: touch nothing
        }
    }
    access.address = range->start + first;
    access.inside = static_cast<std::size_t>(insideEnd - first);
    return access;
}

void TDynamicMemoryMappedFile::Set(unsigned long offset, unsigned char value, unsigned long count) {
    const Access access = PrepareAccess(offset, count, true);
    if (access.inside)
        std::memset(access.address, value, access.inside);
    if (access.overrun)
        Raise(kBadAccess);
}

void* TDynamicMemoryMappedFile::CopyOut(void* dst, unsigned long offset, unsigned long count) {
    const Access access = PrepareAccess(offset, count, false);
    if (access.inside)
        std::memmove(dst, access.address, access.inside);
    if (access.overrun)
        Raise(kBadAccess);
    return dst;
}

void* TDynamicMemoryMappedFile::CopyIn(void* src, unsigned long offset, unsigned long count) {
    const Access access = PrepareAccess(offset, count, true);
    if (access.inside)
        std::memmove(access.address, src, access.inside);
    if (access.overrun)
        Raise(kBadAccess);
    return m_pBase ? m_pBase + static_cast<DWORD>(offset) : nullptr;
}
