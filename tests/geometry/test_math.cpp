// Angle arithmetic, rounding and polar coordinates with the ten-decimal pi.
#include "LinePath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

const double kPi = 3.1415926536;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

TEST(Math, PiHasTenDecimals) {
    EXPECT_EQ(3.1415926536, TMath::Pi);
    EXPECT_NE(std::acos(-1.0), TMath::Pi);
    EXPECT_DOUBLE_EQ(180.0 / kPi, TMath::GradPi);
    EXPECT_DOUBLE_EQ(kPi / 180.0, TMath::PiGrad);
    EXPECT_DOUBLE_EQ(1.0, TMath::GradPi * TMath::PiGrad);
}

TEST(Math, RoundIsToNearestEvenAndSaturates) {
    EXPECT_EQ(2, TMath::Round(2.5));
    EXPECT_EQ(4, TMath::Round(3.5));
    EXPECT_EQ(-2, TMath::Round(-2.5));
    EXPECT_EQ(0, TMath::Round(0.5));
    EXPECT_EQ(-2, TMath::Round(-1.5));
    EXPECT_EQ(3, TMath::Round(2.6));
    EXPECT_EQ(-3, TMath::Round(-2.6));
    EXPECT_EQ(0x7FFFFFFF, TMath::Round(3.0e10));
    EXPECT_EQ(INT32_MIN, TMath::Round(-3.0e10));
    EXPECT_EQ(2147483647, TMath::Round(2147483647.4));
    EXPECT_EQ(0x7FFFFFFF, TMath::Round(2147483647.5)); // rounds to 2^31, saturates
    EXPECT_EQ(INT32_MIN, TMath::Round(-2147483648.4));
    EXPECT_EQ(0x7FFFFFFF, TMath::Round(kInf));
    EXPECT_EQ(INT32_MIN, TMath::Round(-kInf));
    EXPECT_EQ(INT32_MIN, TMath::Round(kNaN)); // the processor's "no integer" value
}

TEST(Math, TruncIsTowardZeroAndSaturates) {
    EXPECT_EQ(-1, TMath::Trunc(-1.9));
    EXPECT_EQ(1, TMath::Trunc(1.9));
    EXPECT_EQ(0, TMath::Trunc(-0.5));
    EXPECT_EQ(0x7FFFFFFF, TMath::Trunc(2147483648.0));
    EXPECT_EQ(2147483647, TMath::Trunc(2147483647.9));
    EXPECT_EQ(INT32_MIN, TMath::Trunc(-2147483648.9));
    EXPECT_EQ(INT32_MIN, TMath::Trunc(-1.0e20));
    EXPECT_EQ(INT32_MIN, TMath::Trunc(kNaN));
}

TEST(Math, AbsFracSqr) {
    EXPECT_EQ(2.5, TMath::Abs(-2.5));
    EXPECT_EQ(7, TMath::Abs(-7L));
    EXPECT_EQ(7, TMath::Abs(7L));
    EXPECT_EQ(INT32_MIN, TMath::Abs(static_cast<long>(INT32_MIN))); // 32-bit wrap
    EXPECT_EQ(-0.25, TMath::Frac(-2.25));
    EXPECT_EQ(0.75, TMath::Frac(3.75));
    EXPECT_EQ(0.0, TMath::Frac(4.0));
    EXPECT_EQ(6.25, TMath::Sqr(-2.5));
    EXPECT_EQ(3.0, TMath::Sqrt(9.0));
    EXPECT_EQ(std::atan(0.5), TMath::ArcTan(0.5));
    EXPECT_EQ(std::sin(1.0), TMath::Sin(1.0));
    EXPECT_EQ(std::cos(1.0), TMath::Cos(1.0));
}

TEST(Math, In2PiStepsWholeTurns) {
    const double turn = 2 * kPi;
    EXPECT_EQ(0.0, TMath::In2Pi(0.0));
    EXPECT_EQ(0.0, TMath::In2Pi(turn));
    EXPECT_EQ(1.0, TMath::In2Pi(1.0));
    EXPECT_DOUBLE_EQ(turn - 1.0, TMath::In2Pi(-1.0));
    EXPECT_EQ((1.0 + turn) - turn, TMath::In2Pi(1.0 + turn));
    EXPECT_EQ(10.0 - turn, TMath::In2Pi(10.0));
    // One turn at a time, with the rounding of each step.
    const double a = -1.0 - 2 * turn;
    EXPECT_EQ(((a + turn) + turn) + turn, TMath::In2Pi(a));
    const double b = 1000.5;
    double stepped = b;
    while (stepped >= turn)
        stepped -= turn;
    EXPECT_EQ(stepped, TMath::In2Pi(b));
}

