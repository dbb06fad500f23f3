// CReferenceCount: a small base for objects that count their references and,
// when asked to, delete themselves as the last one is released. The stores use
// the count as their error counter.
//
// The count is a plain integer, not an interlocked one: AddRef and ReleaseRef
// on one object belong to one thread at a time (or to the object's own lock).
#ifndef BASEKEL_REFERENCECOUNT_H
#define BASEKEL_REFERENCECOUNT_H

#include "kelexport.h"

class BASEKEL_API CReferenceCount {
public:
    // autoDelete 1 makes the object delete itself when its count drops to 0;
    // any other value never does.
    CReferenceCount(int count = 0, int autoDelete = 0);
    virtual ~CReferenceCount();

    // The count after the change.
    int AddRef();
    int ReleaseRef();

    int GetRefCount() const { return m_nCount; }
    void SetRefCount(int count) { m_nCount = count; }
    int GetAutoDelete() const { return m_nAutoDelete; }

private:
    int m_nCount;
    int m_nAutoDelete;
};

#endif
