// CreateFileA's creation dispositions, share modes (within the process and
// across processes), and I/O through file handles.
#include "filetest.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace filetest;

namespace {

// --- creation dispositions -------------------------------------------------

struct DispositionCase {
    DWORD disposition;
    bool fileExists;
    bool succeeds;
    DWORD lastError;
    const char* contentsAfter; // null: no file afterwards
};

TEST(CreateFile, EveryDispositionWithItsLastError) {
    const DispositionCase cases[] = {
        {CREATE_NEW, false, true, ERROR_SUCCESS, ""},
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
        {CREATE_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
        {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, nullptr},
        {OPEN_EXISTING, true, true, ERROR_SUCCESS, "old"},
        {OPEN_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
        {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, nullptr},
        {TRUNCATE_EXISTING, true, true, ERROR_SUCCESS, ""},
    };
    for (const auto& c : cases) {
        Dir dir;
        const std::string path = dir / "file.txt";
        if (c.fileExists) {
            ASSERT_TRUE(Write(path, "old"));
        }
        SCOPED_TRACE("disposition " + std::to_string(c.disposition) +
                     (c.fileExists ? " on an existing file" : " on a missing file"));
        SetLastError(0xDEAD);
        HANDLE file = Open(path, GENERIC_READ | GENERIC_WRITE, 0, c.disposition);
        EXPECT_EQ(GetLastError(), c.lastError);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, c.succeeds);
        if (file != INVALID_HANDLE_VALUE) {
            EXPECT_TRUE(CloseHandle(file));
        }
        if (c.contentsAfter) {
            EXPECT_EQ(Read(path), c.contentsAfter);
        } else {
            EXPECT_FALSE(Exists(path));
        }
    }
}

TEST(CreateFile, RejectsBadDispositionsAndNames) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "file.txt", "x"));
    auto errorOpening = [](const std::string& path, DWORD disposition) {
        return ErrorOf([&] {
            HANDLE file = Open(path, GENERIC_READ, 0, disposition);
            EXPECT_EQ(file, INVALID_HANDLE_VALUE) << path;
        });
    };
    EXPECT_EQ(errorOpening(dir / "file.txt", 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOpening(dir / "file.txt", 6), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOpening("", OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOpening(dir / "missing\\file.txt", OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOpening(dir / "missing\\file.txt", CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOpening(dir / "file.txt\\inner", OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOpening(dir / "file.txt\\", OPEN_EXISTING), ERROR_INVALID_NAME);
    for (const char* bad : {"a?b", "a*b", "a<b", "a>b", "a|b", "a\"b"}) {
        EXPECT_EQ(errorOpening(dir / bad, CREATE_NEW), ERROR_INVALID_NAME) << bad;
    }
    EXPECT_EQ(
        ErrorOf([] { CreateFileA(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr); }),
        ERROR_PATH_NOT_FOUND);
}

TEST(CreateFile, DirectoriesOpenOnlyWithBackupSemantics) {
    Dir dir;
    SetLastError(0xDEAD);
    EXPECT_EQ(Open(dir.path(), GENERIC_READ, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Open(dir.path(), GENERIC_READ, 0, CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
    HANDLE handle = CreateFileA(dir.path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    FILETIME written{};
    EXPECT_TRUE(GetFileTime(handle, nullptr, nullptr, &written));
    EXPECT_TRUE(CloseHandle(handle));
}

// A file created with the read-only attribute is still writable through the
// handle that created it, and reports the attribute afterwards.
TEST(CreateFile, ReadOnlyAttributeAppliesAfterCreation) {
    Dir dir;
    const std::string path = dir / "ro.txt";
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                              FILE_ATTRIBUTE_READONLY, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, "x", 1, &written, nullptr));
    CloseHandle(file);
    EXPECT_TRUE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Read(path), "x");
    EXPECT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL));
}

#if !defined(_WIN32)
// Wine run as root lets writers through; Windows and this layer do not.
TEST(CreateFile, ReadOnlyFileRefusesWriters) {
    Dir dir;
    const std::string path = dir / "ro.txt";
    ASSERT_TRUE(Write(path, "keep"));
    ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
    for (DWORD disposition : {OPEN_EXISTING, CREATE_ALWAYS, TRUNCATE_EXISTING}) {
        SetLastError(0);
        EXPECT_EQ(Open(path, GENERIC_WRITE, 0, disposition), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    }
    HANDLE reader = Open(path, GENERIC_READ, 0, OPEN_EXISTING);
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    CloseHandle(reader);
    EXPECT_EQ(Read(path), "keep");
}
#endif

// --- share modes ------------------------------------------------------------

constexpr DWORD kRead = GENERIC_READ;
constexpr DWORD kWrite = GENERIC_WRITE;
constexpr DWORD kShareRW = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

struct ShareCase {
    DWORD firstAccess, firstShare, secondAccess, secondShare;
    bool secondOpens;
};

const ShareCase kShareCases[] = {
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

TEST(FileSharing, ConflictingOpensFailWithSharingViolation) {
    Dir dir;
    const std::string path = dir / "shared.txt";
    ASSERT_TRUE(Write(path, "data"));
    for (const auto& c : kShareCases) {
        SCOPED_TRACE("first " + std::to_string(c.firstAccess) + "/" + std::to_string(c.firstShare) +
                     ", second " + std::to_string(c.secondAccess) + "/" +
                     std::to_string(c.secondShare));
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

TEST(FileSharing, RefusedOpenDoesNotTruncate) {
    Dir dir;
    const std::string path = dir / "keep.txt";
    ASSERT_TRUE(Write(path, "contents"));
    HANDLE reader = Open(path, kRead, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    for (DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
        SetLastError(0);
        EXPECT_EQ(Open(path, kWrite, kShareAll, disposition), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    }
    CloseHandle(reader);
    EXPECT_EQ(Read(path), "contents");
}

TEST(FileSharing, DeleteAndRenameNeedFileShareDelete) {
    Dir dir;
    const std::string path = dir / "open.txt";
    ASSERT_TRUE(Write(path, "x"));
    ASSERT_TRUE(Write(dir / "other.txt", "y"));
    HANDLE reader = Open(path, kRead, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(DeleteFileA(path.c_str())); }), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(MoveFileExA(path.c_str(), (dir / "n").c_str(), 0)); }),
              ERROR_SHARING_VIOLATION);
    // Replacing a file that is open without FILE_SHARE_DELETE is refused.
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_FALSE(MoveFileExA((dir / "other.txt").c_str(), path.c_str(),
                                           MOVEFILE_REPLACE_EXISTING));
              }),
              ERROR_ACCESS_DENIED);
    // Copying onto a file that is open without FILE_SHARE_WRITE is refused.
    EXPECT_EQ(
        ErrorOf([&] { EXPECT_FALSE(CopyFileA((dir / "other.txt").c_str(), path.c_str(), FALSE)); }),
        ERROR_SHARING_VIOLATION);
    CloseHandle(reader);

    HANDLE sharing = Open(path, kRead, kShareAll, OPEN_EXISTING);
    ASSERT_NE(sharing, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    CloseHandle(sharing);
    EXPECT_FALSE(Exists(path));
}

// The child opens the file named by args[0] with the access and share mode
// in args[1] and args[2] and exits with the last error (0 on success).
TEST_CHILD(OpenAndReport) {
    HANDLE file = Open(args.at(0), std::strtoul(args.at(1).c_str(), nullptr, 0),
                       std::strtoul(args.at(2).c_str(), nullptr, 0), OPEN_EXISTING);
    DWORD error = file == INVALID_HANDLE_VALUE ? GetLastError() : 0;
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
    return static_cast<int>(error);
}

// The child holds the file open without sharing until the parent creates
// args[2], after it has announced itself by creating args[1].
TEST_CHILD(HoldExclusively) {
    HANDLE file = Open(args.at(0), kRead | kWrite, 0, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return 100;
    if (!Write(args.at(1), "ready"))
        return 101;
    for (int i = 0; i < 6000 && !Exists(args.at(2)); ++i)
        Sleep(10);
    CloseHandle(file);
    return 0;
}

std::string Number(DWORD value) {
    return std::to_string(value);
}

TEST(FileSharing, ConflictsAcrossProcesses) {
    Dir dir;
    const std::string path = dir / "shared.txt";
    ASSERT_TRUE(Write(path, "data"));
    HANDLE writer = Open(path, kWrite, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(testsupport::RunChild("OpenAndReport", {path, Number(kWrite), Number(kShareAll)}),
              static_cast<int>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(testsupport::RunChild("OpenAndReport", {path, Number(kRead), Number(kShareRW)}), 0);
    CloseHandle(writer);
    EXPECT_EQ(testsupport::RunChild("OpenAndReport", {path, Number(kWrite), Number(kShareAll)}), 0);
}

TEST(FileSharing, ChildsOpenBlocksParentUntilClosed) {
    Dir dir;
    const std::string path = dir / "shared.txt";
    const std::string ready = dir / "ready";
    const std::string release = dir / "release";
    ASSERT_TRUE(Write(path, "data"));
    testsupport::ChildProcess child("HoldExclusively", {path, ready, release});
    ASSERT_TRUE(child.Started());
    for (int i = 0; i < 6000 && !Exists(ready); ++i)
        Sleep(10);
    ASSERT_TRUE(Exists(ready));
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(Open(path, kRead, kShareAll, OPEN_EXISTING), INVALID_HANDLE_VALUE);
              }),
              ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(DeleteFileA(path.c_str())); }), ERROR_SHARING_VIOLATION);
    ASSERT_TRUE(Write(release, "go"));
    EXPECT_EQ(child.Wait(), 0);
    HANDLE file = Open(path, kRead, kShareAll, OPEN_EXISTING);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
}

// --- I/O through handles ----------------------------------------------------

class FileIo : public ::testing::Test {
protected:
    void SetUp() override {
        m_file = Open(m_dir / "io.bin", kRead | kWrite, 0, CREATE_ALWAYS);
        ASSERT_NE(m_file, INVALID_HANDLE_VALUE);
    }
    void TearDown() override {
        if (m_file != INVALID_HANDLE_VALUE)
            CloseHandle(m_file);
    }
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
        buffer.resize(got);
        return buffer;
    }
    DWORD Pos() { return SetFilePointer(m_file, 0, nullptr, FILE_CURRENT); }

    Dir m_dir;
    HANDLE m_file = INVALID_HANDLE_VALUE;
};

