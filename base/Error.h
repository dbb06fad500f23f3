// The error system: error records, the per-thread error stack and the
// functions that push, throw and inspect errors.
//
// A failure is reported in one way everywhere: push a record (origin code,
// message code, up to three text arguments, optional extra data) onto the
// calling thread's error stack, then return a failure value or throw
// TException, which carries no data. A handler reads the stack, clears it and
// lowers the pending count. Texts are made only when asked for, by the message
// catalogue (GetMessage).
//
// Every thread has its own stack and exception record, created before its
// first use and released when the thread ends; no lock is taken on them.
#ifndef BASEKEL_ERROR_H
#define BASEKEL_ERROR_H

#include "kelexport.h"
#include "kelwin32.h"
#include "MessageSystem.h"
#include "TString.h"

#include <atomic>
#include <cstdint>

// ---------------------------------------------------------------------------
// Error records

// An origin code and a message code. Both live in one aligned 32-bit code
// word (origin in the low half, message code in the high half) that is
// written with a single store and read with a single load, so a reader on
// another thread sees either the old pair or the new one, never a mix.
class BASEKEL_API KCInfoRaw {
public:
    KCInfoRaw(unsigned short origin = KELMO_NO_ORIGIN, unsigned short code = 0);
    KCInfoRaw(const KCInfoRaw& other);
    KCInfoRaw& operator=(const KCInfoRaw& other);
    virtual ~KCInfoRaw();

    void Set(unsigned short origin, unsigned short code);
    void Clear(); // origin KELMO_NO_ORIGIN, code 0
    unsigned short GetOriginCode() const;
    unsigned short GetMessageCode() const;
    // Reads the code word once; either output may be null.
    void GetOriginAndMessageCode(unsigned short* origin, unsigned short* code) const;
    // The catalogue text of the pair with empty arguments.
    TString GetString() const;

    unsigned int operator==(const KCInfoRaw& other) const; // the whole code word
    unsigned int operator!=(const KCInfoRaw& other) const;

protected:
    static std::uint32_t MakeCodeWord(unsigned short origin, unsigned short code);
    static unsigned short OriginOf(std::uint32_t word);
    static unsigned short CodeOf(std::uint32_t word);
    std::uint32_t LoadCodeWord() const;
    void StoreCodeWord(std::uint32_t word);

private:
    static void AtomicAssignULong(std::atomic<std::uint32_t>& target, std::uint32_t value);
    // Stores `value` and returns the word it replaced, in one atomic step.
    static std::uint32_t InterlockedExchangeULONG(std::atomic<std::uint32_t>& target,
                                                  std::uint32_t value);

    std::atomic<std::uint32_t> m_codeWord;
};

struct KCInfoLock;

// A message: the codes plus its three text arguments, guarded by the
// record's own lock. Assignment holds both records' locks at once, its own
// first; should the source's lock be busy it lets its own go and tries again,
// so two records assigned to each other at the same time cannot deadlock.
class BASEKEL_API KCInfo : public KCInfoRaw {
public:
    KCInfo();
    KCInfo(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
           const TString& p3);
    KCInfo(const KCInfo& other);
    KCInfo& operator=(const KCInfo& other);
    ~KCInfo() override;

    void Set(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
             const TString& p3);
    TString GetParam1() const;
    TString GetParam2() const;
    TString GetParam3() const;
    // The catalogue text with the three arguments filled in.
    TString GetString() const;

    // Equal when the code words and all three arguments match exactly
    // (letter case counts).
    unsigned int operator==(const KCInfo& other) const;
    unsigned int operator!=(const KCInfo& other) const;

private:
    TString m_param1;
    TString m_param2;
    TString m_param3;
    KCInfoLock* m_pLock; // a private mutual-exclusion lock that waits forever
};

