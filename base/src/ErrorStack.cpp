// The error stack: entries, the per-thread stack, TException and the free
// functions that work on the calling thread's stack.
#include "Error.h"

#include <atomic>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "LibraryLog.h"
#include "ThreadErrorState.h"

unsigned int g_bShowDebugInfoInErrorStack = 0;

namespace {

const unsigned short kPassThroughOrigin = 3;
const unsigned short kPassThroughCode = 12;
const unsigned short kSystemOrigin = 1;

const unsigned long kOverflowLogLevel = 2;
const unsigned long kTraceLogLevel = 1;

std::atomic<unsigned int> s_errorLogging{1};

// Process-wide "already running" marks of the procedures that empty and
// refill a stack. They are no locks: while one thread runs a procedure, the
// same procedure is skipped on every other thread.
std::atomic<bool> s_overflowRunning{false};
std::atomic<bool> s_traceRunning{false};
std::atomic<bool> s_debugInsertRunning{false};

// Claims one of the marks for the lifetime of the object, if it was free.
class RunningMark {
public:
    explicit RunningMark(std::atomic<bool>& mark) : m_mark(mark), m_claimed(!mark.exchange(true)) {}
    ~RunningMark() {
        if (m_claimed)
            m_mark.store(false);
    }
    RunningMark(const RunningMark&) = delete;
    RunningMark& operator=(const RunningMark&) = delete;
    bool Claimed() const { return m_claimed; }

private:
    std::atomic<bool>& m_mark;
    const bool m_claimed;
};

// ---------------------------------------------------------------------------
// Texts of entries

typedef std::unique_ptr<char[]> OwnedText;

OwnedText CopyText(const char* text) {
    if (!text || !*text)
        return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    OwnedText copy(new char[size]);
    std::memcpy(copy.get(), text, size);
    return copy;
}

const char* TextOrEmpty(const char* text) {
    return text ? text : "";
}

TString FormattedText(const TErrorStackEntry& entry) {
    return GetMessage(entry.m_nOrigin, entry.m_nCode, TextOrEmpty(entry.m_pText1),
                      TextOrEmpty(entry.m_pText2), TextOrEmpty(entry.m_pText3));
}

LONG CurrentTime32() {
    return static_cast<LONG>(static_cast<std::uint32_t>(std::time(nullptr)));
}

// ---------------------------------------------------------------------------
// Stack operations on a given stack

const TErrorStackEntry* EntryAt(const TErrorSystem* stack, long index) {
    if (!stack || index < 0 || index >= KELMO_ERROR_STACK_SIZE)
        return nullptr;
    return &stack->m_Entries[index];
}

const TErrorStackEntry* TopEntry(const TErrorSystem* stack) {
    return stack ? EntryAt(stack, static_cast<long>(stack->m_nCount) - 1) : nullptr;
}

void Pop(TErrorSystem& stack) {
    if (stack.m_nCount > 0)
        --stack.m_nCount;
}

// The formatted texts of all entries, popping each: newest first.
std::vector<TString> TakeAllTexts(TErrorSystem& stack) {
    std::vector<TString> texts;
    texts.reserve(KELMO_ERROR_STACK_SIZE);
    while (stack.m_nCount > 0) {
        texts.push_back(FormattedText(*TopEntry(&stack)));
        Pop(stack);
    }
    return texts;
}

unsigned long Push(TErrorSystem& stack, unsigned short origin, unsigned short code,
                   const TString& p1, const TString& p2, const TString& p3, TErrorData* data);

// Pushes texts taken newest first back as pass-through entries, oldest first,
// leaving out the `skipOldest` oldest ones.
void PushBackAsTexts(TErrorSystem& stack, const std::vector<TString>& newestFirst,
                     std::size_t skipOldest) {
    for (std::size_t i = newestFirst.size(); i > skipOldest; --i)
        Push(stack, kPassThroughOrigin, kPassThroughCode, newestFirst[i - 1 - skipOldest],
             TString::NullString, TString::NullString, nullptr);
}

// The stack is full: its texts go to the log, the oldest entry is dropped and
// the other 19 come back as pass-through entries, leaving room for one more.
void RunOverflow(TErrorSystem& stack) {
    TString text("Message stack overflow! Stack content:\r\n");
    std::vector<TString> newestFirst;
    {
        RunningMark mark(s_overflowRunning);
        if (mark.Claimed())
            newestFirst = TakeAllTexts(stack);
    }
    if (!newestFirst.empty()) {
        text += newestFirst.back() + " (removed from stack)\r\n";
        for (std::size_t i = newestFirst.size() - 1; i > 0; --i)
            text += newestFirst[i - 1] + "\r\n";
    }
    WriteLibraryLog(kOverflowLogLevel, text);
    PushBackAsTexts(stack, newestFirst, 1);
}

// A popped entry may leave its texts and data in the slot that the next push
// takes. The slot is cleared without deleting that data (a pointer the caller
// took with GetErrorData stays valid, and its destructor does not run); the
// texts are private copies no caller can reach and are freed.
void ReuseSlot(TErrorStackEntry& slot) {
    delete[] slot.m_pText1;
    delete[] slot.m_pText2;
    delete[] slot.m_pText3;
    slot.m_time = 0;
    slot.m_nOrigin = 0;
    slot.m_nCode = 0;
    slot.m_pText1 = slot.m_pText2 = slot.m_pText3 = nullptr;
    slot.m_pData = nullptr;
}

unsigned long Push(TErrorSystem& stack, unsigned short origin, unsigned short code,
                   const TString& p1, const TString& p2, const TString& p3, TErrorData* data) {
    // The stack owns `data` from here; should making room or copying the texts
    // fail, it is deleted rather than lost.
    std::unique_ptr<TErrorData> ownedData(data);
    if (stack.m_nCount >= KELMO_ERROR_STACK_SIZE)
        RunOverflow(stack);
    if (stack.m_nCount >= KELMO_ERROR_STACK_SIZE) {
        // Another thread's overflow was running, so this stack could not be
        // emptied: the new entry takes the place of the top one.
        stack.m_Entries[KELMO_ERROR_STACK_SIZE - 1].Release();
        stack.m_nCount = KELMO_ERROR_STACK_SIZE - 1;
    }
    OwnedText text1 = CopyText(p1);
    OwnedText text2 = CopyText(p2);
    OwnedText text3 = CopyText(p3);

    TErrorStackEntry& slot = stack.m_Entries[stack.m_nCount];
    ReuseSlot(slot);
    slot.m_time = CurrentTime32();
    slot.m_nOrigin = origin;
    slot.m_nCode = code;
    slot.m_pText1 = text1.release();
    slot.m_pText2 = text2.release();
    slot.m_pText3 = text3.release();
    slot.m_pData = ownedData.release();
    return ++stack.m_nCount;
}

// The log text of a trace: a title line, then each text (oldest first)
// followed by an empty line, with every line ending in "\r\n".
TString TraceLogText(const std::vector<TString>& newestFirst) {
    TString text("TraceErrorStackToLog():\n");
    for (std::size_t i = newestFirst.size(); i > 0; --i)
        text += newestFirst[i - 1] + "\n\n";
    text.Replace("\r\n", "\n", 1);
    text.Replace("\n", "\r\n", 1);
    return text;
}

// Turns every entry into a pass-through entry holding its text, and writes
// the texts to the log.
void TraceStack(TErrorSystem& stack, const TString* bottomText) {
    const std::vector<TString> newestFirst = TakeAllTexts(stack);
    if (bottomText)
        Push(stack, kPassThroughOrigin, kPassThroughCode, *bottomText, TString::NullString,
             TString::NullString, nullptr);
    PushBackAsTexts(stack, newestFirst, 0);
    WriteLibraryLog(kTraceLogLevel, TraceLogText(newestFirst));
}

TString NumberedText(unsigned long rec, unsigned short origin, unsigned short code,
                     const TString& p1, const TString& p2, const TString& p3) {
    TString number;
    number.Format(" (REC: 0x%.8x)", static_cast<unsigned int>(static_cast<std::uint32_t>(rec)));
    return GetMessage(origin, code, p1, p2, p3) + number;
}

// Throw() on the thread's record; a thread that has none still gets its
// exception.
void ThrowOnThreadRecord() {
    TException* record = ThreadException();
    if (!record)
        throw TException();
    record->Throw();
}

} // namespace

