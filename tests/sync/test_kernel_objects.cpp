// Events, semaphores and waits of the platform layer, in one process, where
// the class tests do not reach: several waiters, waits on several objects,
// argument checks. The same tests run against Windows (Wine) and the
// Linux layer.
#include "kelwin32.h"
#include "synctest.h"
#include "testsupport.h"

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
    HANDLE manual = NewEvent(TRUE, FALSE);
    HANDLE done = CreateSemaphoreA(nullptr, 0, 10, nullptr);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i)
        waiters.emplace_back([&] {
            EXPECT_EQ(WaitForSingleObject(autoEvent, kHandshakeMs), WAIT_OBJECT_0);
            ReleaseSemaphore(done, 1, nullptr);
        });
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back(
            [&] { EXPECT_EQ(WaitForSingleObject(manual, kHandshakeMs), WAIT_OBJECT_0); });
    SetEvent(autoEvent);
    EXPECT_EQ(WaitForSingleObject(done, kHandshakeMs), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(done, 0), WAIT_TIMEOUT); // the other still waits
    SetEvent(autoEvent);
    EXPECT_EQ(WaitForSingleObject(done, kHandshakeMs), WAIT_OBJECT_0);
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
    EXPECT_RESULT_AND_ERROR(ReleaseSemaphore(s, 2, &previous), FALSE, ERROR_TOO_MANY_POSTS);
    EXPECT_EQ(previous, -1);
    EXPECT_TRUE(ReleaseSemaphore(s, 1, &previous)); // the failed release added nothing
    EXPECT_EQ(previous, 2);
#if !defined(_WIN32)
    // Windows refuses a count of 0 (Wine, which runs the Windows build, accepts it).
    EXPECT_RESULT_AND_ERROR(ReleaseSemaphore(s, 0, nullptr), FALSE, ERROR_INVALID_PARAMETER);
#endif
    CloseHandle(s);
    for (auto counts : {std::make_pair(3, 2), std::make_pair(-1, 2), std::make_pair(0, 0)})
        EXPECT_RESULT_AND_ERROR(CreateSemaphoreA(nullptr, counts.first, counts.second, nullptr),
                                nullptr, ERROR_INVALID_PARAMETER);
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

TEST(Handles, InvalidHandlesWrongKindsAndBadArgumentsFail) {
    EXPECT_RESULT_AND_ERROR(CloseHandle(nullptr), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_RESULT_AND_ERROR(WaitForSingleObject(nullptr, 0), WAIT_FAILED, ERROR_INVALID_HANDLE);
    HANDLE e = NewEvent(TRUE, TRUE);
    HANDLE m = CreateMutexA(nullptr, FALSE, nullptr);
    EXPECT_RESULT_AND_ERROR(SetEvent(m), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_RESULT_AND_ERROR(ReleaseMutex(e), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_RESULT_AND_ERROR(ReleaseSemaphore(e, 1, nullptr), FALSE, ERROR_INVALID_HANDLE);

    std::vector<HANDLE> many(MAXIMUM_WAIT_OBJECTS + 1, e);
    EXPECT_RESULT_AND_ERROR(WaitForMultipleObjects(0, many.data(), FALSE, 0), WAIT_FAILED,
                            ERROR_INVALID_PARAMETER);
    EXPECT_RESULT_AND_ERROR(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS + 1, many.data(), FALSE, 0),
                            WAIT_FAILED, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, many.data(), FALSE, 0), WAIT_OBJECT_0);
    const HANDLE withInvalid[] = {e, nullptr};
    EXPECT_RESULT_AND_ERROR(WaitForMultipleObjects(2, withInvalid, FALSE, 0), WAIT_FAILED,
                            ERROR_INVALID_HANDLE);
    EXPECT_TRUE(CloseHandle(e));
    EXPECT_RESULT_AND_ERROR(CloseHandle(e), FALSE, ERROR_INVALID_HANDLE);
    CloseHandle(m);
}

} // namespace
