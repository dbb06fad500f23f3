// Doubly linked lists of values (TObjList<T>) and of pointers (TPtrList<T>).
//
// Nodes (next, previous, value) are allocated in blocks, ten at a time by
// default, and recycled through a free-node list; all blocks are released
// when the list becomes empty. A position is an opaque pointer to a node
// (null: none); it stays valid until its node is removed, whatever else is
// added or removed.
//
// Positions and the value references handed out are the caller's to keep
// valid. A null position, where a node is expected, is answered safely: reads
// give a default value, removals and writes do nothing.
#ifndef BASEKEL_LISTS_H
#define BASEKEL_LISTS_H

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

template <class T> class TObjList {
public:
    explicit TObjList(unsigned long blockSize = 10) : m_BlockSize(blockSize ? blockSize : 1) {}
    // Copies the values; the copy has nodes of its own.
    TObjList(const TObjList& other) : m_BlockSize(other.m_BlockSize) { AppendAll(other); }
    TObjList& operator=(const TObjList& other) {
        if (this != &other) {
            TObjList copy(other);
            Swap(copy);
        }
        return *this;
    }
    TObjList(TObjList&& other) noexcept : m_BlockSize(other.m_BlockSize) { Swap(other); }
    TObjList& operator=(TObjList&& other) noexcept {
        if (this != &other) {
            RemoveAll();
            Swap(other);
        }
        return *this;
    }
    ~TObjList() { RemoveAll(); }

    void Swap(TObjList& other) noexcept {
        std::swap(m_pHead, other.m_pHead);
        std::swap(m_pTail, other.m_pTail);
        std::swap(m_Count, other.m_Count);
        std::swap(m_pFree, other.m_pFree);
        std::swap(m_pBlocks, other.m_pBlocks);
        std::swap(m_BlockSize, other.m_BlockSize);
    }

    unsigned long GetCount() const { return m_Count; }
    unsigned int IsEmpty() const { return m_Count == 0; }

    void* GetHeadPosition() const { return m_pHead; }
    void* GetTailPosition() const { return m_pTail; }

    // The value at pos; pos moves on to the next (previous) node, null past the end.
    T& GetNext(void*& pos) { return Step(pos, &Node::pNext); }
    const T& GetNext(void*& pos) const { return const_cast<TObjList*>(this)->GetNext(pos); }
    T& GetPrev(void*& pos) { return Step(pos, &Node::pPrev); }
    const T& GetPrev(void*& pos) const { return const_cast<TObjList*>(this)->GetPrev(pos); }

    T& GetAt(void* pos) { return pos ? ToNode(pos)->Value() : Scratch(); }
    const T& GetAt(void* pos) const { return const_cast<TObjList*>(this)->GetAt(pos); }
    void SetAt(void* pos, const T& value) {
        if (pos)
            ToNode(pos)->Value() = value;
    }

    T& GetHead() { return GetAt(m_pHead); }
    const T& GetHead() const { return GetAt(m_pHead); }
    T& GetTail() { return GetAt(m_pTail); }
    const T& GetTail() const { return GetAt(m_pTail); }

    void* AddHead(const T& value) { return Link(NewNode(value), nullptr, m_pHead); }
    void* AddTail(const T& value) { return Link(NewNode(value), m_pTail, nullptr); }
    // A null pos inserts at the head (InsertBefore) or the tail (InsertAfter).
    void* InsertBefore(void* pos, const T& value) {
        if (!pos)
            return AddHead(value);
        Node* next = ToNode(pos);
        return Link(NewNode(value), next->pPrev, next);
    }
    void* InsertAfter(void* pos, const T& value) {
        if (!pos)
            return AddTail(value);
        Node* prev = ToNode(pos);
        return Link(NewNode(value), prev, prev->pNext);
    }

    // Remove a node and give its value back; an empty list gives a default value.
    T RemoveHead() { return TakeOut(m_pHead); }
    T RemoveTail() { return TakeOut(m_pTail); }
    void RemoveAt(void* pos) {
        if (pos)
            FreeNode(Unlink(ToNode(pos)));
    }
    void RemoveAll() {
        for (Node* node = m_pHead; node; node = node->pNext)
            node->Value().~T();
        while (m_pBlocks) {
            Block* next = m_pBlocks->pNext;
            delete m_pBlocks;
            m_pBlocks = next;
        }
        m_pHead = m_pTail = m_pFree = nullptr;
        m_Count = 0;
    }

    // The first node after startAfter (from the head when null) whose value
    // equals value; null when there is none.
    void* Find(const T& value, void* startAfter = nullptr) const {
        Node* node = startAfter ? ToNode(startAfter)->pNext : m_pHead;
        for (; node; node = node->pNext) {
            if (node->Value() == value)
                return node;
        }
        return nullptr;
    }
    // The node at a zero-based index; null when the list is shorter.
    void* FindIndex(unsigned long index) const {
        Node* node = m_pHead;
        for (; node && index; --index)
            node = node->pNext;
        return node;
    }

private:
    struct Node {
        Node* pNext;
        Node* pPrev;
        alignas(T) unsigned char storage[sizeof(T)];
        T& Value() { return *std::launder(reinterpret_cast<T*>(storage)); }
    };
    struct Block {
        Block(Block* next, unsigned long size) : pNext(next), pNodes(new Node[size]) {}
        ~Block() { delete[] pNodes; }
        Block(const Block&) = delete;
        Block& operator=(const Block&) = delete;
        Block* pNext;
        Node* pNodes;
    };

    static Node* ToNode(void* pos) { return static_cast<Node*>(pos); }

    // What a read through a null position gets: a default value of the
    // calling thread's own, fresh each time.
    static T& Scratch() {
        static thread_local T scratch;
        scratch = T();
        return scratch;
    }

    T& Step(void*& pos, Node* Node::*direction) {
        if (!pos)
            return Scratch();
        Node* node = ToNode(pos);
        pos = node->*direction;
        return node->Value();
    }

    void AppendAll(const TObjList& other) {
        for (Node* node = other.m_pHead; node; node = node->pNext)
            AddTail(node->Value());
    }

    // A node from the free list (a new block when it is exhausted), holding a
    // copy of value but not yet linked.
    Node* NewNode(const T& value) {
        if (!m_pFree)
            AddBlock();
        Node* node = m_pFree;
        ::new (static_cast<void*>(node->storage)) T(value);
        m_pFree = node->pNext;
        return node;
    }

    void AddBlock() {
        m_pBlocks = new Block(m_pBlocks, m_BlockSize);
        for (unsigned long i = m_BlockSize; i-- > 0;) {
            m_pBlocks->pNodes[i].pNext = m_pFree;
            m_pFree = &m_pBlocks->pNodes[i];
        }
    }

    Node* Link(Node* node, Node* prev, Node* next) {
        node->pPrev = prev;
        node->pNext = next;
        (prev ? prev->pNext : m_pHead) = node;
        (next ? next->pPrev : m_pTail) = node;
        ++m_Count;
        return node;
    }

    Node* Unlink(Node* node) {
        (node->pPrev ? node->pPrev->pNext : m_pHead) = node->pNext;
        (node->pNext ? node->pNext->pPrev : m_pTail) = node->pPrev;
        --m_Count;
        return node;
    }

    void FreeNode(Node* node) {
        node->Value().~T();
        node->pNext = m_pFree;
        m_pFree = node;
        if (m_Count == 0)
            RemoveAll();
    }

    T TakeOut(Node* node) {
        if (!node)
            return T();
        T value(std::move(node->Value()));
        FreeNode(Unlink(node));
        return value;
    }

    Node* m_pHead = nullptr;
    Node* m_pTail = nullptr;
    unsigned long m_Count = 0;
    Node* m_pFree = nullptr;
    Block* m_pBlocks = nullptr;
    unsigned long m_BlockSize;
};

// A list of pointers that does not own what they point to. TPtrList<X*> and
// TPtrList<X> are the same list of X*.
template <class T>
class TPtrList
    : public TObjList<typename std::conditional<std::is_pointer<T>::value, T, T*>::type> {
public:
    typedef typename std::conditional<std::is_pointer<T>::value, T, T*>::type TPointer;

    explicit TPtrList(unsigned long blockSize = 10) : TObjList<TPointer>(blockSize) {}

    // For lists that do own their objects: deletes every object and empties the list.
    void DeleteAll() {
        while (!this->IsEmpty())
            delete this->RemoveHead();
    }
};

#endif
