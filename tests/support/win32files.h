// Whole-file reads and writes through the Win32 calls, which take the DOS
// paths the library hands out as well as the platform's own.
#ifndef BASEKEL_TESTS_WIN32FILES_H
#define BASEKEL_TESTS_WIN32FILES_H

#include "kelwin32.h"

#include <string>

namespace testsupport {

// Opens a file that other handles may read, write and delete meanwhile.
inline HANDLE OpenShared(const std::string& path, DWORD access, DWORD disposition) {
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Creates or replaces the file with `bytes`; false when that failed.
inline bool WriteBytes(const std::string& path, const std::string& bytes) {
    HANDLE file = OpenShared(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const BOOL ok =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
    return ok && written == bytes.size();
}

// The whole file; empty when it cannot be opened.
inline std::string ReadBytes(const std::string& path) {
    HANDLE file = OpenShared(path, GENERIC_READ, OPEN_EXISTING);
    std::string bytes;
    if (file == INVALID_HANDLE_VALUE)
        return bytes;
    char buffer[65536];
    DWORD n = 0;
    while (ReadFile(file, buffer, sizeof buffer, &n, nullptr) && n > 0)
        bytes.append(buffer, n);
    CloseHandle(file);
    return bytes;
}

} // namespace testsupport

#endif
