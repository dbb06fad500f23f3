// The block-allocated lists and the single-object owner.
#include "Lists.h"
#include "SmartPtr.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class T> std::vector<T> Values(const TObjList<T>& list, bool backward = false) {
    std::vector<T> values;
    for (void* pos = backward ? list.GetTailPosition() : list.GetHeadPosition(); pos;)
        values.push_back(backward ? list.GetPrev(pos) : list.GetNext(pos));
    return values;
}

typedef std::vector<std::string> Strings;

// Counts the live objects, so that every construction is seen to be matched
// by exactly one destruction.
struct Counted {
    static int alive;
    int value = 0;
    Counted() { ++alive; }
    explicit Counted(int v) : value(v) { ++alive; }
    Counted(const Counted& other) : value(other.value) { ++alive; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --alive; }
    bool operator==(const Counted& other) const { return value == other.value; }
};
int Counted::alive = 0;

TEST(ObjList, InsertRemoveAndFind) {
    TObjList<std::string> list;
    EXPECT_EQ(1u, list.IsEmpty());
    void* b = list.AddTail("b");
    list.InsertBefore(b, "a");
    void* c = list.InsertAfter(b, "c");
    list.InsertAfter(c, "d");
    list.InsertBefore(nullptr, "head");
    list.InsertAfter(nullptr, "tail");
    list.AddHead("first");
    EXPECT_EQ(7UL, list.GetCount());
    EXPECT_EQ((Strings{"first", "head", "a", "b", "c", "d", "tail"}), Values(list));
    EXPECT_EQ("tail", list.GetTail());

    list.RemoveAt(c);
    EXPECT_EQ("first", list.RemoveHead());
    list.RemoveAt(list.GetHeadPosition());
    EXPECT_EQ("tail", list.RemoveTail());
    EXPECT_EQ((Strings{"a", "b", "d"}), Values(list));
    EXPECT_EQ((Strings{"d", "b", "a"}), Values(list, true));

    list.AddTail("b");
    void* first = list.Find("b");
    EXPECT_EQ(b, first);
    void* second = list.Find("b", first);
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(list.GetTailPosition(), second);
    EXPECT_EQ(nullptr, list.Find("b", second));
    EXPECT_EQ(nullptr, list.Find("zz"));

    EXPECT_EQ("d", list.GetAt(list.FindIndex(2)));
    EXPECT_EQ(nullptr, list.FindIndex(4));
    list.SetAt(list.FindIndex(0), "A");
    EXPECT_EQ("A", list.GetHead());

    while (list.GetCount())
        list.RemoveTail();
    EXPECT_EQ(nullptr, list.GetHeadPosition());
    EXPECT_EQ(nullptr, list.GetTailPosition());
    EXPECT_EQ("", list.RemoveHead()); // empty: a default value
    EXPECT_EQ("", list.RemoveTail());
}

// Nodes are recycled and never move: positions outlive other insertions and
// removals, across many blocks.
TEST(ObjList, PositionsStayValidAcrossBlocks) {
    TObjList<int> list;
    std::vector<void*> positions;
    for (int i = 0; i < 95; ++i)
        positions.push_back(list.AddTail(i));
    for (int i = 1; i < 95; i += 2)
        list.RemoveAt(positions[i]);
    for (int i = 0; i < 40; ++i)
        list.AddHead(-i - 1);
    for (int i = 0; i < 95; i += 2)
        EXPECT_EQ(i, list.GetAt(positions[i]));
    EXPECT_EQ(48UL + 40UL, list.GetCount());
    EXPECT_EQ(-40, list.GetHead());
    EXPECT_EQ(94, list.GetTail());
}

