// Helpers shared by the files of the Linux platform layer.
#ifndef BASEKEL_SRC_WIN32_LAYER_H
#define BASEKEL_SRC_WIN32_LAYER_H

#if !defined(_WIN32)

#include "kelwin32.h"
#include "win32/syscalls.h"

namespace kelwin {

// Sets the calling thread's last error to `code` and returns it.
DWORD fail(DWORD code);

// Sets the last error to the Win32 translation of an errno value.
DWORD fail_errno(int errnum);

} // namespace kelwin

#endif // !_WIN32
#endif
