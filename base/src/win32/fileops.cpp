// File-system operations on Linux with Windows' results: attributes, copy,
// move, delete, directories and temporary file names.
#if !defined(_WIN32)

#include "win32/filehandle.h"
#include "win32/fileinfo.h"
#include "win32/pathmap.h"
#include "win32/share.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

KELWIN_SYSCALL(open);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(read);
KELWIN_SYSCALL(write);
KELWIN_SYSCALL(stat);
KELWIN_SYSCALL(fstat);
KELWIN_SYSCALL(chmod);
KELWIN_SYSCALL(fchmod);
KELWIN_SYSCALL(futimens);
KELWIN_SYSCALL(unlink);
KELWIN_SYSCALL(mkdir);
KELWIN_SYSCALL(rmdir);
KELWIN_SYSCALL(rename);
KELWIN_SYSCALL(renameat2);

using namespace kelwin;

namespace {

// The path's metadata; false with the Windows error for a missing path set.
bool stat_existing(const HostPath& path, struct stat& st) {
    if (!path.parentFound)
        return fail_with(ERROR_PATH_NOT_FOUND, false);
    if (sys_stat(path.host.c_str(), &st) == 0)
        return true;
    return fail_with(errno == ENOENT ? missing_error(path) : kelwin_error_from_errno(errno), false);
}

// Resolves the name a caller gave and reads the metadata of that existing
// path; false with the last error set.
bool stat_named(LPCSTR name, HostPath& path, struct stat& st) {
    return resolve_path(name, path) && stat_existing(path, st);
}

// Whether some open of the file refuses to share `right` with others. A file
// the process cannot open to look carries no record it could see.
bool sharing_refused(const std::string& host, unsigned right) {
    int fd = sys_open(host.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return false;
    const bool refused = share_refused(fd, right);
    sys_close(fd);
    return refused;
}

bool read_only(const struct stat& st) {
    return !S_ISDIR(st.st_mode) && !(st.st_mode & S_IWUSR);
}

bool same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Copies the contents, permissions and last-write time of one open file to
// another; false with the last error set.
bool copy_contents(int from, int to) {
    std::vector<char> buffer(1 << 16);
    for (;;) {
        ssize_t n = sys_read(from, buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return fail_errno_with(errno, false);
        if (n == 0)
            break;
        for (ssize_t done = 0; done < n;) {
            ssize_t written = sys_write(to, buffer.data() + done, static_cast<size_t>(n - done));
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0)
                return fail_errno_with(errno, false);
            done += written;
        }
    }
    struct stat st {};
    if (sys_fstat(from, &st) == 0) {
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        sys_futimens(to, times);
        sys_fchmod(to, st.st_mode & 0777);
    }
    return true;
}

// MoveFileExA with MOVEFILE_COPY_ALLOWED across file systems: copy, then
// delete the source.
BOOL move_by_copy(LPCSTR from, LPCSTR to, DWORD flags) {
    if (!CopyFileA(from, to, (flags & MOVEFILE_REPLACE_EXISTING) ? FALSE : TRUE))
        return FALSE;
    return DeleteFileA(from);
}

// Renames without replacing an existing target; where the file system
// cannot promise that, checks first.
int rename_no_replace(const std::string& from, const std::string& to) {
    if (sys_renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    struct stat st {};
    if (sys_stat(to.c_str(), &st) == 0)
        return EEXIST;
    return sys_rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

std::string host_child(const std::string& dir, const std::string& name) {
    return dir == "/" ? "/" + name : dir + "/" + name;
}

// The number GetTempFileNameA starts from when it picks one: the clock's
// low 16 bits, kept away from the numbers it used just before.
std::atomic<unsigned> g_lastUniqueNumber{0};

unsigned first_unique_number() {
    unsigned number = GetTickCount() & 0xFFFF;
    const unsigned previous = g_lastUniqueNumber.load();
    if (previous - number < 10)
        number = previous + 1;
    number &= 0xFFFF;
    return number ? number : 1;
}

std::string temp_file_name(const std::string& base, unsigned number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%X", number);
    return base + digits + ".tmp";
}

} // namespace

DWORD GetFileAttributesA(LPCSTR lpFileName) {
    HostPath path;
    struct stat st {};
    if (!stat_named(lpFileName, path, st))
        return INVALID_FILE_ATTRIBUTES;
    if (path.trailingSeparator && !S_ISDIR(st.st_mode))
        return fail_with(ERROR_PATH_NOT_FOUND, INVALID_FILE_ATTRIBUTES);
    FileInfo info;
    if (!file_info(AT_FDCWD, path.host.c_str(), path.isRoot ? "" : path.name, info))
        return fail_errno_with(errno, INVALID_FILE_ATTRIBUTES);
    return info.attributes;
}

BOOL SetFileAttributesA(LPCSTR lpFileName, DWORD dwFileAttributes) {
    HostPath path;
    struct stat st {};
    if (!stat_named(lpFileName, path, st))
        return FALSE;
    if (S_ISDIR(st.st_mode))
        return TRUE;
    mode_t mode = st.st_mode & 07777;
    if (dwFileAttributes & FILE_ATTRIBUTE_READONLY)
        mode &= ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH);
    else if (!(mode & S_IWUSR))
        mode |= S_IWUSR | ((mode & S_IRGRP) ? S_IWGRP : 0);
    if (mode != (st.st_mode & 07777) && sys_chmod(path.host.c_str(), mode) != 0)
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

BOOL CopyFileA(LPCSTR lpExistingFileName, LPCSTR lpNewFileName, BOOL bFailIfExists) {
    HANDLE from = CreateFileA(lpExistingFileName, GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (from == INVALID_HANDLE_VALUE)
        return FALSE;
    HANDLE to =
        CreateFileA(lpNewFileName, GENERIC_WRITE, 0, nullptr,
                    bFailIfExists ? CREATE_NEW : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (to == INVALID_HANDLE_VALUE) {
        DWORD error = GetLastError();
        CloseHandle(from);
        return fail_with(error, FALSE);
    }
    auto source = file_handle_get(from);
    auto target = file_handle_get(to);
    const bool copied = source && target && copy_contents(source->fd, target->fd);
    DWORD error = GetLastError();
    source.reset();
    target.reset();
    CloseHandle(from);
    CloseHandle(to);
    if (!copied) {
        DeleteFileA(lpNewFileName); // no half-copied file is left behind
        return fail_with(error, FALSE);
    }
    return TRUE;
}

BOOL DeleteFileA(LPCSTR lpFileName) {
    HostPath path;
    struct stat st {};
    if (!stat_named(lpFileName, path, st))
        return FALSE;
    if (S_ISDIR(st.st_mode) || read_only(st))
        return fail_with(ERROR_ACCESS_DENIED, FALSE);
    if (sharing_refused(path.host, kShareDelete))
        return fail_with(ERROR_SHARING_VIOLATION, FALSE);
    if (sys_unlink(path.host.c_str()) != 0)
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

BOOL MoveFileExA(LPCSTR lpExistingFileName, LPCSTR lpNewFileName, DWORD dwFlags) {
    if (!lpNewFileName || (dwFlags & MOVEFILE_DELAY_UNTIL_REBOOT))
        return fail_with(ERROR_INVALID_PARAMETER, FALSE);
    HostPath from;
    HostPath to;
    if (!resolve_path(lpExistingFileName, from) || !resolve_path(lpNewFileName, to))
        return FALSE;
    struct stat source {};
    if (!stat_existing(from, source))
        return FALSE;
    if (!to.parentFound)
        return fail_with(ERROR_PATH_NOT_FOUND, FALSE);
    if (sharing_refused(from.host, kShareDelete))
        return fail_with(ERROR_SHARING_VIOLATION, FALSE);

    struct stat target {};
    int err = 0;
    if (sys_stat(to.host.c_str(), &target) == 0) {
        if (same_file(source, target)) {
            // The same file under another spelling: a change of case only.
            const std::string renamed = host_child(to.parentHost, to.name);
            err = sys_rename(from.host.c_str(), renamed.c_str()) == 0 ? 0 : errno;
        } else if (!(dwFlags & MOVEFILE_REPLACE_EXISTING)) {
            return fail_with(ERROR_ALREADY_EXISTS, FALSE);
        } else if (S_ISDIR(target.st_mode) || S_ISDIR(source.st_mode) || read_only(target) ||
                   sharing_refused(to.host, kShareDelete)) {
            return fail_with(ERROR_ACCESS_DENIED, FALSE);
        } else {
            err = sys_rename(from.host.c_str(), to.host.c_str()) == 0 ? 0 : errno;
        }
    } else {
        err = rename_no_replace(from.host, to.host);
    }
    if (err == EXDEV && (dwFlags & MOVEFILE_COPY_ALLOWED) && !S_ISDIR(source.st_mode))
        return move_by_copy(lpExistingFileName, lpNewFileName, dwFlags);
    if (err == EEXIST)
        return fail_with(ERROR_ALREADY_EXISTS, FALSE);
    if (err)
        return fail_errno_with(err, FALSE);
    return TRUE;
}

BOOL CreateDirectoryA(LPCSTR lpPathName, LPSECURITY_ATTRIBUTES) {
    HostPath path;
    if (!resolve_path(lpPathName, path))
        return FALSE;
    if (!path.parentFound)
        return fail_with(ERROR_PATH_NOT_FOUND, FALSE);
    struct stat st {};
    if (path.isRoot || sys_stat(path.host.c_str(), &st) == 0)
        return fail_with(ERROR_ALREADY_EXISTS, FALSE);
    if (sys_mkdir(path.host.c_str(), 0777) != 0)
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

BOOL RemoveDirectoryA(LPCSTR lpPathName) {
    HostPath path;
    struct stat st {};
    if (!stat_named(lpPathName, path, st))
        return FALSE;
    if (!S_ISDIR(st.st_mode))
        return fail_with(ERROR_DIRECTORY, FALSE);
    // Windows keeps the current directory open without sharing its deletion.
    struct stat cwd {};
    if (sys_stat(".", &cwd) == 0 && same_file(st, cwd))
        return fail_with(ERROR_SHARING_VIOLATION, FALSE);
    if (sys_rmdir(path.host.c_str()) != 0)
        return fail_with(errno == ENOTEMPTY || errno == EEXIST ? ERROR_DIR_NOT_EMPTY
                                                               : kelwin_error_from_errno(errno),
                         FALSE);
    return TRUE;
}

UINT GetTempFileNameA(LPCSTR lpPathName, LPCSTR lpPrefixString, UINT uUnique,
                      LPSTR lpTempFileName) {
    if (!lpPathName || !lpTempFileName)
        return fail_with(ERROR_INVALID_PARAMETER, 0);
    std::string base = lpPathName;
    if (base.empty() || (base.back() != '\\' && base.back() != '/'))
        base += '\\';
    if (lpPrefixString)
        base += std::string(lpPrefixString).substr(0, 3);
    // Room for four hex digits, ".tmp" and the NUL within MAX_PATH.
    if (base.size() + 4 + 4 + 1 > MAX_PATH)
        return fail_with(ERROR_BUFFER_OVERFLOW, 0);
    unsigned number = uUnique & 0xFFFF;
    if (number) {
        std::strcpy(lpTempFileName, temp_file_name(base, number).c_str());
        return number;
    }
    const DWORD attributes = GetFileAttributesA(lpPathName);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return fail_with(ERROR_DIRECTORY, 0);
    const unsigned first = first_unique_number();
    number = first;
    do {
        const std::string name = temp_file_name(base, number);
        HANDLE file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
            g_lastUniqueNumber.store(number);
            std::strcpy(lpTempFileName, name.c_str());
            return number;
        }
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_EXISTS && error != ERROR_SHARING_VIOLATION)
            return 0;
        number = (number & 0xFFFF) == 0xFFFF ? 1 : number + 1;
    } while (number != first);
    return 0;
}

#endif // !_WIN32
