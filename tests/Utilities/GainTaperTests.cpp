// SPDX-License-Identifier: MIT
// Expected values come from other forms of the formulas, in long double.
#include <MarlCore/Utilities/GainTaper.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

float up(float value) {
    return std::nextafter(value, kInfinity);
}

float down(float value) {
    return std::nextafter(value, -kInfinity);
}

/// A fader's line through its breakpoints, from one to the next, and on below the last one.
long double onLines(long double x, const std::vector<std::pair<long double, long double>>& points) {
    std::size_t i = 0;
    while (i + 2 < points.size() && x <= points[i + 1].first) ++i;
    const auto [x0, y0] = points[i];
    const auto [x1, y1] = points[i + 1];
    return y0 + (x - x0) * (y1 - y0) / (x1 - x0);
}

TEST(GainTaper, FollowsItsLines) {
    const std::vector<std::pair<long double, long double>> toPlace = {
        {0, 0}, {-24, -6}, {-48, -12}, {-72, -24}, {-96, -96}};
    auto toGain = toPlace;
    for (auto& [gain, place] : toGain) std::swap(gain, place);
    const auto check = [&](float x) {
        EXPECT_EQ(taperGain(x), x > 0 ? x : static_cast<float>(onLines(x, toPlace))) << x;
        EXPECT_EQ(untaperGain(x), x > 0 ? x : static_cast<float>(onLines(x, toGain))) << x;
    };
    for (const float point : {0.0F, -6.0F, -12.0F, -24.0F, -48.0F, -72.0F, -96.0F})
        for (const float x : {down(point), point, up(point)}) check(x);
    for (int i = 24'000; i >= -200'000; --i) {
        const float x = static_cast<float>(i) / 1000;
        check(x);
        // The lines are up to four times as steep one way and three times the other way: so grows what was
        // rounded.
        EXPECT_NEAR(untaperGain(taperGain(x)), x, std::abs(x) * 0x1p-21);
        EXPECT_NEAR(taperGain(untaperGain(x)), x, std::abs(x) * 0x1p-21);
    }
    EXPECT_EQ(taperGain(-kInfinity), -kInfinity);
    EXPECT_EQ(untaperGain(kInfinity), kInfinity);
}

const float kLowestCurve = std::bit_cast<float>(std::uint32_t{0x3727c5ac});
const float kCurves[] = {kLowestCurve, 0.001F, 0.5F, down(1), up(1), 2, 10, 100, 12345.5F, 1e30F};
const float kPositions[] = {0, 1e-30F, 0.001F, 0.25F, 0.5F, 0.999F, down(1), 1, up(1), 1.25F};

/// (c^x - 1) / (c - 1) without powers, for x of any sign.
long double curveAt(long double c, long double x) {
    return std::copysign(std::expm1(std::abs(x) * std::log(c)) / (c - 1), x);
}

long double placeOnCurve(long double c, long double y) {
    return std::copysign(std::log1p(std::abs(y) * (c - 1)) / std::log(c), y);
}

/// Doubles lose `lost` beside 1, and the result is rounded to a float.
testing::AssertionResult isOnCurve(float value, long double exact, long double lost) {
    const long double error = std::abs(value - exact), most = std::abs(exact) * 0x1p-23L + lost;
    if (error <= most) return testing::AssertionSuccess();
    return testing::AssertionFailure() << value << " instead of " << exact;
}

TEST(GainTaper, FollowsItsCurves) {
    for (const float curve : kCurves) {
        const long double c = curve;
        for (const float position : kPositions) {
            for (const float x : {position, -position}) {
                const long double lost = 0x1p-50L / std::abs(c - 1),
                                  lostInLog = 0x1p-50L / std::abs(std::log(c));
                EXPECT_TRUE(isOnCurve(doTaper(curve, x), curveAt(c, x), lost)) << c << ' ' << x;
                if (1 + std::abs(x) * (c - 1) < 1e-5L) continue;  // at the end of the curve
                EXPECT_TRUE(isOnCurve(doUntaper(curve, x), placeOnCurve(c, x), lostInLog * 100))
                    << c << ' ' << x;
            }
        }
        EXPECT_EQ(doTaper(curve, 0), 0);
        EXPECT_EQ(doTaper(curve, 1), 1);
        EXPECT_EQ(doTaper(curve, -1), -1);
    }
    EXPECT_EQ(doUntaper(0.5F, 2), kInfinity);
    EXPECT_TRUE(std::isnan(doUntaper(0.5F, 3)));
}

