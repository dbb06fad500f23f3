// The synchronisation objects, written in Win32 terms for every platform.
#include "Sync.h"

#include "Error.h"

#include <cerrno>
#include <cstdint>
#include <new>

namespace {

// Win32 takes LONG and DWORD where the interface takes unsigned long; values
// are cut to 32 bits as on the 32-bit platform the interface comes from.
LONG as_long(unsigned long value) {
    return static_cast<LONG>(static_cast<std::uint32_t>(value));
}

DWORD as_dword(unsigned long value) {
    return static_cast<DWORD>(value);
}

// Reports that an event could not be created: the system's reason goes on
// the error stack and the library exception is raised, unless one is already
// pending on this thread, in which case construction goes on with no handle.
void ReportEventCreationFailure() {
    PushSystemError();
    ThrowLastError();
}

HANDLE CreateEventChecked(BOOL bManualReset, BOOL bInitialState, const char* pszName) {
    HANDLE handle = CreateEventA(nullptr, bManualReset, bInitialState, pszName);
    if (!handle && GetLastError() != ERROR_ALREADY_EXISTS)
        ReportEventCreationFailure();
    return handle;
}

} // namespace

KELMO::KCEvent g_hTheAppIsQuitting;

namespace KELMO {

// --- KCMutex ---------------------------------------------------------------

KCMutex::KCMutex() : m_hMutex(CreateMutexA(nullptr, FALSE, nullptr)) {}

KCMutex::KCMutex(unsigned int bInitialOwner)
    : m_hMutex(CreateMutexA(nullptr, bInitialOwner ? TRUE : FALSE, nullptr)) {}

KCMutex::~KCMutex() {
    CloseHandle(m_hMutex);
}

unsigned int KCMutex::Lock() const {
    return WaitForSingleObject(m_hMutex, INFINITE) == WAIT_OBJECT_0 ? 1 : 0;
}

unsigned int KCMutex::TryLock() const {
    return WaitForSingleObject(m_hMutex, 0) == WAIT_OBJECT_0 ? 1 : 0;
}

unsigned int KCMutex::Unlock() const {
    return ReleaseMutex(m_hMutex) ? 1 : 0;
}

HANDLE KCMutex::Handle() const {
    return m_hMutex;
}

HANDLE KCMutex::GetHandle() const {
    return m_hMutex;
}

// --- KCEvent ---------------------------------------------------------------

KCEvent::KCEvent() : m_bAutoReset(false), m_hEvent(CreateEventChecked(TRUE, FALSE, nullptr)) {}

KCEvent::KCEvent(unsigned int bManualReset, unsigned int bInitialState, const char* pszName)
    : m_bAutoReset(bManualReset == 0),
      m_hEvent(
          CreateEventChecked(bManualReset ? TRUE : FALSE, bInitialState ? TRUE : FALSE, pszName)) {}

KCEvent::~KCEvent() {
    CloseHandle(m_hEvent);
    m_hEvent = nullptr;
}

unsigned int KCEvent::IsSet() {
    return WaitForSingleObject(m_hEvent, 0) == WAIT_OBJECT_0 ? 1 : 0;
}

unsigned int KCEvent::Wait(const KCEvent& other, unsigned long timeout) {
    const HANDLE handles[2] = {m_hEvent, other.m_hEvent};
    return WaitForMultipleObjects(2, handles, FALSE, as_dword(timeout)) == WAIT_OBJECT_0 ? 1 : 0;
}

unsigned int KCEvent::Wait(unsigned long timeout) {
    return WaitForSingleObject(m_hEvent, as_dword(timeout)) == WAIT_OBJECT_0 ? 1 : 0;
}

unsigned int KCEvent::IsAutoReset() {
    return m_bAutoReset ? 1 : 0;
}

void KCEvent::Set() {
    SetEvent(m_hEvent);
}

unsigned int KCEvent::Reset() {
    return ResetEvent(m_hEvent) ? 1 : 0;
}

HANDLE KCEvent::Handle() const {
    return m_hEvent;
}

// --- KCSemaphore -----------------------------------------------------------

KCSemaphore::KCSemaphore(unsigned long lInitialCount, unsigned long lMaximumCount,
                         const char* pszName)
    : m_hSemaphore(
          CreateSemaphoreA(nullptr, as_long(lInitialCount), as_long(lMaximumCount), pszName)) {}

KCSemaphore::~KCSemaphore() {
    CloseHandle(m_hSemaphore);
}

void KCSemaphore::Reserve() {
    WaitForSingleObject(m_hSemaphore, INFINITE);
}

void KCSemaphore::Release(unsigned long nCount) {
    ReleaseSemaphore(m_hSemaphore, as_long(nCount), nullptr);
}

HANDLE KCSemaphore::Handle() const {
    return m_hSemaphore;
}

// --- KCSync ----------------------------------------------------------------
// The gate is always taken before the token. Members are destroyed in reverse
// order: the gate's handle is closed before the token's.

KCSync::KCSync() : m_Token(1, 1, nullptr), m_Gate(0, 1, nullptr), m_lReaderCount(-1) {}

KCSync::~KCSync() {}

void KCSync::GetReadAccess() {
    m_Gate.Wait(INFINITE);
    // The first reader in takes the token for all readers, holding the gate
    // while it waits for a writer to give the token back.
    if (InterlockedIncrement(&m_lReaderCount) == 0)
        m_Token.Reserve();
    m_Gate.Set();
}

void KCSync::ReleaseReadAccess() {
    if (InterlockedDecrement(&m_lReaderCount) < 0)
        m_Token.Release(1);
}

void KCSync::GetWriteAccess() {
    // The gate stays closed until ReleaseWriteAccess: no reader or writer
    // arriving now passes it while this writer waits for the readers inside.
    m_Gate.Wait(INFINITE);
    m_Token.Reserve();
}

void KCSync::ReleaseWriteAccess() {
    m_Gate.Set();
    m_Token.Release(1);
}

// --- Scope guards ----------------------------------------------------------

KCMutexLock::KCMutexLock(KCMutex& mutex) : m_rMutex(mutex) {
    WaitForSingleObject(m_rMutex.Handle(), INFINITE);
}

KCMutexLock::~KCMutexLock() {
    ReleaseMutex(m_rMutex.Handle());
}

KCAutoFreeMutex::KCAutoFreeMutex(KCMutex& mutex) : m_rMutex(mutex) {
    WaitForSingleObject(m_rMutex.Handle(), INFINITE);
}

KCAutoFreeMutex::KCAutoFreeMutex(const KCAutoFreeMutex& other) : m_rMutex(other.m_rMutex) {}

KCAutoFreeMutex::~KCAutoFreeMutex() {
    ReleaseMutex(m_rMutex.Handle());
}

KCAutoResetEvent::KCAutoResetEvent(KCEvent& event) : m_rEvent(event) {
    SetEvent(m_rEvent.Handle());
}

KCAutoResetEvent::KCAutoResetEvent(const KCAutoResetEvent& other) : m_rEvent(other.m_rEvent) {}

KCAutoResetEvent::~KCAutoResetEvent() {
    ResetEvent(m_rEvent.Handle());
}

KCSyncReader::KCSyncReader(KCSync& sync) : m_rSync(sync) {
    m_rSync.GetReadAccess();
}

KCSyncReader::~KCSyncReader() {
    m_rSync.ReleaseReadAccess();
}

KCSyncWriter::KCSyncWriter(KCSync& sync) : m_rSync(sync) {
    m_rSync.GetWriteAccess();
}

KCSyncWriter::~KCSyncWriter() {
    m_rSync.ReleaseWriteAccess();
}

} // namespace KELMO

