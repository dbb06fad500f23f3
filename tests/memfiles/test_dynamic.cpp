// TDynamicMemoryMappedFile: a reserved range that the file is mapped into on
// demand, through Set, CopyIn, CopyOut and plain pointers.
#include "DYNAMIC.h"
#include "FILE.h"
#include "memtest.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

constexpr unsigned long kGuard = 65536;

// A file in a temporary directory, open for the test's duration.
struct TestFile {
    explicit TestFile(const std::string& content = std::string(), DWORD access = kReadWrite)
        : path(dir.file("mapped.bin")) {
        WriteBytes(path, content);
        handle = OpenShared(path, access, OPEN_EXISTING);
    }
    ~TestFile() { CloseHandle(handle); }
    DWORD size() const { return GetFileSize(handle, nullptr); }
    std::string content() const { return ReadBytes(path); }

    TempDir dir;
    std::string path;
    HANDLE handle;
};

char* Create(TDynamicMemoryMappedFile& mapped, const TestFile& file, unsigned long size,
             unsigned long guard = kGuard, DWORD access = kReadWrite) {
    return static_cast<char*>(mapped.Create(file.handle, access, size, kStep, guard));
}

} // namespace

TEST(DynamicMapping, AWriteFarIntoTheReserveMapsWholeStepsAndCloseCutsTheFile) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    char* base = Create(mapped, file, kMiB);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(base) % kStep, 0u);
    // An empty file maps nothing: the whole range is reserved.
    EXPECT_EQ(StateOf(base), MEM_RESERVE);
    EXPECT_EQ(Query(base).RegionSize, kMiB + kGuard);

    mapped.Set(100000, 'x', 1);
    EXPECT_EQ(MappedBytes(base), 131072u);
    EXPECT_EQ(file.size(), 131072u);
    EXPECT_EQ(base[100000], 'x');
    const MEMORY_BASIC_INFORMATION rest = Query(base + 131072);
    EXPECT_EQ(static_cast<long>(rest.State), MEM_RESERVE);
    EXPECT_EQ(rest.AllocationBase, base + 131072);
    EXPECT_EQ(rest.RegionSize, kMiB + kGuard - 131072);

    mapped.Close(100001);
    EXPECT_EQ(file.size(), 100001u);
    EXPECT_EQ(file.content()[100000], 'x');
    EXPECT_EQ(StateOf(base), MEM_FREE);
}

TEST(DynamicMapping, TheFilesContentIsMappedAtCreation) {
    std::string content(70000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>('a' + i % 26);
    TestFile file(content);
    TDynamicMemoryMappedFile mapped;
    // Size 0 reserves the file's size, rounded up to the granularity.
    char* base = Create(mapped, file, 0);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(MappedBytes(base), 131072u);
    EXPECT_EQ(file.size(), 131072u); // mapping whole steps grows the file
    EXPECT_EQ(std::string(base, 70000), content);
    // The reserve ends at 131072: the next byte is the guard zone.
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(131072, 1, 1); }), 3);
    mapped.Close(70000);
    EXPECT_EQ(file.content(), content);

    // A reserve of 0 on an empty file is all guard zone.
    TestFile empty;
    base = Create(mapped, empty, 0);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(Query(base).RegionSize, kGuard);
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(0, 1, 1); }), 3);
    EXPECT_EQ(empty.size(), 0u);
    mapped.Close(0);
}

TEST(DynamicMapping, CopiesAcrossSeveralStepsGrowTheMappingOnce) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    char* base = Create(mapped, file, kMiB);
    std::vector<char> data(300000);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7);
    EXPECT_EQ(mapped.CopyIn(data.data(), 50000, 300000), base + 50000);
    EXPECT_EQ(MappedBytes(base), 393216u);

    std::vector<char> back(300000);
    EXPECT_EQ(mapped.CopyOut(back.data(), 50000, 300000), back.data());
    EXPECT_EQ(back, data);
    // Reading beyond what is mapped maps it too and reads the file's zeros.
    char zeros[4] = {1, 1, 1, 1};
    mapped.CopyOut(zeros, 500000, 4);
    EXPECT_EQ(std::string(zeros, 4), std::string(4, '\0'));
    EXPECT_EQ(MappedBytes(base), 524288u);
    mapped.Close(350000);
    EXPECT_EQ(file.content().substr(50000), std::string(data.begin(), data.end()));
}

