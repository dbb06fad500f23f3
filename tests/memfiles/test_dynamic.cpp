// TDynamicMemoryMappedFile: a reserved range that the file is mapped into on
// demand, through Set, CopyIn, CopyOut and plain pointers.
#include "DYNAMIC.h"
#include "memtest.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

constexpr unsigned long kMiB = 1 << 20;
constexpr unsigned long kStep = 65536;
constexpr unsigned long kGuard = 65536;
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

// A file in a temporary directory, open for the test's duration.
class TestFile {
public:
    explicit TestFile(const std::string& content = std::string(), DWORD access = kReadWrite)
        : m_path(m_dir / "mapped.bin") {
        Write(m_path, content);
        m_handle = Open(m_path, access, OPEN_EXISTING);
    }
    ~TestFile() { CloseHandle(m_handle); }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    HANDLE handle() const { return m_handle; }
    DWORD size() const { return SizeOf(m_handle); }
    std::string content() const { return Read(m_path); }

private:
    Dir m_dir;
    std::string m_path;
    HANDLE m_handle;
};

SIZE_T MappedBytes(const char* base) {
    const Region region = Query(base);
    return region.type == MEM_MAPPED ? region.size : 0;
}

} // namespace

TEST(DynamicMapping, AWriteFarIntoTheReserveMapsWholeStepsAndCloseCutsTheFile) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, kGuard));
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(base) % 65536, 0u);
    // An empty file maps nothing: the whole range is reserved.
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_RESERVE));
    EXPECT_EQ(Query(base).size, kMiB + kGuard);

    mapped.Set(100000, 'x', 1);
    EXPECT_EQ(MappedBytes(base), 131072u);
    EXPECT_EQ(file.size(), 131072u);
    EXPECT_EQ(base[100000], 'x');
    const Region rest = Query(base + 131072);
    EXPECT_EQ(rest.state, static_cast<DWORD>(MEM_RESERVE));
    EXPECT_EQ(rest.allocationBase, base + 131072);
    EXPECT_EQ(rest.size, kMiB + kGuard - 131072);

    mapped.Close(100001);
    EXPECT_EQ(file.size(), 100001u);
    EXPECT_EQ(file.content()[100000], 'x');
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_FREE));
}

TEST(DynamicMapping, TheFilesContentIsMappedAtCreation) {
    std::string content(70000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>('a' + i % 26);
    TestFile file(content);
    TDynamicMemoryMappedFile mapped;
    // Size 0 reserves the file's size, rounded up to the granularity.
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, 0, kStep, kGuard));
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(MappedBytes(base), 131072u);
    EXPECT_EQ(file.size(), 131072u); // mapping whole steps grows the file
    EXPECT_EQ(std::string(base, 70000), content);

    // The reserve ends at 131072: the next byte is the guard zone.
    EXPECT_EQ(RaisedBy([&] { mapped.Set(131072, 1, 1); }).code, 3);
    mapped.Close(70000);
    EXPECT_EQ(file.content(), content);
}

TEST(DynamicMapping, CopiesAcrossSeveralStepsGrowTheMappingOnce) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, kGuard));
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
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, kGuard));

    Raised raised = RaisedBy([&] { mapped.Set(kMiB, 1, 1); }); // the first guard byte
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 3);
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_RESERVE)); // nothing was mapped

    // A write that runs into the guard zone writes what lies in the reserve.
    EXPECT_EQ(RaisedBy([&] { mapped.Set(kMiB - 2, 'g', 4); }).code, 3);
    EXPECT_EQ(base[kMiB - 2], 'g');
    EXPECT_EQ(base[kMiB - 1], 'g');
    EXPECT_EQ(file.size(), kMiB);

    char buffer[8] = {};
    EXPECT_EQ(RaisedBy([&] { mapped.CopyOut(buffer, kMiB + kGuard - 1, 1); }).code, 3);
    EXPECT_EQ(RaisedBy([&] { mapped.CopyIn(buffer, kMiB + kGuard + 100, 8); }).code, 3);
    // Offsets near 4 GiB do not wrap around to the start of the range.
    EXPECT_EQ(RaisedBy([&] { mapped.Set(0xFFFFFFF0ul, 1, 0x20); }).code, 3);
    EXPECT_EQ(base[0], '\0');
    // An empty access touches nothing and raises nothing.
    EXPECT_EQ(RaisedBy([&] { mapped.Set(kMiB + 5, 1, 0); }).code, -1);
    mapped.Close(0);
}