TEST(Math, In2PiEndsForEveryInput) {
    for (double a : {1.0e9, -1.0e9, 1.0e300, -1.0e300, std::numeric_limits<double>::max()}) {
        const double r = TMath::In2Pi(a);
        EXPECT_GE(r, 0.0) << a;
        EXPECT_LT(r, 2 * kPi) << a;
    }
    EXPECT_TRUE(std::isnan(TMath::In2Pi(kInf)));
    EXPECT_TRUE(std::isnan(TMath::In2Pi(-kInf)));
    EXPECT_TRUE(std::isnan(TMath::In2Pi(kNaN)));
}

TEST(Math, Between) {
    EXPECT_EQ(1u, TMath::Between(5, 10, 0));
    EXPECT_EQ(1u, TMath::Between(10, 0, 10));
    EXPECT_EQ(1u, TMath::Between(0, 0, 10));
    EXPECT_EQ(0u, TMath::Between(-0.1, 0, 10));
    EXPECT_EQ(0u, TMath::Between(10.1, 10, 0));
    EXPECT_EQ(1u, TMath::Between(3, 3, 3));
}

TEST(Math, DegreesAndRadians) {
    EXPECT_EQ(kPi * 90.0 * (1.0 / 180.0), TMath::DegreesToRad(90.0));
    EXPECT_DOUBLE_EQ(kPi, TMath::DegreesToRad(180.0));
    EXPECT_DOUBLE_EQ(180.0, TMath::RadToDegrees(kPi));
    EXPECT_EQ(1.0 * 180.0 / kPi, TMath::RadToDegrees(1.0));
}

TEST(Math, Cart2PolarQuadrantsAndAxes) {
    struct Case {
        double x, y, phi;
    };
    const Case cases[] = {
        {0, 0, 0},
        {3, 0, 0},
        {0, 2, kPi * 0.5},
        {0, -2, kPi * 1.5},
        {-1, 0, kPi},
        {-1, 1, std::atan(-1.0) + kPi},
        {-1, -1, std::atan(1.0) + kPi},
        {1, -1, std::atan(-1.0) + 2 * kPi},
        {1, 1, std::atan(1.0)},
    };
    for (const Case& c : cases) {
        double r = -1, phi = -1;
        TMath::Cart2Polar(c.x, c.y, r, phi);
        EXPECT_EQ(std::sqrt(c.x * c.x + c.y * c.y), r) << c.x << ", " << c.y;
        EXPECT_EQ(c.phi, phi) << c.x << ", " << c.y;
        EXPECT_GE(phi, 0.0);
        EXPECT_LT(phi, 2 * kPi);
    }
    double r = 0, phi = 0;
    TMath::Cart2Polar(-1, 0, r, phi);
    EXPECT_EQ(3.1415926536, phi);
    TMath::Cart2Polar(1, -1, r, phi);
    EXPECT_EQ(2 * 3.1415926536 - std::atan(1.0), phi);
}

TEST(Math, PolarRoundTrip) {
    double x = 0, y = 0;
    TMath::Polar2Cart(2.0, kPi / 3, x, y);
    EXPECT_EQ(std::cos(kPi / 3) * 2.0, x);
    EXPECT_EQ(std::sin(kPi / 3) * 2.0, y);
    double r = 0, phi = 0;
    TMath::Cart2Polar(x, y, r, phi);
    EXPECT_NEAR(2.0, r, 1e-12);
    EXPECT_NEAR(kPi / 3, phi, 1e-12);
}

TEST(Math, GreatestCommonDivisor) {
    EXPECT_EQ(6UL, TMath::ggT(12, 18));
    EXPECT_EQ(6UL, TMath::ggT(18, 12));
    EXPECT_EQ(7UL, TMath::ggT(0, 7));
    EXPECT_EQ(7UL, TMath::ggT(7, 0));
    EXPECT_EQ(0UL, TMath::ggT(0, 0));
    EXPECT_EQ(1UL, TMath::ggT(17, 5));
    EXPECT_EQ(0xFFFFFFFFUL, TMath::ggT(0xFFFFFFFFUL, 0xFFFFFFFFUL));
}

} // namespace
