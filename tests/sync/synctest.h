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

// A last-error value no call under test sets, so that a call which leaves the
// last error alone is noticed.
constexpr DWORD kUntouchedError = 0x2BAD;

} // namespace synctest

// Expects `call` to give `result` and to leave `error` as the last error.
#define EXPECT_RESULT_AND_ERROR(call, result, error)                                               \
    do {                                                                                           \
        SetLastError(synctest::kUntouchedError);                                                   \
        EXPECT_EQ(call, result);                                                                   \
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(error));                                      \
    } while (0)

#endif
