#include "Geometry/foundations/boundingbox.h"

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

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class T>
using FlatBox = TwoDimensional::BoundingBoxAA<T>;
template <class T>
using FlatPointOf = TwoDimensional::Point<T>;
template <class T>
using FlatVectorOf = TwoDimensional::Vector<T>;

using ThreeDimensional::Point;
using ThreeDimensional::Vector;
using Box = ThreeDimensional::BoundingBoxAA;

static_assert(std::has_virtual_destructor_v<FlatBox<int>> && std::has_virtual_destructor_v<FlatBox<double>> &&
              std::has_virtual_destructor_v<FlatBox<unsigned long>> && std::has_virtual_destructor_v<Box>);
static_assert(std::is_same_v<decltype(std::declval<Box&>() = Box()), Box const&>);
static_assert(std::is_same_v<decltype(std::declval<FlatBox<int>&>() = FlatBox<int>()), FlatBox<int> const&>);
static_assert(std::is_same_v<decltype(Box{}.getp()), Point const&>);
static_assert(std::is_same_v<decltype(Box{}.getd()), Vector const&>);

template <class T>
class FlatBoundingBox : public testing::Test {};

using FlatBoxTypes = testing::Types<int, unsigned long, double>;
TYPED_TEST_SUITE(FlatBoundingBox, FlatBoxTypes);

template <class T>
FlatBox<T> flatBox(T u, T v, T dU, T dV) {
    return FlatBox<T>(FlatPointOf<T>(u, v), FlatVectorOf<T>(dU, dV));
}

template <class T>
testing::AssertionResult isFlat(FlatBox<T> const& box, T u, T v, T dU, T dV) {
    if (box.getp().getU() == u && box.getp().getV() == v && box.getd().getdU() == dU &&
        box.getd().getdV() == dV) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "(" << box.getp().getU() << ", " << box.getp().getV() << ") + ("
                                       << box.getd().getdU() << ", " << box.getd().getdV() << ")";
}

TYPED_TEST(FlatBoundingBox, StartsWithoutExtentAtTheOrigin) {
    EXPECT_TRUE(isFlat<TypeParam>(FlatBox<TypeParam>(), 0, 0, 0, 0));
}

TYPED_TEST(FlatBoundingBox, StoresCornerAndExtentAndFormsTheHighCorner) {
    FlatBox<TypeParam> box = flatBox<TypeParam>(1, 2, 3, 4);
    EXPECT_TRUE(isFlat<TypeParam>(box, 1, 2, 3, 4));
    EXPECT_TRUE(box.getp1() == FlatPointOf<TypeParam>(4, 6));
    box.set(FlatPointOf<TypeParam>(5, 6), FlatVectorOf<TypeParam>(7, 8));
    EXPECT_TRUE(isFlat<TypeParam>(box, 5, 6, 7, 8));
    FlatBox<TypeParam> copy(box);
    EXPECT_TRUE(isFlat<TypeParam>(copy, 5, 6, 7, 8));
    FlatBox<TypeParam> assigned;
    assigned = box;
    EXPECT_TRUE(isFlat<TypeParam>(assigned, 5, 6, 7, 8));
}

TYPED_TEST(FlatBoundingBox, MovingTheCornerLeavesTheExtentAlone) {
    FlatBox<TypeParam> box = flatBox<TypeParam>(1, 2, 3, 4);
    box.setp(FlatPointOf<TypeParam>(9, 9));
    EXPECT_TRUE(isFlat<TypeParam>(box, 9, 9, 3, 4));
}

TYPED_TEST(FlatBoundingBox, TheInsideIsHalfOpen) {
    FlatBox<TypeParam> const box = flatBox<TypeParam>(2, 3, 4, 5);
    auto const isInside = [&box](TypeParam u, TypeParam v) {
        return box.isInside(FlatPointOf<TypeParam>(u, v));
    };
    EXPECT_TRUE(isInside(2, 3));
    EXPECT_TRUE(isInside(5, 7));
    EXPECT_FALSE(isInside(6, 7));
    EXPECT_FALSE(isInside(5, 8));
    EXPECT_FALSE(isInside(1, 3));
    EXPECT_FALSE(isInside(2, 2));
}

