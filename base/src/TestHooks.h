// Entry points that exist for the test programs only. They are exported so
// that the programs can reach them; applications have no use for them.
#ifndef BASEKEL_SRC_TESTHOOKS_H
#define BASEKEL_SRC_TESTHOOKS_H

#include <cstddef>

#include "kelexport.h"

// Receives every text written to the library log in addition to the log
// itself. Null stops it. Returns the previous receiver.
typedef void (*LibraryLogCapture)(unsigned long level, const char* text);
BASEKEL_API LibraryLogCapture SetLibraryLogCapture(LibraryLogCapture capture);

// Allocates `bytes` with the library's operator new, so that a failure goes
// through the library's memory-failure handler on every platform (a Windows
// program has a handler of its own). Free the result with ReleaseInLibrary.
BASEKEL_API char* AllocateInLibrary(std::size_t bytes);
BASEKEL_API void ReleaseInLibrary(char* block);

#endif
