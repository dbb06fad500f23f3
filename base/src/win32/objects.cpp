// The table of handles of the waitable kernel objects (events, mutexes,
// semaphores) of the Linux platform layer.
//
// Handle values are 0x300000 + 4 * slot: multiples of 4 as on Windows, never
// null or INVALID_HANDLE_VALUE, and apart from the ranges of the other
// services' tables. Freed slots are reused first in, first out, so that a
// value comes back as late as possible and a use after close meets
// ERROR_INVALID_HANDLE rather than another object.
#if !defined(_WIN32)

#include "win32/objects.h"

#include <deque>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <vector>

namespace kelwin {
namespace {

constexpr std::uintptr_t kFirstHandle = 0x300000;

class ObjectTable {
public:
    HANDLE insert(std::shared_ptr<KernelObject> object) {
        std::unique_lock<std::shared_mutex> guard(m_lock);
        std::size_t slot;
        if (!m_free.empty()) {
            slot = m_free.front();
            m_free.pop_front();
        } else {
            slot = m_slots.size();
            m_slots.emplace_back();
        }
        m_slots[slot] = std::move(object);
        return reinterpret_cast<HANDLE>(kFirstHandle + 4 * slot);
    }

    std::shared_ptr<KernelObject> lookup(HANDLE handle) {
        std::shared_lock<std::shared_mutex> guard(m_lock);
        std::size_t slot;
        return slot_of(handle, slot) ? m_slots[slot] : nullptr;
    }

    std::shared_ptr<KernelObject> remove(HANDLE handle) {
        std::shared_ptr<KernelObject> object;
        // Values of other services are turned away before the lock is taken.
        if (reinterpret_cast<std::uintptr_t>(handle) < kFirstHandle)
            return nullptr;
        std::unique_lock<std::shared_mutex> guard(m_lock);
        std::size_t slot;
        if (!slot_of(handle, slot))
            return nullptr;
        object.swap(m_slots[slot]);
        try {
            m_free.push_back(slot);
        } catch (const std::bad_alloc&) {
            // The slot is lost for reuse; the handle is closed all the same.
        }
        return object;
    }

private:
    bool slot_of(HANDLE handle, std::size_t& slot) const {
        const auto value = reinterpret_cast<std::uintptr_t>(handle);
        if (value < kFirstHandle || (value - kFirstHandle) % 4 != 0)
            return false;
        slot = (value - kFirstHandle) / 4;
        return slot < m_slots.size() && m_slots[slot] != nullptr;
    }

    std::shared_mutex m_lock;
    std::vector<std::shared_ptr<KernelObject>> m_slots;
    std::deque<std::size_t> m_free;
};

bool close_object_handle(HANDLE handle, BOOL* result);

// Never destroyed: handles may be closed from static destructors of any
// library or program, in any order. The close hook is registered on first
// use, so that the hook list exists before any object and outlives them.
ObjectTable& table() {
    static ObjectTable* instance = [] {
        register_close_hook(&close_object_handle);
        return new ObjectTable;
    }();
    return *instance;
}

bool close_object_handle(HANDLE handle, BOOL* result) {
    std::shared_ptr<KernelObject> object = table().remove(handle);
    if (!object)
        return false;
    object.reset(); // the object's own clean-up runs outside the table's lock
    *result = TRUE;
    return true;
}

} // namespace

HANDLE handle_insert(std::shared_ptr<KernelObject> object) {
    try {
        return table().insert(std::move(object));
    } catch (const std::bad_alloc&) {
        fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

std::shared_ptr<KernelObject> handle_lookup(HANDLE handle) {
    return table().lookup(handle);
}

} // namespace kelwin

#endif // !_WIN32
