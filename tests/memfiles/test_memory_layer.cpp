// The virtual-memory and file-mapping calls that the mapped files stand on:
// the same expectations hold for Win32 (under Wine) and for the Linux layer.
#include "memtest.h"

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

constexpr DWORD kGranule = 65536;

char* Reserve(SIZE_T size) {
    return static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
}

bool Aligned(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address) % kGranule == 0;
}

} // namespace

TEST(SystemInfo, GranularityIs64KiBAndPagesAre4KiB) {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwAllocationGranularity, kGranule);
    EXPECT_EQ(info.dwPageSize, 4096u);
    EXPECT_GE(info.dwNumberOfProcessors, 1u);
}

TEST(VirtualMemory, ReservationsAreAlignedDescribedAndReleasedWhole) {
    char* base = Reserve(1 << 20);
    ASSERT_NE(base, nullptr);
    EXPECT_TRUE(Aligned(base));

    MEMORY_BASIC_INFORMATION info{};
    ASSERT_EQ(VirtualQuery(base + 70000, &info, sizeof info), sizeof info);
    EXPECT_EQ(info.BaseAddress, base + 69632); // the page of the address
    EXPECT_EQ(info.AllocationBase, base);
    EXPECT_EQ(info.AllocationProtect, PAGE_NOACCESS);
    EXPECT_EQ(info.RegionSize, static_cast<SIZE_T>((1 << 20) - 69632));
    EXPECT_EQ(info.State, static_cast<DWORD>(MEM_RESERVE));
    EXPECT_EQ(info.Protect, 0u);
    EXPECT_EQ(info.Type, static_cast<DWORD>(MEM_PRIVATE));

    // The range is taken: nothing else is placed inside it.
    EXPECT_EQ(VirtualAlloc(base + kGranule, kGranule, MEM_RESERVE, PAGE_NOACCESS), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_ADDRESS));

    // Released only whole, from its base.
    EXPECT_FALSE(VirtualFree(base + kGranule, 0, MEM_RELEASE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_ADDRESS));
    EXPECT_FALSE(VirtualFree(base, 4096, MEM_RELEASE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
    EXPECT_EQ(Query(base + 70000).state, static_cast<DWORD>(MEM_FREE));

    // A requested address is rounded down to the granularity.
    char* again = static_cast<char*>(VirtualAlloc(base + 4096, 4096, MEM_RESERVE, PAGE_NOACCESS));
    EXPECT_EQ(again, base);
    EXPECT_EQ(Query(base).size, 8192u);
    EXPECT_TRUE(VirtualFree(again, 0, MEM_RELEASE));
}

TEST(VirtualMemory, BadArgumentsFailAsOnWindows) {
    EXPECT_EQ(VirtualAlloc(nullptr, 0, MEM_RESERVE, PAGE_NOACCESS), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(VirtualAlloc(nullptr, 4096, MEM_RESERVE, 0x12345), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));

    MEMORY_BASIC_INFORMATION info{};
    int local = 0;
    EXPECT_EQ(VirtualQuery(&local, &info, 8), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_LENGTH));
    EXPECT_FALSE(VirtualFree(&local, 0, MEM_RELEASE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_ADDRESS));
}

TEST(VirtualMemory, CommittedMemoryIsZeroedAndWritable) {
    auto* block = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, 10000, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(Aligned(block));
    bool zero = true;
    for (int i = 0; i < 10000; ++i)
        zero = zero && block[i] == 0;
    EXPECT_TRUE(zero);
    block[9999] = 0xAB;
    MEMORY_BASIC_INFORMATION info{};
    ASSERT_EQ(VirtualQuery(block, &info, sizeof info), sizeof info);
    EXPECT_EQ(info.State, static_cast<DWORD>(MEM_COMMIT));
    EXPECT_EQ(info.Protect, static_cast<DWORD>(PAGE_READWRITE));
    EXPECT_EQ(info.Type, static_cast<DWORD>(MEM_PRIVATE));
    EXPECT_EQ(info.RegionSize, 12288u);
    EXPECT_TRUE(VirtualFree(block, 0, MEM_RELEASE));
}

