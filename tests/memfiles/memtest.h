// Helpers shared by the memory-file tests: files in a temporary directory
// named by DOS paths, and a way to see which library error a call raised.
#ifndef BASEKEL_TESTS_MEMFILES_MEMTEST_H
#define BASEKEL_TESTS_MEMFILES_MEMTEST_H

#include "Error.h"
#include "kelwin32.h"
#include "testsupport.h"

#include <string>

namespace memtest {

// A temporary directory named by its full DOS path.
class Dir {
public:
    Dir() {
        char buffer[1024] = {};
        const DWORD n = GetFullPathNameA(m_temp.path().c_str(), sizeof buffer, buffer, nullptr);
        m_path.assign(buffer, n < sizeof buffer ? n : 0);
    }
    std::string operator/(const std::string& name) const { return m_path + "\\" + name; }

private:
    testsupport::TempDir m_temp;
    std::string m_path;
};

inline HANDLE Open(const std::string& path, DWORD access, DWORD disposition) {
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Creates (or replaces) a file with the given content.
inline bool Write(const std::string& path, const std::string& content) {
    HANDLE file = Open(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const BOOL ok =
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    CloseHandle(file);
    return ok && written == content.size();
}

// The whole file, or "<error N>".
inline std::string Read(const std::string& path) {
    HANDLE file = Open(path, GENERIC_READ, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return "<error " + std::to_string(GetLastError()) + ">";
    std::string content;
    char buffer[65536];
    DWORD n = 0;
    while (ReadFile(file, buffer, sizeof buffer, &n, nullptr) && n > 0)
        content.append(buffer, n);
    CloseHandle(file);
    return content;
}

inline DWORD SizeOf(HANDLE file) {
    return GetFileSize(file, nullptr);
}

// The size of the region of equal pages that starts at the address, and its
// state, type and allocation base as VirtualQuery reports them.
struct Region {
    SIZE_T size = 0;
    DWORD state = 0;
    DWORD type = 0;
    void* allocationBase = nullptr;
};

inline Region Query(const void* address) {
    MEMORY_BASIC_INFORMATION info{};
    Region region;
    if (VirtualQuery(address, &info, sizeof info) == sizeof info) {
        region.size = info.RegionSize;
        region.state = info.State;
        region.type = info.Type;
        region.allocationBase = info.AllocationBase;
    }
    return region;
}

// The origin and code of the library error that `body` raised (the error
// stack's top entry), or -1 and -1 when it raised none. Leaves the stack
// empty and the pending count as it was.
struct Raised {
    int origin = -1;
    int code = -1;
};

template <typename Body> Raised RaisedBy(Body body) {
    Raised raised;
    try {
        body();
    } catch (const TException&) {
        raised.origin = GetErrorOrigin();
        raised.code = GetErrorCode();
        DecrementPendingCount();
    }
    while (GetErrorCount() > 0)
        PopError();
    return raised;
}

// The catalogue's built-in origins of the file module and of the memory-mapped files.
constexpr int kFileOrigin = 3;
constexpr int kDynamicOrigin = 4;

} // namespace memtest

#endif
