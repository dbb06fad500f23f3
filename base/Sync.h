// Synchronisation objects: thin wrappers around Win32 mutexes, events and
// semaphores, a reader/writer lock built from a semaphore and an auto-reset
// event, scope guards for each, a base class that carries its own mutex,
// owners of raw handles, a guard that saves and restores errno, and the
// process-wide stop event g_hTheAppIsQuitting.
//
// Waits are infinite unless a time-out is a parameter. A KCMutex is a Win32
// mutex and therefore re-entrant for its owning thread; KCSync is not
// re-entrant. Results typed unsigned int are 1 or 0.
#ifndef BASEKEL_SYNC_H
#define BASEKEL_SYNC_H

#include "kelexport.h"
#include "kelwin32.h"

namespace KELMO {

// A Win32 mutex, unnamed. Creation failures are not reported: the handle is
// then null and every wait on it fails (Lock returns 0).
class BASEKEL_API KCMutex {
public:
    KCMutex();
    // The calling thread owns the new mutex at once when bInitialOwner is non-zero.
    explicit KCMutex(unsigned int bInitialOwner);
    virtual ~KCMutex();
    KCMutex(const KCMutex&) = delete;
    KCMutex& operator=(const KCMutex&) = delete;

    // Waits without limit. 1 only for WAIT_OBJECT_0: a mutex abandoned by a
    // thread that ended gives 0 although the caller then owns it.
    unsigned int Lock() const;
    // As Lock, without waiting.
    unsigned int TryLock() const;
    // ReleaseMutex; 1 when it succeeded.
    unsigned int Unlock() const;
    HANDLE Handle() const;
    HANDLE GetHandle() const;

private:
    HANDLE m_hMutex;
};

// A Win32 event. Construction fails with an exception when the event cannot
// be created.
class BASEKEL_API KCEvent {
public:
    // Manual-reset, not signalled, unnamed.
    KCEvent();
    // A name opens or creates a system-wide named event; opening an existing
    // one is no failure.
    KCEvent(unsigned int bManualReset, unsigned int bInitialState, const char* pszName);
    virtual ~KCEvent();
    KCEvent(const KCEvent&) = delete;
    KCEvent& operator=(const KCEvent&) = delete;

    // A wait with time-out 0: 1 when signalled. On an auto-reset event the
    // test consumes the signal, as every satisfied wait does.
    virtual unsigned int IsSet();
    // Waits for this event or `other`, whichever comes first; 1 only when this
    // event ended the wait. Meant for "wait for this unless the stop event
    // comes first".
    virtual unsigned int Wait(const KCEvent& other, unsigned long timeout);
    // 1 when signalled within the time-out, 0 on time-out or failure.
    virtual unsigned int Wait(unsigned long timeout);
    virtual unsigned int IsAutoReset();

    void Set();
    unsigned int Reset();
    HANDLE Handle() const;

private:
    bool m_bAutoReset;
    HANDLE m_hEvent;
};

// A Win32 semaphore. Creation failures are not reported.
class BASEKEL_API KCSemaphore {
public:
    KCSemaphore(unsigned long lInitialCount, unsigned long lMaximumCount, const char* pszName);
    virtual ~KCSemaphore();
    KCSemaphore(const KCSemaphore&) = delete;
    KCSemaphore& operator=(const KCSemaphore&) = delete;

    // Takes one unit, waiting without limit.
    void Reserve();
    // Gives nCount units back.
    void Release(unsigned long nCount);
    HANDLE Handle() const;

private:
    HANDLE m_hSemaphore;
};

// A reader/writer lock. One token (a semaphore of one unit) is held by the
// writer or, together, by the readers; an auto-reset gate event lets one
// arriving thread at a time through. A writer keeps the gate closed from its
// arrival until it releases, so it blocks later readers and writers while the
// readers already inside drain. Not re-entrant: a thread that reads again
// while a writer waits deadlocks.
class BASEKEL_API KCSync {
public:
    KCSync();
    virtual ~KCSync();
    KCSync(const KCSync&) = delete;
    KCSync& operator=(const KCSync&) = delete;

