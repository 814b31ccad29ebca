#include "Geometry/fitting/internal/cylinderfitfunction.h"
#include "Geometry/fitting/utility.h"

#include "tests/fitting/fitchecks.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridchecks.h"
#include "tests/support/plain_fits.h"
#include "tests/support/watched.h"

#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using Testing::allHold;
using Testing::sameBits;
using Testing::SixValues;
using Testing::SpacePoints;
using Testing::SpaceVectors;

struct CylinderCloud {
    SpacePoints points;
    SpaceVectors normals;
    Point axisPoint;
    Vector direction;
    double radius = 0.0;
};

double lengthOf(Vector const& v) {
    return std::sqrt(v.lSqr());
}

/// A cylinder somewhere in the unit cube (0, 2), so that the fixed start is near; normals of either sense and
/// of a length other than 1.
CylinderCloud randomCylinder(std::uint32_t seed, std::size_t count, double noise) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    auto const next = [&] { return number(generator); };
    CylinderCloud cloud;
    double const dX = 1.0 + next();
    double const dY = 1.0 + next();
    double const dZ = 1.0 + next();
    cloud.direction = Vector(dX, dY, dZ) / lengthOf(Vector(dX, dY, dZ));
    Vector const helper = cloud.direction.getdX() < 0.7 ? Vector(1.0, 0.0, 0.0) : Vector(0.0, 1.0, 0.0);
    Vector const across = cloud.direction.cross(helper) / lengthOf(cloud.direction.cross(helper));
    Vector const third = cloud.direction.cross(across);
    cloud.radius = 1.0 + 0.5 * next();
    double const x = next();
    double const y = next();
    double const z = next();
    cloud.axisPoint = Point(1.0 + 0.5 * x, 1.0 + 0.5 * y, 1.0 + 0.5 * z);
    for (std::size_t i = 0; i < count; ++i) {
        double const turn = 3.14 * next();
        double const along = 2.0 * next();
        Vector const radial = std::cos(turn) * across + std::sin(turn) * third;
        double const distance = cloud.radius * (1.0 + noise * next());
        cloud.points.push_back(cloud.axisPoint + (along * cloud.direction + distance * radial));
        cloud.normals.push_back((seed % 2 == 0 ? 1.0 : -1.5) * radial);
    }
    return cloud;
}

struct CylinderFit {
    Point axisPoint{9.0, 9.0, 9.0};
    Vector axisDirection{9.0, 9.0, 9.0};
    double radius = -9.0;
    std::vector<double> residuals;
    bool isConverged = false;
};

CylinderFit fitCylinder(SpacePoints const& points, SpaceVectors const& normals) {
    CylinderFit fit;
    fit.residuals.assign(points.size(), -9.0);
    fit.isConverged = Utility::getCylinderFit(points.data(), normals.data(), points.size(), fit.axisPoint,
                                              fit.axisDirection, fit.radius, fit.residuals.data());
    return fit;
}

/// The fit ended after so many steps.
CylinderFit fitWithin(std::uint32_t maxSteps, SpacePoints const& points, SpaceVectors const& normals) {
    CylinderFit fit;
    fit.residuals.assign(points.size(), -9.0);
    fit.isConverged =
        Utility::fitCylinder(points.data(), normals.data(), points.size(), fit.axisPoint, fit.axisDirection,
                             fit.radius, fit.residuals.data(), static_cast<int>(maxSteps));
    return fit;
}

testing::AssertionResult same(CylinderFit const& fit, Testing::PlainCylinder const& expected) {
    if (fit.isConverged != expected.isConverged) {
        return testing::AssertionFailure() << "converged: " << fit.isConverged;
    }
    std::vector<testing::AssertionResult> checks = {sameBits(fit.radius, expected.radius)};
    for (unsigned long k = 0; k < 3; ++k) {
        checks.push_back(sameBits(fit.axisPoint.get(k), expected.axisPoint.get(k)));
        checks.push_back(sameBits(fit.axisDirection.get(k), expected.axisDirection.get(k)));
    }
    return allHold(std::move(checks), fit.residuals, expected.residuals);
}

LinearAlgebra::Vector sixOf(SixValues const& values) {
    LinearAlgebra::Vector x(6);
    for (unsigned long k = 0; k < 6; ++k) {
        x.set(k, values[k]);
    }
    return x;
}

CylinderFitFunction functionOf(SpacePoints const& points, SpaceVectors const& normals) {
    return {static_cast<std::uint32_t>(points.size()), points.data(), normals.data()};
}

