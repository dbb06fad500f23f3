// Events, mutexes, semaphores and waits of the platform layer, in one process,
// where the class tests do not reach: several waiters, waits on several
// objects, owners that end, argument checks. The same tests run against
// Windows (Wine) and the Linux layer.
#include "kelwin32.h"
#include "synctest.h"
#include "testsupport.h"

#include <functional>
#include <thread>
#include <vector>

using synctest::kHandshakeMs;

namespace {

HANDLE NewEvent(BOOL manual, BOOL initial) {
    return CreateEventA(nullptr, manual, initial, nullptr);
}

bool Signalled(HANDLE h) {
    return WaitForSingleObject(h, 0) == WAIT_OBJECT_0;
}

TEST(Event, AutoResetReleasesOneWaiterPerSetManualResetAll) {
    HANDLE autoEvent = NewEvent(FALSE, FALSE);
    HANDLE done = CreateSemaphoreA(nullptr, 0, 10, nullptr);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i)
        waiters.emplace_back([&] {
            EXPECT_EQ(WaitForSingleObject(autoEvent, kHandshakeMs), WAIT_OBJECT_0);
            ReleaseSemaphore(done, 1, nullptr);
        });
    SetEvent(autoEvent);
    EXPECT_EQ(WaitForSingleObject(done, kHandshakeMs), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(done, 0), WAIT_TIMEOUT); // the other still waits
    SetEvent(autoEvent);
    EXPECT_EQ(WaitForSingleObject(done, kHandshakeMs), WAIT_OBJECT_0);
    for (auto& t : waiters)
        t.join();

    HANDLE manual = NewEvent(TRUE, FALSE);
    waiters.clear();
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back(
            [&] { EXPECT_EQ(WaitForSingleObject(manual, kHandshakeMs), WAIT_OBJECT_0); });
    SetEvent(manual);
    for (auto& t : waiters)
        t.join();
    EXPECT_TRUE(Signalled(manual));
    for (HANDLE h : {autoEvent, done, manual})
        CloseHandle(h);
}

TEST(Semaphore, CountsUnitsUpToItsMaximumAndRejectsBadCounts) {
    HANDLE s = CreateSemaphoreA(nullptr, 2, 3, nullptr);
    EXPECT_TRUE(Signalled(s));
    EXPECT_TRUE(Signalled(s));
    EXPECT_FALSE(Signalled(s));
    LONG previous = -1;
    EXPECT_TRUE(ReleaseSemaphore(s, 2, &previous));
    EXPECT_EQ(previous, 0);
    previous = -1;
    EXPECT_FALSE(ReleaseSemaphore(s, 2, &previous));
    EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_POSTS);
    EXPECT_EQ(previous, -1);
    EXPECT_TRUE(ReleaseSemaphore(s, 1, &previous)); // the failed release added nothing
    EXPECT_EQ(previous, 2);
