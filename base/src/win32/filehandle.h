// The objects behind file and search handles of the Linux platform layer, and
// the hook by which CloseHandle reaches them.
//
// A handle is a small number that indexes a table of shared objects: a call
// that uses a handle holds a reference to its object for the call's duration,
// so that closing a handle while another thread still reads through it frees
// nothing under that thread's feet.
#ifndef BASEKEL_SRC_WIN32_FILEHANDLE_H
#define BASEKEL_SRC_WIN32_FILEHANDLE_H

#if !defined(_WIN32)

#include "win32/layer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kelwin {

// One open file, the object behind a handle from CreateFileA.
struct OpenFile {
    int fd = -1;     // all I/O goes through this descriptor
    int lockFd = -1; // the readable descriptor that carries the share record, or -1
    bool canRead = false;
    bool canWrite = false;
    bool isDirectory = false;

    OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();
};

// A table of objects addressed by handle values base, base + 4, base + 8, ...
// (multiples of four, as Windows hands them out). Freed slots are reused.
template <class T> class HandleTable {
public:
    explicit HandleTable(std::uintptr_t base) : m_base(base) {}

    HANDLE insert(std::shared_ptr<T> object) {
        std::lock_guard<std::mutex> guard(m_lock);
        std::size_t slot = 0;
        while (slot < m_slots.size() && m_slots[slot])
            ++slot;
        if (slot == m_slots.size())
            m_slots.emplace_back();
        m_slots[slot] = std::move(object);
        return reinterpret_cast<HANDLE>(m_base + 4 * slot);
    }

    // The object, or null when the value is not an open handle of this table.
    std::shared_ptr<T> get(HANDLE handle) const {
        std::size_t slot = 0;
        const auto guard = lock_slot(handle, slot);
        if (!guard)
            return nullptr;
        return m_slots[slot];
    }

    // Takes the object out of the table; null when there is none.
    std::shared_ptr<T> remove(HANDLE handle) {
        std::size_t slot = 0;
        const auto guard = lock_slot(handle, slot);
        if (!guard)
            return nullptr;
        return std::move(m_slots[slot]);
    }

private:
    // Locks the table and finds the slot of an open handle; the lock is held
    // as long as the returned guard lives. An empty guard when the value is
    // not an open handle of this table.
    std::unique_lock<std::mutex> lock_slot(HANDLE handle, std::size_t& slot) const {
        if (!in_range(handle))
            return {};
        std::unique_lock<std::mutex> guard(m_lock);
        if (!slot_of(handle, slot))
            return {};
        return guard;
    }

    // Values below the table's range are turned away before the lock is
    // taken, so that CloseHandle reaches the services with lower ranges
    // without waiting here (file mappings are closed from fault handlers).
    bool in_range(HANDLE handle) const {
        auto value = reinterpret_cast<std::uintptr_t>(handle);
        return value >= m_base && (value - m_base) % 4 == 0;
    }

    bool slot_of(HANDLE handle, std::size_t& slot) const {
        auto value = reinterpret_cast<std::uintptr_t>(handle);
        if (value < m_base || (value - m_base) % 4 != 0)
            return false;
        slot = (value - m_base) / 4;
        return slot < m_slots.size() && m_slots[slot] != nullptr;
    }

    const std::uintptr_t m_base;
    mutable std::mutex m_lock;
    std::vector<std::shared_ptr<T>> m_slots;
};

// A new handle for an open file.
HANDLE file_handle_insert(std::shared_ptr<OpenFile> file);

// The open file behind a handle; null with ERROR_INVALID_HANDLE set when the
// value is not an open file handle.
std::shared_ptr<OpenFile> file_handle_get(HANDLE handle);

// What a file mapping needs to know of a file handle. file_handle_access
// reads it without a lock and without allocating, so that a fault handler may
// ask (see memory.cpp); false with ERROR_INVALID_HANDLE set when the value is
// not an open file handle. Only the first kMirroredFileHandles handles are
// kept this way; a fault handler cannot reach the others.
struct FileAccess {
    int fd = -1;
    bool canRead = false;
    bool canWrite = false;
    bool isDirectory = false;
};
constexpr std::size_t kMirroredFileHandles = 65536;
bool file_handle_access(HANDLE handle, FileAccess& access);

// CloseHandle asks each registered hook in turn whether the handle is one of
// its own; the hook that owns it closes it, stores the result and returns
// true. A handle no hook owns is invalid. A hook turns away values outside
// its service's range without taking a lock; CloseHandle itself takes none.
using CloseHook = bool (*)(HANDLE handle, BOOL* result);
void register_close_hook(CloseHook hook);

} // namespace kelwin

#endif // !_WIN32
#endif
