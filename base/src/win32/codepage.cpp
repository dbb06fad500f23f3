// Code-page conversion between 8-bit text and UTF-16 on Linux: GetACP,
// MultiByteToWideChar and WideCharToMultiByte with the results Windows gives
// for the code pages this layer carries: Windows-1252 (from Microsoft's
// best-fit table, see tools/gen_codepage.py) and UTF-8.
//
// Both conversions work unit by unit into an output that either counts (size
// query, output size 0) or writes; a unit that no longer fits stops the
// conversion with ERROR_INSUFFICIENT_BUFFER, leaving what did fit written, as
// Windows does. Invalid input (UTF-8 errors, lone surrogates, undefined bytes)
// is converted to the replacement character first and reported only at the
// end, so a buffer that runs out wins over MB_ERR_INVALID_CHARS and
// WC_ERR_INVALID_CHARS.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

// The shapes of the generated tables (codepage_*.inc).
struct DecomposedByte {
    BYTE byte;
    WCHAR base;
    WCHAR mark;
};

struct Composition {
    WCHAR base;
    WCHAR mark;
    WCHAR composed;
};

struct UnitMapping {
    WCHAR unit;
    BYTE byte;
};

struct MarkRange {
    WCHAR first;
    WCHAR last;
};

struct SingleByteCodePage {
    UINT id;
    BYTE defaultByte;
    const WCHAR* toUnicode;         // 256 entries
    const BYTE* undefinedBytes;     // 256 bits
    const BYTE* fromLatin1;         // U+0000..U+00FF, 256 entries
    const UnitMapping* fromUnicode; // U+0100 and above, sorted
    std::size_t fromUnicodeCount;
    const DecomposedByte* decompositions; // sorted by byte
    std::size_t decompositionCount;
    const Composition* compositions; // sorted by base, then mark
    std::size_t compositionCount;
};

#include "codepage_1252.inc"
#include "codepage_marks.inc"

const SingleByteCodePage* const kSingleByteCodePages[] = {&kCodePage1252};

constexpr UINT kDefaultAnsiCodePage = 1252;
constexpr WCHAR kReplacementCharacter = 0xFFFD;

constexpr DWORD kMultiByteFlags =
    MB_PRECOMPOSED | MB_COMPOSITE | MB_USEGLYPHCHARS | MB_ERR_INVALID_CHARS;
constexpr DWORD kSingleByteWideFlags =
    WC_COMPOSITECHECK | WC_DISCARDNS | WC_SEPCHARS | WC_DEFAULTCHAR | WC_NO_BEST_FIT_CHARS;

const SingleByteCodePage* find_single_byte(UINT id) {
    for (const SingleByteCodePage* page : kSingleByteCodePages)
        if (page->id == id)
            return page;
    return nullptr;
}

bool is_supported(UINT id) {
    return id == CP_UTF8 || find_single_byte(id) != nullptr;
}

// BASEKEL_ACP holds the decimal number of a supported code page; anything
// else leaves the default.
UINT ansi_code_page_from_environment() {
    const char* text = std::getenv("BASEKEL_ACP");
    if (!text || !std::isdigit(static_cast<unsigned char>(text[0])))
        return kDefaultAnsiCodePage;
    char* end = nullptr;
    unsigned long value = std::strtoul(text, &end, 10);
    if (*end != '\0' || value > 65535 || !is_supported(static_cast<UINT>(value)))
        return kDefaultAnsiCodePage;
    return static_cast<UINT>(value);
}

// The code page a conversion uses; 0 when this layer does not carry it. The
// OEM and thread code pages are the ANSI code page here.
UINT resolve(UINT codePage) {
    if (codePage == CP_ACP || codePage == CP_OEMCP || codePage == CP_THREAD_ACP)
        return GetACP();
    return is_supported(codePage) ? codePage : 0;
}

