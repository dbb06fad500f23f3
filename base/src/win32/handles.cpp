// The handle table of the Linux platform layer, CloseHandle and FindClose.
//
// A handle is a small multiple of 4, as on Windows: (slot + 1) * 4, so it is
// never null nor INVALID_HANDLE_VALUE. Freed slots are reused first in, first
// out, so that a handle value comes back as late as possible and a use after
// close fails with ERROR_INVALID_HANDLE rather than reaching another object.
#if !defined(_WIN32)

#include "win32/objects.h"

#include <deque>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <vector>

namespace kelwin {
namespace {

class HandleTable {
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
        return value_of(slot);
    }

    std::shared_ptr<KernelObject> lookup(HANDLE handle) {
        std::shared_lock<std::shared_mutex> guard(m_lock);
        std::size_t slot;
        return slot_of(handle, slot) ? m_slots[slot] : nullptr;
    }

    std::shared_ptr<KernelObject> remove(HANDLE handle, bool (*accept)(const KernelObject&)) {
        std::shared_ptr<KernelObject> object;
        std::unique_lock<std::shared_mutex> guard(m_lock);
        std::size_t slot;
        if (!slot_of(handle, slot) || !accept(*m_slots[slot]))
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
    static HANDLE value_of(std::size_t slot) {
        return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>((slot + 1) * 4));
    }

    bool slot_of(HANDLE handle, std::size_t& slot) const {
        const auto value = reinterpret_cast<std::uintptr_t>(handle);
        if (value == 0 || value % 4 != 0 || value / 4 > m_slots.size())
            return false;
        slot = value / 4 - 1;
        return m_slots[slot] != nullptr;
    }

    std::shared_mutex m_lock;
    std::vector<std::shared_ptr<KernelObject>> m_slots;
    std::deque<std::size_t> m_free;
};

// Never destroyed: handles may be closed from static destructors of any
// library or program, in any order.
HandleTable& table() {
    static HandleTable* instance = new HandleTable;
    return *instance;
}

bool closable_by_close_handle(const KernelObject& object) {
    return object.kind() != ObjectKind::Find;
}

bool is_find_handle(const KernelObject& object) {
    return object.kind() == ObjectKind::Find;
}

BOOL close_if(HANDLE handle, bool (*accept)(const KernelObject&)) {
    std::shared_ptr<KernelObject> object = table().remove(handle, accept);
    if (!object) {
        fail(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    object.reset(); // the object's own clean-up runs outside the table's lock
    return TRUE;
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

std::shared_ptr<KernelObject> handle_remove(HANDLE handle) {
    return table().remove(handle, [](const KernelObject&) { return true; });
}

} // namespace kelwin

BOOL CloseHandle(HANDLE hObject) {
    return kelwin::close_if(hObject, kelwin::closable_by_close_handle);
}

BOOL FindClose(HANDLE hFindFile) {
    return kelwin::close_if(hFindFile, kelwin::is_find_handle);
}

#endif // !_WIN32