TYPED_TEST(FlatBoundingBox, ABoxWithoutExtentContainsNothing) {
    FlatBox<TypeParam> const point = flatBox<TypeParam>(2, 3, 0, 0);
    EXPECT_FALSE(point.isInside(FlatPointOf<TypeParam>(2, 3)));
    FlatBox<TypeParam> const line = flatBox<TypeParam>(2, 3, 5, 0);
    EXPECT_FALSE(line.isInside(FlatPointOf<TypeParam>(3, 3)));
}

TYPED_TEST(FlatBoundingBox, ExpandCoversBothBoxes) {
    FlatBox<TypeParam> box = flatBox<TypeParam>(2, 3, 4, 5);
    box.expand(flatBox<TypeParam>(1, 4, 2, 9));
    EXPECT_TRUE(isFlat<TypeParam>(box, 1, 3, 5, 10));
    box.expand(flatBox<TypeParam>(2, 4, 1, 1));
    EXPECT_TRUE(isFlat<TypeParam>(box, 1, 3, 5, 10)) << "a box inside changes nothing";
    box.expand(box);
    EXPECT_TRUE(isFlat<TypeParam>(box, 1, 3, 5, 10));
    box.expand(FlatPointOf<TypeParam>(20, 0).getBoundingBox());
    EXPECT_TRUE(isFlat<TypeParam>(box, 1, 0, 19, 13)) << "a box without extent counts as its corner";
}

TEST(FlatIntBoundingBox, TheHighCornerWrapsAroundAndComparesSigned) {
    FlatBox<int> const box = flatBox<int>(std::numeric_limits<int>::max() - 1, -5, 3, 5);
    EXPECT_TRUE(box.getp1() == FlatPointOf<int>(std::numeric_limits<int>::min() + 1, 0));
    EXPECT_FALSE(box.isInside(FlatPointOf<int>(std::numeric_limits<int>::max(), -5)));
    EXPECT_TRUE(flatBox<int>(-5, -5, 6, 6).isInside(FlatPointOf<int>(0, -1)));
}

TEST(FlatSizeBoundingBox, ComparisonsAreUnsigned) {
    FlatBox<unsigned long> const box = flatBox<unsigned long>(1UL, 1UL, 0xFFFFFFFEUL, 10UL);
    EXPECT_TRUE(box.isInside(FlatPointOf<unsigned long>(0xFFFFFFFEUL, 5UL)));
    EXPECT_FALSE(box.isInside(FlatPointOf<unsigned long>(0xFFFFFFFFUL, 5UL)));
    EXPECT_FALSE(box.isInside(FlatPointOf<unsigned long>(0UL, 5UL)));
}

TEST(FlatSizeBoundingBox, ExpandWrapsAroundAt32Bits) {
    FlatBox<unsigned long> box = flatBox<unsigned long>(0xFFFFFFFFUL, 0UL, 3UL, 1UL);
    EXPECT_TRUE(box.getp1() == FlatPointOf<unsigned long>(2UL, 1UL));
    box.expand(flatBox<unsigned long>(0xFFFFFFF0UL, 0UL, 1UL, 1UL));
    EXPECT_TRUE(isFlat<unsigned long>(box, 0xFFFFFFF0UL, 0UL, 1UL, 1UL));
}

TEST(FlatRealBoundingBox, ExpandFormsTheHighCornerAnewAndStoresTheDifference) {
    std::mt19937 generator(21);
    bool doesExtentDrift = false;
    for (int i = 0; i < 2000; ++i) {
        std::array<double, 8> n{};
        for (double& number : n) {
            number = Testing::randomSpread(generator, 6);
        }
        FlatBox<double> const a = flatBox(n[0], n[1], std::abs(n[2]), std::abs(n[3]));
        FlatBox<double> const b = flatBox(n[4], n[5], std::abs(n[6]), std::abs(n[7]));
        FlatBox<double> box = a;
        box.expand(b);
        auto const check = [&](unsigned long axis) {
            double volatile highA = a.getp().get(axis) + a.getd().get(axis);
            double volatile highB = b.getp().get(axis) + b.getd().get(axis);
            double volatile high = highB > highA ? highB : highA;
            double const low =
                b.getp().get(axis) < a.getp().get(axis) ? b.getp().get(axis) : a.getp().get(axis);
            return sameBits(box.getp().get(axis), low) && sameBits(box.getd().get(axis), high - low);
        };
        ASSERT_TRUE(check(0));
        ASSERT_TRUE(check(1));
        FlatBox<double> again = a;
        again.expand(a);
        doesExtentDrift = doesExtentDrift || again.getd() != a.getd();
    }
    EXPECT_TRUE(doesExtentDrift) << "p + d - p is not always d";
}

