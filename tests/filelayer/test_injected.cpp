// System-call failures injected into the Linux layer arrive as the Win32
// results and error codes that Windows gives for the same conditions.
#include "filetest.h"

#if !defined(_WIN32)
#include "win32/syscalls.h"

#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <functional>
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
    void Inject(const char* name, void* replacement) {
        ASSERT_EQ(kelwin_set_syscall(name, replacement), 1) << name;
    }
    Dir m_dir;
};

#define FAKE(...) reinterpret_cast<void*>(&__VA_ARGS__)

// Each case makes one system call fail and expects the Win32 call that makes
// it to fail with the Win32 code for that errno.
TEST_F(Injected, FailuresBecomeWin32Codes) {
    ASSERT_TRUE(Write(m_dir / "f", "x"));
    HANDLE file = Open(m_dir / "h", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char buffer[256];
    DWORD n = 99;
    FILETIME t;
    WIN32_FIND_DATAA data;
    const std::string f = m_dir / "f";
    const struct {
        const char* syscall;
        void* fake;
        std::function<bool()> failed; // whether the Win32 call reported failure
        DWORD error;
    } cases[] = {
        {"open", FAKE(FailsVarargs<EACCES, const char*, int>),
         [&] { return Open(f, GENERIC_WRITE, 0, OPEN_EXISTING) == INVALID_HANDLE_VALUE; },
         ERROR_ACCESS_DENIED},
        {"open", FAKE(FailsVarargs<EMFILE, const char*, int>),
         [&] { return Open(m_dir / "g", GENERIC_WRITE, 0, CREATE_NEW) == INVALID_HANDLE_VALUE; },
         ERROR_TOO_MANY_OPEN_FILES},
        {"read", FAKE(Fails<EIO, ssize_t, int, void*, size_t>),
         [&] { return !ReadFile(file, buffer, 8, &n, nullptr) && n == 0; }, ERROR_IO_DEVICE},
        {"write", FAKE(Fails<ENOSPC, ssize_t, int, const void*, size_t>),
         [&] { return !WriteFile(file, "abc", 3, &n, nullptr); }, ERROR_DISK_FULL},
        {"fsync", FAKE(Fails<EIO, int, int>), [&] { return !FlushFileBuffers(file); },
         ERROR_IO_DEVICE},
        {"ftruncate", FAKE(Fails<EFBIG, int, int, off_t>), [&] { return !SetEndOfFile(file); },
         ERROR_DISK_FULL},
        {"statx", FAKE(Fails<EACCES, int, int, const char*, int, unsigned, struct statx*>),
         [&] { return !GetFileTime(file, &t, &t, &t); }, ERROR_ACCESS_DENIED},
        {"mkdir", FAKE(Fails<ENOSPC, int, const char*, mode_t>),
         [&] { return !CreateDirectoryA((m_dir / "d").c_str(), nullptr); }, ERROR_DISK_FULL},
        {"dup", FAKE(Fails<EMFILE, int, int>),
         [&] { return FindFirstFileA((m_dir / "*").c_str(), &data) == INVALID_HANDLE_VALUE; },
         ERROR_TOO_MANY_OPEN_FILES},
        {"unlink", FAKE(Fails<EBUSY, int, const char*>), [&] { return !DeleteFileA(f.c_str()); },
         ERROR_BUSY},
        {"getcwd", FAKE(Fails<ENOENT, char*, char*, size_t>),
         [&] { return GetCurrentDirectoryA(sizeof buffer, buffer) == 0; }, ERROR_FILE_NOT_FOUND},
        {"dladdr", FAKE(DladdrNothing),
         [&] {
             return GetModuleFileNameA(reinterpret_cast<HMODULE>(&CreateFileA), buffer,
                                       sizeof buffer) == 0;
         },
         ERROR_MOD_NOT_FOUND},
        {"readlink", FAKE(Fails<EACCES, ssize_t, const char*, char*, size_t>),
         [&] { return GetModuleFileNameA(nullptr, buffer, sizeof buffer) == 0; },
         ERROR_ACCESS_DENIED},
    };
    for (const auto& c : cases) {
        Inject(c.syscall, c.fake);
        SetLastError(0xDEAD);
        EXPECT_TRUE(c.failed()) << c.syscall;
        EXPECT_EQ(GetLastError(), c.error) << c.syscall;
        kelwin_reset_syscalls();
    }
    Inject("lseek", FAKE(Fails<EOVERFLOW, off_t, int, off_t, int>));
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    Inject("getcwd", FAKE(Fails<ENOENT, char*, char*, size_t>));
    EXPECT_EQ(_getcwd(buffer, sizeof buffer), nullptr);
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
