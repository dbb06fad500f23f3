// Points and rectangles: half-open rectangles that are never normalised behind
// the caller's back, and coordinates that behave as 32-bit values everywhere.
#include "Geometry.h"
#include "GeometryPrint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

// ------------------------------------------------------------------- points

TEST(Point, ConstantsAndLayout) {
    EXPECT_EQ(TPoint(-1073741824L, -1073741824L), TPoint::InvalidPoint);
    EXPECT_EQ(TPoint(0, 0), TPoint::MinPoint);
    EXPECT_EQ(TPoint(0x3FFFFFFF, 0x3FFFFFFF), TPoint::MaxPoint);
    EXPECT_EQ(TUnsignedPoint(0, 0), TUnsignedPoint::InvalidUnsignedPoint);
    EXPECT_EQ(TUnsignedPoint::MinUnsignedPoint, TUnsignedPoint::InvalidUnsignedPoint);
    EXPECT_EQ(4294967295UL, TUnsignedPoint::MaxUnsignedPoint.X());
    EXPECT_EQ(4294967295UL, TUnsignedPoint::MaxUnsignedPoint.Y());
    static_assert(sizeof(TPoint) == 8 && sizeof(TUnsignedPoint) == 8, "two 32-bit fields");
    static_assert(sizeof(TRect) == 16, "four 32-bit fields");
}

TEST(Point, AccessAndComparison) {
    TPoint p;
    EXPECT_EQ(TPoint(0, 0), p);
    EXPECT_EQ(7, p.X(7));
    EXPECT_EQ(-3, p.Y(-3));
    EXPECT_EQ(TPoint(7, -3), p);
    p.Set(1, 2);
    EXPECT_EQ(1u, p == TPoint(1, 2));
    EXPECT_EQ(1u, p != TPoint(1, 3));
    EXPECT_EQ(0u, p != TPoint(1, 2));

    TUnsignedPoint u(5, 6);
    EXPECT_EQ(9UL, u.X(9));
    u.Set(3, 4);
    EXPECT_EQ(TUnsignedPoint(3, 4), u);
    EXPECT_NE(TUnsignedPoint(4, 3), u);
}

