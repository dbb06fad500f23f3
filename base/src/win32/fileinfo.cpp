// File attributes and times in Windows' terms.
#if !defined(_WIN32)

#include "win32/fileinfo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

KELWIN_SYSCALL(statx);

namespace kelwin {
namespace {

// Seconds from 1601-01-01 (the FILETIME epoch) to 1970-01-01.
constexpr std::int64_t kEpochDifference = 11644473600LL;

FILETIME filetime_from(const struct statx_timestamp& stamp) {
    return filetime_from_unix(stamp.tv_sec, stamp.tv_nsec);
}

// Linux has no archive bit; files report it as Windows sets it on every new
// or changed file. Dot-files are hidden, as Wine shows them.
DWORD attributes_of(const struct statx& st, const std::string& name) {
    DWORD attributes = 0;
    if (S_ISDIR(st.stx_mode))
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    else
        attributes |= FILE_ATTRIBUTE_ARCHIVE;
    if (!S_ISDIR(st.stx_mode) && !(st.stx_mode & S_IWUSR))
        attributes |= FILE_ATTRIBUTE_READONLY;
    if (name.size() > 1 && name[0] == '.' && name != "..")
        attributes |= FILE_ATTRIBUTE_HIDDEN;
    return attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
}

} // namespace

FILETIME filetime_from_unix(std::int64_t seconds, std::uint32_t nanoseconds) {
    const std::uint64_t ticks =
        static_cast<std::uint64_t>(seconds + kEpochDifference) * 10000000u + nanoseconds / 100u;
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return time;
}

bool file_info(int dirFd, const char* path, const std::string& name, FileInfo& out) {
    struct statx st {};
    const int flags = *path ? 0 : AT_EMPTY_PATH;
    if (sys_statx(dirFd, path, flags, STATX_BASIC_STATS | STATX_BTIME, &st) != 0)
        return false;
    out.attributes = attributes_of(st, name);
    out.isDirectory = S_ISDIR(st.stx_mode);
    out.writable = (st.stx_mode & S_IWUSR) != 0;
    out.size = S_ISDIR(st.stx_mode) ? 0 : st.stx_size;
    out.lastAccess = filetime_from(st.stx_atime);
    out.lastWrite = filetime_from(st.stx_mtime);
    // Without a birth time the last change of the contents stands in for it.
    out.creation = filetime_from((st.stx_mask & STATX_BTIME) ? st.stx_btime : st.stx_mtime);
    return true;
}

} // namespace kelwin

#endif // !_WIN32
