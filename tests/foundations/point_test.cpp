#include "Geometry/foundations/point.h"

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/plane.h"
#include "tests/support/float_bits.h"

#include <array>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace QELT::Geometry {
namespace {

using Testing::sameBits;
using Testing::steppedFloat;
using Testing::steppedFloatDifference;
using Testing::steppedFloatSum;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

using IntPoint = TwoDimensional::Point<int>;
using SizePoint = TwoDimensional::Point<unsigned long>;
using RealPoint = TwoDimensional::Point<double>;
using ThreeDimensional::Plane;
using ThreeDimensional::Point;
using ThreeDimensional::Vector;
using ThreeDimensional::BinarySpacePartition::Object;

static_assert(std::has_virtual_destructor_v<IntPoint> && std::has_virtual_destructor_v<SizePoint> &&
              std::has_virtual_destructor_v<RealPoint> && std::has_virtual_destructor_v<Point> &&
              std::has_virtual_destructor_v<Object>);
static_assert(std::is_base_of_v<Object, Point> && std::is_abstract_v<Object>);
static_assert(sizeof(SizePoint{}.u) == 4, "extents are kept in 32 bits");
static_assert(std::is_same_v<decltype(Point{}.x), float>);
static_assert(std::is_same_v<decltype(Point{}.getX()), float> &&
              std::is_same_v<decltype(Point{}.get(0)), float>);
static_assert(std::is_same_v<decltype(Point{}.dSqr(Point{})), double>);

template <class T>
class FlatPoint : public testing::Test {};

using FlatPointTypes = testing::Types<int, unsigned long, double>;
TYPED_TEST_SUITE(FlatPoint, FlatPointTypes);

template <class T>
testing::AssertionResult has(TwoDimensional::Point<T> const& point, T u, T v) {
    if (point.getU() == u && point.getV() == v) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "(" << point.getU() << ", " << point.getV() << ")";
}

TYPED_TEST(FlatPoint, StartsAtTheOrigin) {
    EXPECT_TRUE(has<TypeParam>(TwoDimensional::Point<TypeParam>(), 0, 0));
}

TYPED_TEST(FlatPoint, StoresWhatItIsGiven) {
    TwoDimensional::Point<TypeParam> point(3, 4);
    EXPECT_TRUE(has<TypeParam>(point, 3, 4));
    point.set(5, 6);
    EXPECT_TRUE(has<TypeParam>(point, 5, 6));
    point.set(std::pair<TypeParam, TypeParam>(7, 8));
    EXPECT_TRUE(has<TypeParam>(point, 7, 8));
    point.setU(1);
    EXPECT_TRUE(has<TypeParam>(point, 1, 8));
    point.setV(2);
    EXPECT_TRUE(has<TypeParam>(point, 1, 2));
    TwoDimensional::Point<TypeParam> copy(point);
    EXPECT_TRUE(has<TypeParam>(copy, 1, 2));
    copy.set(TwoDimensional::Point<TypeParam>(3, 4));
    EXPECT_TRUE(has<TypeParam>(copy, 3, 4));
    point = copy;
    EXPECT_TRUE(has<TypeParam>(point, 3, 4));
}

TYPED_TEST(FlatPoint, GetReadsUForEvenIndicesAndVForOdd) {
    TwoDimensional::Point<TypeParam> const point(1, 2);
    EXPECT_EQ(point.get(0), TypeParam(1));
    EXPECT_EQ(point.get(1), TypeParam(2));
    EXPECT_EQ(point.get(2), TypeParam(1));
    EXPECT_EQ(point.get(3), TypeParam(2));
    EXPECT_EQ(point.get(0xFFFFFFFEUL), TypeParam(1));
    EXPECT_EQ(point.get(0xFFFFFFFFUL), TypeParam(2));
}

TYPED_TEST(FlatPoint, SetiWritesBothCoordinatesForEvenIndicesFromTwoOn) {
    auto const after = [](unsigned long i, TypeParam value) {
        TwoDimensional::Point<TypeParam> point(1, 2);
        point.seti(i, value);
        return point;
    };
    EXPECT_TRUE(has<TypeParam>(after(0, 9), 9, 2));
    EXPECT_TRUE(has<TypeParam>(after(1, 9), 1, 9));
    EXPECT_TRUE(has<TypeParam>(after(2, 9), 9, 9));
    EXPECT_TRUE(has<TypeParam>(after(3, 7), 1, 7));
    EXPECT_TRUE(has<TypeParam>(after(4, 7), 7, 7));
    EXPECT_TRUE(has<TypeParam>(after(0xFFFFFFFEUL, 7), 7, 7));
    EXPECT_TRUE(has<TypeParam>(after(0xFFFFFFFFUL, 7), 1, 7));
}

TYPED_TEST(FlatPoint, EqualityComparesBothCoordinates) {
    TwoDimensional::Point<TypeParam> const point(1, 2);
    EXPECT_TRUE(point == (TwoDimensional::Point<TypeParam>(1, 2)));
    EXPECT_FALSE(point != (TwoDimensional::Point<TypeParam>(1, 2)));
    EXPECT_FALSE(point == (TwoDimensional::Point<TypeParam>(1, 3)));
    EXPECT_TRUE(point != (TwoDimensional::Point<TypeParam>(1, 3)));
    EXPECT_FALSE(point == (TwoDimensional::Point<TypeParam>(0, 2)));
}

TYPED_TEST(FlatPoint, AVectorMovesIt) {
    using P = TwoDimensional::Point<TypeParam>;
    TwoDimensional::Vector<TypeParam> const step(2, 3);
    EXPECT_TRUE(has<TypeParam>(P(5, 6) + step, 7, 9));
    EXPECT_TRUE(has<TypeParam>(P(5, 6) - step, 3, 3));
    P point(5, 6);
    EXPECT_EQ(&(point += step), &point);
    EXPECT_TRUE(has<TypeParam>(point, 7, 9));
    EXPECT_EQ(&(point -= step), &point);
    EXPECT_TRUE(has<TypeParam>(point, 5, 6));
}

TYPED_TEST(FlatPoint, ADifferenceLeadsFromTheArgumentToThisPoint) {
    using P = TwoDimensional::Point<TypeParam>;
    TwoDimensional::Vector<TypeParam> const difference = P(5, 9) - P(2, 3);
    EXPECT_EQ(difference.getdU(), TypeParam(3));
    EXPECT_EQ(difference.getdV(), TypeParam(6));
    EXPECT_EQ(P(5, 9).dSqr(P(2, 3)), TypeParam(45));
    EXPECT_EQ(P(2, 3).dSqr(P(5, 9)), TypeParam(45));
    EXPECT_EQ(P::sqr(TypeParam(5)), TypeParam(25));
}

TYPED_TEST(FlatPoint, MaximumAndMinimumAreTakenByCoordinate) {
    using P = TwoDimensional::Point<TypeParam>;
    P point(5, 5);
    point.setMax(P(4, 6));
    EXPECT_TRUE(has<TypeParam>(point, 5, 6));
    point.setMin(P(4, 7));
    EXPECT_TRUE(has<TypeParam>(point, 4, 6));
}

TYPED_TEST(FlatPoint, ItsBoxIsItselfWithoutExtent) {
    auto const box = TwoDimensional::Point<TypeParam>(3, 4).getBoundingBox();
    EXPECT_TRUE(has<TypeParam>(box.getp(), 3, 4));
    EXPECT_TRUE(box.getd().getIsNull());
}

TEST(FlatIntPoint, ArithmeticWrapsAround) {
    EXPECT_TRUE(has(IntPoint(highest, lowest) + TwoDimensional::Vector<int>(1, -1), lowest, highest));
    EXPECT_TRUE(has(IntPoint(lowest, highest) - TwoDimensional::Vector<int>(1, -1), highest, lowest));
    EXPECT_EQ((IntPoint(lowest, 0) - IntPoint(1, 0)).getdU(), highest);
    EXPECT_EQ(IntPoint(65536, 3).dSqr(IntPoint(0, 0)), 9);
}

TEST(FlatIntPoint, ComparisonsAreSigned) {
    IntPoint point(0, 0);
    point.setMax(IntPoint(-1, 1));
    EXPECT_TRUE(has(point, 0, 1));
    point.setMin(IntPoint(-1, 2));
    EXPECT_TRUE(has(point, -1, 1));
}

TEST(FlatSizePoint, ArithmeticWrapsAroundAt32Bits) {
    TwoDimensional::Vector<unsigned long> const step(1UL, 2UL);
    EXPECT_TRUE(has(SizePoint(0xFFFFFFFFUL, 0xFFFFFFFFUL) + step, 0UL, 1UL));
    EXPECT_TRUE(has(SizePoint(0UL, 0UL) - step, 0xFFFFFFFFUL, 0xFFFFFFFEUL));
    EXPECT_EQ((SizePoint(1UL, 0UL) - SizePoint(2UL, 0UL)).getdU(), 0xFFFFFFFFUL);
    EXPECT_EQ(SizePoint(1UL, 3UL).dSqr(SizePoint(2UL, 1UL)), 5UL);
}

TEST(FlatSizePoint, ComparisonsAreUnsigned) {
    SizePoint point(1UL, 0xFFFFFFFFUL);
    point.setMax(SizePoint(0xFFFFFFFFUL, 1UL));
    EXPECT_TRUE(has(point, 0xFFFFFFFFUL, 0xFFFFFFFFUL));
    point.setMin(SizePoint(1UL, 0UL));
    EXPECT_TRUE(has(point, 1UL, 0UL));
}

TEST(FlatSizePoint, OnlyTheLow32BitsOfAValueAreKept) {
    if constexpr (sizeof(unsigned long) > 4) {
        unsigned long const wide = static_cast<unsigned long>(0x1'0000'0002ULL);
        SizePoint point(wide, wide + 1);
        EXPECT_TRUE(has(point, 2UL, 3UL));
        EXPECT_TRUE(point == SizePoint(2UL, 3UL));
        point.set(std::pair<unsigned long, unsigned long>(wide + 2, wide + 3));
        EXPECT_TRUE(has(point, 4UL, 5UL));
        EXPECT_EQ(SizePoint::sqr(wide), 4UL);
    }
}

TEST(FlatPointIndex, OnlyTheLow32BitsOfAnIndexCount) {
    if constexpr (sizeof(unsigned long) > 4) {
        IntPoint point(1, 2);
        point.seti(static_cast<unsigned long>(0x1'0000'0000ULL), 9);
        EXPECT_TRUE(has(point, 9, 2)) << "the index is 0, not an even one of 2 or more";
    }
}

TEST(FlatRealPoint, NaNComparesUnequalAndNeverReplaces) {
    RealPoint point(nan, 1.0);
    EXPECT_FALSE(point == point);
    EXPECT_TRUE(point != point);
    RealPoint kept(1.0, 2.0);
    kept.setMax(point);
    kept.setMin(RealPoint(5.0, nan));
    EXPECT_TRUE(has(kept, 1.0, 2.0));
}

TEST(FlatRealPoint, OnATieTheOwnCoordinateStays) {
    RealPoint point(0.0, -0.0);
    point.setMax(RealPoint(-0.0, 0.0));
    point.setMin(RealPoint(-0.0, 0.0));
    EXPECT_FALSE(std::signbit(point.getU()));
    EXPECT_TRUE(std::signbit(point.getV()));
}

TEST(FlatRealPoint, SquaredDistanceAddsTheSquaresOfTheDifferences) {
    std::mt19937 generator(11);
    for (int i = 0; i < 1000; ++i) {
        RealPoint const a(Testing::randomSpread(generator, 10), Testing::randomSpread(generator, 10));
        RealPoint const b(Testing::randomSpread(generator, 10), Testing::randomSpread(generator, 10));
        double volatile dU = a.getU() - b.getU();
        double volatile dV = a.getV() - b.getV();
        double volatile u2 = dU * dU;
        double volatile v2 = dV * dV;
        ASSERT_TRUE(sameBits(a.dSqr(b), u2 + v2));
    }
}

testing::AssertionResult is(Point const& point, float x, float y, float z) {
    for (auto const& [actual, expected] :
         {std::array<float, 2>{point.getX(), x}, std::array<float, 2>{point.getY(), y},
          std::array<float, 2>{point.getZ(), z}}) {
        testing::AssertionResult const same =
            sameBits(static_cast<double>(actual), static_cast<double>(expected));
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult is(Vector const& vector, float dX, float dY, float dZ) {
    return is(Point(vector.getdX(), vector.getdY(), vector.getdZ()), dX, dY, dZ);
}

Vector randomVector(std::mt19937& generator, int range) {
    double const x = Testing::randomSpread(generator, range);
    double const y = Testing::randomSpread(generator, range);
    double const z = Testing::randomSpread(generator, range);
    return Vector(x, y, z);
}

Point randomPoint(std::mt19937& generator, int range) {
    Vector const place = randomVector(generator, range);
    return Point(place.getdX(), place.getdY(), place.getdZ());
}

TEST(SpatialPoint, CoordinatesStandInARow) {
    std::array const points = {Point(1.0, 2.0, 3.0), Point(4.0, 5.0, 6.0)};
    for (Point const& point : points) {
        EXPECT_EQ(point.getCoordinates()[0], point.getX());
        EXPECT_EQ(point.getCoordinates()[1], point.getY());
        EXPECT_EQ(point.getCoordinates()[2], point.getZ());
    }
}

TEST(SpatialPoint, StartsAtTheOrigin) {
    EXPECT_TRUE(is(Point(), 0.0F, 0.0F, 0.0F));
}

TEST(SpatialPoint, ADoubleAndItsNearestFloatGiveTheSamePoint) {
    Point const fromDouble(0.1, 0.0, 0.0);
    Point const fromFloat(static_cast<double>(0.1F), 0.0, 0.0);
    EXPECT_TRUE(fromDouble == fromFloat);
    EXPECT_FALSE(fromDouble != fromFloat);
    EXPECT_EQ(fromDouble.getX(), 0.1F);
    EXPECT_EQ(fromFloat.getX(), 0.1F);
    EXPECT_NE(static_cast<double>(fromDouble.getX()), 0.1);
}

TEST(SpatialPoint, EveryWayInRoundsToTheNearestFloat) {
    std::mt19937 generator(12);
    for (int i = 0; i < 5000; ++i) {
        Vector const c = randomVector(generator, 140);
        float const x = steppedFloat(c.getdX());
        float const y = steppedFloat(c.getdY());
        float const z = steppedFloat(c.getdZ());
        ASSERT_TRUE(is(Point(c.getdX(), c.getdY(), c.getdZ()), x, y, z));
        std::array<double, 3> const numbers = {c.getdX(), c.getdY(), c.getdZ()};
        ASSERT_TRUE(is(Point(numbers.data()), x, y, z));
        Point point;
        point.set(c.getdX(), c.getdY(), c.getdZ());
        ASSERT_TRUE(is(point, x, y, z));
        Point byIndex;
        byIndex.seti(0, c.getdX());
        byIndex.seti(1, c.getdY());
        byIndex.seti(2, c.getdZ());
        ASSERT_TRUE(is(byIndex, x, y, z));
    }
}

TEST(SpatialPoint, CopiesAreExact) {
    Point const original(0.1, -0.0, nan);
    Point const copy(original);
    EXPECT_TRUE(is(copy, 0.1F, -0.0F, std::numeric_limits<float>::quiet_NaN()));
    Point assigned;
    assigned = original;
    EXPECT_TRUE(is(assigned, 0.1F, -0.0F, std::numeric_limits<float>::quiet_NaN()));
    Point set;
    set.set(original);
    EXPECT_TRUE(is(set, 0.1F, -0.0F, std::numeric_limits<float>::quiet_NaN()));
}

TEST(SpatialPoint, EqualityComparesAllThreeStoredFloats) {
    Point const point(1.0, 2.0, 3.0);
    EXPECT_TRUE(point == Point(1.0, 2.0, 3.0));
    for (Point const& other : {Point(9.0, 2.0, 3.0), Point(1.0, 9.0, 3.0), Point(1.0, 2.0, 9.0)}) {
        EXPECT_FALSE(point == other);
        EXPECT_TRUE(point != other);
    }
    EXPECT_TRUE(Point(0.0, 0.0, 0.0) == Point(-0.0, -0.0, -0.0));
    Point const undefined(1.0, nan, 3.0);
    EXPECT_FALSE(undefined == undefined);
    EXPECT_TRUE(undefined != undefined);
}

TEST(SpatialPoint, ADifferenceOfPointsHasSinglePrecision) {
    std::mt19937 generator(13);
    bool wouldDoubleDiffer = false;
    for (int i = 0; i < 5000; ++i) {
        Point const a = randomPoint(generator, 12);
        Point const b = randomPoint(generator, 12);
        Vector const difference = a - b;
        ASSERT_TRUE(
            sameBits(difference.getdX(), static_cast<double>(steppedFloatDifference(a.getX(), b.getX()))));
        ASSERT_TRUE(
            sameBits(difference.getdY(), static_cast<double>(steppedFloatDifference(a.getY(), b.getY()))));
        ASSERT_TRUE(
            sameBits(difference.getdZ(), static_cast<double>(steppedFloatDifference(a.getZ(), b.getZ()))));
        wouldDoubleDiffer = wouldDoubleDiffer || difference.getdX() != static_cast<double>(a.getX()) -
                                                                           static_cast<double>(b.getX());
    }
    EXPECT_TRUE(wouldDoubleDiffer);
}

TEST(SpatialPoint, GoingBackByADifferenceFindsThePointOnlyUpToFloatRounding) {
    std::mt19937 generator(14);
    bool isAnyInexact = false;
    for (int i = 0; i < 2000; ++i) {
        Point const a = randomPoint(generator, 6);
        Point const b = randomPoint(generator, 6);
        Point const back = b + (a - b);
        double const unit = static_cast<double>(std::numeric_limits<float>::epsilon());
        double const bound =
            unit * (std::abs(static_cast<double>(a.getX())) + std::abs(static_cast<double>(b.getX())));
        ASSERT_NEAR(static_cast<double>(back.getX()), static_cast<double>(a.getX()), bound);
        isAnyInexact = isAnyInexact || back.getX() != a.getX();
    }
    EXPECT_TRUE(isAnyInexact);
}

TEST(SpatialPoint, PlusAndMinusAVectorRoundOnce) {
    std::mt19937 generator(15);
    for (int i = 0; i < 5000; ++i) {
        Point const p = randomPoint(generator, 12);
        Vector const step = randomVector(generator, 12);
        double const x = static_cast<double>(p.getX());
        double const y = static_cast<double>(p.getY());
        double const z = static_cast<double>(p.getZ());
        ASSERT_TRUE(is(p + step, steppedFloat(x + step.getdX()), steppedFloat(y + step.getdY()),
                       steppedFloat(z + step.getdZ())));
        ASSERT_TRUE(is(p - step, steppedFloat(x - step.getdX()), steppedFloat(y - step.getdY()),
                       steppedFloat(z - step.getdZ())));
    }
}

TEST(SpatialPoint, MovingInPlaceRoundsTheStepFirst) {
    std::mt19937 generator(16);
    for (int i = 0; i < 5000; ++i) {
        Point const p = randomPoint(generator, 12);
        Vector const step = randomVector(generator, 12);
        float const dX = steppedFloat(step.getdX());
        float const dY = steppedFloat(step.getdY());
        float const dZ = steppedFloat(step.getdZ());
        Point moved = p;
        ASSERT_EQ(&(moved += step), &moved);
        ASSERT_TRUE(is(moved, steppedFloatSum(p.getX(), dX), steppedFloatSum(p.getY(), dY),
                       steppedFloatSum(p.getZ(), dZ)));
        moved = p;
        ASSERT_EQ(&(moved -= step), &moved);
        ASSERT_TRUE(is(moved, steppedFloatDifference(p.getX(), dX), steppedFloatDifference(p.getY(), dY),
                       steppedFloatDifference(p.getZ(), dZ)));
    }
}

TEST(SpatialPoint, PlusAndPlusInPlaceCanDifferInTheLastPlace) {
    Point const one(1.0, 1.0, 1.0);
    double const step = std::ldexp(1.0, -24) + std::ldexp(1.0, -50);
    float const next = 1.0F + std::ldexp(1.0F, -23);
    Point moved = one;
    moved += Vector(step, step, step);
    EXPECT_TRUE(is(one + Vector(step, step, step), next, next, next));
    EXPECT_TRUE(is(moved, 1.0F, 1.0F, 1.0F));
    double const down = std::ldexp(1.0, -25) + std::ldexp(1.0, -51);
    float const previous = 1.0F - std::ldexp(1.0F, -24);
    moved = one;
    moved -= Vector(down, down, down);
    EXPECT_TRUE(is(one - Vector(down, down, down), previous, previous, previous));
    EXPECT_TRUE(is(moved, 1.0F, 1.0F, 1.0F));
}

double steppedSquaredDistance(Point const& a, Point const& b) {
    auto const square = [](float difference) {
        double volatile wide = static_cast<double>(difference);
        double volatile squared = wide * wide;
        return steppedFloat(squared);
    };
    float const x = square(steppedFloatDifference(a.getX(), b.getX()));
    float const y = square(steppedFloatDifference(a.getY(), b.getY()));
    float const z = square(steppedFloatDifference(a.getZ(), b.getZ()));
    return static_cast<double>(steppedFloatSum(steppedFloatSum(y, x), z));
}

TEST(SpatialPoint, SquaredDistanceIsSinglePrecisionStepByStep) {
    std::mt19937 generator(17);
    bool wouldDoubleDiffer = false;
    for (int i = 0; i < 20000; ++i) {
        Point const a = randomPoint(generator, i % 2 == 0 ? 4 : 60);
        Point const b = randomPoint(generator, i % 2 == 0 ? 4 : 60);
        double const squared = a.dSqr(b);
        ASSERT_TRUE(sameBits(squared, steppedSquaredDistance(a, b)));
        ASSERT_TRUE(sameBits(b.dSqr(a), squared));
        wouldDoubleDiffer = wouldDoubleDiffer || squared != (a - b).lSqr();
    }
    EXPECT_TRUE(wouldDoubleDiffer);
}

TEST(SpatialPoint, SquaredDistanceAddsYToXAndThenZ) {
    double const tiny = std::ldexp(1.0, -12);
    Point const origin;
    EXPECT_EQ(Point(1.0, tiny, tiny).dSqr(origin), 1.0) << "each small square is lost on its own";
    EXPECT_EQ(Point(tiny, tiny, 1.0).dSqr(origin), 1.0 + std::ldexp(1.0, -23)) << "x and y are joined first";
    EXPECT_EQ(Point(tiny, 1.0, tiny).dSqr(origin), 1.0);
}

TEST(SpatialPoint, SquaredDistanceOverflowsLikeAFloat) {
    EXPECT_EQ(Point(1e20, 0.0, 0.0).dSqr(Point()), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Point(1e-30, 0.0, 0.0).dSqr(Point()), 0.0);
}

TEST(SpatialPoint, TheSquareIsTakenInDoubleAndRoundedToFloat) {
    static_assert(std::is_same_v<decltype(Point::sqr(1.0)), float>);
    EXPECT_EQ(Point::sqr(0.1), steppedFloat(0.1 * 0.1));
    EXPECT_NE(Point::sqr(0.1), 0.1F * 0.1F);
}

TEST(SpatialPoint, IndicesWrapModuloThree) {
    Point point(1.0, 2.0, 3.0);
    EXPECT_EQ(point.get(0), 1.0F);
    EXPECT_EQ(point.get(1), 2.0F);
    EXPECT_EQ(point.get(2), 3.0F);
    EXPECT_EQ(point.get(3), 1.0F);
    EXPECT_EQ(point.get(5), 3.0F);
    EXPECT_EQ(point.get(0xFFFFFFFFUL), 1.0F);
    point.seti(3, 9.0);
    EXPECT_TRUE(is(point, 9.0F, 2.0F, 3.0F));
    point.seti(4, 8.0);
    point.seti(8, 7.0);
    EXPECT_TRUE(is(point, 9.0F, 8.0F, 7.0F));
}

TEST(SpatialPoint, OnlyTheLow32BitsOfAnIndexCount) {
    if constexpr (sizeof(unsigned long) > 4) {
        unsigned long const wideZero = static_cast<unsigned long>(0x1'0000'0000ULL);
        Point point(1.0, 2.0, 3.0);
        EXPECT_EQ(point.get(wideZero), 1.0F);
        point.seti(wideZero, 4.0);
        EXPECT_TRUE(is(point, 4.0F, 2.0F, 3.0F));
    }
}

TEST(SpatialPoint, NullMeansAllCoordinatesZeroOfEitherSign) {
    EXPECT_TRUE(Point().getIsNull());
    EXPECT_TRUE(Point(-0.0, 0.0, -0.0).getIsNull());
    EXPECT_TRUE(Point(1e-60, 0.0, 0.0).getIsNull()) << "rounds to zero on the way in";
    EXPECT_FALSE(Point(1.0, 0.0, 0.0).getIsNull());
    EXPECT_FALSE(Point(0.0, 1.0, 0.0).getIsNull());
    EXPECT_FALSE(Point(0.0, 0.0, 1.0).getIsNull());
    EXPECT_FALSE(Point(0.0, nan, 0.0).getIsNull());
}

TEST(SpatialPoint, MaximumAndMinimumReplaceOnlyWhatIsStrictlyBeaten) {
    Point point(1.0, 2.0, 0.0);
    point.setMax(Point(2.0, 1.0, -0.0));
    EXPECT_TRUE(is(point, 2.0F, 2.0F, 0.0F));
    point.setMin(Point(3.0, 1.0, -0.0));
    EXPECT_TRUE(is(point, 2.0F, 1.0F, 0.0F));
    point.setMax(Point(nan, nan, 5.0));
    point.setMin(Point(-5.0, nan, nan));
    EXPECT_TRUE(is(point, -5.0F, 1.0F, 5.0F));
}

TEST(SpatialPoint, APointOnThePlaneIsAboveAndNotBelow) {
    Plane const plane(Point(1.0, 2.0, 3.0), Vector(0.0, 0.0, 2.0));
    EXPECT_TRUE(Point(7.0, 8.0, 3.0).getIsAbove(plane));
    EXPECT_FALSE(Point(7.0, 8.0, 3.0).getIsBelow(plane));
    EXPECT_TRUE(Point(7.0, 8.0, 3.5).getIsAbove(plane));
    EXPECT_FALSE(Point(7.0, 8.0, 3.5).getIsBelow(plane));
    EXPECT_FALSE(Point(7.0, 8.0, 2.5).getIsAbove(plane));
    EXPECT_TRUE(Point(7.0, 8.0, 2.5).getIsBelow(plane));
}

TEST(SpatialPoint, APlaneWithoutNormalHasEveryPointAboveAndNoDistance) {
    Plane const plane(Point(1.0, 2.0, 3.0), Vector());
    for (Point const& point : {Point(), Point(5.0, -6.0, 7.0), Point(1.0, 2.0, 3.0)}) {
        EXPECT_TRUE(point.getIsAbove(plane));
        EXPECT_FALSE(point.getIsBelow(plane));
        EXPECT_TRUE(std::isnan(point.getMinMaxDistance(plane)));
    }
}

TEST(SpatialPoint, WithANaNItIsNeitherAboveNorBelow) {
    Plane const plane(Point(), Vector(0.0, 0.0, nan));
    EXPECT_FALSE(Point(0.0, 0.0, 1.0).getIsAbove(plane));
    EXPECT_FALSE(Point(0.0, 0.0, 1.0).getIsBelow(plane));
    Plane const ground(Point(), Vector(0.0, 0.0, 1.0));
    EXPECT_FALSE(Point(nan, 0.0, 1.0).getIsAbove(ground));
    EXPECT_FALSE(Point(nan, 0.0, 1.0).getIsBelow(ground));
}

TEST(SpatialPoint, DistanceToAPointIsTheRootOfTheSinglePrecisionSquare) {
    EXPECT_EQ(Point(1.0, 2.0, 3.0).getMinMaxDistance(Point(1.0, 5.0, 7.0)), 5.0);
    std::mt19937 generator(18);
    for (int i = 0; i < 2000; ++i) {
        Point const a = randomPoint(generator, 10);
        Point const b = randomPoint(generator, 10);
        ASSERT_TRUE(sameBits(a.getMinMaxDistance(b), std::sqrt(steppedSquaredDistance(a, b))));
    }
}

TEST(SpatialPoint, DistanceToAPlaneIsNeverNegativeAndFreeOfTheNormalsLength) {
    Plane const plane(Point(0.0, 0.0, 1.0), Vector(0.0, 0.0, -4.0));
    EXPECT_EQ(Point(5.0, 6.0, 3.0).getMinMaxDistance(plane), 2.0);
    EXPECT_EQ(Point(5.0, 6.0, -1.0).getMinMaxDistance(plane), 2.0);
    EXPECT_EQ(Point(5.0, 6.0, 1.0).getMinMaxDistance(plane), 0.0);
}

TEST(SpatialPoint, DistanceToAPlaneDividesTheProjectionByTheNormalsLength) {
    std::mt19937 generator(19);
    for (int i = 0; i < 1000; ++i) {
        Point const p = randomPoint(generator, 8);
        Plane const plane(randomPoint(generator, 8), randomVector(generator, 8));
        double const projection = (p - plane.getp()).dot(plane.getN());
        double const length = std::sqrt(plane.getN().dot(plane.getN()));
        ASSERT_TRUE(sameBits(p.getMinMaxDistance(plane), std::abs(projection) / length));
        ASSERT_EQ(p.getIsAbove(plane), projection >= 0.0);
        ASSERT_EQ(p.getIsBelow(plane), projection < 0.0);
    }
}

TEST(SpatialPoint, ItsBoxIsItselfWithoutExtent) {
    ThreeDimensional::BoundingBoxAA const box = Point(0.1, 2.0, 3.0).getBoundingBox();
    EXPECT_TRUE(is(box.getp(), 0.1F, 2.0F, 3.0F));
    EXPECT_TRUE(is(box.getd(), 0.0F, 0.0F, 0.0F));
}

TEST(SpatialPoint, AnswersAsAnObjectOfThePartitionTree) {
    Point const point(1.0, 2.0, 3.0);
    Object const& object = point;
    Plane const plane(Point(1.0, 2.0, 5.0), Vector(0.0, 0.0, 1.0));
    EXPECT_FALSE(object.getIsAbove(plane));
    EXPECT_TRUE(object.getIsBelow(plane));
    EXPECT_EQ(object.getMinMaxDistance(plane), 2.0);
    EXPECT_EQ(object.getMinMaxDistance(Point(1.0, 2.0, 4.0)), 1.0);
    EXPECT_TRUE(is(object.getBoundingBox().getp(), 1.0F, 2.0F, 3.0F));
}

} // namespace
} // namespace QELT::Geometry
