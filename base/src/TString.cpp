// TString: construction, editing, searching, formatting and conversion of the
// library's 8-bit string.
//
// Every change that needs a new buffer allocates it at exactly the size needed,
// fills it and only then frees the old one, so that a source text pointing into
// the object's own buffer stays valid while it is copied.
#include "TString.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "NumberText.h"

const TString TString::NullString;

namespace {

// The largest buffer a TString may have: its size is a signed 32-bit value.
constexpr long kMaxLength = 0x7FFFFFFE;

char* AllocateBuffer(long size) {
    return new char[static_cast<std::size_t>(size)];
}

long LengthOf(const char* p) {
    return p ? static_cast<long>(std::strlen(p)) : 0;
}

bool IsIn(char c, const char* set) {
    return c != '\0' && std::strchr(set, c) != nullptr;
}

int FoldedDifference(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const int ca = std::tolower(static_cast<unsigned char>(*a));
        const int cb = std::tolower(static_cast<unsigned char>(*b));
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

} // namespace

// ---------------------------------------------------------------------------
// Buffer management

void TString::Adopt(char* buffer, int size) {
    delete[] m_pData;
    m_pData = buffer;
    m_nBufSize = size;
}

void TString::AssignText(const char* p, long length) {
    char* buffer = AllocateBuffer(length + 1);
    if (length > 0)
        std::memcpy(buffer, p, static_cast<std::size_t>(length));
    buffer[length] = '\0';
    Adopt(buffer, static_cast<int>(length + 1));
}

void TString::Append(const char* p, long added) {
    const long length = GetLength();
    if (length > kMaxLength - added)
        added = kMaxLength - length;
    if (m_pData && length + added + 1 <= m_nBufSize) {
        // memmove: the added text may be a part of this very buffer.
        std::memmove(m_pData + length, p, static_cast<std::size_t>(added));
        m_pData[length + added] = '\0';
        return;
    }
    const long size = length + added + 1;
    char* buffer = AllocateBuffer(size);
    if (length > 0)
        std::memcpy(buffer, m_pData, static_cast<std::size_t>(length));
    std::memcpy(buffer + length, p, static_cast<std::size_t>(added));
    buffer[length + added] = '\0';
    Adopt(buffer, static_cast<int>(size));
}

// Keeps the text from `offset` on, in a new exact-size buffer.
void TString::KeepFrom(long offset) {
    const long length = GetLength();
    if (offset > length)
        offset = length;
    AssignText(m_pData + offset, length - offset);
}

// ---------------------------------------------------------------------------
// Construction

TString::TString() : m_pData(nullptr), m_nBufSize(0) {
    AssignText("", 0);
}

TString::TString(const TString& s, long nMax) : m_pData(nullptr), m_nBufSize(0) {
    const long length = s.GetLength();
    AssignText(s.m_pData, nMax < length ? (nMax > 0 ? nMax : 0) : length);
}

TString::TString(const char* p, long nMax) : m_pData(nullptr), m_nBufSize(0) {
    if (!p || nMax <= 0) {
        AssignText("", 0);
        return;
    }
    // Measure no further than nMax: the text need not be terminated within it.
    long length = 0;
    while (length < nMax && p[length] != '\0')
        ++length;
    AssignText(p, length);
}

TString::TString(char c, long nCount) : m_pData(nullptr), m_nBufSize(0) {
    const long count = nCount > 0 ? (nCount < kMaxLength ? nCount : kMaxLength) : 0;
    char* buffer = AllocateBuffer(count + 1);
    std::memset(buffer, c, static_cast<std::size_t>(count));
    buffer[count] = '\0';
    Adopt(buffer, static_cast<int>(count + 1));
}

TString::TString(unsigned char v, unsigned long radix) : TString(NumberText::Unsigned(v, radix)) {}

TString::TString(signed char v, unsigned long radix) : TString(NumberText::Signed(v, radix)) {}

TString::TString(unsigned short v, unsigned long radix) : TString(NumberText::Unsigned(v, radix)) {}

TString::TString(short v, unsigned long radix) : TString(NumberText::Signed(v, radix)) {}

TString::TString(unsigned long v, unsigned long radix)
    : TString(NumberText::Unsigned(static_cast<std::uint32_t>(v), radix)) {}

TString::TString(long v, unsigned long radix)
    : TString(NumberText::Signed(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)), radix)) {
}

TString::TString(int v, unsigned long radix) : TString(NumberText::Signed(v, radix)) {}

TString::~TString() {
    delete[] m_pData;
    m_pData = nullptr;
}

// ---------------------------------------------------------------------------
// Assignment and appending

