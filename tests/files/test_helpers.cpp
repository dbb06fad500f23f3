// The static helpers: existence of drives, wildcards and directories, path
// parts, directory and file operations, the executable's and temporary names.
#include "filestest.h"

#include <cctype>
#include <cstring>

using namespace filestest;

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string S(const TString& text) {
    return static_cast<const char*>(text);
}

TEST(FileHelpers, ExistOnDrivesWildcardsAndDirectories) {
    for (const char* path : {"C:", "C:\\", "C:\\*.*"})
        EXPECT_EQ(TFile::Exist(path), 1u) << path;
    for (char letter = 'Z'; letter >= 'D'; --letter) {
        const std::string drive = std::string(1, letter) + ":";
        if (GetDriveTypeA((drive + "\\").c_str()) != DRIVE_NO_ROOT_DIR)
            continue;
        EXPECT_EQ(TFile::Exist(drive.c_str()) + TFile::Exist((drive + "\\").c_str()), 0u);
        break;
    }
    Dir dir;
    EXPECT_EQ(TFile::Exist((dir / "*.txt").c_str()), 0u);
    ASSERT_TRUE(Write(dir / "Some.TXT", ""));
    EXPECT_EQ(TFile::Exist((dir / "s?me.txt").c_str()), 1u);
    EXPECT_EQ(TFile::DirExist((dir.path() + "\\\\").c_str()), 1u);
    EXPECT_EQ(TFile::DirExist((dir / "some.txt").c_str()), 1u); // a file counts
    EXPECT_EQ(TFile::DirExist((dir / "none\\").c_str()), 0u);
    // A network path is tried by entering it; the working directory stays.
    char before[MAX_PATH], after[MAX_PATH];
    ASSERT_TRUE(_getcwd(before, MAX_PATH));
    EXPECT_EQ(TFile::DirExist("\\\\nosuchserver.invalid\\share"), 0u);
    ASSERT_TRUE(_getcwd(after, MAX_PATH));
    EXPECT_STREQ(before, after);
}

TEST(FileHelpers, PathParts) {
    const struct {
        const char *path, *parent, *drive, *dir, *name, *ext;
    } cases[] = {
        {"C:\\x\\y.txt", "C:\\x", "C:", "C:\\x\\", "y", ".txt"},
        {"C:\\a\\b\\", "C:\\a\\b", "C:", "C:\\a\\b\\", "", ""},
        {"d:name.tar.gz", "", "d:", "d:", "name.tar", ".gz"},
        {"\\\\srv\\share\\a.b.c", "\\\\srv\\share", "", "\\\\srv\\share\\", "a.b", ".c"},
        {"abc", "", "", "", "abc", ""},
    };
    for (const auto& c : cases) {
        const Strings got = {S(TFile::GetParentDir(c.path)), S(TFile::GetFileDrive(c.path)),
                             S(TFile::GetFileDir(c.path)), S(TFile::GetFileName(c.path)),
                             S(TFile::GetFileExt(c.path))};
        EXPECT_EQ(got, (Strings{c.parent, c.drive, c.dir, c.name, c.ext})) << c.path;
    }
    char cwd[MAX_PATH];
    ASSERT_TRUE(_getcwd(cwd, MAX_PATH));
    const std::string base = cwd[std::strlen(cwd) - 1] == '\\' ? cwd : std::string(cwd) + "\\";
    EXPECT_EQ(Lower(S(TFile::ExpandToFullPath("rel"))), Lower(base + "rel"));
    EXPECT_EQ(S(TFile::ExpandToFullPath("C:\\a\\..\\b")), "C:\\b");
    EXPECT_LT(TFile::ExpandToFullPath(TString('a', 400)).GetLength(), 260); // cut, never over
}

TEST(FileHelpers, DirectoryAndFileOperations) {
    Dir dir;
    const std::string deep = dir / "one\\two\\three";
    TFile::CreateCompleteDir(deep.c_str());
    TFile::CreateCompleteDir(deep.c_str()); // exists: nothing
    EXPECT_EQ(TFile::DirExist(deep.c_str()), 1u);
    TFile::RemoveDirectoryA(deep.c_str());
    EXPECT_EQ(TFile::DirExist(deep.c_str()), 0u);

    const std::string a = dir / "a.txt", b = dir / "one\\b.txt", c = dir / "c.txt";
    ASSERT_TRUE(Write(a, "12345"));
    TFile::Copy(a.c_str(), b.c_str(), 1);
    TFile::Copy(a.c_str(), b.c_str(), 0); // overwrites
    TFile::Move(b.c_str(), c.c_str(), 0);
    EXPECT_EQ(Read(c), "12345");
    TFile::Delete(c.c_str());
    EXPECT_EQ(TFile::Exist(b.c_str()) + TFile::Exist(c.c_str()), 0u);

    EXPECT_EQ(TFile::Size(a.c_str()), 5u);
    FILETIME written;
    HANDLE file = CreateFileA(a.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_TRUE(GetFileTime(file, nullptr, nullptr, &written));
    CloseHandle(file); // opening with share mode 0 shows that Size closed its handle
    const _FILETIME time = TFile::GetTime(a.c_str());
    EXPECT_EQ(time.dwLowDateTime, written.dwLowDateTime);
    EXPECT_EQ(time.dwHighDateTime, written.dwHighDateTime);
    TFile alone(a.c_str(), GENERIC_WRITE, 0, OPEN_EXISTING, 0); // and GetTime its
}

TEST(FileHelpers, ExecutableAndTemporaryNames) {
    char module[1024] = {};
    GetModuleFileNameA(nullptr, module, sizeof module);
    std::string expected = Lower(module);
    if (expected.find(".exe") == std::string::npos)
        expected += ".exe"; // Linux executables have none
    const TString exe = TFile::GetExeName();
    EXPECT_EQ(S(exe), expected);
    EXPECT_EQ(S(TFile::GetExeDir()) + "\\" + S(TFile::GetFileName(exe)) + ".exe", expected);
    EXPECT_EQ(S(TFile::GetFullAppName()) + ".exe", expected);

    const std::string tmp = S(TFile::GetTmpPath());
    EXPECT_EQ(tmp.back(), '\\');
    EXPECT_EQ(TFile::DirExist(tmp.c_str()), 1u);
    Dir dir;
    // Wine writes the number in lower-case hex, Windows in upper case.
    EXPECT_EQ(Lower(S(TFile::GetTempFileNameA(dir.path().c_str(), "abcd", 0x1F))),
              Lower(dir / "abc1F.tmp"));
    const TString made = TFile::GetTempFileNameA(dir.path().c_str(), "x", 0);
    EXPECT_EQ(TFile::Exist(made), 1u);
}

} // namespace