TEST(Point, OrdersByXThenY) {
    std::vector<TPoint> points{{2, 1}, {1, 5}, {2, 0}, {-1, 9}, {1, -5}};
    std::sort(points.begin(), points.end());
    const std::vector<TPoint> sorted{{-1, 9}, {1, -5}, {1, 5}, {2, 0}, {2, 1}};
    EXPECT_EQ(sorted, points);
    EXPECT_EQ(0u, TPoint(1, 1) < TPoint(1, 1));
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

// --------------------------------------------------------------- rectangles

TEST(Rect, ConstantsAndConstruction) {
    EXPECT_EQ(TRect(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN), TRect::InvalidRect);
    EXPECT_EQ(TRect(0, 0, 0, 0), TRect::MinRect);
    EXPECT_EQ(TRect(-1073741824L, -1073741824L, 1073741823L, 1073741823L), TRect::MaxRect);
    EXPECT_EQ(0x7FFFFFFF, TRect::MaxRect.DX());
    EXPECT_EQ(1u, TRect::InvalidRect.IsEmpty());

    EXPECT_EQ(TRect(0, 0, 0, 0), TRect());
    EXPECT_EQ(TRect(0, 0, 4, 3), TRect(4, 3));
    EXPECT_EQ(TRect(1, 2, 3, 4), TRect(TPoint(1, 2), TPoint(3, 4)));
}

TEST(Rect, CornersAndSetters) {
    TRect r(1, 2, 3, 4);
    EXPECT_EQ(TPoint(1, 2), r.P0());
    EXPECT_EQ(TPoint(3, 4), r.P1());
    EXPECT_EQ(TPoint(-1, -2), r.P0(-1, -2));
    EXPECT_EQ(TPoint(8, 9), r.P1(TPoint(8, 9)));
    EXPECT_EQ(TRect(-1, -2, 8, 9), r);
    EXPECT_EQ(10, r.X0(10));
    EXPECT_EQ(11, r.Y0(11));
    EXPECT_EQ(12, r.X1(12));
    EXPECT_EQ(13, r.Y1(13));
    EXPECT_EQ(TRect(10, 11, 12, 13), r);
    r.Set(TPoint(5, 6), TPoint(7, 8));
    EXPECT_EQ(TRect(5, 6, 7, 8), r);
    r.Set(1, 1, 2, 2);
    EXPECT_EQ(TRect(1, 1, 2, 2), r);
    r.SetEmpty();
    EXPECT_EQ(TRect::MinRect, r);
    EXPECT_NE(TRect(0, 0, 1, 1), r);
}

TEST(Rect, SizesOfReversedRectanglesAreZero) {
    TRect r(5, 5, 2, 2);
    EXPECT_EQ(0, r.DX());
    EXPECT_EQ(0, r.Height());
    EXPECT_EQ(1u, r.IsEmpty());
    EXPECT_EQ(TRect(5, 5, 2, 2), r); // coordinates kept
    EXPECT_EQ(TRect(2, 2, 5, 5), r.Normalize());
    EXPECT_EQ(TRect(2, 2, 5, 5), r);

    EXPECT_EQ(1u, TRect(0, 0, 0, 5).IsEmpty());
    EXPECT_EQ(1u, TRect(0, 0, 5, 0).IsEmpty());
    EXPECT_EQ(0u, TRect(0, 0, 1, 1).IsEmpty());
}

TEST(Rect, SizeSettersMoveTheSecondCorner) {
    TRect r(10, 20, 30, 40);
    EXPECT_EQ(5, r.DX(5));
    EXPECT_EQ(0, r.DY(-4)); // returned clamped, stored as given
    EXPECT_EQ(TRect(10, 20, 15, 16), r);
    EXPECT_EQ(7, r.Width(7));
    EXPECT_EQ(8, r.Height(8));
    EXPECT_EQ(TRect(10, 20, 17, 28), r);
    EXPECT_EQ(7, r.Width());
    EXPECT_EQ(8, r.DY());
}

// Differences and sums wrap at 32 bits as on the original platform.
TEST(Rect, ArithmeticWrapsAt32Bits) {
    const TRect wide(INT32_MIN, 0, INT32_MAX, 1);
    EXPECT_EQ(1u, wide.IsEmpty()); // x1 - x0 wraps to -1
    EXPECT_EQ(0, wide.DX());
    EXPECT_EQ(TPoint(-1, 1), TRect(INT32_MAX, 0, INT32_MAX, 2).Center()); // sum wraps to -2
    TRect r(INT32_MAX, 0, INT32_MAX, 0);
    r.Offset(1, 0);
    EXPECT_EQ(TRect(INT32_MIN, 0, INT32_MIN, 0), r);
    TRect unit;
    unit.MakeUnion(TPoint(INT32_MAX, 0));
    EXPECT_EQ(TRect(INT32_MAX, 0, INT32_MIN, 1), unit);
}

TEST(Rect, CenterTruncatesTowardZero) {
    EXPECT_EQ(TPoint(-1, -1), TRect(-3, -3, 0, 0).Center());
    EXPECT_EQ(TPoint(1, 2), TRect(0, 0, 3, 5).Center());
    EXPECT_EQ(TPoint(3, 3), TRect(5, 5, 2, 2).Center()); // reversed: same formula
}

TEST(Rect, OffsetAndMoveToChangeAndReturn) {
    TRect r(1, 2, 4, 6);
    EXPECT_EQ(TRect(11, 22, 14, 26), r.Offset(10, 20));
    EXPECT_EQ(TRect(11, 22, 14, 26), r);
    EXPECT_EQ(TRect(10, 21, 13, 25), r.Offset(TPoint(-1, -1)));
    EXPECT_EQ(TRect(0, 0, 3, 4), r.MoveTo(0, 0));
    EXPECT_EQ(TRect(-5, 7, -2, 11), r.MoveTo(TPoint(-5, 7)));
    EXPECT_EQ(TRect(-5, 7, -2, 11), r);

    TRect reversed(5, 5, 2, 2);
    EXPECT_EQ(TRect(0, 0, -3, -3), reversed.MoveTo(0, 0)); // not normalised
}

TEST(Rect, FlipAndSwapDXDY) {
    TRect r(1, 2, 3, 4);
    r.Flip();
    EXPECT_EQ(TRect(1, 1, 4, 3), r); // y0 takes x0; not a diagonal mirror

    TRect s(0, 0, 4, 2);
    s.SwapDXDY();
    EXPECT_EQ(TRect(0, 0, 2, 4), s);
    TRect t(10, 20, 13, 27);
    t.SwapDXDY();
    EXPECT_EQ(TRect(10, 20, 17, 23), t);
    TRect reversed(5, 5, 2, 3);
    reversed.SwapDXDY(); // the sizes are 0
    EXPECT_EQ(TRect(5, 5, 5, 5), reversed);
}

TEST(Rect, ContainsIsHalfOpen) {
    const TRect r(0, 0, 10, 10);
    EXPECT_EQ(0u, r.Contains(10, 5));
    EXPECT_EQ(0u, r.Contains(5, 10));
    EXPECT_EQ(1u, r.Contains(0, 0));
    EXPECT_EQ(1u, r.Contains(9, 9));
    EXPECT_EQ(0u, r.Contains(-1, 5));
    EXPECT_EQ(1u, r.Contains(TPoint(9, 0)));
    EXPECT_EQ(1u, r.IsIntersection(TPoint(9, 0)));
    EXPECT_EQ(0u, r.IsIntersection(TPoint(10, 0)));
    EXPECT_EQ(0u, TRect(5, 5, 2, 2).Contains(3, 3));
}

TEST(Rect, IntersectionMayStayReversed) {
    TRect a(0, 0, 10, 10);
    EXPECT_EQ(TRect(5, 5, 10, 10), a.GetIntersection(TRect(5, 5, 20, 20)));
    EXPECT_EQ(TRect(0, 0, 10, 10), a); // Get... leaves this alone
    a.MakeIntersection(TRect(20, 2, 30, 8));
    EXPECT_EQ(TRect(20, 2, 10, 8), a);
    EXPECT_EQ(1u, a.IsEmpty());
    TRect b(0, 0, 10, 10);
    b.Clip(TRect(-5, 3, 5, 30));
    EXPECT_EQ(TRect(0, 3, 5, 10), b);
}

TEST(Rect, UnionWithRectangles) {
    TRect r;
    r.MakeUnion(TRect(3, 3, 5, 5)); // empty this becomes r
    EXPECT_EQ(TRect(3, 3, 5, 5), r);
    r.MakeUnion(TPoint(7, 1));
    EXPECT_EQ(TRect(3, 1, 8, 5), r);
    r.MakeUnion(TRect(100, 100, 50, 50)); // empty r: nothing
    EXPECT_EQ(TRect(3, 1, 8, 5), r);
    r.MakeUnion(TRect(-1, 2, 0, 3));
    EXPECT_EQ(TRect(-1, 1, 8, 5), r);

    const TRect reversed(9, 9, 1, 1);
    EXPECT_EQ(TRect(0, 0, 2, 2), reversed.GetUnion(TRect(0, 0, 2, 2)));
    EXPECT_EQ(TRect(9, 9, 1, 1), reversed.GetUnion(TRect(0, 0, 0, 2)));
    EXPECT_EQ(TRect(0, 0, 4, 4), TRect(0, 0, 2, 2).GetUnion(TRect(3, 3, 4, 4)));
}

TEST(Rect, UnionWithPoints) {
    TRect r(0, 0, 10, 10);
    r.MakeUnion(TPoint::InvalidPoint);
    EXPECT_EQ(TRect(0, 0, 10, 10), r);
    EXPECT_EQ(TRect(0, 0, 10, 10), r.GetUnion(TPoint::InvalidPoint));
    EXPECT_EQ(TRect(0, 0, 10, 10), r.GetUnion(TPoint(9, 9)));
    EXPECT_EQ(TRect(0, 0, 11, 10), r.GetUnion(TPoint(10, 0)));
    EXPECT_EQ(TRect(-4, 0, 10, 10), r.GetUnion(TPoint(-4, 3)));
    EXPECT_EQ(TRect(-4, -4, -3, -3), TRect(5, 5, 1, 1).GetUnion(TPoint(-4, -4)));
}

TEST(Rect, IntersectionTests) {
    const TRect a(0, 0, 10, 10);
    EXPECT_EQ(1u, a.IsIntersection(TRect(9, 9, 20, 20)));
    EXPECT_EQ(0u, a.IsIntersection(TRect(10, 0, 20, 10))); // touching edges
    EXPECT_EQ(0u, a.IsIntersection(TRect(0, 10, 10, 20)));
    EXPECT_EQ(1u, a.IsIntersection(TRect(-5, -5, 20, 20))); // covering
    EXPECT_EQ(1u, a.IsIntersection(TRect(3, 3, 4, 4)));     // inside
    // An empty rectangle never intersects, though the overlap test alone says yes.
    const TRect thin(2, 2, 2, 8);
    EXPECT_EQ(0u, a.IsIntersection(thin));
    EXPECT_EQ(1u, a.IsIntersection2(thin));
    EXPECT_EQ(0u, thin.IsIntersection(a));
    EXPECT_EQ(0u, a.IsIntersection2(TRect(10, 0, 20, 10)));
}

TEST(Rect, IncludingAndInside) {
    const TRect outer(0, 0, 10, 10);
    EXPECT_EQ(1u, outer.IsIncluding(outer));
    EXPECT_EQ(1u, outer.IsIncluding(TRect(2, 2, 5, 5)));
    EXPECT_EQ(0u, outer.IsIncluding(TRect(2, 2, 11, 5)));
    EXPECT_EQ(0u, outer.IsIncluding(TRect(-1, 2, 5, 5)));
    EXPECT_EQ(1u, TRect(2, 2, 5, 5).IsInside(outer));
    EXPECT_EQ(0u, outer.IsInside(TRect(2, 2, 5, 5)));
    EXPECT_EQ(1u, outer.IsIncluding(TRect(8, 8, 2, 2))); // reversed: size 0, corners inside
    EXPECT_EQ(0u, TRect(5, 5, 2, 2).IsIncluding(TRect(3, 3, 4, 4)));
}

TEST(Rect, MovePointInsideUsesInclusiveUpperBounds) {
    const TRect r(0, 0, 10, 10);
    TPoint p(20, -5);
    r.MovePointInside(p);
    EXPECT_EQ(TPoint(10, 0), p); // on the exclusive edge, as intended
    TPoint q(-3, 12);
    r.MovePointInside(q);
    EXPECT_EQ(TPoint(0, 10), q);
    TPoint inside(4, 5);
    r.MovePointInside(inside);
    EXPECT_EQ(TPoint(4, 5), inside);
    TPoint untouched(20, 20);
    TRect(5, 5, 2, 2).MovePointInside(untouched); // empty: no change
    EXPECT_EQ(TPoint(20, 20), untouched);
}

TEST(Rect, MoveInsideShiftsWithoutResizing) {
    TRect r(0, 0, 4, 4);
    EXPECT_EQ(1u, r.MoveInside(TRect(10, 10, 20, 20)));
    EXPECT_EQ(TRect(10, 10, 14, 14), r);
    EXPECT_EQ(0u, r.MoveInside(TRect(0, 0, 3, 3)));
    EXPECT_EQ(TRect(10, 10, 14, 14), r);

    TRect right(18, 18, 25, 22);
    EXPECT_EQ(1u, right.MoveInside(TRect(0, 0, 20, 20)));
    EXPECT_EQ(TRect(13, 16, 20, 20), right);
    TRect fits(2, 3, 5, 6);
    EXPECT_EQ(1u, fits.MoveInside(TRect(0, 0, 20, 20)));
    EXPECT_EQ(TRect(2, 3, 5, 6), fits);
    TRect exact(-5, -5, 15, 5);
    EXPECT_EQ(1u, exact.MoveInside(TRect(0, 0, 20, 10)));
    EXPECT_EQ(TRect(0, 0, 20, 10), exact);
    TRect tooTall(0, 0, 1, 11);
    EXPECT_EQ(0u, tooTall.MoveInside(TRect(0, 0, 20, 10)));
}

TEST(Rect, ResizeKeepsTheAnchorsRelativePlace) {
    TRect r(0, 0, 100, 10);
    r.ResizeX(25, 200);
    EXPECT_EQ(TRect(-25, 0, 175, 10), r);

    TRect v(0, 0, 10, 100);
    v.ResizeY(50, 50);
    EXPECT_EQ(TRect(0, 25, 10, 75), v);

    // The scaled distance truncates toward zero, also when negative.
    TRect t(0, 0, 3, 1);
    t.ResizeX(1, 2); // 1 * 2 / 3 = 0.67 -> 0
    EXPECT_EQ(TRect(1, 0, 3, 1), t);
    TRect n(0, 0, 3, 1);
    n.ResizeX(-1, 2); // -0.67 -> 0, not -1
    EXPECT_EQ(TRect(-1, 0, 1, 1), n);

    // Without a width the anchor becomes the left edge.
    TRect reversed(10, 0, 5, 1);
    reversed.ResizeX(7, 4);
    EXPECT_EQ(TRect(7, 0, 11, 1), reversed);
    TRect flat(0, 3, 5, 3);
    flat.ResizeY(-2, 6);
    EXPECT_EQ(TRect(0, -2, 5, 4), flat);
}

TEST(Rect, ResizeOutOfRangeDoesNotTrap) {
    TRect r(0, 0, 1, 1);
    // The scaled distance does not fit 32 bits: the conversion gives 0x80000000,
    // as the processor's does, and the edges wrap.
    r.ResizeX(INT32_MAX, INT32_MAX);
    EXPECT_EQ(TRect(-1, 0, INT32_MAX - 1, 1), r);
}

// a = (10, 10, 20, 20) against b in each of the nine places of a 3 x 3 grid
// around it, and at the edges.
struct Placement {
    const char* where;
    TRect b;
    int side;
    TRect gap;
};

TEST(Rect, ConnectingRectForEveryPlacement) {
    const TRect a(10, 10, 20, 20);
    const TRect unchanged(-7, -7, -7, -7);
    const Placement placements[] = {
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
    for (const Placement& p : placements) {
        TRect gap = unchanged;
        EXPECT_EQ(p.side, gap.ConnectingRect(a, p.b)) << p.where;
        EXPECT_EQ(p.gap, gap) << p.where;
    }
    TRect gap;
    EXPECT_EQ(1, gap.ConnectingRect(TRect(0, 0, 10, 10), TRect(20, 2, 30, 8)));
    EXPECT_EQ(TRect(10, 2, 20, 8), gap);
}

} // namespace
