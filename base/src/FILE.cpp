// The file classes: TFile over one Win32 file handle, its ANSI and UTF-16
// line I/O, the encoding decision of TAutoFile, and the static path and
// file helpers.
#include "FILE.h"

#include "Error.h"
#include "MessageSystem.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>

// The state that copies of an open file share: how many objects hold the
// handle, and whether one of them has closed it.
struct TFileHandleShare {
    std::atomic<long> holders{1};
    std::atomic<int> closed{0};
};

namespace {

// Lines up to this length are read into the calling thread's own buffer,
// so that short lines cost no allocation.
const unsigned int kSmallLine = 4096;
thread_local char t_smallLineBuffer[kSmallLine + 1];

const DWORD kMaxPathBuffer = 260; // MAX_PATH, as the helpers size their buffers
const DWORD kModuleNameBuffer = 1024;

enum FileErrorCode : unsigned short {
    kDeleteFailed = 0,
    kGetTimeFailed = 1,
    kTempPathFailed = 2,
    kTempFileNameFailed = 3,
    kOpenFailed = 4,
    kCloseFailed = 5,
    kPosFailed = 6,
    kSeekFailed = 7,
    kSizeFailed = 8,
    kGetLineFailed = 9,
    kWriteFailed = 10,
    kReadFailed = 11,
    kMoveFailed = 13,
    kCopyFailed = 15,
    kCreateDirFailed = 16,
    kRemoveDirFailed = 17,
};

// The file module's message origin. "FileError" is one of the catalogue's
// built-in origins, so it always registers as code 3.
unsigned short FileErrorOrigin() {
    static const TMessageBase origin("FileError", "BASE", __FILE__, __LINE__);
    return origin;
}

// A 32-bit difference as the signed distance SetFilePointer takes; the
// arithmetic wraps at 32 bits, as on the platform the interface was made for.
long SignedDistance(std::uint32_t difference) {
    return static_cast<long>(static_cast<std::int32_t>(difference));
}

void WriteByteOrderMark(TFile& file) {
    unsigned char mark[2] = {0xFF, 0xFE}; // 0xFEFF, little-endian
    file.Write(mark, sizeof mark);
}

} // namespace

// ---------------------------------------------------------------------------
// Construction, copying, destruction

TFile::TFile()
    : m_hFile(INVALID_HANDLE_VALUE), m_nMode(0), m_nShare(0), m_nAttribute(0), m_pShare(nullptr) {}

TFile::TFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
             unsigned long attribute)
    : TFile() {
    TFile::Open(name, mode, share, creation, attribute);
}

TFile::TFile(const TFile& other)
    : m_hFile(other.m_hFile), m_Name(other.m_Name), m_nMode(other.m_nMode),
      m_nShare(other.m_nShare), m_nAttribute(other.m_nAttribute), m_pShare(nullptr) {
    ShareWith(other);
}

// Takes over the other object's fields. The handle this object held before
// is not closed: the object simply stops using it.
TFile& TFile::operator=(const TFile& other) {
    if (this == &other)
        return *this;
    LeaveShare();
    m_hFile = other.m_hFile;
    m_Name = other.m_Name;
    m_nMode = other.m_nMode;
    m_nShare = other.m_nShare;
    m_nAttribute = other.m_nAttribute;
    ShareWith(other);
    return *this;
}

// Closing may raise from here. While a library exception is on its way the
// pending count keeps it from throwing again, so the failure is only pushed.
TFile::~TFile() noexcept(false) {
    struct LeaveShareOnExit {
        TFile* file;
        ~LeaveShareOnExit() { file->LeaveShare(); }
    } leave{this};
    Close();
}

void TFile::ShareWith(const TFile& other) const {
    if (other.m_hFile == INVALID_HANDLE_VALUE)
        return;
    if (!other.m_pShare)
        other.m_pShare = new TFileHandleShare;
    other.m_pShare->holders.fetch_add(1);
    m_pShare = other.m_pShare;
}

void TFile::LeaveShare() {
    if (m_pShare && m_pShare->holders.fetch_sub(1) == 1)
        delete m_pShare;
    m_pShare = nullptr;
}

HANDLE TFile::Handle() const {
    if (m_pShare && m_pShare->closed.load())
        return INVALID_HANDLE_VALUE;
    return m_hFile;
}

// ---------------------------------------------------------------------------
// Opening and closing