// ---------------------------------------------------------------------------
// TErrorStackEntry

TErrorStackEntry::TErrorStackEntry()
    : m_time(0), m_nOrigin(0), m_nCode(0), m_pText1(nullptr), m_pText2(nullptr), m_pText3(nullptr),
      m_pData(nullptr) {}

TErrorStackEntry::~TErrorStackEntry() {
    Release();
}

TErrorStackEntry& TErrorStackEntry::operator=(const TErrorStackEntry& source) {
    if (&source == this)
        return *this;
    OwnedText text1 = CopyText(source.m_pText1);
    OwnedText text2 = CopyText(source.m_pText2);
    OwnedText text3 = CopyText(source.m_pText3);
    std::unique_ptr<TErrorData> data(source.m_pData ? source.m_pData->Clone() : nullptr);
    Release();
    m_time = source.m_time;
    m_nOrigin = source.m_nOrigin;
    m_nCode = source.m_nCode;
    m_pText1 = text1.release();
    m_pText2 = text2.release();
    m_pText3 = text3.release();
    m_pData = data.release();
    return *this;
}

void TErrorStackEntry::Release() {
    delete[] m_pText1;
    delete[] m_pText2;
    delete[] m_pText3;
    delete m_pData;
    m_pText1 = m_pText2 = m_pText3 = nullptr;
    m_pData = nullptr;
}

