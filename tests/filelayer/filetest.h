// Helpers shared by the file-layer tests: files in a temporary directory,
// named by DOS paths, made and read through the Win32 calls under test.
#ifndef BASEKEL_TESTS_FILELAYER_FILETEST_H
#define BASEKEL_TESTS_FILELAYER_FILETEST_H

#include "kelwin32.h"
#include "testsupport.h"

#include <set>
#include <string>

namespace filetest {

// The full DOS path of a path, as GetFullPathNameA gives it.
inline std::string FullPath(const std::string& path) {
    char buffer[1024] = {};
    DWORD n = GetFullPathNameA(path.c_str(), sizeof buffer, buffer, nullptr);
    return std::string(buffer, n < sizeof buffer ? n : 0);
}

// A temporary directory named by its DOS path.
class Dir {
public:
    Dir() : m_path(FullPath(m_temp.path())) {}
    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "\\" + name; }

private:
    testsupport::TempDir m_temp;
    std::string m_path;
};

inline HANDLE Open(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
    return CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

inline bool Write(const std::string& path, const std::string& text) {
    HANDLE file = Open(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    BOOL ok = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
    return ok && written == text.size();
}

// The file's contents, or "<error N>" when it cannot be read.
inline std::string Read(const std::string& path) {
    HANDLE file = Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return "<error " + std::to_string(GetLastError()) + ">";
    std::string text;
    char buffer[256];
    DWORD n = 0;
    while (ReadFile(file, buffer, sizeof buffer, &n, nullptr) && n > 0)
        text.append(buffer, n);
    CloseHandle(file);
    return text;
}

inline bool Exists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The names FindFirstFileA/FindNextFileA give for a pattern, without "." and
// ".."; empty when the search fails.
inline std::set<std::string> Names(const std::string& pattern) {
    std::set<std::string> names;
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(pattern.c_str(), &data);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        std::string name = data.cFileName;
        if (name != "." && name != "..")
            names.insert(name);
    } while (FindNextFileA(search, &data));
    FindClose(search);
    return names;
}

// Expects a Win32 call to give `result` and leave `error` as the last error.
#define EXPECT_WIN32(call, result, error)                                                          \
    do {                                                                                           \
        SetLastError(0xDEAD);                                                                      \
        EXPECT_EQ(call, result) << #call;                                                          \
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(error)) << #call;                             \
    } while (0)

// Upper-cased copy, for comparisons that Windows makes without regard to case.
inline std::string Upper(std::string text) {
    for (auto& c : text)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

} // namespace filetest

#endif
