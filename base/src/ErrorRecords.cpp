// The error records: KCInfoRaw, KCInfo, TErrorData and TMessageBase.
#include "Error.h"

#include <cstring>
#include <mutex>

// The lock of a KCInfo: any lock that waits without a time limit and can be
// tried without waiting serves (KCMutex would do as well as std::mutex).
struct KCInfoLock {
    std::mutex mutex;
};

// ---------------------------------------------------------------------------
// KCInfoRaw

std::uint32_t KCInfoRaw::MakeCodeWord(unsigned short origin, unsigned short code) {
    return static_cast<std::uint32_t>(origin) | (static_cast<std::uint32_t>(code) << 16);
}

unsigned short KCInfoRaw::OriginOf(std::uint32_t word) {
    return static_cast<unsigned short>(word & 0xFFFFu);
}

unsigned short KCInfoRaw::CodeOf(std::uint32_t word) {
    return static_cast<unsigned short>(word >> 16);
}

void KCInfoRaw::AtomicAssignULong(std::atomic<std::uint32_t>& target, std::uint32_t value) {
    target.store(value, std::memory_order_release);
}

std::uint32_t KCInfoRaw::InterlockedExchangeULONG(std::atomic<std::uint32_t>& target,
                                                  std::uint32_t value) {
    return target.exchange(value, std::memory_order_acq_rel);
}

std::uint32_t KCInfoRaw::LoadCodeWord() const {
    return m_codeWord.load(std::memory_order_acquire);
}

void KCInfoRaw::StoreCodeWord(std::uint32_t word) {
    AtomicAssignULong(m_codeWord, word);
}

KCInfoRaw::KCInfoRaw(unsigned short origin, unsigned short code)
    : m_codeWord(MakeCodeWord(origin, code)) {}

KCInfoRaw::KCInfoRaw(const KCInfoRaw& other) : m_codeWord(other.LoadCodeWord()) {}

KCInfoRaw& KCInfoRaw::operator=(const KCInfoRaw& other) {
    StoreCodeWord(other.LoadCodeWord());
    return *this;
}

KCInfoRaw::~KCInfoRaw() {}

void KCInfoRaw::Set(unsigned short origin, unsigned short code) {
    StoreCodeWord(MakeCodeWord(origin, code));
}

void KCInfoRaw::Clear() {
    Set(KELMO_NO_ORIGIN, 0);
}

unsigned short KCInfoRaw::GetOriginCode() const {
    return OriginOf(LoadCodeWord());
}

unsigned short KCInfoRaw::GetMessageCode() const {
    return CodeOf(LoadCodeWord());
}

void KCInfoRaw::GetOriginAndMessageCode(unsigned short* origin, unsigned short* code) const {
    const std::uint32_t word = LoadCodeWord();
    if (origin)
        *origin = OriginOf(word);
    if (code)
        *code = CodeOf(word);
}

TString KCInfoRaw::GetString() const {
    const std::uint32_t word = LoadCodeWord();
    return GetMessage(OriginOf(word), CodeOf(word), "", "", "");
}

unsigned int KCInfoRaw::operator==(const KCInfoRaw& other) const {
    return LoadCodeWord() == other.LoadCodeWord() ? 1 : 0;
}

unsigned int KCInfoRaw::operator!=(const KCInfoRaw& other) const {
    return *this == other ? 0 : 1;
}

// ---------------------------------------------------------------------------
// KCInfo
//
// Every operation that reads or writes the arguments holds the record's lock,
// also the getters and the copy constructor: a TString is reallocated when it
// is assigned, so an unlocked reader could otherwise read freed memory.