TEST(DynamicMapping, TheGuardZoneAndBeyondRaiseCode3AfterServingTheReserve) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    char* base = Create(mapped, file, kMiB);

    const Raised raised = RaisedBy([&] { mapped.Set(kMiB, 1, 1); }); // the first guard byte
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 3);
    EXPECT_EQ(StateOf(base), MEM_RESERVE); // nothing was mapped

    // A write that runs into the guard zone writes what lies in the reserve.
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(kMiB - 2, 'g', 4); }), 3);
    EXPECT_EQ(base[kMiB - 2], 'g');
    EXPECT_EQ(base[kMiB - 1], 'g');
    EXPECT_EQ(file.size(), kMiB);

    char buffer[8] = {};
    EXPECT_EQ(CodeRaisedBy([&] { mapped.CopyOut(buffer, kMiB + kGuard - 1, 1); }), 3);
    EXPECT_EQ(CodeRaisedBy([&] { mapped.CopyIn(buffer, kMiB + kGuard + 100, 8); }), 3);
    // Offsets near 4 GiB do not wrap around to the start of the range.
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(0xFFFFFFF0ul, 1, 0x20); }), 3);
    EXPECT_EQ(base[0], '\0');
    // An empty access touches nothing and raises nothing.
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(kMiB + 5, 1, 0); }), -1);
    mapped.Close(0);
}

TEST(DynamicMapping, PlainPointersGrowTheMappingAndKeepTheLastError) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    volatile char* base = Create(mapped, file, 4 * kMiB);
    ASSERT_NE(base, nullptr);
    SetLastError(4242);
    base[3000000] = 'p'; // far into the reserve
    EXPECT_EQ(GetLastError(), 4242u);
    // The range is rebuilt at a raised priority, which is restored afterwards.
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(MappedBytes(const_cast<char*>(base)), 3014656u);
    EXPECT_EQ(file.size(), 3014656u);
    EXPECT_EQ(base[3500000], '\0'); // a read grows it as well
    EXPECT_EQ(MappedBytes(const_cast<char*>(base)), 3538944u);

    char value = 0;
    mapped.CopyOut(&value, 3000000, 1);
    EXPECT_EQ(value, 'p');
    mapped.Close(3000001);
    EXPECT_EQ(file.content().back(), 'p');
}

TEST(DynamicMapping, TwoMappedFilesGrowInTurn) {
    TestFile first;
    TestFile second;
    TDynamicMemoryMappedFile a;
    TDynamicMemoryMappedFile b;
    volatile char* baseA = Create(a, first, kMiB, 0);
    volatile char* baseB = Create(b, second, 2 * kMiB, 0);
    ASSERT_NE(baseA, nullptr);
    ASSERT_NE(baseB, nullptr);
    for (unsigned long offset = 1000; offset < kMiB; offset += 150000) {
        baseA[offset] = 'A';
        b.Set(2 * offset, 'B', 1);
        baseB[2 * offset + 1] = 'b';
        a.Set(offset + 1, 'a', 1);
    }
    a.Close(kMiB);
    b.Close(2 * kMiB);
    const std::string contentA = first.content();
    const std::string contentB = second.content();
    for (unsigned long offset = 1000; offset < kMiB; offset += 150000) {
        EXPECT_EQ(contentA.substr(offset, 2), "Aa");
        EXPECT_EQ(contentB.substr(2 * offset, 2), "Bb");
    }
}

TEST(DynamicMapping, ReadOnlyMappingsServeReadsAndRefuseWrites) {
    TestFile file(std::string(65536, 'r'), GENERIC_READ);
    TDynamicMemoryMappedFile mapped;
    ASSERT_NE(Create(mapped, file, kMiB, 0, GENERIC_READ), nullptr);
    char value = 0;
    mapped.CopyOut(&value, 65535, 1);
    EXPECT_EQ(value, 'r');
    EXPECT_EQ(CodeRaisedBy([&] { mapped.Set(0, 'w', 1); }), 3);
    EXPECT_EQ(CodeRaisedBy([&] { mapped.CopyIn(&value, 10, 1); }), 3);
    // A read-only file cannot grow: mapping beyond it fails.
    EXPECT_EQ(CodeRaisedBy([&] { mapped.CopyOut(&value, 70000, 1); }), 1);
    mapped.Close(10); // not writable: the file keeps its size
    EXPECT_EQ(file.content(), std::string(65536, 'r'));
}

