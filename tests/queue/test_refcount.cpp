// Reference counting: self-deletion happens on the last release with the
// auto-delete flag 1 only.
#include <gtest/gtest.h>

#include "ReferenceCount.h"

namespace {

struct Counted : CReferenceCount {
    Counted(int count, int autoDelete, int* deletions)
        : CReferenceCount(count, autoDelete), m_pDeletions(deletions) {}
    ~Counted() override { ++*m_pDeletions; }
    int* m_pDeletions;
};

TEST(ReferenceCount, OnlyFlagOneDeletesOnTheLastRelease) {
    for (int flag : {0, 1, 2, -1}) {
        int deletions = 0;
        auto* object = new Counted(1, flag, &deletions);
        EXPECT_EQ(2, object->AddRef());
        EXPECT_EQ(1, object->ReleaseRef());
        EXPECT_EQ(0, deletions) << "flag " << flag;
        EXPECT_EQ(0, object->ReleaseRef());
        EXPECT_EQ(flag == 1 ? 1 : 0, deletions) << "flag " << flag;
        if (flag != 1)
            delete object;
    }
}

TEST(ReferenceCount, ReleasingPastZeroNeverDeletesAgain) {
    int deletions = 0;
    Counted object(0, 1, &deletions);
    EXPECT_EQ(-1, object.ReleaseRef());
    EXPECT_EQ(0, deletions);
    EXPECT_EQ(0, object.AddRef());
    EXPECT_EQ(0, deletions);
}

} // namespace
