// DOS paths: the C runtime's path functions, full paths, the current
// directory, lookup without regard to case and the mapping of drives.
#include "filetest.h"
#include "scopedenv.h"

#include <cerrno>
#include <cstdlib>
#include <vector>

#if !defined(_WIN32)
#include <unistd.h>
#endif

using namespace filetest;
using testsupport::ScopedEnv;

namespace {

TEST(SplitPath, SplitsAsTheMicrosoftRuntime) {
    const std::string longName(400, 'n');
    const struct {
        std::string path;
        const char *drive, *dir, *name, *ext;
    } cases[] = {
        {"c:\\a\\b.c.d", "c:", "\\a\\", "b.c", ".d"},
        {"\\\\srv\\sh\\f.x", "", "\\\\srv\\sh\\", "f", ".x"},
        {"a/b/.profile", "", "a/b/", "", ".profile"},
        {"dir.x\\file", "", "dir.x\\", "file", ""},
        {"x:", "x:", "", "", ""},
        {"noext", "", "", "noext", ""},
        {"c:\\a\\", "c:", "\\a\\", "", ""},
        {":x", "", "", ":x", ""},
        {"", "", "", "", ""},
        // A part longer than its buffer empties every part instead of overflowing.
        {"c:\\" + longName + "\\f.x", "", "", "", ""},
        {"c:\\d\\" + longName + ".x", "", "", "", ""},
        {"c:\\d\\f." + longName, "", "", "", ""},
    };
    for (const auto& c : cases) {
        char drive[_MAX_DRIVE], dir[_MAX_DIR], name[_MAX_FNAME], ext[_MAX_EXT];
        _splitpath(c.path.c_str(), drive, dir, name, ext);
        EXPECT_EQ((std::vector<std::string>{drive, dir, name, ext}),
                  (std::vector<std::string>{c.drive, c.dir, c.name, c.ext}))
            << c.path;
    }
    char ext[_MAX_EXT];
    _splitpath("c:\\dir\\file.txt", nullptr, nullptr, nullptr, ext);
    EXPECT_STREQ(ext, ".txt");
}

// Runs the test body in a fresh directory made current, and restores the
// previous current directory afterwards.
class InDirectory : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(GetCurrentDirectoryA(sizeof m_saved, m_saved), 0u);
        ASSERT_TRUE(SetCurrentDirectoryA(m_dir.path().c_str()));
    }
    void TearDown() override { SetCurrentDirectoryA(m_saved); }

    char m_saved[1024] = {};
    Dir m_dir;
};

TEST_F(InDirectory, FullPathNormalisesWithoutTouchingTheDisk) {
    const std::string cwd = m_dir.path();
    const std::string drive = cwd.substr(0, 2);
    char buffer[1024];
    auto full = [&](const std::string& path) {
        char* result = _fullpath(buffer, path.c_str(), sizeof buffer);
        return std::string(result ? result : "<null>");
    };
    EXPECT_EQ(full("x\\y.txt"), cwd + "\\x\\y.txt");
    EXPECT_EQ(full("x/y/../z"), cwd + "\\x\\z");
    EXPECT_EQ(full(".\\a\\.\\b\\"), cwd + "\\a\\b\\");
    EXPECT_EQ(full("name.  "), cwd + "\\name");
    EXPECT_EQ(full("a.\\b"), cwd + "\\a\\b");
    EXPECT_EQ(full(""), cwd);
    EXPECT_EQ(full("\\top\\file"), drive + "\\top\\file");
    EXPECT_EQ(full(drive + "\\a\\..\\..\\b\\"), drive + "\\b\\");
    EXPECT_EQ(full(drive + "sub"), cwd + "\\sub");
    EXPECT_EQ(full("\\\\srv\\share\\..\\x"), "\\\\srv\\share\\x");
    errno = 0;
    EXPECT_EQ(_fullpath(buffer, "file", 3), nullptr);
    EXPECT_EQ(errno, ERANGE);
    char* allocated = _fullpath(nullptr, "file", 0);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(std::string(allocated), cwd + "\\file");
    std::free(allocated);

    char* name = nullptr;
    const std::string expected = cwd + "\\dir\\file.txt";
    EXPECT_EQ(GetFullPathNameA("dir/file.txt", sizeof buffer, buffer, &name), expected.size());
    EXPECT_EQ(std::string(buffer), expected);
    ASSERT_NE(name, nullptr);
    EXPECT_STREQ(name, "file.txt");
    EXPECT_EQ(GetFullPathNameA("dir/file.txt", 4, buffer, &name), expected.size() + 1);
}

TEST_F(InDirectory, CurrentDirectoryThroughTheRuntime) {
    char buffer[1024];
    ASSERT_NE(_getcwd(buffer, sizeof buffer), nullptr);
    EXPECT_EQ(std::string(buffer), m_dir.path());
    ASSERT_TRUE(CreateDirectoryA("Sub", nullptr));
    EXPECT_EQ(_chdir("sub"), 0); // found without regard to case
    ASSERT_NE(_getcwd(buffer, sizeof buffer), nullptr);
    EXPECT_EQ(Upper(buffer), Upper(m_dir / "Sub"));
    EXPECT_EQ(_chdir(".."), 0);
    errno = 0;
    EXPECT_EQ(_chdir("missing"), -1);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(_getcwd(buffer, 2), nullptr);
    EXPECT_EQ(errno, ERANGE);
    char* allocated = _getcwd(nullptr, 0);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(std::string(allocated), m_dir.path());
    std::free(allocated);
    EXPECT_EQ(GetCurrentDirectoryA(2, buffer), m_dir.path().size() + 1);
    EXPECT_WIN32(SetCurrentDirectoryA("missing"), FALSE, ERROR_FILE_NOT_FOUND);
}