void TFile::Open(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                 unsigned long attribute) {
    Close();
    HANDLE handle =
        CreateFileA(name, static_cast<DWORD>(mode), static_cast<DWORD>(share), nullptr,
                    static_cast<DWORD>(creation), static_cast<DWORD>(attribute), nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        ThrowFileError(kOpenFailed, name);
        return;
    }
    m_hFile = handle;
    m_Name = name;
    m_nMode = static_cast<DWORD>(mode);
    m_nShare = static_cast<DWORD>(share);
    m_nAttribute = static_cast<DWORD>(attribute);
}

void TFile::Close() {
    if (m_hFile == INVALID_HANDLE_VALUE)
        return;
    // Of copies sharing the handle, the first to close it does; the others
    // find it closed and only let go of it.
    if (m_pShare && m_pShare->closed.exchange(1)) {
        LeaveShare();
        m_hFile = INVALID_HANDLE_VALUE;
        return;
    }
    if (!::CloseHandle(m_hFile)) {
        if (m_pShare)
            m_pShare->closed.store(0);
        ThrowFileError(kCloseFailed, m_Name);
        return; // still open
    }
    LeaveShare();
    m_hFile = INVALID_HANDLE_VALUE;
}

unsigned int TFile::IsOpen() const {
    return Handle() != INVALID_HANDLE_VALUE ? 1 : 0;
}

// ---------------------------------------------------------------------------
// Position and size

unsigned long TFile::Size() {
    const DWORD size = GetFileSize(Handle(), nullptr);
    if (size == INVALID_FILE_SIZE)
        ThrowFileError(kSizeFailed, m_Name);
    return size;
}

unsigned long TFile::Pos() {
    const DWORD position = SetFilePointer(Handle(), 0, nullptr, FILE_CURRENT);
    if (position == INVALID_SET_FILE_POINTER)
        ThrowFileError(kPosFailed, m_Name);
    return position;
}

void TFile::Seek(long distance, unsigned long method) {
    const LONG low = static_cast<LONG>(SignedDistance(static_cast<std::uint32_t>(distance)));
    if (SetFilePointer(Handle(), low, nullptr, static_cast<DWORD>(method)) ==
        INVALID_SET_FILE_POINTER)
        ThrowFileError(kSeekFailed, m_Name);
}

void TFile::Start() {
    Seek(0, FILE_BEGIN);
}

void TFile::Ende() {
    Seek(0, FILE_END);
}

void TFile::SetEndOfFile() {
    ::SetEndOfFile(Handle());
}

unsigned long TFile::Mode() const {
    return m_nMode;
}

unsigned long TFile::Share() const {
    return m_nShare;
}

unsigned long TFile::Attribute() const {
    return m_nAttribute;
}

unsigned int TFile::FlushFileBuffers() const {
    return static_cast<unsigned int>(::FlushFileBuffers(Handle()));
}

// ---------------------------------------------------------------------------
// Block I/O

void TFile::Write(void* buffer, unsigned int count) {
    DWORD written = 0;
    if (!WriteFile(Handle(), buffer, count, &written, nullptr))
        ThrowFileError(kWriteFailed, m_Name);
}

unsigned int TFile::Read(void* buffer, unsigned int count) {
    DWORD got = 0;
    if (!ReadFile(Handle(), buffer, count, &got, nullptr)) {
        ThrowFileError(kReadFailed, m_Name);
        return 0;
    }
    return got;
}

DWORD TFile::ReadBlockForLine(void* buffer, DWORD count) {
    DWORD got = 0;
    if (!ReadFile(Handle(), buffer, count, &got, nullptr)) {
        ThrowFileError(kGetLineFailed, m_Name);
        return 0;
    }
    return got;
}

// ---------------------------------------------------------------------------
// ANSI lines

// Reads a block of maxLen bytes, takes the text before the first line end
// (or NUL) and seeks back to just after the consumed bytes. "\r\n" and
// "\n\r" count as one line end, a lone "\r" or "\n" as one too; a NUL byte
// at the position is consumed as an empty line.
unsigned int TFile::GetLine(TString& line, unsigned int maxLen) {
    std::unique_ptr<char[]> large;
    char* buffer = t_smallLineBuffer;
    if (maxLen > kSmallLine) {
        large.reset(new (std::nothrow) char[static_cast<std::size_t>(maxLen) + 1]);
        if (!large) {
            ThrowFileError(kGetLineFailed, m_Name);
            line = "";
            return 0;
        }
        buffer = large.get();
    }
    const DWORD got = ReadBlockForLine(buffer, maxLen);
    if (got == 0) {
        line = "";
        return 0;
    }
    buffer[got] = '\0';
    const std::size_t length = std::strcspn(buffer, "\n\r");
    line = TString(buffer, static_cast<long>(length));

    std::uint32_t consumed = static_cast<std::uint32_t>(length);
    const char end = buffer[length];
    if (end == '\n' || end == '\r') {
        ++consumed;
        const char next = buffer[length + 1]; // the terminating NUL at worst
        if ((next == '\n' || next == '\r') && next != end)
            ++consumed;
    }
    if (consumed == 0)
        consumed = 1;
    Seek(SignedDistance(consumed - got), FILE_CURRENT);
    return 1;
}