#if !defined(_WIN32)
    // Windows refuses a count of 0 (Wine, which runs the Windows build, accepts it).
    EXPECT_FALSE(ReleaseSemaphore(s, 0, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
#endif
    CloseHandle(s);
    for (auto counts : {std::make_pair(3, 2), std::make_pair(-1, 2), std::make_pair(0, 0)}) {
        EXPECT_EQ(CreateSemaphoreA(nullptr, counts.first, counts.second, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(WaitMultiple, LowestSignalledIndexWinsAndOnlyItIsConsumed) {
    HANDLE a = NewEvent(FALSE, FALSE);
    HANDLE b = NewEvent(FALSE, TRUE);
    HANDLE c = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    const HANDLE handles[] = {a, b, c};
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 10), WAIT_TIMEOUT);
    SetEvent(a);
    SetEvent(b);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(Signalled(b));
    for (HANDLE h : handles)
        CloseHandle(h);
}

TEST(WaitMultiple, IsWokenByEachKindOfObject) {
    HANDLE stop = NewEvent(TRUE, FALSE);
    HANDLE event = NewEvent(FALSE, FALSE);
    HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    HANDLE mutex = CreateMutexA(nullptr, TRUE, nullptr);
    const HANDLE handles[] = {stop, event, semaphore, mutex};
    auto wokenBy = [&](const std::function<void()>& wake) {
        DWORD result = WAIT_FAILED;
        std::thread waiter([&] {
            result = WaitForMultipleObjects(4, handles, FALSE, kHandshakeMs);
            if (result == WAIT_OBJECT_0 + 3)
                ReleaseMutex(mutex);
        });
        wake();
        waiter.join();
        return result;
    };
    EXPECT_EQ(wokenBy([&] { SetEvent(event); }), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(wokenBy([&] { ReleaseSemaphore(semaphore, 1, nullptr); }), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(wokenBy([&] { ReleaseMutex(mutex); }), WAIT_OBJECT_0 + 3);
    for (HANDLE h : handles)
        CloseHandle(h);
}

// One thread owns two mutexes and ends; a thread waiting on the first alone
// and one waiting on the second among other objects both learn of it.
TEST(Mutex, WaitersLearnOfTheOwnerThreadEnding) {
    HANDLE stop = NewEvent(TRUE, FALSE);
    HANDLE first = CreateMutexA(nullptr, FALSE, nullptr);
    HANDLE second = CreateMutexA(nullptr, FALSE, nullptr);
    HANDLE owned = NewEvent(TRUE, FALSE);
    HANDLE end = NewEvent(TRUE, FALSE);
    std::thread owner([&] {
        WaitForSingleObject(first, INFINITE);
        WaitForSingleObject(second, INFINITE);
        SetEvent(owned);
        WaitForSingleObject(end, kHandshakeMs);
    });
    ASSERT_EQ(WaitForSingleObject(owned, kHandshakeMs), WAIT_OBJECT_0);
    DWORD single = WAIT_FAILED;
    DWORD multiple = WAIT_FAILED;
    std::thread singleWaiter([&] {
        single = WaitForSingleObject(first, kHandshakeMs);
        ReleaseMutex(first);
    });
    std::thread multipleWaiter([&] {
        const HANDLE handles[] = {stop, second};
        multiple = WaitForMultipleObjects(2, handles, FALSE, kHandshakeMs);
        ReleaseMutex(second);
    });
    SetEvent(end);
    owner.join();
    singleWaiter.join();
    multipleWaiter.join();
    EXPECT_EQ(single, WAIT_ABANDONED);
    EXPECT_EQ(multiple, WAIT_ABANDONED_0 + 1);
    EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0); // abandoned only once
    ReleaseMutex(first);
    for (HANDLE h : {stop, first, second, owned, end})
        CloseHandle(h);
}

TEST(Handles, InvalidHandlesWrongKindsAndBadArgumentsFail) {
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    HANDLE e = NewEvent(TRUE, TRUE);
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    EXPECT_FALSE(SetEvent(m));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(ReleaseMutex(e));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(ReleaseSemaphore(e, 1, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    std::vector<HANDLE> many(MAXIMUM_WAIT_OBJECTS + 1, e);
    EXPECT_EQ(WaitForMultipleObjects(0, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS + 1, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, many.data(), FALSE, 0), WAIT_OBJECT_0);
    const HANDLE withInvalid[] = {e, nullptr};
    EXPECT_EQ(WaitForMultipleObjects(2, withInvalid, FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    EXPECT_TRUE(CloseHandle(e));
    EXPECT_FALSE(CloseHandle(e));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    CloseHandle(m);
}

TEST(Interlocked, CountsExactlyUnderContentionAndWrapsAt32Bits) {
    volatile LONG counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                InterlockedIncrement(&counter);
                InterlockedIncrement(&counter);
                InterlockedDecrement(&counter);
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 40000);
    EXPECT_EQ(InterlockedExchange(&counter, 0x7FFFFFFF), 40000);
    EXPECT_EQ(InterlockedIncrement(&counter), static_cast<LONG>(0x80000000u));
    EXPECT_EQ(InterlockedDecrement(&counter), 0x7FFFFFFF);
}

} // namespace
