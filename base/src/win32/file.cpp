// File handles on Linux: CreateFileA with Windows' creation dispositions and
// share modes, block I/O, the file pointer, size, truncation and times.
#if !defined(_WIN32)

#include "win32/filehandle.h"
#include "win32/fileinfo.h"
#include "win32/mapping.h"
#include "win32/pathmap.h"
#include "win32/share.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

KELWIN_SYSCALL(open);
KELWIN_SYSCALL(close);
KELWIN_SYSCALL(read);
KELWIN_SYSCALL(write);
KELWIN_SYSCALL(pread);
KELWIN_SYSCALL(pwrite);
KELWIN_SYSCALL(lseek);
KELWIN_SYSCALL(stat);
KELWIN_SYSCALL(fstat);
KELWIN_SYSCALL(ftruncate);
KELWIN_SYSCALL(fsync);

namespace kelwin {
namespace {

constexpr std::uintptr_t kFirstFileHandle = 0x100000;

HandleTable<OpenFile>& file_table() {
    static HandleTable<OpenFile> table(kFirstFileHandle);
    return table;
}

// A copy of each open file's descriptor and access, by slot, readable without
// the table's lock: descriptor + 1 in the low 32 bits (0: no file), then one
// bit each for read, write and directory.
std::atomic<std::uint64_t> g_accessMirror[kMirroredFileHandles];

constexpr std::uint64_t kMirrorRead = 1ull << 32;
constexpr std::uint64_t kMirrorWrite = 1ull << 33;
constexpr std::uint64_t kMirrorDirectory = 1ull << 34;

bool mirror_slot(HANDLE handle, std::size_t& slot) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (value < kFirstFileHandle || (value - kFirstFileHandle) % 4 != 0)
        return false;
    slot = (value - kFirstFileHandle) / 4;
    return slot < kMirroredFileHandles;
}

void mirror_store(HANDLE handle, const OpenFile* file) {
    std::size_t slot = 0;
    if (!mirror_slot(handle, slot))
        return;
    std::uint64_t word = 0;
    if (file) {
        word = static_cast<std::uint32_t>(file->fd + 1);
        word |= file->canRead ? kMirrorRead : 0;
        word |= file->canWrite ? kMirrorWrite : 0;
        word |= file->isDirectory ? kMirrorDirectory : 0;
    }
    g_accessMirror[slot].store(word, std::memory_order_release);
}

bool close_file_handle(HANDLE handle, BOOL* result) {
    mirror_store(handle, nullptr);
    if (!file_table().remove(handle))
        return false;
    *result = TRUE;
    return true;
}

const bool g_closeHookRegistered = (register_close_hook(&close_file_handle), true);

unsigned rights_of(DWORD access) {
    unsigned rights = 0;
    if (access & (GENERIC_READ | GENERIC_ALL | FILE_READ_DATA))
        rights |= kShareRead;
    if (access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA))
        rights |= kShareWrite;
    if (access & (DELETE | GENERIC_ALL))
        rights |= kShareDelete;
    return rights;
}