TEST_F(FileIo, WriteSeekReadAndSize) {
    Put("hello world");
    EXPECT_EQ(GetFileSize(m_file, nullptr), 11u);
    EXPECT_EQ(Pos(), 11u);
    EXPECT_EQ(Get(4), ""); // at the end: success with nothing read
    EXPECT_EQ(SetFilePointer(m_file, 6, nullptr, FILE_BEGIN), 6u);
    EXPECT_EQ(Get(100), "world");
    EXPECT_EQ(SetFilePointer(m_file, -5, nullptr, FILE_END), 6u);
    EXPECT_EQ(SetFilePointer(m_file, -6, nullptr, FILE_CURRENT), 0u);
    EXPECT_EQ(Get(5), "hello");
    DWORD high = 0xDEAD;
    EXPECT_EQ(GetFileSize(m_file, &high), 11u);
    EXPECT_EQ(high, 0u);
}

TEST_F(FileIo, NegativeSeeksAndBadMethodsLeaveThePointer) {
    Put("abc");
    SetLastError(0);
    EXPECT_EQ(SetFilePointer(m_file, -4, nullptr, FILE_END), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
    EXPECT_EQ(SetFilePointer(m_file, -1, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
    LONG high = -1;
    EXPECT_EQ(SetFilePointer(m_file, -5, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
    EXPECT_EQ(SetFilePointer(m_file, 0, nullptr, 7), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Pos(), 3u);
}

TEST_F(FileIo, HighPartMakesA64BitDistance) {
    LONG high = 1;
    EXPECT_EQ(SetFilePointer(m_file, 16, &high, FILE_BEGIN), 16u);
    EXPECT_EQ(high, 1);
    high = 0;
    EXPECT_EQ(SetFilePointer(m_file, 0, &high, FILE_CURRENT), 16u);
    EXPECT_EQ(high, 1);
    // A position whose low part looks like the failure value: last error 0.
    high = 0;
    SetLastError(0xDEAD);
    EXPECT_EQ(SetFilePointer(m_file, -1, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(high, 0);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    // Writing there makes a (sparse) file of 4 GiB.
    Put("z");
    DWORD sizeHigh = 0;
    EXPECT_EQ(GetFileSize(m_file, &sizeHigh), 0u);
    EXPECT_EQ(sizeHigh, 1u);
    EXPECT_TRUE(SetFilePointer(m_file, 0, nullptr, FILE_BEGIN) == 0 && SetEndOfFile(m_file));
}

// Without a high part a caller could not learn a position beyond 32 bits,
// so such a move fails and leaves the pointer.
TEST_F(FileIo, PositionsBeyond32BitsNeedTheHighPart) {
#if defined(_WIN32)
    GTEST_SKIP() << "Wine moves the pointer and returns the low part where Windows fails";
#endif
    EXPECT_EQ(SetFilePointer(m_file, 0x7FFFFFFF, nullptr, FILE_BEGIN), 0x7FFFFFFFu);
    EXPECT_EQ(SetFilePointer(m_file, 0x7FFFFFFF, nullptr, FILE_CURRENT), 0xFFFFFFFEu);
    SetLastError(0);
    EXPECT_EQ(SetFilePointer(m_file, 2, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Pos(), 0xFFFFFFFEu);
}

TEST_F(FileIo, SetEndOfFileTruncatesAndExtendsAtThePointer) {
    Put("0123456789");
    SetFilePointer(m_file, 4, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(m_file));
    EXPECT_EQ(GetFileSize(m_file, nullptr), 4u);
    EXPECT_EQ(Pos(), 4u);
    SetFilePointer(m_file, 8, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(m_file));
    EXPECT_EQ(GetFileSize(m_file, nullptr), 8u);
    SetFilePointer(m_file, 0, nullptr, FILE_BEGIN);
    EXPECT_EQ(Get(8), std::string("0123\0\0\0\0", 8));
    EXPECT_TRUE(FlushFileBuffers(m_file));
}

TEST_F(FileIo, OverlappedOffsetsOnASynchronousHandle) {
    Put("abcdefgh");
    OVERLAPPED at{};
    at.Offset = 2;
    char buffer[3] = {};
    DWORD got = 0;
    EXPECT_TRUE(ReadFile(m_file, buffer, 3, &got, &at));
    EXPECT_EQ(std::string(buffer, got), "cde");
    EXPECT_EQ(Pos(), 5u);
    at.Offset = 6;
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(m_file, "XY", 2, &written, &at));
    EXPECT_EQ(Pos(), 8u);
    SetFilePointer(m_file, 0, nullptr, FILE_BEGIN);
    EXPECT_EQ(Get(8), "abcdefXY");
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
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(WriteFile(reader, "x", 1, &n, nullptr)); }),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(ReadFile(writer, buffer, 1, &n, nullptr)); }),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(ReadFile(none, buffer, 1, &n, nullptr)); }),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(FlushFileBuffers(reader)); }), ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetFileSize(none, nullptr), 3u); // metadata needs no access
    FILETIME t{};
    EXPECT_TRUE(GetFileTime(none, &t, &t, &t));
    for (HANDLE h : {reader, writer, none}) {
        EXPECT_TRUE(CloseHandle(h));
    }
}

