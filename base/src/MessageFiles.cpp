// File operations of the message catalogue in Win32 terms.
#include "MessageFiles.h"

#include <algorithm>

namespace msgfiles {

namespace {

const DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A renamed index may meet a reader that has the old one open for a moment
// (Windows refuses to replace an open file); the rename is tried again.
const int kRenameAttempts = 20;
const DWORD kRenamePauseMs = 5;

// Closes a handle when it goes; keeps the last error of the failing call.
class OpenFile {
public:
    explicit OpenFile(HANDLE handle) : m_handle(handle) {}
    ~OpenFile() {
        if (IsOpen()) {
            const DWORD error = GetLastError();
            CloseHandle(m_handle);
            SetLastError(error);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

HANDLE OpenForReading(const char* path, DWORD access) {
    return CreateFileA(path, access, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

bool StampOfHandle(HANDLE file, Stamp& stamp) {
    DWORD high = 0;
    const DWORD size = GetFileSize(file, &high);
    if ((size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) || high != 0)
        return false;
    stamp.size = size;
    return GetFileTime(file, nullptr, nullptr, &stamp.written) != FALSE;
}

bool ReadExactly(HANDLE file, char* buffer, std::uint32_t count, std::uint32_t& done) {
    done = 0;
    while (done < count) {
        DWORD n = 0;
        if (!ReadFile(file, buffer + done, count - done, &n, nullptr))
            return false;
        if (n == 0)
            break;
        done += n;
    }
    return true;
}

bool WriteAll(HANDLE file, const std::vector<unsigned char>& data) {
    std::size_t done = 0;
    while (done < data.size()) {
        DWORD n = 0;
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(data.size() - done, 1u << 20));
        if (!WriteFile(file, data.data() + done, chunk, &n, nullptr) || n == 0)
            return false;
        done += n;
    }
    return true;
}

bool WriteNewFile(const char* path, const std::vector<unsigned char>& data) {
    OpenFile file(CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.IsOpen() && WriteAll(file.Get(), data);
}

bool RenameOver(const char* from, const char* to) {
    for (int attempt = 0;; ++attempt) {
        if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING))
            return true;
        const DWORD error = GetLastError();
        const bool busy = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        if (!busy || attempt + 1 >= kRenameAttempts)
            return false;
        Sleep(kRenamePauseMs);
    }
}

std::size_t LastSeparator(const std::string& path) {
    return path.find_last_of("\\/:");
}

} // namespace

bool SameStamp(const Stamp& a, const Stamp& b) {
    return a.size == b.size && CompareTimes(a.written, b.written) == 0;
}

int CompareTimes(const FILETIME& a, const FILETIME& b) {
    const std::uint64_t ta = (std::uint64_t(a.dwHighDateTime) << 32) | a.dwLowDateTime;
    const std::uint64_t tb = (std::uint64_t(b.dwHighDateTime) << 32) | b.dwLowDateTime;
    return ta < tb ? -1 : ta > tb ? 1 : 0;
}

bool Exists(const char* path) {
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool StampOf(const char* path, Stamp& stamp) {
    // No access asked: the metadata alone, without taking part in sharing.
    OpenFile file(OpenForReading(path, 0));
    return file.IsOpen() && StampOfHandle(file.Get(), stamp);
}

bool ReadAll(const char* path, std::vector<char>& bytes, Stamp& stamp) {
    OpenFile file(OpenForReading(path, GENERIC_READ));
    if (!file.IsOpen() || !StampOfHandle(file.Get(), stamp))
        return false;
    bytes.resize(stamp.size);
    std::uint32_t done = 0;
    if (!ReadExactly(file.Get(), bytes.data(), stamp.size, done))
        return false;
    bytes.resize(done);
    return true;
}

bool ReadAt(const char* path, std::uint32_t offset, std::uint32_t count, std::vector<char>& bytes) {
    OpenFile file(OpenForReading(path, GENERIC_READ));
    if (!file.IsOpen())
        return false;
    LONG high = 0;
    if (SetFilePointer(file.Get(), static_cast<LONG>(offset), &high, FILE_BEGIN) ==
            INVALID_SET_FILE_POINTER &&
        GetLastError() != NO_ERROR)
        return false;
    bytes.resize(count);
    std::uint32_t done = 0;
    if (!ReadExactly(file.Get(), bytes.data(), count, done))
        return false;
    bytes.resize(done);
    return true;
}

bool ReplaceWith(const char* path, const std::vector<unsigned char>& data, DWORD& error) {
    const std::string directory = DirectoryOf(path);
    char temporary[MAX_PATH + 1] = {};
    if (!GetTempFileNameA(directory.empty() ? "." : directory.c_str(), "ndx", 0, temporary)) {
        error = GetLastError();
        return false;
    }
    if (WriteNewFile(temporary, data) && RenameOver(temporary, path))
        return true;
    error = GetLastError();
    DeleteFileA(temporary);
    return false;
}

std::string DirectoryOf(const std::string& path) {
    const std::size_t separator = LastSeparator(path);
    return separator == std::string::npos ? std::string() : path.substr(0, separator + 1);
}

std::string ExtensionOf(const std::string& path) {
    const std::size_t separator = LastSeparator(path);
    const std::size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (separator != std::string::npos && dot < separator))
        return std::string();
    return path.substr(dot);
}

std::string WithoutExtension(const std::string& path) {
    return path.substr(0, path.size() - ExtensionOf(path).size());
}

} // namespace msgfiles
