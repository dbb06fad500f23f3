// TString: storage, construction, comparison, substrings, tokens, editing,
// formatting, number conversion and code-page conversion.
#include "TString.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

// The buffer size, which SaveAsAnsi reports for a null destination.
unsigned int BufferSize(const TString& s) {
    return s.SaveAsAnsi(nullptr, 0, '?');
}

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

TEST(TStringStorage, EmptyStringsHaveOneByteBuffers) {
    TString empty;
    EXPECT_EQ(empty.GetLength(), 0);
    EXPECT_EQ(empty.IsEmpty(), 1u);
    EXPECT_EQ(BufferSize(empty), 1u);
    EXPECT_EQ(BufferSize(TString(static_cast<const char*>(nullptr))), 1u);
    EXPECT_EQ(TString("abc", 0).IsEmpty(), 1u);
    EXPECT_EQ(TString("abc", -5).IsEmpty(), 1u);
    EXPECT_EQ(TString::NullString.IsEmpty(), 1u);
}

TEST(TStringStorage, CopiesOwnTheirBuffersAtExactSize) {
    TString a("hello");
    TString b(a);
    EXPECT_NE(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(BufferSize(b), 6u);
    TString c(a, 3);
    EXPECT_EQ(Str(c), "hel");
    EXPECT_EQ(BufferSize(c), 4u);
    EXPECT_EQ(Str(TString("abcdef", 2)), "ab");
    EXPECT_EQ(Str(TString('x', 3)), "xxx");
    EXPECT_EQ(Str(TString('x', -1)), "");
}

TEST(TStringStorage, ConstructionStopsAtNMaxWithoutReadingFurther) {
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(Str(TString(unterminated, 3)), "abc");
}

TEST(TStringStorage, AppendReusesRoomAndOtherwiseGrowsExactly) {
    TString s("abcdef");
    s.StripTail('f'); // in place: buffer stays 7
    s.StripTail('e');
    EXPECT_EQ(BufferSize(s), 7u);
    s += "XY"; // fits: 4 + 2 + 1 <= 7
    EXPECT_EQ(Str(s), "abcdXY");
    EXPECT_EQ(BufferSize(s), 7u);
    s += 'Z';
    EXPECT_EQ(Str(s), "abcdXYZ");
    EXPECT_EQ(BufferSize(s), 8u);
    s += static_cast<const char*>(nullptr);
    EXPECT_EQ(Str(s), "abcdXYZ");
}

TEST(TStringStorage, SelfReferencesAreSafe) {
    TString s("abc");
    s += s;
    EXPECT_EQ(Str(s), "abcabc");
    s = static_cast<const char*>(s) + 2; // a pointer into the object's own text
    EXPECT_EQ(Str(s), "cabc");
    s = s;
    EXPECT_EQ(Str(s), "cabc");
    s += static_cast<const char*>(s) + 1;
    EXPECT_EQ(Str(s), "cabcabc");
    s.Format("%s-%s", static_cast<const char*>(s), "x");
    EXPECT_EQ(Str(s), "cabcabc-x");
}

TEST(TStringStorage, OperatorsPlusLeaveOperandsAlone) {
    TString a("ab");
    EXPECT_EQ(Str(a + TString("cd")), "abcd");
    EXPECT_EQ(Str(a + "cd"), "abcd");
    EXPECT_EQ(Str(a + 'c'), "abc");
    EXPECT_EQ(Str(a), "ab");
    TString c;
    c = 'q';
    EXPECT_EQ(BufferSize(c), 2u);
}

TEST(TStringRadix, WritesAsTheWindowsRuntime) {
    EXPECT_EQ(Str(TString(static_cast<signed char>(-1), 16)), "ffffffff");
    EXPECT_EQ(Str(TString(static_cast<signed char>(-1), 10)), "-1");
    EXPECT_EQ(Str(TString(static_cast<unsigned char>(255), 10)), "255");
    EXPECT_EQ(Str(TString(static_cast<short>(-2), 2)), "11111111111111111111111111111110");
    EXPECT_EQ(Str(TString(static_cast<unsigned short>(65535), 16)), "ffff");
    EXPECT_EQ(Str(TString(-2147483647L - 1, 10)), "-2147483648");
    EXPECT_EQ(Str(TString(-1L, 36)), "1z141z3");
    EXPECT_EQ(Str(TString(4294967295UL, 10)), "4294967295");
    EXPECT_EQ(Str(TString(0, 10)), "0");
    EXPECT_EQ(Str(TString(35, 36)), "z");
    EXPECT_EQ(Str(TString(-8, 8)), "37777777770");
    EXPECT_EQ(Str(TString(12, 1)), "");  // unsupported radix
    EXPECT_EQ(Str(TString(12, 37)), ""); // unsupported radix
}

TEST(TStringRadix, LongValuesWrapAt32Bits) {
    if (sizeof(long) == 4)
        GTEST_SKIP() << "long is 32 bits here; nothing can wrap";
    const long wide = static_cast<long>(0x100000005LL);
    EXPECT_EQ(Str(TString(wide, 10)), "5");
    const unsigned long uwide = static_cast<unsigned long>(0x1FFFFFFFFULL);
    EXPECT_EQ(Str(TString(uwide, 10)), "4294967295");
}

TEST(TStringCompare, EqualityIsCaseSensitiveOrderingIsNot) {
    EXPECT_FALSE(TString("ABC") == "abc");
    EXPECT_TRUE(TString("ABC") != "abc");
    EXPECT_TRUE(TString("abc") == TString("abc"));
    EXPECT_TRUE(TString("ABC") < TString("abd"));
    EXPECT_FALSE(TString("ABC") < TString("abc"));
    EXPECT_FALSE(TString("abc") < TString("ABC"));
    EXPECT_EQ(TString("abc").Compare("abc"), 1u);
    EXPECT_EQ(TString("abc").Compare("abd"), 0u);
    EXPECT_EQ(TString("aBc").CompareNoCase("AbC"), 1u);
    EXPECT_EQ(TString("").Compare(nullptr), 1u);
}

TEST(TStringSearch, FindsAndCounts) {
    TString s("banana");
    EXPECT_EQ(s.Find(TString("an")), 1);
    EXPECT_EQ(s.Find(TString("x")), -1);
    EXPECT_EQ(s.Find('n'), 2);
    EXPECT_EQ(s.FindReverse('a'), 5);
    EXPECT_EQ(s.FindReverse('z'), -1);
    EXPECT_EQ(s.CountChar('a'), 3);
    EXPECT_EQ(TString().CountChar('a'), 0);
    EXPECT_EQ(s.CountChar('\0'), 0);
}

TEST(TStringSubstrings, RightIsTheTailAfterNCharacters) {
    TString s("abcdef");
    EXPECT_EQ(Str(s.Right(2)), "cdef");
    EXPECT_EQ(Str(s.Right(6)), "");
    EXPECT_EQ(Str(s.Right(9)), "");
    EXPECT_EQ(Str(s.Right(-3)), "abcdef"); // a caller's error, read as 0
    EXPECT_EQ(Str(s.Left(0)), "");
    EXPECT_EQ(Str(s.Left(-1)), "");
    EXPECT_EQ(Str(s.Left(9)), "abcdef");
    EXPECT_EQ(Str(s.Left(2)), "ab");
    EXPECT_EQ(Str(s), "abcdef");
}

TEST(TStringSubstrings, LeftSplitAndGetUntil) {
    EXPECT_EQ(Str(TString("a.b").LeftSplit('.', 1)), "a.");
    EXPECT_EQ(Str(TString("a.b").LeftSplit('.', 0)), "a");
    EXPECT_EQ(Str(TString("ab").LeftSplit('.', 1)), "ab");

    TString kv("key=value");
    EXPECT_EQ(Str(kv.GetUntil('=')), "key");
    EXPECT_EQ(Str(kv), "value");
    TString none("novalue");
    EXPECT_EQ(Str(none.GetUntil('=')), "novalue");
    EXPECT_EQ(Str(none), "");
}

TEST(TStringTokens, FromTheLeftKeepTheDelimiterAtTheHead) {
    TString s("  a  b");
    EXPECT_EQ(Str(s.Token(' ')), "a");
    EXPECT_EQ(Str(s), "  b");
    EXPECT_EQ(Str(s.Token(' ')), "b");
    EXPECT_EQ(Str(s), "");
    EXPECT_EQ(Str(s.Token(' ')), "");

    TString set("x,y;z");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "x");
    EXPECT_EQ(Str(set), ",y;z");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "y");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "z");

    TString onlyDelimiters(",,,");
    EXPECT_EQ(Str(onlyDelimiters.Token(',')), "");
    EXPECT_EQ(Str(onlyDelimiters), "");
}

