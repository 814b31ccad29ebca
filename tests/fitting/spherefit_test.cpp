#include "Geometry/fitting/utility.h"

#include "tests/fitting/fitchecks.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_fits.h"
#include "tests/support/watched.h"

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

struct SphereFit {
    Point centre{9.0, 9.0, 9.0};
    double radius = -9.0;
    std::vector<double> residuals;
    bool result = false;
};

SphereFit fitSphere(SpacePoints const& points) {
    SphereFit fit;
    fit.residuals.assign(points.size(), -9.0);
    fit.result =
        Utility::getSphereFit(points.data(), points.size(), fit.centre, fit.radius, fit.residuals.data());
    return fit;
}

testing::AssertionResult same(SphereFit const& fit, Testing::PlainSphere const& expected) {
    std::vector<testing::AssertionResult> checks = {sameBits(fit.radius, expected.radius),
                                                    sameBits(fit.centre.getX(), expected.centre.getX()),
                                                    sameBits(fit.centre.getY(), expected.centre.getY()),
                                                    sameBits(fit.centre.getZ(), expected.centre.getZ())};
    return allHold(std::move(checks), fit.residuals, expected.residuals);
}

SpacePoints octahedron(Point const& centre, double radius) {
    SpacePoints points;
    for (unsigned long axis = 0; axis < 3; ++axis) {
        points.push_back(centre + Vector(axis, radius));
        points.push_back(centre + Vector(axis, -radius));
    }
    return points;
}

/// Points in all directions, or of the upper half alone, at the radius but for the noise.
SpacePoints randomSphere(std::mt19937& generator, std::size_t count, Point const& centre, double radius,
                         double noise, bool isCap) {
    std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
    SpacePoints points;
    while (points.size() < count) {
        double const x = coordinate(generator);
        double const y = coordinate(generator);
        double const z = coordinate(generator);
        Vector const way(x, y, isCap ? 1.0 + std::abs(z) : z);
        double const distance = radius * (1.0 + noise * coordinate(generator));
        points.push_back(centre + distance * (way / std::sqrt(way.lSqr())));
    }
    return points;
}

TEST(SphereFit, OfASphereAroundItsCentroidIsExactAtOnce) {
    SpacePoints const points = octahedron(Point(3.0, -5.0, 7.0), 2.5);
    ASSERT_EQ(Testing::plainSphereFit(points).sweeps, 1U);
    SphereFit const fit = fitSphere(points);
    EXPECT_TRUE(fit.result);
    EXPECT_EQ(fit.centre, Point(3.0, -5.0, 7.0));
    EXPECT_EQ(fit.radius, 2.5);
    for (double const residual : fit.residuals) {
        EXPECT_EQ(residual, 0.0);
    }
}

TEST(SphereFit, OfACapMovesFromTheCentroidToTheTrueCentre) {
    std::mt19937 generator(1);
    SpacePoints const points = randomSphere(generator, 100, Point(1.0, 2.0, 3.0), 1.5, 0.0, true);
    SphereFit const fit = fitSphere(points);
    EXPECT_TRUE(fit.result);
    EXPECT_NEAR(fit.centre.getX(), 1.0, 1e-3);
    EXPECT_NEAR(fit.centre.getY(), 2.0, 1e-3);
    EXPECT_NEAR(fit.centre.getZ(), 3.0, 2e-3);
    EXPECT_NEAR(fit.radius, 1.5, 2e-3);
}

TEST(SphereFit, IsTrueAlsoWhenTheSweepsRunOut) {
    std::mt19937 generator(2);
    SpacePoints const points = randomSphere(generator, 4, Point(0.3, 0.1, -0.2), 0.7, 0.05, true);
    Testing::PlainSphere const expected = Testing::plainSphereFit(points);
    ASSERT_EQ(expected.sweeps, 524288U);
    SphereFit const fit = fitSphere(points);
    EXPECT_TRUE(fit.result);
    EXPECT_TRUE(same(fit, expected));
}

TEST(SphereFit, StopsByItsTolerancesWhereThePlainDescentDoes) {
    // Descents that stop within the sweeps while the radius still moves: one sweep more or less shows.
    for (std::uint32_t const seed : {0U, 6U, 82U}) {
        std::mt19937 generator(seed);
        SpacePoints const points = randomSphere(generator, 4, Point(), 1.0, 0.0, false);
        Testing::PlainSphere const expected = Testing::plainSphereFit(points);
        ASSERT_LT(expected.sweeps, 100000U);
        EXPECT_TRUE(same(fitSphere(points), expected)) << "seed " << seed;
    }
}

TEST(SphereFit, HasUnsignedDistancesToTheSurfaceAsResiduals) {
    SpacePoints points = octahedron(Point(), 1.0);
    for (Point const& outer : octahedron(Point(), 1.5)) {
        points.push_back(outer);
    }
    SphereFit const fit = fitSphere(points);
    EXPECT_EQ(fit.centre, Point());
    EXPECT_EQ(fit.radius, 1.25);
    for (double const residual : fit.residuals) {
        EXPECT_EQ(residual, 0.25);
    }
}

TEST(SphereFit, NeedsNoRoomForResiduals) {
    SpacePoints const points = octahedron(Point(1.0, 1.0, 1.0), 2.0);
    Point centre;
    double radius = 0.0;
    EXPECT_TRUE(Utility::getSphereFit(points.data(), points.size(), centre, radius, nullptr));
    EXPECT_EQ(centre, Point(1.0, 1.0, 1.0));
    EXPECT_EQ(radius, 2.0);
}

