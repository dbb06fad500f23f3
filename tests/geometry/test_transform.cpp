// Fractions, the group of eight orientations and device transforms.
#include "Transform.h"
#include "GeometryPrint.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <tuple>

namespace {

typedef TOrientation::TOrient TOrient;
typedef TOrientation::TRotate TRotate;
typedef TOrientation::TMirror TMirror;

TOrient OrientOf(int v) {
    return static_cast<TOrient>(v);
}

// A rectangle on a page, before or after an orientation.
struct Page {
    long width;
    long height;
    TRect r;
};

bool operator==(const Page& a, const Page& b) {
    return a.width == b.width && a.height == b.height && a.r == b.r;
}

bool operator<(const Page& a, const Page& b) {
    return std::make_tuple(a.width, a.height, a.r.X0(), a.r.Y0(), a.r.X1(), a.r.Y1()) <
           std::make_tuple(b.width, b.height, b.r.X0(), b.r.Y0(), b.r.X1(), b.r.Y1());
}

std::ostream& operator<<(std::ostream& out, const Page& p) {
    return out << p.width << " x " << p.height << " " << p.r;
}

// Asymmetric on purpose: every orientation puts it somewhere else.
const Page kSample = {100, 50, TRect(10, 5, 30, 15)};

Page Oriented(const TOrientation& o, Page page) {
    o.Transform(page.width, page.height, page.r);
    return page;
}

// ---------------------------------------------------------------- TFraction

TEST(Fraction, TransformUsesA64BitProductAndTruncates) {
    EXPECT_EQ(-4, TFraction(2, 3).Transform(-7));
    EXPECT_EQ(4, TFraction(2, 3).Transform(7));
    EXPECT_EQ(-4, TFraction(-2, 3).Transform(7));
    EXPECT_EQ(4, TFraction(-2, -3).Transform(7));
    // 10^6 * 10^6 overflows 32 bits but not the product.
    EXPECT_EQ(1000000, TFraction(1000000, 1000000).Transform(1000000));
    // A quotient beyond 32 bits keeps its low 32 bits: 10^10 mod 2^32.
    EXPECT_EQ(1410065408, TFraction(100000, 1).Transform(100000));
    EXPECT_EQ(INT32_MIN, TFraction(1, -1).Transform(INT32_MIN));
}

TEST(Fraction, ZeroDenominatorDoesNotTrap) {
    EXPECT_EQ(0, TFraction(5, 0).Transform(7));
    EXPECT_EQ(TFraction(5, 0), TFraction(9, 0));
}

TEST(Fraction, DefaultsAndAccess) {
    TFraction f;
    EXPECT_EQ(1, f.Numerator());
    EXPECT_EQ(1, f.Denominator());
    EXPECT_EQ(1, TFraction::Original.Numerator());
    EXPECT_EQ(1, TFraction::Original.Denominator());
    EXPECT_EQ(3, f.Numerator(3));
    EXPECT_EQ(4, f.Denominator(4));
    EXPECT_EQ(75, f.Transform(100));
    f.Set(-1, 2);
    EXPECT_EQ(-1, f.Numerator());
    EXPECT_EQ(2, f.Denominator());
}

// Equal when 10000 scales to the same value: a tolerance, not field equality.
TEST(Fraction, EqualityByProbe) {
    EXPECT_EQ(TFraction(1, 3), TFraction(3333, 10000));
    EXPECT_NE(TFraction(1, 3), TFraction(33, 100));
    EXPECT_EQ(TFraction(1, 2), TFraction(2, 4));
    EXPECT_EQ(TFraction::Original, TFraction(7, 7));
    EXPECT_EQ(1u, TFraction(1, 3) == TFraction(10000, 30001)); // 3333 both
}

// ------------------------------------------------------------- TOrientation

TEST(Orientation, ConstructionFromTheCombinedValue) {
    const TOrientation five(OrientOf(5));
    EXPECT_EQ(TOrientation::Rotate90, five.Rotate());
    EXPECT_EQ(TOrientation::MirrorY, five.Mirror());
    EXPECT_EQ(OrientOf(5), five.Orient());
    EXPECT_EQ(1u, five.IsTilt());

    for (int v = 0; v < 8; ++v) {
        const TOrientation o(OrientOf(v));
        EXPECT_EQ(v & 3, o.Rotate()) << v;
        EXPECT_EQ((v / 4) * 2, o.Mirror()) << v;
        EXPECT_EQ(OrientOf(v), o.Orient()) << v;
        EXPECT_EQ(static_cast<unsigned int>(v & 1), o.IsTilt()) << v;

        TOrientation assigned;
        assigned = OrientOf(v);
        EXPECT_EQ(o.Rotate(), assigned.Rotate());
        EXPECT_EQ(o.Mirror(), assigned.Mirror());
        TOrientation set(TOrientation::Rotate270, TOrientation::MirrorXY);
        set.Orient(OrientOf(v));
        EXPECT_EQ(o.Rotate(), set.Rotate());
        EXPECT_EQ(o.Mirror(), set.Mirror());
    }
}

TEST(Orientation, EqualityComparesTheCombinedValue) {
    const TOrientation pair(TOrientation::Rotate0, TOrientation::MirrorXY);
    EXPECT_EQ(1u, pair == TOrientation(TOrientation::Orient180));
    EXPECT_EQ(1u, pair == TOrientation::Orient180);
    EXPECT_EQ(0u, pair != TOrientation::Orient180);
    EXPECT_EQ(1u, pair != TOrientation::Orient0);
    EXPECT_EQ(TOrientation::Original, TOrientation());
    EXPECT_EQ(TOrientation::Original,
              TOrientation(TOrientation::Rotate180, TOrientation::MirrorXY));
    EXPECT_EQ(1u, TOrientation(TOrientation::Rotate90, TOrientation::MirrorX).IsTilt());
}

TEST(Orientation, TransformCases) {
    const Page tilted = Oriented(TOrientation(OrientOf(1)), kSample);
    EXPECT_EQ((Page{50, 100, TRect(5, 70, 15, 90)}), tilted);
    const Page mirrored = Oriented(TOrientation(OrientOf(6)), kSample);
    EXPECT_EQ((Page{100, 50, TRect(70, 5, 90, 15)}), mirrored);
    EXPECT_EQ(kSample, Oriented(TOrientation::Original, kSample));
}

// An independent model of the orientations: a rectangle is the set of unit
// cells it covers, and each elementary map moves cells. Mapping the two
// opposite corner cells gives the opposite corners of the image.
typedef TPoint (*CellMap)(TPoint cell, long width, long height);

TPoint Rotate90Cell(TPoint c, long width, long) {
    return TPoint(c.Y(), width - 1 - c.X());
}
TPoint MirrorXCell(TPoint c, long width, long) {
    return TPoint(width - 1 - c.X(), c.Y());
}
TPoint MirrorYCell(TPoint c, long, long height) {
    return TPoint(c.X(), height - 1 - c.Y());
}

Page MapCells(const Page& page, CellMap map, bool turnsPage) {
    const TPoint a = map(page.r.P0(), page.width, page.height);
    const TPoint b = map(TPoint(page.r.X1() - 1, page.r.Y1() - 1), page.width, page.height);
    Page out;
    out.width = turnsPage ? page.height : page.width;
    out.height = turnsPage ? page.width : page.height;
    out.r = TRect(std::min(a.X(), b.X()), std::min(a.Y(), b.Y()), std::max(a.X(), b.X()) + 1,
                  std::max(a.Y(), b.Y()) + 1);
    return out;
}

// The stored pair means: mirror as given, then rotate.
Page ModelOf(int rotate, int mirror, Page page) {
    if (mirror & 1)
        page = MapCells(page, MirrorXCell, false);
    if (mirror & 2)
        page = MapCells(page, MirrorYCell, false);
    for (int i = 0; i < rotate; ++i)
        page = MapCells(page, Rotate90Cell, true);
    return page;
}

TEST(Orientation, EveryStoredPairMapsAsMirrorThenRotate) {
    const Page pages[] = {kSample, {7, 9, TRect(0, 0, 7, 9)}, {30, 20, TRect(29, 0, 30, 3)}};
    for (int rotate = 0; rotate < 4; ++rotate) {
        for (int mirror = 0; mirror < 4; ++mirror) {
            const TOrientation o(static_cast<TRotate>(rotate), static_cast<TMirror>(mirror));
            for (const Page& page : pages) {
                EXPECT_EQ(ModelOf(rotate, mirror, page), Oriented(o, page))
                    << "rotate " << rotate << " mirror " << mirror;
            }
        }
    }
}

TEST(Orientation, EightOrientationsAreDistinct) {
    std::set<Page> seen;
    for (int v = 0; v < 8; ++v)
        seen.insert(Oriented(TOrientation(OrientOf(v)), kSample));
    EXPECT_EQ(8u, seen.size());
}

TEST(Orientation, AddCases) {
    auto sum = [](int a, int b) {
        TOrientation o(OrientOf(a));
        o.Add(TOrientation(OrientOf(b)));
        return static_cast<int>(o.Orient());
    };
    EXPECT_EQ(2, sum(1, 1));
    EXPECT_EQ(0, sum(1, 3));
    EXPECT_EQ(0, sum(4, 4));
    EXPECT_EQ(6, sum(5, 1));
    EXPECT_EQ(4, sum(1, 5)); // not commutative

    // The result is stored in the split form: (1, 3) + 0 becomes (3, 0).
    TOrientation o(TOrientation::Rotate90, TOrientation::MirrorXY);
    o.Add(TOrientation::Orient0);
    EXPECT_EQ(TOrientation::Rotate270, o.Rotate());
    EXPECT_EQ(TOrientation::MirrorNone, o.Mirror());
}

// Add is composition: this orientation first, then the other.
TEST(Orientation, AddComposesTheTransformsForAllPairs) {
    for (int a = 0; a < 8; ++a) {
        for (int b = 0; b < 8; ++b) {
            const TOrientation first(OrientOf(a));
            const TOrientation then(OrientOf(b));
            TOrientation sum(first);
            sum.Add(then);
            EXPECT_EQ(Oriented(then, Oriented(first, kSample)), Oriented(sum, kSample))
                << a << " + " << b;
        }
    }
}

TEST(Orientation, SplitGivesAnUntiltedBaseAndARotation) {
    struct Expected {
        int rotate, mirror, rotation;
    };
    const Expected table[8] = {{0, 0, 0}, {0, 0, 1}, {2, 0, 0}, {0, 0, 3},
                               {0, 2, 0}, {2, 2, 3}, {2, 2, 0}, {2, 2, 1}};
    for (int v = 0; v < 8; ++v) {
        TOrientation base(TOrientation::Rotate90, TOrientation::MirrorX);
        TRotate rotation = TOrientation::RotateInvalid;
        TOrientation(OrientOf(v)).Split(base, rotation);
        EXPECT_EQ(table[v].rotate, base.Rotate()) << v;
        EXPECT_EQ(table[v].mirror, base.Mirror()) << v;
        EXPECT_EQ(table[v].rotation, rotation) << v;
        EXPECT_EQ(0u, base.IsTilt()) << v;

        TOrientation again(base);
        again.Add(TOrientation(rotation, TOrientation::MirrorNone));
        EXPECT_EQ(OrientOf(v), again.Orient()) << v;
    }
}

TEST(Orientation, SplitOfAnyStoredPairRecomposes) {
    for (int rotate = 0; rotate < 4; ++rotate) {
        for (int mirror = 0; mirror < 4; ++mirror) {
            const TOrientation o(static_cast<TRotate>(rotate), static_cast<TMirror>(mirror));
            TOrientation base;
            TRotate rotation;
            o.Split(base, rotation);
            base.Add(TOrientation(rotation, TOrientation::MirrorNone));
            EXPECT_EQ(o, base) << o;
        }
    }
}

TEST(Orientation, RotationEnumConversions) {
    EXPECT_EQ(TOrientation::Rotate0, TOrientation::RotationToEnum(0));
    EXPECT_EQ(TOrientation::Rotate90, TOrientation::RotationToEnum(90));
    EXPECT_EQ(TOrientation::Rotate90, TOrientation::RotationToEnum(-90));
    EXPECT_EQ(TOrientation::Rotate180, TOrientation::RotationToEnum(-180));
    EXPECT_EQ(TOrientation::Rotate270, TOrientation::RotationToEnum(270));
    EXPECT_EQ(TOrientation::Rotate270, TOrientation::RotationToEnum(-270));
    EXPECT_EQ(5, TOrientation::RotationToEnum(45));
    EXPECT_EQ(5, TOrientation::RotationToEnum(360));
    EXPECT_EQ(5, TOrientation::RotationToEnum(INT32_MIN));
    EXPECT_EQ(0, TOrientation::EnumToRotation(TOrientation::Rotate0));
    EXPECT_EQ(90, TOrientation::EnumToRotation(TOrientation::Rotate90));
    EXPECT_EQ(180, TOrientation::EnumToRotation(TOrientation::Rotate180));
    EXPECT_EQ(270, TOrientation::EnumToRotation(TOrientation::Rotate270));
    EXPECT_EQ(-1, TOrientation::EnumToRotation(static_cast<TRotate>(4)));
    EXPECT_EQ(-1, TOrientation::EnumToRotation(TOrientation::RotateInvalid));
}

// Values no caller should give still stay inside the tables.
TEST(Orientation, OutOfRangeValuesStayInTheGroup) {
    for (int v : {8, 13, -1, 1000}) {
        const TOrientation o(OrientOf(v));
        EXPECT_LT(static_cast<int>(o.Orient()), 8) << v;
        EXPECT_GE(static_cast<int>(o.Orient()), 0) << v;
    }
    TOrientation invalid(TOrientation::RotateInvalid, static_cast<TMirror>(7));
    const int orient = invalid.Orient();
    EXPECT_TRUE(orient >= 0 && orient < 8);
    invalid.Add(TOrientation::Orient90);
    const Page page = Oriented(invalid, kSample);
    EXPECT_EQ(kSample.r.DX() * kSample.r.DY(), page.r.DX() * page.r.DY());
}

// --------------------------------------------------------------- TTransform

struct Placed {
    long width = 0;
    long height = 0;
    TRect r;
};

Placed Place(const TTransform& t, long x, long y, long xDpi, long yDpi) {
    Placed p;
    t.Transform(x, y, xDpi, yDpi, p.width, p.height, p.r);
    return p;
}

TEST(Transform, OriginalChangesNothing) {
    const Placed p = Place(TTransform::Original, 10, 20, 300, 300);
    EXPECT_EQ(10, p.width);
    EXPECT_EQ(20, p.height);
    EXPECT_EQ(TRect(0, 0, 10, 20), p.r);
    EXPECT_EQ(TTransform(), TTransform::Original);
}

TEST(Transform, ResolutionMarginsAndScale) {
    TTransform t;
    t.XDpi(600);
    t.X0Offset(5);
    t.X1Offset(7);
    const Placed p = Place(t, 10, 20, 300, 300);
    EXPECT_EQ(32, p.width);
    EXPECT_EQ(20, p.height);
    EXPECT_EQ(5, p.r.X0());
    EXPECT_EQ(25, p.r.X1());

    // Without an input resolution there is no resolution change.
    EXPECT_EQ(10, Place(t, 10, 20, 0, 300).r.DX());

    const TTransform scaled(0, 150, 1, 2, 3, 4, TFraction(3, 2), TFraction(1, 3),
                            TOrientation::Original);
    const Placed q = Place(scaled, 10, 20, 72, 300);
    EXPECT_EQ(TRect(1, 2, 16, 5), q.r); // 10 * 3/2 = 15; 20 * 150/300 = 10, / 3 = 3
    EXPECT_EQ(15 + 1 + 3, q.width);
    EXPECT_EQ(3 + 2 + 4, q.height);
}

TEST(Transform, OrientationIsAppliedLast) {
    const TTransform t(0, 0, 5, 1, 7, 2, TFraction(), TFraction(),
                       TOrientation(TOrientation::Orient90));
    const Placed p = Place(t, 10, 20, 1, 1);
    // Before turning: page 22 x 23, content (5, 1, 15, 21).
    EXPECT_EQ(23, p.width);
    EXPECT_EQ(22, p.height);
    EXPECT_EQ(TRect(1, 7, 21, 17), p.r);
}

// The resolution change is a 32-bit product and quotient, as on the original
// platform: 100000 * 100000 wraps.
TEST(Transform, ResolutionChangeWrapsAt32Bits) {
    TTransform t;
    t.XDpi(100000);
    EXPECT_EQ(1410065408, Place(t, 100000, 1, 1, 1).width);
    t.XDpi(INT32_MIN);
    EXPECT_EQ(INT32_MIN, Place(t, 1, 1, -1, 1).width); // INT32_MIN / -1 does not trap
}

TEST(Transform, AccessorsReachEveryField) {
    TTransform t(1, 2, 3, 4, 5, 6, TFraction(7, 8), TFraction(9, 10),
                 TOrientation(TOrientation::Orient270MirrorY));
    EXPECT_EQ(1, t.XDpi());
    EXPECT_EQ(2, t.YDpi());
    EXPECT_EQ(3, t.X0Offset());
    EXPECT_EQ(4, t.Y0Offset());
    EXPECT_EQ(5, t.X1Offset());
    EXPECT_EQ(6, t.Y1Offset());
    EXPECT_EQ(7, t.XNumerator());
    EXPECT_EQ(8, t.XDenominator());
    EXPECT_EQ(9, t.YNumerator());
    EXPECT_EQ(10, t.YDenominator());
    EXPECT_EQ(TOrientation::Orient270MirrorY, t.Orientation().Orient());

    EXPECT_EQ(11, t.XDpi(11));
    EXPECT_EQ(12, t.YDpi(12));
    EXPECT_EQ(13, t.X0Offset(13));
    EXPECT_EQ(14, t.Y0Offset(14));
    EXPECT_EQ(15, t.X1Offset(15));
    EXPECT_EQ(16, t.Y1Offset(16));
    EXPECT_EQ(17, t.XNumerator(17));
    EXPECT_EQ(18, t.XDenominator(18));
    EXPECT_EQ(19, t.YNumerator(19));
    EXPECT_EQ(20, t.YDenominator(20));
    EXPECT_EQ(17, t.XFraction().Numerator());
    EXPECT_EQ(20, t.YFraction().Denominator());
    t.XFraction(TFraction(1, 2));
    t.YFraction(TFraction(3, 4));
    t.Orientation(TOrientation::Original);
    EXPECT_EQ(2, t.XDenominator());
    EXPECT_EQ(3, t.YNumerator());
    EXPECT_EQ(TOrientation::Orient0, t.Orientation().Orient());

    TTransform copy;
    copy = t;
    EXPECT_EQ(t.X1Offset(), copy.X1Offset());
    copy.Set(0, 0, 0, 0, 0, 0, TFraction(), TFraction(), TOrientation());
    EXPECT_EQ(TTransform::Original, copy);
}

// Equal when both place the same probe content alike, whatever the fields.
TEST(Transform, EqualityByEffect) {
    const TTransform byResolution(600, 0, 0, 0, 0, 0, TFraction(), TFraction(),
                                  TOrientation::Original);
    const TTransform byScale(0, 0, 0, 0, 0, 0, TFraction(6, 1), TFraction(),
                             TOrientation::Original);
    EXPECT_EQ(byResolution, byScale); // 10000 at 100 dpi -> 60000 either way
    EXPECT_NE(byResolution, TTransform::Original);

    const TTransform margins(0, 0, 1, 0, 0, 0, TFraction(), TFraction(), TOrientation::Original);
    EXPECT_NE(margins, TTransform::Original);
    const TTransform sameEffect(0, 0, 0, 0, 0, 0, TFraction(), TFraction(),
                                TOrientation(TOrientation::Rotate0, TOrientation::MirrorNone));
    EXPECT_EQ(sameEffect, TTransform::Original);
    // Without margins the content fills the page, and turning it by 180
    // degrees puts it in the same place: equal by effect.
    const TTransform halfTurn(0, 0, 0, 0, 0, 0, TFraction(), TFraction(),
                              TOrientation(TOrientation::Orient180));
    EXPECT_EQ(halfTurn, TTransform::Original);
    const TTransform quarterTurn(0, 0, 0, 0, 0, 0, TFraction(), TFraction(),
                                 TOrientation(TOrientation::Orient90));
    EXPECT_NE(quarterTurn, TTransform::Original);
}

} // namespace