namespace {

// Holds the locks of two different records at once, `first` taken first.
// When `second` is busy, `first` is let go and the two are taken in the other
// order (as std::lock does), so opposite assignments cannot deadlock.
class BothLocks {
public:
    BothLocks(std::mutex& first, std::mutex& second) : m_first(first), m_second(second) {
        std::lock(m_first, m_second);
    }
    ~BothLocks() {
        m_second.unlock();
        m_first.unlock();
    }
    BothLocks(const BothLocks&) = delete;
    BothLocks& operator=(const BothLocks&) = delete;

private:
    std::mutex& m_first;
    std::mutex& m_second;
};

bool SameText(const TString& a, const TString& b) {
    return std::strcmp(a, b) == 0;
}

} // namespace

KCInfo::KCInfo() : m_pLock(new KCInfoLock) {}

KCInfo::KCInfo(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
               const TString& p3)
    : KCInfoRaw(origin, code), m_param1(p1), m_param2(p2), m_param3(p3), m_pLock(new KCInfoLock) {}

KCInfo::KCInfo(const KCInfo& other) : KCInfoRaw(), m_pLock(new KCInfoLock) {
    std::lock_guard<std::mutex> guard(other.m_pLock->mutex);
    StoreCodeWord(other.LoadCodeWord());
    m_param1 = other.m_param1;
    m_param2 = other.m_param2;
    m_param3 = other.m_param3;
}

KCInfo& KCInfo::operator=(const KCInfo& other) {
    if (&other == this)
        return *this;
    BothLocks guard(m_pLock->mutex, other.m_pLock->mutex);
    StoreCodeWord(other.LoadCodeWord());
    m_param1 = other.m_param1;
    m_param2 = other.m_param2;
    m_param3 = other.m_param3;
    return *this;
}

KCInfo::~KCInfo() {
    delete m_pLock;
}

void KCInfo::Set(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
                 const TString& p3) {
    // The arguments are copied before the lock is taken: they may be this
    // record's own texts, passed back in.
    TString param1(p1), param2(p2), param3(p3);
    std::lock_guard<std::mutex> guard(m_pLock->mutex);
    KCInfoRaw::Set(origin, code);
    m_param1 = param1;
    m_param2 = param2;
    m_param3 = param3;
}

TString KCInfo::GetParam1() const {
    std::lock_guard<std::mutex> guard(m_pLock->mutex);
    return m_param1;
}

TString KCInfo::GetParam2() const {
    std::lock_guard<std::mutex> guard(m_pLock->mutex);
    return m_param2;
}

TString KCInfo::GetParam3() const {
    std::lock_guard<std::mutex> guard(m_pLock->mutex);
    return m_param3;
}

TString KCInfo::GetString() const {
    std::lock_guard<std::mutex> guard(m_pLock->mutex);
    const std::uint32_t word = LoadCodeWord();
    return GetMessage(OriginOf(word), CodeOf(word), m_param1, m_param2, m_param3);
}

unsigned int KCInfo::operator==(const KCInfo& other) const {
    if (&other == this)
        return 1;
    BothLocks guard(m_pLock->mutex, other.m_pLock->mutex);
    if (LoadCodeWord() != other.LoadCodeWord())
        return 0;
    return SameText(m_param1, other.m_param1) && SameText(m_param2, other.m_param2) &&
                   SameText(m_param3, other.m_param3)
               ? 1
               : 0;
}

unsigned int KCInfo::operator!=(const KCInfo& other) const {
    return *this == other ? 0 : 1;
}

// ---------------------------------------------------------------------------
// TErrorData

TErrorData::TErrorData() {}

TErrorData::~TErrorData() {}

TErrorData* TErrorData::Clone() const {
    return new TErrorData();
}

// ---------------------------------------------------------------------------
// TMessageBase

TMessageBase::TMessageBase() : m_nOriginCode(KELMO_NO_ORIGIN) {}

TMessageBase::TMessageBase(const char* originName, const char* moduleName, const char* sourceFile,
                           unsigned long line)
    : m_nOriginCode(RegisterOrigin(originName, moduleName, sourceFile, line)) {}

TMessageBase& TMessageBase::operator=(const TMessageBase& other) {
    m_nOriginCode = other.m_nOriginCode;
    return *this;
}