// ---------------------------------------------------------------------------
// TErrorSystem

TErrorSystem::TErrorSystem() : m_nCount(0) {}

TErrorSystem::~TErrorSystem() {}

void TErrorSystem::CopyFrom(const TErrorSystem& source) {
    const DWORD count =
        source.m_nCount < KELMO_ERROR_STACK_SIZE ? source.m_nCount : KELMO_ERROR_STACK_SIZE;
    for (DWORD i = 0; i < count; ++i)
        m_Entries[i] = source.m_Entries[i];
    m_nCount = count;
}

// ---------------------------------------------------------------------------
// TException

TException::TException() : m_nPendingCount(0) {}

TException::TException(const TException& other) : m_nPendingCount(other.m_nPendingCount) {}

TException& TException::operator=(const TException& other) {
    m_nPendingCount = other.m_nPendingCount;
    return *this;
}

void TException::Throw() {
    if (m_nPendingCount != 0)
        return;
    m_nPendingCount = 1;
    throw TException(*this);
}

void TException::ThrowSeh(unsigned short origin, unsigned short code, const TString& p1,
                          const TString& p2, const TString& p3) {
    TErrorSystem* stack = ThreadErrorSystem();
    if (stack) {
        const TErrorStackEntry* top = TopEntry(stack);
        if (!top || top->m_nOrigin != origin || top->m_nCode != code)
            Push(*stack, origin, code, p1, p2, p3, nullptr);
    }
    if (m_nPendingCount == 0)
        m_nPendingCount = 1;
    throw TException(*this);
}

void TException::ClearPending() {
    m_nPendingCount = 0;
}

// ---------------------------------------------------------------------------
// Pushing and popping

unsigned long PushError(unsigned short origin, unsigned short code, const TString& p1,
                        const TString& p2, const TString& p3, TErrorData* data) {
    TErrorSystem* stack = ThreadErrorSystem();
    if (!stack) {
        delete data;
        return 0;
    }
    return Push(*stack, origin, code, p1, p2, p3, data);
}

unsigned long PushSystemError() {
    // Read first: finding the thread's stack must not be able to change it.
    const DWORD error = GetLastError();
    TErrorSystem* stack = ThreadErrorSystem();
    if (!stack)
        return 0;
    if (error == 0)
        return stack->m_nCount;
    const unsigned long count =
        Push(*stack, kPassThroughOrigin, kPassThroughCode,
             GetMessage(kSystemOrigin, static_cast<unsigned short>(error), "", "", ""),
             TString::NullString, TString::NullString, nullptr);
    // The caller may still want to report the error in its own way.
    SetLastError(error);
    return count;
}

unsigned long PushErrorNr(unsigned long rec, unsigned short origin, unsigned short code,
                          const TString& p1, const TString& p2, const TString& p3) {
    return PushError(kPassThroughOrigin, kPassThroughCode,
                     NumberedText(rec, origin, code, p1, p2, p3), TString::NullString,
                     TString::NullString, nullptr);
}

void PopError() {
    TErrorSystem* stack = ThreadErrorSystem();
    if (stack)
        Pop(*stack);
}

void ClearError() {
    TraceErrorStackToLog();
    TErrorSystem* stack = ThreadErrorSystem();
    if (!stack)
        return;
    while (stack->m_nCount > 0)
        Pop(*stack);
}

// ---------------------------------------------------------------------------
// Throwing

void ThrowNewError(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
                   const TString& p3, TErrorData* data) {
    PushError(origin, code, p1, p2, p3, data);
    ThrowOnThreadRecord();
}

void ThrowNewError(KCInfo& info) {
    unsigned short origin = 0;
    unsigned short code = 0;
    info.GetOriginAndMessageCode(&origin, &code);
    PushError(origin, code, info.GetParam1(), info.GetParam2(), info.GetParam3(), nullptr);
    ThrowOnThreadRecord();
}

