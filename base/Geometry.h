// Points and rectangles: the plain 32-bit integer value types used for device,
// page and window coordinates.
//
// Every coordinate is a signed (TUnsignedPoint: unsigned) 32-bit value, on every
// platform: the interface speaks 'long', as on 32-bit Windows, and a wider
// 'long' is cut to its low 32 bits when stored. Arithmetic on coordinates wraps
// at 32 bits.
//
// A TRect is (x0, y0, x1, y1) with exclusive right and bottom edges: (x, y) lies
// in it when x0 <= x < x1 and y0 <= y < y1. A reversed rectangle (x1 < x0 or
// y1 < y0) has size 0 but keeps its coordinates; nothing but Normalize()
// reorders the corners.
#ifndef BASEKEL_GEOMETRY_H
#define BASEKEL_GEOMETRY_H

#include <cstdint>

#include "kelexport.h"

class BASEKEL_API TPoint {
public:
    static const TPoint InvalidPoint; // (0xC0000000, 0xC0000000)
    static const TPoint MinPoint;     // (0, 0)
    static const TPoint MaxPoint;     // (0x3FFFFFFF, 0x3FFFFFFF)

    constexpr TPoint() : m_x(0), m_y(0) {}
    constexpr TPoint(long x, long y) : m_x(Cut(x)), m_y(Cut(y)) {}

    long X() const { return m_x; }
    long Y() const { return m_y; }
    long X(long v) { return m_x = Cut(v); }
    long Y(long v) { return m_y = Cut(v); }
    void Set(long x, long y) {
        m_x = Cut(x);
        m_y = Cut(y);
    }

    unsigned int operator==(const TPoint& p) const { return m_x == p.m_x && m_y == p.m_y; }
    unsigned int operator!=(const TPoint& p) const { return !(*this == p); }
    // Lexicographic: x first, then y; lets points key ordered containers.
    unsigned int operator<(const TPoint& p) const {
        return m_x < p.m_x || (m_x == p.m_x && m_y < p.m_y);
    }

private:
    static constexpr std::int32_t Cut(long v) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    }

    std::int32_t m_x;
    std::int32_t m_y;
};

class BASEKEL_API TUnsignedPoint {
public:
    // The invalid point equals the minimum, (0, 0): callers cannot tell them apart.
    static const TUnsignedPoint InvalidUnsignedPoint;
    static const TUnsignedPoint MinUnsignedPoint; // (0, 0)
    static const TUnsignedPoint MaxUnsignedPoint; // (0xFFFFFFFF, 0xFFFFFFFF)

    constexpr TUnsignedPoint() : m_x(0), m_y(0) {}
    constexpr TUnsignedPoint(unsigned long x, unsigned long y)
        : m_x(static_cast<std::uint32_t>(x)), m_y(static_cast<std::uint32_t>(y)) {}

    unsigned long X() const { return m_x; }
    unsigned long Y() const { return m_y; }
    unsigned long X(unsigned long v) { return m_x = static_cast<std::uint32_t>(v); }
    unsigned long Y(unsigned long v) { return m_y = static_cast<std::uint32_t>(v); }
    void Set(unsigned long x, unsigned long y) {
        m_x = static_cast<std::uint32_t>(x);
        m_y = static_cast<std::uint32_t>(y);
    }

    unsigned int operator==(const TUnsignedPoint& p) const { return m_x == p.m_x && m_y == p.m_y; }
    unsigned int operator!=(const TUnsignedPoint& p) const { return !(*this == p); }

private:
    std::uint32_t m_x;
    std::uint32_t m_y;
};

class BASEKEL_API TRect {
public:
    static const TRect InvalidRect; // all four coordinates 0x80000000
    static const TRect MinRect;     // (0, 0, 0, 0)
    static const TRect MaxRect;     // (0xC0000000, 0xC0000000, 0x3FFFFFFF, 0x3FFFFFFF)

    constexpr TRect() : m_x0(0), m_y0(0), m_x1(0), m_y1(0) {}
    constexpr TRect(long x0, long y0, long x1, long y1)
        : m_x0(Cut(x0)), m_y0(Cut(y0)), m_x1(Cut(x1)), m_y1(Cut(y1)) {}
    // (0, 0, dx, dy)
    constexpr TRect(long dx, long dy) : m_x0(0), m_y0(0), m_x1(Cut(dx)), m_y1(Cut(dy)) {}
    TRect(const TPoint& p0, const TPoint& p1) : TRect(p0.X(), p0.Y(), p1.X(), p1.Y()) {}

    // Plain access; setters return the value stored.
    long X0() const { return m_x0; }
    long Y0() const { return m_y0; }
    long X1() const { return m_x1; }
    long Y1() const { return m_y1; }
    long X0(long v) { return m_x0 = Cut(v); }
    long Y0(long v) { return m_y0 = Cut(v); }
    long X1(long v) { return m_x1 = Cut(v); }
    long Y1(long v) { return m_y1 = Cut(v); }

