// Helpers shared by the memory-file tests: files in a temporary directory,
// the state of the address space, and which library error a call raised.
#ifndef BASEKEL_TESTS_MEMFILES_MEMTEST_H
#define BASEKEL_TESTS_MEMFILES_MEMTEST_H

#include "Error.h"
#include "kelwin32.h"
#include "testsupport.h"
#include "win32files.h"

#include <string>

namespace memtest {

using testsupport::OpenShared;
using testsupport::ReadBytes;
using testsupport::TempDir;
using testsupport::WriteBytes;

constexpr unsigned long kMiB = 1 << 20;
constexpr unsigned long kStep = 65536; // also the allocation granularity
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

// The catalogue's built-in origins of the file module and of the memory-mapped files.
constexpr int kFileOrigin = 3;
constexpr int kDynamicOrigin = 4;

inline MEMORY_BASIC_INFORMATION Query(const void* address) {
    MEMORY_BASIC_INFORMATION info{};
    VirtualQuery(address, &info, sizeof info);
    return info;
}

inline long StateOf(const void* address) {
    return static_cast<long>(Query(address).State);
}

// How many bytes from `base` on are one mapped view (0 when none is).
inline SIZE_T MappedBytes(const void* base) {
    const MEMORY_BASIC_INFORMATION info = Query(base);
    return info.Type == MEM_MAPPED ? info.RegionSize : 0;
}

// The thread's last error after a call that had to fail; 0 when it did not.
inline long LastErrorIf(bool failed) {
    return failed ? static_cast<long>(GetLastError()) : 0;
}

// The library error that `body` raised (the error stack's top entry): its
// origin and code (-1 and -1 when it raised none), text and first argument.
// Leaves the stack empty and the pending count as it was.
struct Raised {
    int origin = -1;
    int code = -1;
    std::string text;
    std::string argument;
};

template <typename Body> Raised RaisedBy(Body body) {
    Raised raised;
    try {
        body();
    } catch (const TException&) {
        raised.origin = GetErrorOrigin();
        raised.code = GetErrorCode();
        raised.text = static_cast<const char*>(GetErrorString());
        raised.argument = static_cast<const char*>(GetErrorInfo().GetParam1());
        DecrementPendingCount();
    }
    while (GetErrorCount() > 0)
        PopError();
    return raised;
}

template <typename Body> int CodeRaisedBy(Body body) {
    return RaisedBy(body).code;
}

} // namespace memtest

#endif
