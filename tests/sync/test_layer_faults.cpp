// Failure points of the Linux platform layer's kernel objects: system calls
// made to fail, and shared-memory segments left in odd states by other
// processes. On Windows these belong to the system and are skipped.
#include "kelwin32.h"
#include "synctest.h"
#include "testsupport.h"

#include <cerrno>
#include <string>

#if !defined(_WIN32)
#include "win32/syscalls.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

using synctest::UniqueName;

namespace {

#if defined(_WIN32)
TEST(LayerFaults, LinuxOnly) {
    GTEST_SKIP() << "the objects belong to the Windows kernel";
}
#else

class LayerFaults : public ::testing::Test {
protected:
    void TearDown() override { kelwin_reset_syscalls(); }

    template <class Fake> void Fail(const char* call, Fake fake) {
        ASSERT_EQ(kelwin_set_syscall(call, reinterpret_cast<void*>(fake)), 1) << call;
    }
};

long SyscallMissing(long, ...) {
    errno = ENOSYS;
    return -1;
}

TEST_F(LayerFaults, NamedCreationReportsTheSystemFailure) {
    const std::string name = UniqueName("fault");
    // Each fake sets errno and fails as the system call would.
    auto denied = [](const char*, int, mode_t) { return errno = EACCES, -1; };
    Fail("shm_open", +denied);
    EXPECT_RESULT_AND_ERROR(CreateEventA(nullptr, TRUE, FALSE, name.c_str()), nullptr,
                            ERROR_ACCESS_DENIED);
    EXPECT_RESULT_AND_ERROR(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()), nullptr,
                            ERROR_ACCESS_DENIED);
    // Unnamed objects need no shared memory.
    HANDLE unnamed = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    EXPECT_NE(unnamed, nullptr);
    CloseHandle(unnamed);
    kelwin_reset_syscalls();

    auto noSpace = [](int, int, off_t, off_t) { return errno = ENOSPC, -1; };
    Fail("fallocate", +noSpace);
    EXPECT_RESULT_AND_ERROR(CreateSemaphoreA(nullptr, 0, 1, name.c_str()), nullptr,
                            ERROR_DISK_FULL);
    kelwin_reset_syscalls();

    auto noMemory = [](void*, size_t, int, int, int, off_t) { return errno = ENOMEM, MAP_FAILED; };
    Fail("mmap", +noMemory);
    EXPECT_RESULT_AND_ERROR(CreateMutexA(nullptr, FALSE, name.c_str()), nullptr,
                            ERROR_NOT_ENOUGH_MEMORY);
    kelwin_reset_syscalls();

    // No half-made segment was left behind.
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, name.c_str());
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    CloseHandle(event);
}

TEST_F(LayerFaults, FailingSleepEndsTheWaitInsteadOfSpinning) {
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE other = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE both[] = {event, other};
    Fail("syscall", &SyscallMissing);
    EXPECT_RESULT_AND_ERROR(WaitForSingleObject(event, INFINITE), WAIT_FAILED,
                            ERROR_CALL_NOT_IMPLEMENTED);
    EXPECT_RESULT_AND_ERROR(WaitForMultipleObjects(2, both, FALSE, INFINITE), WAIT_FAILED,
                            ERROR_CALL_NOT_IMPLEMENTED);
    // What needs no sleep still works.
    EXPECT_TRUE(SetEvent(other));
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, INFINITE), WAIT_OBJECT_0 + 1);
    kelwin_reset_syscalls();
    CloseHandle(event);
    CloseHandle(other);
}

// The segment of a name made of letters, digits and '-'.
std::string SegmentOf(const std::string& name) {
    return "/basekel." + name;
}

TEST_F(LayerFaults, SegmentOfAnIncompatibleBuildIsRefused) {
    const std::string name = UniqueName("foreign");
    int fd = shm_open(SegmentOf(name).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 4096), 0);
    const std::uint32_t foreignLayout = 0x12345678;
    ASSERT_EQ(pwrite(fd, &foreignLayout, sizeof foreignLayout, 0), 4);
    close(fd);
    EXPECT_RESULT_AND_ERROR(CreateEventA(nullptr, TRUE, FALSE, name.c_str()), nullptr,
                            ERROR_INVALID_HANDLE);
    shm_unlink(SegmentOf(name).c_str());
}

// A creator that died between creating the segment and publishing the object
// leaves an empty segment; the next creator takes the name over after a
// grace period.
TEST_F(LayerFaults, SegmentNeverPublishedIsTakenOver) {
    const std::string name = UniqueName("unpublished");
    int fd = shm_open(SegmentOf(name).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    close(fd);
    HANDLE event = CreateEventA(nullptr, TRUE, TRUE, name.c_str());
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    CloseHandle(event);
}
#endif

} // namespace
