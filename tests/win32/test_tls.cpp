// Thread-local storage indexes: allocation, per-thread values, freeing.
#include "kelwin32.h"
#include "testsupport.h"

#include <thread>
#include <vector>

namespace {

TEST(Tls, ValuesArePerThreadAndStartAtZero) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    int mine = 1, theirs = 2;
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_TRUE(TlsSetValue(index, &mine));
    void* seenByOther = &mine;
    void* afterSet = nullptr;
    std::thread other([&] {
        seenByOther = TlsGetValue(index);
        TlsSetValue(index, &theirs);
        afterSet = TlsGetValue(index);
    });
    other.join();
    EXPECT_EQ(seenByOther, nullptr);
    EXPECT_EQ(afterSet, &theirs);
    EXPECT_EQ(TlsGetValue(index), &mine);
    EXPECT_TRUE(TlsFree(index));
}

// A value is told from a failure by the last error, which a successful
// TlsGetValue clears.
TEST(Tls, GetValueClearsTheLastError) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_TRUE(TlsFree(index));

    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(TlsGetValue(5000), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(TlsSetValue(5000, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(Tls, AReallocatedIndexIsZeroAgainInEveryThread) {
    int value = 0;
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    TlsSetValue(index, &value);
    ASSERT_TRUE(TlsFree(index));
    const DWORD again = TlsAlloc();
    ASSERT_EQ(again, index); // the lowest free index
    EXPECT_EQ(TlsGetValue(again), nullptr);
    EXPECT_TRUE(TlsFree(again));
}

TEST(Tls, FreeingAnIndexTwiceFails) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    EXPECT_TRUE(TlsFree(index));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(TlsFree(index));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(Tls, RunningOutOfIndexesFailsWithNoMoreItems) {
    std::vector<DWORD> taken;
    for (;;) {
        const DWORD index = TlsAlloc();
        if (index == TLS_OUT_OF_INDEXES)
            break;
        taken.push_back(index);
        ASSERT_LT(taken.size(), 5000u);
    }
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);
    EXPECT_FALSE(taken.empty());
    for (DWORD index : taken)
        EXPECT_TRUE(TlsFree(index));
    const DWORD index = TlsAlloc();
    EXPECT_NE(index, TLS_OUT_OF_INDEXES);
    TlsFree(index);
}

} // namespace
