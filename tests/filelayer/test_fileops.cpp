// Attributes, copy, move, delete, directories, temporary names, drives,
// environment variables and module names.
#include "filetest.h"

#include <cctype>
#include <cstdlib>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

using namespace filetest;

namespace {

TEST(FileAttributes, ReportKindsAndMissingPaths) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "f.txt", "x"));
    EXPECT_EQ(GetFileAttributesA(dir.path().c_str()) & FILE_ATTRIBUTE_DIRECTORY,
              FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetFileAttributesA((dir.path() + "\\").c_str()) & FILE_ATTRIBUTE_DIRECTORY,
              FILE_ATTRIBUTE_DIRECTORY);
    const DWORD file = GetFileAttributesA((dir / "f.txt").c_str());
    EXPECT_NE(file, INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(file & FILE_ATTRIBUTE_DIRECTORY);
    // Trailing dots and spaces are not part of a name.
    EXPECT_EQ(GetFileAttributesA((dir / "f.txt.").c_str()), file);
    EXPECT_EQ(GetFileAttributesA((dir / "f.txt  ").c_str()), file);
    auto errorOf = [](const std::string& path) {
        return ErrorOf(
            [&] { EXPECT_EQ(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES) << path; });
    };
    EXPECT_EQ(errorOf(dir / "missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errorOf(dir / "missing\\x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOf(dir / "f*"), ERROR_INVALID_NAME);
    EXPECT_EQ(errorOf(""), ERROR_PATH_NOT_FOUND);
}

TEST(CopyFile, CopiesAndReportsWindowsErrors) {
    Dir dir;
    const std::string from = dir / "from.txt";
    const std::string to = dir / "to.txt";
    ASSERT_TRUE(Write(from, "contents"));
    EXPECT_TRUE(CopyFileA(from.c_str(), to.c_str(), TRUE));
    EXPECT_EQ(Read(to), "contents");
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(CopyFileA(from.c_str(), to.c_str(), TRUE)); }),
              ERROR_FILE_EXISTS);
    ASSERT_TRUE(Write(from, "new"));
    EXPECT_TRUE(CopyFileA(from.c_str(), to.c_str(), FALSE));
    EXPECT_EQ(Read(to), "new");
    auto errorOf = [](const std::string& a, const std::string& b) {
        return ErrorOf([&] { EXPECT_FALSE(CopyFileA(a.c_str(), b.c_str(), FALSE)); });
    };
    EXPECT_EQ(errorOf(dir / "missing", to), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errorOf(dir.path(), dir / "x"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(errorOf(from, dir / "missing\\x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOf(from, from), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Read(from), "new");
}

TEST(CopyFile, CopiesTheReadOnlyAttribute) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "ro", "x"));
    ASSERT_TRUE(SetFileAttributesA((dir / "ro").c_str(), FILE_ATTRIBUTE_READONLY));
    ASSERT_TRUE(CopyFileA((dir / "ro").c_str(), (dir / "copy").c_str(), TRUE));
    EXPECT_TRUE(GetFileAttributesA((dir / "copy").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(DeleteFileA((dir / "copy").c_str())); }),
              ERROR_ACCESS_DENIED);
    for (const char* name : {"ro", "copy"}) {
        EXPECT_TRUE(SetFileAttributesA((dir / name).c_str(), FILE_ATTRIBUTE_NORMAL));
    }
}