void TFile::PutLine(TString text) {
    text += "\r\n";
    Write(const_cast<char*>(static_cast<const char*>(text)),
          static_cast<unsigned int>(text.GetLength()));
}

void TFile::PutText(TString text) {
    Write(const_cast<char*>(static_cast<const char*>(text)),
          static_cast<unsigned int>(text.GetLength()));
}

// ---------------------------------------------------------------------------
// UTF-16 lines

// Reads maxLen units, converts them to the ANSI code page and takes the text
// before the first "\n", dropping every "\r". The position moves two bytes
// per character walked plus two for the line end, as if each character were
// one unit; so a line longer than maxLen loses its next character, and a
// last line without line end leaves the position two bytes past the end.
unsigned int TFile::GetUtf16Line(TString& line, unsigned int maxLen) {
    line = "";
    const std::size_t units = static_cast<std::size_t>(maxLen) + 1;
    std::unique_ptr<WCHAR[]> wide(new (std::nothrow) WCHAR[units]);
    // One byte more than the conversion may fill, zeroed, so that the text
    // stays terminated whatever a failed or cut conversion leaves behind.
    std::unique_ptr<char[]> text(new (std::nothrow) char[units + 1]());
    if (!wide || !text) {
        ThrowFileError(kGetLineFailed, m_Name);
        return 0;
    }
    const DWORD got = ReadBlockForLine(wide.get(), static_cast<std::uint32_t>(maxLen) * 2u);
    wide[got / 2] = 0;
    WideCharToMultiByte(CP_ACP, 0, wide.get(), -1, text.get(), static_cast<int>(units), nullptr,
                        nullptr);
    if (got == 0)
        return 0;

    std::uint32_t walked = 0;
    std::size_t kept = 0; // the line is gathered in place, behind the walk
    for (const char* p = text.get(); *p && *p != '\n'; ++p) {
        walked += 2;
        if (*p != '\r')
            text[kept++] = *p;
    }
    line = TString(text.get(), static_cast<long>(kept));
    Seek(SignedDistance(walked + 2 - got), FILE_CURRENT);
    return 1;
}

// Converts the text to UTF-16 and writes it without the terminating NUL;
// a text that does not convert writes nothing.
void TFile::PutUtf16Text(const TString& text) {
    const int length = static_cast<int>(text.GetLength());
    std::unique_ptr<WCHAR[]> wide(new WCHAR[static_cast<std::size_t>(length) + 1]);
    const int units = MultiByteToWideChar(CP_ACP, 0, text, -1, wide.get(), length + 1);
    if (units > 0)
        Write(wide.get(), static_cast<unsigned int>(units - 1) * 2u);
}

// ---------------------------------------------------------------------------
// Failures

void TFile::ThrowFileError(unsigned short code, const TString& p1, const TString& p2) {
    const DWORD error = GetLastError();
    const unsigned short origin = FileErrorOrigin();
    SetLastError(error);
    PushSystemError();
    ThrowNewError(origin, code, p1, p2, TString::NullString, nullptr);
}

// ---------------------------------------------------------------------------
// TAnsiFile

TAnsiFile::TAnsiFile() {}

TAnsiFile::TAnsiFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                     unsigned long attribute)
    : TFile(name, mode, share, creation, attribute) {}

void TAnsiFile::PutAnsiLine(const char* text) {
    if (!text || !*text)
        return;
    Write(const_cast<char*>(text), static_cast<unsigned int>(std::strlen(text)));
    char lineEnd[] = "\r\n";
    Write(lineEnd, 2);
}

// ---------------------------------------------------------------------------
// TUnicodeFile

TUnicodeFile::TUnicodeFile() {}

