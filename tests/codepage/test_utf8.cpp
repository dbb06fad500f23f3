// UTF-8 (CP_UTF8) in both directions: valid text at the encoding boundaries,
// how each kind of invalid sequence becomes U+FFFD, lone surrogates, and the
// flags and parameters UTF-8 accepts.
#include "codepage_support.h"
#include "testsupport.h"

using namespace cptest;

namespace {

struct Sample {
    const char* bytes;
    std::u16string text;
};

// The first and last code point of each sequence length, the surrogate gap,
// and noncharacters (which are valid).
const Sample kValid[] = {
    {"A", u"A"},
    {"\x7f", u"\u007f"},
    {"\xc2\x80", u"\u0080"},
    {"\xdf\xbf", u"\u07ff"},
    {"\xe0\xa0\x80", u"\u0800"},
    {"\xed\x9f\xbf", u"\ud7ff"},
    {"\xee\x80\x80", u"\ue000"},
    {"\xef\xbf\xbf", u"\uffff"},
    {"\xef\xb7\x90", u"\ufdd0"},
    {"\xf0\x90\x80\x80", u"\U00010000"},
    {"\xf0\x9f\x98\x80", u"\U0001F600"},
    {"\xf4\x8f\xbf\xbf", u"\U0010FFFF"},
    {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac", u"gr\u00fc\u00df \u20ac"},
};

TEST(Utf8, ValidTextConvertsBothWays) {
    for (const Sample& s : kValid) {
        WideResult wide = ToWide(CP_UTF8, 0, s.bytes);
        EXPECT_EQ(wide.Written(), U(s.text)) << s.bytes;
        EXPECT_EQ(wide.error, kUntouchedError);
        ByteResult bytes = ToBytes(CP_UTF8, WC_ERR_INVALID_CHARS, U(s.text));
        EXPECT_EQ(bytes.Written(), s.bytes);
        EXPECT_EQ(bytes.error, kUntouchedError);
        EXPECT_EQ(ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, s.bytes).Written(), U(s.text));
    }
}

struct Invalid {
    std::string bytes;
    std::u16string text;
};

// Windows replaces each invalid sequence by one U+FFFD. A sequence ends at the
// byte that shows it invalid: a byte that is no continuation is not taken, a
// continuation that makes an overlong form, a surrogate or a value above
// U+10FFFF is. A sequence cut off by the end of the input takes the rest.
const Invalid kInvalid[] = {
    {"a\x80z", u"a\ufffdz"},                           // lone continuation
    {"\x80\xbfz", u"\ufffd\ufffdz"},                   // two of them
    {"a\xc0\x80z", u"a\ufffd\ufffdz"},                 // C0 never starts a sequence
    {"\xc1\xbf", u"\ufffd\ufffd"},                     // nor C1
    {"\xf5\x80\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"}, // nor F5..FF
    {"\xfe\xff\xf8\x88\x80\x80\x80z", u"\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffdz"},
    {"\xc2\x41", u"\ufffdA"}, // missing continuation
    {"\xe1\x80\x41", u"\ufffdA"},
    {"\xe2\x82z", u"\ufffdz"},
    {"\xf0\x9f\x98z", u"\ufffdz"},
    {"\xe0\x80\x80z", u"\ufffd\ufffdz"}, // overlong 3-byte form
    {"\xe0\x9f\xbf", u"\ufffd\ufffd"},
    {"\xe0\x80\x41", u"\ufffdA"},
    {"\xf0\x80\x80\x80", u"\ufffd\ufffd\ufffd"}, // overlong 4-byte form
    {"\xf0\x8f\xbf\xbf", u"\ufffd\ufffd\ufffd"},
    {"\xed\xa0\x80z", u"\ufffd\ufffdz"}, // encoded surrogate
    {"\xed\xbf\xbf", u"\ufffd\ufffd"},
    {"\xf4\x90\x80\x80z", u"\ufffd\ufffd\ufffdz"}, // above U+10FFFF
    {"\xe2\x82", u"\ufffd"},                       // cut off by the end
    {"\xe2\x41", u"\ufffd"},
    {"\xf0\x9f\x41", u"\ufffd"},
    {"\xf4\x8f\xbf", u"\ufffd"},
    {"\xe0\x80", u"\ufffd"},
};

TEST(Utf8ToWide, InvalidSequencesBecomeReplacementCharacters) {
    for (const Invalid& s : kInvalid) {
        WideResult r = ToWide(CP_UTF8, 0, s.bytes);
        EXPECT_EQ(r.Written(), U(s.text)) << testing::PrintToString(s.bytes);
        EXPECT_EQ(r.error, kUntouchedError);

        EXPECT_EQ(ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, s.bytes).Failure(),
                  ERROR_NO_UNICODE_TRANSLATION)
            << testing::PrintToString(s.bytes);
        const int length = static_cast<int>(s.bytes.size()); // and a size query
        EXPECT_EQ(ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, s.bytes, length, 0).Failure(),
                  ERROR_NO_UNICODE_TRANSLATION);
    }
}

