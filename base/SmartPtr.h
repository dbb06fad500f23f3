// TSmartPtr<T>: the owner of one heap object, which it deletes when it is
// given another object or is destroyed. It converts to T*, so it can be tested
// and passed where a plain pointer is expected. Ownership moves, it is never
// shared: copying is not allowed.
#ifndef BASEKEL_SMARTPTR_H
#define BASEKEL_SMARTPTR_H

#include <utility>

template <class T> class TSmartPtr {
public:
    TSmartPtr() = default;
    explicit TSmartPtr(T* object) : m_pObject(object) {}
    TSmartPtr(TSmartPtr&& other) noexcept : m_pObject(other.Release()) {}
    TSmartPtr& operator=(TSmartPtr&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    TSmartPtr(const TSmartPtr&) = delete;
    TSmartPtr& operator=(const TSmartPtr&) = delete;
    ~TSmartPtr() { delete m_pObject; }

    // Takes object over and deletes the one held before (unless it is the same).
    TSmartPtr& operator=(T* object) {
        Reset(object);
        return *this;
    }
    void Reset(T* object = nullptr) {
        if (object == m_pObject)
            return;
        T* old = m_pObject;
        m_pObject = object;
        delete old;
    }
    // Gives the object up without deleting it.
    T* Release() { return std::exchange(m_pObject, nullptr); }

    T* Get() const { return m_pObject; }
    unsigned int IsNull() const { return m_pObject == nullptr; }
    T* operator->() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
    operator T*() const { return m_pObject; }

private:
    T* m_pObject = nullptr;
};

#endif