TEST(TStringTokens, FromTheRightKeepTheDelimiterInTheObject) {
    TString s("a/b/c");
    EXPECT_EQ(Str(s.TokenRight('/')), "c");
    EXPECT_EQ(Str(s), "a/b/");
    EXPECT_EQ(Str(s.TokenRight('/')), "b");
    EXPECT_EQ(Str(s), "a/");
    EXPECT_EQ(Str(s.TokenRight('/')), "a");
    EXPECT_EQ(Str(s), "");
    EXPECT_EQ(Str(s.TokenRight('/')), "");

    TString trailing("a/b//");
    const unsigned int before = BufferSize(trailing);
    EXPECT_EQ(Str(trailing.TokenRight('/')), "b");
    EXPECT_EQ(BufferSize(trailing), before); // in place
    EXPECT_EQ(Str(TString("x\\y/z").TokenRight(TString("\\/"))), "z");
}

TEST(TStringEdit, StripHeadReallocatesStripTailDoesNot) {
    TString tail("ab  ");
    tail.StripTail(' ');
    EXPECT_EQ(Str(tail), "ab");
    EXPECT_EQ(BufferSize(tail), 5u);
    TString head("  ab");
    head.StripHead(' ');
    EXPECT_EQ(Str(head), "ab");
    EXPECT_EQ(BufferSize(head), 3u);

    TString set(" \tab\t ");
    set.StripHead(TString(" \t"));
    set.StripTail(TString(" \t"));
    EXPECT_EQ(Str(set), "ab");

    TString n("abcdef");
    const char* before = n;
    n.StripHead(0);
    EXPECT_EQ(static_cast<const char*>(n), before);
    n.StripHead(2);
    EXPECT_EQ(Str(n), "cdef");
    n.StripHead(99);
    EXPECT_EQ(Str(n), "");
    TString empty;
    empty.StripTail(' ');
    EXPECT_EQ(Str(empty), "");
}