bool is_high_surrogate(WCHAR unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool is_low_surrogate(WCHAR unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The UTF-16 input, read unit by unit through memcpy: Windows accepts text
// that is not aligned to two bytes (even overlapping the output ahead of it).
class WideText {
public:
    WideText(LPCWSTR text, int length)
        : m_bytes(reinterpret_cast<const char*>(text)), m_length(length) {}

    WCHAR operator[](int i) const {
        WCHAR unit;
        std::memcpy(&unit, m_bytes + static_cast<std::size_t>(i) * sizeof(WCHAR), sizeof unit);
        return unit;
    }
    int Length() const { return m_length; }

    // The length up to and including the terminating NUL.
    static int MeasureTerminated(LPCWSTR text) {
        const WideText all(text, INT_MAX);
        int length = 0;
        while (length < INT_MAX - 1 && all[length] != 0)
            ++length;
        return length + 1;
    }

private:
    const char* m_bytes;
    int m_length;
};

bool is_nonspacing_mark(WCHAR unit) {
    const MarkRange* end = kNonspacingMarks + sizeof kNonspacingMarks / sizeof kNonspacingMarks[0];
    const MarkRange* range = std::upper_bound(
        kNonspacingMarks, end, unit, [](WCHAR u, const MarkRange& r) { return u < r.first; });
    return range != kNonspacingMarks && unit <= (range - 1)->last;
}

// The destination of a conversion: counts only when it has no buffer (size
// query), otherwise writes and refuses what does not fit. A group of units
// (one character) is written whole or not at all.
template <typename Unit> class Output {
public:
    Output(Unit* buffer, int capacity)
        : m_buffer(capacity > 0 ? buffer : nullptr), m_capacity(capacity) {}

    bool Put(const Unit* units, int count) {
        if (m_buffer) {
            if (m_capacity - m_length < count) {
                m_full = true;
                return false;
            }
            std::memcpy(m_buffer + m_length, units, sizeof(Unit) * count);
        } else if (m_length > INT_MAX - count) {
            m_full = true; // the size would not fit the int result
            return false;
        }
        m_length += count;
        return true;
    }

    bool Put(Unit unit) { return Put(&unit, 1); }

    bool Full() const { return m_full; }
    int Length() const { return m_length; }

private:
    Unit* m_buffer;
    int m_capacity;
    int m_length = 0;
    bool m_full = false;
};

// The result every conversion ends with: the length, or 0 with the reason.
template <typename Unit>
int finish(const Output<Unit>& out, bool invalidInput, bool failOnInvalid) {
    if (out.Full()) {
        kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (invalidInput && failOnInvalid) {
        kelwin::fail(ERROR_NO_UNICODE_TRANSLATION);
        return 0;
    }
    return out.Length();
}

// ---- single-byte code pages -------------------------------------------------

bool is_undefined_byte(const SingleByteCodePage& page, BYTE byte) {
    return (page.undefinedBytes[byte / 8] >> (byte % 8)) & 1;
}

const DecomposedByte* find_decomposition(const SingleByteCodePage& page, BYTE byte) {
    const DecomposedByte* end = page.decompositions + page.decompositionCount;
    const DecomposedByte* found = std::lower_bound(
        page.decompositions, end, byte, [](const DecomposedByte& d, BYTE b) { return d.byte < b; });
    return found != end && found->byte == byte ? found : nullptr;
}

// MB_PRECOMPOSED and MB_USEGLYPHCHARS change nothing here: the table's
// characters are precomposed already, and it carries no glyph table.
int single_byte_to_wide(const SingleByteCodePage& page, DWORD flags, const BYTE* src, int length,
                        Output<WCHAR>& out) {
    bool invalid = false;
    for (int i = 0; i < length; ++i) {
        const BYTE byte = src[i];
        invalid = invalid || is_undefined_byte(page, byte);
        const DecomposedByte* decomposed =
            (flags & MB_COMPOSITE) ? find_decomposition(page, byte) : nullptr;
        bool written;
        if (decomposed) {
            const WCHAR pair[2] = {decomposed->base, decomposed->mark};
            written = out.Put(pair, 2);
        } else {
            written = out.Put(page.toUnicode[byte]);
        }
        if (!written)
            break;
    }
    return finish(out, invalid, (flags & MB_ERR_INVALID_CHARS) != 0);
}

// Converts UTF-16 to one code page's bytes, with its best-fit mappings unless
// WC_NO_BEST_FIT_CHARS asks for exact round trips only.
class SingleByteEncoder {
public:
    SingleByteEncoder(const SingleByteCodePage& page, DWORD flags, LPCSTR defaultChar)
        : m_page(page), m_flags(flags),
          m_defaultByte(defaultChar ? static_cast<BYTE>(defaultChar[0]) : page.defaultByte) {}

    int Convert(const WideText& src, Output<char>& out) {
        const int length = src.Length();
        for (int i = 0; i < length; ++i) {
            bool written = true;
            if ((m_flags & WC_COMPOSITECHECK) && i + 1 < length &&
                ConvertPair(src[i], src[i + 1], out, written)) {
                ++i;
            } else {
                written = out.Put(static_cast<char>(ByteOrDefault(src[i])));
            }
            if (!written)
                break;
        }
        return finish(out, false, false);
    }

    bool UsedDefault() const { return m_usedDefault; }

private:
    BYTE BestFit(WCHAR unit) const {
        if (unit < 0x100)
            return m_page.fromLatin1[unit];
        const UnitMapping* end = m_page.fromUnicode + m_page.fromUnicodeCount;
        const UnitMapping* found =
            std::lower_bound(m_page.fromUnicode, end, unit,
                             [](const UnitMapping& m, WCHAR u) { return m.unit < u; });
        return found != end && found->unit == unit ? found->byte : m_page.defaultByte;
    }

    // Units the table sends to the default character count as unmapped unless
    // they are that character, so a caller's default character replaces them.
    bool Converts(WCHAR unit, BYTE byte) const {
        if ((m_flags & WC_NO_BEST_FIT_CHARS) || byte == m_page.defaultByte)
            return m_page.toUnicode[byte] == unit;
        return true;
    }

    BYTE DefaultByte() {
        m_usedDefault = true;
        return m_defaultByte;
    }

    BYTE ByteOrDefault(WCHAR unit) {
        const BYTE byte = BestFit(unit);
        return Converts(unit, byte) ? byte : DefaultByte();
    }

    const Composition* FindComposition(WCHAR base, WCHAR mark) const {
        const Composition* end = m_page.compositions + m_page.compositionCount;
        const Composition* found =
            std::lower_bound(m_page.compositions, end, Composition{base, mark, 0},
                             [](const Composition& a, const Composition& b) {
                                 return a.base != b.base ? a.base < b.base : a.mark < b.mark;
                             });
        return found != end && found->base == base && found->mark == mark ? found : nullptr;
    }

    // WC_COMPOSITECHECK: a base followed by a nonspacing mark becomes the
    // precomposed character when the code page converts that. Otherwise the
    // pair is an exception: WC_DEFAULTCHAR gives one default character,
    // WC_DISCARDNS drops the mark, and WC_SEPCHARS (the default) converts both
    // separately. Returns false when the pair is to be converted unit by unit.
    bool ConvertPair(WCHAR base, WCHAR mark, Output<char>& out, bool& written) {
        if (const Composition* composition = FindComposition(base, mark)) {
            const BYTE byte = BestFit(composition->composed);
            if (Converts(composition->composed, byte)) {
                written = out.Put(static_cast<char>(byte));
                return true;
            }
        }
        if (!is_nonspacing_mark(mark))
            return false;
        if (m_flags & WC_DEFAULTCHAR) {
            written = out.Put(static_cast<char>(DefaultByte()));
            return true;
        }
        if (m_flags & WC_DISCARDNS) {
            written = out.Put(static_cast<char>(ByteOrDefault(base)));
            return true;
        }
        return false;
    }

    const SingleByteCodePage& m_page;
    DWORD m_flags;
    BYTE m_defaultByte;
    bool m_usedDefault = false;
};

// ---- UTF-8 --------------------------------------------------------------------

// Decodes one sequence starting at src[0] (a byte of 0x80 or above) and sets
// `consumed`. Returns the code point, or -1 for an invalid sequence. An invalid
// sequence takes the bytes up to and including the first one that proves it
// invalid (a continuation byte giving an overlong form, a surrogate or a value
// above U+10FFFF), stopping before a byte that is not a continuation; a
// sequence cut off by the end of the input takes all that is left. Each
// invalid sequence becomes one U+FFFD, as on Windows.
long decode_utf8_sequence(const BYTE* src, int available, int& consumed) {
    const BYTE lead = src[0];
    int following;
    long value;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
        value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        value = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        value = lead & 0x07;
    } else {
        consumed = 1; // a continuation byte, C0, C1 or F5..FF
        return -1;
    }
    if (available - 1 < following) {
        consumed = available;
        return -1;
    }
    consumed = 1;
    for (int n = 1; n <= following; ++n) {
        const BYTE next = src[n];
        if ((next & 0xC0) != 0x80)
            return -1;
        value = (value << 6) | (next & 0x3F);
        ++consumed;
        if (n == 1 && following == 2 && (value < 0x20 || (value >= 0x360 && value <= 0x37F)))
            return -1; // overlong three-byte form or a surrogate
        if (n == 1 && following == 3 && (value < 0x10 || value > 0x10F))
            return -1; // overlong four-byte form or above U+10FFFF
    }
    return value;
}

int utf8_to_wide(DWORD flags, const BYTE* src, int length, Output<WCHAR>& out) {
    bool invalid = false;
    for (int i = 0; i < length && !out.Full();) {
        if (src[i] < 0x80) {
            out.Put(src[i]);
            ++i;
            continue;
        }
        int consumed = 0;
        const long value = decode_utf8_sequence(src + i, length - i, consumed);
        i += consumed;
        if (value < 0) {
            invalid = true;
            out.Put(kReplacementCharacter);
        } else if (value >= 0x10000) {
            const long offset = value - 0x10000;
            if (out.Put(static_cast<WCHAR>(0xD800 + (offset >> 10))))
                out.Put(static_cast<WCHAR>(0xDC00 + (offset & 0x3FF)));
        } else {
            out.Put(static_cast<WCHAR>(value));
        }
    }
    return finish(out, invalid, (flags & MB_ERR_INVALID_CHARS) != 0);
}

int encode_utf8(unsigned long codePoint, char* bytes) {
    if (codePoint < 0x80) {
        bytes[0] = static_cast<char>(codePoint);
        return 1;
    }
    if (codePoint < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | (codePoint >> 6));
        bytes[1] = static_cast<char>(0x80 | (codePoint & 0x3F));
        return 2;
    }
    if (codePoint < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | (codePoint >> 12));
        bytes[1] = static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        bytes[2] = static_cast<char>(0x80 | (codePoint & 0x3F));
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0 | (codePoint >> 18));
    bytes[1] = static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    bytes[2] = static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    bytes[3] = static_cast<char>(0x80 | (codePoint & 0x3F));
    return 4;
}

