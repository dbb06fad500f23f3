// Integer arithmetic as the library's callers see it on 32-bit Windows: every
// value is 32 bits wide, sums, differences and products wrap around, and
// quotients truncate toward zero. The wrapping is done in unsigned arithmetic,
// where it is defined, so that no sanitizer sees a signed overflow; values
// that arrive as a 64-bit 'long' are cut to their low 32 bits first.
#ifndef BASEKEL_SRC_ARITH32_H
#define BASEKEL_SRC_ARITH32_H

#include <cstdint>

namespace arith32 {

inline std::int32_t Cut(long v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

inline std::int32_t Cut64(std::int64_t v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

inline std::int32_t Add(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

inline std::int32_t Sub(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

inline std::int32_t Mul(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

inline std::int32_t Neg(std::int32_t a) {
    return static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(a));
}

// Truncating division. The one quotient that does not fit, INT32_MIN / -1,
// wraps to INT32_MIN instead of trapping; callers never divide by zero.
inline std::int32_t Div(std::int32_t a, std::int32_t b) {
    if (b == -1)
        return Neg(a);
    return a / b;
}

// The value x86 gives for a double that has no 32-bit integer value (out of
// range or not a number): 0x80000000, the "integer indefinite".
const std::int32_t kIndefinite = INT32_MIN;

// Conversion of a double toward zero, as the processor's truncating
// conversion does it, out-of-range values included.
inline std::int32_t TruncDouble(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0))
        return kIndefinite;
    return static_cast<std::int32_t>(d);
}

} // namespace arith32

#endif
