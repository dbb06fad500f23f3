// Helpers of the message-catalogue tests: message files in a temporary
// directory, a fixture that puts the process-wide catalogue back as it was,
// and a recorder of the catalogue's boxes.
#ifndef BASEKEL_TESTS_CATALOGUE_SUPPORT_H
#define BASEKEL_TESTS_CATALOGUE_SUPPORT_H

#include "MessageSystem.h"
#include "TestHooks.h"
#include "testsupport.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace cattest {

inline std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// Files are written and read with the Win32 calls, which take the DOS paths
// the library hands out on every platform.
inline void WriteText(const std::string& path, const std::string& bytes) {
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                              nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << path;
    DWORD written = 0;
    const BOOL ok =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
    ASSERT_TRUE(ok && written == bytes.size()) << path;
}

inline std::string ReadText(const std::string& path) {
    HANDLE file = CreateFileA(path.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    std::string text;
    if (file == INVALID_HANDLE_VALUE)
        return text;
    char buffer[65536];
    DWORD n = 0;
    while (ReadFile(file, buffer, sizeof buffer, &n, nullptr) && n > 0)
        text.append(buffer, n);
    CloseHandle(file);
    return text;
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

// Records the catalogue's boxes and answers them with `Answer()`.
class BoxRecorder {
public:
    BoxRecorder() {
        Boxes().clear();
        Answer() = IDOK;
        m_previous = SetMessageBoxHandler(&Receive);
    }
    ~BoxRecorder() { SetMessageBoxHandler(m_previous); }
    BoxRecorder(const BoxRecorder&) = delete;
    BoxRecorder& operator=(const BoxRecorder&) = delete;

    static std::vector<Box>& Boxes() {
        static std::vector<Box> boxes;
        return boxes;
    }
    static int& Answer() {
        static int answer = IDOK;
        return answer;
    }

private:
    static int Receive(const char* text, const char* caption, unsigned int type) {
        Boxes().push_back(Box{text, caption, type});
        return Answer();
    }
    TMessageBoxHandler m_previous;
};

// The texts written to the library log while the object lives.
class LogCapture {
public:
    LogCapture() {
        Lines().clear();
        m_previous = SetLibraryLogCapture(&Receive);
    }
    ~LogCapture() { SetLibraryLogCapture(m_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    static std::vector<std::string>& Lines() {
        static std::vector<std::string> lines;
        return lines;
    }

private:
    static void Receive(unsigned long, const char* text) { Lines().push_back(text); }
    LibraryLogCapture m_previous;
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
    BoxRecorder boxes;
};

} // namespace cattest

#endif
