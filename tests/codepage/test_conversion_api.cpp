// The calling conventions of MultiByteToWideChar and WideCharToMultiByte:
// lengths, size queries, buffers that are too small, parameter and flag
// errors, and the ANSI code page (CP_ACP) with its BASEKEL_ACP override.
#include "codepage_support.h"
#include "scopedenv.h"
#include "testsupport.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace cptest;

namespace {

// -1, and with it every negative source length, means NUL-terminated and
// converts the NUL too; an explicit length converts exactly that many units,
// NULs included, and adds no terminator.
TEST(ConversionLengths, SourceLengths) {
    WideResult wide = ToWide(1252, 0, "abc", -1, 8);
    EXPECT_EQ(wide.result, 4);
    EXPECT_EQ(wide.buffer,
              (Units{'a', 'b', 'c', 0, kWideMarker, kWideMarker, kWideMarker, kWideMarker}));
    ByteResult bytes = ToBytes(1252, 0, Z(u"abc"), -1, 8);
    EXPECT_EQ(bytes.result, 4);
    EXPECT_EQ(bytes.buffer, std::string("abc\0####", 8));

    EXPECT_EQ(ToWide(1252, 0, "foobar", -2002, 10).result, 7);
    EXPECT_EQ(ToBytes(1252, 0, Z(u"foobar"), -2002, 10).Written(), std::string("foobar\0", 7));
    EXPECT_EQ(ToBytes(CP_UTF8, 0, Z(u"foobar"), INT_MIN, 10, nullptr, false).result, 7);

    wide = ToWide(1252, 0, std::string("ab\0cd", 5), 5, 6);
    EXPECT_EQ(wide.result, 5);
    EXPECT_EQ(wide.buffer, (Units{'a', 'b', 0, 'c', 'd', kWideMarker}));
    bytes = ToBytes(1252, 0, Z(u"abcd"), 2, 4);
    EXPECT_EQ(bytes.result, 2);
    EXPECT_EQ(bytes.buffer, "ab##");
    ByteResult utf8 = ToBytes(CP_UTF8, 0, U(std::u16string(u"a\0b", 3)), 3, 4, nullptr, false);
    EXPECT_EQ(utf8.buffer, std::string("a\0b#", 4));
}

// An output size of 0 asks for the size needed and writes nothing, whether
// or not a buffer is given.
TEST(ConversionLengths, SizeQuery) {
    for (UINT cp : {1252u, UINT{CP_UTF8}}) {
        std::string text = "gr\xc3\xbc\xc3\x9f";
        EXPECT_EQ(ToWide(cp, 0, text, -1, 0).result, cp == CP_UTF8 ? 5 : 7) << cp;
        WCHAR unit = kWideMarker;
        SetLastError(kUntouchedError);
        EXPECT_EQ(MultiByteToWideChar(cp, 0, text.c_str(), -1, &unit, 0), cp == CP_UTF8 ? 5 : 7);
        EXPECT_EQ(unit, kWideMarker);
        EXPECT_EQ(GetLastError(), kUntouchedError);

        Units wide = Z(u"gr\u00fc\u00df\U0001F600");
        ByteResult size = ToBytes(cp, 0, wide, -1, 0, nullptr, cp != CP_UTF8);
        EXPECT_EQ(size.result, cp == CP_UTF8 ? 11 : 7) << cp;
        char byte = kByteMarker;
        EXPECT_EQ(WideCharToMultiByte(cp, 0, wide.data(), -1, &byte, 0, nullptr, nullptr),
                  size.result);
        EXPECT_EQ(byte, kByteMarker);
    }
}

// A buffer one short fails with ERROR_INSUFFICIENT_BUFFER and holds what fit;
// an exact one succeeds.
TEST(ConversionLengths, BufferTooSmall) {
    WideResult wideShort = ToWide(1252, 0, "abcd", -1, 4);
    EXPECT_EQ(wideShort.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(wideShort.buffer, (Units{'a', 'b', 'c', 'd'}));
    EXPECT_EQ(ToWide(1252, 0, "abcd", -1, 5).result, 5);

    // The last error and lpUsedDefaultChar reflect only what was converted.
    ByteResult bytesShort = ToBytes(1252, 0, Z(u"Th\u0440i"), -1, 1);
    EXPECT_EQ(bytesShort.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(bytesShort.buffer, "T");
    EXPECT_EQ(bytesShort.used, FALSE);
    ByteResult exact = ToBytes(1252, 0, Z(u"Th\u0440i"), -1, 5);
    EXPECT_EQ(exact.result, 5);
    EXPECT_EQ(exact.Written(), std::string("Th?i\0", 5));
    EXPECT_EQ(exact.used, TRUE);
}

// The conversions keep no state between calls: threads converting at once
// get the same results as one alone.
TEST(ConversionThreads, ConcurrentConversionsAgree) {
    std::string bytes;
    for (int b = 1; b < 256; ++b)
        bytes.push_back(static_cast<char>(b));
    const Units expected = ToWide(CP_ACP, 0, bytes).Written();
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                WCHAR wide[256];
                char back[256];
                const int n = MultiByteToWideChar(CP_ACP, 0, bytes.data(), 255, wide, 256);
                const int m = WideCharToMultiByte(CP_ACP, 0, wide, n, back, 256, nullptr, nullptr);
                if (n != 255 || !std::equal(wide, wide + n, expected.begin()) || m != 255 ||
                    bytes.compare(0, 255, back, 255) != 0)
                    ++mismatches;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(ConversionErrors, InvalidParameters) {
    WCHAR wide[8];
    char bytes[8];
    const WCHAR text[] = {'a', 'b', 0};
    auto check = [](const char* what, int result) {
        EXPECT_EQ(result, 0) << what;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER) << what;
    };
    check("null source", MultiByteToWideChar(1252, 0, nullptr, -1, wide, 8));
    check("empty source", MultiByteToWideChar(1252, 0, "ab", 0, wide, 8));
    check("null output", MultiByteToWideChar(1252, 0, "ab", -1, nullptr, 8));
    check("negative output", MultiByteToWideChar(1252, 0, "ab", -1, wide, -1));
    check("unknown code page", MultiByteToWideChar(12345, 0, "ab", -1, wide, 8));
    check("unknown code page, bad flags", MultiByteToWideChar(0xDEADBEEF, 0x10, "ab", -1, wide, 8));
    check("null source, bad flags", MultiByteToWideChar(1252, 0x10, nullptr, -1, wide, 8));

    check("null source", WideCharToMultiByte(1252, 0, nullptr, -1, bytes, 8, nullptr, nullptr));
    check("empty source", WideCharToMultiByte(1252, 0, text, 0, bytes, 8, nullptr, nullptr));
    check("null output", WideCharToMultiByte(1252, 0, text, -1, nullptr, 8, nullptr, nullptr));
    check("negative output",
          WideCharToMultiByte(1252, 0, text, -1, bytes, -1000, nullptr, nullptr));
    check("unknown code page", WideCharToMultiByte(12345, 0, text, -1, bytes, 8, nullptr, nullptr));
    check("unknown code page, bad flags",
          WideCharToMultiByte(0xDEADBEEF, 0x100, text, -1, bytes, 8, nullptr, nullptr));
    check("negative output, bad flags",
          WideCharToMultiByte(1252, 0x100, text, -1, bytes, -1, nullptr, nullptr));
}

// WC_ERR_INVALID_CHARS is for UTF-8 only (Wine accepts it for single-byte
// code pages).
TEST(ConversionErrors, InvalidFlags) {
    for (DWORD flags : {DWORD{0x10}, DWORD{0x100}, DWORD{0x10000}})
        EXPECT_EQ(ToWide(1252, flags, "ab", -1, 8).Failure(), ERROR_INVALID_FLAGS) << flags;
    std::vector<DWORD> invalid = {0x1, 0x100, 0x800, 0x10000};
    if (!RunningOnWine())
        invalid.push_back(WC_ERR_INVALID_CHARS);
    for (DWORD flags : invalid) {
        ByteResult r = ToBytes(1252, flags, Z(u"ab"), -1, 8);
        EXPECT_EQ(r.Failure(), ERROR_INVALID_FLAGS) << flags;
        EXPECT_EQ(r.used, kUsedUntouched) << flags;
    }
}

// CP_ACP and CP_THREAD_ACP convert like the ANSI code page, which is 1252
// unless the environment says otherwise.
TEST(AnsiCodePage, ConvertsLikeItsCodePage) {
    if (GetACP() != 1252)
        GTEST_SKIP() << "the ANSI code page here is " << GetACP() << ", not 1252";
    for (UINT cp : {UINT{CP_ACP}, UINT{CP_THREAD_ACP}}) {
        EXPECT_EQ(ToWide(cp, 0, "\x80\x9f\xe9").Written(), U(u"\u20ac\u0178\u00e9")) << cp;
        ByteResult r = ToBytes(cp, 0, U(u"\u20ac\u0100\u221e\u0400"));
        EXPECT_EQ(r.Written(), "\x80"
                               "A8?")
            << cp;
        EXPECT_EQ(r.used, TRUE) << cp;
    }
}

// Checks in a fresh process that GetACP() is args[0] and that CP_ACP
// conversions follow it: "\xc3\xa9" is one character in UTF-8, two in 1252.
TEST_CHILD(CheckAnsiCodePage) {
    const UINT expected = static_cast<UINT>(std::atoi(args.at(0).c_str()));
    if (GetACP() != expected)
        return 1;
    WCHAR out[4] = {};
    const int units = MultiByteToWideChar(CP_ACP, 0, "\xc3\xa9", 2, out, 4);
    if (units != (expected == CP_UTF8 ? 1 : 2) || out[0] != (expected == CP_UTF8 ? 0xE9 : 0xC3))
        return 2;
    BOOL used = FALSE;
    const WCHAR text[] = {0x0100, 0};
    char bytes[4];
    const int n = WideCharToMultiByte(CP_ACP, 0, text, -1, bytes, 4, nullptr, &used);
    if (expected == CP_UTF8 ? (n != 0 || GetLastError() != ERROR_INVALID_PARAMETER)
                            : (n != 2 || bytes[0] != 'A'))
        return 3;
    return 0;
}

TEST(AnsiCodePage, EnvironmentOverride) {
#if defined(_WIN32)
    GTEST_SKIP() << "BASEKEL_ACP applies to the Linux platform layer only";
#endif
    const struct {
        const char* value;
        int expected;
    } cases[] = {
        {"65001", 65001}, {"1252", 1252},   {"", 1252},      {"932", 1252},
        {"utf8", 1252},   {"65001x", 1252}, {"-1252", 1252}, {"99999999999", 1252},
    };
    for (const auto& c : cases) {
        testsupport::ScopedEnv acp("BASEKEL_ACP", c.value);
        EXPECT_EQ(testsupport::RunChild("CheckAnsiCodePage", {std::to_string(c.expected)}), 0)
            << "BASEKEL_ACP=\"" << c.value << "\"";
    }
}

} // namespace