// The root of extra data that a caller attaches to an error-stack entry.
// The stack copies it only through Clone and deletes it through the virtual
// destructor. Copies are made by Clone alone: a derived class writes its own
// copy constructor (starting from TErrorData()) and overrides Clone with it.
class BASEKEL_API TErrorData {
public:
    TErrorData();
    virtual ~TErrorData();
    // A new heap copy of this object, owned by the caller.
    virtual TErrorData* Clone() const;

private:
    TErrorData(const TErrorData&);
    TErrorData& operator=(const TErrorData&);
};

// A named origin. A module declares one static object per origin that it
// raises messages for; the object registers the name with the catalogue and
// stands wherever an origin code is expected.
class BASEKEL_API TMessageBase {
public:
    TMessageBase(); // no origin
    TMessageBase(const char* originName, const char* moduleName, const char* sourceFile,
                 unsigned long line);
    TMessageBase& operator=(const TMessageBase& other);
    operator unsigned short() const { return m_nOriginCode; }

private:
    unsigned short m_nOriginCode;
};

// ---------------------------------------------------------------------------
// The per-thread error stack

#define KELMO_ERROR_STACK_SIZE 20

// One entry of an error stack. Texts are owned copies, null when empty;
// the data is owned.
class BASEKEL_API TErrorStackEntry {
public:
    TErrorStackEntry(); // all zero
    ~TErrorStackEntry();
    TErrorStackEntry(const TErrorStackEntry&) = delete;
    // Copies time and codes, replaces the texts by fresh copies and the data
    // by a Clone of the source's data (null stays null).
    TErrorStackEntry& operator=(const TErrorStackEntry& source);

    // Frees the texts and deletes the data.
    void Release();

    LONG m_time; // seconds since 1970 when pushed, 32 bits
    unsigned short m_nOrigin;
    unsigned short m_nCode;
    char* m_pText1;
    char* m_pText2;
    char* m_pText3;
    TErrorData* m_pData;
};

// A stack of KELMO_ERROR_STACK_SIZE entries: index 0 is the oldest, index
// m_nCount - 1 the newest. Destroying it releases all entries, counted or not.
class BASEKEL_API TErrorSystem {
public:
    TErrorSystem();
    ~TErrorSystem();
    TErrorSystem(const TErrorSystem&) = delete;
    TErrorSystem& operator=(const TErrorSystem&) = delete;

    // Takes over the count and entries 0 to count - 1 of another stack; the
    // entries above stay as they are.
    void CopyFrom(const TErrorSystem& source);

    DWORD m_nCount;
    TErrorStackEntry m_Entries[KELMO_ERROR_STACK_SIZE];
};

// The exception the library throws. It carries no data: the errors are on
// the thread's stack. Each thread has one record whose pending count says
// whether an exception is already on its way up.
class BASEKEL_API TException {
public:
    TException();
    TException(const TException& other);
    TException& operator=(const TException& other);

    // Throws a copy of this record if nothing is pending (and makes the count
    // 1); while something is pending it returns without throwing, so that
    // clean-ups that fail during unwinding only add their errors.
    void Throw();
    // Pushes the error unless the top entry has the same origin and code,
    // makes the pending count 1 if it was 0 and throws in every case.
    void ThrowSeh(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
                  const TString& p3);
    void ClearPending();

    DWORD PendingCount() const { return m_nPendingCount; }
    // Wraps from 0 to 0xFFFFFFFF: the count has no lower bound.
    void DecrementPending() { --m_nPendingCount; }

private:
    DWORD m_nPendingCount;
};

// Shows the file and line given to InsertDebugInfoIntoErrorStack as the
// bottom entry of the stack (default 0).
extern BASEKEL_API unsigned int g_bShowDebugInfoInErrorStack;

// Pushing. Each returns the new number of entries. A stack of
// KELMO_ERROR_STACK_SIZE entries never refuses a push: it writes its content
// to the log, drops the oldest entry and keeps the others as texts.
BASEKEL_API unsigned long PushError(unsigned short origin, unsigned short code,
                                    const TString& p1 = TString::NullString,
                                    const TString& p2 = TString::NullString,
                                    const TString& p3 = TString::NullString,
                                    TErrorData* data = nullptr); // the stack owns data
