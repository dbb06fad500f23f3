// Integer text conversion as the 32-bit Windows C runtime does it (_ltoa,
// _ultoa, strtol, strtoul), written here so that every host gives the same
// results: values and overflow limits are those of 32-bit 'long'.
#ifndef BASEKEL_SRC_NUMBERTEXT_H
#define BASEKEL_SRC_NUMBERTEXT_H

#include <cstdint>

namespace NumberText {

// The digits of a number in radix 2 to 36 (lower-case letters), NUL-terminated.
// An unsupported radix gives the empty text.
class Digits {
public:
    operator const char*() const { return m_text; }

private:
    friend Digits Unsigned(std::uint32_t value, unsigned long radix);
    friend Digits Signed(std::int32_t value, unsigned long radix);
    char m_text[34] = {}; // 32 binary digits, a sign and the NUL
};

// _ultoa: the value written unsigned.
Digits Unsigned(std::uint32_t value, unsigned long radix);

// _ltoa/_itoa: a minus sign in radix 10; in other radices the 32-bit two's
// complement, written unsigned.
Digits Signed(std::int32_t value, unsigned long radix);

// strtoul and strtol with 32-bit results: leading white space, a sign, and for
// base 0 or 16 a "0x" prefix; base 0 chooses 8, 10 or 16 from the prefix. On
// overflow errno is set to ERANGE and the result is the limit (strtoul also
// negates a leading '-' within range). When no digit is read, *end is the
// beginning of `text`; otherwise it is the first character not converted.
std::uint32_t ParseUnsigned32(const char* text, const char** end, int base);
std::int32_t ParseSigned32(const char* text, const char** end, int base);

} // namespace NumberText

#endif
