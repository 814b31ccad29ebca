#include "Geometry/fitting/utility.h"

#include "tests/fitting/fitchecks.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_fits.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using Testing::allHold;
using Testing::sameBits;
using Testing::SpacePoints;

struct ParaboloidFit {
    Point vertex{9.0, 9.0, 9.0};
    Vector axisU{9.0, 9.0, 9.0};
    Vector axisV{9.0, 9.0, 9.0};
    Vector axisN{9.0, 9.0, 9.0};
    double curvatureU = -9.0;
    double curvatureV = -9.0;
    std::vector<double> residuals;
    bool isConverged = false;
};

ParaboloidFit fitParaboloid(SpacePoints const& points, Vector const& axisHint) {
    ParaboloidFit fit;
    fit.residuals.assign(points.size(), -9.0);
    fit.isConverged = Utility::getEllipticParaboloidFit(points.data(), points.size(), axisHint, fit.vertex,
                                                        fit.axisU, fit.axisV, fit.axisN, fit.curvatureU,
                                                        fit.curvatureV, fit.residuals.data());
    return fit;
}

/// The fit ended after so many passes.
ParaboloidFit fitWithin(std::uint32_t maxPasses, SpacePoints const& points, Vector const& axisHint) {
    ParaboloidFit fit;
    fit.residuals.assign(points.size(), -9.0);
    fit.isConverged = Utility::fitParaboloid(points.data(), points.size(), axisHint, fit.vertex, fit.axisU,
                                             fit.axisV, fit.axisN, fit.curvatureU, fit.curvatureV,
                                             fit.residuals.data(), static_cast<int>(maxPasses));
    return fit;
}

testing::AssertionResult same(ParaboloidFit const& fit, Testing::PlainParaboloid const& expected) {
    if (fit.isConverged != expected.isConverged) {
        return testing::AssertionFailure() << "converged: " << fit.isConverged;
    }
    std::vector<testing::AssertionResult> checks = {sameBits(fit.curvatureU, expected.curvatureU),
                                                    sameBits(fit.curvatureV, expected.curvatureV)};
    for (unsigned long k = 0; k < 3; ++k) {
        checks.push_back(sameBits(fit.vertex.get(k), expected.vertex.get(k)));
        checks.push_back(sameBits(fit.axisU.get(k), expected.axisU.get(k)));
        checks.push_back(sameBits(fit.axisV.get(k), expected.axisV.get(k)));
        checks.push_back(sameBits(fit.axisN.get(k), expected.axisN.get(k)));
    }
    return allHold(std::move(checks), fit.residuals, expected.residuals);
}

testing::AssertionResult isOrthonormal(ParaboloidFit const& fit, double tolerance) {
    double const error = std::abs(fit.axisU.lSqr() - 1.0) + std::abs(fit.axisV.lSqr() - 1.0) +
                         std::abs(fit.axisN.lSqr() - 1.0) + std::abs(fit.axisU.dot(fit.axisV)) +
                         std::abs(fit.axisV.dot(fit.axisN)) + std::abs(fit.axisN.dot(fit.axisU)) +
                         std::abs(fit.axisU.cross(fit.axisV).dot(fit.axisN) - 1.0);
    if (error < tolerance) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "off by " << error;
}

Vector const alongZ(0.0, 0.0, 1.0);

/// Points of c = k (a^2 + b^2) / 2 from the vertex on, whose coordinates and products are exact for a k that
/// is a power of two. The second point is (2, 0, 2 k).
SpacePoints exactBowl(double k) {
    SpacePoints points = {{0.0, 0.0, 0.0}};
    for (int a = 2; a >= -2; --a) {
        for (int b = 0; b <= 4; ++b) {
            if (a != 0 || b != 0) {
                points.emplace_back(a, b, 0.5 * k * (a * a + b * b));
            }
        }
    }
    return points;
}

/// Steep bowls far from the origin: floats hold the vertex where it is, while the frame and the curvatures
/// settle within a few thousand passes or run away.
SpacePoints steepBowl(std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    auto const next = [&] { return number(generator); };
    double const size = 600.0 + 500.0 * std::abs(next());
    double const k = std::exp2(-7.0 + 4.0 * std::abs(next()));
    double const noise = seed % 4 == 0 ? 0.0 : std::pow(10.0, static_cast<double>(seed % 4) - 3.0);
    Point const vertex(10000.0, -7000.0, 3000.0);
    SpacePoints points = {vertex};
    for (std::uint32_t i = 0; i < 2 + seed % 5; ++i) {
        double const a = size * next();
        double const b = size * next();
        double const c = 0.5 * k * (a * a + (1.0 + 0.3 * next()) * b * b) + noise * next();
        points.push_back(vertex + Vector(a, b, c));
    }
    return points;
}

