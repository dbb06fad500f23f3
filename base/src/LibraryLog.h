// The library's own diagnostics (error-stack overflow and traces) on their
// way to the log file.
#ifndef BASEKEL_SRC_LIBRARYLOG_H
#define BASEKEL_SRC_LIBRARYLOG_H

#include "TString.h"

// Writes one text to the library log at the given level, without asking
// whether that level is enabled. Does nothing while there is no log.
void WriteLibraryLog(unsigned long level, const TString& text);

#endif
