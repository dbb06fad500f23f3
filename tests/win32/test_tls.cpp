// Thread-local storage indexes: allocation, per-thread values, freeing.
#include "kelwin32.h"
#include "testsupport.h"

#include <thread>

namespace {

// Values start at zero in every thread and stay per thread; a value is told
// from a failure by the last error, which a successful TlsGetValue clears.
TEST(Tls, ValuesArePerThreadAndStartAtZero) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    int mine = 1, theirs = 2;
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
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

    // Freed and allocated again (the lowest free index), it is zero again.
    ASSERT_TRUE(TlsFree(index));
    const DWORD again = TlsAlloc();
    ASSERT_EQ(again, index);
    EXPECT_EQ(TlsGetValue(again), nullptr);
    EXPECT_TRUE(TlsFree(again));
}

TEST(Tls, BadAndFreedIndexesFail) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(TlsGetValue(5000), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(TlsSetValue(5000, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    EXPECT_TRUE(TlsFree(index));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(TlsFree(index));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

} // namespace