TEST(FlatRealBoundingBox, ANaNIsInNoBox) {
    FlatBox<double> const box = flatBox(0.0, 0.0, 1.0, 1.0);
    EXPECT_FALSE(box.isInside(FlatPointOf<double>(nan, 0.5)));
    EXPECT_FALSE(box.isInside(FlatPointOf<double>(0.5, nan)));
    EXPECT_FALSE(flatBox(0.0, 0.0, nan, 1.0).isInside(FlatPointOf<double>(0.5, 0.5)));
}

testing::AssertionResult isBox(Box const& box, std::array<double, 3> const& p,
                               std::array<double, 3> const& d) {
    for (unsigned long axis = 0; axis < 3; ++axis) {
        testing::AssertionResult const corner = sameBits(static_cast<double>(box.getp().get(axis)), p[axis]);
        if (!corner) {
            return corner;
        }
        testing::AssertionResult const extent = sameBits(box.getd().get(axis), d[axis]);
        if (!extent) {
            return extent;
        }
    }
    return testing::AssertionSuccess();
}

TEST(SpatialBoundingBox, StartsWithoutExtentAtTheOrigin) {
    EXPECT_TRUE(isBox(Box(), {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}));
}

TEST(SpatialBoundingBox, StoresCornerAndUnroundedExtent) {
    Box box(Point(1.0, 2.0, 3.0), Vector(0.1, 0.2, 0.3));
    EXPECT_TRUE(isBox(box, {1.0, 2.0, 3.0}, {0.1, 0.2, 0.3}));
    box.set(Point(4.0, 5.0, 6.0), Vector(0.4, 0.5, 0.6));
    EXPECT_TRUE(isBox(box, {4.0, 5.0, 6.0}, {0.4, 0.5, 0.6}));
    Box const copy(box);
    EXPECT_TRUE(isBox(copy, {4.0, 5.0, 6.0}, {0.4, 0.5, 0.6}));
    Box assigned;
    assigned = box;
    EXPECT_TRUE(isBox(assigned, {4.0, 5.0, 6.0}, {0.4, 0.5, 0.6}));
}

TEST(SpatialBoundingBox, HighCornerAndCentreAreRoundedToFloatOnce) {
    Box const box(Point(1.0, 0.1, -3.0), Vector(0.1, 0.7, 6.0));
    Point const high = box.getp1();
    EXPECT_EQ(high.getX(), Testing::steppedFloat(1.0 + 0.1));
    EXPECT_EQ(high.getY(), Testing::steppedFloat(static_cast<double>(0.1F) + 0.7));
    EXPECT_EQ(high.getZ(), 3.0F);
    Point const centre = box.getCentrePoint();
    EXPECT_EQ(centre.getX(), Testing::steppedFloat(1.0 + 0.5 * 0.1));
    EXPECT_EQ(centre.getY(), Testing::steppedFloat(static_cast<double>(0.1F) + 0.5 * 0.7));
    EXPECT_EQ(centre.getZ(), 0.0F);
    double const tiny = std::ldexp(1.0, -24) + std::ldexp(1.0, -50);
    EXPECT_EQ(Box(Point(1.0, 0.0, 0.0), Vector(tiny, 0.0, 0.0)).getp1().getX(), 1.0F + std::ldexp(1.0F, -23))
        << "the extent itself is not rounded before";
}

TEST(SpatialBoundingBox, TheLongestAxisOfATieIsItsCommonSize) {
    auto const longest = [](double x, double y, double z) {
        return Box(Point(), Vector(x, y, z)).getLongestAxisSize();
    };
    EXPECT_EQ(longest(2.0, 2.0, 1.0), 2.0);
    EXPECT_EQ(longest(1.0, 2.0, 2.0), 2.0);
    EXPECT_EQ(longest(2.0, 1.0, 2.0), 2.0);
    EXPECT_EQ(longest(3.0, 2.0, 1.0), 3.0);
    EXPECT_EQ(longest(1.0, 3.0, 2.0), 3.0);
    EXPECT_EQ(longest(1.0, 2.0, 3.0), 3.0);
    EXPECT_EQ(longest(nan, 2.0, 1.0), 1.0) << "a comparison with a NaN fails, so z is left";
}

