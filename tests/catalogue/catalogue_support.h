// Helpers of the message-catalogue tests: message files in a temporary
// directory, a fixture that puts the process-wide catalogue back as it was,
// and a recorder of the catalogue's boxes.
#ifndef BASEKEL_TESTS_CATALOGUE_SUPPORT_H
#define BASEKEL_TESTS_CATALOGUE_SUPPORT_H

#include "MessageSystem.h"
#include "TestHooks.h"
#include "testsupport.h"
#include "win32files.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace cattest {

using testsupport::ReadBytes;

inline std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

inline void WriteText(const std::string& path, const std::string& bytes) {
    ASSERT_TRUE(testsupport::WriteBytes(path, bytes)) << path;
}

inline bool FileExists(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// The index file of a message file: its extension replaced by ".ndx".
inline std::string IndexOf(const std::string& messagePath) {
    return messagePath.substr(0, messagePath.find_last_of('.')) + ".ndx";
}

// One box the catalogue showed.
struct Box {
    std::string text;
    std::string caption;
    unsigned int type;
};

// Records the catalogue's boxes and answers them with `answer`.
class BoxRecorder {
public:
    BoxRecorder() : m_previous(SetMessageBoxHandler(&Receive)) {
        boxes.clear();
        answer = IDOK;
    }
    ~BoxRecorder() { SetMessageBoxHandler(m_previous); }
    BoxRecorder(const BoxRecorder&) = delete;
    BoxRecorder& operator=(const BoxRecorder&) = delete;

    static inline std::vector<Box> boxes;
    static inline int answer = IDOK;

private:
    static int Receive(const char* text, const char* caption, unsigned int type) {
        boxes.push_back(Box{text, caption, type});
        return answer;
    }
    TMessageBoxHandler m_previous;
};

// Every test gets the catalogue back as the library set it up, and records
// boxes instead of showing them.
class CatalogueTest : public ::testing::Test {
protected:
    void TearDown() override {
        SetOemTextProvider(nullptr);
        SetMessageFileCheckInterval(1000);
        SetCatalogueExecutablePath(nullptr);
        RestoreStartupMessageFile();
    }

    // Writes a message file into the temporary directory and makes the
    // catalogue use it.
    std::string UseMessageFile(const std::string& name, const std::string& content) {
        const std::string path = dir.file(name);
        WriteText(path, content);
        SetMessageFileNameAbs(path.c_str());
        return path;
    }

    testsupport::TempDir dir;
    BoxRecorder recorder;
    std::vector<Box>& boxes = BoxRecorder::boxes;
};

} // namespace cattest

#endif