TEST(MoveFile, RenamesReplacesAndRefuses) {
    Dir dir;
    const std::string a = dir / "a.txt";
    const std::string b = dir / "b.txt";
    ASSERT_TRUE(Write(a, "A"));
    ASSERT_TRUE(Write(b, "B"));
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(MoveFileExA(a.c_str(), b.c_str(), 0)); }),
              ERROR_ALREADY_EXISTS);
    EXPECT_TRUE(MoveFileExA(a.c_str(), b.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_FALSE(Exists(a));
    EXPECT_EQ(Read(b), "A");
    EXPECT_TRUE(MoveFileExA(b.c_str(), a.c_str(), 0));
    EXPECT_EQ(Read(a), "A");
    auto errorOf = [](const std::string& from, const std::string& to, DWORD flags) {
        return ErrorOf([&] { EXPECT_FALSE(MoveFileExA(from.c_str(), to.c_str(), flags)); });
    };
    EXPECT_EQ(errorOf(dir / "missing", b, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errorOf(dir / "missing\\x", b, 0), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOf(a, dir / "missing\\x", 0), ERROR_PATH_NOT_FOUND);
    ASSERT_TRUE(CreateDirectoryA((dir / "sub").c_str(), nullptr));
    EXPECT_EQ(errorOf(a, dir / "sub", MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
    // Directories move too, with what they hold.
    ASSERT_TRUE(Write(dir / "sub\\inner", "I"));
    EXPECT_TRUE(MoveFileExA((dir / "sub").c_str(), (dir / "moved").c_str(), 0));
    EXPECT_EQ(Read(dir / "moved\\inner"), "I");
}

TEST(MoveFile, ChangesOnlyTheCaseOfAName) {
#if defined(_WIN32)
    GTEST_SKIP() << "Wine keeps the old spelling where Windows renames";
#endif
    Dir dir;
    ASSERT_TRUE(Write(dir / "name.txt", "x"));
    EXPECT_TRUE(MoveFileExA((dir / "name.txt").c_str(), (dir / "Name.TXT").c_str(), 0));
    EXPECT_EQ(Names(dir / "*"), (std::set<std::string>{"Name.TXT"}));
}

TEST(DeleteFile, DeletesFilesOnly) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "f", "x"));
    EXPECT_TRUE(DeleteFileA((dir / "f").c_str()));
    EXPECT_FALSE(Exists(dir / "f"));
    auto errorOf = [](const std::string& path) {
        return ErrorOf([&] { EXPECT_FALSE(DeleteFileA(path.c_str())); });
    };
    EXPECT_EQ(errorOf(dir / "f"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errorOf(dir / "missing\\f"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOf(dir.path()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(errorOf(dir / "*"), ERROR_INVALID_NAME);
}

TEST(Directories, CreateAndRemoveWithWindowsErrors) {
    Dir dir;
    const std::string sub = dir / "sub";
    EXPECT_TRUE(CreateDirectoryA(sub.c_str(), nullptr));
    ASSERT_TRUE(Write(dir / "file", "x"));
    auto createError = [](const std::string& path) {
        return ErrorOf([&] { EXPECT_FALSE(CreateDirectoryA(path.c_str(), nullptr)); });
    };
    auto removeError = [](const std::string& path) {
        return ErrorOf([&] { EXPECT_FALSE(RemoveDirectoryA(path.c_str())); });
    };
    EXPECT_EQ(createError(sub), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(createError(dir / "file"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(createError(dir / "missing\\x"), ERROR_PATH_NOT_FOUND);
    ASSERT_TRUE(Write(sub + "\\inner", "x"));
    EXPECT_EQ(removeError(sub), ERROR_DIR_NOT_EMPTY);
    EXPECT_EQ(removeError(dir / "file"), ERROR_DIRECTORY);
    EXPECT_EQ(removeError(dir / "missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(removeError(dir / "missing\\x"), ERROR_PATH_NOT_FOUND);
    ASSERT_TRUE(DeleteFileA((sub + "\\inner").c_str()));
    EXPECT_TRUE(RemoveDirectoryA(sub.c_str()));
    EXPECT_FALSE(Exists(sub));
}

TEST(Directories, TheCurrentDirectoryCannotBeRemoved) {
    Dir dir;
    char saved[1024];
    ASSERT_GT(GetCurrentDirectoryA(sizeof saved, saved), 0u);
    ASSERT_TRUE(CreateDirectoryA((dir / "cwd").c_str(), nullptr));
    ASSERT_TRUE(SetCurrentDirectoryA((dir / "cwd").c_str()));
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(RemoveDirectoryA((dir / "cwd").c_str())); }),
              ERROR_SHARING_VIOLATION);
    ASSERT_TRUE(SetCurrentDirectoryA(saved));
    EXPECT_TRUE(RemoveDirectoryA((dir / "cwd").c_str()));
}

// --- temporary files ----------------------------------------------------------

TEST(TempFileName, GivenNumberNamesWithoutCreating) {
    Dir dir;
    char name[MAX_PATH];
    EXPECT_EQ(GetTempFileNameA(dir.path().c_str(), "abcd", 0x12345, name), 0x2345u);
    EXPECT_EQ(Upper(name), Upper(dir / "abc2345.tmp"));
    EXPECT_FALSE(Exists(name));
    EXPECT_EQ(GetTempFileNameA((dir.path() + "\\").c_str(), "", 0xAB, name), 0xABu);
    EXPECT_EQ(Upper(name), Upper(dir / "AB.tmp"));
}

TEST(TempFileName, ZeroPicksAFreeNumberAndCreatesTheFile) {
    Dir dir;
    char first[MAX_PATH];
    char second[MAX_PATH];
    const UINT a = GetTempFileNameA(dir.path().c_str(), "kel", 0, first);
    const UINT b = GetTempFileNameA(dir.path().c_str(), "kel", 0, second);
    ASSERT_NE(a, 0u);
    ASSERT_NE(b, 0u);
    EXPECT_NE(a, b);
    EXPECT_TRUE(Exists(first));
    EXPECT_TRUE(Exists(second));
    char expected[32];
    std::snprintf(expected, sizeof expected, "KEL%X.TMP", a);
    EXPECT_EQ(Upper(first), Upper(dir / expected));
    EXPECT_EQ(
        ErrorOf([&] { EXPECT_EQ(GetTempFileNameA((dir / "missing").c_str(), "x", 0, first), 0u); }),
        ERROR_DIRECTORY);
}

TEST(TempPath, EndsWithBackslashAndMapsBack) {
    char path[MAX_PATH + 1];
    const DWORD n = GetTempPathA(sizeof path, path);
    ASSERT_GT(n, 0u);
    ASSERT_LT(n, sizeof path);
    EXPECT_EQ(path[n - 1], '\\');
    EXPECT_EQ(std::string(path), FullPath(path) + (FullPath(path).back() == '\\' ? "" : "\\"));
    EXPECT_EQ(GetTempPathA(2, path), n + 1);
    // A file made under the returned path is found there again.
    ASSERT_EQ(GetTempPathA(sizeof path, path), n);
    char name[MAX_PATH];
    ASSERT_NE(GetTempFileNameA(path, "rt", 0, name), 0u);
    EXPECT_EQ(Names(name).size(), 1u);
    EXPECT_TRUE(DeleteFileA(name));
}

// --- drives, environment, modules --------------------------------------------

TEST(DriveType, DriveRootsAreFixedOthersHaveNoRoot) {
    char cwd[1024];
    ASSERT_GT(GetCurrentDirectoryA(sizeof cwd, cwd), 2u);
    const std::string drive(cwd, 2);
    EXPECT_EQ(GetDriveTypeA((drive + "\\").c_str()), static_cast<UINT>(DRIVE_FIXED));
    EXPECT_EQ(GetDriveTypeA(drive.c_str()), static_cast<UINT>(DRIVE_FIXED));
    EXPECT_EQ(GetDriveTypeA(nullptr), static_cast<UINT>(DRIVE_FIXED));
    EXPECT_EQ(GetDriveTypeA("c"), static_cast<UINT>(DRIVE_NO_ROOT_DIR));
    EXPECT_EQ(GetDriveTypeA("Q:\\"), static_cast<UINT>(DRIVE_NO_ROOT_DIR));
}

TEST(Environment, VariablesWithWindowsBufferRules) {
    const char* name = "BASEKEL_FILELAYER_TEST_VAR";
    ASSERT_TRUE(SetEnvironmentVariableA(name, "some value"));
    char buffer[64];
    EXPECT_EQ(GetEnvironmentVariableA(name, buffer, sizeof buffer), 10u);
    EXPECT_STREQ(buffer, "some value");
    EXPECT_EQ(GetEnvironmentVariableA("basekel_filelayer_test_var", buffer, sizeof buffer), 10u);
    EXPECT_EQ(GetEnvironmentVariableA(name, buffer, 10), 11u); // size needed, NUL included
    ASSERT_TRUE(SetEnvironmentVariableA(name, nullptr));
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(GetEnvironmentVariableA(name, buffer, 64), 0u); }),
              ERROR_ENVVAR_NOT_FOUND);
}

HMODULE LibraryModule() {
#if defined(_WIN32)
    return LoadLibraryA("basekel.dll"); // the programs import nothing from it yet
#else
    Dl_info info{};
    dladdr(reinterpret_cast<void*>(&CreateFileA), &info);
    return info.dli_fbase;
#endif
}

std::string Lower(std::string text) {
    for (auto& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

TEST(ModuleFileName, ExecutableAndLibraryByFullDosPath) {
    char path[1024];
    DWORD n = GetModuleFileNameA(nullptr, path, sizeof path);
    ASSERT_GT(n, 0u);
    EXPECT_EQ(std::string(path).size(), n);
    EXPECT_NE(Lower(path).find("basekel_test_filelayer"), std::string::npos) << path;
    EXPECT_EQ(FullPath(path), path);
    EXPECT_TRUE(Exists(path));

    n = GetModuleFileNameA(LibraryModule(), path, sizeof path);
    ASSERT_GT(n, 0u);
    const std::string library = Lower(path);
    EXPECT_TRUE(library.find("basekel.dll") != std::string::npos ||
                library.find("libbasekel.so") != std::string::npos)
        << path;
    EXPECT_TRUE(Exists(path));
}

TEST(ModuleFileName, CutsToTheBufferAndRejectsUnknownModules) {
    char full[1024];
    ASSERT_GT(GetModuleFileNameA(nullptr, full, sizeof full), 4u);
    char small[5];
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameA(nullptr, small, sizeof small), 5u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::string(small, 4), std::string(full, 4));
#if !defined(_WIN32) // Windows since Vista ends the cut text with a NUL; Wine does not
    EXPECT_EQ(small[4], '\0');
#endif
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<HMODULE>(0x1234), full, 64), 0u);
              }),
              ERROR_MOD_NOT_FOUND);
}

} // namespace