TUnicodeFile::TUnicodeFile(TString name, unsigned long mode, unsigned long share,
                           unsigned long creation, unsigned long attribute)
    : TFile(name, mode, share, creation, attribute) {}

unsigned int TUnicodeFile::GetLine(TString& line, unsigned int maxLen) {
    return GetUtf16Line(line, maxLen);
}

void TUnicodeFile::PutLine(TString text) {
    PutUtf16Text(text + "\r\n");
}

void TUnicodeFile::PutText(TString text) {
    PutUtf16Text(text);
}

void TUnicodeFile::WriteKennung() {
    WriteByteOrderMark(*this);
}

unsigned short TUnicodeFile::ReadKennung() {
    unsigned char bytes[2] = {0, 0};
    Read(bytes, sizeof bytes);
    return static_cast<unsigned short>(bytes[0] | (bytes[1] << 8));
}

// ---------------------------------------------------------------------------
// TAutoFile

TAutoFile::TAutoFile() : m_IsUnicode(0) {}

TAutoFile::TAutoFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                     unsigned long attribute, unsigned int bUnicode)
    : m_IsUnicode(0) {
    TAutoFile::Open(name, mode, share, creation, attribute, bUnicode);
}

void TAutoFile::Open(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                     unsigned long attribute, unsigned int bUnicode) {
    // Read access in any case, so that the mark can be read.
    TFile::Open(name, mode | GENERIC_READ, share, creation, attribute);
    if (!IsOpen())
        return; // the failure is on the error stack already
    if (creation == OPEN_EXISTING || creation == OPEN_ALWAYS) {
        DecideFromContent(mode, bUnicode);
    } else {
        m_IsUnicode = bUnicode;
        if (bUnicode == 1 && (mode & GENERIC_WRITE))
            WriteByteOrderMark(*this);
    }
    // ANSI text starts at the beginning: the two bytes read are not lost.
    if (!m_IsUnicode)
        Start();
}

void TAutoFile::DecideFromContent(unsigned long mode, unsigned int bUnicode) {
    unsigned char mark[2] = {0, 0};
    if (Read(mark, sizeof mark) == sizeof mark) {
        // Either byte order counts; the content is read little-endian anyway.
        const unsigned int value = mark[0] | (mark[1] << 8);
        m_IsUnicode = (value == 0xFEFF || value == 0xFFFE) ? 1 : 0;
    } else if (Size() != 0) {
        m_IsUnicode = 0; // a one-byte file
    } else if (mode & GENERIC_WRITE) {
        m_IsUnicode = bUnicode;
        if (bUnicode == 1)
            WriteByteOrderMark(*this);
    } else {
        m_IsUnicode = 0;
    }
}

unsigned int TAutoFile::GetLine(TString& line, unsigned int maxLen) {
    return m_IsUnicode ? GetUtf16Line(line, maxLen) : TFile::GetLine(line, maxLen);
}

void TAutoFile::PutLine(TString text) {
    if (m_IsUnicode)
        PutUtf16Text(text + "\r\n");
    else
        TFile::PutLine(text);
}

void TAutoFile::PutText(TString text) {
    if (m_IsUnicode)
        PutUtf16Text(text);
    else
        TFile::PutText(text);
}

// ---------------------------------------------------------------------------
// Static helpers: existence and directories

unsigned int TFile::Exist(const char* path) {
    if (!path)
        return 0;
    const std::size_t length = std::strlen(path);
    const bool drive =
        (length == 2 && path[1] == ':') || (length == 3 && path[1] == ':' && path[2] == '\\');
    if (drive) {
        const char root[4] = {path[0], ':', '\\', '\0'};
        return GetDriveTypeA(root) != DRIVE_NO_ROOT_DIR ? 1 : 0;
    }
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(path, &data);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    FindClose(search);
    return 1;
}

unsigned int TFile::DirExist(const char* path) {
    if (!path)
        return 0;
    if (path[0] == '\\' && path[1] == '\\') {
        // A network directory is tried by entering it.
        char previous[kMaxPathBuffer];
        if (!_getcwd(previous, static_cast<int>(sizeof previous)))
            return 0;
        const int entered = _chdir(path);
        _chdir(previous);
        return entered == 0 ? 1 : 0;
    }
    std::string rest(path);
    while (!rest.empty() && rest.back() == '\\')
        rest.pop_back();
    return Exist(rest.c_str());
}

TString TFile::GetParentDir(TString path) {
    const long last = path.FindReverse('\\');
    if (last < 0)
        return TString();
    return path.Left(last);
}