TEST(DynamicMapping, PlainPointersGrowTheMappingAndKeepTheLastError) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<volatile char*>(
        mapped.Create(file.handle(), kReadWrite, 4 * kMiB, kStep, kGuard));
    ASSERT_NE(base, nullptr);
    SetLastError(4242);
    base[3000000] = 'p'; // far into the reserve
    EXPECT_EQ(GetLastError(), 4242u);
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
    auto* baseA = static_cast<volatile char*>(a.Create(first.handle(), kReadWrite, kMiB, kStep, 0));
    auto* baseB =
        static_cast<volatile char*>(b.Create(second.handle(), kReadWrite, 2 * kMiB, kStep, 0));
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
    auto* base = static_cast<char*>(mapped.Create(file.handle(), GENERIC_READ, kMiB, kStep, 0));
    ASSERT_NE(base, nullptr);
    char value = 0;
    mapped.CopyOut(&value, 65535, 1);
    EXPECT_EQ(value, 'r');
    EXPECT_EQ(RaisedBy([&] { mapped.Set(0, 'w', 1); }).code, 3);
    EXPECT_EQ(RaisedBy([&] { mapped.CopyIn(&value, 10, 1); }).code, 3);
    // A read-only file cannot grow: mapping beyond it fails.
    EXPECT_EQ(RaisedBy([&] { mapped.CopyOut(&value, 70000, 1); }).code, 1);
    mapped.Close(10); // not writable: the file keeps its size
    EXPECT_EQ(file.content(), std::string(65536, 'r'));

    TestFile small(std::string(100, 's'), GENERIC_READ);
    TDynamicMemoryMappedFile refused;
    Raised raised = RaisedBy([&] { refused.Create(small.handle(), GENERIC_READ, kMiB, kStep, 0); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 1);
}

TEST(DynamicMapping, AReserveOfZeroOnAnEmptyFileIsAllGuardZone) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, 0, kStep, kGuard));
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(Query(base).size, kGuard);
    EXPECT_EQ(RaisedBy([&] { mapped.Set(0, 1, 1); }).code, 3);
    EXPECT_EQ(file.size(), 0u);
    mapped.Close(0);
}

TEST(DynamicMapping, CreateFailuresRaiseTheirCodesAndLeaveTheObjectClosed) {
    TDynamicMemoryMappedFile mapped;
    // Nothing to reserve.
    TestFile empty;
    EXPECT_EQ(RaisedBy([&] { mapped.Create(empty.handle(), kReadWrite, 0, kStep, 0); }).code, 0);
    // No file behind the handle: the mapping object cannot be made.
    HANDLE closed = Open(Dir() / "gone.bin", kReadWrite, CREATE_ALWAYS);
    CloseHandle(closed);
    Raised raised = RaisedBy([&] { mapped.Create(closed, kReadWrite, kMiB, kStep, 0); });
    EXPECT_EQ(raised.origin, kDynamicOrigin);
    EXPECT_EQ(raised.code, 1);
    char value = 0;
    EXPECT_EQ(RaisedBy([&] { mapped.CopyIn(&value, 0, 1); }).code, 3);
    mapped.Close(0);
}

TEST(DynamicMapping, CopiesShareTheRangeUntilTheLastGoesOrOneCloses) {
    TestFile file;
    TDynamicMemoryMappedFile copy;
    char* base = nullptr;
    {
        TDynamicMemoryMappedFile original;
        base = static_cast<char*>(original.Create(file.handle(), kReadWrite, kMiB, kStep, 0));
        copy = original;
        original.Set(10, 'o', 1);
    }
    copy.Set(200000, 'c', 1); // the original is gone, the range lives on
    EXPECT_EQ(base[10], 'o');
    EXPECT_EQ(MappedBytes(base), 262144u);

    TDynamicMemoryMappedFile third(copy);
    third.Close(200001);
    EXPECT_EQ(file.size(), 200001u);
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_FREE));
    EXPECT_EQ(RaisedBy([&] { copy.Set(0, 1, 1); }).code, 3); // closed through the other copy
}

TEST(DynamicMapping, DestroyingTheLastHolderReleasesTheRange) {
    TestFile file;
    char* base = nullptr;
    {
        TDynamicMemoryMappedFile mapped;
        base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, 0));
        mapped.Set(0, 1, 1);
    }
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_FREE));
    // The file keeps the size it grew to, and can now be cut again.
    EXPECT_EQ(file.size(), 65536u);
    SetFilePointer(file.handle(), 1, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(file.handle()));
}

TEST(DynamicMapping, TheExceptionFilterGrowsOnlyForAccessViolationsInTheReserve) {
    TestFile file;
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, kGuard));
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
    EXPECT_EQ(RaisedBy([&] { mapped.ExceptionFilter(&pointers); }).code, 3);
    mapped.Close(0);
}

// A subclass reaches the protected region operations.
class RegionProbe : public TDynamicMemoryMappedFile {
public:
    void Adjust(unsigned long n) { AdjustRegion(n); }
    void Clear() { ClearRegion(); }
    void Construct(unsigned long n) { ConstructRegion(n); }
};

TEST(DynamicMapping, RegionOperationsRebuildTheRangeInSteps) {
    TestFile file;
    RegionProbe mapped;
    auto* base = static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kMiB, kStep, kGuard));
    mapped.Adjust(1);
    EXPECT_EQ(MappedBytes(base), 65536u);
    mapped.Adjust(300000);
    EXPECT_EQ(MappedBytes(base), 327680u);
    mapped.Clear();
    EXPECT_EQ(Query(base).state, static_cast<DWORD>(MEM_FREE));
    mapped.Construct(65537);
    EXPECT_EQ(MappedBytes(base), 131072u);
    EXPECT_EQ(Query(base + 131072).size, kMiB + kGuard - 131072);
    // A plain access still finds the range after it was rebuilt by hand.
    static_cast<volatile char*>(base)[500000] = 1;
    EXPECT_EQ(MappedBytes(base), 524288u);
    mapped.Close(0);
    EXPECT_EQ(RaisedBy([&] { mapped.Adjust(1); }).code, 2); // nothing to rebuild
}
