// Stand-in for FindClose until the directory-search service (FindFirstFileA,
// FindNextFileA, FindClose) is part of the layer: there are no search handles
// yet, so every value is invalid. Remove this file with that service's arrival.
#if !defined(_WIN32)

#include "win32/layer.h"

BOOL FindClose(HANDLE) {
    kelwin::fail(ERROR_INVALID_HANDLE);
    return FALSE;
}

#endif // !_WIN32