TEST(FileMapping, SizesGrowWritableFilesAndRefuseReadOnlyOrEmptyOnes) {
    Dir dir;
    HANDLE file = Open(dir / "grow.bin", GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);

    EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_INVALID)); // empty, size from file
    EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 4096, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(CreateFileMappingA(file, nullptr, 0x1234, 0, 4096, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(SizeOf(file), 0u);

    HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 100000, nullptr);
    ASSERT_NE(mapping, nullptr);
    EXPECT_EQ(SizeOf(file), 100000u);
    EXPECT_TRUE(CloseHandle(mapping));
    EXPECT_TRUE(CloseHandle(file));
}

TEST(FileMapping, ViewsShowTheFileAndWriteThroughToIt) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "view.bin", std::string(100000, 'a')));
    HANDLE file = Open(dir / "view.bin", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
    HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);
    auto* view = static_cast<char*>(MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, 0, 0, nullptr));
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(Aligned(view));
    EXPECT_EQ(view[99999], 'a');

    MEMORY_BASIC_INFORMATION info{};
    ASSERT_EQ(VirtualQuery(view + 5000, &info, sizeof info), sizeof info);
    EXPECT_EQ(info.AllocationBase, view);
    EXPECT_EQ(info.RegionSize, static_cast<SIZE_T>(102400 - 4096));
    EXPECT_EQ(info.State, static_cast<DWORD>(MEM_COMMIT));
    EXPECT_EQ(info.Protect, static_cast<DWORD>(PAGE_READWRITE));
    EXPECT_EQ(info.Type, static_cast<DWORD>(MEM_MAPPED));

    // Views are released with UnmapViewOfFile alone, by any address inside.
    EXPECT_FALSE(VirtualFree(view, 0, MEM_RELEASE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));

    // The view outlives the handles of the file and of the mapping object.
    EXPECT_TRUE(CloseHandle(mapping));
    EXPECT_TRUE(CloseHandle(file));
    std::memcpy(view + 1000, "written", 7);
    EXPECT_TRUE(UnmapViewOfFile(view + 5000));
    EXPECT_FALSE(UnmapViewOfFile(view));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_ADDRESS));
    EXPECT_EQ(Read(dir / "view.bin").substr(998, 11), "aawrittenaa");
}

