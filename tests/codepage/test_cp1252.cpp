// Windows-1252 in both directions, against fixed expectations that Windows
// (and Wine standing in for it) gives: every byte, every UTF-16 unit with and
// without best fit, the default character and the composite flags.
#include "codepage_support.h"
#include "testsupport.h"

#include <cstdint>

using namespace cptest;

namespace {

constexpr UINT kCp = 1252;

// Windows-1252 bytes 0x80..0x9F; every other byte is the Unicode character
// with the same number.
const WCHAR kRow80[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

WCHAR Expected1252(int byte) {
    return byte >= 0x80 && byte <= 0x9F ? kRow80[byte - 0x80] : static_cast<WCHAR>(byte);
}

std::string AllBytes() {
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        bytes.push_back(static_cast<char>(b));
    return bytes;
}

// Every byte, none of them invalid, maps to its character and back.
TEST(Cp1252, EveryByteRoundTrips) {
    for (DWORD flags : {DWORD{0}, DWORD{MB_PRECOMPOSED}, DWORD{MB_ERR_INVALID_CHARS}}) {
        WideResult r = ToWide(kCp, flags, AllBytes());
        ASSERT_EQ(r.result, 256) << "flags " << flags;
        EXPECT_EQ(r.error, kUntouchedError);
        for (int b = 0; b < 256; ++b)
            EXPECT_EQ(r.buffer[b], Expected1252(b)) << "byte 0x" << std::hex << b;
    }
    ByteResult back = ToBytes(kCp, WC_NO_BEST_FIT_CHARS, ToWide(kCp, 0, AllBytes()).Written());
    ASSERT_EQ(back.result, 256);
    EXPECT_EQ(back.Written(), AllBytes());
    EXPECT_EQ(back.used, FALSE);
    EXPECT_EQ(back.error, kUntouchedError);
}

// One unit at a time, so that lpUsedDefaultChar tells each unit apart.
struct UnitSweep {
    std::string bytes;
    int converted = 0; // units that give a byte other than '?'
    int usedDefault = 0;
};

UnitSweep SweepAllUnits(DWORD flags) {
    UnitSweep sweep;
    for (std::uint32_t u = 0; u <= 0xFFFF; ++u) {
        Units unit(1, static_cast<WCHAR>(u));
        char byte = kByteMarker;
        BOOL used = kUsedUntouched;
        int n = WideCharToMultiByte(kCp, flags, unit.data(), 1, &byte, 1, nullptr, &used);
        if (n != 1 || used == kUsedUntouched) {
            ADD_FAILURE() << "unit " << u << " result " << n;
            return sweep;
        }
        sweep.bytes.push_back(byte);
        sweep.converted += byte != '?';
        sweep.usedDefault += used != FALSE;
    }
    return sweep;
}

// Microsoft's table for 1252 lists 698 units; two of them ('?' and U+FF1F)
// give '?', so 696 units give another byte. Every other unit, U+FF1F among
// them, counts as taking the default character; '?' itself does not. Without
// best fit only the 256 round trips remain. The digests pin every byte of all
// 65536 results, as Win32 gives them.
TEST(Cp1252FromWide, EveryUnitWithAndWithoutBestFit) {
    UnitSweep sweep = SweepAllUnits(0);
    EXPECT_EQ(sweep.converted, 696);
    EXPECT_EQ(sweep.usedDefault, 65536 - 697);
    EXPECT_EQ(Fnv1a(sweep.bytes), 0x75365d8du) << std::hex << Fnv1a(sweep.bytes);

    sweep = SweepAllUnits(WC_NO_BEST_FIT_CHARS);
    EXPECT_EQ(sweep.converted, 255);
    EXPECT_EQ(sweep.usedDefault, 65536 - 256);
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(static_cast<unsigned char>(sweep.bytes[Expected1252(b)]), b);
    EXPECT_EQ(Fnv1a(sweep.bytes), 0xfb6674b1u) << std::hex << Fnv1a(sweep.bytes);
}

struct BestFit {
    WCHAR unit;
    unsigned char withBestFit;
    unsigned char withoutBestFit;
};

// A spread of the table: exact round trips, Latin letters without their
// accents, symbols, fullwidth forms, and units with no mapping at all.
const BestFit kBestFits[] = {
    {0x0041, 'A', 'A'},   {0x00E9, 0xE9, 0xE9}, {0x20AC, 0x80, 0x80}, {0x0081, 0x81, 0x81},
    {0x0192, 0x83, 0x83}, {0x0178, 0x9F, 0x9F}, {0x0100, 'A', '?'},   {0x0131, 'i', '?'},
    {0x0110, 0xD0, '?'},  {0x0191, 0x83, '?'},  {0x01C3, '!', '?'},   {0x02C9, 0xAF, '?'},
    {0x0301, 0xB4, '?'},  {0x03B2, 0xDF, '?'},  {0x03BC, 0xB5, '?'},  {0x2002, ' ', '?'},
    {0x2017, '=', '?'},   {0x2032, '\'', '?'},  {0x2089, '9', '?'},   {0x212B, 0xC5, '?'},
    {0x2205, 0xD8, '?'},  {0x221E, '8', '?'},   {0x2248, 0x98, '?'},  {0x2264, '=', '?'},
    {0x2502, 0xA6, '?'},  {0x263C, 0xA4, '?'},  {0x3000, ' ', '?'},   {0x30FB, 0xB7, '?'},
    {0xFF01, '!', '?'},   {0xFF5E, '~', '?'},   {0x0080, '?', '?'},   {0x0400, '?', '?'},
    {0x0133, '?', '?'},   {0xFF5F, '?', '?'},   {0xFFFF, '?', '?'},   {0xD800, '?', '?'},
};

TEST(Cp1252FromWide, BestFitAndExactMappings) {
    for (const BestFit& fit : kBestFits) {
        Units unit(1, fit.unit);
        ByteResult with = ToBytes(kCp, 0, unit);
        ByteResult without = ToBytes(kCp, WC_NO_BEST_FIT_CHARS, unit);
        ASSERT_EQ(with.result, 1);
        ASSERT_EQ(without.result, 1);
        EXPECT_EQ(static_cast<unsigned char>(with.buffer[0]), fit.withBestFit) << fit.unit;
        EXPECT_EQ(static_cast<unsigned char>(without.buffer[0]), fit.withoutBestFit) << fit.unit;
        EXPECT_EQ(with.used != FALSE, fit.withBestFit == '?') << fit.unit;
        EXPECT_EQ(without.used != FALSE, fit.withoutBestFit == '?' && fit.unit != '?') << fit.unit;
    }
}

// The caller's default character replaces every unmapped unit, including the
// ones the table sends to '?' (U+FF1F); '?' itself stays. Each unit of a
// surrogate pair is converted on its own. lpUsedDefaultChar is cleared when
// nothing is replaced, and a size query reports it too.
TEST(Cp1252FromWide, DefaultCharacter) {
    Units text = Z(u"A\u0100\u221E\uFF1F?\u0400");
    ByteResult x = ToBytes(kCp, 0, text, -1, 16, "X");
    ASSERT_EQ(x.result, 7);
    EXPECT_EQ(x.Written(), std::string("AA8X?X\0", 7));
    EXPECT_EQ(x.used, TRUE);
    ByteResult strict = ToBytes(kCp, WC_NO_BEST_FIT_CHARS, text, -1, 16, "X");
    EXPECT_EQ(strict.Written(), std::string("AXXX?X\0", 7));
    ByteResult empty = ToBytes(kCp, 0, text, -1, 16, "");
    EXPECT_EQ(empty.Written(), std::string("AA8\0?\0\0", 7));
    ByteResult question = ToBytes(kCp, 0, Z(u"?"), -1, 4, "X");
    EXPECT_EQ(question.Written(), std::string("?\0", 2));
    EXPECT_EQ(question.used, FALSE);

    ByteResult pair = ToBytes(kCp, 0, Z(u"a\U0001F600b"), -1, 16);
    ASSERT_EQ(pair.result, 5);
    EXPECT_EQ(pair.Written(), std::string("a??b\0", 5));
    EXPECT_EQ(pair.used, TRUE);

    ByteResult none = ToBytes(kCp, 0, Z(u"Th\u00e4t"), -1, 16);
    EXPECT_EQ(none.result, 5);
    EXPECT_EQ(none.used, FALSE);
    ByteResult size = ToBytes(kCp, 0, Z(u"Th\u0440i"), -1, 0);
    EXPECT_EQ(size.result, 5);
    EXPECT_EQ(size.used, TRUE);
}

// MB_COMPOSITE splits precomposed characters into base and mark (canonical
// decomposition only: the diaeresis, ordinal and micro signs stay).
TEST(Cp1252ToWide, CompositeDecomposes) {
    WideResult r = ToWide(kCp, MB_COMPOSITE, "\xe9\xc5\x8a\xc6\xa8\xaa\xb5\x9f");
    ASSERT_EQ(r.result, 12);
    EXPECT_EQ(r.Written(), U(u"e\u0301A\u030aS\u030c\u00c6\u00a8\u00aa\u00b5Y\u0308"));

    // A decomposed character is written whole or not at all.
    WideResult small = ToWide(kCp, MB_COMPOSITE, "\xe9\xe9", 2, 3);
    EXPECT_EQ(small.Failure(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(small.buffer, (Units{'e', 0x0301, kWideMarker}));
}

// WC_COMPOSITECHECK joins a base and a following mark when the code page
// converts the precomposed character (best fit counts unless excluded);
// otherwise both are converted separately. Only one mark joins a base.
TEST(Cp1252FromWide, CompositeCheckJoinsBaseAndMark) {
    ByteResult r = ToBytes(kCp, WC_COMPOSITECHECK,
                           U(u"e\u0301a\u0308x\u0301\u0301Z\u030cA\u0308\u0304a\u0304"));
    EXPECT_EQ(r.Written(), "\xe9\xe4x\xb4\xb4\x8e\xc4\xaf"
                           "a");
    EXPECT_EQ(r.used, FALSE);

    ByteResult strict =
        ToBytes(kCp, WC_COMPOSITECHECK | WC_NO_BEST_FIT_CHARS, U(u"a\u0304e\u0301"));
    EXPECT_EQ(strict.Written(), "a?\xe9");
    EXPECT_EQ(strict.used, TRUE);

    // Without the flag nothing is joined.
    ByteResult plain = ToBytes(kCp, 0, U(u"e\u0301"));
    EXPECT_EQ(plain.Written(), "e\xb4");
}

} // namespace
