// The synchronisation classes: events, mutexes, semaphores, the reader/writer
// lock, the scope guards, the handle owners and the errno guard.
#include "Error.h"
#include "Sync.h"
#include "synctest.h"
#include "testsupport.h"

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#endif

using KELMO::KCEvent;
using KELMO::KCMutex;
using synctest::kHandshakeMs;
using synctest::UniqueName;

namespace {

// --- KCEvent ---------------------------------------------------------------

TEST(KCEvent, IsSetConsumesOnlyTheSignalOfAnAutoResetEvent) {
    KCEvent manual;
    EXPECT_EQ(manual.IsAutoReset(), 0u);
    EXPECT_EQ(manual.IsSet(), 0u);
    manual.Set();
    EXPECT_EQ(manual.IsSet(), 1u);
    EXPECT_EQ(manual.IsSet(), 1u);
    EXPECT_EQ(manual.Reset(), 1u);
    EXPECT_EQ(manual.Wait(0), 0u);

    KCEvent automatic(0, 1, nullptr);
    EXPECT_EQ(automatic.IsAutoReset(), 1u);
    EXPECT_EQ(automatic.IsSet(), 1u);
    EXPECT_EQ(automatic.IsSet(), 0u);
    automatic.Set();
    EXPECT_EQ(automatic.Wait(0), 1u);
    EXPECT_EQ(automatic.Wait(0), 0u);
}

TEST(KCEvent, TwoConstructionsWithOneNameShareTheEvent) {
    const std::string name = UniqueName("kcevent");
    KCEvent first(1, 0, name.c_str());
    KCEvent second(1, 0, name.c_str()); // no exception for the existing event
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_NE(first.Handle(), second.Handle());
    first.Set();
    EXPECT_EQ(second.IsSet(), 1u);
    second.Reset();
    EXPECT_EQ(first.IsSet(), 0u);
}

TEST(KCEvent, WaitWithOtherIsOneOnlyWhenThisEventEndsTheWait) {
    KCEvent self(0, 0, nullptr);
    KCEvent other(1, 0, nullptr);
    EXPECT_EQ(self.Wait(other, 0), 0u); // time-out
    EXPECT_EQ(self.Wait(other, 10), 0u);
    other.Set();
    EXPECT_EQ(self.Wait(other, kHandshakeMs), 0u);
    EXPECT_EQ(self.IsSet(), 0u); // left unchanged
    self.Set();
    EXPECT_EQ(self.Wait(other, 0), 1u); // both signalled: this one is first
    EXPECT_EQ(self.IsSet(), 0u);        // and its auto-reset signal was taken
    other.Reset();
    std::thread setter([&] { self.Set(); });
    EXPECT_EQ(self.Wait(other, kHandshakeMs), 1u);
    setter.join();
}

TEST(KCEvent, StopEventOfTheProcessIsManualResetAndNotSet) {
    EXPECT_EQ(g_hTheAppIsQuitting.IsAutoReset(), 0u);
    EXPECT_EQ(g_hTheAppIsQuitting.IsSet(), 0u);
    EXPECT_NE(g_hTheAppIsQuitting.Handle(), nullptr);
}

#if !defined(_WIN32)
int FailingShmOpen(const char*, int, unsigned) {
    errno = EACCES;
    return -1;
}

TEST(KCEvent, CreationFailureThrows) {
    ASSERT_EQ(kelwin_set_syscall("shm_open", reinterpret_cast<void*>(&FailingShmOpen)), 1);
    const std::string name = UniqueName("failing");
    const unsigned long before = GetErrorCount();
    EXPECT_THROW(KCEvent(1, 0, name.c_str()), TException);
    kelwin_reset_syscalls();
    DecrementPendingCount();
    ASSERT_EQ(GetErrorCount(), before + 1);
    TString text = GetErrorString();
    EXPECT_EQ(text.CompareNoCase("Access is denied."), 1u) << static_cast<const char*>(text);
    PopError();
    EXPECT_NO_THROW(KCEvent(1, 0, name.c_str()));
}
#endif

// --- KCMutex and its guards --------------------------------------------------

unsigned int TryLockInOtherThread(const KCMutex& mutex) {
    unsigned int result = 2;
    std::thread([&] {
        result = mutex.TryLock();
        if (result)
            mutex.Unlock();
    }).join();
    return result;
}

TEST(KCMutex, IsReentrantAndReleasedByItsOwnerOnly) {
    KCMutex mutex(1); // owned at once
    EXPECT_EQ(mutex.Handle(), mutex.GetHandle());
    EXPECT_EQ(mutex.Lock(), 1u);
    EXPECT_EQ(mutex.TryLock(), 1u);
    EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    unsigned int foreignUnlock = 2;
    DWORD foreignError = 0;
    std::thread([&] {
        foreignUnlock = mutex.Unlock();
        foreignError = GetLastError();
    }).join();
    EXPECT_EQ(foreignUnlock, 0u);
    EXPECT_EQ(foreignError, ERROR_NOT_OWNER);
    EXPECT_EQ(mutex.Unlock(), 1u);
    EXPECT_EQ(mutex.Unlock(), 1u);
    EXPECT_EQ(TryLockInOtherThread(mutex), 0u); // still held once
    EXPECT_EQ(mutex.Unlock(), 1u);
    EXPECT_EQ(mutex.Unlock(), 0u);
    EXPECT_EQ(TryLockInOtherThread(mutex), 1u);
}

TEST(KCMutex, LockOfAnAbandonedMutexIsZeroButOwns) {
    KCMutex mutex;
    std::thread([&] { EXPECT_EQ(mutex.Lock(), 1u); }).join();
    EXPECT_EQ(mutex.Lock(), 0u);
    EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    EXPECT_EQ(mutex.Unlock(), 1u);
    EXPECT_EQ(mutex.Lock(), 1u);
    EXPECT_EQ(mutex.Unlock(), 1u);
}

TEST(KCMutex, DestroyedWhileHeldByItsOwner) {
    auto* mutex = new KCMutex(1);
    EXPECT_EQ(mutex->Lock(), 1u);
    delete mutex; // not checked; must neither crash nor leak
}

TEST(MutexGuards, HoldForTheScopeAndCopiesReleaseWithoutHavingWaited) {
    KCMutex mutex;
    {
        KELMO::KCMutexLock lock(mutex);
        EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    }
    EXPECT_EQ(TryLockInOtherThread(mutex), 1u);
    KELMO::KCAutoFreeMutex lock(mutex);
    {
        KELMO::KCAutoFreeMutex copy(lock);
        EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    }
    // The copy gave back the one acquisition the original made.
    EXPECT_EQ(TryLockInOtherThread(mutex), 1u);
}

TEST(EventGuard, SetsForTheScopeAndCopiesResetAgain) {
    KCEvent event;
    {
        KELMO::KCAutoResetEvent guard(event);
        EXPECT_EQ(event.IsSet(), 1u);
        event.Reset();
        {
            KELMO::KCAutoResetEvent copy(guard);
            EXPECT_EQ(event.IsSet(), 0u); // copying does not set
            event.Set();
        }
        EXPECT_EQ(event.IsSet(), 0u); // the copy reset it
        event.Set();
    }
    EXPECT_EQ(event.IsSet(), 0u);
}

// --- KCSemaphore -------------------------------------------------------------

TEST(KCSemaphore, ReserveTakesAndReleaseGivesBackUpToTheMaximum) {
    KELMO::KCSemaphore semaphore(1, 2, nullptr);
    semaphore.Reserve();
    EXPECT_EQ(WaitForSingleObject(semaphore.Handle(), 0), WAIT_TIMEOUT);
    semaphore.Release(1);
    semaphore.Release(5); // beyond the maximum: ignored
    EXPECT_EQ(WaitForSingleObject(semaphore.Handle(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore.Handle(), 0), WAIT_TIMEOUT);
    std::thread releaser([&] { semaphore.Release(1); });
    semaphore.Reserve();
    releaser.join();
}

// --- KCSync ------------------------------------------------------------------

// Lets a test see whether a thread holds the gate. The probe passes the gate
// itself when it is open and opens it again at once, like a thread walking
// through; when it is closed a writer has passed it and keeps it closed.
class ObservableSync : public KELMO::KCSync {
public:
    bool GateClosed() {
        if (WaitForSingleObject(m_Gate.Handle(), 0) == WAIT_TIMEOUT)
            return true;
        m_Gate.Set();
        return false;
    }
};

TEST(KCSync, WriterWaitsForReaderInsideAndHoldsLaterReaderAtTheGate) {
    ObservableSync sync;
    std::atomic<int> step{0};
    int writerOut = 0, reader2In = 0; // the steps at which they happened
    KCEvent writerIn, letWriterGo;
    sync.GetReadAccess(); // reader 1 is inside
    std::thread writer([&] {
        sync.GetWriteAccess();
        writerIn.Set();
        letWriterGo.Wait(kHandshakeMs);
        writerOut = ++step;
        sync.ReleaseWriteAccess();
    });
    while (!sync.GateClosed())
        std::this_thread::yield();
    // The writer is past the gate and waits for the token reader 1 holds.
    EXPECT_EQ(writerIn.IsSet(), 0u);

    std::atomic<bool> reader2Arriving{false};
    std::thread reader2([&] {
        reader2Arriving = true;
        sync.GetReadAccess();
        reader2In = ++step;
        sync.ReleaseReadAccess();
    });
    while (!reader2Arriving)
        std::this_thread::yield();
    // Time for reader 2 to reach the gate; the outcome does not depend on it.
    Sleep(20);
    EXPECT_EQ(step.load(), 0);

    sync.ReleaseReadAccess(); // reader 1 leaves: the writer gets the token
    EXPECT_EQ(writerIn.Wait(kHandshakeMs), 1u);
    EXPECT_EQ(step.load(), 0); // reader 2 is still held at the gate
    letWriterGo.Set();
    writer.join();
    reader2.join();
    EXPECT_EQ(writerOut, 1);
    EXPECT_EQ(reader2In, 2);
}

TEST(KCSync, ReadersShareWritersExclude) {
    ObservableSync sync;
    {
        KELMO::KCSyncReader reader(sync);
        std::thread([&] { KELMO::KCSyncReader second(sync); }).join(); // does not block
        // Nested read access is fine while no writer waits.
        KELMO::KCSyncReader nested(sync);
    }
    std::atomic<bool> secondWriterIn{false};
    std::thread secondWriter;
    {
        KELMO::KCSyncWriter writer(sync);
        secondWriter = std::thread([&] {
            KELMO::KCSyncWriter second(sync);
            secondWriterIn = true;
        });
        EXPECT_TRUE(sync.GateClosed());
        EXPECT_FALSE(secondWriterIn);
    }
    secondWriter.join();
    EXPECT_TRUE(secondWriterIn);
    EXPECT_FALSE(sync.GateClosed()); // free again
    KELMO::KCSyncWriter last(sync);
}

// --- TSafeObject -------------------------------------------------------------

class Account : public TSafeObject {
public:
    void Add(int amount) {
        TLock lock(this);
        TLock again(this); // re-entrant
        m_balance += amount;
    }
    int Balance() {
        TLock lock(this);
        return m_balance;
    }

private:
    int m_balance = 0;
};

// True when another thread can lock `object` while this thread holds `held`.
bool LockableWhileOtherHeld(Account& held, Account& object) {
    TSafeObject::TLock lock(&held);
    bool done = false;
    std::thread([&] {
        TSafeObject::TLock other(&object);
        done = true;
    }).join();
    return done;
}

TEST(TSafeObject, CopiesAndAssignedObjectsKeepTheirOwnMutex) {
    Account original;
    original.Add(5);
    Account copy(original);
    EXPECT_EQ(copy.Balance(), 5);
    EXPECT_TRUE(LockableWhileOtherHeld(original, copy));
    Account assigned;
    assigned = original;
    EXPECT_EQ(assigned.Balance(), 5);
    EXPECT_TRUE(LockableWhileOtherHeld(original, assigned));
    EXPECT_TRUE(LockableWhileOtherHeld(assigned, original));
}

// --- THandle, TFindHandle ------------------------------------------------------

bool NamedEventExists(const std::string& name) {
    HANDLE h = OpenEventA(SYNCHRONIZE, FALSE, name.c_str());
    if (h)
        CloseHandle(h);
    return h != nullptr;
}

TEST(THandle, ClosesWhatItHoldsAtTheEnd) {
    const std::string name = UniqueName("thandle");
    {
        THandle handle(CreateEventA(nullptr, TRUE, FALSE, name.c_str()));
        EXPECT_TRUE(NamedEventExists(name));
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
    }
    EXPECT_FALSE(NamedEventExists(name));
}

TEST(THandle, AssignmentNeitherClosesNorDuplicates) {
    const std::string firstName = UniqueName("first");
    const std::string secondName = UniqueName("second");
    HANDLE first = CreateEventA(nullptr, TRUE, FALSE, firstName.c_str());
    {
        THandle handle(first);
        handle = CreateEventA(nullptr, TRUE, FALSE, secondName.c_str());
        EXPECT_TRUE(NamedEventExists(firstName));
    }
    EXPECT_FALSE(NamedEventExists(secondName));
    EXPECT_TRUE(NamedEventExists(firstName));
    CloseHandle(first);
}

TEST(THandle, EmptyClosesNothingButNullIsPassedOn) {
    SetLastError(ERROR_ACCESS_DENIED);
    { THandle empty; }
    { TFindHandle empty; }
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    { THandle null(nullptr); }
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    SetLastError(0);
    { TFindHandle null(nullptr); }
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

// --- KCErrnoSave ---------------------------------------------------------------

TEST(KCErrnoSave, ClearsErrnoInsideAndRestoresItAtTheEnd) {
    errno = ERANGE;
    {
        KCErrnoSave outer;
        EXPECT_EQ(errno, 0);
        errno = EINVAL;
        {
            KCErrnoSave inner;
            EXPECT_EQ(errno, 0);
            errno = EDOM;
        }
        EXPECT_EQ(errno, EINVAL);
        {
            KCErrnoSave assigned; // saves EINVAL
            assigned = outer;     // now restores what outer saved
        }
        EXPECT_EQ(errno, ERANGE);
        errno = EINVAL;
    }
    EXPECT_EQ(errno, ERANGE);
}

} // namespace

namespace {

// A name already taken by a mutex cannot name an event: the creation fails with
// the system's reason, which reaches the error stack before the exception.
TEST(KCEventCreation, FailureArrivesOnTheErrorStack) {
    const char* name = "basekel-test-event-over-mutex";
    HANDLE mutex = CreateMutexA(nullptr, FALSE, name);
    ASSERT_NE(mutex, nullptr);
    const unsigned long before = GetErrorCount();
    bool thrown = false;
    try {
        KELMO::KCEvent event(TRUE, FALSE, name);
    } catch (TException&) {
        thrown = true;
        DecrementPendingCount();
    }
    EXPECT_TRUE(thrown);
    ASSERT_EQ(GetErrorCount(), before + 1);
    EXPECT_EQ(GetErrorOrigin(), 3u);
    EXPECT_EQ(GetErrorCode(), 12u);
    EXPECT_FALSE(GetErrorString().IsEmpty());
    PopError();
    CloseHandle(mutex);
}

} // namespace
