// Routines called when a thread ends, on Linux.
//
// Each routine has a pthread key whose destructor calls it. A thread's value
// for the key is non-null while the routine is arranged for that thread;
// POSIX clears the value before the destructor runs and runs the destructors
// after the C++ runtime's thread_local destructors, and again (a few rounds)
// for keys given a value during an earlier round.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <atomic>
#include <mutex>
#include <pthread.h>

KELWIN_SYSCALL(pthread_key_create);
KELWIN_SYSCALL(pthread_key_delete);

namespace {

struct Entry {
    std::atomic<KELWIN_THREAD_END_ROUTINE> routine{nullptr};
    pthread_key_t key{};
};

Entry s_entries[KELWIN_THREAD_END_ROUTINES];

// Guards the creation and deletion of entries; lookups take no lock.
std::mutex& EntriesLock() {
    static std::mutex lock;
    return lock;
}

Entry* Find(KELWIN_THREAD_END_ROUTINE routine) {
    for (Entry& entry : s_entries) {
        if (entry.routine.load(std::memory_order_acquire) == routine)
            return &entry;
    }
    return nullptr;
}

void CallAtThreadEnd(void* value) {
    const KELWIN_THREAD_END_ROUTINE routine =
        static_cast<Entry*>(value)->routine.load(std::memory_order_acquire);
    if (routine)
        routine();
}

// The entry of `routine`, created when it has none. Null with the last error
// set when none can be had.
Entry* FindOrCreate(KELWIN_THREAD_END_ROUTINE routine) {
    if (Entry* entry = Find(routine))
        return entry;
    std::lock_guard<std::mutex> guard(EntriesLock());
    if (Entry* entry = Find(routine))
        return entry;
    Entry* entry = Find(nullptr);
    if (!entry)
        return kelwin::fail_with<Entry*>(ERROR_NO_MORE_ITEMS, nullptr);
    const int result = sys_pthread_key_create(&entry->key, CallAtThreadEnd);
    if (result != 0)
        return kelwin::fail_errno_with<Entry*>(result, nullptr);
    entry->routine.store(routine, std::memory_order_release);
    return entry;
}

} // namespace

BOOL kelwin_call_at_thread_end(KELWIN_THREAD_END_ROUTINE routine) {
    if (!routine)
        return kelwin::fail_with(ERROR_INVALID_PARAMETER, FALSE);
    Entry* entry = FindOrCreate(routine);
    if (!entry)
        return FALSE;
    if (pthread_getspecific(entry->key) != entry && pthread_setspecific(entry->key, entry) != 0)
        return kelwin::fail_with(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    return TRUE;
}

BOOL kelwin_is_called_at_thread_end(KELWIN_THREAD_END_ROUTINE routine) {
    Entry* entry = routine ? Find(routine) : nullptr;
    return entry && pthread_getspecific(entry->key) == entry ? TRUE : FALSE;
}

void kelwin_cancel_thread_end(KELWIN_THREAD_END_ROUTINE routine) {
    if (!routine)
        return;
    std::lock_guard<std::mutex> guard(EntriesLock());
    Entry* entry = Find(routine);
    if (!entry)
        return;
    sys_pthread_key_delete(entry->key);
    entry->routine.store(nullptr, std::memory_order_release);
}

#endif // !_WIN32