TEST(FileMapping, ViewsNeedAlignmentRoomAndTheRightAccess) {
    Dir dir;
    ASSERT_TRUE(Write(dir / "rules.bin", std::string(200000, 'r')));
    HANDLE file = Open(dir / "rules.bin", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
    HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);

    EXPECT_EQ(MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, 4096, 4096, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MAPPED_ALIGNMENT));
    EXPECT_EQ(MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, 0, 300000, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED)); // beyond the object

    char* reserved = Reserve(1 << 20);
    ASSERT_NE(reserved, nullptr);
    EXPECT_EQ(MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, 0, kGranule, reserved + 4096), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MAPPED_ALIGNMENT));
    EXPECT_EQ(MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, 0, kGranule, reserved), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_ADDRESS)); // not free
    ASSERT_TRUE(VirtualFree(reserved, 0, MEM_RELEASE));

    // Once free, the address is used exactly, at a file offset of one granule.
    char* view =
        static_cast<char*>(MapViewOfFileEx(mapping, FILE_MAP_READ, 0, kGranule, 1000, reserved));
    ASSERT_EQ(view, reserved);
    EXPECT_EQ(view[999], 'r');
    EXPECT_EQ(Query(view).size, 4096u);
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_TRUE(CloseHandle(mapping));
    EXPECT_TRUE(CloseHandle(file));

    HANDLE reader = Open(dir / "rules.bin", GENERIC_READ, OPEN_EXISTING);
    HANDLE writer = Open(dir / "rules.bin", GENERIC_WRITE, OPEN_EXISTING);
    EXPECT_EQ(CreateFileMappingA(reader, nullptr, PAGE_READWRITE, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(CreateFileMappingA(writer, nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    HANDLE readOnly = CreateFileMappingA(reader, nullptr, PAGE_READONLY, 0, 0, nullptr);
    ASSERT_NE(readOnly, nullptr);
    EXPECT_EQ(MapViewOfFileEx(readOnly, FILE_MAP_WRITE, 0, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(CloseHandle(readOnly));
    EXPECT_TRUE(CloseHandle(reader));
    EXPECT_TRUE(CloseHandle(writer));
}

TEST(FileMapping, AMappedFileCannotBeMadeShorter) {
    Dir dir;
    HANDLE file = Open(dir / "cut.bin", GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
    HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 200000, nullptr);
    ASSERT_NE(mapping, nullptr);
    void* view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
    ASSERT_NE(view, nullptr);

    SetFilePointer(file, 10, nullptr, FILE_BEGIN);
    EXPECT_FALSE(SetEndOfFile(file));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_USER_MAPPED_FILE));
    EXPECT_EQ(Open(dir / "cut.bin", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_USER_MAPPED_FILE));
    SetFilePointer(file, 300000, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(file)); // growing is allowed

    // The view alone still holds the file; with both gone it can be cut.
    EXPECT_TRUE(CloseHandle(mapping));
    SetFilePointer(file, 10, nullptr, FILE_BEGIN);
    EXPECT_FALSE(SetEndOfFile(file));
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_EQ(SizeOf(file), 10u);
    EXPECT_TRUE(CloseHandle(file));
}

TEST(ThreadPriority, IsKeptPerThreadAndChecked) {
    std::thread([] {
        HANDLE self = GetCurrentThread();
        EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_NORMAL);
        EXPECT_TRUE(SetThreadPriority(self, THREAD_PRIORITY_TIME_CRITICAL));
        EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_TIME_CRITICAL);
        EXPECT_FALSE(SetThreadPriority(self, 5));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        std::thread([] {
            EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
        }).join();
        EXPECT_TRUE(SetThreadPriority(self, THREAD_PRIORITY_NORMAL));
    }).join();
}

// ---------------------------------------------------------------------------
// Vectored exception handlers

namespace {

// A handler that resolves faults on one reserved block by committing it.
std::atomic<char*> g_faultBlock{nullptr};
std::atomic<int> g_faults{0};
std::atomic<ULONG_PTR> g_faultKind{99};
std::atomic<ULONG_PTR> g_faultAddress{0};

LONG CALLBACK CommitOnFault(PEXCEPTION_POINTERS info) {
    const EXCEPTION_RECORD& record = *info->ExceptionRecord;
    char* block = g_faultBlock.load();
    const ULONG_PTR address = record.ExceptionInformation[1];
    const auto start = reinterpret_cast<ULONG_PTR>(block);
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || !block || address < start ||
        address >= start + kGranule)
        return EXCEPTION_CONTINUE_SEARCH;
    ++g_faults;
    g_faultKind = record.ExceptionInformation[0];
    g_faultAddress = address;
    VirtualFree(block, 0, MEM_RELEASE);
    VirtualAlloc(block, kGranule, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    return EXCEPTION_CONTINUE_EXECUTION;
}

class FaultBlock {
public:
    FaultBlock() : m_handler(AddVectoredExceptionHandler(0, &CommitOnFault)) {
        g_faults = 0;
        g_faultBlock = Reserve(kGranule);
    }
    ~FaultBlock() {
        VirtualFree(g_faultBlock.exchange(nullptr), 0, MEM_RELEASE);
        RemoveVectoredExceptionHandler(m_handler);
    }
    volatile char* get() const { return g_faultBlock.load(); }
    void* handler() const { return m_handler; }

private:
    void* m_handler;
};

} // namespace

TEST(VectoredHandlers, SeeTheFaultAndRepeatTheAccessWhenTheyResolveIt) {
    {
        FaultBlock block;
        ASSERT_NE(block.handler(), nullptr);
        block.get()[100] = 42; // a write
        EXPECT_EQ(block.get()[100], 42);
        EXPECT_EQ(g_faults.load(), 1);
        EXPECT_EQ(g_faultKind.load(), 1u);
        EXPECT_EQ(g_faultAddress.load(), reinterpret_cast<ULONG_PTR>(block.get() + 100));
    }
    {
        FaultBlock block;
        EXPECT_EQ(block.get()[7], 0); // a read
        EXPECT_EQ(g_faults.load(), 1);
        EXPECT_EQ(g_faultKind.load(), 0u);
    }
}

TEST(VectoredHandlers, AreRemovedOnce) {
    void* handle = AddVectoredExceptionHandler(1, &CommitOnFault);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(RemoveVectoredExceptionHandler(handle), 1u);
    EXPECT_EQ(RemoveVectoredExceptionHandler(handle), 0u);
}