TEST(SphereFit, UsesOnlyAsManyPointsAsItIsTold) {
    SpacePoints points = octahedron(Point(1.0, 1.0, 1.0), 2.0);
    points.emplace_back(100.0, 100.0, 100.0);
    Point centre;
    double radius = 0.0;
    std::vector<double> residuals(7, -9.0);
    EXPECT_TRUE(Utility::getSphereFit(points.data(), 6, centre, radius, residuals.data()));
    EXPECT_EQ(radius, 2.0);
    EXPECT_EQ(residuals[5], 0.0);
    EXPECT_EQ(residuals[6], -9.0);
}

TEST(SphereFit, WithoutPointsOrWithOneReadsNothingElseAndIsNotANumber) {
    Point centre;
    double radius = 0.0;
    EXPECT_TRUE(Utility::getSphereFit(nullptr, 0, centre, radius, nullptr));
    EXPECT_TRUE(std::isnan(centre.getX()));
    EXPECT_TRUE(std::isnan(radius));
    SphereFit const single = fitSphere({Point(1.0, 2.0, 3.0)});
    EXPECT_TRUE(single.result);
    EXPECT_TRUE(std::isnan(single.radius));
}

TEST(SphereFit, WithAPointAtTheCentreIsNotANumber) {
    SpacePoints points = octahedron(Point(), 1.0);
    points.emplace_back();
    SphereFit const fit = fitSphere(points);
    EXPECT_TRUE(fit.result);
    EXPECT_TRUE(std::isnan(fit.radius));
    EXPECT_TRUE(std::isnan(fit.centre.getX()) && std::isnan(fit.centre.getY()) &&
                std::isnan(fit.centre.getZ()));
    EXPECT_TRUE(same(fit, Testing::plainSphereFit(points)));
}

TEST(SphereFit, TakesStepsThatGrowWithTheNumberOfPoints) {
    // 1001 points make the radius overshoot: its error turns over and grows.
    std::mt19937 generator(3);
    SpacePoints const points = randomSphere(generator, 1001, Point(), 1.0, 0.01, false);
    SphereFit const fit = fitSphere(points);
    EXPECT_TRUE(fit.result);
    EXPECT_FALSE(std::abs(fit.radius - 1.0) < 0.1);
}

TEST(SphereFit, DivergesWith1010PointsAndMore) {
    for (std::size_t const count : {1010U, 1500U}) {
        std::mt19937 generator(5);
        SphereFit const fit =
            fitSphere(randomSphere(generator, count, Point(1.0, 2.0, 3.0), 10.0, 0.0, false));
        EXPECT_TRUE(fit.result);
        EXPECT_TRUE(std::isnan(fit.radius) && std::isnan(fit.centre.getX())) << count << " points";
    }
}

TEST(SphereFit, OfANarrowCapDivergesAbove500Points) {
    auto const fitCap = [](std::size_t count) {
        std::mt19937 generator(6);
        std::uniform_real_distribution<double> height(std::cos(0.3), 1.0);
        std::uniform_real_distribution<double> turn(0.0, Utility::twopi());
        SpacePoints points;
        for (std::size_t i = 0; i < count; ++i) {
            double const z = height(generator);
            double const angle = turn(generator);
            double const r = std::sqrt(1.0 - z * z);
            points.push_back(Point(10.0 * r * std::cos(angle), 10.0 * r * std::sin(angle), 10.0 * z));
        }
        return fitSphere(points);
    };
    EXPECT_NEAR(fitCap(490).radius, 10.0, 0.01);
    if (!Testing::isWatched) { // takes all of the steps, of 600 points each
        EXPECT_FALSE(std::abs(fitCap(600).radius - 10.0) < 1.0);
    }
}

TEST(SphereFit, IsThePlainDescentToTheBit) {
    std::mt19937 generator(4);
    for (std::size_t i = 0; i < (Testing::isWatched ? 8U : 18U); ++i) {
        double const size = std::exp2(static_cast<double>(i % 5) * 4.0 - 8.0);
        Point const centre(size, i % 2 == 0 ? 0.0 : 2.0 * size, -0.5 * size);
        SpacePoints const points =
            randomSphere(generator, 2 + i % 5, centre, size, i % 3 == 0 ? 0.0 : 0.02, i % 2 == 0);
        ASSERT_TRUE(same(fitSphere(points), Testing::plainSphereFit(points))) << "case " << i;
    }
}

TEST(SphereFit, OfDegenerateCloudsIsThePlainDescentToTheBit) {
    std::vector<SpacePoints> const clouds = {
        {{1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}},
        {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {3.0, 0.0, 0.0}},
        {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {1.0, 1.0, 0.0}},
        {{1e30, 0.0, 0.0}, {-1e30, 0.0, 0.0}, {0.0, 1e30, 0.0}},
        {{3e38, 0.0, 0.0}, {-3e38, 1.0, 0.0}},
        {{1e-40, 0.0, 0.0}, {0.0, 1e-42, 0.0}, {0.0, 0.0, 3e-41}},
    };
    for (std::size_t i = 0; i < clouds.size(); ++i) {
        ASSERT_TRUE(same(fitSphere(clouds[i]), Testing::plainSphereFit(clouds[i]))) << "cloud " << i;
    }
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