TEST(SpatialBoundingBox, TheInsideIsClosed) {
    Box const box(Point(1.0, 2.0, 3.0), Vector(4.0, 5.0, 6.0));
    EXPECT_TRUE(box.getIsInside(Point(1.0, 2.0, 3.0)));
    EXPECT_TRUE(box.getIsInside(Point(5.0, 7.0, 9.0)));
    EXPECT_TRUE(box.getIsInside(Point(3.0, 4.0, 5.0)));
    EXPECT_FALSE(box.getIsInside(Point(0.999, 4.0, 5.0)));
    EXPECT_FALSE(box.getIsInside(Point(5.001, 4.0, 5.0)));
    EXPECT_FALSE(box.getIsInside(Point(3.0, 1.999, 5.0)));
    EXPECT_FALSE(box.getIsInside(Point(3.0, 7.001, 5.0)));
    EXPECT_FALSE(box.getIsInside(Point(3.0, 4.0, 2.999)));
    EXPECT_FALSE(box.getIsInside(Point(3.0, 4.0, 9.001)));
}

TEST(SpatialBoundingBox, ABoxWithoutExtentContainsItsOwnCorner) {
    Box const box(Point(0.1, 0.2, 0.3), Vector());
    EXPECT_TRUE(box.getIsInside(box.getp()));
    EXPECT_FALSE(box.getIsInside(Point(0.1, 0.2, 0.30001)));
}

TEST(SpatialBoundingBox, ANaNOrAnInfinityIsInNoBox) {
    double const infinity = std::numeric_limits<double>::infinity();
    Box const box(Point(), Vector(1.0, 1.0, 1.0));
    EXPECT_FALSE(box.getIsInside(Point(nan, 0.5, 0.5)));
    EXPECT_FALSE(box.getIsInside(Point(0.5, 0.5, nan)));
    EXPECT_FALSE(Box(Point(), Vector(1.0, nan, 1.0)).getIsInside(Point(0.5, 0.5, 0.5)));
    EXPECT_FALSE(Box(Point(), Vector(infinity, 1.0, 1.0)).getIsInside(Point(infinity, 0.5, 0.5)))
        << "an infinite component projected on another axis is a NaN";
    EXPECT_TRUE(Box(Point(), Vector(infinity, 1.0, 1.0)).getIsInside(Point(1e30, 0.5, 0.5)));
}

TEST(SpatialBoundingBox, ExpandCoversBothBoxes) {
    Box box(Point(1.0, 2.0, 3.0), Vector(1.0, 1.0, 1.0));
    box.expand(Box(Point(0.0, 2.5, -1.0), Vector(1.5, 4.0, 2.0)));
    EXPECT_TRUE(isBox(box, {0.0, 2.0, -1.0}, {2.0, 4.5, 5.0}));
}

TEST(SpatialBoundingBox, ExpandFormsTheHighCornersInFloatAndStoresTheirSinglePrecisionDifference) {
    std::mt19937 generator(22);
    Box box(Point(0.1, 0.2, 0.3), Vector(0.01, 0.02, 0.03));
    for (int i = 0; i < 2000; ++i) {
        if (i % 20 == 0) {
            box.set(Point(0.1, 0.2, 0.3), Vector(0.01, 0.02, 0.03));
        }
        std::array<double, 6> n{};
        for (double& number : n) {
            number = Testing::randomSpread(generator, 4);
        }
        Box const before = box;
        Box const other(Point(n[0], n[1], n[2]), Vector(std::abs(n[3]), std::abs(n[4]), std::abs(n[5])));
        box.expand(other);
        for (unsigned long axis = 0; axis < 3; ++axis) {
            float const lowA = before.getp().get(axis);
            float const lowB = other.getp().get(axis);
            float const highA = Testing::steppedFloat(static_cast<double>(lowA) + before.getd().get(axis));
            float const highB = Testing::steppedFloat(static_cast<double>(lowB) + other.getd().get(axis));
            float const low = lowB < lowA ? lowB : lowA;
            float const high = highB > highA ? highB : highA;
            ASSERT_EQ(box.getp().get(axis), low);
            ASSERT_TRUE(sameBits(box.getd().get(axis),
                                 static_cast<double>(Testing::steppedFloatDifference(high, low))));
        }
    }
}

TEST(SpatialBoundingBox, AnExtentBelowTheFloatStepIsLostByExpanding) {
    Box box(Point(1.0, 1.0, 1.0), Vector(1e-9, 1e-9, 1e-9));
    box.expand(box);
    EXPECT_TRUE(isBox(box, {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}));
}

} // namespace
} // namespace QELT::Geometry
