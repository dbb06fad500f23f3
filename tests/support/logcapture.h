// A capture of everything the library writes to its log (test programs only:
// it reaches the library's test hooks).
#ifndef BASEKEL_TESTS_LOGCAPTURE_H
#define BASEKEL_TESTS_LOGCAPTURE_H

#include "TestHooks.h"

#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

// Collects the log's texts, from any thread, while the object lives.
class LogCapture {
public:
    struct Line {
        unsigned long level;
        std::string text;
    };

    LogCapture() : m_previous(SetLibraryLogCapture(&Receive)) { Take(); }
    ~LogCapture() { SetLibraryLogCapture(m_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The lines written since the last Take.
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

} // namespace testsupport

#endif
