// Named events, mutexes and semaphores: one object per name across handles and
// processes, its lifetime, and processes that end without closing or releasing.
#include "Sync.h"
#include "kelwin32.h"
#include "synctest.h"
#include "testsupport.h"

#include <string>
#include <thread>
#include <vector>

using synctest::kHandshakeMs;
using synctest::UniqueName;

namespace {

bool Signalled(HANDLE h) {
    return WaitForSingleObject(h, 0) == WAIT_OBJECT_0;
}

TEST(NamedObject, SecondCreateOpensTheSameObjectAndIgnoresItsParameters) {
    const std::string name = UniqueName("event");
    SetLastError(ERROR_ALREADY_EXISTS);
    HANDLE first = CreateEventA(nullptr, TRUE, TRUE, name.c_str());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    HANDLE second = CreateEventA(nullptr, FALSE, FALSE, name.c_str());
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_NE(first, second);
    // Still the manual-reset, signalled event of the first create.
    EXPECT_TRUE(Signalled(second));
    EXPECT_TRUE(Signalled(second));
    ResetEvent(second);
    EXPECT_FALSE(Signalled(first));
    CloseHandle(first);
    CloseHandle(second);

    // A mutex created again, even by a thread asking for it, is not owned by it.
    const std::string mutexName = UniqueName("mutex");
    HANDLE m1 = CreateMutexA(nullptr, TRUE, mutexName.c_str());
    DWORD otherResult = WAIT_FAILED;
    DWORD otherError = 0;
    std::thread([&] {
        HANDLE m2 = CreateMutexA(nullptr, TRUE, mutexName.c_str());
        otherError = GetLastError();
        otherResult = WaitForSingleObject(m2, 0);
        CloseHandle(m2);
    }).join();
    EXPECT_EQ(otherError, ERROR_ALREADY_EXISTS);
    EXPECT_EQ(otherResult, WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(m1));
    CloseHandle(m1);
}

TEST(NamedObject, NamesAreCheckedLikeWindows) {
    // "Local\" is the namespace plain names live in.
    const std::string name = UniqueName("local");
    HANDLE plain = CreateEventA(nullptr, TRUE, FALSE, name.c_str());
    HANDLE local = CreateEventA(nullptr, TRUE, FALSE, ("Local\\" + name).c_str());
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    CloseHandle(local);
    CloseHandle(plain);

    EXPECT_RESULT_AND_ERROR(CreateEventA(nullptr, TRUE, FALSE, (name + "\\inner").c_str()), nullptr,
                            ERROR_PATH_NOT_FOUND);
    EXPECT_RESULT_AND_ERROR(
        CreateEventA(nullptr, TRUE, FALSE, std::string(MAX_PATH + 40, 'n').c_str()), nullptr,
        ERROR_FILENAME_EXCED_RANGE);

    // Long names, special characters and names differing only at the end are
    // distinct objects.
    const std::string longName = name + std::string(230, 'x') + "/? *";
    std::string otherLong = longName;
    otherLong.back() = '+';
    HANDLE l1 = CreateEventA(nullptr, TRUE, FALSE, longName.c_str());
    ASSERT_NE(l1, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    HANDLE l2 = CreateEventA(nullptr, TRUE, FALSE, otherLong.c_str());
    ASSERT_NE(l2, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    HANDLE l3 = CreateEventA(nullptr, TRUE, FALSE, longName.c_str());
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    for (HANDLE h : {l1, l2, l3})
        CloseHandle(h);
}

// --- Across processes -------------------------------------------------------

// Opens the two events the parent made; answers on the first and waits for
// the second.
TEST_CHILD(NamedEventPeer) {
    KELMO::KCEvent ready(1, 0, args.at(0).c_str());
    if (GetLastError() != ERROR_ALREADY_EXISTS)
        return 2;
    KELMO::KCEvent go(0, 0, args.at(1).c_str());
    ready.Set();
    return go.Wait(kHandshakeMs) ? 0 : 3;
}

TEST(CrossProcess, NamedEventIsOneObjectForBothProcesses) {
    const std::string readyName = UniqueName("ready");
    const std::string goName = UniqueName("go");
    KELMO::KCEvent ready(1, 0, readyName.c_str());
    KELMO::KCEvent go(0, 0, goName.c_str());
    KELMO::KCEvent stop;
    testsupport::ChildProcess child("NamedEventPeer", {readyName, goName});
    ASSERT_TRUE(child.Started());
    // A wait on several objects, woken from the other process.
    EXPECT_EQ(ready.Wait(stop, kHandshakeMs), 1u);
    go.Set();
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(go.IsSet(), 0u); // the child consumed it
}

// Takes the two named mutexes, says so and ends without releasing them when
// told to.
TEST_CHILD(MutexOwnerThatDies) {
    HANDLE first = CreateMutexA(nullptr, FALSE, args.at(0).c_str());
    HANDLE second = CreateMutexA(nullptr, FALSE, args.at(1).c_str());
    KELMO::KCEvent owned(1, 0, args.at(2).c_str());
    KELMO::KCEvent end(1, 0, args.at(3).c_str());
    if (WaitForSingleObject(first, 0) != WAIT_OBJECT_0 ||
        WaitForSingleObject(second, 0) != WAIT_OBJECT_0)
        return 2;
    owned.Set();
    return end.Wait(kHandshakeMs) ? 0 : 3;
}

// A thread waiting on the first mutex alone and one waiting on the second
// among other objects both learn that the owner ended.
TEST(CrossProcess, MutexOfProcessThatEndedIsAbandoned) {
    std::vector<std::string> names;
    for (const char* label : {"owned1", "owned2", "owned", "end"})
        names.push_back(UniqueName(label));
    HANDLE first = CreateMutexA(nullptr, FALSE, names[0].c_str());
    HANDLE second = CreateMutexA(nullptr, FALSE, names[1].c_str());
    KELMO::KCEvent owned(1, 0, names[2].c_str());
    KELMO::KCEvent end(1, 0, names[3].c_str());
    KELMO::KCEvent stop;
    testsupport::ChildProcess child("MutexOwnerThatDies", names);
    ASSERT_TRUE(child.Started());
    ASSERT_EQ(owned.Wait(kHandshakeMs), 1u);
    DWORD single = WAIT_FAILED;
    DWORD multiple = WAIT_FAILED;
    std::thread singleWaiter([&] {
        single = WaitForSingleObject(first, kHandshakeMs);
        ReleaseMutex(first);
    });
    std::thread multipleWaiter([&] {
        const HANDLE handles[] = {stop.Handle(), second};
        multiple = WaitForMultipleObjects(2, handles, FALSE, kHandshakeMs);
        ReleaseMutex(second);
    });
    end.Set();
    EXPECT_EQ(child.Wait(), 0);
    singleWaiter.join();
    multipleWaiter.join();
    EXPECT_EQ(single, WAIT_ABANDONED);
    EXPECT_EQ(multiple, WAIT_ABANDONED_0 + 1);
    EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0); // abandoned only once
    ReleaseMutex(first);
    CloseHandle(first);
    CloseHandle(second);
}

// Creates the objects and ends without closing or releasing anything.
TEST_CHILD(CreatorThatEndsWithoutClosing) {
    HANDLE event = CreateEventA(nullptr, TRUE, TRUE, args.at(0).c_str());
    HANDLE mutex = CreateMutexA(nullptr, TRUE, args.at(1).c_str());
    return event && mutex ? 0 : 2;
}

TEST(CrossProcess, ObjectsOfAProcessThatEndedWithoutClosingAreGone) {
    const std::string eventName = UniqueName("leftevent");
    const std::string mutexName = UniqueName("leftmutex");
    ASSERT_EQ(testsupport::RunChild("CreatorThatEndsWithoutClosing", {eventName, mutexName}), 0);
    EXPECT_RESULT_AND_ERROR(OpenEventA(SYNCHRONIZE, FALSE, eventName.c_str()), nullptr,
                            ERROR_FILE_NOT_FOUND);
    HANDLE mutex = CreateMutexA(nullptr, FALSE, mutexName.c_str());
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0); // a new mutex, not an abandoned one
    ReleaseMutex(mutex);
    CloseHandle(mutex);
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, eventName.c_str());
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_FALSE(Signalled(event));
    CloseHandle(event);
}

} // namespace
