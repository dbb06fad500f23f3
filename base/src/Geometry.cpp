// Points and rectangles. Coordinates are 32-bit values and every sum or
// difference wraps at 32 bits, as it does for the library's callers on 32-bit
// Windows (see Arith32.h).
#include "Geometry.h"

#include <algorithm>

#include "Arith32.h"

using arith32::Add;
using arith32::Cut;
using arith32::Sub;

// Constant-initialised (the constructors are constexpr), so they hold their
// values before any other static object of the process runs.
const TPoint TPoint::InvalidPoint(-1073741824L, -1073741824L);
const TPoint TPoint::MinPoint(0, 0);
const TPoint TPoint::MaxPoint(1073741823L, 1073741823L);

const TUnsignedPoint TUnsignedPoint::InvalidUnsignedPoint(0, 0);
const TUnsignedPoint TUnsignedPoint::MinUnsignedPoint(0, 0);
const TUnsignedPoint TUnsignedPoint::MaxUnsignedPoint(4294967295UL, 4294967295UL);

const TRect TRect::InvalidRect(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN);
const TRect TRect::MinRect(0, 0, 0, 0);
const TRect TRect::MaxRect(-1073741824L, -1073741824L, 1073741823L, 1073741823L);

namespace {

std::int32_t NotNegative(std::int32_t v) {
    return v < 0 ? 0 : v;
}

} // namespace

TPoint TRect::P0(long x, long y) {
    m_x0 = Cut(x);
    m_y0 = Cut(y);
    return P0();
}

TPoint TRect::P1(long x, long y) {
    m_x1 = Cut(x);
    m_y1 = Cut(y);
    return P1();
}

long TRect::DX() const {
    return NotNegative(Sub(m_x1, m_x0));
}

long TRect::DY() const {
    return NotNegative(Sub(m_y1, m_y0));
}

long TRect::DX(long d) {
    m_x1 = Add(m_x0, Cut(d));
    return NotNegative(Cut(d));
}

long TRect::DY(long d) {
    m_y1 = Add(m_y0, Cut(d));
    return NotNegative(Cut(d));
}

unsigned int TRect::IsEmpty() const {
    return Sub(m_x1, m_x0) < 1 || Sub(m_y1, m_y0) < 1;
}

unsigned int TRect::operator==(const TRect& r) const {
    return m_x0 == r.m_x0 && m_y0 == r.m_y0 && m_x1 == r.m_x1 && m_y1 == r.m_y1;
}

TPoint TRect::Center() const {
    // Division of a 32-bit value by 2 cannot overflow and truncates toward zero.
    return TPoint(Add(m_x0, m_x1) / 2, Add(m_y0, m_y1) / 2);
}

TRect TRect::Offset(long dx, long dy) {
    const std::int32_t x = Cut(dx);
    const std::int32_t y = Cut(dy);
    m_x0 = Add(m_x0, x);
    m_y0 = Add(m_y0, y);
    m_x1 = Add(m_x1, x);
    m_y1 = Add(m_y1, y);
    return *this;
}

TRect TRect::MoveTo(long x, long y) {
    return Offset(Sub(Cut(x), m_x0), Sub(Cut(y), m_y0));
}

TRect TRect::Normalize() {
    if (m_x1 < m_x0)
        std::swap(m_x0, m_x1);
    if (m_y1 < m_y0)
        std::swap(m_y0, m_y1);
    return *this;
}

void TRect::Flip() {
    m_y0 = m_x0;
    std::swap(m_x1, m_y1);
}

void TRect::SwapDXDY() {
    const std::int32_t oldWidth = NotNegative(Sub(m_x1, m_x0));
    const std::int32_t oldHeight = NotNegative(Sub(m_y1, m_y0));
    m_y1 = Add(m_y0, oldWidth);
    m_x1 = Add(m_x0, oldHeight);
}

unsigned int TRect::Contains(long x, long y) const {
    const std::int32_t px = Cut(x);
    const std::int32_t py = Cut(y);
    return m_x0 <= px && px < m_x1 && m_y0 <= py && py < m_y1;
}

void TRect::MakeIntersection(const TRect& r) {
    m_x0 = std::max(m_x0, r.m_x0);
    m_y0 = std::max(m_y0, r.m_y0);
    m_x1 = std::min(m_x1, r.m_x1);
    m_y1 = std::min(m_y1, r.m_y1);
}

TRect TRect::GetIntersection(const TRect& r) const {
    TRect result(*this);
    result.MakeIntersection(r);
    return result;
}

void TRect::MakeUnion(const TRect& r) {
    if (r.IsEmpty())
        return;
    if (IsEmpty()) {
        *this = r;
        return;
    }
    m_x0 = std::min(m_x0, r.m_x0);
    m_y0 = std::min(m_y0, r.m_y0);
    m_x1 = std::max(m_x1, r.m_x1);
    m_y1 = std::max(m_y1, r.m_y1);
}