testing::AssertionResult restsOnExactBowl(double k, Vector const& axisHint) {
    ParaboloidFit const fit = fitParaboloid(exactBowl(k), axisHint);
    if (!fit.isConverged || fit.vertex != Point() || fit.curvatureU != k || fit.curvatureV != k) {
        return testing::AssertionFailure() << "curvatures " << fit.curvatureU << ", " << fit.curvatureV;
    }
    for (double const residual : fit.residuals) {
        if (residual != 0.0) {
            return testing::AssertionFailure() << "residual " << residual;
        }
    }
    double const turned = (fit.axisU - Vector(1.0, 0.0, 0.0)).lSqr() +
                          (fit.axisV - Vector(0.0, 1.0, 0.0)).lSqr() + (fit.axisN - alongZ).lSqr();
    return turned == 0.0 ? testing::AssertionSuccess() : testing::AssertionFailure() << "the frame turned";
}

TEST(ParaboloidFit, OfAnExactBowlConvergesInItsFirstPass) {
    // So shallow a bowl that the height of the second point is lost in its squared distance.
    double const k = 0x1p-30;
    ASSERT_EQ(Testing::plainParaboloidFit(exactBowl(k), alongZ, 2).passes, 1U);
    EXPECT_TRUE(restsOnExactBowl(k, alongZ));
}

TEST(ParaboloidFit, TakesItsStartingCurvatureFromTheSecondPointAlongTheHint) {
    // The way to the second point is (2, 0, 0.5), of squared length 4.25: the curvature 0.25 of the bowl
    // takes a product of 0.53125 with the hint.
    EXPECT_TRUE(restsOnExactBowl(0.25, Vector(0.0, 0.0, 1.0625)));
    EXPECT_TRUE(restsOnExactBowl(0.25, Vector(0.25, 9.0, 0.0625)));
    // Where the height counts, the unit hint starts from the curvature of the sphere, which is less.
    Testing::PlainParaboloid const first = Testing::plainParaboloidFit(exactBowl(0.25), alongZ, 1);
    EXPECT_NEAR(first.curvatureU, 1.0 / 4.25, 1e-9);
    EXPECT_FALSE(first.isConverged);
}

TEST(ParaboloidFit, LetsTheCurvatureStepFindWhatAZeroHintLeavesOut) {
    // With a hint of zero the curvature starts at 0 and has to come from the third step.
    SpacePoints points;
    Point const vertex(10000.0, -7000.0, 3000.0);
    points.push_back(vertex);
    for (int k = 0; k < 4; ++k) {
        double const a = k % 2 == 0 ? 800.0 - 100.0 * k : 0.0;
        double const b = k % 2 == 0 ? 0.0 : 700.0 - 50.0 * k;
        double const sign = k < 2 ? 1.0 : -1.0;
        points.push_back(vertex + Vector(sign * a, sign * b, 0.5 * 0.01 * (a * a + b * b)));
    }
    ParaboloidFit const first = fitWithin(1, points, Vector());
    EXPECT_GT(first.curvatureU, 0.0);
    ParaboloidFit const later = fitWithin(5000, points, Vector());
    EXPECT_NEAR(later.curvatureU, 0.01, 0.002);
    EXPECT_NEAR(later.curvatureV, 0.01, 0.002);
    EXPECT_TRUE(same(later, Testing::plainParaboloidFit(points, Vector(), 5000)));
}

TEST(ParaboloidFit, WithAZeroHintOfPointsInThePlaneIsThePlane) {
    SpacePoints const points = {{5.0, 5.0, 2.0}, {6.0, 5.0, 2.0}, {5.0, 9.0, 2.0}};
    ParaboloidFit const fit = fitParaboloid(points, Vector());
    EXPECT_TRUE(fit.isConverged);
    EXPECT_EQ(fit.curvatureU, 0.0);
    EXPECT_EQ(fit.curvatureV, 0.0);
    EXPECT_EQ(fit.vertex, points[0]);
}

