// The Microsoft C runtime's path functions on Linux, over this layer's DOS
// paths.
#if !defined(_WIN32)

#include "win32/pathmap.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void copy_part(char* out, const char* begin, const char* end) {
    if (!out)
        return;
    std::memcpy(out, begin, static_cast<std::size_t>(end - begin));
    out[end - begin] = '\0';
}

bool fits(const char* begin, const char* end, std::size_t size) {
    return static_cast<std::size_t>(end - begin) < size;
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

// A part too long for its buffer empties every part, as the runtime's
// checked splitting does, rather than writing past a buffer.
void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext) {
    const char* p = path ? path : "";
    const char* end = p + std::strlen(p);
    const char* rest = end - p >= 2 && p[1] == ':' ? p + 2 : p;
    const char* name = rest;
    for (const char* c = rest; c < end; ++c)
        if (*c == '\\' || *c == '/')
            name = c + 1;
    const char* dot = end;
    for (const char* c = name; c < end; ++c)
        if (*c == '.')
            dot = c;
    if (!fits(p, rest, _MAX_DRIVE) || !fits(rest, name, _MAX_DIR) || !fits(name, dot, _MAX_FNAME) ||
        !fits(dot, end, _MAX_EXT)) {
        errno = ERANGE;
        p = rest = name = dot = end;
    }
    copy_part(drive, p, rest);
    copy_part(dir, rest, name);
    copy_part(fname, name, dot);
    copy_part(ext, dot, end);
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