TEST(TStringEdit, ReplaceFindsLeftToRightWithoutOverlap) {
    TString s("aXbXc");
    EXPECT_EQ(s.Replace("X", "--", 1), 2);
    EXPECT_EQ(Str(s), "a--b--c");
    TString once("aXbXc");
    EXPECT_EQ(once.Replace("X", "--", 0), 1);
    EXPECT_EQ(Str(once), "a--bXc");
    TString overlap("aaa");
    EXPECT_EQ(overlap.Replace("aa", "b", 1), 1);
    EXPECT_EQ(Str(overlap), "ba");
    TString grow("xx");
    EXPECT_EQ(grow.Replace("x", "xx", 1), 2); // inserted text is not searched again
    EXPECT_EQ(Str(grow), "xxxx");
    TString absent("abc");
    EXPECT_EQ(absent.Replace("z", "y", 1), 0);
    EXPECT_EQ(Str(absent), "abc");
}

TEST(TStringEdit, ReplaceWithEmptySearchTextEnds) {
    TString all("abc");
    EXPECT_EQ(all.Replace("", "-", 1), 1);
    EXPECT_EQ(Str(all), "-abc");
    TString one("abc");
    EXPECT_EQ(one.Replace("", "-", 0), 1);
    EXPECT_EQ(Str(one), "-abc");
}

TEST(TStringEdit, ExchangeCountsAndNeverHangs) {
    TString s("banana");
    EXPECT_EQ(s.Exchange('a', 'b'), 3);
    EXPECT_EQ(Str(s), "bbnbnb");
    TString cut("a.b.c");
    EXPECT_EQ(cut.Exchange('.', '\0'), 1);
    EXPECT_EQ(Str(cut), "a");
    TString same("aaa");
    EXPECT_EQ(same.Exchange('a', 'a'), 3);
    EXPECT_EQ(Str(same), "aaa");
    TString nul("abc");
    EXPECT_EQ(nul.Exchange('\0', 'x'), 0);
    EXPECT_EQ(Str(nul), "abc");
}

TEST(TStringEdit, CaseChangesInPlace) {
    TString s("MiXeD 1");
    s.UpCase();
    EXPECT_EQ(Str(s), "MIXED 1");
    s.LowCase();
    EXPECT_EQ(Str(s), "mixed 1");
}

TEST(TStringBuffer, GetBufferZeroFillsAndReleaseBufferShrinks) {
    TString s("ab");
    char* p = s.GetBuffer(10);
    EXPECT_EQ(BufferSize(s), 11u);
    for (int i = 2; i <= 10; ++i)
        EXPECT_EQ(p[i], '\0') << i;
    std::strcpy(p, "hello");
    s.ReleaseBuffer();
    EXPECT_EQ(Str(s), "hello");
    EXPECT_EQ(BufferSize(s), 6u);
    EXPECT_EQ(s.GetBuffer(3), static_cast<const char*>(s)); // already large enough
}

TEST(TStringBuffer, ReleaseBufferCopesWithAFullBuffer) {
    TString s;
    char* p = s.GetBuffer(4);
    std::memset(p, 'z', 5); // the caller overwrote the terminator too
    s.ReleaseBuffer();
    EXPECT_EQ(Str(s), "zzzz");
}

