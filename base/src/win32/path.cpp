// DOS paths on Linux: drive mapping, normalisation, case-insensitive lookup,
// the current directory, the temporary directory and drive types.
#if !defined(_WIN32)

#include "win32/pathmap.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

KELWIN_SYSCALL(stat);
KELWIN_SYSCALL(opendir);
KELWIN_SYSCALL(readdir);
KELWIN_SYSCALL(closedir);
KELWIN_SYSCALL(getcwd);
KELWIN_SYSCALL(chdir);
KELWIN_SYSCALL(realpath);

namespace kelwin {
namespace {

constexpr int kDriveCount = 26;

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The host directories of the drives, from the environment at the time of
// the call (so that a program may change the mapping as it runs):
// BASEKEL_DRIVE_<letter> maps one drive; C: defaults to BASEKEL_DRIVE_ROOT
// or "/". When no drive maps "/", the last letter left unmapped does, so that
// every host path has a DOS spelling.
struct Drives {
    std::string root[kDriveCount];
};

std::string normalised_root(const char* value) {
    char resolved[PATH_MAX];
    if (sys_realpath(value, resolved))
        return resolved;
    std::string root = value;
    while (root.size() > 1 && root.back() == '/')
        root.pop_back();
    return root;
}

Drives current_drives() {
    Drives drives;
    for (int i = 0; i < kDriveCount; ++i) {
        char name[] = "BASEKEL_DRIVE_X";
        name[sizeof name - 2] = static_cast<char>('A' + i);
        const char* value = std::getenv(name);
        if (value && *value)
            drives.root[i] = normalised_root(value);
    }
    std::string& c = drives.root['C' - 'A'];
    if (c.empty()) {
        const char* value = std::getenv("BASEKEL_DRIVE_ROOT");
        c = value && *value ? normalised_root(value) : "/";
    }
    for (const auto& root : drives.root)
        if (root == "/")
            return drives;
    for (int i = kDriveCount - 1; i >= 0; --i) {
        if (drives.root[i].empty()) {
            drives.root[i] = "/";
            break;
        }
    }
    return drives;
}

// A DOS path split into its root ("C:\" or "\\server\share\") and its
// components.
struct DosPath {
    std::string root;
    bool unc = false;
    std::vector<std::string> parts;
    bool trailing = false;

