// Helpers shared by the synchronisation tests.
#ifndef BASEKEL_TESTS_SYNC_SYNCTEST_H
#define BASEKEL_TESTS_SYNC_SYNCTEST_H

#include "kelwin32.h"

#include <atomic>
#include <string>

namespace synctest {

// A name no other test run on this machine uses: named objects are
// system-wide, and test programs of several builds run at the same time.
inline std::string UniqueName(const char* label) {
    static std::atomic<int> counter{0};
    return std::string("basekel-test-") + label + "-" + std::to_string(GetCurrentProcessId()) +
           "-" + std::to_string(counter++);
}

// Long enough for any handshake in a test, short enough that a broken one
// ends the test instead of hanging it.
constexpr DWORD kHandshakeMs = 30000;

} // namespace synctest

#endif