TEST(TStringFormat, FormatsUpToTheLimitAndCutsBeyond) {
    TString s;
    s.Format("%d-%s-%05.1f", 42, "x", 3.14159);
    EXPECT_EQ(Str(s), "42-x-003.1");
    EXPECT_EQ(BufferSize(s), static_cast<unsigned int>(s.GetLength() + 1));

    std::string exact(4096, 'e');
    s.Format("%s", exact.c_str());
    EXPECT_EQ(s.GetLength(), 4096);
    EXPECT_EQ(BufferSize(s), 4097u);

    std::string longer(10000, 'l');
    s.Format("%s", longer.c_str());
    EXPECT_EQ(s.GetLength(), 4096);
}

TEST(TStringFormat, ComputerNameIsSet) {
    TString name;
    name.GetComputerNameA();
    EXPECT_FALSE(name.IsEmpty());
    EXPECT_EQ(BufferSize(name), static_cast<unsigned int>(name.GetLength() + 1));
}

TEST(TStringValue, HexSkipsTwoCharactersWhenTextHasZeroX) {
    unsigned long v = 0;
    EXPECT_EQ(TString("0x1F").Value(v, 16, nullptr), 1u);
    EXPECT_EQ(v, 31u);
    char* end = nullptr;
    TString tenx("10x");
    EXPECT_EQ(tenx.Value(v, 16, &end), 1u);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(end, static_cast<const char*>(tenx) + 2);
    EXPECT_EQ(TString("0x").Value(v, 16, nullptr), 1u);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(TString("ff").Value(v, 16, nullptr), 1u);
    EXPECT_EQ(v, 255u);
}