    std::string text() const {
        std::string out = root;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (i)
                out += '\\';
            out += parts[i];
        }
        if (trailing && !parts.empty())
            out += '\\';
        return out;
    }
};

// Applies the components of `rest` to `path` as Windows normalises them.
void append_components(DosPath& path, const std::string& rest) {
    std::size_t start = 0;
    path.trailing = false;
    while (start <= rest.size()) {
        std::size_t end = rest.find('\\', start);
        if (end == std::string::npos)
            end = rest.size();
        std::string part = rest.substr(start, end - start);
        const bool last = end == rest.size();
        if (part == "..") {
            if (!path.parts.empty())
                path.parts.pop_back();
        } else if (part != ".") {
            while (!part.empty() && (part.back() == '.' || part.back() == ' '))
                part.pop_back();
            if (!part.empty())
                path.parts.push_back(part);
            else if (last && end > start)
                path.trailing = true; // a last component of dots and spaces only
        }
        if (last) {
            if (part.empty() && end == start && start > 0)
                path.trailing = true; // the text ends with a separator
            break;
        }
        start = end + 1;
    }
}

bool parse_dos(const char* text, DosPath& out);

bool current_dos_path(DosPath& out) {
    std::string cwd;
    if (!current_dos_directory(cwd))
        return false;
    return parse_dos(cwd.c_str(), out);
}

bool parse_dos(const char* text, DosPath& out) {
    std::string s = text;
    for (auto& c : s)
        if (c == '/')
            c = '\\';
    if (s.compare(0, 4, "\\\\?\\") == 0)
        s.erase(0, 4);
    out = DosPath();
    std::string rest;
    if (s.size() >= 2 && s[0] == '\\' && s[1] == '\\') {
        // \\server\share\rest: ".." stops at the share.
        std::size_t server = s.find('\\', 2);
        std::size_t share = server == std::string::npos ? server : s.find('\\', server + 1);
        out.unc = true;
        out.root = share == std::string::npos ? s + "\\" : s.substr(0, share + 1);
        rest = share == std::string::npos ? std::string() : s.substr(share + 1);
    } else if (s.size() >= 2 && is_letter(s[0]) && s[1] == ':') {
        if (s.size() >= 3 && s[2] == '\\') {
            out.root = s.substr(0, 2) + "\\";
            rest = s.substr(3);
        } else {
            // "X:name" is relative to the current directory when that is on
            // drive X:, else to the drive's root.
            DosPath cwd;
            if (!current_dos_path(cwd))
                return false;
            if (upper(cwd.root[0]) == upper(s[0]))
                out = cwd;
            else
                out.root = std::string(1, upper(s[0])) + ":\\";
            rest = s.substr(2);
        }
    } else {
        if (!current_dos_path(out))
            return false;
        if (!s.empty() && s[0] == '\\') {
            out.parts.clear();
            rest = s.substr(1);
        } else {
            rest = s;
        }
    }
    out.trailing = false;
    if (!rest.empty())
        append_components(out, rest);
    return true;
}

std::string join_host(const std::string& dir, const std::string& name) {
    return dir == "/" ? "/" + name : dir + "/" + name;
}

// The entry of `dir` whose name equals `name` without regard to case; of
// several, the first in byte order, so that the choice does not depend on
// the order of the directory.
bool find_without_case(const std::string& dir, const std::string& name, std::string& found) {
    DIR* stream = sys_opendir(dir.c_str());
    if (!stream)
        return false;
    bool any = false;
    while (dirent* entry = sys_readdir(stream)) {
        std::string candidate = entry->d_name;
        if (same_name(candidate, name) && (!any || candidate < found)) {
            found = candidate;
            any = true;
        }
    }
    sys_closedir(stream);
    return any;
}

bool is_forbidden(char c) {
    return static_cast<unsigned char>(c) < 0x20 || std::strchr("<>:\"|?*", c) != nullptr;
}

bool is_wildcard(char c) {
    return std::strchr("*?<>\"", c) != nullptr;
}

bool valid_components(const DosPath& path, Wildcards wildcards) {
    for (std::size_t i = 0; i < path.parts.size(); ++i) {
        const bool patternAllowed =
            wildcards == Wildcards::InLastComponent && i + 1 == path.parts.size();
        for (char c : path.parts[i])
            if (is_forbidden(c) && !(patternAllowed && is_wildcard(c)))
                return false;
    }
    return true;
}

bool has_wildcard(const std::string& name) {
    for (char c : name)
        if (is_wildcard(c))
            return true;
    return false;
}

// Walks the components from the drive's root, taking each as spelled when it
// exists and otherwise looking it up without regard to case.
void resolve_components(const std::string& root, const DosPath& path, HostPath& out) {
    std::string current = root;
    out.parentHost = root;
    for (std::size_t i = 0; i < path.parts.size(); ++i) {
        const std::string& part = path.parts[i];
        const bool last = i + 1 == path.parts.size();
        if (last) {
            out.parentHost = current;
            out.name = part;
        }
        std::string spelled = join_host(current, part);
        if (!out.parentFound) {
            current = spelled;
            continue;
        }
        struct stat st {};
        int rc = sys_stat(spelled.c_str(), &st);
        int err = rc == 0 ? 0 : errno;
        std::string match;
        if (rc != 0 && err == ENOENT && !(last && has_wildcard(part)) &&
            find_without_case(current, part, match)) {
            spelled = join_host(current, match);
            rc = sys_stat(spelled.c_str(), &st);
            err = rc == 0 ? 0 : errno;
        }
        current = spelled;
        if (last)
            break;
        if ((rc == 0 && !S_ISDIR(st.st_mode)) || err == ENOENT || err == ENOTDIR)
            out.parentFound = false;
    }
    out.host = current;
}

// Parses a name a caller gave; an empty or missing name is a path not found.
bool parse_given(const char* text, DosPath& path) {
    if (!text || !*text)
        return fail_with(ERROR_PATH_NOT_FOUND, false);
    return parse_dos(text, path);
}

} // namespace

bool same_name(const std::string& a, const std::string& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (upper(a[i]) != upper(b[i]))
            return false;
    return true;
}

bool full_dos_path(const char* text, std::string& out) {
    DosPath path;
    if (!parse_given(text, path))
        return false;
    out = path.text();
    return true;
}

bool resolve_path(const char* text, HostPath& out, Wildcards wildcards) {
    out = HostPath();
    DosPath path;
    if (!parse_given(text, path))
        return false;
    if (path.unc)
        return fail_with(ERROR_BAD_NETPATH, false);
    if (!valid_components(path, wildcards))
        return fail_with(ERROR_INVALID_NAME, false);
    const std::string& root = current_drives().root[upper(path.root[0]) - 'A'];
    if (root.empty())
        return fail_with(ERROR_PATH_NOT_FOUND, false);
    out.dos = path.text();
    out.isRoot = path.parts.empty();
    out.parentIsRoot = path.parts.size() == 1;
    out.trailingSeparator = path.trailing;
    resolve_components(root, path, out);
    return true;
}

