// Thread-local storage indexes on Linux.
//
// Each thread has a fixed table of TLS_MINIMUM_AVAILABLE slots in plain
// thread_local storage: it needs no allocation, takes no lock on access and
// stays readable while the thread runs its exit destructors (glibc frees it
// only after the last of them). An index's "stamp" changes every time the
// index is allocated; a slot whose stamp is older than its index's belongs to
// an earlier allocation and reads as zero, which gives Windows' rule that a
// newly allocated index is zero in every thread without touching the others.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <atomic>
#include <mutex>

namespace {

struct Slot {
    void* value;
    std::uint32_t stamp;
};

thread_local Slot t_slots[TLS_MINIMUM_AVAILABLE];

std::atomic<std::uint32_t> s_stamps[TLS_MINIMUM_AVAILABLE];
bool s_allocated[TLS_MINIMUM_AVAILABLE]; // guarded by AllocationLock()

std::mutex& AllocationLock() {
    static std::mutex lock;
    return lock;
}

bool InRange(DWORD index) {
    return index < TLS_MINIMUM_AVAILABLE;
}

} // namespace

DWORD TlsAlloc() {
    std::lock_guard<std::mutex> guard(AllocationLock());
    for (DWORD index = 0; index < TLS_MINIMUM_AVAILABLE; ++index) {
        if (!s_allocated[index]) {
            s_allocated[index] = true;
            // Stamps start at 1 for the first allocation, so that the zero
            // stamp of a fresh thread's slot never matches an allocated index.
            s_stamps[index].fetch_add(1, std::memory_order_release);
            return index;
        }
    }
    kelwin::fail(ERROR_NO_MORE_ITEMS);
    return TLS_OUT_OF_INDEXES;
}

LPVOID TlsGetValue(DWORD dwTlsIndex) {
    if (!InRange(dwTlsIndex)) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    SetLastError(ERROR_SUCCESS);
    const Slot& slot = t_slots[dwTlsIndex];
    if (slot.stamp != s_stamps[dwTlsIndex].load(std::memory_order_acquire))
        return nullptr;
    return slot.value;
}

BOOL TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue) {
    if (!InRange(dwTlsIndex)) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Slot& slot = t_slots[dwTlsIndex];
    slot.value = lpTlsValue;
    slot.stamp = s_stamps[dwTlsIndex].load(std::memory_order_acquire);
    return TRUE;
}

BOOL TlsFree(DWORD dwTlsIndex) {
    std::lock_guard<std::mutex> guard(AllocationLock());
    if (!InRange(dwTlsIndex) || !s_allocated[dwTlsIndex]) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    s_allocated[dwTlsIndex] = false;
    return TRUE;
}

#endif // !_WIN32
