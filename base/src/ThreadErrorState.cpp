// The per-thread error state: two thread-local slots, attach and detach.
#include "ThreadErrorState.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "TlsSlot.h"

namespace {

std::atomic<ThreadFirstUseRoutine> s_firstUseRoutine{nullptr};

// The slots are created on first use, which comes at the latest with process
// attach, and freed when the library's static objects are destroyed, after
// process detach has run.
TTlsSlot<TErrorSystem*>& ErrorSystemSlot() {
    static TTlsSlot<TErrorSystem*> slot;
    return slot;
}

TTlsSlot<TException*>& ExceptionSlot() {
    static TTlsSlot<TException*> slot;
    return slot;
}

TTlsSlot<void*>& NewHandlerSlot() {
    static TTlsSlot<void*> slot;
    return slot;
}

// Heap objects made with malloc rather than operator new: a failure gives
// null instead of calling the memory-failure handler.
template <typename T> T* CreateWithoutHandler() {
    void* memory = std::malloc(sizeof(T));
    return memory ? new (memory) T() : nullptr;
}

template <typename T> void DestroyWithoutHandler(T* object) {
    if (!object)
        return;
    object->~T();
    std::free(object);
}

} // namespace

void AttachThreadErrorState() {
    if (!ErrorSystemSlot().Get()) {
        TErrorSystem* stack = CreateWithoutHandler<TErrorSystem>();
        if (stack && !ErrorSystemSlot().Set(stack))
            DestroyWithoutHandler(stack);
    }
    if (!ExceptionSlot().Get()) {
        TException* record = CreateWithoutHandler<TException>();
        if (record && !ExceptionSlot().Set(record))
            DestroyWithoutHandler(record);
    }
}

void DetachThreadErrorState() {
    TErrorSystem* stack = ErrorSystemSlot().Get();
    TException* record = ExceptionSlot().Get();
    ErrorSystemSlot().Set(nullptr);
    ExceptionSlot().Set(nullptr);
    DestroyWithoutHandler(stack);
    DestroyWithoutHandler(record);
}

TErrorSystem* ExistingThreadErrorSystem() {
    return ErrorSystemSlot().Get();
}

TErrorSystem* ThreadErrorSystem() {
    NoteThreadUse();
    TErrorSystem* stack = ErrorSystemSlot().Get();
    if (stack)
        return stack;
    // A thread the loader did not announce (one that existed before the
    // library was loaded on Windows) gets its state here.
    AttachThreadErrorState();
    return ErrorSystemSlot().Get();
}

TException* ThreadException() {
    NoteThreadUse();
    TException* record = ExceptionSlot().Get();
    if (record)
        return record;
    AttachThreadErrorState();
    return ExceptionSlot().Get();
}

void SetThreadFirstUseRoutine(ThreadFirstUseRoutine routine) {
    s_firstUseRoutine.store(routine, std::memory_order_release);
}

void NoteThreadUse() {
    if (ThreadFirstUseRoutine routine = s_firstUseRoutine.load(std::memory_order_acquire))
        routine();
}

bool IsThreadInNewHandler() {
    return NewHandlerSlot().Get() != nullptr;
}

void SetThreadInNewHandler(bool inside) {
    static char marker;
    NewHandlerSlot().Set(inside ? &marker : nullptr);
}