// A lone surrogate becomes U+FFFD (EF BF BD).
int wide_to_utf8(DWORD flags, const WideText& src, Output<char>& out) {
    bool invalid = false;
    const int length = src.Length();
    for (int i = 0; i < length && !out.Full(); ++i) {
        const WCHAR unit = src[i];
        unsigned long codePoint = unit;
        if (is_high_surrogate(unit) && i + 1 < length && is_low_surrogate(src[i + 1])) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (src[i + 1] - 0xDC00u);
            ++i;
        } else if (is_high_surrogate(unit) || is_low_surrogate(unit)) {
            invalid = true;
            codePoint = kReplacementCharacter;
        }
        char bytes[4];
        out.Put(bytes, encode_utf8(codePoint, bytes));
    }
    return finish(out, invalid, (flags & WC_ERR_INVALID_CHARS) != 0);
}

int byte_length(const char* text) {
    std::size_t length = std::strlen(text);
    return length >= INT_MAX ? INT_MAX : static_cast<int>(length) + 1;
}

int invalid_parameter() {
    kelwin::fail(ERROR_INVALID_PARAMETER);
    return 0;
}

int invalid_flags() {
    kelwin::fail(ERROR_INVALID_FLAGS);
    return 0;
}

} // namespace

UINT GetACP() {
    static const UINT acp = ansi_code_page_from_environment();
    return acp;
}

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                        LPWSTR lpWideCharStr, int cchWideChar) {
    if (!lpMultiByteStr || cbMultiByte == 0 || (!lpWideCharStr && cchWideChar != 0) ||
        cchWideChar < 0)
        return invalid_parameter();
    const UINT codePage = resolve(CodePage);
    if (codePage == 0)
        return invalid_parameter();
    if (dwFlags & ~kMultiByteFlags)
        return invalid_flags();

    // Any negative length means "up to and including the NUL".
    const int length = cbMultiByte < 0 ? byte_length(lpMultiByteStr) : cbMultiByte;
    const BYTE* src = reinterpret_cast<const BYTE*>(lpMultiByteStr);
    Output<WCHAR> out(lpWideCharStr, cchWideChar);
    if (codePage == CP_UTF8)
        return utf8_to_wide(dwFlags, src, length, out);
    return single_byte_to_wide(*find_single_byte(codePage), dwFlags, src, length, out);
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                        LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                        LPBOOL lpUsedDefaultChar) {
    if (!lpWideCharStr || cchWideChar == 0 || (!lpMultiByteStr && cbMultiByte != 0) ||
        cbMultiByte < 0)
        return invalid_parameter();
    const UINT codePage = resolve(CodePage);
    if (codePage == 0)
        return invalid_parameter();
    if (codePage == CP_UTF8) {
        // UTF-8 has no default character; only WC_ERR_INVALID_CHARS applies.
        if (lpDefaultChar || lpUsedDefaultChar)
            return invalid_parameter();
        if (dwFlags & ~static_cast<DWORD>(WC_ERR_INVALID_CHARS))
            return invalid_flags();
    } else if (dwFlags & ~kSingleByteWideFlags) {
        return invalid_flags(); // WC_ERR_INVALID_CHARS is for UTF-8 only
    }

    const WideText text(lpWideCharStr,
                        cchWideChar < 0 ? WideText::MeasureTerminated(lpWideCharStr) : cchWideChar);
    Output<char> out(lpMultiByteStr, cbMultiByte);
    if (codePage == CP_UTF8)
        return wide_to_utf8(dwFlags, text, out);

    if (lpUsedDefaultChar)
        *lpUsedDefaultChar = FALSE;
    SingleByteEncoder encoder(*find_single_byte(codePage), dwFlags, lpDefaultChar);
    const int result = encoder.Convert(text, out);
    if (lpUsedDefaultChar && encoder.UsedDefault())
        *lpUsedDefaultChar = TRUE;
    return result;
}

#endif // !_WIN32