// Names are found whatever their case; new names keep the caller's spelling.
TEST(CaseInsensitiveLookup, FindsFilesInAnyCase) {
    Dir dir;
    ASSERT_TRUE(CreateDirectoryA((dir / "SubDir").c_str(), nullptr));
    ASSERT_TRUE(Write(dir / "SubDir\\MixedCase.TXT", "original"));
    EXPECT_EQ(Read(dir / "subdir\\mixedcase.txt"), "original");
    EXPECT_EQ(Read(dir / "SUBDIR\\MIXEDCASE.TXT"), "original");
    EXPECT_TRUE(Exists(dir / "subDIR"));

    // Creating over it in another case replaces the same file.
    ASSERT_TRUE(Write(dir / "subdir\\MIXEDCASE.txt", "replaced"));
    EXPECT_EQ(Names(dir / "SubDir\\*"), (std::set<std::string>{"MixedCase.TXT"}));
    EXPECT_EQ(Read(dir / "SubDir\\MixedCase.TXT"), "replaced");

    ASSERT_TRUE(Write(dir / "subdir\\NewName.Txt", "new"));
    EXPECT_EQ(Names(dir / "SubDir\\new*"), (std::set<std::string>{"NewName.Txt"}));
    EXPECT_TRUE(DeleteFileA((dir / "SUBDIR\\newname.txt").c_str()));
    EXPECT_TRUE(
        CopyFileA((dir / "subdir\\mixedcase.txt").c_str(), (dir / "Copy.txt").c_str(), TRUE));
    EXPECT_EQ(Read(dir / "COPY.TXT"), "replaced");
}

#if defined(_WIN32)

TEST(DriveMapping, LinuxOnly) {
    GTEST_SKIP() << "drive mapping is the Linux layer's own";
}

#else

TEST(DriveMapping, DriveLettersMapToConfiguredDirectories) {
    testsupport::TempDir host;
    ScopedEnv drive("BASEKEL_DRIVE_Q", host.path().c_str());
    EXPECT_EQ(GetDriveTypeA("Q:\\"), static_cast<UINT>(DRIVE_FIXED));
    ASSERT_TRUE(Write("q:\\Data.txt", "on q"));
    ASSERT_TRUE(Write("Q:/other.txt", "slash"));
    EXPECT_EQ(Read(host.file("Data.txt")), "on q");
    EXPECT_EQ(Read(host.file("other.txt")), "slash");
    EXPECT_EQ(Read("Q:\\DATA.TXT"), "on q");
    // The root of a drive lists no "." or "..".
    EXPECT_EQ(Names("Q:\\*"), (std::set<std::string>{"Data.txt", "other.txt"}));
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA("Q:\\*", &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STRNE(data.cFileName, ".");
    FindClose(search);
    // Host directories below the drive are told in its spelling.
    char saved[1024], buffer[1024];
    ASSERT_GT(GetCurrentDirectoryA(sizeof saved, saved), 0u);
    ASSERT_EQ(chdir(host.path().c_str()), 0);
    EXPECT_EQ(GetCurrentDirectoryA(sizeof buffer, buffer), 3u);
    EXPECT_STREQ(buffer, "Q:\\");
    ASSERT_TRUE(SetCurrentDirectoryA(saved));
    EXPECT_EQ(Read("Q:\\..\\..\\Data.txt"), "on q"); // ".." stops at the root
    EXPECT_EQ(GetDriveTypeA("R:\\"), static_cast<UINT>(DRIVE_NO_ROOT_DIR));
    EXPECT_WIN32(Open("R:\\x", GENERIC_READ, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE,
                 ERROR_PATH_NOT_FOUND);
}

TEST(DriveMapping, RemappedDriveCKeepsRoundTrips) {
    testsupport::TempDir host;
    ScopedEnv drive("BASEKEL_DRIVE_C", host.path().c_str());
    ASSERT_TRUE(Write("C:\\file.txt", "c root"));
    EXPECT_EQ(Read(host.file("file.txt")), "c root");
    // The file-system root, no longer C:, is reached through Z:.
    char buffer[1024], saved[1024];
    ASSERT_GT(GetFullPathNameA("/usr", sizeof buffer, buffer, nullptr), 0u);
    EXPECT_STREQ(buffer, "Z:\\usr"); // a rooted path is on the current drive
    ASSERT_GT(GetCurrentDirectoryA(sizeof saved, saved), 0u);
    EXPECT_EQ(saved[0], 'Z');
    ASSERT_TRUE(SetCurrentDirectoryA("C:\\"));
    EXPECT_EQ(GetCurrentDirectoryA(sizeof buffer, buffer), 3u);
    EXPECT_STREQ(buffer, "C:\\");
    EXPECT_EQ(Read("file.txt"), "c root");
    ASSERT_TRUE(SetCurrentDirectoryA(saved));
    // Every path the layer hands out maps back to the same file.
    ASSERT_GT(GetModuleFileNameA(nullptr, buffer, sizeof buffer), 0u);
    EXPECT_EQ(buffer[0], 'Z');
    EXPECT_TRUE(Exists(buffer));
    ScopedEnv tmp("TMP", host.path().c_str());
    ASSERT_GT(GetTempPathA(sizeof buffer, buffer), 0u);
    EXPECT_STREQ(buffer, "C:\\");
}

TEST(DriveMapping, DriveRootSetsDriveC) {
    testsupport::TempDir host;
    ScopedEnv root("BASEKEL_DRIVE_ROOT", host.path().c_str());
    ASSERT_TRUE(Write("c:\\viaroot.txt", "root"));
    EXPECT_EQ(Read(host.file("viaroot.txt")), "root");
}

#endif

} // namespace