// Pushes the text of the thread's last system error as a pass-through entry;
// with no last error it pushes nothing.
BASEKEL_API unsigned long PushSystemError();
// Pushes the text of (origin, code) followed by " (REC: 0x<rec>)".
BASEKEL_API unsigned long PushErrorNr(unsigned long rec, unsigned short origin, unsigned short code,
                                      const TString& p1 = TString::NullString,
                                      const TString& p2 = TString::NullString,
                                      const TString& p3 = TString::NullString);

// Removes the top entry (nothing on an empty stack).
BASEKEL_API void PopError();
// Traces the stack to the log, then empties it.
BASEKEL_API void ClearError();

// Throwing: each pushes, then calls Throw() on the thread's TException.
BASEKEL_API void ThrowNewError(unsigned short origin, unsigned short code,
                               const TString& p1 = TString::NullString,
                               const TString& p2 = TString::NullString,
                               const TString& p3 = TString::NullString, TErrorData* data = nullptr);
BASEKEL_API void ThrowNewError(KCInfo& info);
BASEKEL_API void ThrowNewErrorNr(unsigned long rec, unsigned short origin, unsigned short code,
                                 const TString& p1 = TString::NullString,
                                 const TString& p2 = TString::NullString,
                                 const TString& p3 = TString::NullString);
// Throw() without pushing.
BASEKEL_API void ThrowLastError();

BASEKEL_API unsigned long GetPendingCount();
// Lowers the pending count by one; below 0 it wraps to 0xFFFFFFFF.
BASEKEL_API void DecrementPendingCount();

// Inspecting.
BASEKEL_API unsigned long GetErrorCount();
// 1 if the calling thread has an error stack.
BASEKEL_API unsigned int IsExceptionSystemAlive();
// The fields of the top entry, and of entry i counted from the bottom. An
// entry above the count (popped, or left over from a restore) still answers
// with what it held; an empty stack or an index outside the stack answers
// origin KELMO_NO_ORIGIN, code 0 and no data.
BASEKEL_API unsigned short GetErrorCode();
BASEKEL_API unsigned short GetErrorOrigin();
BASEKEL_API TErrorData* GetErrorData();
BASEKEL_API unsigned short GetErrorCodeNr(int i);
BASEKEL_API unsigned short GetErrorOriginNr(int i);
BASEKEL_API TErrorData* GetErrorDataNr(int i);
// The formatted text of the top entry / of entry i; empty when there is none.
BASEKEL_API TString GetErrorString();
BASEKEL_API TString GetErrorStringNr(int i);
// The top entry's codes and raw texts; on an empty stack each text is
// "Error-Stack-Empty !" (and the codes those of a cleared record).
BASEKEL_API KCInfo GetErrorInfo();

// Saving and restoring the calling thread's stack. The handle owns a copy
// (extra data cloned) until DeleteErrorStack; restoring copies it back and
// leaves the handle valid.
BASEKEL_API void SaveErrorStack(void*& handle);
BASEKEL_API void RestoreErrorStack(void*& handle);
BASEKEL_API void DeleteErrorStack(void*& handle);

// Logging of the stack. With error logging on (the default), ClearError and
// TraceErrorStackToLog write the stack's texts to the log at level 1; both
// turn every entry into a pass-through entry holding its former text.
BASEKEL_API void SetErrorLogging(unsigned int on);
BASEKEL_API void TraceErrorStackToLog();
// Writes the stack to the log whatever the logging switch says, and with
// g_bShowDebugInfoInErrorStack set puts "<file> <line>" beneath it.
BASEKEL_API void InsertDebugInfoIntoErrorStack(const char* file, int line);

// The library's handler for failed allocations, installed with
// std::set_new_handler when the library is loaded: it pushes the system's
// out-of-memory error (origin 1) and throws TException, also while another
// exception is pending.
BASEKEL_API void kelmo_new_handler();

#endif
