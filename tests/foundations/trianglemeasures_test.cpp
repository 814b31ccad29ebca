#include "Geometry/fitting/utility.h"

#include "tests/support/float_bits.h"

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using Testing::sameBits;

constexpr double infinity = std::numeric_limits<double>::infinity();

Point randomPoint(std::mt19937& generator, int range) {
    double const x = Testing::randomSpread(generator, range);
    double const y = Testing::randomSpread(generator, range);
    double const z = Testing::randomSpread(generator, range);
    return Point(x, y, z);
}

std::array<Point, 3> randomTriangle(std::mt19937& generator) {
    Point const a = randomPoint(generator, 5);
    Point const b = randomPoint(generator, 5);
    Point const c = randomPoint(generator, 5);
    return {a, b, c};
}

testing::AssertionResult is(Vector const& vector, double dX, double dY, double dZ) {
    for (testing::AssertionResult const& component :
         {sameBits(vector.getdX(), dX), sameBits(vector.getdY(), dY), sameBits(vector.getdZ(), dZ)}) {
        if (!component) {
            return component;
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult is(Point const& point, float x, float y, float z) {
    if (point.getX() == x && point.getY() == y && point.getZ() == z) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "(" << point.getX() << ", " << point.getY() << ", " << point.getZ() << ")";
}

Point const origin(0.0, 0.0, 0.0);
Point const onX(1.0, 0.0, 0.0);
Point const onY(0.0, 1.0, 0.0);

/// The measures of a triangle in the same order of operations, with every product and quotient stored.
struct SteppedMeasures {
    SteppedMeasures(Point const& a, Point const& b, Point const& c) {
        Vector const e1 = b - a;
        Vector const e2 = c - b;
        Vector const e3 = a - c;
        Vector const n = e1.cross(e2);
        double volatile area = n.lSqr() * 0.25;
        areaSqr = area;
        double volatile step = e1.lSqr() * 0.0625;
        step = step * e2.lSqr();
        step = step * e3.lSqr();
        step = step / n.lSqr();
        quarterCircumradiusSqr = step;
        double volatile perimeter = std::sqrt(e3.lSqr()) + std::sqrt(e2.lSqr());
        perimeter = perimeter + std::sqrt(e1.lSqr());
        double volatile twiceArea = std::sqrt(areaSqr) * 2.0;
        inradius = twiceArea / perimeter;
        normalLength = std::sqrt(n.lSqr());
    }

    double areaSqr;
    double quarterCircumradiusSqr;
    double inradius;
    double normalLength;
};

TEST(TriangleMeasures, TheNormalOfACounterClockwiseTrianglePointsUpAndTurnsWhenCornersSwap) {
    for (Vector const& normal : {Utility::twoATN(origin, onX, onY), Utility::twoATN(onX, onY, origin)}) {
        EXPECT_EQ(normal.getdX(), 0.0);
        EXPECT_EQ(normal.getdY(), 0.0);
        EXPECT_EQ(normal.getdZ(), 1.0);
    }
    EXPECT_EQ(Utility::twoATN(origin, onY, onX).getdZ(), -1.0);
    EXPECT_EQ(Utility::twoATN(onX, origin, onY).getdZ(), -1.0);
    EXPECT_EQ(Utility::twoATN(onY, onX, origin).getdZ(), -1.0);
}

TEST(TriangleMeasures, TheNormalIsTheProductOfTheFirstTwoEdges) {
    std::mt19937 generator(71);
    for (int i = 0; i < 1000; ++i) {
        auto const [a, b, c] = randomTriangle(generator);
        Vector const n = (b - a).cross(c - b);
        ASSERT_TRUE(is(Utility::twoATN(a, b, c), n.getdX(), n.getdY(), n.getdZ()));
    }
}

TEST(TriangleMeasures, AreasOfTheHalfUnitSquare) {
    EXPECT_EQ(Utility::ATSqr(origin, onX, onY), 0.25);
    EXPECT_EQ(Utility::twoAT(origin, onX, onY), 1.0);
}

TEST(TriangleMeasures, MeasuresAreEvaluatedInTheOrderTold) {
    std::mt19937 generator(72);
    for (int i = 0; i < 5000; ++i) {
        auto const [a, b, c] = randomTriangle(generator);
        SteppedMeasures const expected(a, b, c);
        ASSERT_TRUE(sameBits(Utility::ATSqr(a, b, c), expected.areaSqr));
        ASSERT_TRUE(sameBits(Utility::twoAT(a, b, c), expected.normalLength));
        ASSERT_TRUE(sameBits(Utility::rTSqr(a, b, c), expected.quarterCircumradiusSqr));
        ASSERT_TRUE(sameBits(Utility::rT(a, b, c), std::sqrt(expected.quarterCircumradiusSqr)));
        ASSERT_TRUE(sameBits(Utility::riT(a, b, c), expected.inradius));
    }
}

TEST(TriangleMeasures, EdgesHaveSinglePrecision) {
    Point const far(1e8, 0.0, 0.0);
    Point const near(0.0, 3.0, 0.0);
    EXPECT_EQ(Utility::twoAT(Point(1.0, 0.0, 0.0), far, near), 3e8) << "the step of 1e8 - 1 is lost in float";
}

TEST(TriangleMeasures, TheRadiusMeasureIsAQuarterOfTheSquaredCircumradius) {
    Point const a(0.0, 0.0, 0.0);
    Point const b(2.0, 0.0, 0.0);
    Point const c(0.0, 2.0, 0.0);
    EXPECT_EQ(Utility::rTSqr(a, b, c), 0.5);
    EXPECT_EQ(Utility::rT(a, b, c), std::sqrt(0.5));
}

TEST(TriangleMeasures, TheRadiusMeasureAgreesWithCornersOnAKnownCircle) {
    std::mt19937 generator(73);
    std::uniform_real_distribution<double> angles(0.0, 6.283185307179586);
    double const radius = 5.0;
    for (int i = 0; i < 300; ++i) {
        double const first = angles(generator);
        auto const corner = [&](double angle) {
            return Point(radius * std::cos(first + angle), radius * std::sin(first + angle), 1.0);
        };
        ASSERT_NEAR(Utility::rT(corner(0.0), corner(1.0), corner(3.0)), radius / 2.0, 1e-5);
    }
}

TEST(TriangleMeasures, TheInscribedCircleOfThreeFourFiveHasRadiusOne) {
    Point const c(0.0, 4.0, 0.0);
    EXPECT_EQ(Utility::riT(origin, Point(3.0, 0.0, 0.0), c), 1.0);
    EXPECT_EQ(Utility::riT(c, origin, Point(3.0, 0.0, 0.0)), 1.0);
}

TEST(TriangleMeasures, ADegenerateTriangleGivesAnInfinityOrANaN) {
    Point const onLine(2.0, 0.0, 0.0);
    EXPECT_EQ(Utility::rTSqr(origin, onX, onLine), infinity);
    EXPECT_EQ(Utility::rT(origin, onX, onLine), infinity);
    EXPECT_TRUE(std::isnan(Utility::rTSqr(onX, onX, onLine)));
    EXPECT_TRUE(std::isnan(Utility::rTSqr(onX, onX, onX)));
    EXPECT_TRUE(std::isnan(Utility::rT(onX, onX, onX)));
    EXPECT_EQ(Utility::ATSqr(origin, onX, onLine), 0.0);
    EXPECT_EQ(Utility::twoAT(origin, onX, onLine), 0.0);
    EXPECT_EQ(Utility::riT(origin, onX, onLine), 0.0);
    EXPECT_TRUE(std::isnan(Utility::riT(onX, onX, onX)));
}

TEST(WeightedSums, HalfWeightsGiveTheMidpointAndUnitWeightsTheSum) {
    Point const a(1.0, -2.0, 3.0);
    Point const b(5.0, 4.0, -1.0);
    EXPECT_TRUE(is(Utility::bary(a, b, 0.5, 0.5), 3.0F, 1.0F, 1.0F));
    EXPECT_TRUE(is(Utility::bary(a, b, 1.0, 1.0), 6.0F, 2.0F, 2.0F));
    EXPECT_TRUE(is(Utility::bary(a, b, 2.0, -1.0), -3.0F, -8.0F, 7.0F));
    EXPECT_TRUE(is(Utility::bary(a, b, Point(1.0, 10.0, 100.0), 1.0, 2.0, 3.0), 14.0F, 36.0F, 301.0F));
}

float steppedCoordinate(std::array<float, 3> const& coordinates, std::array<double, 3> const& weights) {
    double volatile first = weights[0] * static_cast<double>(coordinates[0]);
    double volatile second = weights[1] * static_cast<double>(coordinates[1]);
    double volatile third = weights[2] * static_cast<double>(coordinates[2]);
    double volatile sum = first + second;
    double volatile total = sum + third;
    return Testing::steppedFloat(total);
}

TEST(WeightedSums, AreTakenInDoublesInTheOrderOfThePointsAndRoundedOnce) {
    std::mt19937 generator(74);
    for (int i = 0; i < 5000; ++i) {
        auto const [a, b, c] = randomTriangle(generator);
        double const wa = Testing::randomSpread(generator, 3);
        double const wb = Testing::randomSpread(generator, 3);
        double const wc = Testing::randomSpread(generator, 3);
        Point const two = Utility::bary(a, b, wa, wb);
        Point const three = Utility::bary(a, b, c, wa, wb, wc);
        for (unsigned long k = 0; k < 3; ++k) {
            ASSERT_EQ(two.get(k), steppedCoordinate({a.get(k), b.get(k), 0.0F}, {wa, wb, 0.0}));
            ASSERT_EQ(three.get(k), steppedCoordinate({a.get(k), b.get(k), c.get(k)}, {wa, wb, wc}));
        }
    }
    Point const one(1.0, 1.0, 1.0);
    EXPECT_TRUE(is(Utility::bary(one, one, one, 1.0, 1e17, -1e17), 0.0F, 0.0F, 0.0F))
        << "a and b are joined first";
    EXPECT_TRUE(is(Utility::bary(one, one, one, 1e17, -1e17, 1.0), 1.0F, 1.0F, 1.0F));
}

TEST(SideOfAPlane, APointOnThePlaneIsNotAbove) {
    Vector const up(0.0, 0.0, 2.0);
    EXPECT_FALSE(Utility::isAbove(Point(5.0, 6.0, 1.0), Point(0.0, 0.0, 1.0), up));
    EXPECT_TRUE(Utility::isAbove(Point(5.0, 6.0, 1.5), Point(0.0, 0.0, 1.0), up));
    EXPECT_FALSE(Utility::isAbove(Point(5.0, 6.0, 0.5), Point(0.0, 0.0, 1.0), up));
    EXPECT_TRUE(Utility::isAbove(Point(5.0, 6.0, 0.5), Point(0.0, 0.0, 1.0), -up));
}

TEST(SideOfAPlane, WithoutANormalOrWithANaNNothingIsAbove) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(Utility::isAbove(onX, origin, Vector()));
    EXPECT_FALSE(Utility::isAbove(onX, origin, Vector(nan, 0.0, 0.0)));
}

TEST(Angles, AFullTurnIsTheDoubleNearestToTwoPi) {
    static_assert(Utility::twopi() == 6.283185307179586);
    EXPECT_EQ(Utility::twopi(), 2.0 * std::acos(-1.0));
}

TEST(Angles, ConversionsMultiplyFirst) {
    EXPECT_EQ(Utility::degToRad(360.0), 6.283185307179586);
    EXPECT_EQ(Utility::radToDeg(6.283185307179586), 360.0);
    EXPECT_EQ(Utility::degToRad(90.0), 6.283185307179586 / 4.0);
    std::mt19937 generator(75);
    bool doesOrderMatter = false;
    for (int i = 0; i < 1000; ++i) {
        double const angle = Testing::randomSpread(generator, 8);
        double volatile toRadians = angle * 6.283185307179586;
        double volatile toDegrees = angle * 360.0;
        ASSERT_TRUE(sameBits(Utility::degToRad(angle), toRadians / 360.0));
        ASSERT_TRUE(sameBits(Utility::radToDeg(angle), toDegrees / 6.283185307179586));
        doesOrderMatter = doesOrderMatter || toRadians / 360.0 != angle * (6.283185307179586 / 360.0);
    }
    EXPECT_TRUE(doesOrderMatter);
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
