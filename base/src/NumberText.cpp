// Integer text conversion with the 32-bit Windows runtime's rules.
#include "NumberText.h"

#include <cctype>
#include <cerrno>

namespace NumberText {
namespace {

int DigitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return 99;
}

struct Parsed {
    bool negative = false;
    bool overflow = false; // the magnitude does not fit in 32 bits
    std::uint64_t magnitude = 0;
};

// The common part of strtol and strtoul: sign, prefix and digits.
Parsed Scan(const char* text, const char** end, int base) {
    Parsed parsed;
    *end = text;
    if (base < 0 || base == 1 || base > 36)
        return parsed;
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    if (*p == '-' || *p == '+')
        parsed.negative = (*p++ == '-');
    if (base == 0)
        base = (p[0] != '0') ? 10 : ((p[1] == 'x' || p[1] == 'X') ? 16 : 8);
    if (base == 16 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X'))
        p += 2;
    const char* digits = p;
    for (int digit; (digit = DigitValue(*p)) < base; ++p) {
        parsed.magnitude =
            parsed.magnitude * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        if (parsed.magnitude > 0xFFFFFFFFu) {
            parsed.overflow = true;
            parsed.magnitude = 0x100000000u; // stays above every limit
        }
    }
    if (p != digits)
        *end = p;
    return parsed;
}

} // namespace

Digits Unsigned(std::uint32_t value, unsigned long radix) {
    Digits d;
    if (radix < 2 || radix > 36)
        return d;
    char reversed[33];
    int n = 0;
    do {
        const unsigned digit = value % radix;
        reversed[n++] = static_cast<char>(digit < 10 ? '0' + digit : 'a' + digit - 10);
        value /= static_cast<std::uint32_t>(radix);
    } while (value != 0);
    for (int i = 0; i < n; ++i)
        d.m_text[i] = reversed[n - 1 - i];
    d.m_text[n] = '\0';
    return d;
}

Digits Signed(std::int32_t value, unsigned long radix) {
    if (radix != 10 || value >= 0)
        return Unsigned(static_cast<std::uint32_t>(value), radix);
    Digits magnitude = Unsigned(0u - static_cast<std::uint32_t>(value), radix);
    Digits d;
    d.m_text[0] = '-';
    for (int i = 0; magnitude.m_text[i]; ++i)
        d.m_text[i + 1] = magnitude.m_text[i];
    return d;
}

std::uint32_t ParseUnsigned32(const char* text, const char** end, int base) {
    const Parsed parsed = Scan(text, end, base);
    if (parsed.overflow) {
        errno = ERANGE;
        return 0xFFFFFFFFu;
    }
    const auto magnitude = static_cast<std::uint32_t>(parsed.magnitude);
    return parsed.negative ? 0u - magnitude : magnitude;
}

std::int32_t ParseSigned32(const char* text, const char** end, int base) {
    const Parsed parsed = Scan(text, end, base);
    const std::uint64_t limit = parsed.negative ? 0x80000000u : 0x7FFFFFFFu;
    if (parsed.magnitude > limit) {
        errno = ERANGE;
        return parsed.negative ? INT32_MIN : INT32_MAX;
    }
    const auto magnitude = static_cast<std::uint32_t>(parsed.magnitude);
    return static_cast<std::int32_t>(parsed.negative ? 0u - magnitude : magnitude);
}

} // namespace NumberText
