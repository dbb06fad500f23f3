// TFileString and the free string helpers: path parsing and rebuilding,
// replacement, reversal, counting, the user's domain and path shortening.
#include "FileString.h"

#include <algorithm>

const char TFileString::TCbackslash[2] = "\\";
const char TFileString::TCcolon[2] = ":";
const char TFileString::TCpoint[2] = ".";
const char TFileString::TCslash[2] = "/";
const char TFileString::TCunderscore[2] = "_";

namespace {

const char kNetworkPrefix[] = "\\\\";

bool IsNetworkPath(const TString& path) {
    const char* p = path;
    return p[0] == '\\' && p[1] == '\\';
}

// The DOS form of a path part as the part setters store it.
TString Normalised(TString part) {
    part.Exchange('/', '\\');
    part.LowCase();
    return part;
}

} // namespace

TFileString::TFileString() : m_bNoName(0) {}

TFileString::TFileString(TString path, unsigned int bIsDir) : m_bNoName(0) {
    SetFullName(path, bIsDir);
}

TFileString::TFileString(const TFileString& other)
    : m_FullName(other.m_FullName), m_Drv(other.m_Drv), m_Dir(other.m_Dir), m_Name(other.m_Name),
      m_Ext(other.m_Ext), m_bNoName(other.m_bNoName) {}

TFileString& TFileString::operator=(const TFileString& other) {
    m_FullName = other.m_FullName;
    m_Drv = other.m_Drv;
    m_Dir = other.m_Dir;
    m_Name = other.m_Name;
    m_Ext = other.m_Ext;
    m_bNoName = other.m_bNoName;
    return *this;
}

TFileString& TFileString::operator=(const TString& path) {
    SetFullName(path, 0);
    return *this;
}

TFileString& TFileString::operator=(const char* path) {
    SetFullName(TString(path), 0);
    return *this;
}

unsigned int TFileString::operator==(const TFileString& other) const {
    return m_Drv == other.m_Drv && m_Dir == other.m_Dir && m_Name == other.m_Name &&
           m_Ext == other.m_Ext;
}

unsigned int TFileString::operator==(const TString& path) const {
    return *this == TFileString(path, 0);
}

unsigned int TFileString::operator==(const char* path) const {
    return *this == TFileString(TString(path), 0);
}

TFileString::operator TString() const {
    return m_FullName;
}
TString TFileString::GetFullName() const {
    return m_FullName;
}
TString TFileString::GetDrv() const {
    return m_Drv;
}
TString TFileString::GetDir() const {
    return m_Dir;
}
TString TFileString::GetName() const {
    return m_Name;
}
TString TFileString::GetExt() const {
    return m_Ext;
}
TString TFileString::GetDrvDir() const {
    return m_Drv + m_Dir;
}
TString TFileString::GetNameExt() const {
    return m_Name + m_Ext;
}

TString TFileString::GetLastDir() const {
    TString dir(m_Dir);
    dir.StripTail('\\');
    return dir.TokenRight('\\');
}

TString TFileString::GetDirString() const {
    TString drive(m_Drv);
    drive.StripHead('\\');
    drive.StripTail(':');
    TString dir(m_Dir);
    dir.Exchange('\\', '_');
    return drive + dir;
}

// Splits the drive off the head of path: "\\" and the server name for a
// network path, else the text up to and including the first colon.
TString TFileString::TakeDrive(TString& path) {
    if (IsNetworkPath(path))
        return TString(kNetworkPrefix) + path.Token('\\');
    if (path.Find(':') < 0)
        return TString();
    TString drive = path.LeftSplit(':', 1);
    path.StripHead(static_cast<int>(drive.GetLength()));
    return drive;
}

void TFileString::SetFullName(TString path, unsigned int bIsDir) {
    m_Drv = m_Dir = m_Name = m_Ext = "";
    path.Exchange('/', '\\');
    path.LowCase();
    m_FullName = path;
    m_Drv = TakeDrive(path);
    if (!bIsDir) {
        if (path.Find('.') >= 0) {
            m_Ext = TString(TCpoint) + path.TokenRight('.');
            path.StripTail('.');
        }
        if (path.GetLength() == 0 || path.FindReverse('\\') != path.GetLength() - 1)
            m_Name = path.TokenRight('\\');
    }
    m_Dir = path;
    if (m_Name.IsEmpty())
        m_bNoName = 1;
}