const TString& TString::operator=(const TString& s) {
    if (this != &s)
        AssignText(s.m_pData, s.GetLength());
    return *this;
}

const TString& TString::operator=(const char* p) {
    if (!p)
        AssignText("", 0);
    else if (p != m_pData)
        AssignText(p, LengthOf(p));
    return *this;
}

const TString& TString::operator=(char c) {
    AssignText(&c, 1);
    return *this;
}

TString& TString::operator+=(const TString& s) {
    Append(s.m_pData ? s.m_pData : "", s.GetLength());
    return *this;
}

TString& TString::operator+=(const char* p) {
    if (p)
        Append(p, LengthOf(p));
    return *this;
}

TString& TString::operator+=(char c) {
    Append(&c, 1);
    return *this;
}

TString operator+(const TString& a, const TString& b) {
    TString result(a);
    result += b;
    return result;
}

TString operator+(const TString& a, const char* b) {
    TString result(a);
    result += b;
    return result;
}

TString operator+(const TString& a, char c) {
    TString result(a);
    result += c;
    return result;
}

// ---------------------------------------------------------------------------
// Length, comparison, searching

long TString::GetLength() const {
    return LengthOf(m_pData);
}

unsigned int TString::IsEmpty() const {
    return !m_pData || m_pData[0] == '\0';
}

bool TString::operator==(const TString& s) const {
    return std::strcmp(m_pData, s.m_pData) == 0;
}

bool TString::operator==(const char* p) const {
    return std::strcmp(m_pData, p ? p : "") == 0;
}

bool TString::operator!=(const TString& s) const {
    return !(*this == s);
}

bool TString::operator!=(const char* p) const {
    return !(*this == p);
}

unsigned int TString::Compare(const char* p) const {
    return *this == p;
}

unsigned int TString::CompareNoCase(const char* p) const {
    return FoldedDifference(m_pData, p ? p : "") == 0;
}

bool TString::operator<(const TString& s) const {
    return FoldedDifference(m_pData, s.m_pData) < 0;
}

long TString::Find(TString s) const {
    const char* hit = std::strstr(m_pData, s.m_pData);
    return hit ? static_cast<long>(hit - m_pData) : -1;
}

long TString::Find(char c) const {
    const char* hit = std::strchr(m_pData, c);
    return hit ? static_cast<long>(hit - m_pData) : -1;
}

long TString::FindReverse(char c) const {
    const char* hit = std::strrchr(m_pData, c);
    return hit ? static_cast<long>(hit - m_pData) : -1;
}

int TString::CountChar(char c) const {
    int count = 0;
    if (m_pData && c != '\0')
        for (const char* p = m_pData; *p; ++p)
            count += (*p == c);
    return count;
}

// ---------------------------------------------------------------------------
// Substrings and tokens

TString TString::Left(long n) {
    return n < 1 ? TString() : TString(*this, n);
}

TString TString::Right(long n) {
    // A negative offset is a caller's error; it is read as 0.
    if (n < 0)
        n = 0;
    return n >= GetLength() ? TString() : TString(m_pData + n);
}

TString TString::LeftSplit(char c, unsigned int bInclusive) {
    const long at = Find(c);
    if (at < 0)
        return *this;
    return TString(m_pData, bInclusive ? at + 1 : at);
}

TString TString::GetUntil(char c) {
    const long at = Find(c);
    if (at < 0) {
        TString whole(*this);
        AssignText("", 0);
        return whole;
    }
    TString head(m_pData, at);
    KeepFrom(at + 1);
    return head;
}

TString TString::Token(TString delimiters) {
    if (IsEmpty())
        return TString(m_pData);
    const char* start = m_pData;
    while (IsIn(*start, delimiters.m_pData))
        ++start;
    const char* end = start;
    while (*end && !IsIn(*end, delimiters.m_pData))
        ++end;
    TString token(start, static_cast<long>(end - start));
    KeepFrom(static_cast<long>(end - m_pData));
    return token;
}

TString TString::Token(char delimiter) {
    const char set[2] = {delimiter, '\0'};
    return Token(TString(set));
}

TString TString::TokenRight(TString delimiters) {
    if (IsEmpty())
        return TString(m_pData);
    long end = GetLength();
    while (end > 0 && IsIn(m_pData[end - 1], delimiters.m_pData))
        m_pData[--end] = '\0';
    long start = end;
    while (start > 0 && !IsIn(m_pData[start - 1], delimiters.m_pData))
        --start;
    TString token(m_pData + start);
    m_pData[start] = '\0'; // keeps the delimiter; empties the object when there is none
    return token;
}