// --- TSafeObject -----------------------------------------------------------

TSafeObject::TSafeObject() : m_pMutex(new (std::nothrow) KELMO::KCMutex) {}

TSafeObject::TSafeObject(const TSafeObject&) : m_pMutex(new (std::nothrow) KELMO::KCMutex) {}

TSafeObject& TSafeObject::operator=(const TSafeObject&) {
    return *this;
}

TSafeObject::~TSafeObject() {
    delete m_pMutex;
}

TSafeObject::TLock::TLock(TSafeObject* object) : m_pMutex(object ? object->m_pMutex : nullptr) {
    if (m_pMutex)
        WaitForSingleObject(m_pMutex->Handle(), INFINITE);
}

TSafeObject::TLock::~TLock() {
    if (m_pMutex)
        ReleaseMutex(m_pMutex->Handle());
}

// --- THandle, TFindHandle --------------------------------------------------

THandle::THandle() : m_hHandle(INVALID_HANDLE_VALUE) {}

THandle::THandle(void* const handle) : m_hHandle(handle) {}

THandle& THandle::operator=(void* const handle) {
    m_hHandle = handle;
    return *this;
}

THandle::~THandle() {
    if (m_hHandle != INVALID_HANDLE_VALUE)
        CloseHandle(m_hHandle);
    m_hHandle = INVALID_HANDLE_VALUE;
}

TFindHandle::TFindHandle() : m_hFind(INVALID_HANDLE_VALUE) {}

TFindHandle::TFindHandle(void* const handle) : m_hFind(handle) {}

TFindHandle& TFindHandle::operator=(void* const handle) {
    m_hFind = handle;
    return *this;
}

TFindHandle::~TFindHandle() {
    if (m_hFind != INVALID_HANDLE_VALUE)
        FindClose(m_hFind);
    m_hFind = INVALID_HANDLE_VALUE;
}

// --- KCErrnoSave -----------------------------------------------------------

KCErrnoSave::KCErrnoSave() : m_nSavedErrno(errno) {
    errno = 0;
}

KCErrnoSave::~KCErrnoSave() {
    errno = m_nSavedErrno;
}