DWORD missing_error(const HostPath& path) {
    return path.parentFound ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

std::string dos_from_host(const std::string& hostPath) {
    Drives drives = current_drives();
    int best = -1;
    std::size_t bestLength = 0;
    for (int i = 0; i < kDriveCount; ++i) {
        const std::string& root = drives.root[i];
        if (root.empty())
            continue;
        const bool contains = root == "/" || hostPath == root ||
                              (hostPath.compare(0, root.size(), root) == 0 &&
                               hostPath.size() > root.size() && hostPath[root.size()] == '/');
        if (contains && (best < 0 || root.size() > bestLength)) {
            best = i;
            bestLength = root.size();
        }
    }
    if (best < 0)
        return std::string();
    std::string rest = hostPath.substr(drives.root[best] == "/" ? 0 : bestLength);
    std::string out = std::string(1, static_cast<char>('A' + best)) + ":";
    for (char c : rest)
        out += c == '/' ? '\\' : c;
    while (out.size() > 3 && out.back() == '\\')
        out.pop_back();
    if (out.size() == 2)
        out += '\\';
    return out;
}

bool current_dos_directory(std::string& out) {
    std::vector<char> buffer(PATH_MAX);
    while (!sys_getcwd(buffer.data(), buffer.size())) {
        if (errno != ERANGE)
            return fail_errno_with(errno, false);
        buffer.resize(buffer.size() * 2);
    }
    out = dos_from_host(buffer.data());
    return true;
}

DWORD copy_text_out(const std::string& text, LPSTR buffer, DWORD size) {
    const auto length = static_cast<DWORD>(text.size());
    if (!buffer || size <= length)
        return length + 1;
    std::memcpy(buffer, text.c_str(), length + 1);
    return length;
}

} // namespace kelwin

DWORD GetFullPathNameA(LPCSTR lpFileName, DWORD nBufferLength, LPSTR lpBuffer, LPSTR* lpFilePart) {
    if (!lpFileName) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (!*lpFileName)
        return 0;
    std::string full;
    if (!kelwin::full_dos_path(lpFileName, full))
        return 0;
    DWORD n = kelwin::copy_text_out(full, lpBuffer, nBufferLength);
    if (lpFilePart && n == full.size()) {
        std::size_t slash = full.rfind('\\');
        *lpFilePart = slash + 1 < full.size() ? lpBuffer + slash + 1 : nullptr;
    }
    return n;
}

DWORD GetCurrentDirectoryA(DWORD nBufferLength, LPSTR lpBuffer) {
    std::string cwd;
    if (!kelwin::current_dos_directory(cwd))
        return 0;
    return kelwin::copy_text_out(cwd, lpBuffer, nBufferLength);
}

BOOL SetCurrentDirectoryA(LPCSTR lpPathName) {
    kelwin::HostPath path;
    if (!kelwin::resolve_path(lpPathName, path))
        return FALSE;
    struct stat st {};
    if (sys_stat(path.host.c_str(), &st) != 0) {
        kelwin::fail(errno == ENOENT ? kelwin::missing_error(path)
                                     : kelwin_error_from_errno(errno));
        return FALSE;
    }
    if (!S_ISDIR(st.st_mode)) {
        kelwin::fail(ERROR_DIRECTORY);
        return FALSE;
    }
    if (sys_chdir(path.host.c_str()) != 0) {
        kelwin::fail_errno(errno);
        return FALSE;
    }
    return TRUE;
}

DWORD GetTempPathA(DWORD nBufferLength, LPSTR lpBuffer) {
    const char* dir = "/tmp";
    for (const char* name : {"TMP", "TEMP", "TMPDIR"}) {
        const char* value = std::getenv(name);
        if (value && *value) {
            dir = value;
            break;
        }
    }
    // TMPDIR and the like hold host paths; TMP and TEMP may hold either.
    const std::string dos = dir[0] == '/' ? kelwin::dos_from_host(dir) : std::string(dir);
    std::string full;
    if (!kelwin::full_dos_path(dos.c_str(), full))
        return 0;
    if (full.back() != '\\')
        full += '\\';
    return kelwin::copy_text_out(full, lpBuffer, nBufferLength);
}

UINT GetDriveTypeA(LPCSTR lpRootPathName) {
    char letter = 0;
    if (!lpRootPathName) {
        std::string cwd;
        if (!kelwin::current_dos_directory(cwd))
            return DRIVE_NO_ROOT_DIR;
        letter = cwd[0];
    } else {
        const std::string root = lpRootPathName;
        const bool driveRoot =
            root.size() >= 2 && kelwin::is_letter(root[0]) && root[1] == ':' &&
            (root.size() == 2 || (root.size() == 3 && (root[2] == '\\' || root[2] == '/')));
        if (!driveRoot)
            return DRIVE_NO_ROOT_DIR;
        letter = root[0];
    }
    const std::string& host = kelwin::current_drives().root[kelwin::upper(letter) - 'A'];
    struct stat st {};
    if (host.empty() || sys_stat(host.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return DRIVE_NO_ROOT_DIR;
    return DRIVE_FIXED;
}

#endif // !_WIN32
