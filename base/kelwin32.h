// The only door to the Win32 interface. The library is written in Win32 terms:
// on Windows this is <windows.h>; elsewhere it is the library's own
// implementation of the subset it needs (base/win32), with Win32's names,
// constants, error codes and failure points.
#ifndef BASEKEL_KELWIN32_H
#define BASEKEL_KELWIN32_H

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// The C runtime's path functions (_splitpath, _fullpath, _getcwd, _chdir).
#include <direct.h>
#include <stdlib.h>
#else
#include "win32/types.h"
#include "win32/errors.h"
#include "win32/lasterror.h"
#include "win32/codepage.h"
#include "win32/system.h"
#include "win32/gdi.h"
#include "win32/tls.h"
#include "win32/handles.h"
#include "win32/sync.h"
#include "win32/file.h"
#include "win32/find.h"
#include "win32/path.h"
#include "win32/module.h"
#include "win32/environment.h"
#include "win32/crtpath.h"
#include "win32/user.h"
#include "win32/locale.h"
#include "win32/memory.h"
#include "win32/priority.h"
#include "win32/exceptions.h"
#include "win32/threadend.h"
#endif

#endif
