// Faults the mapped files do not resolve go to whatever handled faults before
// (here: the test's own last-chance handler, which ends the child process
// with a code of its own) instead of being repeated for ever; and the Linux
// layer's failure points.
#include "DYNAMIC.h"
#include "memtest.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>
#endif

using namespace memtest;

namespace {

constexpr unsigned long kMiB = 1 << 20;
constexpr unsigned long kStep = 65536;
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr int kHandledBefore = 77;

#if defined(_WIN32)
LONG WINAPI LastChance(EXCEPTION_POINTERS*) {
    ExitProcess(kHandledBefore);
    return EXCEPTION_CONTINUE_SEARCH;
}

void InstallPreviousHandler() {
    SetUnhandledExceptionFilter(&LastChance);
}
#else
void LastChance(int, siginfo_t*, void*) {
    _exit(kHandledBefore);
}

// Installed before the library's own handler, which therefore passes it on.
void InstallPreviousHandler() {
    struct sigaction action {};
    action.sa_sigaction = &LastChance;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, nullptr);
}
#endif

} // namespace

// args[0]: the file to map; args[1]: which access to make.
TEST_CHILD(UnresolvedFaultChild) {
    InstallPreviousHandler();
    const std::string what = args.at(1);
    const bool readOnly = what == "read-only";
    if (readOnly && !Write(args.at(0), std::string(kStep, 'r')))
        return 1;
    HANDLE file = Open(args.at(0), readOnly ? GENERIC_READ : kReadWrite, OPEN_ALWAYS);
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<volatile char*>(
        mapped.Create(file, readOnly ? GENERIC_READ : kReadWrite, kMiB, kStep, kStep));
    if (!base)
        return 2;
    auto* foreign =
        static_cast<volatile char*>(VirtualAlloc(nullptr, kStep, MEM_RESERVE, PAGE_NOACCESS));
    if (what == "guard")
        base[kMiB] = 1;
    else if (what == "read-only")
        base[10] = 1;
    else if (what == "foreign")
        foreign[10] = 1;
    return 0; // the access went through: it should not have
}

TEST(UnresolvedFaults, GoToTheHandlerThatWasThereBefore) {
    Dir dir;
    for (const char* what : {"guard", "read-only", "foreign"}) {
        SCOPED_TRACE(what);
        const std::string path = dir / (std::string(what) + ".bin");
        EXPECT_EQ(testsupport::RunChild("UnresolvedFaultChild", {path, what}), kHandledBefore);
    }
}

#if !defined(_WIN32)

namespace {

int g_injectedErrno = 0;

int FailingFtruncate(int, off_t) {
    errno = g_injectedErrno;
    return -1;
}

void* FailingMmap(void*, size_t, int, int, int, off_t) {
    errno = ENOMEM;
    return MAP_FAILED;
}

class InjectedFailures : public ::testing::Test {
protected:
    void TearDown() override { kelwin_reset_syscalls(); }
};

} // namespace

TEST_F(InjectedFailures, FileGrowthFailuresReachTheCallers) {
    Dir dir;
    HANDLE file = Open(dir / "full.bin", kReadWrite, CREATE_ALWAYS);
    g_injectedErrno = ENOSPC;
    ASSERT_EQ(kelwin_set_syscall("ftruncate", reinterpret_cast<void*>(&FailingFtruncate)), 1);
    EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 4096, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DISK_FULL));

    // A mapped file that cannot grow raises code 1 on the calling thread and
    // keeps its range; it grows once the disk has room again.
    kelwin_reset_syscalls();
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file, kReadWrite, kMiB, kStep, kStep));
    ASSERT_NE(base, nullptr);
    kelwin_set_syscall("ftruncate", reinterpret_cast<void*>(&FailingFtruncate));
    Raised raised = RaisedBy([&] { mapped.Set(100000, 'x', 1); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 1);
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_RESERVE));
    kelwin_reset_syscalls();
    mapped.Set(100000, 'x', 1);
    EXPECT_EQ(base[100000], 'x');
    mapped.Close(0);
    CloseHandle(file);
}

TEST_F(InjectedFailures, AddressSpaceFailuresReachTheCallers) {
    Dir dir;
    HANDLE file = Open(dir / "nospace.bin", kReadWrite, CREATE_ALWAYS);
    ASSERT_EQ(kelwin_set_syscall("mmap", reinterpret_cast<void*>(&FailingMmap)), 1);
    EXPECT_EQ(VirtualAlloc(nullptr, kStep, MEM_RESERVE, PAGE_NOACCESS), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    TDynamicMemoryMappedFile mapped;
    Raised raised = RaisedBy([&] { mapped.Create(file, kReadWrite, kMiB, kStep, kStep); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 0);
    kelwin_reset_syscalls();
    CloseHandle(file);
}

TEST(ReleasedAddressSpace, StaysHeldForTheLayerButIsFreeForWin32Callers) {
    const SIZE_T half = 4 * kStep;
    char* base = static_cast<char*>(VirtualAlloc(nullptr, 2 * half, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(base, nullptr);
    ASSERT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_FREE));
    EXPECT_EQ(Query(base).size, 2 * half);
    // Nothing else in the process can be placed there meanwhile...
    EXPECT_EQ(
        mmap(base, kStep, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0),
        MAP_FAILED);
    // ...while Win32 callers place allocations there, leaving the rest free.
    char* low = static_cast<char*>(VirtualAlloc(base, half, MEM_RESERVE, PAGE_NOACCESS));
    char* high = static_cast<char*>(
        VirtualAlloc(base + half + kStep, half - kStep, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    ASSERT_EQ(low, base);
    ASSERT_EQ(high, base + half + kStep);
    high[half - kStep - 1] = 1;
    EXPECT_EQ(Query(base + half).state, static_cast<DWORD>(MEM_FREE));
    EXPECT_EQ(Query(base + half).size, kStep);

    // Released space is handed back to the system when 64 newer pieces are
    // kept: release `high` first and `low` last, with 63 others between.
    std::vector<void*> others;
    for (int i = 0; i < 63; ++i)
        others.push_back(VirtualAlloc(nullptr, kStep, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_TRUE(VirtualFree(high, 0, MEM_RELEASE));
    for (void* other : others)
        ASSERT_TRUE(VirtualFree(other, 0, MEM_RELEASE));
    ASSERT_TRUE(VirtualFree(low, 0, MEM_RELEASE));
    // The upper half is now unused address space next to the released lower
    // half; one allocation spans both.
    char* whole = static_cast<char*>(VirtualAlloc(base, 2 * half, MEM_RESERVE, PAGE_NOACCESS));
    EXPECT_EQ(whole, base);
    EXPECT_EQ(Query(base).size, 2 * half);
    EXPECT_TRUE(VirtualFree(whole, 0, MEM_RELEASE));
}

#endif
