// CReferenceCount: counting references, and self-deletion on the last release
// for objects created with the auto-delete flag 1.
#include "ReferenceCount.h"

CReferenceCount::CReferenceCount(int count, int autoDelete)
    : m_nCount(count), m_nAutoDelete(autoDelete) {}

CReferenceCount::~CReferenceCount() = default;

int CReferenceCount::AddRef() {
    // Wraps at 32 bits instead of overflowing.
    m_nCount = static_cast<int>(static_cast<unsigned int>(m_nCount) + 1u);
    return m_nCount;
}

int CReferenceCount::ReleaseRef() {
    m_nCount = static_cast<int>(static_cast<unsigned int>(m_nCount) - 1u);
    const int count = m_nCount;
    // Only a count that has just reached 0 deletes, and only with flag 1
    // exactly: flag 2 (or any other) keeps the object alive.
    if (count == 0 && m_nAutoDelete == 1)
        delete this;
    return count;
}