TEST(FileHandles, ClosedHandlesAreInvalid) {
    Dir dir;
    HANDLE file = Open(dir / "f.txt", kRead | kWrite, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(CloseHandle(file));
    char buffer[1];
    DWORD n = 0;
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(CloseHandle(file)); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(ReadFile(file, buffer, 1, &n, nullptr)); }),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(WriteFile(file, "x", 1, &n, nullptr)); }),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { SetFilePointer(file, 0, nullptr, FILE_BEGIN); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(GetFileSize(file, nullptr), INVALID_FILE_SIZE); }),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(SetEndOfFile(file)); }), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(CloseHandle(nullptr)); }), ERROR_INVALID_HANDLE);
}

// The last-write time is the one a search reports, and copying keeps it.
TEST(FileHandles, FileTimeMatchesSearchAndSurvivesCopy) {
    Dir dir;
    const std::string path = dir / "t.txt";
    ASSERT_TRUE(Write(path, "abc"));
    HANDLE file = Open(path, kRead, kShareAll, OPEN_EXISTING);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    FILETIME created{}, accessed{}, written{};
    ASSERT_TRUE(GetFileTime(file, &created, &accessed, &written));
    CloseHandle(file);
    // After 2001-01-01 (FILETIME 0x01C07385'2A3C4000): 100 ns since 1601.
    EXPECT_GT(written.dwHighDateTime, 0x01C07385u);
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(path.c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_EQ(data.ftLastWriteTime.dwLowDateTime, written.dwLowDateTime);
    EXPECT_EQ(data.ftLastWriteTime.dwHighDateTime, written.dwHighDateTime);
    ASSERT_TRUE(CopyFileA(path.c_str(), (dir / "copy.txt").c_str(), TRUE));
    search = FindFirstFileA((dir / "copy.txt").c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_EQ(data.ftLastWriteTime.dwHighDateTime, written.dwHighDateTime);
    EXPECT_EQ(data.ftLastWriteTime.dwLowDateTime, written.dwLowDateTime);
}

} // namespace