TEST(CylinderFitFunction, RefusesVectorsThatHaveNotSixComponents) {
    CylinderCloud const cloud = randomCylinder(1, 5, 0.0);
    CylinderFitFunction function = functionOf(cloud.points, cloud.normals);
    for (unsigned long const count : {0UL, 5UL, 7UL}) {
        LinearAlgebra::Vector x(count);
        x.zero();
        EXPECT_EQ(Testing::messageOf([&] { function.getValue(x); }), "Invalid number of domain dimensions");
        EXPECT_EQ(Testing::messageOf([&] { function.getGradient(x); }),
                  "Invalid number of domain dimensions");
    }
}

TEST(CylinderFitFunction, IsAskedThroughItsBase) {
    CylinderCloud const cloud = randomCylinder(1, 5, 0.0);
    std::unique_ptr<RealValuedVectorFunction> const function =
        std::make_unique<CylinderFitFunction>(5U, cloud.points.data(), cloud.normals.data());
    SixValues const x = {0.5, 0.25, 2.0, 1.0, -1.0, 3.0};
    EXPECT_TRUE(
        sameBits(function->getValue(sixOf(x)), Testing::plainCylinderValue(cloud.points, cloud.normals, x)));
    EXPECT_EQ(function->getGradient(sixOf(x)).getNumberOfValues(), 6U);
}