TRect TRect::GetUnion(const TRect& r) const {
    TRect result(*this);
    result.MakeUnion(r);
    return result;
}

void TRect::MakeUnion(const TPoint& p) {
    if (p == TPoint::InvalidPoint)
        return;
    const std::int32_t x = Cut(p.X());
    const std::int32_t y = Cut(p.Y());
    if (IsEmpty()) {
        *this = TRect(x, y, Add(x, 1), Add(y, 1));
        return;
    }
    m_x0 = std::min(m_x0, x);
    m_y0 = std::min(m_y0, y);
    m_x1 = std::max(m_x1, Add(x, 1));
    m_y1 = std::max(m_y1, Add(y, 1));
}

TRect TRect::GetUnion(const TPoint& p) const {
    TRect result(*this);
    result.MakeUnion(p);
    return result;
}

unsigned int TRect::IsIntersection(const TRect& r) const {
    if (IsEmpty() || r.IsEmpty())
        return 0;
    return IsIntersection2(r);
}

unsigned int TRect::IsIntersection2(const TRect& r) const {
    return m_x0 < r.m_x1 && r.m_x0 < m_x1 && m_y0 < r.m_y1 && r.m_y0 < m_y1;
}

unsigned int TRect::IsIncluding(const TRect& r) const {
    return DX() >= r.DX() && DY() >= r.DY() && r.m_x0 >= m_x0 && r.m_y0 >= m_y0 && r.m_x1 <= m_x1 &&
           r.m_y1 <= m_y1;
}

void TRect::MovePointInside(TPoint& p) const {
    if (IsEmpty())
        return;
    p.X(std::min(std::max(Cut(p.X()), m_x0), m_x1));
    p.Y(std::min(std::max(Cut(p.Y()), m_y0), m_y1));
}

namespace {

// Shifts the interval [lo, hi) into [limitLo, limitHi): to the right when it
// starts before it, else to the left when it ends after it.
void ShiftInto(std::int32_t& lo, std::int32_t& hi, std::int32_t limitLo, std::int32_t limitHi) {
    if (limitLo > lo) {
        hi = Add(hi, Sub(limitLo, lo));
        lo = limitLo;
    } else if (limitHi < hi) {
        lo = Add(lo, Sub(limitHi, hi));
        hi = limitHi;
    }
}

// The anchor keeps its relative position: its distance from lo is scaled by
// newSize / (hi - lo), computed in floating point and truncated.
void ResizeAround(std::int32_t& lo, std::int32_t& hi, std::int32_t anchor, std::int32_t newSize) {
    const std::int32_t size = Sub(hi, lo);
    if (size <= 0) {
        lo = anchor;
        hi = Add(anchor, newSize);
        return;
    }
    const double scaled = static_cast<double>(Sub(anchor, lo)) * newSize / size;
    lo = Sub(anchor, arith32::TruncDouble(scaled));
    hi = Add(lo, newSize);
}

} // namespace

unsigned int TRect::MoveInside(const TRect& r) {
    if (DX() > r.DX() || DY() > r.DY())
        return 0;
    ShiftInto(m_x0, m_x1, r.m_x0, r.m_x1);
    ShiftInto(m_y0, m_y1, r.m_y0, r.m_y1);
    return 1;
}

void TRect::ResizeX(long anchor, long newWidth) {
    ResizeAround(m_x0, m_x1, Cut(anchor), Cut(newWidth));
}

void TRect::ResizeY(long anchor, long newHeight) {
    ResizeAround(m_y0, m_y1, Cut(anchor), Cut(newHeight));
}

// The tests and their order are part of the contract: rectangles that overlap
// in both directions count as "b above a" and give a reversed gap.
int TRect::ConnectingRect(const TRect& a, const TRect& b) {
    if (a.m_x1 > b.m_x0 && a.m_x0 < b.m_x1) {
        const std::int32_t x0 = std::max(a.m_x0, b.m_x0);
        const std::int32_t x1 = std::min(a.m_x1, b.m_x1);
        if (a.m_y1 > b.m_y0) {
            *this = TRect(x0, b.m_y1, x1, a.m_y0);
            return 4;
        }
        *this = TRect(x0, a.m_y1, x1, b.m_y0);
        return 2;
    }
    const bool overlapInY = a.m_y0 < b.m_y1 && a.m_y1 > b.m_y0;
    if (!overlapInY)
        return 0;
    const std::int32_t y0 = std::max(a.m_y0, b.m_y0);
    const std::int32_t y1 = std::min(a.m_y1, b.m_y1);
    if (a.m_x1 > b.m_x0) { // and so a.x0 >= b.x1: b lies left of a
        *this = TRect(b.m_x1, y0, a.m_x0, y1);
        return 3;
    }
    *this = TRect(a.m_x1, y0, b.m_x0, y1);
    return 1;
}
