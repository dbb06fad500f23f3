// What Windows reports about a file (attributes, times, size), from the host's
// metadata.
#ifndef BASEKEL_SRC_WIN32_FILEINFO_H
#define BASEKEL_SRC_WIN32_FILEINFO_H

#if !defined(_WIN32)

#include "win32/layer.h"

#include <cstdint>
#include <string>

namespace kelwin {

struct FileInfo {
    DWORD attributes = 0;
    FILETIME creation{};
    FILETIME lastAccess{};
    FILETIME lastWrite{};
    std::uint64_t size = 0;
    bool isDirectory = false;
    bool writable = false; // the owner may write: Windows' read-only attribute is clear
};

// The metadata of `path` relative to dirFd (or of dirFd itself with an empty
// path), following symbolic links. `name` is the file's name, which decides
// the hidden attribute (names that begin with '.'). False with errno set.
bool file_info(int dirFd, const char* path, const std::string& name, FileInfo& out);

// 100-nanosecond intervals since 1601-01-01 UTC.
FILETIME filetime_from_unix(std::int64_t seconds, std::uint32_t nanoseconds);

} // namespace kelwin

#endif // !_WIN32
#endif