// A directory opens only with FILE_FLAG_BACKUP_SEMANTICS and only to be
// looked at, as on Windows.
HANDLE open_directory(const HostPath& path, DWORD disposition, DWORD flags) {
    if (disposition == CREATE_NEW)
        return fail_with(ERROR_FILE_EXISTS, INVALID_HANDLE_VALUE);
    if (!(flags & FILE_FLAG_BACKUP_SEMANTICS) || disposition == CREATE_ALWAYS ||
        disposition == TRUNCATE_EXISTING)
        return fail_with(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
    int fd = sys_open(path.host.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return fail_errno_with(errno, INVALID_HANDLE_VALUE);
    auto file = std::make_shared<OpenFile>();
    file->fd = fd;
    file->isDirectory = true;
    HANDLE handle = file_handle_insert(std::move(file));
    SetLastError(disposition == OPEN_ALWAYS ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

// The open(2) access mode for an open: creating over an existing file
// truncates it, which needs write access on the host whatever the caller asked.
int host_access_mode(unsigned rights, DWORD disposition) {
    const bool read = rights & kShareRead;
    const bool write =
        (rights & kShareWrite) || disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (read && write)
        return O_RDWR;
    return write ? O_WRONLY : O_RDONLY;
}

// Opens the file, creating it where the disposition allows; `created` tells
// whether this call made it. -1 with the last error set on failure.
int open_host_file(const HostPath& path, DWORD disposition, int accessMode, bool metadataOnly,
                   mode_t createMode, bool& created) {
    const int flags = accessMode | O_CLOEXEC | O_NOCTTY;
    created = false;
    if (disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) {
        int fd = sys_open(path.host.c_str(), flags | O_CREAT | O_EXCL, createMode);
        if (fd >= 0) {
            created = true;
            return fd;
        }
        if (errno != EEXIST || disposition == CREATE_NEW)
            return fail_with(errno == EEXIST ? ERROR_FILE_EXISTS : kelwin_error_from_errno(errno),
                             -1);
    }
    int fd = sys_open(path.host.c_str(), flags);
    if (fd < 0 && errno == EACCES && metadataOnly && accessMode == O_RDONLY)
        fd = sys_open(path.host.c_str(), O_PATH | O_CLOEXEC); // an open without access
    if (fd < 0)
        fail(errno == ENOENT ? ERROR_FILE_NOT_FOUND : kelwin_error_from_errno(errno));
    return fd;
}

// A readable descriptor of the same open file for its share record: the file
// descriptor itself when it reads, else a second one opened through /proc.
int share_record_fd(int fd, int accessMode) {
    if (accessMode != O_WRONLY)
        return fd;
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    return sys_open(self.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

// Reads until count bytes, the end of the file or an error.
bool read_all(const OpenFile& file, char* buffer, DWORD count, const std::int64_t* offset,
              DWORD& done) {
    done = 0;
    while (done < count) {
        ssize_t n = offset ? sys_pread(file.fd, buffer + done, count - done, *offset + done)
                           : sys_read(file.fd, buffer + done, count - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return fail_errno_with(errno, false);
        if (n == 0)
            break;
        done += static_cast<DWORD>(n);
    }
    return true;
}

bool write_all(const OpenFile& file, const char* buffer, DWORD count, const std::int64_t* offset,
               DWORD& done) {
    done = 0;
    while (done < count) {
        ssize_t n = offset ? sys_pwrite(file.fd, buffer + done, count - done, *offset + done)
                           : sys_write(file.fd, buffer + done, count - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return fail_errno_with(errno, false);
        done += static_cast<DWORD>(n);
    }
    return true;
}

std::int64_t overlapped_offset(const OVERLAPPED& overlapped) {
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(overlapped.OffsetHigh) << 32) |
                                     overlapped.Offset);
}

// A synchronous handle given an OVERLAPPED transfers at its offset and leaves
// the file pointer after the bytes transferred.
void move_pointer_after(const OpenFile& file, std::int64_t offset, DWORD done) {
    sys_lseek(file.fd, offset + done, SEEK_SET);
}

} // namespace

OpenFile::~OpenFile() {
    if (lockFd >= 0 && lockFd != fd)
        sys_close(lockFd);
    if (fd >= 0)
        sys_close(fd);
}

HANDLE file_handle_insert(std::shared_ptr<OpenFile> file) {
    const OpenFile* object = file.get();
    HANDLE handle = file_table().insert(std::move(file));
    mirror_store(handle, object);
    return handle;
}

bool file_handle_access(HANDLE handle, FileAccess& access) {
    std::size_t slot = 0;
    if (mirror_slot(handle, slot)) {
        const std::uint64_t word = g_accessMirror[slot].load(std::memory_order_acquire);
        if (word == 0)
            return fail_with(ERROR_INVALID_HANDLE, false);
        access.fd = static_cast<int>(static_cast<std::uint32_t>(word)) - 1;
        access.canRead = word & kMirrorRead;
        access.canWrite = word & kMirrorWrite;
        access.isDirectory = word & kMirrorDirectory;
        return true;
    }
    if (in_fault_handler())
        return fail_with(ERROR_INVALID_HANDLE, false);
    auto file = file_handle_get(handle);
    if (!file)
        return false;
    access.fd = file->fd;
    access.canRead = file->canRead;
    access.canWrite = file->canWrite;
    access.isDirectory = file->isDirectory;
    return true;
}

std::shared_ptr<OpenFile> file_handle_get(HANDLE handle) {
    auto file = file_table().get(handle);
    if (!file)
        fail(ERROR_INVALID_HANDLE);
    return file;
}

} // namespace kelwin

using namespace kelwin;

HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                   LPSECURITY_ATTRIBUTES, DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes,
                   HANDLE) {
    const DWORD disposition = dwCreationDisposition;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING)
        return fail_with(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    HostPath path;
    if (!resolve_path(lpFileName, path))
        return INVALID_HANDLE_VALUE;
    if (!path.parentFound)
        return fail_with(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
    struct stat st {};
    const bool exists = sys_stat(path.host.c_str(), &st) == 0;
    if (!exists && errno != ENOENT)
        return fail_errno_with(errno, INVALID_HANDLE_VALUE);
    if (exists && S_ISDIR(st.st_mode))
        return open_directory(path, disposition, dwFlagsAndAttributes);
    if (path.trailingSeparator)
        return fail_with(ERROR_INVALID_NAME, INVALID_HANDLE_VALUE);
    if (!exists && (disposition == OPEN_EXISTING || disposition == TRUNCATE_EXISTING))
        return fail_with(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
    if (exists && disposition == CREATE_NEW)
        return fail_with(ERROR_FILE_EXISTS, INVALID_HANDLE_VALUE);

    const bool truncates =
        exists && (disposition == TRUNCATE_EXISTING || disposition == CREATE_ALWAYS);
    if (truncates && st.st_size > 0 && file_is_mapped(st.st_dev, st.st_ino))
        return fail_with(ERROR_USER_MAPPED_FILE, INVALID_HANDLE_VALUE);

    const unsigned rights = rights_of(dwDesiredAccess);
    const int accessMode = host_access_mode(rights, disposition);
    // Windows' read-only attribute refuses writing to everyone, the owner
    // and root included.
    if (exists && !(st.st_mode & S_IWUSR) && accessMode != O_RDONLY)
        return fail_with(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);

    const mode_t createMode = (dwFlagsAndAttributes & FILE_ATTRIBUTE_READONLY) ? 0444 : 0666;
    bool created = false;
    int fd = open_host_file(path, disposition, accessMode, rights == 0, createMode, created);
    if (fd < 0)
        return INVALID_HANDLE_VALUE;
    auto file = std::make_shared<OpenFile>();
    file->fd = fd;
    file->canRead = rights & kShareRead;
    file->canWrite = rights & kShareWrite;
    if (rights) {
        file->lockFd = share_record_fd(fd, accessMode);
        if (file->lockFd >= 0 && !share_claim(file->lockFd, rights, dwShareMode & 7))
            return INVALID_HANDLE_VALUE;
    }
    const bool truncate =
        disposition == TRUNCATE_EXISTING || (disposition == CREATE_ALWAYS && !created);
    if (truncate && sys_ftruncate(fd, 0) != 0)
        return fail_errno_with(errno, INVALID_HANDLE_VALUE);
    HANDLE handle = file_handle_insert(std::move(file));
    const bool reportExisting =
        (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) && !created;
    SetLastError(reportExisting ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
              LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped) {
    if (lpNumberOfBytesRead)
        *lpNumberOfBytesRead = 0;
    auto file = file_handle_get(hFile);
    if (!file)
        return FALSE;
    if (file->isDirectory)
        return fail_with(ERROR_INVALID_FUNCTION, FALSE);
    if (!file->canRead)
        return fail_with(ERROR_ACCESS_DENIED, FALSE);
    std::int64_t offset = lpOverlapped ? overlapped_offset(*lpOverlapped) : 0;
    DWORD done = 0;
    const bool ok = read_all(*file, static_cast<char*>(lpBuffer), nNumberOfBytesToRead,
                             lpOverlapped ? &offset : nullptr, done);
    if (lpNumberOfBytesRead)
        *lpNumberOfBytesRead = done;
    if (!ok)
        return FALSE;
    if (lpOverlapped) {
        move_pointer_after(*file, offset, done);
        if (done == 0 && nNumberOfBytesToRead > 0)
            return fail_with(ERROR_HANDLE_EOF, FALSE);
    }
    return TRUE;
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
               LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped) {
    if (lpNumberOfBytesWritten)
        *lpNumberOfBytesWritten = 0;
    auto file = file_handle_get(hFile);
    if (!file)
        return FALSE;
    if (file->isDirectory)
        return fail_with(ERROR_INVALID_FUNCTION, FALSE);
    if (!file->canWrite)
        return fail_with(ERROR_ACCESS_DENIED, FALSE);
    std::int64_t offset = lpOverlapped ? overlapped_offset(*lpOverlapped) : 0;
    DWORD done = 0;
    const bool ok = write_all(*file, static_cast<const char*>(lpBuffer), nNumberOfBytesToWrite,
                              lpOverlapped ? &offset : nullptr, done);
    if (lpNumberOfBytesWritten)
        *lpNumberOfBytesWritten = done;
    if (ok && lpOverlapped)
        move_pointer_after(*file, offset, done);
    return ok ? TRUE : FALSE;
}

DWORD SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh,
                     DWORD dwMoveMethod) {
    auto file = file_handle_get(hFile);
    if (!file)
        return INVALID_SET_FILE_POINTER;
    // Without a high part the distance is a signed 32-bit value; with one,
    // the two make a signed 64-bit value.
    const std::int64_t distance =
        lpDistanceToMoveHigh
            ? static_cast<std::int64_t>(
                  (static_cast<std::uint64_t>(static_cast<DWORD>(*lpDistanceToMoveHigh)) << 32) |
                  static_cast<DWORD>(lDistanceToMove))
            : static_cast<std::int64_t>(lDistanceToMove);
    std::int64_t base = 0;
    if (dwMoveMethod == FILE_CURRENT) {
        base = sys_lseek(file->fd, 0, SEEK_CUR);
    } else if (dwMoveMethod == FILE_END) {
        struct stat st {};
        base = sys_fstat(file->fd, &st) == 0 ? st.st_size : -1;
    } else if (dwMoveMethod != FILE_BEGIN) {
        return fail_with(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    }
    if (base < 0)
        return fail_errno_with(errno, INVALID_SET_FILE_POINTER);
    std::int64_t position = 0;
    if (__builtin_add_overflow(base, distance, &position) || position < 0)
        return fail_with(ERROR_NEGATIVE_SEEK, INVALID_SET_FILE_POINTER);
    // A caller that passes no high part cannot learn a position beyond 32 bits.
    if (!lpDistanceToMoveHigh && position > 0xFFFFFFFFLL)
        return fail_with(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    if (sys_lseek(file->fd, position, SEEK_SET) < 0)
        return fail_errno_with(errno, INVALID_SET_FILE_POINTER);
    if (lpDistanceToMoveHigh)
        *lpDistanceToMoveHigh = static_cast<LONG>(static_cast<std::uint64_t>(position) >> 32);
    // A position whose low part equals INVALID_SET_FILE_POINTER is told apart
    // from a failure by a last error of 0.
    if (static_cast<DWORD>(position) == INVALID_SET_FILE_POINTER)
        SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(position);
}

DWORD GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh) {
    auto file = file_handle_get(hFile);
    if (!file)
        return INVALID_FILE_SIZE;
    struct stat st {};
    if (sys_fstat(file->fd, &st) != 0)
        return fail_errno_with(errno, INVALID_FILE_SIZE);
    const auto size = static_cast<std::uint64_t>(st.st_size);
    if (lpFileSizeHigh)
        *lpFileSizeHigh = static_cast<DWORD>(size >> 32);
    if (static_cast<DWORD>(size) == INVALID_FILE_SIZE)
        SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(size);
}

BOOL SetEndOfFile(HANDLE hFile) {
    auto file = file_handle_get(hFile);
    if (!file)
        return FALSE;
    if (!file->canWrite)
        return fail_with(ERROR_ACCESS_DENIED, FALSE);
    const off_t position = sys_lseek(file->fd, 0, SEEK_CUR);
    if (position < 0)
        return fail_errno_with(errno, FALSE);
    // A file with a mapping object or a view cannot be made shorter, as on
    // Windows: the pages cut off would fault in the views.
    struct stat st {};
    if (sys_fstat(file->fd, &st) == 0 && position < st.st_size &&
        file_is_mapped(st.st_dev, st.st_ino))
        return fail_with(ERROR_USER_MAPPED_FILE, FALSE);
    if (sys_ftruncate(file->fd, position) != 0)
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE hFile) {
    auto file = file_handle_get(hFile);
    if (!file)
        return FALSE;
    if (!file->canWrite)
        return fail_with(ERROR_ACCESS_DENIED, FALSE);
    if (sys_fsync(file->fd) != 0)
        return fail_errno_with(errno, FALSE);
    return TRUE;
}

BOOL GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                 LPFILETIME lpLastWriteTime) {
    auto file = file_handle_get(hFile);
    if (!file)
        return FALSE;
    FileInfo info;
    if (!file_info(file->fd, "", "", info))
        return fail_errno_with(errno, FALSE);
    if (lpCreationTime)
        *lpCreationTime = info.creation;
    if (lpLastAccessTime)
        *lpLastAccessTime = info.lastAccess;
    if (lpLastWriteTime)
        *lpLastWriteTime = info.lastWrite;
    return TRUE;
}

#endif // !_WIN32
