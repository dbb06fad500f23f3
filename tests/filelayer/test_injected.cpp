// System-call failures injected into the Linux layer arrive as the Win32
// results and error codes that Windows gives for the same conditions.
#include "filetest.h"

#if !defined(_WIN32)
#include "win32/syscalls.h"

#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>
#endif

using namespace filetest;

namespace {

#if !defined(_WIN32)

// A replacement for a system call returning R: it fails with errno `Error`.
template <int Error, class R, class... Args> R Fails(Args...) {
    errno = Error;
    if constexpr (std::is_pointer<R>::value)
        return nullptr;
    else
        return static_cast<R>(-1);
}
// The same for the calls with a variable argument list (open, fcntl).
template <int Error, class... Args> int FailsVarargs(Args..., ...) {
    errno = Error;
    return -1;
}
int DladdrNothing(const void*, Dl_info*) {
    return 0;
}

// Restores every system call when the test ends, whatever it asserted.
class Injected : public ::testing::Test {
protected:
    void TearDown() override { kelwin_reset_syscalls(); }
    // Makes the system call `name` fail through `replacement`, and only it.
    void Inject(const char* name, void* replacement) {
        kelwin_reset_syscalls();
        ASSERT_EQ(kelwin_set_syscall(name, replacement), 1) << name;
    }
    Dir m_dir;
};

#define FAKE(...) reinterpret_cast<void*>(&__VA_ARGS__)

// Each failing system call makes the Win32 call that made it fail with the
// Win32 code for that errno.
TEST_F(Injected, FailuresBecomeWin32Codes) {
    const std::string f = m_dir / "f";
    ASSERT_TRUE(Write(f, "x"));
    HANDLE file = Open(m_dir / "h", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char buffer[256];
    DWORD n = 99;
    FILETIME t;
    WIN32_FIND_DATAA data;
    Inject("open", FAKE(FailsVarargs<EACCES, const char*, int>));
    EXPECT_WIN32(Open(f, GENERIC_WRITE, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE,
                 ERROR_ACCESS_DENIED);
    Inject("open", FAKE(FailsVarargs<EMFILE, const char*, int>));
    EXPECT_WIN32(Open(m_dir / "g", GENERIC_WRITE, 0, CREATE_NEW), INVALID_HANDLE_VALUE,
                 ERROR_TOO_MANY_OPEN_FILES);
    Inject("read", FAKE(Fails<EIO, ssize_t, int, void*, size_t>));
    EXPECT_WIN32(ReadFile(file, buffer, 8, &n, nullptr), FALSE, ERROR_IO_DEVICE);
    EXPECT_EQ(n, 0u);
    Inject("write", FAKE(Fails<ENOSPC, ssize_t, int, const void*, size_t>));
    EXPECT_WIN32(WriteFile(file, "abc", 3, &n, nullptr), FALSE, ERROR_DISK_FULL);
    Inject("fsync", FAKE(Fails<EIO, int, int>));
    EXPECT_WIN32(FlushFileBuffers(file), FALSE, ERROR_IO_DEVICE);
    Inject("ftruncate", FAKE(Fails<EFBIG, int, int, off_t>));
    EXPECT_WIN32(SetEndOfFile(file), FALSE, ERROR_DISK_FULL);
    Inject("statx", FAKE(Fails<EACCES, int, int, const char*, int, unsigned, struct statx*>));
    EXPECT_WIN32(GetFileTime(file, &t, &t, &t), FALSE, ERROR_ACCESS_DENIED);
    Inject("lseek", FAKE(Fails<EOVERFLOW, off_t, int, off_t, int>));
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    Inject("mkdir", FAKE(Fails<ENOSPC, int, const char*, mode_t>));
    EXPECT_WIN32(CreateDirectoryA((m_dir / "d").c_str(), nullptr), FALSE, ERROR_DISK_FULL);
    Inject("dup", FAKE(Fails<EMFILE, int, int>));
    EXPECT_WIN32(FindFirstFileA((m_dir / "*").c_str(), &data), INVALID_HANDLE_VALUE,
                 ERROR_TOO_MANY_OPEN_FILES);
    Inject("unlink", FAKE(Fails<EBUSY, int, const char*>));
    EXPECT_WIN32(DeleteFileA(f.c_str()), FALSE, ERROR_BUSY);
    Inject("getcwd", FAKE(Fails<ENOENT, char*, char*, size_t>));
    EXPECT_WIN32(GetCurrentDirectoryA(sizeof buffer, buffer), 0u, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(_getcwd(buffer, sizeof buffer), nullptr);
    Inject("dladdr", FAKE(DladdrNothing));
    EXPECT_WIN32(GetModuleFileNameA(reinterpret_cast<HMODULE>(&CreateFileA), buffer, 64), 0u,
                 ERROR_MOD_NOT_FOUND);
    Inject("readlink", FAKE(Fails<EACCES, ssize_t, const char*, char*, size_t>));
    EXPECT_WIN32(GetModuleFileNameA(nullptr, buffer, sizeof buffer), 0u, ERROR_ACCESS_DENIED);
    kelwin_reset_syscalls();
    EXPECT_TRUE(CloseHandle(file));
}

// Where the file system keeps no byte-range locks, files open unshared.
TEST_F(Injected, WithoutLocksSharingIsNotEnforced) {
    ASSERT_TRUE(Write(m_dir / "f", "x"));
    Inject("fcntl", FAKE(FailsVarargs<ENOLCK, int, int>));
    HANDLE first = Open(m_dir / "f", GENERIC_READ, 0, OPEN_EXISTING);
    HANDLE second = Open(m_dir / "f", GENERIC_READ, 0, OPEN_EXISTING);
    EXPECT_NE(first, INVALID_HANDLE_VALUE);
    EXPECT_NE(second, INVALID_HANDLE_VALUE);
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(Injected, MoveAcrossFileSystemsNeedsCopyAllowed) {
    const std::string a = m_dir / "a", b = m_dir / "b";
    ASSERT_TRUE(Write(a, "moved by copy"));
    Inject("renameat2", FAKE(Fails<EXDEV, int, int, const char*, int, const char*, unsigned>));
    EXPECT_WIN32(MoveFileExA(a.c_str(), b.c_str(), 0), FALSE, ERROR_NOT_SAME_DEVICE);
    EXPECT_TRUE(MoveFileExA(a.c_str(), b.c_str(), MOVEFILE_COPY_ALLOWED));
    EXPECT_FALSE(Exists(a));
    EXPECT_EQ(Read(b), "moved by copy");
}

// A directory that cannot be listed still opens names spelled as they are.
TEST_F(Injected, UnlistableDirectoryKeepsExactNames) {
    ASSERT_TRUE(Write(m_dir / "Exact.txt", "x"));
    Inject("opendir", FAKE(Fails<EACCES, DIR*, const char*>));
    EXPECT_EQ(Read(m_dir / "Exact.txt"), "x");
    EXPECT_WIN32(Exists(m_dir / "exact.txt"), false, ERROR_FILE_NOT_FOUND);
}

#else

TEST(Injected, LinuxOnly) {
    GTEST_SKIP() << "system calls are injected into the Linux layer";
}

#endif

} // namespace
