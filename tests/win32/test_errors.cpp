// The platform layer's error reporting: the per-thread last error, the texts
// of system error codes, and failures injected into system calls.
#include "kelwin32.h"
#include "testsupport.h"

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#endif

namespace {

std::string SystemText(DWORD code) {
    char buffer[512] = {};
    DWORD n =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                       MAKELANGID(LANG_ENGLISH, SUBLANG_DEFAULT), buffer, sizeof buffer, nullptr);
    return std::string(buffer, n);
}

// Both threads set their codes and then meet at a spin barrier, which makes no
// system call that could itself change the last error before it is read.
TEST(LastError, IsKeptPerThread) {
    std::atomic<int> arrived{0};
    auto meet = [&] {
        arrived.fetch_add(1);
        while (arrived.load() < 2) {
        }
    };
    DWORD seenByOther = 0;
    std::thread other([&] {
        SetLastError(ERROR_FILE_NOT_FOUND);
        meet();
        seenByOther = GetLastError();
    });
    SetLastError(ERROR_ACCESS_DENIED);
    meet();
    DWORD seenByMain = GetLastError();
    other.join();
    EXPECT_EQ(seenByOther, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(seenByMain, ERROR_ACCESS_DENIED);
}

// Windows ends every system text in "\r\n"; the words are Windows' own on
// Linux and Wine's (shorter) under Wine, so only the shape is common.
TEST(SystemMessageText, ShapeAllocationAndFailures) {
    for (DWORD code : {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_ALREADY_EXISTS,
                       ERROR_SHARING_VIOLATION}) {
        std::string text = SystemText(code);
        ASSERT_GT(text.size(), 2u) << code;
        EXPECT_EQ(text.find('\r'), text.size() - 2) << code;
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << code;
    }
    char* allocated = nullptr;
    DWORD n = FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, ERROR_SHARING_VIOLATION, 0, reinterpret_cast<LPSTR>(&allocated), 0, nullptr);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(std::string(allocated, n), SystemText(ERROR_SHARING_VIOLATION));
    LocalFree(allocated);

    char buffer[8];
    SetLastError(0);
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 0x2FFFFFF, 0, buffer,
                             sizeof buffer, nullptr),
              0u);
    EXPECT_EQ(GetLastError(), ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                             ERROR_ACCESS_DENIED, 0, buffer, 4, nullptr),
              0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

TEST(ComputerName, ReportsSizeNeededWhenBufferTooSmall) {
    char name[64];
    DWORD size = sizeof name;
    ASSERT_TRUE(GetComputerNameA(name, &size));
    EXPECT_EQ(std::string(name).size(), size);
    DWORD small = 1;
    EXPECT_FALSE(GetComputerNameA(name, &small));
    EXPECT_EQ(GetLastError(), ERROR_BUFFER_OVERFLOW);
    EXPECT_EQ(small, size + 1);
}

#if !defined(_WIN32)
// The Linux layer gives Windows' English texts, and a text for every code
// its errno table gives (unknown errno values become ERROR_GEN_FAILURE).
TEST(SystemMessageText, IsWindowsEnglishTextForEveryTranslatedErrno) {
    EXPECT_EQ(SystemText(ERROR_FILE_NOT_FOUND), "The system cannot find the file specified.\r\n");
    EXPECT_EQ(SystemText(ERROR_ACCESS_DENIED), "Access is denied.\r\n");
    EXPECT_EQ(SystemText(ERROR_ALREADY_EXISTS),
              "Cannot create a file when that file already exists.\r\n");
    EXPECT_EQ(kelwin_error_from_errno(99999), ERROR_GEN_FAILURE);
    for (int errnum = 0; errnum < 200; ++errnum) {
        DWORD code = kelwin_error_from_errno(errnum);
        EXPECT_FALSE(SystemText(code).empty()) << "errno " << errnum << " -> " << code;
    }
}

int FailingGethostname(char*, size_t) {
    errno = EACCES;
    return -1;
}

TEST(SyscallOverride, InjectedFailureArrivesAsWin32Error) {
    ASSERT_EQ(kelwin_set_syscall("gethostname", reinterpret_cast<void*>(&FailingGethostname)), 1);
    char name[64];
    DWORD size = sizeof name;
    EXPECT_FALSE(GetComputerNameA(name, &size));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    kelwin_reset_syscalls();
    size = sizeof name;
    EXPECT_TRUE(GetComputerNameA(name, &size));
    EXPECT_EQ(kelwin_set_syscall("no_such_call", nullptr), 0);
}
#endif

} // namespace
