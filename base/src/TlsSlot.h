// TTlsSlot: one thread-local pointer slot over an operating-system TLS index.
#ifndef BASEKEL_SRC_TLSSLOT_H
#define BASEKEL_SRC_TLSSLOT_H

#include "kelwin32.h"

// Owns a TLS index from construction to destruction. Reading or writing the
// calling thread's value takes no lock and leaves the thread's last error as
// it was (TlsGetValue itself clears it), so that code reporting a system
// error can still read the error after finding its thread's state. A slot
// whose index could not be allocated, or that is destroyed, reads as null and
// refuses values.
template <typename T> class TTlsSlot {
public:
    TTlsSlot() : m_index(TlsAlloc()) {}
    ~TTlsSlot() {
        if (m_index != TLS_OUT_OF_INDEXES)
            TlsFree(m_index);
        m_index = TLS_OUT_OF_INDEXES;
    }
    TTlsSlot(const TTlsSlot&) = delete;
    TTlsSlot& operator=(const TTlsSlot&) = delete;

    T Get() const {
        if (m_index == TLS_OUT_OF_INDEXES)
            return nullptr;
        const DWORD lastError = GetLastError();
        void* value = TlsGetValue(m_index);
        SetLastError(lastError);
        return static_cast<T>(value);
    }

    bool Set(T value) {
        if (m_index == TLS_OUT_OF_INDEXES)
            return false;
        const DWORD lastError = GetLastError();
        const BOOL stored = TlsSetValue(m_index, value);
        SetLastError(lastError);
        return stored != FALSE;
    }

private:
    DWORD m_index;
};

#endif