TEST(TStringValue, FailsOnEmptyAndOutOfRangeAndRestoresErrno) {
    long v = 0;
    errno = 1234;
    EXPECT_EQ(TString("").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(errno, 1234);
    EXPECT_EQ(TString("99999999999").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(v, 2147483647L);
    EXPECT_EQ(errno, 1234);
    EXPECT_EQ(TString("-99999999999").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(v, -2147483647L - 1);
    unsigned long u = 0;
    EXPECT_EQ(TString("99999999999").Value(u, 10, nullptr), 0u);
    EXPECT_EQ(u, 4294967295u);
    EXPECT_EQ(errno, 1234);
    errno = 0;
}

TEST(TStringValue, ThirtyTwoBitLimits) {
    long v = 0;
    EXPECT_EQ(TString("2147483647").Value(v, 10, nullptr), 1u);
    EXPECT_EQ(v, 2147483647L);
    EXPECT_EQ(TString("2147483648").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(TString("-2147483648").Value(v, 10, nullptr), 1u);
    EXPECT_EQ(v, -2147483647L - 1);
    unsigned long u = 0;
    EXPECT_EQ(TString("4294967295").Value(u, 10, nullptr), 1u);
    EXPECT_EQ(u, 4294967295u);
    EXPECT_EQ(TString("-1").Value(u, 10, nullptr), 1u); // negated within range
    EXPECT_EQ(u, 4294967295u);
    EXPECT_EQ(TString("4294967296").Value(u, 10, nullptr), 0u);
}

TEST(TStringValue, StopPositionAndBases) {
    long v = 0;
    char* end = nullptr;
    TString s("  -12abc");
    EXPECT_EQ(s.Value(v, 10, &end), 1u);
    EXPECT_EQ(v, -12);
    EXPECT_STREQ(end, "abc");
    EXPECT_EQ(TString("abc").Value(v, 10, &end), 0u);
    EXPECT_EQ(TString("017").Value(v, 0, nullptr), 1u);
    EXPECT_EQ(v, 15);
    EXPECT_EQ(TString("0X1a").Value(v, 0, nullptr), 1u);
    EXPECT_EQ(v, 26);
    EXPECT_EQ(TString("z").Value(v, 36, nullptr), 1u);
    EXPECT_EQ(v, 35);
    EXPECT_EQ(TString("12").Value(v, 99, nullptr), 0u); // unsupported base
}

TEST(TStringValue, ShortFormsCutToSixteenBits) {
    unsigned short us = 0;
    EXPECT_EQ(TString("65537").Value(us, 10, nullptr), 1u);
    EXPECT_EQ(us, 1u);
    short ss = 0;
    EXPECT_EQ(TString("-1").Value(ss, 10, nullptr), 1u);
    EXPECT_EQ(ss, -1);
    EXPECT_EQ(TString("32768").Value(ss, 10, nullptr), 1u);
    EXPECT_EQ(ss, -32768);
}

TEST(TStringValue, FloatingAndSixtyFourBitForms) {
    double d = 0;
    EXPECT_EQ(TString("2.5e3").Value(d, nullptr), 1u);
    EXPECT_DOUBLE_EQ(d, 2500.0);
    EXPECT_EQ(TString("x").Value(d, nullptr), 0u);
    float f = 0;
    EXPECT_EQ(TString("0.5").Value(f, nullptr), 1u);
    EXPECT_FLOAT_EQ(f, 0.5f);

    unsigned __int64 q = 0;
    EXPECT_EQ(TString("-1").Value(q, nullptr), 1u);
    EXPECT_EQ(q, 0xFFFFFFFFFFFFFFFFull); // sign-extended 32-bit value
    EXPECT_EQ(TString("").Value(q, nullptr), 1u);
    EXPECT_EQ(q, 0u);
    errno = 77;
    EXPECT_EQ(TString("99999999999").Value(q, nullptr), 0u);
    EXPECT_EQ(errno, 77);
    errno = 0;
}

TEST(TStringValue, IsHexValue) {
    char empty[] = "";
    char hex[] = "09afAF";
    char prefixed[] = "0x1";
    EXPECT_EQ(TString::IsHexValue(empty), 1u);
    EXPECT_EQ(TString::IsHexValue(hex), 1u);
    EXPECT_EQ(TString::IsHexValue(prefixed), 0u);
    EXPECT_EQ(TString::IsHexValue(nullptr), 0u);
}

TEST(TStringAnsi, AsAnsiCutsAndSaveAsAnsiReportsTheBufferSize) {
    TString s("abcdef");
    char small[4];
    EXPECT_EQ(s.AsAnsi(small, sizeof small), 3u);
    EXPECT_STREQ(small, "abc");
    EXPECT_EQ(s.AsAnsi(small, 0), 0u); // no room at all: nothing written
    EXPECT_EQ(s.SaveAsAnsi(nullptr, 0, '?'), 7u);
    char big[16];
    EXPECT_EQ(s.SaveAsAnsi(big, sizeof big, '?'), 7u);
    EXPECT_STREQ(big, "abcdef");
    TString t;
    t.FromAnsi("xyz");
    EXPECT_EQ(Str(t), "xyz");
    t.SaveFromAnsi(nullptr, '?');
    EXPECT_EQ(Str(t), "");
}

// Windows-1252 bytes 0x80 to 0x9F and the UTF-16 units Windows gives for them;
// every other byte is its own code point.
const unsigned short kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned short ExpectedUnit(unsigned byte) {
    return byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80]
                                       : static_cast<unsigned short>(byte);
}

TEST(TStringUnicode, EveryByteOfTheCodePageRoundTrips) {
    if (GetACP() != 1252)
        GTEST_SKIP() << "the ANSI code page here is " << GetACP() << ", not 1252";
    for (unsigned byte = 1; byte < 256; ++byte) {
        const char text[2] = {static_cast<char>(byte), '\0'};
        unsigned short units[4] = {0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE};
        EXPECT_EQ(TString(text).AsUnicode(units, sizeof units), 2u) << byte;
        EXPECT_EQ(units[0], ExpectedUnit(byte)) << byte;
        EXPECT_EQ(units[1], 0u) << byte;

        TString back;
        back.FromUnicode(units);
        EXPECT_EQ(Str(back), std::string(text)) << byte;
    }
}

TEST(TStringUnicode, AsUnicodeCountsBytesAndFailsWhenShort) {
    TString s("abc");
    unsigned short units[8];
    EXPECT_EQ(s.AsUnicode(units, sizeof units), 4u);
    EXPECT_EQ(units[0], 'a');
    EXPECT_EQ(units[3], 0u);
    unsigned short small[3] = {1, 1, 1};
    EXPECT_EQ(s.AsUnicode(small, sizeof small), 0u); // needs 4 units, has 2 + NUL slot
    EXPECT_EQ(small[2], 0u);
    EXPECT_EQ(s.AsUnicode(small, 1), 0u); // no unit at all: nothing written
}

TEST(TStringUnicode, FromUnicodeNullAndUnmapped) {
    TString s("old");
    s.FromUnicode(nullptr);
    EXPECT_EQ(Str(s), "");
    const unsigned short unmapped[] = {'a', 0x4E2D, 'b', 0};
    s.FromUnicode(unmapped);
    EXPECT_EQ(Str(s), "a?b");
    EXPECT_EQ(BufferSize(s), 4u);
}

} // namespace
