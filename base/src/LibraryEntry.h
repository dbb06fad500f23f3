// What the library does when it is attached to a process or a thread and
// detached again. The loader's notifications (or their equivalent where the
// platform has none) arrive in src/win32/entry.cpp, which calls these.
#ifndef BASEKEL_SRC_LIBRARYENTRY_H
#define BASEKEL_SRC_LIBRARYENTRY_H

#include "kelwin32.h"

// Process attach: keeps the module handle, installs the memory-failure
// handler, creates the message catalogue and chooses its message file (the
// executable's own when there is one, else the library's), and attaches the
// loading thread.
void BaseProcessAttach(HINSTANCE module);
// Process detach: detaches the calling thread and puts back the memory-failure
// handler that was there before, so that an unloaded library leaves no
// handler behind.
void BaseProcessDetach();
// Thread attach: gives the calling thread its error stack and exception
// record unless it has them. Thread detach releases them.
void BaseThreadAttach();
void BaseThreadDetach();

// The library's own module handle, as given at process attach.
HINSTANCE BaseModuleHandle();

// Called before the library looks at the calling thread's error state.
// Where the loader tells the library about every new thread (Windows) it does
// nothing; elsewhere it attaches the thread on its first use and arranges for
// the thread's detach when it ends. Implemented in src/win32/entry.cpp.
void PlatformThreadFirstUse();

#endif
