// Helpers of the error-system tests: extra data that counts its live copies,
// and fresh threads with pristine error state.
#ifndef BASEKEL_TESTS_ERRORTEST_H
#define BASEKEL_TESTS_ERRORTEST_H

#include "Error.h"
#include "logcapture.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace errortest {

using testsupport::LogCapture;

inline std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// Extra data that counts how many of its objects exist.
class CountedData : public TErrorData {
public:
    explicit CountedData(int value) : TErrorData(), m_value(value) { ++live; }
    CountedData(const CountedData& other) : TErrorData(), m_value(other.m_value) { ++live; }
    ~CountedData() override { --live; }
    TErrorData* Clone() const override { return new CountedData(*this); }

    static inline std::atomic<int> live{0};
    const int m_value;
};

inline int ValueOf(TErrorData* data) {
    CountedData* counted = dynamic_cast<CountedData*>(data);
    return counted ? counted->m_value : -1;
}

// Runs `body` on a new thread, which starts with an empty stack and a
// pending count of 0 and releases both when it ends.
template <typename Body> void OnFreshThread(Body body) {
    std::thread(body).join();
}

} // namespace errortest

#endif