void TFileString::SetDrvDir(TString text) {
    m_Drv = TakeDrive(text);
    m_Dir = "";
    for (TString component = text.Token('\\'); !component.IsEmpty(); component = text.Token('\\')) {
        m_Dir += '\\';
        m_Dir += component;
    }
    m_Dir += '\\';
    Rebuild();
}

void TFileString::SetNameExt(TString text) {
    m_Name = text.Token('.');
    m_Ext = text;
    Rebuild();
}

void TFileString::SetDrv(TString drive) {
    m_Drv = Normalised(drive);
    Rebuild();
}

void TFileString::SetDir(TString directory) {
    m_Dir = Normalised(directory);
    Rebuild();
}

void TFileString::SetName(TString name) {
    name.LowCase();
    m_Name = name;
    Rebuild();
}

void TFileString::SetExt(TString extension) {
    extension.LowCase();
    m_Ext = extension;
    Rebuild();
}

void TFileString::Rebuild() {
    m_FullName = m_Drv + m_Dir + m_Name + m_Ext;
}

// ---------------------------------------------------------------------------
// Free string helpers

void StringReplace(TString& s, TString sOld, TString sNew) {
    StringReplaceEx(s, sOld, sNew, 1);
}

void StringReplaceEx(TString& s, TString sOld, TString sNew, unsigned int bAll) {
    s.Replace(sOld, sNew, bAll);
}

void string_MakeReverse(TString& s) {
    const long length = s.GetLength();
    if (length < 2)
        return;
    char* text = s.GetBuffer(length);
    std::reverse(text, text + length);
}

long string_CountChar(TString& s, char c) {
    return s.CountChar(c);
}

void GetCurrentDomain(TString& s) {
    char* buffer = s.GetBuffer(1024);
    const DWORD length = GetEnvironmentVariableA("USERDOMAIN", buffer, 1024);
    if (length == 0 || length >= 1024)
        buffer[0] = '\0';
    s.ReleaseBuffer();
}

// ---------------------------------------------------------------------------
// Path shortening

namespace {

long TextWidth(HDC dc, const TString& text) {
    SIZE size = {0, 0};
    GetTextExtentPoint32A(dc, text, static_cast<int>(text.GetLength()), &size);
    return size.cx;
}

// Head and tail of a path for shortening: "c:\" for a drive-letter path, "\\"
// with the server name and its backslash for a network path; the tail is the
// rest. Other paths have no head.
void SplitForCutting(const TString& path, TString& head, TString& tail) {
    const char* p = path;
    long headLength = 0;
    if (path.GetLength() >= 2 && p[1] == ':') {
        headLength = std::min(3L, path.GetLength());
    } else if (IsNetworkPath(path)) {
        TString rest(p + 2);
        const long serverEnd = rest.Find('\\');
        headLength = serverEnd < 0 ? path.GetLength() : serverEnd + 3;
    }
    head = TString(p, headLength);
    tail = TString(p + headLength);
}

} // namespace

void string_CutPath(HDC dc, TString& path, long maxWidth) {
    if (!dc || path.IsEmpty())
        return;
    TString head;
    TString tail;
    SplitForCutting(path, head, tail);
    const TString ellipsis("...\\");
    const long ellipsisWidth = TextWidth(dc, ellipsis);
    const long headWidth = TextWidth(dc, head);
    long tailWidth = TextWidth(dc, tail);
    if (maxWidth >= headWidth + tailWidth)
        return;
    while (tail.Find('\\') >= 0) {
        tail.GetUntil('\\');
        tailWidth = TextWidth(dc, tail);
        if (maxWidth >= ellipsisWidth + headWidth + tailWidth)
            break;
    }
    path = head + ellipsis + tail;
}