TEST(ParaboloidFit, IsThePlainDescentToTheBit) {
    int converged = 0;
    int lost = 0;
    std::uint32_t maxPasses = 0;
    for (std::uint32_t seed = 0; seed < 120; ++seed) {
        SpacePoints const points = steepBowl(seed);
        Testing::PlainParaboloid const expected = Testing::plainParaboloidFit(points, alongZ, 12000);
        bool const isLost = std::isnan(expected.curvatureU) && std::isnan(expected.axisU.getdX()) &&
                            std::isnan(expected.vertex.getX());
        if (expected.isConverged || isLost) {
            converged += expected.isConverged ? 1 : 0;
            lost += isLost ? 1 : 0;
            maxPasses = std::max(maxPasses, expected.passes);
            ASSERT_TRUE(same(fitParaboloid(points, alongZ), expected)) << "seed " << seed;
        }
    }
    EXPECT_GE(converged, 10);
    EXPECT_GE(lost, 20) << "numbers that are none end it, since they stay";
    EXPECT_GE(maxPasses, 1000U);
}

static_assert(Utility::maxParaboloidPasses == 268435456);

/// A cloud whose fit comes back to a state every `period` passes, the first time before pass `from` (1: it
/// stays there).
struct RecurrentCloud {
    SpacePoints points;
    Vector axisHint;
    std::uint32_t from;
    std::uint32_t period;
};

std::vector<RecurrentCloud> recurrentClouds() {
    return {{{{0.0, 0.0, 3000.0}, {0.0, 0.0, 3100.0}}, Vector(), 2, 1},
            {steepBowl(0), alongZ, 60, 2},
            {steepBowl(7), alongZ, 8200, 13},
            {steepBowl(81), alongZ, 33000, 3},
            {steepBowl(32), alongZ, 57000, 2},
            {steepBowl(14), alongZ, 80000, 1}};
}

TEST(ParaboloidFit, IsThePlainDescentWhereverItIsCutOff) {
    for (RecurrentCloud const& cloud : recurrentClouds()) {
        std::vector<std::uint32_t> limits = {1, 2, 3, 4, 5, 31, 32, 33, cloud.from};
        for (std::uint32_t i = 0; i <= 2 * cloud.period && cloud.from < 50000; ++i) {
            limits.push_back(2 * cloud.from + i);
        }
        for (std::uint32_t const limit : limits) {
            Testing::PlainParaboloid const expected =
                Testing::plainParaboloidFit(cloud.points, cloud.axisHint, limit);
            ASSERT_FALSE(expected.isConverged);
            ASSERT_TRUE(same(fitWithin(limit, cloud.points, cloud.axisHint), expected))
                << cloud.points.size() << " points, " << limit << " passes";
        }
    }
}

TEST(ParaboloidFit, EndsAsAtItsLimitWhereItsStatesRecur) {
    std::uint32_t const limit = 268435456;
    for (RecurrentCloud const& cloud : recurrentClouds()) {
        std::uint32_t const early = cloud.from + (limit - cloud.from) % cloud.period;
        Testing::PlainParaboloid const expected =
            Testing::plainParaboloidFit(cloud.points, cloud.axisHint, early);
        ParaboloidFit const fit = fitParaboloid(cloud.points, cloud.axisHint);
        EXPECT_FALSE(fit.isConverged);
        EXPECT_TRUE(same(fit, expected)) << cloud.points.size() << " points";
    }
}

TEST(ParaboloidFit, GoesOnWhileOnlyTheVertexMoves) {
    SpacePoints const points = {{0.0, 0.0, 0.0}, {0.0, 0.0, 1e-7}};
    ParaboloidFit const fit = fitWithin(1000, points, Vector());
    EXPECT_FALSE(fit.isConverged);
    EXPECT_TRUE(same(fit, Testing::plainParaboloidFit(points, Vector(), 1000)));
    EXPECT_NEAR(fit.vertex.getZ(), 1000 * 2e-19, 1e-19);
    EXPECT_EQ(fit.axisN.getdZ(), 1.0);
    EXPECT_EQ(fit.curvatureU, 0.0);
    EXPECT_EQ(fit.curvatureV, 0.0);
}

/// Whether a fit from a zero hint ends with its first pass, or does not, as the plain one.
testing::AssertionResult endsAtOnce(SpacePoints const& points, bool isWanted) {
    ParaboloidFit const fit = fitWithin(2, points, Vector());
    std::uint32_t const passes = Testing::plainParaboloidFit(points, Vector(), 2).passes;
    if (fit.isConverged != isWanted || (passes == 1) != isWanted) {
        return testing::AssertionFailure() << "converged " << fit.isConverged << ", plain passes " << passes;
    }
    return same(fit, Testing::plainParaboloidFit(points, Vector(), 2));
}