TEST(DynamicMapping, CreateFailuresRaiseTheirCodesAndLeaveTheObjectClosed) {
    TDynamicMemoryMappedFile mapped;
    // Nothing to reserve.
    TestFile empty;
    EXPECT_EQ(CodeRaisedBy([&] { Create(mapped, empty, 0, 0); }), 0);
    // A read-only file smaller than the first step cannot be mapped.
    TestFile small(std::string(100, 's'), GENERIC_READ);
    Raised raised = RaisedBy([&] { Create(mapped, small, kMiB, 0, GENERIC_READ); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 1);
    // No file behind the handle: the mapping object cannot be made.
    HANDLE closed = OpenShared(empty.dir.file("gone.bin"), kReadWrite, CREATE_ALWAYS);
    CloseHandle(closed);
    raised = RaisedBy([&] { mapped.Create(closed, kReadWrite, kMiB, kStep, 0); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 1);
    char value = 0;
    EXPECT_EQ(CodeRaisedBy([&] { mapped.CopyIn(&value, 0, 1); }), 3);
    mapped.Close(0);
}

TEST(DynamicMapping, CopiesShareTheRangeUntilTheLastGoesOrOneCloses) {
    TestFile file;
    TDynamicMemoryMappedFile copy;
    char* base = nullptr;
    {
        TDynamicMemoryMappedFile original;
        base = Create(original, file, kMiB, 0);
        copy = original;
        original.Set(10, 'o', 1);
    }
    copy.Set(200000, 'c', 1); // the original is gone, the range lives on
    EXPECT_EQ(base[10], 'o');
    EXPECT_EQ(MappedBytes(base), 262144u);

    TDynamicMemoryMappedFile third(copy);
    third.Close(200001);
    EXPECT_EQ(file.size(), 200001u);
    EXPECT_EQ(StateOf(base), MEM_FREE);
    EXPECT_EQ(CodeRaisedBy([&] { copy.Set(0, 1, 1); }), 3); // closed through the other copy

    // Destroying the last holder releases the range; the file keeps the size
    // it grew to, and can be cut again.
    {
        TDynamicMemoryMappedFile last;
        base = Create(last, file, kMiB, 0);
        last.Set(300000, 1, 1);
    }
    EXPECT_EQ(StateOf(base), MEM_FREE);
    EXPECT_EQ(file.size(), 327680u);
    SetFilePointer(file.handle, 1, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(file.handle));
}

TEST(DynamicMapping, TheExceptionFilterGrowsOnlyForAccessViolationsInTheReserve) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    char* base = Create(mapped, file, kMiB);
    EXCEPTION_RECORD record{};
    EXCEPTION_POINTERS pointers{&record, nullptr};
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = 1;

    record.ExceptionCode = 0xC0000094; // an integer division by zero
    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(base + 10);
    EXPECT_EQ(mapped.ExceptionFilter(&pointers), EXCEPTION_CONTINUE_SEARCH);

    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    EXPECT_EQ(mapped.ExceptionFilter(&pointers), EXCEPTION_CONTINUE_EXECUTION);
    EXPECT_EQ(MappedBytes(base), 65536u);

    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(base + kMiB + kGuard);
    EXPECT_EQ(mapped.ExceptionFilter(&pointers), EXCEPTION_CONTINUE_SEARCH);
    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(base + kMiB);
    EXPECT_EQ(CodeRaisedBy([&] { mapped.ExceptionFilter(&pointers); }), 3);
    mapped.Close(0);
}

TEST(DynamicMapping, CreateFromATFileUsesItsHandleAndMode) {
    TempDir dir;
    TFile file(dir.file("tfile.bin").c_str(), kReadWrite, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    TDynamicMemoryMappedFile mapped;
    ASSERT_NE(mapped.Create(file, kMiB, kStep, kStep), nullptr);
    mapped.CopyIn(const_cast<char*>("mapped"), 70000, 6);
    mapped.Close(70006);
    EXPECT_EQ(file.Size(), 70006u);
    file.Seek(70000, FILE_BEGIN);
    char text[6] = {};
    EXPECT_EQ(file.Read(text, 6), 6u);
    EXPECT_EQ(std::string(text, 6), "mapped");
}