void ThrowNewErrorNr(unsigned long rec, unsigned short origin, unsigned short code,
                     const TString& p1, const TString& p2, const TString& p3) {
    ThrowNewError(kPassThroughOrigin, kPassThroughCode, NumberedText(rec, origin, code, p1, p2, p3),
                  TString::NullString, TString::NullString, nullptr);
}

void ThrowLastError() {
    ThrowOnThreadRecord();
}

unsigned long GetPendingCount() {
    TException* record = ThreadException();
    return record ? record->PendingCount() : 0;
}

void DecrementPendingCount() {
    TException* record = ThreadException();
    if (record)
        record->DecrementPending();
}

// ---------------------------------------------------------------------------
// Inspecting

unsigned long GetErrorCount() {
    TErrorSystem* stack = ThreadErrorSystem();
    return stack ? stack->m_nCount : 0;
}

unsigned int IsExceptionSystemAlive() {
    NoteThreadUse();
    return ExistingThreadErrorSystem() ? 1 : 0;
}

unsigned short GetErrorCode() {
    const TErrorStackEntry* entry = TopEntry(ThreadErrorSystem());
    return entry ? entry->m_nCode : 0;
}

unsigned short GetErrorOrigin() {
    const TErrorStackEntry* entry = TopEntry(ThreadErrorSystem());
    return entry ? entry->m_nOrigin : KELMO_NO_ORIGIN;
}

TErrorData* GetErrorData() {
    const TErrorStackEntry* entry = TopEntry(ThreadErrorSystem());
    return entry ? entry->m_pData : nullptr;
}

unsigned short GetErrorCodeNr(int i) {
    const TErrorStackEntry* entry = EntryAt(ThreadErrorSystem(), i);
    return entry ? entry->m_nCode : 0;
}

unsigned short GetErrorOriginNr(int i) {
    const TErrorStackEntry* entry = EntryAt(ThreadErrorSystem(), i);
    return entry ? entry->m_nOrigin : KELMO_NO_ORIGIN;
}

TErrorData* GetErrorDataNr(int i) {
    const TErrorStackEntry* entry = EntryAt(ThreadErrorSystem(), i);
    return entry ? entry->m_pData : nullptr;
}

TString GetErrorString() {
    const TErrorStackEntry* entry = TopEntry(ThreadErrorSystem());
    return entry ? FormattedText(*entry) : TString();
}

TString GetErrorStringNr(int i) {
    const TErrorSystem* stack = ThreadErrorSystem();
    if (!stack || i < 0 || static_cast<DWORD>(i) >= stack->m_nCount)
        return TString();
    return FormattedText(*EntryAt(stack, i));
}

KCInfo GetErrorInfo() {
    const TErrorStackEntry* entry = TopEntry(ThreadErrorSystem());
    if (!entry) {
        const TString empty("Error-Stack-Empty !");
        return KCInfo(KELMO_NO_ORIGIN, 0, empty, empty, empty);
    }
    return KCInfo(entry->m_nOrigin, entry->m_nCode, TextOrEmpty(entry->m_pText1),
                  TextOrEmpty(entry->m_pText2), TextOrEmpty(entry->m_pText3));
}

// ---------------------------------------------------------------------------
// Saving and restoring

void SaveErrorStack(void*& handle) {
    std::unique_ptr<TErrorSystem> copy(new TErrorSystem());
    const TErrorSystem* stack = ThreadErrorSystem();
    if (stack)
        copy->CopyFrom(*stack);
    handle = copy.release();
}

void RestoreErrorStack(void*& handle) {
    TErrorSystem* stack = ThreadErrorSystem();
    if (stack && handle)
        stack->CopyFrom(*static_cast<const TErrorSystem*>(handle));
}

void DeleteErrorStack(void*& handle) {
    delete static_cast<TErrorSystem*>(handle);
    handle = nullptr;
}

// ---------------------------------------------------------------------------
// Logging the stack

void SetErrorLogging(unsigned int on) {
    s_errorLogging.store(on);
}

void TraceErrorStackToLog() {
    if (s_errorLogging.load() == 0)
        return;
    RunningMark mark(s_traceRunning);
    if (!mark.Claimed())
        return;
    TErrorSystem* stack = ThreadErrorSystem();
    if (stack)
        TraceStack(*stack, nullptr);
}

void InsertDebugInfoIntoErrorStack(const char* file, int line) {
    RunningMark mark(s_debugInsertRunning);
    if (!mark.Claimed())
        return;
    TErrorSystem* stack = ThreadErrorSystem();
    if (!stack)
        return;
    const TString debugText = TString(TextOrEmpty(file)) + " " + TString(line, 10ul);
    TraceStack(*stack, g_bShowDebugInfoInErrorStack ? &debugText : nullptr);
}
