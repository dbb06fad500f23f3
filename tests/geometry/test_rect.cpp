// Points and rectangles: half-open rectangles that are never normalised behind
// the caller's back, and coordinates that behave as 32-bit values everywhere.
#include "Geometry.h"
#include "GeometryPrint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

namespace {

// The rectangle after `change` was applied to a copy of it.
template <class Change> TRect After(TRect r, Change change) {
    change(r);
    return r;
}

TEST(Point, ComparesAndOrdersByXThenY) {
    static_assert(sizeof(TPoint) == 8 && sizeof(TUnsignedPoint) == 8, "two 32-bit fields");
    static_assert(sizeof(TRect) == 16, "four 32-bit fields");
    std::vector<TPoint> points{{2, 1}, {1, 5}, {2, 0}, {-1, 9}, {1, -5}};
    std::sort(points.begin(), points.end());
    const std::vector<TPoint> sorted{{-1, 9}, {1, -5}, {1, 5}, {2, 0}, {2, 1}};
    EXPECT_EQ(sorted, points);
    EXPECT_EQ(0u, TPoint(1, 1) < TPoint(1, 1));
    EXPECT_NE(TUnsignedPoint(4, 3), TUnsignedPoint(3, 4));
}

// Values are 32 bits on every platform: 0xFFFFFFFF stored in a signed
// coordinate reads back as -1 whether 'long' is 32 or 64 bits wide.
TEST(Point, CoordinatesAre32Bits) {
    TPoint p;
    EXPECT_EQ(-1, p.X(static_cast<long>(0xFFFFFFFFu)));
    TUnsignedPoint u;
    EXPECT_EQ(0xFFFFFFFFUL, u.X(0xFFFFFFFFUL));
    if (sizeof(long) > 4) {
        const long wide = static_cast<long>((std::int64_t{1} << 32) + 5);
        EXPECT_EQ(5, TPoint(wide, 0).X());
        EXPECT_EQ(5, TRect(0, 0, wide, 1).X1());
    }
}

TEST(Rect, CornersSizesAndReversedRectangles) {
    EXPECT_EQ(TRect(0, 0, 4, 3), TRect(4, 3));
    EXPECT_EQ(TRect(1, 2, 3, 4), TRect(TPoint(1, 2), TPoint(3, 4)));
    TRect r(1, 2, 3, 4);
    EXPECT_EQ(TPoint(-1, -2), r.P0(-1, -2));
    EXPECT_EQ(TPoint(8, 9), r.P1(TPoint(8, 9)));
    EXPECT_EQ(TRect(-1, -2, 8, 9), r);
    EXPECT_NE(TRect(-1, -2, 8, 8), r);

    // Size setters move the second corner; the result is clamped, the value not.
    TRect s(10, 20, 30, 40);
    EXPECT_EQ(5, s.DX(5));
    EXPECT_EQ(0, s.DY(-4));
    EXPECT_EQ(TRect(10, 20, 15, 16), s);
    EXPECT_EQ(7, s.Width(7));
    EXPECT_EQ(8, s.Height(8));
    EXPECT_EQ(TRect(10, 20, 17, 28), s);

    TRect reversed(5, 5, 2, 2);
    EXPECT_EQ(0, reversed.DX());
    EXPECT_EQ(0, reversed.Height());
    EXPECT_EQ(1u, reversed.IsEmpty());
    EXPECT_EQ(TRect(5, 5, 2, 2), reversed); // coordinates kept
    EXPECT_EQ(TRect(2, 2, 5, 5), reversed.Normalize());
    EXPECT_EQ(TRect(2, 2, 5, 5), reversed);
    EXPECT_EQ(1u, TRect(0, 0, 0, 5).IsEmpty());
    EXPECT_EQ(1u, TRect(0, 0, 5, 0).IsEmpty());
    EXPECT_EQ(0u, TRect(0, 0, 1, 1).IsEmpty());
    EXPECT_EQ(1u, TRect::InvalidRect.IsEmpty());
}

// Differences and sums wrap at 32 bits as on the original platform; the
// centre truncates toward zero.
TEST(Rect, ArithmeticWrapsAt32BitsAndCenterTruncates) {
    EXPECT_EQ(0x7FFFFFFF, TRect::MaxRect.DX());
    const TRect wide(INT32_MIN, 0, INT32_MAX, 1);
    EXPECT_EQ(1u, wide.IsEmpty()); // x1 - x0 wraps to -1
    EXPECT_EQ(0, wide.DX());
    EXPECT_EQ(TPoint(-1, 1), TRect(INT32_MAX, 0, INT32_MAX, 2).Center()); // sum wraps to -2
    EXPECT_EQ(TRect(INT32_MIN, 0, INT32_MIN, 0),
              After(TRect(INT32_MAX, 0, INT32_MAX, 0), [](TRect& r) { r.Offset(1, 0); }));
    EXPECT_EQ(TRect(INT32_MAX, 0, INT32_MIN, 1),
              After(TRect(), [](TRect& r) { r.MakeUnion(TPoint(INT32_MAX, 0)); }));

    EXPECT_EQ(TPoint(-1, -1), TRect(-3, -3, 0, 0).Center());
    EXPECT_EQ(TPoint(1, 2), TRect(0, 0, 3, 5).Center());
    EXPECT_EQ(TPoint(3, 3), TRect(5, 5, 2, 2).Center()); // reversed: same formula
}

TEST(Rect, OffsetMoveToFlipAndSwap) {
    TRect r(1, 2, 4, 6);
    EXPECT_EQ(TRect(11, 22, 14, 26), r.Offset(10, 20));
    EXPECT_EQ(TRect(10, 21, 13, 25), r.Offset(TPoint(-1, -1)));
    EXPECT_EQ(TRect(-5, 7, -2, 11), r.MoveTo(TPoint(-5, 7)));
    EXPECT_EQ(TRect(-5, 7, -2, 11), r);
    TRect reversed(5, 5, 2, 2);
    EXPECT_EQ(TRect(0, 0, -3, -3), reversed.MoveTo(0, 0)); // not normalised

    // y0 takes x0: not a diagonal mirror.
    EXPECT_EQ(TRect(1, 1, 4, 3), After(TRect(1, 2, 3, 4), [](TRect& t) { t.Flip(); }));
    auto swap = [](TRect& t) { t.SwapDXDY(); };
    EXPECT_EQ(TRect(0, 0, 2, 4), After(TRect(0, 0, 4, 2), swap));
    EXPECT_EQ(TRect(10, 20, 17, 23), After(TRect(10, 20, 13, 27), swap));
    EXPECT_EQ(TRect(5, 5, 5, 5), After(TRect(5, 5, 2, 3), swap)); // the sizes are 0
}

TEST(Rect, ContainsIsHalfOpen) {
    const TRect r(0, 0, 10, 10);
    EXPECT_EQ(0u, r.Contains(10, 5));
    EXPECT_EQ(0u, r.Contains(5, 10));
    EXPECT_EQ(1u, r.Contains(0, 0));
    EXPECT_EQ(1u, r.Contains(9, 9));
    EXPECT_EQ(0u, r.Contains(-1, 5));
    EXPECT_EQ(1u, r.IsIntersection(TPoint(9, 0)));
    EXPECT_EQ(0u, r.IsIntersection(TPoint(10, 0)));
    EXPECT_EQ(0u, TRect(5, 5, 2, 2).Contains(3, 3));
}

TEST(Rect, IntersectionMayStayReversed) {
    const TRect a(0, 0, 10, 10);
    EXPECT_EQ(TRect(5, 5, 10, 10), a.GetIntersection(TRect(5, 5, 20, 20)));
    EXPECT_EQ(TRect(0, 0, 10, 10), a); // Get... leaves this alone
    const TRect apart = After(a, [](TRect& r) { r.MakeIntersection(TRect(20, 2, 30, 8)); });
    EXPECT_EQ(TRect(20, 2, 10, 8), apart);
    EXPECT_EQ(1u, apart.IsEmpty());
    EXPECT_EQ(TRect(0, 3, 5, 10), After(a, [](TRect& r) { r.Clip(TRect(-5, 3, 5, 30)); }));
}

// An empty side is ignored; a point is taken as its unit cell, unless invalid.
TEST(Rect, Union) {
    TRect r;
    r.MakeUnion(TRect(3, 3, 5, 5)); // empty this becomes r
    EXPECT_EQ(TRect(3, 3, 5, 5), r);
    r.MakeUnion(TPoint(7, 1));
    EXPECT_EQ(TRect(3, 1, 8, 5), r);
    r.MakeUnion(TRect(100, 100, 50, 50)); // empty r: nothing
    r.MakeUnion(TPoint::InvalidPoint);
    EXPECT_EQ(TRect(3, 1, 8, 5), r);
    r.MakeUnion(TRect(-1, 2, 0, 3));
    EXPECT_EQ(TRect(-1, 1, 8, 5), r);

    const TRect reversed(9, 9, 1, 1);
    EXPECT_EQ(TRect(0, 0, 2, 2), reversed.GetUnion(TRect(0, 0, 2, 2)));
    EXPECT_EQ(TRect(9, 9, 1, 1), reversed.GetUnion(TRect(0, 0, 0, 2)));
    EXPECT_EQ(TRect(-4, -4, -3, -3), TRect(5, 5, 1, 1).GetUnion(TPoint(-4, -4)));
    const TRect ten(0, 0, 10, 10);
    EXPECT_EQ(ten, ten.GetUnion(TPoint::InvalidPoint));
    EXPECT_EQ(ten, ten.GetUnion(TPoint(9, 9)));
    EXPECT_EQ(TRect(0, 0, 11, 10), ten.GetUnion(TPoint(10, 0)));
    EXPECT_EQ(TRect(-4, 0, 10, 10), ten.GetUnion(TPoint(-4, 3)));
}

// Overlap with and without the emptiness checks, and inclusion, of
// a = (0, 0, 10, 10) and b (IsInside is inclusion seen from b).
TEST(Rect, IntersectionAndInclusionTests) {
    // b, IsIntersection, IsIntersection2, IsIncluding
    const std::tuple<TRect, unsigned int, unsigned int, unsigned int> cases[] = {
        {TRect(9, 9, 20, 20), 1, 1, 0},  {TRect(10, 0, 20, 10), 0, 0, 0},  // touching edges
        {TRect(0, 10, 10, 20), 0, 0, 0}, {TRect(-5, -5, 20, 20), 1, 1, 0}, // covering
        {TRect(0, 0, 10, 10), 1, 1, 1},  {TRect(2, 2, 5, 5), 1, 1, 1},
        {TRect(2, 2, 11, 5), 1, 1, 0},   {TRect(-1, 2, 5, 5), 1, 1, 0},
        {TRect(2, 2, 2, 8), 0, 1, 1}, // empty: never intersects, though it overlaps
        {TRect(8, 8, 2, 2), 0, 1, 1}, // reversed: size 0, corners inside
    };
    const TRect a(0, 0, 10, 10);
    for (const auto& [b, intersects, overlaps, includes] : cases) {
        EXPECT_EQ(intersects, a.IsIntersection(b)) << b;
        EXPECT_EQ(intersects, b.IsIntersection(a)) << b;
        EXPECT_EQ(overlaps, a.IsIntersection2(b)) << b;
        EXPECT_EQ(includes, a.IsIncluding(b)) << b;
        EXPECT_EQ(includes, b.IsInside(a)) << b;
    }
    EXPECT_EQ(0u, a.IsInside(TRect(2, 2, 5, 5)));
    EXPECT_EQ(0u, TRect(5, 5, 2, 2).IsIncluding(TRect(3, 3, 4, 4)));
}

TEST(Rect, MovePointInsideUsesInclusiveUpperBounds) {
    const TPoint cases[][2] = {
        {{20, -5}, {10, 0}}, // on the exclusive edge, as intended
        {{-3, 12}, {0, 10}},
        {{4, 5}, {4, 5}},
    };
    for (const auto& c : cases) {
        TPoint p = c[0];
        TRect(0, 0, 10, 10).MovePointInside(p);
        EXPECT_EQ(c[1], p) << c[0];
    }
    TPoint untouched(20, 20);
    TRect(5, 5, 2, 2).MovePointInside(untouched); // empty: no change
    EXPECT_EQ(TPoint(20, 20), untouched);
}

TEST(Rect, MoveInsideShiftsWithoutResizing) {
    // rectangle, target, result, rectangle after
    const std::tuple<TRect, TRect, unsigned int, TRect> cases[] = {
        {TRect(0, 0, 4, 4), TRect(10, 10, 20, 20), 1, TRect(10, 10, 14, 14)},
        {TRect(10, 10, 14, 14), TRect(0, 0, 3, 3), 0, TRect(10, 10, 14, 14)},
        {TRect(18, 18, 25, 22), TRect(0, 0, 20, 20), 1, TRect(13, 16, 20, 20)},
        {TRect(2, 3, 5, 6), TRect(0, 0, 20, 20), 1, TRect(2, 3, 5, 6)},
        {TRect(-5, -5, 15, 5), TRect(0, 0, 20, 10), 1, TRect(0, 0, 20, 10)},
        {TRect(0, 0, 1, 11), TRect(0, 0, 20, 10), 0, TRect(0, 0, 1, 11)},
    };
    for (const auto& [before, into, fits, after] : cases) {
        TRect r = before;
        EXPECT_EQ(fits, r.MoveInside(into)) << before;
        EXPECT_EQ(after, r) << before;
    }
}

TEST(Rect, ResizeKeepsTheAnchorsRelativePlace) {
    // rectangle, in x (else y), anchor, new size, rectangle after
    const std::tuple<TRect, bool, long, long, TRect> cases[] = {
        {TRect(0, 0, 100, 10), true, 25, 200, TRect(-25, 0, 175, 10)},
        {TRect(0, 0, 10, 100), false, 50, 50, TRect(0, 25, 10, 75)},
        // The scaled distance truncates toward zero, also when negative.
        {TRect(0, 0, 3, 1), true, 1, 2, TRect(1, 0, 3, 1)},   // 0.67 -> 0
        {TRect(0, 0, 3, 1), true, -1, 2, TRect(-1, 0, 1, 1)}, // -0.67 -> 0, not -1
        // Without a width the anchor becomes the left edge.
        {TRect(10, 0, 5, 1), true, 7, 4, TRect(7, 0, 11, 1)},
        {TRect(0, 3, 5, 3), false, -2, 6, TRect(0, -2, 5, 4)},
        // The scaled distance does not fit 32 bits: the conversion gives
        // 0x80000000, as the processor's does, and the edges wrap.
        {TRect(0, 0, 1, 1), true, INT32_MAX, INT32_MAX, TRect(-1, 0, INT32_MAX - 1, 1)},
    };
    for (const auto& [before, inX, anchor, size, after] : cases) {
        TRect r = before;
        if (inX)
            r.ResizeX(anchor, size);
        else
            r.ResizeY(anchor, size);
        EXPECT_EQ(after, r) << before << " anchor " << anchor << " size " << size;
    }
}

// a = (10, 10, 20, 20) against b in each of the nine places of a 3 x 3 grid
// around it, and at the edges.
TEST(Rect, ConnectingRectForEveryPlacement) {
    const TRect a(10, 10, 20, 20);
    const TRect unchanged(-7, -7, -7, -7);
    // where b lies, b, the side returned, the gap
    const std::tuple<const char*, TRect, int, TRect> placements[] = {
        {"left above", TRect(0, 0, 5, 5), 0, unchanged},
        {"above", TRect(12, 0, 18, 5), 4, TRect(12, 5, 18, 10)},
        {"right above", TRect(25, 0, 30, 5), 0, unchanged},
        {"left", TRect(0, 12, 5, 18), 3, TRect(5, 12, 10, 18)},
        {"overlapping", TRect(12, 12, 18, 18), 4, TRect(12, 18, 18, 10)},
        {"right", TRect(25, 12, 30, 18), 1, TRect(20, 12, 25, 18)},
        {"left below", TRect(0, 25, 5, 30), 0, unchanged},
        {"below", TRect(12, 25, 18, 30), 2, TRect(12, 20, 18, 25)},
        {"right below", TRect(25, 25, 30, 30), 0, unchanged},
        {"touching right", TRect(20, 12, 30, 18), 1, TRect(20, 12, 20, 18)},
        {"touching left", TRect(0, 12, 10, 18), 3, TRect(10, 12, 10, 18)},
        {"touching below", TRect(12, 20, 18, 30), 2, TRect(12, 20, 18, 20)},
        {"touching above", TRect(12, 0, 18, 10), 4, TRect(12, 10, 18, 10)},
        {"below, wider", TRect(0, 30, 100, 40), 2, TRect(10, 20, 20, 30)},
        {"right, taller", TRect(30, 0, 40, 100), 1, TRect(20, 10, 30, 20)},
        {"reaching into a from below", TRect(12, 15, 18, 30), 4, TRect(12, 30, 18, 10)},
        {"touching corner", TRect(20, 20, 30, 30), 0, unchanged},
    };
    for (const auto& [where, b, side, expected] : placements) {
        TRect gap = unchanged;
        EXPECT_EQ(side, gap.ConnectingRect(a, b)) << where;
        EXPECT_EQ(expected, gap) << where;
    }
}

} // namespace
