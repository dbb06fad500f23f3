// The Microsoft C runtime's path functions on Linux, over this layer's DOS
// paths.
#if !defined(_WIN32)

#include "win32/pathmap.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Copies at most size - 1 characters and a NUL; nothing for a null output.
void copy_part(char* out, std::size_t size, const char* begin, const char* end) {
    if (!out)
        return;
    std::size_t length = static_cast<std::size_t>(end - begin);
    if (length > size - 1)
        length = size - 1;
    std::memcpy(out, begin, length);
    out[length] = '\0';
}

// Hands out a result as the runtime does: into the caller's buffer when it
// fits, into a malloc'ed one of at least minimumSize bytes for a null buffer.
char* hand_out(const std::string& text, char* buffer, std::size_t size, std::size_t minimumSize) {
    if (!buffer) {
        std::size_t allocation = text.size() + 1 > minimumSize ? text.size() + 1 : minimumSize;
        buffer = static_cast<char*>(std::malloc(allocation));
        if (!buffer) {
            errno = ENOMEM;
            return nullptr;
        }
    } else if (text.size() + 1 > size) {
        errno = ERANGE;
        return nullptr;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return buffer;
}

} // namespace

extern "C" {

void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext) {
    const char* p = path ? path : "";
    const char* end = p + std::strlen(p);
    const char* rest = p;
    if (end - p >= 2 && p[1] == ':')
        rest = p + 2;
    copy_part(drive, _MAX_DRIVE, p, rest);
    const char* name = rest;
    for (const char* c = rest; c < end; ++c)
        if (*c == '\\' || *c == '/')
            name = c + 1;
    copy_part(dir, _MAX_DIR, rest, name);
    const char* dot = end;
    for (const char* c = name; c < end; ++c)
        if (*c == '.')
            dot = c;
    copy_part(fname, _MAX_FNAME, name, dot);
    copy_part(ext, _MAX_EXT, dot, end);
}

char* _fullpath(char* absPath, const char* relPath, size_t maxLength) {
    if (!relPath || !*relPath)
        return _getcwd(absPath, static_cast<int>(maxLength));
    std::string full;
    if (!kelwin::full_dos_path(relPath, full)) {
        errno = ENOENT;
        return nullptr;
    }
    return hand_out(full, absPath, maxLength, _MAX_PATH);
}

char* _getcwd(char* buffer, int maxlen) {
    if (buffer && maxlen <= 0) {
        errno = EINVAL;
        return nullptr;
    }
    std::string cwd;
    if (!kelwin::current_dos_directory(cwd)) {
        errno = ENOENT;
        return nullptr;
    }
    return hand_out(cwd, buffer, static_cast<std::size_t>(maxlen > 0 ? maxlen : 0),
                    static_cast<std::size_t>(maxlen > 0 ? maxlen : 0));
}

int _chdir(const char* dirname) {
    if (!dirname) {
        errno = EINVAL;
        return -1;
    }
    if (!SetCurrentDirectoryA(dirname)) {
        errno = ENOENT;
        return -1;
    }
    return 0;
}
}

#endif // !_WIN32
