// Faults the mapped files do not resolve go to whatever handled faults before
// (here: the test's own last-chance handler, which ends the child process
// with a code of its own) instead of being repeated for ever; and the Linux
// layer's failure points.
#include "DYNAMIC.h"
#include "memtest.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>
#endif

using namespace memtest;

namespace {

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
    if (readOnly && !WriteBytes(args.at(0), std::string(kStep, 'r')))
        return 1;
    HANDLE file = OpenShared(args.at(0), readOnly ? GENERIC_READ : kReadWrite, OPEN_ALWAYS);
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
    TempDir dir;
    for (const char* what : {"guard", "read-only", "foreign"}) {
        SCOPED_TRACE(what);
        const std::string path = dir.file(std::string(what) + ".bin");
        EXPECT_EQ(testsupport::RunChild("UnresolvedFaultChild", {path, what}), kHandledBefore);
    }
}

#if !defined(_WIN32)

namespace {

int FailingFtruncate(int, off_t) {
    errno = ENOSPC;
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

TEST_F(InjectedFailures, FileGrowthAndAddressSpaceFailuresReachTheCallers) {
    TempDir dir;
    HANDLE file = OpenShared(dir.file("full.bin"), kReadWrite, CREATE_ALWAYS);
    ASSERT_EQ(kelwin_set_syscall("ftruncate", reinterpret_cast<void*>(&FailingFtruncate)), 1);
    EXPECT_EQ(LastErrorIf(!CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 4096, nullptr)),
              ERROR_DISK_FULL);

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
    EXPECT_EQ(StateOf(base), MEM_RESERVE);
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
    kelwin_reset_syscalls();
    mapped.Set(100000, 'x', 1);
    EXPECT_EQ(base[100000], 'x');
    mapped.Close(0);

    // No address space: the reservation fails with code 0.
    ASSERT_EQ(kelwin_set_syscall("mmap", reinterpret_cast<void*>(&FailingMmap)), 1);
    EXPECT_EQ(LastErrorIf(!VirtualAlloc(nullptr, kStep, MEM_RESERVE, PAGE_NOACCESS)),
              ERROR_NOT_ENOUGH_MEMORY);
    raised = RaisedBy([&] { mapped.Create(file, kReadWrite, kMiB, kStep, kStep); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 0);
    kelwin_reset_syscalls();
    CloseHandle(file);
}

#endif
