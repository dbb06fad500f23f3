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
#include <utility>

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

// A name already taken by a mutex cannot name an event: the creation fails with
// the system's reason, which reaches the error stack before the exception.
TEST(KCEvent, CreationFailureArrivesOnTheErrorStack) {
    const std::string name = UniqueName("event-over-mutex");
    HANDLE mutex = CreateMutexA(nullptr, FALSE, name.c_str());
    ASSERT_NE(mutex, nullptr);
    const unsigned long before = GetErrorCount();
    EXPECT_THROW(KCEvent(TRUE, FALSE, name.c_str()), TException);
    DecrementPendingCount();
    ASSERT_EQ(GetErrorCount(), before + 1);
    EXPECT_EQ(GetErrorOrigin(), 3u);
    EXPECT_EQ(GetErrorCode(), 12u);
    EXPECT_FALSE(GetErrorString().IsEmpty());
    PopError();
    CloseHandle(mutex);
}

// --- KCMutex and its guards --------------------------------------------------

// What `call` returns when run on a thread of its own.
template <class Call> auto InOtherThread(Call call) -> decltype(call()) {
    decltype(call()) result{};
    std::thread([&] { result = call(); }).join();
    return result;
}

unsigned int TryLockInOtherThread(const KCMutex& mutex) {
    return InOtherThread([&] {
        const unsigned int locked = mutex.TryLock();
        if (locked)
            mutex.Unlock();
        return locked;
    });
}

TEST(KCMutex, IsReentrantAndReleasedByItsOwnerOnly) {
    KCMutex mutex(1); // owned at once
    EXPECT_EQ(mutex.Handle(), mutex.GetHandle());
    EXPECT_EQ(mutex.Lock(), 1u);
    EXPECT_EQ(mutex.TryLock(), 1u);
    EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    const auto foreignUnlock = InOtherThread([&] {
        const unsigned int unlocked = mutex.Unlock();
        return std::make_pair(unlocked, GetLastError());
    });
    EXPECT_EQ(foreignUnlock, std::make_pair(0u, DWORD{ERROR_NOT_OWNER}));
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
    EXPECT_EQ(mutex.Lock(), 1u); // abandoned only once
    EXPECT_EQ(mutex.Unlock(), 1u);

    auto* held = new KCMutex(1);
    EXPECT_EQ(held->Lock(), 1u);
    delete held; // destroyed while held by its owner: must neither crash nor leak
}

TEST(ScopeGuards, HoldForTheScopeAndCopiesUndoWithoutHavingActed) {
    KCMutex mutex;
    {
        KELMO::KCMutexLock lock(mutex);
        EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
    }
    EXPECT_EQ(TryLockInOtherThread(mutex), 1u);
    {
        KELMO::KCAutoFreeMutex lock(mutex);
        {
            KELMO::KCAutoFreeMutex copy(lock);
            EXPECT_EQ(TryLockInOtherThread(mutex), 0u);
        }
        // The copy gave back the one acquisition the original made.
        EXPECT_EQ(TryLockInOtherThread(mutex), 1u);
    }

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

// Readers do not wait for each other, and one thread may read nested while no
// writer waits; a writer gets in once they have all left.
TEST(KCSync, ReadersShare) {
    KELMO::KCSync sync;
    {
        KELMO::KCSyncReader reader(sync);
        std::thread([&] { KELMO::KCSyncReader second(sync); }).join();
        KELMO::KCSyncReader nested(sync);
    }
    KELMO::KCSyncWriter writer(sync);
}

// --- TSafeObject -------------------------------------------------------------

class Guarded : public TSafeObject {
public:
    void LockTwice() {
        TLock lock(this);
        TLock again(this); // re-entrant
    }
};

// True when another thread can lock `object` while this thread holds `held`.
bool LockableWhileOtherHeld(Guarded& held, Guarded& object) {
    TSafeObject::TLock lock(&held);
    return InOtherThread([&] {
        TSafeObject::TLock other(&object);
        return true;
    });
}

TEST(TSafeObject, CopiesAndAssignedObjectsKeepTheirOwnMutex) {
    Guarded original;
    original.LockTwice();
    Guarded copy(original);
    EXPECT_TRUE(LockableWhileOtherHeld(original, copy));
    Guarded assigned;
    assigned = original;
    EXPECT_TRUE(LockableWhileOtherHeld(original, assigned));
    EXPECT_TRUE(LockableWhileOtherHeld(assigned, original));
    assigned.LockTwice();
}

// --- THandle, TFindHandle ------------------------------------------------------

bool NamedEventExists(const std::string& name) {
    HANDLE h = OpenEventA(SYNCHRONIZE, FALSE, name.c_str());
    if (h)
        CloseHandle(h);
    return h != nullptr;
}

// A handle owner closes what it holds at its end; assignment neither closes
// the old value nor duplicates the new one; empty closes nothing, null is
// passed on to the system.
TEST(THandle, ClosingRules) {
    const std::string firstName = UniqueName("first");
    const std::string secondName = UniqueName("second");
    HANDLE first = CreateEventA(nullptr, TRUE, FALSE, firstName.c_str());
    {
        THandle handle(first);
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
        handle = CreateEventA(nullptr, TRUE, FALSE, secondName.c_str());
        EXPECT_TRUE(NamedEventExists(firstName));
        EXPECT_TRUE(NamedEventExists(secondName));
    }
    EXPECT_FALSE(NamedEventExists(secondName));
    EXPECT_TRUE(NamedEventExists(firstName));
    CloseHandle(first);

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
