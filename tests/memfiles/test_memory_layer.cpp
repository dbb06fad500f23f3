// The rules of the file-mapping calls that the mapped files rely on beyond
// what their own tests show: the same expectations hold for Win32 (under
// Wine) and for the Linux layer.
#include "memtest.h"

#include <string>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

char* Reserve(SIZE_T size, void* at = nullptr) {
    return static_cast<char*>(VirtualAlloc(at, size, MEM_RESERVE, PAGE_NOACCESS));
}

} // namespace

TEST(FileMapping, ViewsNeedAlignmentRoomAndTheRightAccess) {
    TempDir dir;
    const std::string path = dir.file("rules.bin");
    ASSERT_TRUE(WriteBytes(path, std::string(200000, 'r')));
    HANDLE file = OpenShared(path, kReadWrite, OPEN_EXISTING);
    HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);
    auto map = [&](DWORD offset, SIZE_T size, void* at) {
        return MapViewOfFileEx(mapping, FILE_MAP_WRITE, 0, offset, size, at);
    };
    char* reserved = Reserve(kMiB);
    ASSERT_NE(reserved, nullptr);
    EXPECT_EQ(LastErrorIf(!map(4096, 4096, nullptr)), ERROR_MAPPED_ALIGNMENT);
    EXPECT_EQ(LastErrorIf(!map(0, 300000, nullptr)), ERROR_ACCESS_DENIED); // beyond the object
    EXPECT_EQ(LastErrorIf(!map(0, kStep, reserved + 4096)), ERROR_MAPPED_ALIGNMENT);
    EXPECT_EQ(LastErrorIf(!map(0, kStep, reserved)), ERROR_INVALID_ADDRESS); // not free
    ASSERT_TRUE(VirtualFree(reserved, 0, MEM_RELEASE));

    // Once free, the address is used exactly, at a file offset of one granule.
    char* view =
        static_cast<char*>(MapViewOfFileEx(mapping, FILE_MAP_READ, 0, kStep, 1000, reserved));
    ASSERT_EQ(view, reserved);
    EXPECT_EQ(view[999], 'r');
    EXPECT_EQ(Query(view).RegionSize, 4096u);
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_TRUE(CloseHandle(mapping));
    EXPECT_TRUE(CloseHandle(file));

    HANDLE reader = OpenShared(path, GENERIC_READ, OPEN_EXISTING);
    HANDLE writer = OpenShared(path, GENERIC_WRITE, OPEN_EXISTING);
    EXPECT_EQ(LastErrorIf(!CreateFileMappingA(reader, nullptr, PAGE_READWRITE, 0, 0, nullptr)),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(LastErrorIf(!CreateFileMappingA(writer, nullptr, PAGE_READONLY, 0, 0, nullptr)),
              ERROR_ACCESS_DENIED);
    HANDLE readOnly = CreateFileMappingA(reader, nullptr, PAGE_READONLY, 0, 0, nullptr);
    ASSERT_NE(readOnly, nullptr);
    EXPECT_EQ(LastErrorIf(!MapViewOfFileEx(readOnly, FILE_MAP_WRITE, 0, 0, 0, nullptr)),
              ERROR_ACCESS_DENIED);
    for (HANDLE handle : {readOnly, reader, writer})
        EXPECT_TRUE(CloseHandle(handle));
}