TEST(CylinderFitFunction, VanishesOnAPerfectCylinderAtItsAxis) {
    SpacePoints const points = {{2.0, 0.0, 0.0}, {0.0, 2.0, 1.0}, {-2.0, 0.0, 2.0}, {0.0, -2.0, 5.0}};
    SpaceVectors const normals = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {-3.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
    CylinderFitFunction function = functionOf(points, normals);
    for (SixValues const& axis : {SixValues{0.0, 0.0, 0.0, 0.0, 0.0, 1.0}, {0.0, 0.0, 7.0, 0.0, 0.0, -4.0}}) {
        EXPECT_EQ(function.getValue(sixOf(axis)), 0.0);
        EXPECT_EQ(function.getGradient(sixOf(axis)).normL2Sqr(), 0.0);
    }
}

TEST(CylinderFitFunction, ComparesEachDistanceWithTheNextAndTheLastWithTheFirst) {
    SpacePoints const points = {{1.0, 0.0, 0.0}, {3.0, 0.0, 1.0}, {7.0, 0.0, 2.0}};
    SpaceVectors const normals(3, Vector(1.0, 0.0, 0.0));
    SixValues const axis = {0.0, 0.0, 0.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(functionOf(points, normals).getValue(sixOf(axis)), 4.0 + 16.0 + 36.0);
}

TEST(CylinderFitFunction, CountsNormalsThatMissTheAxis) {
    SpacePoints const points = {{2.0, 0.0, 0.0}, {0.0, 2.0, 0.0}};
    SpaceVectors const normals = {{0.0, 3.0, 0.0}, {0.0, 1.0, 0.0}};
    SixValues const axis = {0.0, 0.0, 0.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(functionOf(points, normals).getValue(sixOf(axis)), 36.0);
}

SixValues randomSix(std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    SixValues x{};
    for (double& value : x) {
        value = number(generator);
    }
    return x;
}

TEST(CylinderFitFunction, IsThePlainSumToTheBit) {
    std::mt19937 generator(5);
    for (std::uint32_t i = 0; i < 300; ++i) {
        CylinderCloud const cloud = randomCylinder(i, 1 + i % 7, 0.1);
        SixValues const x = randomSix(generator);
        CylinderFitFunction function = functionOf(cloud.points, cloud.normals);
        ASSERT_TRUE(sameBits(function.getValue(sixOf(x)),
                             Testing::plainCylinderValue(cloud.points, cloud.normals, x)));
        LinearAlgebra::Vector const gradient = function.getGradient(sixOf(x));
        SixValues const expected = Testing::plainCylinderGradient(cloud.points, cloud.normals, x);
        for (unsigned long k = 0; k < 6; ++k) {
            ASSERT_TRUE(sameBits(gradient.get(k), expected[k])) << "case " << i << ", component " << k;
        }
    }
}

TEST(CylinderFitFunction, HasTheGradientOfItsValue) {
    std::mt19937 generator(6);
    for (std::uint32_t i = 0; i < 50; ++i) {
        CylinderCloud const cloud = randomCylinder(i, 6, 0.1);
        SixValues x = randomSix(generator);
        for (std::size_t k = 0; k < 3; ++k) {
            // The point of the axis is rounded to floats: differences are taken between floats.
            x[k] = static_cast<double>(static_cast<float>(x[k]));
        }
        CylinderFitFunction function = functionOf(cloud.points, cloud.normals);
        LinearAlgebra::Vector const gradient = function.getGradient(sixOf(x));
        for (std::size_t k = 0; k < 6; ++k) {
            double const step = k < 3 ? 0x1p-9 : 1e-4;
            SixValues high = x;
            SixValues low = x;
            high[k] += step;
            low[k] -= step;
            double const slope =
                (function.getValue(sixOf(high)) - function.getValue(sixOf(low))) / (2.0 * step);
            double const tolerance = 2e-3 * (1.0 + std::sqrt(gradient.normL2Sqr()));
            EXPECT_NEAR(gradient.get(k), slope, tolerance) << "case " << i << ", component " << k;
        }
    }
}

TEST(CylinderFit, FindsAPerfectCylinder) {
    for (std::uint32_t const seed : {4U, 6U, 8U, 9U, 10U}) {
        CylinderCloud const cloud = randomCylinder(seed, 12, 0.0);
        CylinderFit const fit = fitCylinder(cloud.points, cloud.normals);
        EXPECT_TRUE(fit.isConverged);
        EXPECT_NEAR(fit.radius, cloud.radius, 1e-3);
        EXPECT_NEAR(std::abs(fit.axisDirection.dot(cloud.direction)), 1.0, 1e-5);
        Vector const aside = (fit.axisPoint - cloud.axisPoint).cross(cloud.direction);
        EXPECT_LT(lengthOf(aside), 1e-3);
    }
}

TEST(CylinderFit, HasAUnitDirectionThatRunsWithTheFirstTwoPoints) {
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        CylinderCloud cloud = randomCylinder(seed, 8, 0.01);
        for (int i = 0; i < 2; ++i) {
            CylinderFit const fit = fitCylinder(cloud.points, cloud.normals);
            EXPECT_NEAR(fit.axisDirection.lSqr(), 1.0, 1e-12);
            EXPECT_GE(fit.axisDirection.dot(cloud.points[1] - cloud.points[0]), 0.0);
            std::swap(cloud.points[0], cloud.points[1]);
            std::swap(cloud.normals[0], cloud.normals[1]);
        }
    }
}

TEST(CylinderFit, HasTheFootOfTheFirstPointAsAxisPoint) {
    CylinderCloud const cloud = randomCylinder(3, 8, 0.0);
    CylinderFit const fit = fitCylinder(cloud.points, cloud.normals);
    EXPECT_NEAR((cloud.points[0] - fit.axisPoint).dot(fit.axisDirection), 0.0, 1e-6);
}

TEST(CylinderFit, HasUnsignedDifferencesFromTheMeanRadiusAsResiduals) {
    CylinderCloud const cloud = randomCylinder(6, 10, 0.05);
    CylinderFit const fit = fitCylinder(cloud.points, cloud.normals);
    double sum = 0.0;
    for (std::size_t i = 0; i < cloud.points.size(); ++i) {
        Vector const way = cloud.points[i] - fit.axisPoint;
        double const distance = lengthOf(way.cross(fit.axisDirection));
        EXPECT_NEAR(fit.residuals[i], std::abs(distance - fit.radius), 1e-6);
        EXPECT_GE(fit.residuals[i], 0.0);
        sum += distance;
    }
    EXPECT_NEAR(fit.radius, sum / 10.0, 1e-6);
}

TEST(CylinderFit, NeedsNoRoomForResiduals) {
    CylinderCloud const cloud = randomCylinder(6, 10, 0.05);
    CylinderFit const expected = fitCylinder(cloud.points, cloud.normals);
    CylinderFit fit;
    EXPECT_TRUE(Utility::getCylinderFit(cloud.points.data(), cloud.normals.data(), 10, fit.axisPoint,
                                        fit.axisDirection, fit.radius, nullptr));
    EXPECT_TRUE(sameBits(fit.radius, expected.radius));
    EXPECT_EQ(fit.axisPoint, expected.axisPoint);
}

TEST(CylinderFit, IsThePlainDescentToTheBit) {
    int compared = 0;
    for (std::uint32_t i = 0; i < 48; ++i) {
        CylinderCloud const cloud = randomCylinder(i, 2 + i % 11, 0.01 * (i % 3));
        Testing::PlainCylinder const expected = Testing::plainCylinderFit(cloud.points, cloud.normals, 12000);
        if (expected.isConverged) {
            ++compared;
            ASSERT_TRUE(same(fitCylinder(cloud.points, cloud.normals), expected)) << "case " << i;
        }
    }
    EXPECT_GE(compared, 40);
}

TEST(CylinderFit, IsThePlainDescentWhereverItIsCutOff) {
    for (std::uint32_t i = 0; i < 12; ++i) {
        CylinderCloud const cloud = randomCylinder(i, 2 + i, 0.01);
        for (std::uint32_t const limit : {1U, 2U, 3U, 10U, 57U}) {
            Testing::PlainCylinder const expected =
                Testing::plainCylinderFit(cloud.points, cloud.normals, limit);
            ASSERT_FALSE(expected.isConverged);
            ASSERT_TRUE(same(fitWithin(limit, cloud.points, cloud.normals), expected))
                << "case " << i << ", " << limit << " steps";
        }
    }
}

static_assert(Utility::maxCylinderSteps == 4194304);

TEST(CylinderFit, AnswersFalseWithItsOutputsWrittenWhenTheStepsRunOut) {
    // The points lie at right angles to the starting axis, on both sides of the plane in which the normals
    // have their foot. Squared normals of 1000 in all would let each step of 0.001 throw the axis to the
    // other side of it, as far as it was before; a little less, and it swings down slowly.
    Vector const across(1.0, -1.0, 0.0);
    Vector const aside(2.0, 2.0, -4.0);
    Point const start(1.0, 1.0, 1.0);
    SpacePoints const points = {start + (0.25 * across + aside), start + (-0.25 * across + aside)};
    SpaceVectors const normals = {20.0 * across, 10.0 * (1.0 - 0x1p-21) * across};
    constexpr std::uint32_t limit = Testing::isWatched ? 65536 : Utility::maxCylinderSteps;
    Testing::PlainCylinder const expected = Testing::plainCylinderFit(points, normals, limit);
    ASSERT_EQ(expected.iterations, limit);
    CylinderFit const fit =
        Testing::isWatched ? fitWithin(limit, points, normals) : fitCylinder(points, normals);
    EXPECT_FALSE(fit.isConverged);
    EXPECT_TRUE(same(fit, expected));
}

TEST(CylinderFit, StopsAtTheFirstNumberThatIsNone) {
    // The fixed start has the point (1, 1, 1) on its axis.
    SpacePoints const points = {{1.0, 1.0, 1.0}, {3.0, 0.0, 0.0}, {0.0, 2.0, 0.0}};
    SpaceVectors const normals(3, Vector(1.0, 0.0, 0.0));
    Testing::PlainCylinder const expected = Testing::plainCylinderFit(points, normals);
    ASSERT_EQ(expected.iterations, 1U);
    CylinderFit const fit = fitCylinder(points, normals);
    EXPECT_FALSE(fit.isConverged);
    EXPECT_TRUE(std::isnan(fit.radius));
    EXPECT_TRUE(same(fit, expected));
}

TEST(CylinderFit, RunsAwayFromLargeCloudsAsThePlainDescent) {
    CylinderCloud cloud = randomCylinder(5, 9, 0.0);
    for (Point& p : cloud.points) {
        p = Point() + 1e30 * (p - Point());
    }
    Testing::PlainCylinder const expected = Testing::plainCylinderFit(cloud.points, cloud.normals, 12000);
    ASSERT_LT(expected.iterations, 12000U) << "a value that is none ends it";
    EXPECT_TRUE(same(fitCylinder(cloud.points, cloud.normals), expected));
}

TEST(CylinderFit, WithoutPointsOrWithOneReadsNothingElse) {
    CylinderFit empty;
    EXPECT_TRUE(Utility::getCylinderFit(nullptr, nullptr, 0, empty.axisPoint, empty.axisDirection,
                                        empty.radius, nullptr))
        << "nothing moves the start";
    EXPECT_TRUE(std::isnan(empty.radius));
    CylinderFit const single = fitCylinder({Point(3.0, 0.0, 0.0)}, {Vector(1.0, 0.0, 0.0)});
    EXPECT_EQ(single.residuals.size(), 1U);
    EXPECT_EQ(single.residuals[0], 0.0) << "the mean of one distance";
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