    void GetReadAccess();
    void ReleaseReadAccess();
    void GetWriteAccess();
    void ReleaseWriteAccess();

protected:
    // Reachable by derived classes that watch the lock (diagnostics, tests).
    KCSemaphore m_Token;
    KCEvent m_Gate;
    // -1 when no reader is inside; changed only by interlocked operations.
    volatile LONG m_lReaderCount;
};

// Waits for the mutex without limit; releases it at the end of the scope.
class BASEKEL_API KCMutexLock {
public:
    explicit KCMutexLock(KCMutex& mutex);
    virtual ~KCMutexLock();
    KCMutexLock(const KCMutexLock&) = delete;
    KCMutexLock& operator=(const KCMutexLock&) = delete;

private:
    KCMutex& m_rMutex;
};

// The same as KCMutexLock. A copy takes the reference only, without waiting,
// and releases the mutex once more when it goes.
class BASEKEL_API KCAutoFreeMutex {
public:
    explicit KCAutoFreeMutex(KCMutex& mutex);
    KCAutoFreeMutex(const KCAutoFreeMutex& other);
    virtual ~KCAutoFreeMutex();
    KCAutoFreeMutex& operator=(const KCAutoFreeMutex&) = delete;

private:
    KCMutex& m_rMutex;
};

// Sets the event; resets it at the end of the scope. A copy takes the
// reference only, without setting, and resets the event once more when it goes.
class BASEKEL_API KCAutoResetEvent {
public:
    explicit KCAutoResetEvent(KCEvent& event);
    KCAutoResetEvent(const KCAutoResetEvent& other);
    virtual ~KCAutoResetEvent();
    KCAutoResetEvent& operator=(const KCAutoResetEvent&) = delete;

private:
    KCEvent& m_rEvent;
};

// Read access for the length of a scope.
class BASEKEL_API KCSyncReader {
public:
    explicit KCSyncReader(KCSync& sync);
    virtual ~KCSyncReader();
    KCSyncReader(const KCSyncReader&) = delete;
    KCSyncReader& operator=(const KCSyncReader&) = delete;

private:
    KCSync& m_rSync;
};

// Write access for the length of a scope.
class BASEKEL_API KCSyncWriter {
public:
    explicit KCSyncWriter(KCSync& sync);
    virtual ~KCSyncWriter();
    KCSyncWriter(const KCSyncWriter&) = delete;
    KCSyncWriter& operator=(const KCSyncWriter&) = delete;

private:
    KCSync& m_rSync;
};

} // namespace KELMO

// A base for classes that need a lock of their own: every object, a copy too,
// gets a new unnamed mutex; methods take TSafeObject::TLock(this).
class BASEKEL_API TSafeObject {
public:
    TSafeObject();
    // A copy never shares the source's mutex.
    TSafeObject(const TSafeObject& other);
    // Assignment keeps each object's own mutex.
    TSafeObject& operator=(const TSafeObject& other);
    virtual ~TSafeObject();

    // Holds the object's mutex for the length of a scope (re-entrant).
    class BASEKEL_API TLock {
    public:
        explicit TLock(TSafeObject* object);
        ~TLock();
        TLock(const TLock&) = delete;
        TLock& operator=(const TLock&) = delete;

    private:
        KELMO::KCMutex* m_pMutex;
    };

private:
    // Null when the allocation failed; locking is then skipped.
    KELMO::KCMutex* m_pMutex;
};

// Owns a raw handle and closes it with CloseHandle when it goes, unless it
// holds INVALID_HANDLE_VALUE. Copying and assignment copy the raw value: no
// duplication, and the old value is not closed, so two owners of one value
// close it twice; callers avoid that. A null handle counts as a value and is
// passed to CloseHandle.
class BASEKEL_API THandle {
public:
    THandle();
    THandle(void* const handle);
    THandle(const THandle& other) = default;
    THandle& operator=(const THandle& other) = default;
    THandle& operator=(void* const handle);
    ~THandle();
    operator void*() const { return m_hHandle; }

private:
    HANDLE m_hHandle;
};

// As THandle for find handles, closed with FindClose.
class BASEKEL_API TFindHandle {
public:
    TFindHandle();
    TFindHandle(void* const handle);
    TFindHandle(const TFindHandle& other) = default;
    TFindHandle& operator=(const TFindHandle& other) = default;
    TFindHandle& operator=(void* const handle);
    ~TFindHandle();
    operator void*() const { return m_hFind; }

private:
    HANDLE m_hFind;
};

// Saves errno and clears it; writes the saved value back at the end of the
// scope. Assignment copies the saved value.
class BASEKEL_API KCErrnoSave {
public:
    KCErrnoSave();
    ~KCErrnoSave();
    KCErrnoSave(const KCErrnoSave& other) = default;
    KCErrnoSave& operator=(const KCErrnoSave& other) = default;

private:
    int m_nSavedErrno;
};

// The process-wide stop event: manual-reset, not signalled at start-up. The
// library's background threads end when it is set.
extern BASEKEL_API KELMO::KCEvent g_hTheAppIsQuitting;

#endif
