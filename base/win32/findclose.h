// FindClose for platforms without <windows.h>, which the handle owner
// TFindHandle needs. The directory-search service declares and defines it
// with its search handles; until then no search handle exists here.
#ifndef BASEKEL_WIN32_FINDCLOSE_H
#define BASEKEL_WIN32_FINDCLOSE_H

#if !defined(_WIN32)

#include "types.h"

WINBASEAPI BOOL FindClose(HANDLE hFindFile);

#endif // !_WIN32
#endif
