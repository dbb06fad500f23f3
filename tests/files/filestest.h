// Helpers of the file-class tests: raw file contents in a temporary
// directory, and what a call left on the error stack.
#ifndef BASEKEL_TESTS_FILES_FILESTEST_H
#define BASEKEL_TESTS_FILES_FILESTEST_H

#include "Error.h"
#include "FILE.h"
#include "../filelayer/filetest.h"

#include <string>
#include <vector>

namespace filestest {

using filetest::Dir;
using filetest::Read;
using filetest::Write;
using Strings = std::vector<std::string>;

const std::string kMark("\xFF\xFE", 2);

// Latin-1 text as UTF-16 little-endian bytes.
inline std::string Utf16(const std::string& text) {
    std::string bytes;
    for (char c : text)
        bytes += std::string(1, c) + '\0';
    return bytes;
}

// All lines GetLine gives until it returns 0.
inline Strings Lines(TFile& file, unsigned int maxLen) {
    Strings lines;
    TString line;
    while (file.GetLine(line, maxLen) && lines.size() < 100000)
        lines.push_back(static_cast<const char*>(line));
    return lines;
}

// Whether a call threw, and the entries it left, oldest first, which are
// then removed: codes "3:12 3:4", texts "first text|second text".
struct Raised {
    bool thrown = false;
    std::string codes;
    Strings texts;
};

template <class Call> Raised RaisedBy(Call call) {
    Raised raised;
    try {
        call();
    } catch (const TException&) {
        raised.thrown = true;
        DecrementPendingCount();
    }
    while (GetErrorCount() > 0) {
        const KCInfo top = GetErrorInfo();
        const std::string p2 = static_cast<const char*>(top.GetParam2());
        raised.codes = std::to_string(top.GetOriginCode()) + ":" +
                       std::to_string(top.GetMessageCode()) + (raised.codes.empty() ? "" : " ") +
                       raised.codes;
        raised.texts.insert(raised.texts.begin(), static_cast<const char*>(top.GetParam1()) +
                                                      (p2.empty() ? "" : "|" + p2));
        PopError();
    }
    return raised;
}

} // namespace filestest

#endif
