// Events, mutexes, semaphores and waits of the platform layer, in one process.
// The same tests run against Windows (Wine) and the Linux layer.
#include "kelwin32.h"
#include "synctest.h"
#include "testsupport.h"

#include <atomic>
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

// --- Events ----------------------------------------------------------------

TEST(Event, ManualResetStaysSignalledUntilReset) {
    HANDLE e = NewEvent(TRUE, FALSE);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(e));
    EXPECT_TRUE(Signalled(e));
    EXPECT_TRUE(Signalled(e));
    EXPECT_TRUE(ResetEvent(e));
    EXPECT_FALSE(Signalled(e));
    CloseHandle(e);
}

TEST(Event, AutoResetIsConsumedBySatisfiedWait) {
    HANDLE e = NewEvent(FALSE, TRUE);
    ASSERT_NE(e, nullptr);
    EXPECT_TRUE(Signalled(e));
    EXPECT_FALSE(Signalled(e));
    SetEvent(e);
    SetEvent(e); // does not count
    EXPECT_TRUE(Signalled(e));
    EXPECT_FALSE(Signalled(e));
    CloseHandle(e);
}

TEST(Event, SuccessfulCreationClearsLastError) {
    SetLastError(ERROR_ALREADY_EXISTS);
    HANDLE e = NewEvent(TRUE, FALSE);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    CloseHandle(e);
}

TEST(Event, AutoResetSetReleasesOneWaiterManualResetAll) {
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
    // The signal went to one waiter; the other is still blocked.
    EXPECT_EQ(WaitForSingleObject(done, 0), WAIT_TIMEOUT);
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

// --- Mutexes ---------------------------------------------------------------

bool TakenByAnotherThread(HANDLE mutex) {
    DWORD result = WAIT_FAILED;
    std::thread([&] {
        result = WaitForSingleObject(mutex, 0);
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED)
            ReleaseMutex(mutex);
    }).join();
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

TEST(Mutex, IsReentrantForItsOwner) {
    HANDLE m = CreateMutexA(nullptr, TRUE, nullptr);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_OBJECT_0);
    EXPECT_FALSE(TakenByAnotherThread(m));
    EXPECT_TRUE(ReleaseMutex(m));
    EXPECT_FALSE(TakenByAnotherThread(m)); // still held once
    EXPECT_TRUE(ReleaseMutex(m));
    EXPECT_FALSE(ReleaseMutex(m));
    EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
    EXPECT_TRUE(TakenByAnotherThread(m));
    CloseHandle(m);
}

TEST(Mutex, OnlyTheOwnerCanRelease) {
    HANDLE m = CreateMutexA(nullptr, TRUE, nullptr);
    BOOL released = TRUE;
    DWORD error = 0;
    std::thread([&] {
        released = ReleaseMutex(m);
        error = GetLastError();
    }).join();
    EXPECT_FALSE(released);
    EXPECT_EQ(error, ERROR_NOT_OWNER);
    EXPECT_TRUE(ReleaseMutex(m));
    CloseHandle(m);
}

TEST(Mutex, AbandonedByEndedThreadIsReportedOnceAndOwnedByWaiter) {
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_OBJECT_0); }).join();
    EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_ABANDONED);
    EXPECT_FALSE(TakenByAnotherThread(m));
    EXPECT_TRUE(ReleaseMutex(m));
    EXPECT_FALSE(ReleaseMutex(m));
    EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(m));
    CloseHandle(m);
}

TEST(Mutex, BlockedWaiterLearnsOfOwnerEnding) {
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    HANDLE owned = NewEvent(TRUE, FALSE);
    HANDLE end = NewEvent(TRUE, FALSE);
    std::thread owner([&] {
        WaitForSingleObject(m, INFINITE);
        SetEvent(owned);
        WaitForSingleObject(end, kHandshakeMs);
    });
    ASSERT_EQ(WaitForSingleObject(owned, kHandshakeMs), WAIT_OBJECT_0);
    DWORD single = WAIT_FAILED;
    std::thread waiter([&] {
        single = WaitForSingleObject(m, kHandshakeMs);
        if (single == WAIT_ABANDONED || single == WAIT_OBJECT_0)
            ReleaseMutex(m);
    });
    SetEvent(end);
    owner.join();
    waiter.join();
    EXPECT_EQ(single, WAIT_ABANDONED);
    for (HANDLE h : {m, owned, end})
        CloseHandle(h);
}

// --- Semaphores ------------------------------------------------------------