// A full buffer is reported before invalid input, and the units of a
// surrogate pair are written one at a time.
TEST(Utf8ToWide, BufferTooSmall) {
    WideResult invalidFirst = ToWide(CP_UTF8, MB_ERR_INVALID_CHARS,
                                     "\xc0"
                                     "abc",
                                     -1, 2);
    EXPECT_EQ(invalidFirst.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(invalidFirst.buffer, (Units{0xFFFD, 'a'}));

    WideResult split = ToWide(CP_UTF8, 0, "a\xf0\x9f\x98\x80", -1, 2);
    EXPECT_EQ(split.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(split.buffer, (Units{'a', 0xD83D}));

    WideResult fits = ToWide(CP_UTF8, 0, "a\xf0\x9f\x98\x80", 5, 3);
    EXPECT_EQ(fits.result, 3);
    EXPECT_EQ(fits.buffer, U(u"a\U0001F600"));
}

// Lone surrogates become U+FFFD (EF BF BD); a pair cut by an explicit length
// leaves a lone high surrogate. A character's bytes are written whole or not
// at all; a full buffer is reported before an invalid unit.
TEST(Utf8FromWide, LoneSurrogatesAndShortBuffers) {
    Units text = Z(u"x\U0001F600y");
    text.insert(text.begin(), 0xD800);
    text.insert(text.begin() + 2, 0xDC00);
    ByteResult r = ToBytes(CP_UTF8, 0, text, -1, 32, nullptr, false);
    ASSERT_EQ(r.result, 13);
    EXPECT_EQ(r.Written(), std::string("\xef\xbf\xbdx\xef\xbf\xbd\xf0\x9f\x98\x80y\0", 13));

    ByteResult cut = ToBytes(CP_UTF8, 0, U(u"\U0001F600"), 1, 8, nullptr, false);
    EXPECT_EQ(cut.Written(), "\xef\xbf\xbd");

    EXPECT_EQ(ToBytes(CP_UTF8, WC_ERR_INVALID_CHARS, text, -1, 32, nullptr, false).Failure(),
              ERROR_NO_UNICODE_TRANSLATION);

    ByteResult pair = ToBytes(CP_UTF8, 0, U(u"\U0001F600"), 2, 3, nullptr, false);
    EXPECT_EQ(pair.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(pair.buffer, "###");
    ByteResult euro = ToBytes(CP_UTF8, 0, Z(u"a\u20ac"), -1, 3, nullptr, false);
    EXPECT_EQ(euro.error, ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(euro.buffer, "a##");
    ByteResult lone =
        ToBytes(CP_UTF8, WC_ERR_INVALID_CHARS, Units{0xDC00, 'a', 0}, -1, 1, nullptr, false);
    EXPECT_EQ(lone.error, ERROR_INSUFFICIENT_BUFFER);
}

} // namespace
