#include "Geometry/search/internal/pairs.h"
#include "tests/support/float_bits.h"

#include <limits>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::DoublePair;
using Geometry::ThreeDimensional::QuadMesh::FloatPair;
using Geometry::ThreeDimensional::QuadMesh::PointPair;
using Geometry::ThreeDimensional::QuadMesh::VectorPair;
using SpacePoint = Geometry::ThreeDimensional::Point;
using SpaceVector = Geometry::ThreeDimensional::Vector;

/// Numbers of every size, and those that arithmetic treats in a way of their own.
std::vector<double> someNumbers() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> numbers{0.0,  -0.0,   1.0,     -1.0,  0.1,     infinity, -infinity, std::nan(""),
                                1e38, 3.5e38, -3.5e38, 1e-45, 0.7e-45, 1e308,    5e-324};
    std::mt19937 random(5);
    for (int i = 0; i < 60; ++i) {
        numbers.push_back(randomSpread(random, i < 30 ? 4 : 130));
    }
    return numbers;
}

testing::AssertionResult hasHalves(DoublePair const& pair, double first, double second) {
    testing::AssertionResult const same = sameBits(pair[0], first);
    return same ? sameBits(pair[1], second) : same;
}

/// Calls `visit` with two pairs of numbers, and with the numbers.
template <class Visit>
void forSomePairs(Visit visit) {
    std::vector<double> const numbers = someNumbers();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        for (std::size_t j = 0; j < numbers.size(); ++j) {
            visit(numbers[i], numbers[j], numbers[(i + 7) % numbers.size()],
                  numbers[(j + 3) % numbers.size()]);
        }
    }
}

SpaceVector randomVector(std::mt19937& random) {
    return {randomSpread(random, 10), randomSpread(random, 10), randomSpread(random, 10)};
}

SpacePoint randomPoint(std::mt19937& random) {
    return SpacePoint() + randomVector(random);
}

testing::AssertionResult areVectors(VectorPair const& pair, SpaceVector const& first,
                                    SpaceVector const& second) {
    for (auto const& same :
         {hasHalves(pair.x, first.getdX(), second.getdX()), hasHalves(pair.y, first.getdY(), second.getdY()),
          hasHalves(pair.z, first.getdZ(), second.getdZ())}) {
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

} // namespace

TEST(Pairs, ComputeEachHalfAsADoubleByItself) {
    forSomePairs([](double a, double b, double c, double d) {
        DoublePair const first(a, b);
        DoublePair const second(c, d);
        EXPECT_TRUE(hasHalves(first + second, a + c, b + d));
        EXPECT_TRUE(hasHalves(first - second, a - c, b - d));
        EXPECT_TRUE(hasHalves(first * second, a * c, b * d));
        EXPECT_TRUE(hasHalves(first / second, a / c, b / d));
        EXPECT_TRUE(hasHalves(first.getRoots(), std::sqrt(a), std::sqrt(b)));
        EXPECT_TRUE(hasHalves(first.swapped(), b, a));
        EXPECT_TRUE(hasHalves(first.firstWithSecondOf(second), a, d));
        EXPECT_TRUE(hasHalves(DoublePair(a), a, a));
    });
}

TEST(Pairs, TellTheSignsOfTheirHalves) {
    forSomePairs([](double a, double b, double, double) {
        DoublePair const pair(a, b);
        EXPECT_EQ(pair.getPositive(), (a > 0.0 ? 1 : 0) + (b > 0.0 ? 2 : 0));
        EXPECT_EQ(pair.getNegative(), (a < 0.0 ? 1 : 0) + (b < 0.0 ? 2 : 0));
    });
}

TEST(Pairs, RoundEachHalfToSinglePrecision) {
    forSomePairs([](double a, double b, double c, double d) {
        FloatPair const first = DoublePair(a, b).narrowed();
        FloatPair const second = DoublePair(c, d).narrowed();
        EXPECT_TRUE(hasHalves(DoublePair(first), steppedFloat(a), steppedFloat(b)));
        EXPECT_TRUE(hasHalves(DoublePair(first - second),
                              steppedFloatDifference(steppedFloat(a), steppedFloat(c)),
                              steppedFloatDifference(steppedFloat(b), steppedFloat(d))));
        EXPECT_TRUE(hasHalves(DoublePair(first + second), steppedFloatSum(steppedFloat(a), steppedFloat(c)),
                              steppedFloatSum(steppedFloat(b), steppedFloat(d))));
        EXPECT_TRUE(sameBits(first[0], steppedFloat(a)));
        EXPECT_TRUE(sameBits(first[1], steppedFloat(b)));
    });
}

TEST(Pairs, ComputeVectorsAndPointsAsEachByItself) {
    std::mt19937 random(6);
    for (int i = 0; i < 500; ++i) {
        SpaceVector const a = randomVector(random);
        SpaceVector const b = randomVector(random);
        SpaceVector const c = randomVector(random);
        SpaceVector const d = randomVector(random);
        VectorPair const first(a, b);
        VectorPair const second(c, d);
        EXPECT_TRUE(hasHalves(first.dot(second), a.dot(c), b.dot(d)));
        EXPECT_TRUE(hasHalves(first.dot(first), a.lSqr(), b.lSqr()));
        EXPECT_TRUE(areVectors(first.cross(second), a.cross(c), b.cross(d)));
        EXPECT_TRUE(areVectors(first * DoublePair(0.3, 7.0), 0.3 * a, 7.0 * b));
        EXPECT_TRUE(areVectors(first - second, a - c, b - d));
        EXPECT_TRUE(areVectors(first / DoublePair(0.3, 7.0), a / 0.3, b / 7.0));
        EXPECT_TRUE(areVectors(first.swapped(), b, a));
        EXPECT_TRUE(areVectors(first.firstWithSecondOf(second), a, d));
        EXPECT_TRUE(areVectors(VectorPair(a), a, a));

        SpacePoint const p = randomPoint(random);
        SpacePoint const q = randomPoint(random);
        EXPECT_TRUE(areVectors(PointPair(p, q) - PointPair(q, p), p - q, q - p));
        SpacePoint const origin;
        EXPECT_TRUE(
            areVectors(PointPair(p, first) - PointPair(origin, origin), (p + a) - origin, (p + b) - origin));
        SpacePoint const other = randomPoint(random);
        EXPECT_TRUE(hasHalves(PointPair(p, q).dSqr(other), p.dSqr(other), q.dSqr(other)));
    }
}

} // namespace QELT::Testing