void TFile::CreateCompleteDir(TString path) {
    if (path.IsEmpty() || DirExist(path))
        return;
    const TString parent = GetParentDir(path);
    if (!DirExist(parent))
        CreateCompleteDir(parent);
    if (!CreateDirectoryA(path, nullptr))
        ThrowFileError(kCreateDirFailed, path);
}

void TFile::RemoveDirectoryA(const char* path) {
    if (!DirExist(path))
        return;
    if (!::RemoveDirectoryA(path))
        ThrowFileError(kRemoveDirFailed, path);
}

// ---------------------------------------------------------------------------
// Static helpers: file operations

void TFile::Copy(const char* from, const char* to, unsigned int bFailIfExists) {
    if (!Exist(from)) {
        PushSystemError();
        ThrowLastError();
        return;
    }
    if (!CopyFileA(from, to, bFailIfExists ? TRUE : FALSE))
        ThrowFileError(kCopyFailed, from, to);
}

void TFile::Delete(const char* path) {
    if (!Exist(path))
        return;
    if (!DeleteFileA(path))
        ThrowFileError(kDeleteFailed, path);
}

void TFile::Move(const char* from, const char* to, unsigned long flags) {
    if (!MoveFileExA(from, to, static_cast<DWORD>(flags)))
        ThrowFileError(kMoveFailed, from, to);
}

// The handle is left open when the second call fails, as callers of these
// two helpers have always seen it.
_FILETIME TFile::GetTime(const char* path) {
    _FILETIME time = {0, 0};
    HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE || !GetFileTime(file, nullptr, nullptr, &time)) {
        ThrowFileError(kGetTimeFailed, path);
        return time;
    }
    ::CloseHandle(file);
    return time;
}

unsigned long TFile::Size(const char* path) {
    HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        ThrowFileError(kSizeFailed, path);
        return INVALID_FILE_SIZE;
    }
    const DWORD size = GetFileSize(file, nullptr);
    if (size == INVALID_FILE_SIZE) {
        ThrowFileError(kSizeFailed, path);
        return size;
    }
    ::CloseHandle(file);
    return size;
}

// ---------------------------------------------------------------------------
// Static helpers: the executable, temporary files, path parts

TString TFile::GetExeName() {
    char buffer[kModuleNameBuffer] = {};
    GetModuleFileNameA(nullptr, buffer, kModuleNameBuffer);
    buffer[kModuleNameBuffer - 1] = '\0';
    TString name(buffer);
    name.LowCase();
    if (name.Find(TString(".exe")) < 0)
        name += ".exe";
    return name;
}

TString TFile::GetExeDir() {
    return GetParentDir(GetExeName());
}

TString TFile::GetFullAppName() {
    return SplitPath(GetExeName(), 1 | 2 | 4);
}

TString TFile::GetTmpPath() {
    char buffer[kMaxPathBuffer] = {};
    if (!GetTempPathA(kMaxPathBuffer, buffer))
        ThrowFileError(kTempPathFailed);
    return TString(buffer);
}

TString TFile::GetTempFileNameA(TString dir, TString prefix, unsigned long unique) {
    char buffer[kMaxPathBuffer] = {};
    if (!::GetTempFileNameA(dir, prefix, static_cast<UINT>(unique), buffer))
        ThrowFileError(kTempFileNameFailed);
    return TString(buffer);
}

TString TFile::GetFileDrive(TString path) {
    return SplitPath(path, 1);
}

TString TFile::GetFileDir(TString path) {
    return SplitPath(path, 1 | 2);
}

TString TFile::GetFileName(TString path) {
    return SplitPath(path, 4);
}

TString TFile::GetFileExt(TString path) {
    return SplitPath(path, 8);
}

TString TFile::ExpandToFullPath(const TString& path) {
    char buffer[kMaxPathBuffer] = {};
    _fullpath(buffer, path, kMaxPathBuffer);
    buffer[kMaxPathBuffer - 1] = '\0';
    return TString(buffer);
}

TString TFile::SplitPath(TString path, unsigned short mask) {
    char drive[3] = {};
    char dir[256] = {};
    char name[256] = {};
    char ext[256] = {};
    _splitpath(path, drive, dir, name, ext);
    TString result;
    if (mask & 1)
        result += drive;
    if (mask & 2)
        result += dir;
    if (mask & 4)
        result += name;
    if (mask & 8)
        result += ext;
    return result;
}
