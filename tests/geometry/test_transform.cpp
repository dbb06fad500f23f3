// Fractions, the group of eight orientations and device transforms.
#include "Transform.h"
#include "GeometryPrint.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <utility>

namespace {

typedef TOrientation::TOrient TOrient;
typedef TOrientation::TRotate TRotate;
typedef TOrientation::TMirror TMirror;

TOrient OrientOf(int v) {
    return static_cast<TOrient>(v);
}

// A page's width and height and a rectangle on it: an orientation's input and
// output, and what a transform places.
typedef std::tuple<long, long, TRect> Page;

// Asymmetric on purpose: every orientation puts it somewhere else.
const Page kSample = {100, 50, TRect(10, 5, 30, 15)};

// kSample after each orientation, worked out by hand: mirror in y (y becomes
// 50 - y) where asked, then turn by 90 degrees (x, y) -> (y, width - x) as
// often as asked.
const Page kSampleOriented[8] = {
    {100, 50, TRect(10, 5, 30, 15)},  {50, 100, TRect(5, 70, 15, 90)},
    {100, 50, TRect(70, 35, 90, 45)}, {50, 100, TRect(35, 10, 45, 30)},
    {100, 50, TRect(10, 35, 30, 45)}, {50, 100, TRect(35, 70, 45, 90)},
    {100, 50, TRect(70, 5, 90, 15)},  {50, 100, TRect(5, 10, 15, 30)},
};

Page Oriented(const TOrientation& o, Page page) {
    o.Transform(std::get<0>(page), std::get<1>(page), std::get<2>(page));
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
    // A zero denominator does not trap.
    EXPECT_EQ(0, TFraction(5, 0).Transform(7));
    EXPECT_EQ(TFraction(5, 0), TFraction(9, 0));
    TFraction f;
    f.Set(3, 4);
    EXPECT_EQ(75, f.Transform(100));
}

// Equal when 10000 scales to the same value: a tolerance, not field equality.
TEST(Fraction, EqualityByProbe) {
    EXPECT_EQ(TFraction(1, 3), TFraction(3333, 10000));
    EXPECT_NE(TFraction(1, 3), TFraction(33, 100));
    EXPECT_EQ(TFraction(1, 2), TFraction(2, 4));
    EXPECT_EQ(TFraction::Original, TFraction(7, 7));
    EXPECT_EQ(TFraction::Original, TFraction());
    EXPECT_EQ(1u, TFraction(1, 3) == TFraction(10000, 30001)); // 3333 both
}

// ------------------------------------------------------------- TOrientation

TEST(Orientation, EachCombinedValueMapsThePageAsWorkedOut) {
    for (int v = 0; v < 8; ++v) {
        const TOrientation o(OrientOf(v));
        EXPECT_EQ(v & 3, o.Rotate()) << v;
        EXPECT_EQ((v / 4) * 2, o.Mirror()) << v;
        EXPECT_EQ(OrientOf(v), o.Orient()) << v;
        EXPECT_EQ(static_cast<unsigned int>(v & 1), o.IsTilt()) << v;
        EXPECT_EQ(kSampleOriented[v], Oriented(o, kSample)) << v;
    }
}

// The stored pair means: mirror as given, then rotate. A mirror in x is a
// mirror in y and a half turn; a mirror in both is a half turn.
int CombinedValueOf(int rotate, int mirror) {
    switch (mirror) {
    case TOrientation::MirrorX:
        return 4 + (rotate + 2) % 4;
    case TOrientation::MirrorY:
        return 4 + rotate;
    case TOrientation::MirrorXY:
        return (rotate + 2) % 4;
    default:
        return rotate;
    }
}

// Split gives an untilted base and the rotation that, added, gives it back.
// base rotate, base mirror, rotation
const int kSplit[8][3] = {{0, 0, 0}, {0, 0, 1}, {2, 0, 0}, {0, 0, 3},
                          {0, 2, 0}, {2, 2, 3}, {2, 2, 0}, {2, 2, 1}};

TEST(Orientation, EveryStoredPairActsAsItsCombinedValue) {
    for (int rotate = 0; rotate < 4; ++rotate) {
        for (int mirror = 0; mirror < 4; ++mirror) {
            const TOrientation o(static_cast<TRotate>(rotate), static_cast<TMirror>(mirror));
            const int v = CombinedValueOf(rotate, mirror);
            SCOPED_TRACE(::testing::Message() << "rotate " << rotate << " mirror " << mirror);
            EXPECT_EQ(v, o.Orient());
            EXPECT_EQ(1u, o == TOrientation(OrientOf(v)));
            EXPECT_EQ(1u, o == OrientOf(v));
            EXPECT_EQ(0u, o != OrientOf(v));
            EXPECT_EQ(1u, o != OrientOf((v + 1) % 8));
            EXPECT_EQ(kSampleOriented[v], Oriented(o, kSample));

            TOrientation base(TOrientation::Rotate90, TOrientation::MirrorX);
            TRotate rotation = TOrientation::RotateInvalid;
            o.Split(base, rotation);
            EXPECT_EQ(kSplit[v][0], base.Rotate());
            EXPECT_EQ(kSplit[v][1], base.Mirror());
            EXPECT_EQ(kSplit[v][2], rotation);
            EXPECT_EQ(0u, base.IsTilt());
            base.Add(TOrientation(rotation, TOrientation::MirrorNone));
            EXPECT_EQ(OrientOf(v), base.Orient());
        }
    }
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
    // The result is stored in the split form: (1, 3) + 0 becomes (3, 0).
    TOrientation o(TOrientation::Rotate90, TOrientation::MirrorXY);
    o.Add(TOrientation::Orient0);
    EXPECT_EQ(TOrientation::Rotate270, o.Rotate());
    EXPECT_EQ(TOrientation::MirrorNone, o.Mirror());
}

TEST(Orientation, RotationEnumConversions) {
    const std::pair<long, int> toEnum[] = {{0, 0},    {90, 1}, {-90, 1}, {-180, 2},     {270, 3},
                                           {-270, 3}, {45, 5}, {360, 5}, {INT32_MIN, 5}};
    for (const auto& c : toEnum)
        EXPECT_EQ(c.second, TOrientation::RotationToEnum(c.first)) << c.first;
    for (int r = 0; r < 4; ++r)
        EXPECT_EQ(90 * r, TOrientation::EnumToRotation(static_cast<TRotate>(r)));
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
    const TRect before = std::get<2>(kSample);
    const TRect after = std::get<2>(Oriented(invalid, kSample));
    EXPECT_EQ(before.DX() * before.DY(), after.DX() * after.DY());
}

// --------------------------------------------------------------- TTransform

Page Place(const TTransform& t, long x, long y, long xDpi, long yDpi) {
    Page p;
    t.Transform(x, y, xDpi, yDpi, std::get<0>(p), std::get<1>(p), std::get<2>(p));
    return p;
}

TEST(Transform, ResolutionMarginsScaleAndOrientation) {
    EXPECT_EQ(Page(10, 20, TRect(0, 0, 10, 20)), Place(TTransform::Original, 10, 20, 300, 300));
    TTransform t;
    t.XDpi(600);
    t.X0Offset(5);
    t.X1Offset(7);
    EXPECT_EQ(Page(32, 20, TRect(5, 0, 25, 20)), Place(t, 10, 20, 300, 300));
    // Without an input resolution there is no resolution change.
    EXPECT_EQ(Page(22, 20, TRect(5, 0, 15, 20)), Place(t, 10, 20, 0, 300));
    // 10 * 3/2 = 15; 20 * 150/300 = 10, / 3 = 3
    const TTransform scaled(0, 150, 1, 2, 3, 4, TFraction(3, 2), TFraction(1, 3),
                            TOrientation::Original);
    EXPECT_EQ(Page(15 + 1 + 3, 3 + 2 + 4, TRect(1, 2, 16, 5)), Place(scaled, 10, 20, 72, 300));
    // The orientation is applied last: before turning the page is 22 x 23
    // with the content at (5, 1, 15, 21).
    const TTransform turned(0, 0, 5, 1, 7, 2, TFraction(), TFraction(),
                            TOrientation(TOrientation::Orient90));
    EXPECT_EQ(Page(23, 22, TRect(1, 7, 21, 17)), Place(turned, 10, 20, 1, 1));
}

// The resolution change is a 32-bit product and quotient, as on the original
// platform: 100000 * 100000 wraps, and INT32_MIN / -1 does not trap.
TEST(Transform, ResolutionChangeWrapsAt32Bits) {
    TTransform t;
    t.XDpi(100000);
    EXPECT_EQ(Page(1410065408, 1, TRect(0, 0, 1410065408, 1)), Place(t, 100000, 1, 1, 1));
    t.XDpi(INT32_MIN);
    // The content's width is negative; the orientation step sizes it 0.
    EXPECT_EQ(Page(INT32_MIN, 1, TRect(0, 0, 0, 1)), Place(t, 1, 1, -1, 1));
}

// Equal when both place the same probe content alike, whatever the fields.
TEST(Transform, EqualityByEffect) {
    auto with = [](long xDpi, long x0Offset, TFraction x, TOrientation::TOrient o) {
        return TTransform(xDpi, 0, x0Offset, 0, 0, 0, x, TFraction(), TOrientation(o));
    };
    EXPECT_EQ(TTransform(), TTransform::Original);
    // 10000 at 100 dpi -> 60000 either way
    EXPECT_EQ(with(600, 0, TFraction(), TOrientation::Orient0),
              with(0, 0, TFraction(6, 1), TOrientation::Orient0));
    EXPECT_NE(with(600, 0, TFraction(), TOrientation::Orient0), TTransform::Original);
    EXPECT_NE(with(0, 1, TFraction(), TOrientation::Orient0), TTransform::Original);
    // Without margins the content fills the page, and turning it by 180
    // degrees puts it in the same place: equal by effect.
    EXPECT_EQ(with(0, 0, TFraction(), TOrientation::Orient180), TTransform::Original);
    EXPECT_NE(with(0, 0, TFraction(), TOrientation::Orient90), TTransform::Original);
}

} // namespace