TString TString::TokenRight(char delimiter) {
    const char set[2] = {delimiter, '\0'};
    return TokenRight(TString(set));
}

// ---------------------------------------------------------------------------
// Trimming and editing

void TString::StripHead(TString set) {
    long skip = 0;
    while (IsIn(m_pData[skip], set.m_pData))
        ++skip;
    KeepFrom(skip);
}

void TString::StripHead(char c) {
    const char set[2] = {c, '\0'};
    StripHead(TString(set));
}

void TString::StripHead(int n) {
    if (n <= 0)
        return;
    const long length = GetLength();
    KeepFrom(n < length ? n : length);
}

void TString::StripTail(TString set) {
    long end = GetLength();
    while (end > 0 && IsIn(m_pData[end - 1], set.m_pData))
        m_pData[--end] = '\0';
}

void TString::StripTail(char c) {
    const char set[2] = {c, '\0'};
    StripTail(TString(set));
}

long TString::Replace(TString sOld, TString sNew, unsigned int bAll) {
    // An empty search text matches everywhere and would never end the loop:
    // it is replaced once, at the front, as a single replacement would do.
    if (sOld.IsEmpty())
        bAll = 0;
    TString rest(*this);
    long at = rest.Find(sOld);
    if (at < 0)
        return 0;
    const long oldLength = sOld.GetLength();
    AssignText("", 0);
    long count = 0;
    do {
        ++count;
        Append(rest.m_pData, at);
        *this += sNew;
        rest = rest.Right(at + oldLength);
        at = rest.Find(sOld);
    } while (bAll && at >= 0);
    *this += rest;
    return count;
}

long TString::Exchange(char cFrom, char cTo) {
    // Exchanging a character for itself would never end, and the NUL is not a
    // character of the text: both change nothing. For equal characters the
    // count is the number of occurrences.
    if (cFrom == '\0')
        return 0;
    long count = 0;
    for (char* p = m_pData; *p; ++p) {
        if (*p != cFrom)
            continue;
        *p = cTo;
        ++count;
        if (cTo == '\0')
            break;
    }
    return count;
}

void TString::UpCase() {
    for (char* p = m_pData; *p; ++p)
        *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
}

void TString::LowCase() {
    for (char* p = m_pData; *p; ++p)
        *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
}

// ---------------------------------------------------------------------------
// Raw buffer and formatting

char* TString::GetBuffer(long n) {
    if (n < 0)
        n = 0;
    if (n > kMaxLength)
        n = kMaxLength;
    if (m_nBufSize >= n + 1)
        return m_pData;
    char* buffer = AllocateBuffer(n + 1);
    std::strncpy(buffer, m_pData, static_cast<std::size_t>(n + 1)); // zero-fills the tail
    Adopt(buffer, static_cast<int>(n + 1));
    return m_pData;
}

void TString::ReleaseBuffer() {
    // The caller may have filled the buffer to its last byte: measure within it.
    const void* nul = std::memchr(m_pData, 0, static_cast<std::size_t>(m_nBufSize));
    const long length =
        nul ? static_cast<long>(static_cast<const char*>(nul) - m_pData) : m_nBufSize - 1;
    AssignText(m_pData, length);
}

void TString::Format(const char* format, ...) {
    // The result is limited to 4096 characters. It is formatted into a fresh
    // buffer and cut at that limit, so a longer result overflows nothing and
    // arguments that point into this object's own text stay readable.
    constexpr long kLimit = 4096;
    char* buffer = AllocateBuffer(kLimit + 1);
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, kLimit + 1, format ? format : "", args);
    va_end(args);
    buffer[kLimit] = '\0';
    Adopt(buffer, kLimit + 1);
    ReleaseBuffer();
}

void TString::GetComputerNameA() {
    char* buffer = GetBuffer(1023);
    DWORD size = 1024;
    ::GetComputerNameA(buffer, &size);
    ReleaseBuffer();
}

// ---------------------------------------------------------------------------
// Numeric conversion

namespace {

// Runs one conversion the way every Value overload does: errno is saved, the
// conversion judged by ERANGE and by whether it stopped past the beginning of
// the whole text, and errno restored.
template <typename Convert> unsigned int Judge(const char* text, char** ppEnd, Convert convert) {
    const int saved = errno;
    errno = 0;
    const char* end = convert();
    const bool inRange = errno != ERANGE;
    errno = saved;
    if (ppEnd)
        *ppEnd = const_cast<char*>(end);
    return inRange && end != text;
}

// With base 16 a "0x" anywhere in the text makes the conversion start two
// characters after the beginning, whatever the position of the "0x".
const char* ConversionStart(const char* text, unsigned long base) {
    return base == 16 && std::strstr(text, "0x") ? text + 2 : text;
}

} // namespace