TEST(GainTaper, TakesSomeCurvesAsLines) {
    for (const float c : {1.0F, down(kLowestCurve), 0.0F, -3.0F, -kInfinity}) {
        for (const float x : {-7.5F, -0.25F, 0.25F, 1.0F, 3.0F}) {
            EXPECT_EQ(doTaper(c, x), x) << c;
            EXPECT_EQ(doUntaper(c, x), x) << c;
        }
    }
    EXPECT_NE(doTaper(kLowestCurve, 0.25F), 0.25F);
    EXPECT_NE(doUntaper(kLowestCurve, 0.25F), 0.25F);
    EXPECT_TRUE(std::isnan(doTaper(kNaN, 0.25F)));
}

TEST(GainTaper, MirrorsControlsAsTheyAlwaysWere) {
    for (const float c : {0.001F, 0.5F, 1.0F, 2.0F, 100.0F}) {
        for (const float x : {1e-6F, 0.25F, 0.5F, down(1), 1.0F}) {
            EXPECT_EQ(nonlinearToLinear(c, -x), -doTaper(c, x));
            EXPECT_EQ(nonlinearToLinear(c, x), 1 - doTaper(c, 1 - x));
            EXPECT_EQ(linearToNonlinear(c, -x), -doUntaper(c, x));
            EXPECT_EQ(linearToNonlinear(c, x), 1 - doUntaper(c, 1 - x));
        }
        for (const float zero : {0.0F, -0.0F}) {
            for (const float result :
                 {nonlinearToLinear(c, zero), linearToNonlinear(c, zero),
                  nonlinearToLinearWithRange(c, zero, -1, 1), linearToNonlinearWithRange(c, zero, -1, 1)})
                EXPECT_TRUE(result == 0 && !std::signbit(result)) << c;
        }
    }
}

TEST(GainTaper, BringsControlsBack) {
    for (const float c : {0.01F, 0.5F, 1.0F, 2.0F, 100.0F}) {
        for (int i = -1000; i <= 1000; ++i) {
            const float x = static_cast<float>(i) / 1000;
            // Near its end a curve is up to 1 / c times as steep as a line, or c times.
            const double tolerance = 0x1p-22 * std::max(c, 1 / c);
            EXPECT_NEAR(linearToNonlinear(c, nonlinearToLinear(c, x)), x, tolerance) << c << ' ' << x;
            EXPECT_NEAR(nonlinearToLinear(c, linearToNonlinear(c, x)), x, tolerance) << c << ' ' << x;
        }
    }
}

TEST(GainTaper, DrawsEachSideToItsRange) {
    constexpr float kNegative = -24, kPositive = 6;
    for (const float c : {0.01F, 0.5F, 1.0F, 2.0F, 100.0F}) {
        const double tolerance = 0x1p-22 * std::max(c, 1 / c);
        const auto toLinear = [c](float x) { return nonlinearToLinearWithRange(c, x, kNegative, kPositive); };
        const auto toNonlinear = [c](float x) {
            return linearToNonlinearWithRange(c, x, kNegative, kPositive);
        };
        for (const float end : {kNegative, kPositive}) {
            for (int i = 1; i <= 100; ++i) {
                const float part = static_cast<float>(i) / 100, x = part * end;
                EXPECT_NEAR(toLinear(x) / end, nonlinearToLinear(c, part), tolerance) << c << ' ' << x;
                EXPECT_NEAR(toNonlinear(x) / end, linearToNonlinear(c, part), tolerance) << c << ' ' << x;
            }
        }
    }
}

}  // namespace
