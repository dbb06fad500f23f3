// System-call failures injected into the Linux layer arrive as the Win32
// results and error codes that Windows gives for the same conditions.
#include "filetest.h"

#if !defined(_WIN32)
#include "win32/syscalls.h"

#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace filetest;

namespace {

#if !defined(_WIN32)

// Restores every system call when the test ends, whatever it asserted.
class Injected : public ::testing::Test {
protected:
    void TearDown() override { kelwin_reset_syscalls(); }
    template <class Fn> void Inject(const char* name, Fn* replacement) {
        ASSERT_EQ(kelwin_set_syscall(name, reinterpret_cast<void*>(replacement)), 1) << name;
    }
    Dir m_dir;
};

int OpenDenied(const char*, int, ...) {
    errno = EACCES;
    return -1;
}
int OpenTooMany(const char*, int, ...) {
    errno = EMFILE;
    return -1;
}
ssize_t ReadFails(int, void*, size_t) {
    errno = EIO;
    return -1;
}
ssize_t WriteNoSpace(int, const void*, size_t) {
    errno = ENOSPC;
    return -1;
}
int FsyncFails(int) {
    errno = EIO;
    return -1;
}
int FtruncateFails(int, off_t) {
    errno = EFBIG;
    return -1;
}
off_t LseekFails(int, off_t, int) {
    errno = EOVERFLOW;
    return -1;
}
int FcntlNoLocks(int, int, ...) {
    errno = ENOLCK;
    return -1;
}
int StatxFails(int, const char*, int, unsigned, struct statx*) {
    errno = EACCES;
    return -1;
}
int MkdirNoSpace(const char*, mode_t) {
    errno = ENOSPC;
    return -1;
}
int Renameat2CrossDevice(int, const char*, int, const char*, unsigned) {
    errno = EXDEV;
    return -1;
}
DIR* OpendirDenied(const char*) {
    errno = EACCES;
    return nullptr;
}
int DupFails(int) {
    errno = EMFILE;
    return -1;
}
char* GetcwdGone(char*, size_t) {
    errno = ENOENT;
    return nullptr;
}
int DladdrNothing(const void*, Dl_info*) {
    return 0;
}
ssize_t ReadlinkFails(const char*, char*, size_t) {
    errno = EACCES;
    return -1;
}
int UnlinkBusy(const char*) {
    errno = EBUSY;
    return -1;
}

TEST_F(Injected, OpenFailuresBecomeWin32Codes) {
    ASSERT_TRUE(Write(m_dir / "f", "x"));
    Inject("open", &OpenDenied);
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(Open(m_dir / "f", GENERIC_WRITE, 0, OPEN_EXISTING),
                            INVALID_HANDLE_VALUE);
              }),
              ERROR_ACCESS_DENIED);
    Inject("open", &OpenTooMany);
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(Open(m_dir / "g", GENERIC_WRITE, 0, CREATE_NEW), INVALID_HANDLE_VALUE);
              }),
              ERROR_TOO_MANY_OPEN_FILES);
}

TEST_F(Injected, TransferFailuresBecomeWin32Codes) {
    HANDLE file = Open(m_dir / "f", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char buffer[8];
    DWORD n = 99;
    Inject("read", &ReadFails);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(ReadFile(file, buffer, 8, &n, nullptr)); }),
              ERROR_IO_DEVICE);
    EXPECT_EQ(n, 0u);
    Inject("write", &WriteNoSpace);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(WriteFile(file, "abc", 3, &n, nullptr)); }),
              ERROR_DISK_FULL);
    Inject("fsync", &FsyncFails);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(FlushFileBuffers(file)); }), ERROR_IO_DEVICE);
    Inject("ftruncate", &FtruncateFails);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(SetEndOfFile(file)); }), ERROR_DISK_FULL);
    Inject("statx", &StatxFails);
    FILETIME t;
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(GetFileTime(file, &t, &t, &t)); }), ERROR_ACCESS_DENIED);
    Inject("lseek", &LseekFails);
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    kelwin_reset_syscalls();
    EXPECT_TRUE(CloseHandle(file));
}

// Where the file system keeps no byte-range locks, files open unshared.
TEST_F(Injected, WithoutLocksSharingIsNotEnforced) {
    ASSERT_TRUE(Write(m_dir / "f", "x"));
    Inject("fcntl", &FcntlNoLocks);
    HANDLE first = Open(m_dir / "f", GENERIC_READ, 0, OPEN_EXISTING);
    HANDLE second = Open(m_dir / "f", GENERIC_READ, 0, OPEN_EXISTING);
    EXPECT_NE(first, INVALID_HANDLE_VALUE);
    EXPECT_NE(second, INVALID_HANDLE_VALUE);
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(Injected, MoveAcrossFileSystemsNeedsCopyAllowed) {
    ASSERT_TRUE(Write(m_dir / "a", "moved by copy"));
    Inject("renameat2", &Renameat2CrossDevice);
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_FALSE(MoveFileExA((m_dir / "a").c_str(), (m_dir / "b").c_str(), 0));
              }),
              ERROR_NOT_SAME_DEVICE);
    EXPECT_TRUE(MoveFileExA((m_dir / "a").c_str(), (m_dir / "b").c_str(), MOVEFILE_COPY_ALLOWED));
    EXPECT_FALSE(Exists(m_dir / "a"));
    EXPECT_EQ(Read(m_dir / "b"), "moved by copy");
}

TEST_F(Injected, DirectoryAndSearchFailures) {
    Inject("mkdir", &MkdirNoSpace);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(CreateDirectoryA((m_dir / "d").c_str(), nullptr)); }),
              ERROR_DISK_FULL);
    Inject("dup", &DupFails);
    WIN32_FIND_DATAA data;
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(FindFirstFileA((m_dir / "*").c_str(), &data), INVALID_HANDLE_VALUE);
              }),
              ERROR_TOO_MANY_OPEN_FILES);
    ASSERT_TRUE(Write(m_dir / "f", "x"));
    Inject("unlink", &UnlinkBusy);
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(DeleteFileA((m_dir / "f").c_str())); }), ERROR_BUSY);
}

// A directory that cannot be listed still opens names spelled as they are.
TEST_F(Injected, UnlistableDirectoryKeepsExactNames) {
    ASSERT_TRUE(Write(m_dir / "Exact.txt", "x"));
    Inject("opendir", &OpendirDenied);
    EXPECT_EQ(Read(m_dir / "Exact.txt"), "x");
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(Exists(m_dir / "exact.txt")); }), ERROR_FILE_NOT_FOUND);
}

TEST_F(Injected, CurrentDirectoryAndModuleFailures) {
    char buffer[256];
    Inject("getcwd", &GetcwdGone);
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(GetCurrentDirectoryA(sizeof buffer, buffer), 0u); }),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(_getcwd(buffer, sizeof buffer), nullptr);
    kelwin_reset_syscalls();
    Inject("dladdr", &DladdrNothing);
    EXPECT_EQ(ErrorOf([&] {
                  EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<HMODULE>(&CreateFileA), buffer,
                                               sizeof buffer),
                            0u);
              }),
              ERROR_MOD_NOT_FOUND);
    Inject("readlink", &ReadlinkFails);
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(GetModuleFileNameA(nullptr, buffer, sizeof buffer), 0u); }),
              ERROR_ACCESS_DENIED);
}

#else

TEST(Injected, LinuxOnly) {
    GTEST_SKIP() << "system calls are injected into the Linux layer";
}

#endif

} // namespace