unsigned int TString::Value(unsigned long& v, unsigned long base, char** ppEnd) const {
    const char* start = ConversionStart(m_pData, base);
    return Judge(m_pData, ppEnd, [&] {
        const char* end = start;
        v = NumberText::ParseUnsigned32(start, &end, static_cast<int>(base));
        return end;
    });
}

unsigned int TString::Value(long& v, unsigned long base, char** ppEnd) const {
    const char* start = ConversionStart(m_pData, base);
    return Judge(m_pData, ppEnd, [&] {
        const char* end = start;
        v = NumberText::ParseSigned32(start, &end, static_cast<int>(base));
        return end;
    });
}

unsigned int TString::Value(unsigned short& v, unsigned long base, char** ppEnd) const {
    unsigned long wide = 0;
    const unsigned int ok = Value(wide, base, ppEnd);
    v = static_cast<unsigned short>(wide & 0xFFFFu);
    return ok;
}

unsigned int TString::Value(short& v, unsigned long base, char** ppEnd) const {
    long wide = 0;
    const unsigned int ok = Value(wide, base, ppEnd);
    v = static_cast<short>(static_cast<std::uint16_t>(static_cast<unsigned long>(wide) & 0xFFFFu));
    return ok;
}

unsigned int TString::Value(double& v, char** ppEnd) const {
    return Judge(m_pData, ppEnd, [&] {
        char* end = nullptr;
        v = std::strtod(m_pData, &end);
        return static_cast<const char*>(end);
    });
}

unsigned int TString::Value(float& v, char** ppEnd) const {
    double wide = 0;
    const unsigned int ok = Value(wide, ppEnd);
    v = static_cast<float>(wide);
    return ok;
}

unsigned int TString::Value(unsigned __int64& v, char** ppEnd) const {
    // atoi: a signed 32-bit decimal, sign-extended; only ERANGE fails, and
    // there is no meaningful stop position.
    const int saved = errno;
    errno = 0;
    const char* end = m_pData;
    const std::int32_t value = NumberText::ParseSigned32(m_pData, &end, 10);
    const bool inRange = errno != ERANGE;
    errno = saved;
    v = static_cast<unsigned __int64>(static_cast<long long>(value));
    if (ppEnd)
        *ppEnd = const_cast<char*>(end);
    return inRange;
}

unsigned int TString::IsHexValue(char* p) {
    if (!p)
        return 0;
    for (; *p; ++p)
        if (!std::isxdigit(static_cast<unsigned char>(*p)))
            return 0;
    return 1;
}

// ---------------------------------------------------------------------------
// Code-page conversion

unsigned int TString::AsAnsi(char* dst, unsigned int size) const {
    if (!dst || size == 0)
        return 0;
    dst[size - 1] = '\0';
    std::strncpy(dst, m_pData, size - 1);
    return static_cast<unsigned int>(std::strlen(dst));
}

unsigned int TString::SaveAsAnsi(char* dst, unsigned int size, char) const {
    if (dst)
        AsAnsi(dst, size);
    return static_cast<unsigned int>(m_nBufSize);
}

unsigned int TString::AsUnicode(unsigned short* dst, unsigned int size) const {
    const unsigned int units = size / 2;
    if (!dst || units == 0)
        return 0;
    dst[units - 1] = 0;
    const int written = MultiByteToWideChar(CP_ACP, 0, m_pData, -1, reinterpret_cast<LPWSTR>(dst),
                                            static_cast<int>(units - 1));
    return static_cast<unsigned int>(written);
}

void TString::FromAnsi(const char* src) {
    if (!src)
        AssignText("", 0);
    else if (src != m_pData)
        AssignText(src, LengthOf(src));
}

void TString::SaveFromAnsi(const char* src, char) {
    FromAnsi(src);
}

void TString::FromUnicode(const unsigned short* src) {
    if (!src) {
        AssignText("", 0);
        return;
    }
    long units = 0;
    while (src[units] != 0 && units < kMaxLength)
        ++units;
    // One byte per UTF-16 unit: text whose ANSI form is longer is cut. The last
    // byte is preset to NUL because the conversion is given one byte less than
    // it needs for the terminator and fills the rest before it reports that.
    char* buffer = AllocateBuffer(units + 1);
    std::memset(buffer, 0, static_cast<std::size_t>(units + 1));
    WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<LPCWSTR>(src), -1, buffer,
                        static_cast<int>(units), nullptr, nullptr);
    Adopt(buffer, static_cast<int>(units + 1));
}