    TPoint P0() const { return TPoint(m_x0, m_y0); }
    TPoint P1() const { return TPoint(m_x1, m_y1); }
    TPoint P0(const TPoint& p) { return P0(p.X(), p.Y()); }
    TPoint P0(long x, long y);
    TPoint P1(const TPoint& p) { return P1(p.X(), p.Y()); }
    TPoint P1(long x, long y);

    void Set(const TPoint& p0, const TPoint& p1) { *this = TRect(p0, p1); }
    void Set(long x0, long y0, long x1, long y1) { *this = TRect(x0, y0, x1, y1); }
    void SetEmpty() { *this = TRect(); }

    // Width and height, never negative: max(x1 - x0, 0), max(y1 - y0, 0).
    long DX() const;
    long DY() const;
    long Width() const { return DX(); }
    long Height() const { return DY(); }
    // x1 = x0 + d (y1 = y0 + d); return max(d, 0).
    long DX(long d);
    long DY(long d);
    long Width(long d) { return DX(d); }
    long Height(long d) { return DY(d); }

    // 1 when x1 - x0 < 1 or y1 - y0 < 1: reversed rectangles are empty too.
    unsigned int IsEmpty() const;

    unsigned int operator==(const TRect& r) const;
    unsigned int operator!=(const TRect& r) const { return !(*this == r); }

    // ((x0 + x1) / 2, (y0 + y1) / 2), each quotient truncated toward zero.
    TPoint Center() const;

    // These change the rectangle and return a copy of the result.
    TRect Offset(long dx, long dy);
    TRect Offset(const TPoint& d) { return Offset(d.X(), d.Y()); }
    // Moves P0 to the point; the extent x1 - x0, y1 - y0 goes along unchanged.
    TRect MoveTo(long x, long y);
    TRect MoveTo(const TPoint& p) { return MoveTo(p.X(), p.Y()); }
    TRect Normalize();

    // y0 takes the value of x0, and x1 and y1 are exchanged. This is not a
    // mirror at the diagonal (x0 and y0 are not exchanged); callers rely on
    // exactly this result.
    void Flip();
    // With the old sizes: y1 = y0 + DX, x1 = x0 + DY; P0 stays.
    void SwapDXDY();

    unsigned int Contains(const TPoint& p) const { return Contains(p.X(), p.Y()); }
    unsigned int Contains(long x, long y) const;
    unsigned int IsIntersection(const TPoint& p) const { return Contains(p); }

    // The overlap of both; a result that is reversed (no overlap) is left so.
    void MakeIntersection(const TRect& r);
    void Clip(const TRect& r) { MakeIntersection(r); }
    TRect GetIntersection(const TRect& r) const;

    // An empty r changes nothing; an empty this becomes r; otherwise the
    // bounding box of both.
    void MakeUnion(const TRect& r);
    TRect GetUnion(const TRect& r) const;
    // TPoint::InvalidPoint changes nothing; an empty this becomes the one-unit
    // rectangle at p; otherwise the rectangle grows to take p in.
    void MakeUnion(const TPoint& p);
    TRect GetUnion(const TPoint& p) const;

    // 0 when either is empty; else 1 when they overlap.
    unsigned int IsIntersection(const TRect& r) const;
    // The overlap test alone, reversed rectangles included.
    unsigned int IsIntersection2(const TRect& r) const;
    // 1 when r lies in this rectangle (and is no larger).
    unsigned int IsIncluding(const TRect& r) const;
    // 1 when this rectangle lies in r.
    unsigned int IsInside(const TRect& r) const { return r.IsIncluding(*this); }

    // Clamps p to [x0, x1] x [y0, y1] when this rectangle is not empty. The
    // upper bounds are inclusive, so p may end up on the exclusive edge.
    void MovePointInside(TPoint& p) const;
    // Shifts this rectangle into r without changing its size; 0 (and no change)
    // when it is larger than r in either direction, else 1.
    unsigned int MoveInside(const TRect& r);
    // Gives the rectangle a new width (height) so that the anchor keeps its
    // relative position inside it.
    void ResizeX(long anchor, long newWidth);
    void ResizeY(long anchor, long newHeight);
    // Sets this rectangle to the gap between two rectangles that face each
    // other and returns the side on which b lies: 1 right of a, 2 below,
    // 3 left, 4 above; 0 (this unchanged) when they do not face each other.
    int ConnectingRect(const TRect& a, const TRect& b);

private:
    static constexpr std::int32_t Cut(long v) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    }

    std::int32_t m_x0;
    std::int32_t m_y0;
    std::int32_t m_x1;
    std::int32_t m_y1;
};

#endif
