// Helpers of the error-system tests: a capture of the library log, extra
// data that counts its live copies, and fresh threads with pristine error
// state.
#ifndef BASEKEL_TESTS_ERRORTEST_H
#define BASEKEL_TESTS_ERRORTEST_H

#include "Error.h"
#include "TestHooks.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace errortest {

inline std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// Everything the library writes to its log while the object lives.
class LogCapture {
public:
    struct Line {
        unsigned long level;
        std::string text;
    };

    LogCapture() {
        Lines().clear();
        m_previous = SetLibraryLogCapture(&Receive);
    }
    ~LogCapture() { SetLibraryLogCapture(m_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> Take() {
        std::lock_guard<std::mutex> guard(Lock());
        std::vector<Line> lines;
        lines.swap(Lines());
        return lines;
    }

private:
    static void Receive(unsigned long level, const char* text) {
        std::lock_guard<std::mutex> guard(Lock());
        Lines().push_back(Line{level, text});
    }
    static std::mutex& Lock() {
        static std::mutex lock;
        return lock;
    }
    static std::vector<Line>& Lines() {
        static std::vector<Line> lines;
        return lines;
    }

    LibraryLogCapture m_previous;
};

// Extra data that counts how many of its objects exist.
class CountedData : public TErrorData {
public:
    explicit CountedData(int value) : TErrorData(), m_value(value) { ++Live(); }
    CountedData(const CountedData& other) : TErrorData(), m_value(other.m_value) { ++Live(); }
    ~CountedData() override { --Live(); }
    TErrorData* Clone() const override { return new CountedData(*this); }

    int Value() const { return m_value; }
    static std::atomic<int>& Live() {
        static std::atomic<int> live{0};
        return live;
    }

private:
    int m_value;
};

inline int ValueOf(TErrorData* data) {
    CountedData* counted = dynamic_cast<CountedData*>(data);
    return counted ? counted->Value() : -1;
}

// Runs `body` on a new thread, which starts with an empty stack and a
// pending count of 0 and releases both when it ends.
template <typename Body> void OnFreshThread(Body body) {
    std::thread thread(body);
    thread.join();
}

} // namespace errortest

#endif