TEST(ObjList, EveryValueIsDestroyedOnce) {
    ASSERT_EQ(0, Counted::alive);
    {
        TObjList<Counted> list(3);
        for (int i = 0; i < 10; ++i)
            list.AddTail(Counted(i));
        EXPECT_EQ(10, Counted::alive);
        list.RemoveAt(list.FindIndex(4));
        EXPECT_EQ(9, Counted::alive);
        { Counted taken = list.RemoveHead(); }
        EXPECT_EQ(8, Counted::alive);
        for (int i = 0; i < 8; ++i)
            list.RemoveTail();
        EXPECT_EQ(0, Counted::alive);
        for (int i = 0; i < 5; ++i)
            list.AddHead(Counted(i));
        TObjList<Counted> copy(list);
        EXPECT_EQ(10, Counted::alive);
        list.RemoveAll();
        EXPECT_EQ(5, Counted::alive);
        EXPECT_EQ(0UL, list.GetCount());
        list.AddTail(Counted(7));
        EXPECT_EQ(6, Counted::alive);
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(ObjList, CopiesAreIndependent) {
    TObjList<std::string> list;
    list.AddTail("x");
    list.AddTail("y");
    TObjList<std::string> copy(list);
    copy.AddTail("z");
    copy.GetHead() = "changed";
    EXPECT_EQ((Strings{"x", "y"}), Values(list));
    EXPECT_EQ((Strings{"changed", "y", "z"}), Values(copy));
    EXPECT_NE(list.GetHeadPosition(), copy.GetHeadPosition());

    list = copy;
    EXPECT_EQ(Values(copy), Values(list));
    TObjList<std::string>& self = list;
    list = self;
    EXPECT_EQ(3UL, list.GetCount());

    TObjList<std::string> moved(std::move(copy));
    EXPECT_EQ(3UL, moved.GetCount());
    EXPECT_EQ(0UL, copy.GetCount());
    copy = std::move(moved);
    EXPECT_EQ((Strings{"changed", "y", "z"}), Values(copy));
}

// Positions that name no node are the caller's mistake; they are answered
// without touching memory.
TEST(ObjList, NullPositionsAreHarmless) {
    TObjList<int> list;
    void* pos = nullptr;
    EXPECT_EQ(0, list.GetNext(pos));
    EXPECT_EQ(0, list.GetPrev(pos));
    EXPECT_EQ(0, list.GetAt(nullptr));
    EXPECT_EQ(0, list.GetHead());
    list.GetTail() = 5; // lands in scratch
    EXPECT_EQ(0, list.GetTail());
    list.SetAt(nullptr, 3);
    list.RemoveAt(nullptr);
    EXPECT_EQ(0UL, list.GetCount());
}

TEST(PtrList, HoldsPointersAndDeletesOnlyWhenAsked) {
    static_assert(std::is_same<TPtrList<Counted>::TPointer, Counted*>::value, "list of pointers");
    static_assert(std::is_same<TPtrList<Counted*>::TPointer, Counted*>::value, "list of pointers");
    {
        Counted a(1), b(2);
        TPtrList<Counted> list;
        list.AddTail(&a);
        list.AddTail(&b);
        EXPECT_EQ(&b, list.GetTail());
        EXPECT_EQ(list.GetHeadPosition(), list.Find(&a));
        list.RemoveAll();
        EXPECT_EQ(2, Counted::alive);
    }
    TPtrList<Counted*> owned;
    for (int i = 0; i < 12; ++i)
        owned.AddTail(new Counted(i));
    EXPECT_EQ(12, Counted::alive);
    owned.DeleteAll();
    EXPECT_EQ(0UL, owned.GetCount());
    EXPECT_EQ(0, Counted::alive);
}

TEST(SmartPtr, OwnsOneObject) {
    {
        TSmartPtr<Counted> p(new Counted(1));
        EXPECT_EQ(1, p->value);
        p = new Counted(2);
        EXPECT_EQ(1, Counted::alive);
        EXPECT_EQ(2, (*p).value);
        Counted* same = p;
        p = same; // the same object: kept, not deleted
        EXPECT_EQ(1, Counted::alive);
        EXPECT_EQ(2, p.Get()->value);

        TSmartPtr<Counted> q(std::move(p));
        EXPECT_EQ(1u, p.IsNull());
        EXPECT_FALSE(p);
        EXPECT_EQ(2, q->value);
        p = std::move(q);
        EXPECT_TRUE(p);
        Counted* raw = p.Release();
        EXPECT_EQ(1u, p.IsNull());
        EXPECT_EQ(1, Counted::alive);
        delete raw;
        p.Reset(new Counted(4));
        p.Reset();
        EXPECT_EQ(0, Counted::alive);
        p.Reset(new Counted(5)); // deleted with p
    }
    EXPECT_EQ(0, Counted::alive);
}

} // namespace
