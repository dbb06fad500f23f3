// Routines called at thread end (Linux) and module handles from addresses.
#include "Error.h"
#include "kelwin32.h"
#include "testsupport.h"

#include <atomic>
#include <thread>
#include <utility>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#include <cerrno>
#include <pthread.h>
#endif

namespace {

int ModuleMarker() {
    return 1;
}

HMODULE ModuleOfAddress(const void* address) {
    HMODULE module = reinterpret_cast<HMODULE>(1);
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCSTR>(address), &module)) {
        EXPECT_EQ(module, nullptr) << "a failure leaves no handle";
        return nullptr;
    }
    return module;
}

TEST(ModuleHandle, AddressesNameTheModuleThatHoldsThem) {
    HMODULE program = nullptr;
    ASSERT_TRUE(
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &program));
    EXPECT_NE(program, nullptr);
    EXPECT_EQ(ModuleOfAddress(reinterpret_cast<const void*>(&ModuleMarker)), program);

    // A function of the library lies in another module, which has a file.
    HMODULE library = ModuleOfAddress(reinterpret_cast<const void*>(&GetErrorCount));
    ASSERT_NE(library, nullptr);
    EXPECT_NE(library, program);
    char name[MAX_PATH] = "";
    EXPECT_GT(GetModuleFileNameA(library, name, MAX_PATH), 0u);

    // The stack belongs to no module.
    int onTheStack = 0;
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(ModuleOfAddress(&onTheStack), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

#if !defined(_WIN32)

TEST(ModuleHandle, LookupByNameIsNotCarried) {
    HMODULE module = reinterpret_cast<HMODULE>(1);
    EXPECT_FALSE(GetModuleHandleExA(0, "libc.so.6", &module));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(module, nullptr);
    EXPECT_FALSE(GetModuleHandleExA(0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

// What the routines saw, written by the ending threads and read after join.
struct Record {
    std::atomic<int> calls{0};
    std::atomic<bool> afterThreadLocals{false};
    std::atomic<int> rearm{0}; // how many more times the routine arranges itself
};

Record s_first;
Record s_second;
std::atomic<bool> s_threadLocalGone{false};

struct MarksItsDestruction {
    ~MarksItsDestruction() { s_threadLocalGone = true; }
};

template <Record* R> void Routine() {
    R->calls++;
    R->afterThreadLocals = s_threadLocalGone.load();
    if (R->rearm > 0) {
        R->rearm--;
        kelwin_call_at_thread_end(&Routine<R>);
    }
}

void Reset() {
    for (Record* record : {&s_first, &s_second}) {
        record->calls = 0;
        record->afterThreadLocals = false;
        record->rearm = 0;
    }
    s_threadLocalGone = false;
}

class ThreadEnd : public ::testing::Test {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override {
        kelwin_cancel_thread_end(&Routine<&s_first>);
        kelwin_cancel_thread_end(&Routine<&s_second>);
        kelwin_reset_syscalls();
    }
};

TEST_F(ThreadEnd, RoutineRunsOnceOnTheEndingThreadAfterItsThreadLocals) {
    bool arrangedBefore = true, arrangedAfter = false;
    std::thread([&] {
        static thread_local MarksItsDestruction marker;
        (void)marker;
        arrangedBefore = kelwin_is_called_at_thread_end(&Routine<&s_first>);
        EXPECT_TRUE(kelwin_call_at_thread_end(&Routine<&s_first>));
        EXPECT_TRUE(kelwin_call_at_thread_end(&Routine<&s_first>)); // twice: still once
        arrangedAfter = kelwin_is_called_at_thread_end(&Routine<&s_first>);
    }).join();
    EXPECT_FALSE(arrangedBefore);
    EXPECT_TRUE(arrangedAfter);
    EXPECT_EQ(s_first.calls, 1);
    EXPECT_TRUE(s_first.afterThreadLocals);
    // Neither the other routine nor this (still running) thread was involved.
    EXPECT_EQ(s_second.calls, 0);
    EXPECT_FALSE(kelwin_is_called_at_thread_end(&Routine<&s_first>));
}

TEST_F(ThreadEnd, EachThreadAndEachRoutineCountsOnItsOwn) {
    std::thread([] {
        kelwin_call_at_thread_end(&Routine<&s_first>);
        kelwin_call_at_thread_end(&Routine<&s_second>);
    }).join();
    std::thread([] { kelwin_call_at_thread_end(&Routine<&s_second>); }).join();
    std::thread([] {}).join();
    EXPECT_EQ(s_first.calls, 1);
    EXPECT_EQ(s_second.calls, 2);
}

TEST_F(ThreadEnd, ARoutineArrangedAgainAtThreadEndRunsAgain) {
    s_first.rearm = 1;
    std::thread([] { kelwin_call_at_thread_end(&Routine<&s_first>); }).join();
    EXPECT_EQ(s_first.calls, 2);
}

TEST_F(ThreadEnd, CancelledRoutinesAreNotCalled) {
    std::atomic<bool> arranged{false}, cancelled{false};
    std::thread worker([&] {
        kelwin_call_at_thread_end(&Routine<&s_first>);
        arranged = true;
        while (!cancelled)
            std::this_thread::yield();
    });
    while (!arranged)
        std::this_thread::yield();
    kelwin_cancel_thread_end(&Routine<&s_first>);
    cancelled = true;
    worker.join();
    EXPECT_EQ(s_first.calls, 0);

    // It can be arranged again afterwards.
    std::thread([] { kelwin_call_at_thread_end(&Routine<&s_first>); }).join();
    EXPECT_EQ(s_first.calls, 1);
}

int FailKeyCreate(pthread_key_t*, void (*)(void*)) {
    return EAGAIN;
}

TEST_F(ThreadEnd, FailuresLeaveNothingArranged) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(kelwin_call_at_thread_end(nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(kelwin_is_called_at_thread_end(nullptr));

    ASSERT_TRUE(kelwin_set_syscall("pthread_key_create", reinterpret_cast<void*>(&FailKeyCreate)));
    std::thread([] {
        EXPECT_FALSE(kelwin_call_at_thread_end(&Routine<&s_first>));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
        EXPECT_FALSE(kelwin_is_called_at_thread_end(&Routine<&s_first>));
    }).join();
    EXPECT_EQ(s_first.calls, 0);
}

template <int N> void Numbered() {}

template <int... N> int ArrangeAll(std::integer_sequence<int, N...>) {
    int arranged = 0;
    for (KELWIN_THREAD_END_ROUTINE routine : {&Numbered<N>...}) {
        if (kelwin_call_at_thread_end(routine))
            ++arranged;
        else
            EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
    }
    for (KELWIN_THREAD_END_ROUTINE routine : {&Numbered<N>...})
        kelwin_cancel_thread_end(routine);
    return arranged;
}

TEST_F(ThreadEnd, TheNumberOfRoutinesIsBounded) {
    int arranged = 0;
    std::thread([&] {
        arranged = ArrangeAll(std::make_integer_sequence<int, KELWIN_THREAD_END_ROUTINES + 1>());
    }).join();
    // The library holds one routine of its own.
    EXPECT_EQ(arranged, KELWIN_THREAD_END_ROUTINES - 1);
    // Cancelled routines free their places.
    std::thread([] { EXPECT_TRUE(kelwin_call_at_thread_end(&Routine<&s_first>)); }).join();
    EXPECT_EQ(s_first.calls, 1);
}

#endif // !_WIN32

} // namespace
