// The Microsoft C runtime's path functions (msvcrt's _splitpath, _fullpath,
// _getcwd, _chdir), for platforms without it. They work on DOS paths, like
// the rest of this layer, with the runtime's semantics.
#ifndef BASEKEL_WIN32_CRTPATH_H
#define BASEKEL_WIN32_CRTPATH_H

#if !defined(_WIN32)

#include "types.h"

#define _MAX_PATH 260
#define _MAX_DRIVE 3
#define _MAX_DIR 256
#define _MAX_FNAME 256
#define _MAX_EXT 256

extern "C" {

// Splits a path into drive ("c:"), directory (with its trailing separator),
// base name and extension (with its dot). Any output may be null. When a
// part does not fit its _MAX_ size, every part comes out empty and errno is
// ERANGE.
BASEKEL_API void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext);
// The full DOS path of relPath (the current directory for null or ""). A null
// absPath gets a malloc'ed buffer; a result that does not fit maxLength gives
// null with errno ERANGE.
BASEKEL_API char* _fullpath(char* absPath, const char* relPath, size_t maxLength);
// The current directory as a DOS path; a null buffer gets a malloc'ed one of
// at least maxlen bytes. Null with errno ERANGE when it does not fit.
BASEKEL_API char* _getcwd(char* buffer, int maxlen);
// 0, or -1 with errno ENOENT when the directory cannot be entered.
BASEKEL_API int _chdir(const char* dirname);
}

#endif // !_WIN32
#endif
