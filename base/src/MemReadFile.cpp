// TMemReadFile: reads, seeks and lines served from a copy of the whole file.
#include "MemReadFile.h"

#include "Error.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// The file module's origin: code 7 (bad seek) and code 12 (line reading not
// supported here) are its messages.
const TMessageBase g_FileOrigin("FileError", "BASE", __FILE__, __LINE__);

constexpr unsigned short kSeekFailed = 7;
constexpr unsigned short kNotSupported = 12;

constexpr unsigned short kCR = '\r';
constexpr unsigned short kLF = '\n';

// What the next line reading consumes: `length` characters of line, then
// `skip` more (the stop character and a following LF where it counts).
struct LineEnd {
    DWORD length;
    DWORD skip;
    bool found; // false at the end or at a NUL: nothing is returned
};

// The stop rule, the same on bytes and on UTF-16 units: a line ends at NUL,
// CR, LF, or at a character whose next character is LF (that character is
// skipped: deliberately, lines ending with a lone LF lose their last
// character). Past the line go a CR LF pair, or one stop character that is
// not NUL. `available` characters remain before the end; `at(i)` reads the
// character i places on, also at or after the end.
template <typename CharAt> LineEnd FindLineEnd(DWORD available, CharAt at) {
    DWORD length = 0;
    while (length < available) {
        const unsigned short c = at(length);
        if (c == 0 || c == kCR || c == kLF || at(length + 1) == kLF)
            break;
        ++length;
    }
    if (length == 0 && available == 0)
        return LineEnd{0, 0, false};
    const unsigned short stop = at(length);
    DWORD skip = 0;
    if (stop == kCR && at(length + 1) == kLF)
        ++skip;
    if (stop != 0)
        ++skip;
    return LineEnd{length, skip, length > 0 || stop != 0};
}

} // namespace

TMemReadFile::TMemReadFile() : m_pBuffer(nullptr), m_nSize(0), m_nPosition(0), m_nLoaded(0) {}

TMemReadFile::TMemReadFile(TString name, unsigned long mode, unsigned long share,
                           unsigned long creation, unsigned long attribute)
    : TMemReadFile() {
    Open(name, mode, share, creation, attribute);
}

TMemReadFile::~TMemReadFile() {
    TMemReadFile::Close();
}

void TMemReadFile::Open(TString name, unsigned long mode, unsigned long share,
                        unsigned long creation, unsigned long attribute) {
    const DWORD size = static_cast<DWORD>(TFile::Size(static_cast<const char*>(name)));
    if (size == INVALID_FILE_SIZE)
        return; // the failure is on the error stack already
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[std::size_t{size} + 2]);
    // Opens this object's own handle, which keeps name, mode, share and
    // attribute, and frees the previous content (Close through the table).
    TFile::Open(name, mode, share, creation, attribute);
    if (!IsOpen())
        return;
    struct CloseHandleOnExit {
        TFile* file;
        ~CloseHandleOnExit() noexcept(false) { file->TFile::Close(); }
    } closeOnExit{this};
    // A file that shrank since its size was taken yields what is there.
    const DWORD read = size != 0 ? TFile::Read(buffer.get(), size) : 0;
    buffer[read] = 0;
    buffer[read + 1] = 0;
    m_pBuffer = buffer.release();
    m_nLoaded = read;
    m_nSize = read;
    m_nPosition = 0;
}

void TMemReadFile::Close() {
    delete[] m_pBuffer;
    m_pBuffer = nullptr;
    m_nSize = 0;
    m_nPosition = 0;
    m_nLoaded = 0;
}

unsigned long TMemReadFile::Pos() {
    return m_nPosition;
}

void TMemReadFile::Seek(long distance, unsigned long method) {
    const std::int64_t step = static_cast<std::int32_t>(distance);
    std::int64_t target = 0;
    if (method == FILE_BEGIN)
        target = step;
    else if (method == FILE_END)
        target = std::int64_t{m_nSize} + step - 1;
    else
        target = std::int64_t{m_nPosition} + step;
    if (target < 0 || target >= std::int64_t{m_nSize}) {
        ThrowNewError(g_FileOrigin, kSeekFailed, Name());
        return;
    }
    m_nPosition = static_cast<DWORD>(target);
}

void TMemReadFile::Start() {
    m_nPosition = 0;
}

void TMemReadFile::Ende() {
    m_nPosition = m_nSize - 1; // on the last byte; wraps for empty content
}

void TMemReadFile::SetEndOfFile() {
    // Never beyond what was read: a position past the end cannot bring back
    // bytes that are not there.
    const DWORD end = m_nPosition + 1;
    m_nSize = end <= m_nLoaded ? end : m_nLoaded;
}

unsigned int TMemReadFile::GetLine(TString&, unsigned int) {
    ThrowNewError(g_FileOrigin, kNotSupported, "GetLine not supported");
    return 0;
}

unsigned int TMemReadFile::Read(void* buffer, unsigned int count) {
    if (m_nPosition >= m_nSize)
        return 0;
    const DWORD available = m_nSize - m_nPosition;
    const DWORD n = count < available ? count : available;
    std::memcpy(buffer, m_pBuffer + m_nPosition, n);
    m_nPosition += n;
    return n;
}

unsigned char TMemReadFile::ByteAt(DWORD offset) const {
    // The buffer ends with two NULs; anything further reads as NUL too.
    return std::uint64_t{offset} < std::uint64_t{m_nLoaded} + 2 ? m_pBuffer[offset] : 0;
}

unsigned short TMemReadFile::UnitAt(DWORD offset) const {
    return static_cast<unsigned short>(ByteAt(offset) | (ByteAt(offset + 1) << 8));
}

unsigned int TMemReadFile::GetAnsiLine(TString& line) {
    line = TString::NullString;
    if (!m_pBuffer || m_nPosition >= m_nSize)
        return 0;
    const DWORD start = m_nPosition;
    const LineEnd end = FindLineEnd(
        m_nSize - start, [&](DWORD i) { return static_cast<unsigned short>(ByteAt(start + i)); });
    if (!end.found)
        return 0;
    line = TString(reinterpret_cast<const char*>(m_pBuffer + start), static_cast<long>(end.length));
    m_nPosition = start + end.length + end.skip;
    return 1;
}

unsigned int TMemReadFile::GetUnicodeLine(TString& line) {
    line = TString::NullString;
    if (!m_pBuffer || m_nPosition >= m_nSize)
        return 0;
    const DWORD start = m_nPosition;
    // Every unit that starts below the size counts, so the unit SetEndOfFile
    // keeps (size = position + 1) is read whole.
    const DWORD units = (m_nSize - start + 1) / 2;
    const LineEnd end = FindLineEnd(units, [&](DWORD i) { return UnitAt(start + 2 * i); });
    if (!end.found)
        return 0;
    std::vector<unsigned short> text(end.length + 1, 0);
    for (DWORD i = 0; i < end.length; ++i)
        text[i] = UnitAt(start + 2 * i);
    line.FromUnicode(text.data());
    m_nPosition = start + 2 * (end.length + end.skip);
    return 1;
}
