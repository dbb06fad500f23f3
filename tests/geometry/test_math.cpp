// Angle arithmetic, rounding and polar coordinates with the ten-decimal pi.
#include "LinePath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

namespace {

const double kPi = 3.1415926536;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

TEST(Math, PiHasTenDecimals) {
    EXPECT_EQ(3.1415926536, TMath::Pi);
    EXPECT_NE(std::acos(-1.0), TMath::Pi);
    EXPECT_DOUBLE_EQ(180.0 / kPi, TMath::GradPi);
    EXPECT_DOUBLE_EQ(kPi / 180.0, TMath::PiGrad);
    EXPECT_EQ(kPi * 90.0 * (1.0 / 180.0), TMath::DegreesToRad(90.0));
    EXPECT_EQ(1.0 * 180.0 / kPi, TMath::RadToDegrees(1.0));
}

// Round goes to the nearest even integer, Trunc toward zero; both saturate at
// the 32-bit limits and give the processor's "no integer" value for NaN.
TEST(Math, RoundAndTruncSaturate) {
    // value, Round, Trunc; 2147483647.5 rounds to 2^31 and saturates
    const long kMin = INT32_MIN, kMax = INT32_MAX;
    const std::tuple<double, long, long> cases[] = {{2.5, 2, 2},
                                                    {3.5, 4, 3},
                                                    {-2.5, -2, -2},
                                                    {0.5, 0, 0},
                                                    {-0.5, 0, 0},
                                                    {-1.5, -2, -1},
                                                    {2.6, 3, 2},
                                                    {-2.6, -3, -2},
                                                    {-1.9, -2, -1},
                                                    {3.0e10, kMax, kMax},
                                                    {-3.0e10, kMin, kMin},
                                                    {2147483647.4, 2147483647, 2147483647},
                                                    {2147483647.5, kMax, 2147483647},
                                                    {2147483648.0, kMax, kMax},
                                                    {-2147483648.4, kMin, kMin},
                                                    {-2147483648.9, kMin, kMin},
                                                    {kInf, kMax, kMax},
                                                    {-kInf, kMin, kMin},
                                                    {kNaN, kMin, kMin}};
    for (const auto& [value, round, trunc] : cases) {
        EXPECT_EQ(round, TMath::Round(value)) << value;
        EXPECT_EQ(trunc, TMath::Trunc(value)) << value;
    }
}

TEST(Math, AbsFracBetween) {
    EXPECT_EQ(2.5, TMath::Abs(-2.5));
    EXPECT_EQ(7, TMath::Abs(-7L));
    EXPECT_EQ(7, TMath::Abs(7L));
    EXPECT_EQ(INT32_MIN, TMath::Abs(static_cast<long>(INT32_MIN))); // 32-bit wrap
    EXPECT_EQ(-0.25, TMath::Frac(-2.25));
    EXPECT_EQ(0.75, TMath::Frac(3.75));
    EXPECT_EQ(6.25, TMath::Sqr(-2.5));
    // Thin wrappers, checked so that none calls the wrong function.
    EXPECT_EQ(std::sin(1.0), TMath::Sin(1.0));
    EXPECT_EQ(std::cos(1.0), TMath::Cos(1.0));
    EXPECT_EQ(std::atan(0.5), TMath::ArcTan(0.5));
    EXPECT_EQ(3.0, TMath::Sqrt(9.0));
    // Between takes its bounds in either order, both inclusive.
    EXPECT_EQ(1u, TMath::Between(5, 10, 0));
    EXPECT_EQ(1u, TMath::Between(10, 0, 10));
    EXPECT_EQ(1u, TMath::Between(0, 0, 10));
    EXPECT_EQ(0u, TMath::Between(-0.1, 0, 10));
    EXPECT_EQ(0u, TMath::Between(10.1, 10, 0));
}

TEST(Math, In2PiStepsWholeTurns) {
    const double turn = 2 * kPi;
    EXPECT_EQ(0.0, TMath::In2Pi(0.0));
    EXPECT_EQ(0.0, TMath::In2Pi(turn));
    EXPECT_EQ(1.0, TMath::In2Pi(1.0));
    EXPECT_DOUBLE_EQ(turn - 1.0, TMath::In2Pi(-1.0));
    EXPECT_EQ((1.0 + turn) - turn, TMath::In2Pi(1.0 + turn));
    // One turn at a time, with the rounding of each step.
    const double a = -1.0 - 2 * turn;
    EXPECT_EQ(((a + turn) + turn) + turn, TMath::In2Pi(a));
    double stepped = 1000.5;
    while (stepped >= turn)
        stepped -= turn;
    EXPECT_EQ(stepped, TMath::In2Pi(1000.5));

    // Inputs that would take too many steps, or never end, still give an answer.
    for (double big : {1.0e9, -1.0e9, 1.0e300, -1.0e300, std::numeric_limits<double>::max()}) {
        const double r = TMath::In2Pi(big);
        EXPECT_GE(r, 0.0) << big;
        EXPECT_LT(r, turn) << big;
    }
    EXPECT_TRUE(std::isnan(TMath::In2Pi(kInf)));
    EXPECT_TRUE(std::isnan(TMath::In2Pi(-kInf)));
    EXPECT_TRUE(std::isnan(TMath::In2Pi(kNaN)));
}

TEST(Math, Cart2PolarQuadrantsAndAxes) {
    // x, y, phi
    const std::tuple<double, double, double> cases[] = {{0, 0, 0},
                                                        {3, 0, 0},
                                                        {0, 2, kPi * 0.5},
                                                        {0, -2, kPi * 1.5},
                                                        {-1, 0, kPi},
                                                        {-1, 1, std::atan(-1.0) + kPi},
                                                        {-1, -1, std::atan(1.0) + kPi},
                                                        {1, -1, std::atan(-1.0) + 2 * kPi},
                                                        {1, 1, std::atan(1.0)}};
    for (const auto& [x, y, expected] : cases) {
        double r = -1, phi = -1;
        TMath::Cart2Polar(x, y, r, phi);
        EXPECT_EQ(std::sqrt(x * x + y * y), r) << x << ", " << y;
        EXPECT_EQ(expected, phi) << x << ", " << y;
    }
    double x = 0, y = 0;
    TMath::Polar2Cart(2.0, kPi / 3, x, y);
    EXPECT_EQ(std::cos(kPi / 3) * 2.0, x);
    EXPECT_EQ(std::sin(kPi / 3) * 2.0, y);
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
