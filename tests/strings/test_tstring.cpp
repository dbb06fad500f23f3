// TString: storage, construction, comparison, substrings, tokens, editing,
// formatting, number conversion and code-page conversion.
#include "TString.h"

#include "kelwin32.h"

#include <cerrno>
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

TEST(TStringStorage, BuffersHaveExactSizes) {
    TString empty;
    EXPECT_EQ(empty.GetLength(), 0);
    EXPECT_EQ(empty.IsEmpty(), 1u);
    EXPECT_EQ(BufferSize(empty), 1u);
    EXPECT_EQ(BufferSize(TString(static_cast<const char*>(nullptr))), 1u);
    EXPECT_EQ(TString("abc", 0).IsEmpty(), 1u);
    EXPECT_EQ(TString("abc", -5).IsEmpty(), 1u);
    EXPECT_EQ(TString::NullString.IsEmpty(), 1u);

    TString a("hello");
    TString b(a);
    EXPECT_NE(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(BufferSize(b), 6u);
    TString c(a, 3);
    EXPECT_EQ(Str(c), "hel");
    EXPECT_EQ(BufferSize(c), 4u);
    EXPECT_EQ(Str(TString("abcdef", 2)), "ab");
    const char unterminated[3] = {'a', 'b', 'c'}; // nothing past nMax is read
    EXPECT_EQ(Str(TString(unterminated, 3)), "abc");
    EXPECT_EQ(Str(TString('x', 3)), "xxx");
    EXPECT_EQ(Str(TString('x', -1)), "");
    TString q;
    q = 'q';
    EXPECT_EQ(BufferSize(q), 2u);
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

    TString a("ab");
    EXPECT_EQ(Str(a + TString("cd")), "abcd");
    EXPECT_EQ(Str(a + "cd"), "abcd");
    EXPECT_EQ(Str(a + 'c'), "abc");
    EXPECT_EQ(Str(a), "ab");
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

// Numbers are written as the Windows runtime's _itoa family writes them, in
// 32 bits: a wider long wraps.
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
    if (sizeof(long) > 4) {
        EXPECT_EQ(Str(TString(static_cast<long>(0x100000005LL), 10)), "5");
        EXPECT_EQ(Str(TString(static_cast<unsigned long>(0x1FFFFFFFFULL), 10)), "4294967295");
    }
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

// Right(n) is the tail after n characters; negative counts are a caller's
// error, read as 0.
TEST(TStringSubstrings, RightLeftLeftSplitAndGetUntil) {
    TString s("abcdef");
    const struct {
        int n;
        const char *right, *left;
    } cases[] = {{2, "cdef", "ab"}, {6, "", "abcdef"},  {9, "", "abcdef"},
                 {0, "abcdef", ""}, {-1, "abcdef", ""}, {-3, "abcdef", ""}};
    for (const auto& c : cases) {
        EXPECT_EQ(Str(s.Right(c.n)), c.right) << c.n;
        EXPECT_EQ(Str(s.Left(c.n)), c.left) << c.n;
    }
    EXPECT_EQ(Str(s), "abcdef");

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

// Token leaves the delimiter at the head of the rest; TokenRight takes the
// token from the end and leaves the delimiter in place.
TEST(TStringTokens, FromTheLeftAndFromTheRight) {
    TString s("  a  b");
    const char* const left[][2] = {{"a", "  b"}, {"b", ""}, {"", ""}};
    for (const auto& step : left) {
        EXPECT_EQ(Str(s.Token(' ')), step[0]);
        EXPECT_EQ(Str(s), step[1]);
    }
    TString set("x,y;z");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "x");
    EXPECT_EQ(Str(set), ",y;z");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "y");
    EXPECT_EQ(Str(set.Token(TString(",;"))), "z");
    TString onlyDelimiters(",,,");
    EXPECT_EQ(Str(onlyDelimiters.Token(',')), "");
    EXPECT_EQ(Str(onlyDelimiters), "");

    TString path("a/b/c");
    const char* const right[][2] = {{"c", "a/b/"}, {"b", "a/"}, {"a", ""}, {"", ""}};
    for (const auto& step : right) {
        EXPECT_EQ(Str(path.TokenRight('/')), step[0]);
        EXPECT_EQ(Str(path), step[1]);
    }
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
    TString mixed("MiXeD 1");
    mixed.UpCase();
    EXPECT_EQ(Str(mixed), "MIXED 1");
    mixed.LowCase();
    EXPECT_EQ(Str(mixed), "mixed 1");
}

// Replace searches left to right without overlap and never searches the
// inserted text; an empty search text replaces once at the start and ends.
// Exchange never hangs on equal characters and counts every replacement.
TEST(TStringEdit, ReplaceAndExchange) {
    const struct {
        const char *text, *search, *by;
        int all, count;
        const char* after;
    } replaces[] = {
        {"aXbXc", "X", "--", 1, 2, "a--b--c"}, {"aXbXc", "X", "--", 0, 1, "a--bXc"},
        {"aaa", "aa", "b", 1, 1, "ba"},        {"xx", "x", "xx", 1, 2, "xxxx"},
        {"abc", "z", "y", 1, 0, "abc"},        {"abc", "", "-", 1, 1, "-abc"},
        {"abc", "", "-", 0, 1, "-abc"},
    };
    for (const auto& r : replaces) {
        TString s(r.text);
        EXPECT_EQ(s.Replace(r.search, r.by, r.all), r.count) << r.text << "/" << r.search;
        EXPECT_EQ(Str(s), r.after) << r.text << "/" << r.search;
    }
    const struct {
        const char* text;
        char from, to;
        int count;
        const char* after;
    } exchanges[] = {{"banana", 'a', 'b', 3, "bbnbnb"},
                     {"a.b.c", '.', '\0', 1, "a"},
                     {"aaa", 'a', 'a', 3, "aaa"},
                     {"abc", '\0', 'x', 0, "abc"}};
    for (const auto& x : exchanges) {
        TString s(x.text);
        EXPECT_EQ(s.Exchange(x.from, x.to), x.count) << x.text;
        EXPECT_EQ(Str(s), x.after) << x.text;
    }
}

TEST(TStringBuffer, GetBufferZeroFillsAndReleaseBufferShrinks) {
    TString s("ab");
    char* p = s.GetBuffer(10);
    EXPECT_EQ(BufferSize(s), 11u);
    EXPECT_EQ(std::string(p + 2, 9), std::string(9, '\0'));
    std::strcpy(p, "hello");
    s.ReleaseBuffer();
    EXPECT_EQ(Str(s), "hello");
    EXPECT_EQ(BufferSize(s), 6u);
    EXPECT_EQ(s.GetBuffer(3), static_cast<const char*>(s)); // already large enough

    TString full;
    std::memset(full.GetBuffer(4), 'z', 5); // the caller overwrote the terminator too
    full.ReleaseBuffer();
    EXPECT_EQ(Str(full), "zzzz");
}

TEST(TStringFormat, FormatsUpToTheLimitAndCutsBeyond) {
    TString s;
    s.Format("%d-%s-%05.1f", 42, "x", 3.14159);
    EXPECT_EQ(Str(s), "42-x-003.1");
    EXPECT_EQ(BufferSize(s), static_cast<unsigned int>(s.GetLength() + 1));
    const std::string exact(4096, 'e'), longer(10000, 'l');
    s.Format("%s", exact.c_str());
    EXPECT_EQ(s.GetLength(), 4096);
    EXPECT_EQ(BufferSize(s), 4097u);
    s.Format("%s", longer.c_str());
    EXPECT_EQ(s.GetLength(), 4096);

    TString name;
    name.GetComputerNameA();
    EXPECT_FALSE(name.IsEmpty());
    EXPECT_EQ(BufferSize(name), static_cast<unsigned int>(name.GetLength() + 1));
}

// Value's result and the value it leaves, as "ok:value".
template <class T> std::string ValueOf(const char* text, unsigned long base) {
    T v = 12345;
    const unsigned int ok = TString(text).Value(v, base, nullptr);
    return std::to_string(ok) + ":" + std::to_string(v);
}

// Base 16 skips two characters wherever the text has "0x" (also "10x");
// numbers are 32 bits, and out of range fails with the limit; unsigned
// negates within range; the short forms cut to 16 bits.
TEST(TStringValue, BasesPrefixesAndThirtyTwoBitRanges) {
    EXPECT_EQ(ValueOf<unsigned long>("0x1F", 16), "1:31");
    EXPECT_EQ(ValueOf<unsigned long>("0x", 16), "1:0");
    EXPECT_EQ(ValueOf<unsigned long>("ff", 16), "1:255");
    EXPECT_EQ(ValueOf<long>("017", 0), "1:15");
    EXPECT_EQ(ValueOf<long>("0X1a", 0), "1:26");
    EXPECT_EQ(ValueOf<long>("z", 36), "1:35");
    EXPECT_EQ(ValueOf<long>("12", 99), "0:0"); // unsupported base
    EXPECT_EQ(ValueOf<long>("2147483647", 10), "1:2147483647");
    EXPECT_EQ(ValueOf<long>("2147483648", 10), "0:2147483647");
    EXPECT_EQ(ValueOf<long>("-2147483648", 10), "1:-2147483648");
    EXPECT_EQ(ValueOf<long>("99999999999", 10), "0:2147483647");
    EXPECT_EQ(ValueOf<long>("-99999999999", 10), "0:-2147483648");
    EXPECT_EQ(ValueOf<unsigned long>("4294967295", 10), "1:4294967295");
    EXPECT_EQ(ValueOf<unsigned long>("-1", 10), "1:4294967295");
    EXPECT_EQ(ValueOf<unsigned long>("4294967296", 10), "0:4294967295");
    EXPECT_EQ(ValueOf<unsigned long>("99999999999", 10), "0:4294967295");
    EXPECT_EQ(ValueOf<unsigned short>("65537", 10), "1:1");
    EXPECT_EQ(ValueOf<short>("-1", 10), "1:-1");
    EXPECT_EQ(ValueOf<short>("32768", 10), "1:-32768");

    unsigned long v = 0;
    char* end = nullptr;
    TString tenx("10x");
    EXPECT_EQ(tenx.Value(v, 16, &end), 1u);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(end, static_cast<const char*>(tenx) + 2);
    long l = 0;
    TString s("  -12abc");
    EXPECT_EQ(s.Value(l, 10, &end), 1u);
    EXPECT_EQ(l, -12);
    EXPECT_STREQ(end, "abc");
    EXPECT_EQ(TString("abc").Value(l, 10, &end), 0u);
}

// A failure (nothing converted, or ERANGE) leaves errno as the caller had it.
TEST(TStringValue, FailuresRestoreErrno) {
    long v = 0;
    unsigned long u = 0;
    unsigned __int64 q = 0;
    errno = 1234;
    EXPECT_EQ(TString("").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(TString("99999999999").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(TString("-99999999999").Value(v, 10, nullptr), 0u);
    EXPECT_EQ(TString("99999999999").Value(u, 10, nullptr), 0u);
    EXPECT_EQ(TString("99999999999").Value(q, nullptr), 0u);
    EXPECT_EQ(errno, 1234);
    errno = 0;
}

TEST(TStringValue, FloatingSixtyFourBitAndHexForms) {
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

    char empty[] = "", hex[] = "09afAF", prefixed[] = "0x1";
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

// Every byte goes to the UTF-16 unit the code page gives it (the table
// itself is checked with the code-page conversions) and back again.
TEST(TStringUnicode, EveryByteOfTheCodePageRoundTrips) {
    if (GetACP() != 1252)
        GTEST_SKIP() << "the ANSI code page here is " << GetACP() << ", not 1252";
    for (unsigned byte = 1; byte < 256; ++byte) {
        const char text[2] = {static_cast<char>(byte), '\0'};
        WCHAR expected = 0;
        ASSERT_EQ(MultiByteToWideChar(1252, 0, text, 1, &expected, 1), 1);
        unsigned short units[4] = {0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE};
        EXPECT_EQ(TString(text).AsUnicode(units, sizeof units), 2u) << byte;
        EXPECT_EQ(units[0], expected) << byte;
        EXPECT_EQ(units[1], 0u) << byte;
        TString back;
        back.FromUnicode(units);
        EXPECT_EQ(Str(back), std::string(text)) << byte;
    }
}

TEST(TStringUnicode, ShortBuffersNullAndUnmappedUnits) {
    TString s("abc");
    unsigned short units[8];
    EXPECT_EQ(s.AsUnicode(units, sizeof units), 4u);
    EXPECT_EQ(units[0], 'a');
    EXPECT_EQ(units[3], 0u);
    unsigned short small[3] = {1, 1, 1};
    EXPECT_EQ(s.AsUnicode(small, sizeof small), 0u); // needs 4 units, has 2 + NUL slot
    EXPECT_EQ(small[2], 0u);
    EXPECT_EQ(s.AsUnicode(small, 1), 0u); // no unit at all: nothing written

    s.FromUnicode(nullptr);
    EXPECT_EQ(Str(s), "");
    const unsigned short unmapped[] = {'a', 0x4E2D, 'b', 0};
    s.FromUnicode(unmapped);
    EXPECT_EQ(Str(s), "a?b");
    EXPECT_EQ(BufferSize(s), 4u);
}

} // namespace
