// Per-thread error state: isolation between threads, attach on first use,
// release at thread end, and the memory-failure handler.
#include "errortest.h"

#include <cstdint>
#include <limits>
#include <new>

using errortest::CountedData;
using errortest::OnFreshThread;
using errortest::Str;

namespace {

// Spins until `count` threads have arrived, making no call that could touch
// the error state.
class Meeting {
public:
    explicit Meeting(int count) : m_count(count) {}
    void Arrive() {
        m_arrived.fetch_add(1);
        while (m_arrived.load() < m_count)
            std::this_thread::yield();
    }

private:
    const int m_count;
    std::atomic<int> m_arrived{0};
};

TEST(ThreadState, EachThreadHasItsOwnStackAndPendingCount) {
    const unsigned long mainCount = GetErrorCount();
    Meeting pushed(3);
    Meeting checked(3);
    auto worker = [&](int depth, const char* name) {
        for (int i = 0; i < depth; ++i)
            PushError(3, 12, name);
        try {
            ThrowNewError(3, 12, name);
        } catch (TException&) {
        }
        pushed.Arrive();
        EXPECT_EQ(GetErrorCount(), static_cast<unsigned long>(depth + 1)) << name;
        EXPECT_EQ(Str(GetErrorString()), name);
        EXPECT_EQ(GetPendingCount(), 1u) << name;
        checked.Arrive();
    };
    std::thread first(worker, 3, "first");
    std::thread second(worker, 5, "second");
    pushed.Arrive();
    checked.Arrive();
    first.join();
    second.join();
    EXPECT_EQ(GetErrorCount(), mainCount);
}

#if !defined(_WIN32)
// A thread_local object whose destructor reports an error, on a thread that
// first used the error stack after the object was made.
struct ReportsAtThreadEnd {
    ReportsAtThreadEnd() {}
    ~ReportsAtThreadEnd() { PushError(3, 12, "late", "", "", new CountedData(99)); }
    void Touch() {}
};
#endif

TEST(ThreadState, ErrorsReportedByThreadLocalDestructorsAreReleasedToo) {
#if defined(_WIN32)
    GTEST_SKIP() << "the order of thread_local destructors and DLL_THREAD_DETACH is the runtime's";
#else
    const int liveBefore = CountedData::live;
    OnFreshThread([] {
        static thread_local ReportsAtThreadEnd reporter;
        reporter.Touch();
        PushError(3, 12, "early");
    });
    EXPECT_EQ(CountedData::live, liveBefore);
#endif
}

// Threads overflowing their stacks at the same moment: each keeps its own
// 20 entries, whether or not its overflow ran while another thread's did.
TEST(ThreadState, SimultaneousOverflowsStayWithinEachStack) {
    std::vector<std::thread> threads;
    Meeting start(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&start, t] {
            start.Arrive();
            for (int i = 0; i < 300; ++i) {
                const std::string text = std::to_string(t) + "/" + std::to_string(i);
                PushError(3, 12, text.c_str());
                EXPECT_LE(GetErrorCount(), 20u);
            }
            EXPECT_EQ(GetErrorCount(), 20u);
            EXPECT_EQ(Str(GetErrorString()), std::to_string(t) + "/299");
            for (int i = 0; i < 20; ++i)
                EXPECT_EQ(Str(GetErrorStringNr(i)).rfind(std::to_string(t) + "/", 0), 0u);
        });
    }
    for (auto& thread : threads)
        thread.join();
}

// ---------------------------------------------------------------------------
// Memory failures

TEST(MemoryFailure, TheProcessWideHandlerPushesTheSystemErrorAndThrows) {
#if !defined(_WIN32) // each module has its own C++ runtime on Windows
    EXPECT_EQ(std::get_new_handler(), &kelmo_new_handler);
#endif
    OnFreshThread([] {
        EXPECT_THROW(kelmo_new_handler(), TException);
        EXPECT_EQ(GetErrorCount(), 1u);
        EXPECT_EQ(GetErrorOrigin(), 1);
        EXPECT_EQ(GetErrorCode(), ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(Str(GetErrorString()), Str(GetMessage(1, ERROR_NOT_ENOUGH_MEMORY)));
        EXPECT_EQ(GetPendingCount(), 1u);
        // It throws also while an exception is pending (returning would make
        // operator new try again for ever), without a second entry.
        EXPECT_THROW(kelmo_new_handler(), TException);
        EXPECT_EQ(GetErrorCount(), 1u);
    });
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BASEKEL_SANITIZER_NEW 1
#endif

TEST(MemoryFailure, AllocationFailureInTheLibrary) {
#if defined(BASEKEL_SANITIZER_NEW)
    GTEST_SKIP() << "the sanitizer's operator new reports failures itself and never calls the "
                    "handler";
#else
    OnFreshThread([] {
        const std::size_t impossible =
            static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
        char* block = nullptr;
        EXPECT_THROW(block = AllocateInLibrary(impossible), TException);
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(GetErrorOrigin(), 1);
        EXPECT_EQ(GetErrorCode(), ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(GetPendingCount(), 1u);

        // Also while that exception is pending.
        EXPECT_THROW(AllocateInLibrary(impossible), TException);
        EXPECT_EQ(GetErrorCount(), 1u);

        char* small = AllocateInLibrary(16);
        EXPECT_NE(small, nullptr);
        ReleaseInLibrary(small);
    });
#endif
}

} // namespace
