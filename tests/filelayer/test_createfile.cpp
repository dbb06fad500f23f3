// CreateFileA's creation dispositions, share modes (within the process and
// across processes), and I/O through file handles.
#include "filetest.h"

#include <cstdlib>
#include <string>

using namespace filetest;

namespace {

constexpr DWORD kRead = GENERIC_READ;
constexpr DWORD kWrite = GENERIC_WRITE;
constexpr DWORD kShareRW = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// --- creation dispositions -------------------------------------------------

TEST(CreateFile, EveryDispositionWithItsLastError) {
    const char* const kMissing = "<error 2>"; // what Read gives for no file
    const struct {
        DWORD disposition;
        bool fileExists, succeeds;
        DWORD lastError;
        const char* contentsAfter;
    } cases[] = {
        {CREATE_NEW, false, true, ERROR_SUCCESS, ""},
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
        {CREATE_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
        {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, kMissing},
        {OPEN_EXISTING, true, true, ERROR_SUCCESS, "old"},
        {OPEN_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
        {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, kMissing},
        {TRUNCATE_EXISTING, true, true, ERROR_SUCCESS, ""},
    };
    for (const auto& c : cases) {
        Dir dir;
        const std::string path = dir / "file.txt";
        ASSERT_TRUE(!c.fileExists || Write(path, "old"));
        SCOPED_TRACE("disposition " + std::to_string(c.disposition) +
                     (c.fileExists ? " on an existing file" : " on a missing file"));
        SetLastError(0xDEAD);
        HANDLE file = Open(path, kRead | kWrite, 0, c.disposition);
        EXPECT_EQ(GetLastError(), c.lastError);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, c.succeeds);
        EXPECT_TRUE(file == INVALID_HANDLE_VALUE || CloseHandle(file));
        EXPECT_EQ(Read(path), c.contentsAfter);
    }
}

TEST(CreateFile, RejectsBadDispositionsAndNames) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "file.txt", "x"));
    const struct {
        std::string path;
        DWORD disposition, error;
    } cases[] = {
        {dir / "file.txt", 0, ERROR_INVALID_PARAMETER},
        {dir / "file.txt", 6, ERROR_INVALID_PARAMETER},
        {"", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {dir / "missing\\file.txt", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {dir / "missing\\file.txt", CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {dir / "file.txt\\inner", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {dir / "file.txt\\", OPEN_EXISTING, ERROR_INVALID_NAME},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_WIN32(Open(c.path, kRead, 0, c.disposition), INVALID_HANDLE_VALUE, c.error);
    }
    for (const char* bad : {"a?b", "a*b", "a<b", "a>b", "a|b", "a\"b"}) {
        EXPECT_WIN32(Open(dir / bad, kRead, 0, CREATE_NEW), INVALID_HANDLE_VALUE,
                     ERROR_INVALID_NAME);
    }
    EXPECT_WIN32(CreateFileA(nullptr, kRead, 0, nullptr, OPEN_EXISTING, 0, nullptr),
                 INVALID_HANDLE_VALUE, ERROR_PATH_NOT_FOUND);
}

TEST(CreateFile, DirectoriesOpenOnlyWithBackupSemantics) {
    Dir dir;
    EXPECT_WIN32(Open(dir.path(), kRead, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE,
                 ERROR_ACCESS_DENIED);
    EXPECT_WIN32(Open(dir.path(), kRead, 0, CREATE_NEW), INVALID_HANDLE_VALUE, ERROR_FILE_EXISTS);
    HANDLE handle = CreateFileA(dir.path().c_str(), kRead, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    FILETIME written{};
    EXPECT_TRUE(GetFileTime(handle, nullptr, nullptr, &written));
    EXPECT_TRUE(CloseHandle(handle));
}

// --- share modes ------------------------------------------------------------

TEST(FileSharing, ConflictingOpensFailWithSharingViolation) {
    const struct {
        DWORD firstAccess, firstShare, secondAccess, secondShare;
        bool secondOpens;
    } cases[] = {
        {kRead, FILE_SHARE_READ, kRead, FILE_SHARE_READ, true},
        {kRead, FILE_SHARE_READ, kWrite, kShareRW, false}, // the first does not share writing
        {kWrite, kShareRW, kRead, FILE_SHARE_READ, false}, // the second refuses the first's writing
        {kRead, kShareRW, kWrite, kShareRW, true},
        {kRead | kWrite, 0, kRead, kShareAll, false},
        {kRead | kWrite, 0, 0, 0, true},         // no access: never a conflict
        {0, 0, kRead | kWrite, kShareAll, true}, // an open without access refuses nothing
        {kWrite, FILE_SHARE_WRITE, kWrite, FILE_SHARE_WRITE, true},
        {kRead, 0, kRead, FILE_SHARE_READ, false},
    };
    Dir dir;
    const std::string path = dir / "shared.txt";
    ASSERT_TRUE(Write(path, "data"));
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "first " << c.firstAccess << "/" << c.firstShare
                                        << ", second " << c.secondAccess << "/" << c.secondShare);
        HANDLE first = Open(path, c.firstAccess, c.firstShare, OPEN_EXISTING);
        ASSERT_NE(first, INVALID_HANDLE_VALUE);
        SetLastError(0xDEAD);
        HANDLE second = Open(path, c.secondAccess, c.secondShare, OPEN_EXISTING);
        EXPECT_EQ(second != INVALID_HANDLE_VALUE, c.secondOpens);
        EXPECT_EQ(GetLastError(), c.secondOpens ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION);
        if (second != INVALID_HANDLE_VALUE)
            CloseHandle(second);
        CloseHandle(first);
        // Closing the first open takes its record with it.
        HANDLE again = Open(path, c.secondAccess, c.secondShare, OPEN_EXISTING);
        EXPECT_NE(again, INVALID_HANDLE_VALUE);
        CloseHandle(again);
    }
}

// A file open without FILE_SHARE_WRITE cannot be truncated or copied onto,
// and without FILE_SHARE_DELETE cannot be deleted, renamed or replaced.
TEST(FileSharing, RefusedOperationsLeaveTheOpenFileAlone) {
    Dir dir;
    const std::string path = dir / "open.txt", other = dir / "other.txt";
    ASSERT_TRUE(Write(path, "contents"));
    ASSERT_TRUE(Write(other, "y"));
    HANDLE reader = Open(path, kRead, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    for (DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
        EXPECT_WIN32(Open(path, kWrite, kShareAll, disposition), INVALID_HANDLE_VALUE,
                     ERROR_SHARING_VIOLATION);
    }
    EXPECT_WIN32(DeleteFileA(path.c_str()), FALSE, ERROR_SHARING_VIOLATION);
    EXPECT_WIN32(MoveFileExA(path.c_str(), (dir / "n").c_str(), 0), FALSE, ERROR_SHARING_VIOLATION);
    EXPECT_WIN32(MoveFileExA(other.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING), FALSE,
                 ERROR_ACCESS_DENIED);
    EXPECT_WIN32(CopyFileA(other.c_str(), path.c_str(), FALSE), FALSE, ERROR_SHARING_VIOLATION);
    CloseHandle(reader);
    EXPECT_EQ(Read(path), "contents");

    HANDLE sharing = Open(path, kRead, kShareAll, OPEN_EXISTING);
    ASSERT_NE(sharing, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    CloseHandle(sharing);
    EXPECT_FALSE(Exists(path));
}

// The child deletes the file args[1] when args[0] is "delete", else opens it
// with the access and share mode in args[2] and args[3]; it exits with the
// last error (0 on success).
TEST_CHILD(TryFile) {
    if (args.at(0) == "delete")
        return DeleteFileA(args.at(1).c_str()) ? 0 : static_cast<int>(GetLastError());
    HANDLE file = Open(args.at(1), std::strtoul(args.at(2).c_str(), nullptr, 0),
                       std::strtoul(args.at(3).c_str(), nullptr, 0), OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return static_cast<int>(GetLastError());
    CloseHandle(file);
    return 0;
}

TEST(FileSharing, ConflictsAcrossProcesses) {
    Dir dir;
    const std::string path = dir / "shared.txt";
    ASSERT_TRUE(Write(path, "data"));
    auto child = [&](const char* what, DWORD access, DWORD share) {
        return testsupport::RunChild("TryFile",
                                     {what, path, std::to_string(access), std::to_string(share)});
    };
    const int violation = static_cast<int>(ERROR_SHARING_VIOLATION);
    HANDLE writer = Open(path, kWrite, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(child("open", kWrite, kShareAll), violation);
    EXPECT_EQ(child("open", kRead, kShareRW), 0);
    EXPECT_EQ(child("delete", 0, 0), violation);
    CloseHandle(writer);
    EXPECT_EQ(child("open", kWrite, kShareAll), 0);
    EXPECT_EQ(child("delete", 0, 0), 0);
    EXPECT_FALSE(Exists(path));
}

// --- I/O through handles ----------------------------------------------------

class FileIo : public ::testing::Test {
protected:
    void SetUp() override {
        m_file = Open(m_dir / "io.bin", kRead | kWrite, 0, CREATE_ALWAYS);
        ASSERT_NE(m_file, INVALID_HANDLE_VALUE);
    }
    void TearDown() override { CloseHandle(m_file); }
    void Put(const std::string& text) {
        DWORD written = 0;
        ASSERT_TRUE(
            WriteFile(m_file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
        ASSERT_EQ(written, text.size());
    }
    std::string Get(DWORD count) {
        std::string buffer(count, '\0');
        DWORD got = 0;
        EXPECT_TRUE(ReadFile(m_file, &buffer[0], count, &got, nullptr));
        return buffer.substr(0, got);
    }
    DWORD Seek(LONG distance, DWORD method, LONG* high = nullptr) {
        return SetFilePointer(m_file, distance, high, method);
    }
    DWORD Pos() { return Seek(0, FILE_CURRENT); }

    Dir m_dir;
    HANDLE m_file = INVALID_HANDLE_VALUE;
};

TEST_F(FileIo, WriteSeekReadSizeAndEnd) {
    Put("hello world");
    EXPECT_EQ(GetFileSize(m_file, nullptr), 11u);
    EXPECT_EQ(Pos(), 11u);
    EXPECT_EQ(Get(4), ""); // at the end: success with nothing read
    EXPECT_EQ(Seek(6, FILE_BEGIN), 6u);
    EXPECT_EQ(Get(100), "world");
    EXPECT_EQ(Seek(-5, FILE_END), 6u);
    EXPECT_EQ(Seek(-6, FILE_CURRENT), 0u);
    EXPECT_EQ(Get(5), "hello");
    DWORD high = 0xDEAD;
    EXPECT_EQ(GetFileSize(m_file, &high), 11u);
    EXPECT_EQ(high, 0u);
    // SetEndOfFile cuts and extends with zeros at the pointer, which stays.
    Seek(4, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(m_file));
    EXPECT_EQ(GetFileSize(m_file, nullptr), 4u);
    EXPECT_EQ(Pos(), 4u);
    Seek(8, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(m_file));
    EXPECT_EQ(GetFileSize(m_file, nullptr), 8u);
    Seek(0, FILE_BEGIN);
    EXPECT_EQ(Get(8), std::string("hell\0\0\0\0", 8));
    EXPECT_TRUE(FlushFileBuffers(m_file));
}

TEST_F(FileIo, NegativeSeeksAndBadMethodsLeaveThePointer) {
    Put("abc");
    LONG high = -1;
    EXPECT_WIN32(Seek(-4, FILE_END), INVALID_SET_FILE_POINTER, ERROR_NEGATIVE_SEEK);
    EXPECT_WIN32(Seek(-1, FILE_BEGIN), INVALID_SET_FILE_POINTER, ERROR_NEGATIVE_SEEK);
    EXPECT_WIN32(Seek(-5, FILE_BEGIN, &high), INVALID_SET_FILE_POINTER, ERROR_NEGATIVE_SEEK);
    EXPECT_WIN32(Seek(0, 7), INVALID_SET_FILE_POINTER, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Pos(), 3u);
}

TEST_F(FileIo, HighPartMakesA64BitDistance) {
    LONG high = 1;
    EXPECT_EQ(Seek(16, FILE_BEGIN, &high), 16u);
    EXPECT_EQ(high, 1);
    high = 0;
    EXPECT_EQ(Seek(0, FILE_CURRENT, &high), 16u);
    EXPECT_EQ(high, 1);
    // A position whose low part looks like the failure value: last error 0.
    high = 0;
    EXPECT_WIN32(Seek(-1, FILE_BEGIN, &high), INVALID_SET_FILE_POINTER, ERROR_SUCCESS);
    EXPECT_EQ(high, 0);
    // Writing there makes a (sparse) file of 4 GiB.
    Put("z");
    DWORD sizeHigh = 0;
    EXPECT_EQ(GetFileSize(m_file, &sizeHigh), 0u);
    EXPECT_EQ(sizeHigh, 1u);
    EXPECT_TRUE(Seek(0, FILE_BEGIN) == 0 && SetEndOfFile(m_file));
}

// Without a high part a caller could not learn a position beyond 32 bits,
// so such a move fails and leaves the pointer.
TEST_F(FileIo, PositionsBeyond32BitsNeedTheHighPart) {
#if defined(_WIN32)
    GTEST_SKIP() << "Wine moves the pointer and returns the low part where Windows fails";
#endif
    EXPECT_EQ(Seek(0x7FFFFFFF, FILE_BEGIN), 0x7FFFFFFFu);
    EXPECT_EQ(Seek(0x7FFFFFFF, FILE_CURRENT), 0xFFFFFFFEu);
    EXPECT_WIN32(Seek(2, FILE_CURRENT), INVALID_SET_FILE_POINTER, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Pos(), 0xFFFFFFFEu);
}

TEST(FileHandles, AccessIsCheckedPerHandle) {
    Dir dir;
    const std::string path = dir / "f.txt";
    ASSERT_TRUE(Write(path, "abc"));
    char buffer[4];
    DWORD n = 7;
    HANDLE reader = Open(path, kRead, kShareAll, OPEN_EXISTING);
    HANDLE writer = Open(path, kWrite, kShareAll, OPEN_EXISTING);
    HANDLE none = Open(path, 0, kShareAll, OPEN_EXISTING);
    ASSERT_TRUE(reader != INVALID_HANDLE_VALUE && writer != INVALID_HANDLE_VALUE &&
                none != INVALID_HANDLE_VALUE);
    EXPECT_WIN32(WriteFile(reader, "x", 1, &n, nullptr), FALSE, ERROR_ACCESS_DENIED);
    EXPECT_EQ(n, 0u);
    EXPECT_WIN32(ReadFile(writer, buffer, 1, &n, nullptr), FALSE, ERROR_ACCESS_DENIED);
    EXPECT_WIN32(ReadFile(none, buffer, 1, &n, nullptr), FALSE, ERROR_ACCESS_DENIED);
    EXPECT_WIN32(FlushFileBuffers(reader), FALSE, ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetFileSize(none, nullptr), 3u); // metadata needs no access
    FILETIME t{};
    EXPECT_TRUE(GetFileTime(none, &t, &t, &t));
    for (HANDLE h : {reader, writer, none})
        EXPECT_TRUE(CloseHandle(h));
    // A closed handle is no longer valid for anything.
    EXPECT_WIN32(CloseHandle(reader), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_WIN32(ReadFile(reader, buffer, 1, &n, nullptr), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_WIN32(WriteFile(writer, "x", 1, &n, nullptr), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_WIN32(SetFilePointer(reader, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER,
                 ERROR_INVALID_HANDLE);
    EXPECT_WIN32(GetFileSize(none, nullptr), INVALID_FILE_SIZE, ERROR_INVALID_HANDLE);
    EXPECT_WIN32(SetEndOfFile(writer), FALSE, ERROR_INVALID_HANDLE);
    EXPECT_WIN32(CloseHandle(nullptr), FALSE, ERROR_INVALID_HANDLE);
}

} // namespace