TEST(ParaboloidFit, TakesStepsBelowItsToleranceForNone) {
    // The curvatures start at 0. A height h above the vertex moves it by 2e-12 h; beside it, at a distance a,
    // it turns the quaternion by 4e-12 a h and bends by 1e-12 a^2 h. A vertex at height 1 is held by its
    // float.
    double const h = 0x1p-23;
    for (double const share : {0.98, 1.02}) {
        double const change = share * 1e-24;
        bool const isNone = share < 1.0;
        EXPECT_TRUE(endsAtOnce({{0.0, 0.0, 0.0}, {0.0, 0.0, change / 2e-12}}, isNone)) << "vertex";
        double const a = change / (4e-12 * h);
        EXPECT_TRUE(endsAtOnce({{0.0, 0.0, 1.0}, {a, 0.0, 1.0 + h}}, isNone)) << "quaternion";
        // Two points whose turns cancel and whose bends add up.
        double const b = std::sqrt(change / (2e-12 * h));
        EXPECT_TRUE(endsAtOnce({{0.0, 0.0, 1.0}, {b, 0.0, 1.0 + h}, {-b, 0.0, 1.0 + h}}, isNone)) << "U";
        EXPECT_TRUE(endsAtOnce({{0.0, 0.0, 1.0}, {0.0, b, 1.0 + h}, {0.0, -b, 1.0 + h}}, isNone)) << "V";
    }
}

TEST(ParaboloidFit, HasOrthonormalAxes) {
    int turned = 0;
    for (std::uint32_t seed = 0; seed < 120; ++seed) {
        SpacePoints const points = steepBowl(seed);
        Testing::PlainParaboloid const expected = Testing::plainParaboloidFit(points, alongZ, 6000);
        // A few fits run away so far that the quaternion's squared length overflows before they come to rest.
        bool const didRunAway = std::abs(expected.curvatureU) > 1.0;
        if (expected.isConverged && !didRunAway) {
            ParaboloidFit const fit = fitParaboloid(points, alongZ);
            EXPECT_TRUE(isOrthonormal(fit, 1e-12)) << "seed " << seed;
            turned += std::abs(fit.axisN.getdZ()) < 1.0 - 1e-9 ? 1 : 0;
        }
    }
    EXPECT_GE(turned, 5);
}

TEST(ParaboloidFit, HasResidualsThatAreNeverNegative) {
    int positive = 0;
    for (std::uint32_t seed = 0; seed < 120; ++seed) {
        SpacePoints const points = steepBowl(seed);
        if (Testing::plainParaboloidFit(points, alongZ, 6000).isConverged) {
            for (double const residual : fitParaboloid(points, alongZ).residuals) {
                EXPECT_GE(residual, 0.0);
                positive += residual > 0.0 ? 1 : 0;
            }
        }
    }
    EXPECT_GE(positive, 10);
}

TEST(ParaboloidFit, WritesNothingBeyondItsOutputsWithoutRoomForResiduals) {
    SpacePoints const points = exactBowl(0x1p-30);
    ParaboloidFit fit;
    EXPECT_TRUE(Utility::getEllipticParaboloidFit(points.data(), points.size(), alongZ, fit.vertex, fit.axisU,
                                                  fit.axisV, fit.axisN, fit.curvatureU, fit.curvatureV,
                                                  nullptr));
    EXPECT_EQ(fit.curvatureU, 0x1p-30);
    std::vector<double> residuals(points.size() + 1, -9.0);
    EXPECT_TRUE(Utility::getEllipticParaboloidFit(points.data(), points.size(), alongZ, fit.vertex, fit.axisU,
                                                  fit.axisV, fit.axisN, fit.curvatureU, fit.curvatureV,
                                                  residuals.data()));
    EXPECT_EQ(residuals.back(), -9.0);
}

TEST(ParaboloidFit, OfARepeatedFirstPointIsNotANumber) {
    SpacePoints const points = {{1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}};
    ParaboloidFit const fit = fitParaboloid(points, alongZ);
    EXPECT_FALSE(fit.isConverged);
    EXPECT_TRUE(same(fit, Testing::plainParaboloidFit(points, alongZ, 100)));
    EXPECT_TRUE(std::isnan(fit.curvatureU));
}

TEST(ParaboloidFit, WithoutPointsOrWithOneReadsNothingElse) {
    ParaboloidFit const empty = fitParaboloid({}, alongZ);
    EXPECT_FALSE(empty.isConverged);
    EXPECT_TRUE(isOrthonormal(empty, 1e-15));
    ParaboloidFit const single = fitParaboloid({Point(1.0, 2.0, 3.0)}, alongZ);
    EXPECT_FALSE(single.isConverged);
    EXPECT_TRUE(std::isnan(single.residuals[0]));
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
