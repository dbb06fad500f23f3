// Directory searches on Linux with Windows' wildcard rules.
#if !defined(_WIN32)

#include "win32/filehandle.h"
#include "win32/fileinfo.h"
#include "win32/pathmap.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

KELWIN_SYSCALL(open);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(fdopendir);
KELWIN_SYSCALL(readdir);
KELWIN_SYSCALL(closedir);
KELWIN_SYSCALL(dup);

using namespace kelwin;

namespace {

// The expression characters of Windows' DOS wildcards, into which a pattern
// is translated as Windows does before matching.
constexpr char kDosStar = '<'; // any run of characters that stops before the final '.'
constexpr char kDosQm = '>';   // one character, or none at a '.' or at the end
constexpr char kDosDot = '"';  // a '.', or nothing at the end

std::string dos_expression(const std::string& pattern) {
    std::string expression = pattern;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (pattern[i] == '?')
            expression[i] = kDosQm;
        else if (pattern[i] == '.' && (next == '?' || next == '*'))
            expression[i] = kDosDot;
        else if (pattern[i] == '*' && next == '.')
            expression[i] = kDosStar;
    }
    return expression;
}

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Matches a name against an expression without regard to case, by dynamic
// programming over (expression position, name position), so that no pattern
// can make it take exponential time.
class Matcher {
public:
    Matcher(const std::string& expression, const std::string& name)
        : m_expression(expression), m_name(name), m_lastDot(name.rfind('.')),
          m_memo((expression.size() + 1) * (name.size() + 1), kUnknown) {}

    bool matches() { return match(0, 0); }

private:
    enum : char { kUnknown, kNo, kYes };

    bool match(std::size_t e, std::size_t n) {
        char& memo = m_memo[e * (m_name.size() + 1) + n];
        if (memo == kUnknown)
            memo = compute(e, n) ? kYes : kNo;
        return memo == kYes;
    }

    bool compute(std::size_t e, std::size_t n) {
        const std::size_t end = m_name.size();
        if (e == m_expression.size())
            return n == end;
        const char c = m_expression[e];
        switch (c) {
        case '*':
            return match(e + 1, n) || (n < end && match(e, n + 1));
        case kDosStar:
            return match(e + 1, n) ||
                   (n < end && (m_lastDot == std::string::npos || n < m_lastDot) &&
                    match(e, n + 1));
        case kDosQm:
            if (n == end || m_name[n] == '.')
                return match(e + 1, n);
            return match(e + 1, n + 1);
        case kDosDot:
            if (n < end && m_name[n] == '.')
                return match(e + 1, n + 1);
            return n == end && match(e + 1, n);
        case '?':
            return n < end && match(e + 1, n + 1);
        default:
            return n < end && upper(c) == upper(m_name[n]) && match(e + 1, n + 1);
        }
    }

    const std::string& m_expression;
    const std::string& m_name;
    const std::size_t m_lastDot;
    std::vector<char> m_memo;
};

bool name_matches(const std::string& expression, const std::string& name) {
    return Matcher(expression, name).matches();
}

// Names ordered as NTFS lists them: by their upper-case spelling.
bool listed_before(const std::string& a, const std::string& b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i)
        if (upper(a[i]) != upper(b[i]))
            return static_cast<unsigned char>(upper(a[i])) <
                   static_cast<unsigned char>(upper(b[i]));
    return a.size() < b.size();
}

// One search: the matching names, taken at FindFirstFileA, and the
// directory they are looked up in as they are handed out.
struct Search {
    int dirFd = -1;
    std::vector<std::string> names;
    std::size_t next = 0;
    std::mutex lock; // two threads that share a search each get whole records

    Search() = default;
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    ~Search() {
        if (dirFd >= 0)
            sys_close(dirFd);
    }
};

HandleTable<Search>& search_table() {
    static HandleTable<Search> table(0x200000);
    return table;
}

bool list_matches(const HostPath& path, Search& search) {
    const std::string expression = dos_expression(path.name);
    if (!path.parentIsRoot) {
        for (const char* dots : {".", ".."})
            if (name_matches(expression, dots))
                search.names.push_back(dots);
    }
    int listFd = sys_dup(search.dirFd);
    DIR* dir = listFd >= 0 ? sys_fdopendir(listFd) : nullptr;
    if (!dir) {
        fail_errno(errno);
        if (listFd >= 0)
            sys_close(listFd);
        return false;
    }
    std::vector<std::string> found;
    while (dirent* entry = sys_readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == ".." || name.size() >= MAX_PATH)
            continue;
        if (name_matches(expression, name))
            found.push_back(name);
    }
    sys_closedir(dir);
    std::sort(found.begin(), found.end(), listed_before);
    search.names.insert(search.names.end(), found.begin(), found.end());
    return true;
}

// Fills the record for the next name still present; false when none is left.
bool next_entry(Search& search, LPWIN32_FIND_DATAA data) {
    while (search.next < search.names.size()) {
        const std::string& name = search.names[search.next++];
        FileInfo info;
        const char* relative = name == "." ? "" : name.c_str();
        if (!file_info(search.dirFd, relative, name, info))
            continue; // removed since the search started
        std::memset(data, 0, sizeof *data);
        data->dwFileAttributes = info.attributes;
        data->ftCreationTime = info.creation;
        data->ftLastAccessTime = info.lastAccess;
        data->ftLastWriteTime = info.lastWrite;
        data->nFileSizeHigh = static_cast<DWORD>(info.size >> 32);
        data->nFileSizeLow = static_cast<DWORD>(info.size);
        std::memcpy(data->cFileName, name.c_str(), name.size() + 1);
        return true;
    }
    return false;
}

} // namespace

HANDLE FindFirstFileA(LPCSTR lpFileName, LPWIN32_FIND_DATAA lpFindFileData) {
    if (!lpFindFileData) {
        fail(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    HostPath path;
    if (!resolve_path(lpFileName, path, Wildcards::InLastComponent))
        return INVALID_HANDLE_VALUE;
    if (!path.parentFound) {
        fail(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    if (path.isRoot || path.trailingSeparator) {
        fail(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    auto search = std::make_shared<Search>();
    search->dirFd = sys_open(path.parentHost.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (search->dirFd < 0) {
        fail(errno == ENOENT || errno == ENOTDIR ? ERROR_PATH_NOT_FOUND
                                                 : kelwin_error_from_errno(errno));
        return INVALID_HANDLE_VALUE;
    }
    if (!list_matches(path, *search))
        return INVALID_HANDLE_VALUE;
    if (!next_entry(*search, lpFindFileData)) {
        fail(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    return search_table().insert(std::move(search));
}

BOOL FindNextFileA(HANDLE hFindFile, LPWIN32_FIND_DATAA lpFindFileData) {
    auto search = search_table().get(hFindFile);
    if (!search || !lpFindFileData) {
        fail(search ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
        return FALSE;
    }
    std::lock_guard<std::mutex> guard(search->lock);
    if (!next_entry(*search, lpFindFileData)) {
        fail(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    return TRUE;
}

BOOL FindClose(HANDLE hFindFile) {
    if (!search_table().remove(hFindFile)) {
        fail(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

#endif // !_WIN32