TEST(Semaphore, CountsUnitsUpToItsMaximum) {
    HANDLE s = CreateSemaphoreA(nullptr, 2, 3, nullptr);
    ASSERT_NE(s, nullptr);
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
    // Windows refuses a count of 0 (Wine, which runs the Windows build of
    // this test, accepts it).
    EXPECT_FALSE(ReleaseSemaphore(s, 0, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
#endif
    CloseHandle(s);
}

TEST(Semaphore, RejectsInvalidCounts) {
    for (auto counts : {std::make_pair(3, 2), std::make_pair(-1, 2), std::make_pair(0, 0)}) {
        SetLastError(0);
        EXPECT_EQ(CreateSemaphoreA(nullptr, counts.first, counts.second, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

// --- Waits on several objects ----------------------------------------------

TEST(WaitMultiple, LowestSignalledIndexWinsAndOnlyItIsConsumed) {
    HANDLE a = NewEvent(FALSE, FALSE);
    HANDLE b = NewEvent(FALSE, TRUE);
    HANDLE c = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    const HANDLE handles[] = {a, b, c};
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_TIMEOUT);
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
    {
        DWORD result = WAIT_FAILED;
        std::thread waiter(
            [&] { result = WaitForMultipleObjects(4, handles, FALSE, kHandshakeMs); });
        SetEvent(event);
        waiter.join();
        EXPECT_EQ(result, WAIT_OBJECT_0 + 1);
    }
    {
        DWORD result = WAIT_FAILED;
        std::thread waiter(
            [&] { result = WaitForMultipleObjects(4, handles, FALSE, kHandshakeMs); });
        ReleaseSemaphore(semaphore, 1, nullptr);
        waiter.join();
        EXPECT_EQ(result, WAIT_OBJECT_0 + 2);
    }
    {
        DWORD result = WAIT_FAILED;
        std::thread waiter([&] {
            result = WaitForMultipleObjects(4, handles, FALSE, kHandshakeMs);
            if (result == WAIT_OBJECT_0 + 3)
                ReleaseMutex(mutex);
        });
        ReleaseMutex(mutex);
        waiter.join();
        EXPECT_EQ(result, WAIT_OBJECT_0 + 3);
    }
    for (HANDLE h : handles)
        CloseHandle(h);
}

TEST(WaitMultiple, ReportsMutexAbandonedWhileWaiting) {
    HANDLE stop = NewEvent(TRUE, FALSE);
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    HANDLE owned = NewEvent(TRUE, FALSE);
    HANDLE end = NewEvent(TRUE, FALSE);
    std::thread owner([&] {
        WaitForSingleObject(m, INFINITE);
        SetEvent(owned);
        WaitForSingleObject(end, kHandshakeMs);
    });
    ASSERT_EQ(WaitForSingleObject(owned, kHandshakeMs), WAIT_OBJECT_0);
    const HANDLE handles[] = {stop, m};
    DWORD result = WAIT_FAILED;
    std::thread waiter([&] {
        result = WaitForMultipleObjects(2, handles, FALSE, kHandshakeMs);
        if (result == WAIT_ABANDONED_0 + 1)
            ReleaseMutex(m);
    });
    SetEvent(end);
    owner.join();
    waiter.join();
    EXPECT_EQ(result, WAIT_ABANDONED_0 + 1);
    for (HANDLE h : {stop, m, owned, end})
        CloseHandle(h);
}

// --- Handles and argument checks --------------------------------------------

TEST(Handles, InvalidHandlesAndWrongKindsFail) {
    SetLastError(0);
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    HANDLE e = NewEvent(TRUE, FALSE);
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    SetLastError(0);
    EXPECT_FALSE(SetEvent(m));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    SetLastError(0);
    EXPECT_FALSE(ReleaseMutex(e));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    SetLastError(0);
    EXPECT_FALSE(ReleaseSemaphore(e, 1, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    EXPECT_TRUE(CloseHandle(e));
    SetLastError(0);
    EXPECT_FALSE(CloseHandle(e));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    CloseHandle(m);
}

TEST(Handles, WaitMultipleChecksItsArguments) {
    HANDLE e = NewEvent(TRUE, TRUE);
    std::vector<HANDLE> many(MAXIMUM_WAIT_OBJECTS + 1, e);
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(0, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS + 1, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, many.data(), FALSE, 0), WAIT_OBJECT_0);
    const HANDLE withInvalid[] = {e, nullptr};
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(2, withInvalid, FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    CloseHandle(e);
}

// --- Interlocked counters ---------------------------------------------------

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
