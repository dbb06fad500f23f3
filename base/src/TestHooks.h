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

// The message catalogue. SetCatalogueExecutablePath makes the catalogue take
// `path` for the executable (its directory holds "language.lng" and the
// message directory; its name gives the default message file); null goes back
// to the running executable. SetMessageFileCheckInterval sets how many
// milliseconds pass between two looks at whether the message file changed
// (0: at every lookup) and returns the previous value. RebuildMessageIndex
// rebuilds and rewrites the index of the message file in use now (1 when
// the file has an index afterwards). RestoreStartupMessageFile makes the
// choice of the message file again as it is made when the library loads.
BASEKEL_API void SetCatalogueExecutablePath(const char* path);
BASEKEL_API unsigned long SetMessageFileCheckInterval(unsigned long milliseconds);
BASEKEL_API int RebuildMessageIndex();
BASEKEL_API void RestoreStartupMessageFile();

#endif
