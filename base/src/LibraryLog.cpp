// The library log as the error stack writes to it. The log file itself is
// not part of the library yet: until it is, texts reach only a test's capture.
#include "LibraryLog.h"

#include <atomic>

#include "TestHooks.h"

namespace {

std::atomic<LibraryLogCapture> s_capture{nullptr};

} // namespace

void WriteLibraryLog(unsigned long level, const TString& text) {
    LibraryLogCapture capture = s_capture.load(std::memory_order_acquire);
    if (capture)
        capture(level, text);
}

LibraryLogCapture SetLibraryLogCapture(LibraryLogCapture capture) {
    return s_capture.exchange(capture, std::memory_order_acq_rel);
}
