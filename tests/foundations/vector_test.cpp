#include "Geometry/foundations/vector.h"

#include "tests/support/float_bits.h"

#include <array>
#include <limits>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry {
namespace {

using Testing::sameBits;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

using IntVector = TwoDimensional::Vector<int>;
using SizeVector = TwoDimensional::Vector<unsigned long>;
using RealVector = TwoDimensional::Vector<double>;
using ThreeDimensional::Vector;

static_assert(std::has_virtual_destructor_v<IntVector> && std::has_virtual_destructor_v<SizeVector> &&
              std::has_virtual_destructor_v<RealVector> && std::has_virtual_destructor_v<Vector>);
static_assert(sizeof(SizeVector{}.dU) == 4, "extents are kept in 32 bits");

template <class V, class T>
concept CanScaleInPlace = requires(V v, T factor) {
    v *= factor;
};

static_assert(!CanScaleInPlace<IntVector, int> && !CanScaleInPlace<RealVector, double>);
static_assert(CanScaleInPlace<Vector, double>);

template <class V>
concept CanSubtractInPlace = requires(V v) {
    v -= v;
};

static_assert(!CanSubtractInPlace<Vector> && CanSubtractInPlace<IntVector>);

template <class V>
class FlatVector : public testing::Test {};

using FlatVectorTypes = testing::Types<int, unsigned long, double>;
TYPED_TEST_SUITE(FlatVector, FlatVectorTypes);

template <class T>
testing::AssertionResult has(TwoDimensional::Vector<T> const& vector, T dU, T dV) {
    if (vector.getdU() == dU && vector.getdV() == dV) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "(" << vector.getdU() << ", " << vector.getdV() << ")";
}

TYPED_TEST(FlatVector, StartsAtZero) {
    EXPECT_TRUE(has<TypeParam>(TwoDimensional::Vector<TypeParam>(), 0, 0));
}

TYPED_TEST(FlatVector, StoresWhatItIsGiven) {
    TwoDimensional::Vector<TypeParam> vector(3, 4);
    EXPECT_TRUE(has<TypeParam>(vector, 3, 4));
    vector.set(5, 6);
    EXPECT_TRUE(has<TypeParam>(vector, 5, 6));
    vector.setdU(7);
    EXPECT_TRUE(has<TypeParam>(vector, 7, 6));
    vector.setdV(8);
    EXPECT_TRUE(has<TypeParam>(vector, 7, 8));
    TwoDimensional::Vector<TypeParam> copy(vector);
    EXPECT_TRUE(has<TypeParam>(copy, 7, 8));
    copy.set(TwoDimensional::Vector<TypeParam>(1, 2));
    EXPECT_TRUE(has<TypeParam>(copy, 1, 2));
    vector = copy;
    EXPECT_TRUE(has<TypeParam>(vector, 1, 2));
}

TYPED_TEST(FlatVector, GetReadsTheFirstComponentForEvenIndicesAndTheSecondForOdd) {
    TwoDimensional::Vector<TypeParam> const vector(1, 2);
    for (unsigned long i : {0UL, 2UL, 4UL, 0xFFFFFFFEUL}) {
        EXPECT_EQ(vector.get(i), TypeParam(1)) << i;
    }
    for (unsigned long i : {1UL, 3UL, 5UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(vector.get(i), TypeParam(2)) << i;
    }
}

TYPED_TEST(FlatVector, SetiWritesBothComponentsForEvenIndicesFromTwoOn) {
    auto const after = [](unsigned long i) {
        TwoDimensional::Vector<TypeParam> vector(1, 2);
        vector.seti(i, 9);
        return vector;
    };
    EXPECT_TRUE(has<TypeParam>(after(0), 9, 2));
    EXPECT_TRUE(has<TypeParam>(after(1), 1, 9));
    EXPECT_TRUE(has<TypeParam>(after(2), 9, 9));
    EXPECT_TRUE(has<TypeParam>(after(3), 1, 9));
    EXPECT_TRUE(has<TypeParam>(after(4), 9, 9));
    EXPECT_TRUE(has<TypeParam>(after(0xFFFFFFFEUL), 9, 9));
    EXPECT_TRUE(has<TypeParam>(after(0xFFFFFFFFUL), 1, 9));
}

TYPED_TEST(FlatVector, EqualityComparesBothComponents) {
    TwoDimensional::Vector<TypeParam> const vector(1, 2);
    EXPECT_TRUE(vector == (TwoDimensional::Vector<TypeParam>(1, 2)));
    EXPECT_FALSE(vector != (TwoDimensional::Vector<TypeParam>(1, 2)));
    EXPECT_FALSE(vector == (TwoDimensional::Vector<TypeParam>(1, 3)));
    EXPECT_TRUE(vector != (TwoDimensional::Vector<TypeParam>(1, 3)));
    EXPECT_FALSE(vector == (TwoDimensional::Vector<TypeParam>(0, 2)));
}

TYPED_TEST(FlatVector, SumsProductsAndMeasuresOfSmallNumbers) {
    using V = TwoDimensional::Vector<TypeParam>;
    V const a(7, 5);
    V const b(2, 3);
    EXPECT_TRUE(has<TypeParam>(a + b, 9, 8));
    EXPECT_TRUE(has<TypeParam>(a - b, 5, 2));
    EXPECT_TRUE(has<TypeParam>(a * TypeParam(3), 21, 15));
    EXPECT_TRUE(has<TypeParam>(V(8, 6) / TypeParam(2), 4, 3));
    EXPECT_EQ(a.dot(b), TypeParam(29));
    EXPECT_EQ(a.det(b), TypeParam(11));
    EXPECT_EQ(a.lSqr(), TypeParam(74));
    EXPECT_EQ(V::sqr(TypeParam(5)), TypeParam(25));
    V moved = a;
    EXPECT_EQ(&(moved += b), &moved);
    EXPECT_TRUE(has<TypeParam>(moved, 9, 8));
    EXPECT_EQ(&(moved -= b), &moved);
    EXPECT_TRUE(has<TypeParam>(moved, 7, 5));
    V divided(8, 6);
    EXPECT_EQ(&(divided /= TypeParam(2)), &divided);
    EXPECT_TRUE(has<TypeParam>(divided, 4, 3));
}

TYPED_TEST(FlatVector, AVectorMayBeCombinedWithItself) {
    TwoDimensional::Vector<TypeParam> vector(3, 4);
    auto const& itself = vector;
    vector += itself;
    EXPECT_TRUE(has<TypeParam>(vector, 6, 8));
    vector -= itself;
    EXPECT_TRUE(has<TypeParam>(vector, 0, 0));
}

TYPED_TEST(FlatVector, NullMeansBothComponentsZero) {
    using V = TwoDimensional::Vector<TypeParam>;
    EXPECT_TRUE(V(0, 0).getIsNull());
    EXPECT_FALSE(V(1, 0).getIsNull());
    EXPECT_FALSE(V(0, 1).getIsNull());
}

TEST(FlatIntVector, DivisionTruncatesTowardsZero) {
    EXPECT_TRUE(has(IntVector(7, -7) / 2, 3, -3));
    IntVector vector(-9, 9);
    vector /= -2;
    EXPECT_TRUE(has(vector, 4, -4));
}

TEST(FlatIntVector, ArithmeticWrapsAround) {
    EXPECT_TRUE(has(IntVector(highest, lowest) + IntVector(1, -1), lowest, highest));
    EXPECT_TRUE(has(IntVector(lowest, highest) - IntVector(1, -1), highest, lowest));
    EXPECT_TRUE(has(IntVector(65536, highest) * 65536, 0, -65536));
    EXPECT_TRUE(has(IntVector(lowest, 5) / -1, lowest, -5));
    EXPECT_EQ(IntVector(65536, 3).lSqr(), 9);
    EXPECT_EQ(IntVector(highest, 1).dot(IntVector(2, 5)), 3);
    EXPECT_EQ(IntVector(65536, 1).det(IntVector(1, 65536)), -1);
    EXPECT_TRUE(has(IntVector(0, lowest).perp(), lowest, 0));
}

TEST(FlatIntVector, PerpIsTheQuarterTurnInThePositiveSense) {
    EXPECT_TRUE(has(IntVector(3, 4).perp(), -4, 3));
    EXPECT_EQ(IntVector(3, 4).det(IntVector(3, 4).perp()), 25);
}

TEST(FlatIntVector, DetHasThisVectorFirst) {
    EXPECT_EQ(IntVector(1, 0).det(IntVector(0, 1)), 1);
    EXPECT_EQ(IntVector(0, 1).det(IntVector(1, 0)), -1);
}

TEST(FlatSizeVector, ArithmeticWrapsAroundAt32Bits) {
    EXPECT_TRUE(has(SizeVector(0xFFFFFFFFUL, 3UL) + SizeVector(2UL, 4UL), 1UL, 7UL));
    EXPECT_TRUE(has(SizeVector(1UL, 3UL) - SizeVector(2UL, 3UL), 0xFFFFFFFFUL, 0UL));
    EXPECT_TRUE(has(SizeVector(0x80000000UL, 5UL) * 2UL, 0UL, 10UL));
    EXPECT_EQ(SizeVector(65536UL, 3UL).lSqr(), 9UL);
    EXPECT_EQ(SizeVector(0x80000000UL, 1UL).dot(SizeVector(2UL, 7UL)), 7UL);
    EXPECT_EQ(SizeVector(1UL, 2UL).det(SizeVector(3UL, 4UL)), 0xFFFFFFFEUL);
}

TEST(FlatSizeVector, DivisionIsUnsigned) {
    EXPECT_TRUE(has(SizeVector(0xFFFFFFFFUL, 7UL) / 2UL, 0x7FFFFFFFUL, 3UL));
}

TEST(FlatSizeVector, PerpKeepsTheWrappedNegation) {
    EXPECT_TRUE(has(SizeVector(3UL, 4UL).perp(), 0xFFFFFFFCUL, 3UL));
}

TEST(FlatSizeVector, OnlyTheLow32BitsOfAValueAreKept) {
    if constexpr (sizeof(unsigned long) > 4) {
        unsigned long const wide = static_cast<unsigned long>(0x1'0000'0002ULL);
        SizeVector vector(wide, wide + 1);
        EXPECT_TRUE(has(vector, 2UL, 3UL));
        vector.set(wide + 2, wide + 3);
        EXPECT_TRUE(has(vector, 4UL, 5UL));
        vector.seti(1, wide);
        EXPECT_TRUE(has(vector, 4UL, 2UL));
        EXPECT_TRUE(has(vector * wide, 8UL, 4UL));
        EXPECT_TRUE(has(vector / wide, 2UL, 1UL));
        EXPECT_EQ(SizeVector::sqr(wide), 4UL);
    }
}

TEST(FlatVectorIndex, OnlyTheLow32BitsOfAnIndexCount) {
    if constexpr (sizeof(unsigned long) > 4) {
        IntVector vector(1, 2);
        vector.seti(static_cast<unsigned long>(0x1'0000'0000ULL), 9);
        EXPECT_TRUE(has(vector, 9, 2)) << "the index is 0, not an even one of 2 or more";
    }
}

TEST(FlatRealVector, NaNComparesUnequalAndIsNotNull) {
    RealVector const vector(nan, 0.0);
    EXPECT_FALSE(vector == vector);
    EXPECT_TRUE(vector != vector);
    EXPECT_FALSE(vector.getIsNull());
    EXPECT_FALSE(RealVector(0.0, nan).getIsNull());
    EXPECT_TRUE(RealVector(-0.0, 0.0).getIsNull());
}

TEST(FlatRealVector, DivisionDividesEachComponentTruly) {
    std::mt19937 generator(2);
    bool wouldReciprocalDiffer = false;
    for (int i = 0; i < 1000; ++i) {
        double const u = Testing::randomSpread(generator, 20);
        double const v = Testing::randomSpread(generator, 20);
        double const divisor = Testing::randomSpread(generator, 20);
        RealVector const quotient = RealVector(u, v) / divisor;
        ASSERT_TRUE(sameBits(quotient.getdU(), u / divisor));
        ASSERT_TRUE(sameBits(quotient.getdV(), v / divisor));
        wouldReciprocalDiffer = wouldReciprocalDiffer || u * (1.0 / divisor) != u / divisor;
    }
    EXPECT_TRUE(wouldReciprocalDiffer);
    RealVector const byZero = RealVector(1.0, 0.0) / 0.0;
    EXPECT_EQ(byZero.getdU(), infinity);
    EXPECT_TRUE(std::isnan(byZero.getdV()));
}

TEST(FlatRealVector, MeasuresAreTakenInTheOrderTold) {
    std::mt19937 generator(3);
    for (int i = 0; i < 1000; ++i) {
        RealVector const a(Testing::randomSpread(generator, 10), Testing::randomSpread(generator, 10));
        RealVector const b(Testing::randomSpread(generator, 10), Testing::randomSpread(generator, 10));
        double volatile uu = a.getdU() * b.getdU();
        double volatile vv = a.getdV() * b.getdV();
        double volatile uv = a.getdU() * b.getdV();
        double volatile vu = b.getdU() * a.getdV();
        double volatile u2 = a.getdU() * a.getdU();
        double volatile v2 = a.getdV() * a.getdV();
        ASSERT_TRUE(sameBits(a.dot(b), uu + vv));
        ASSERT_TRUE(sameBits(a.det(b), uv - vu));
        ASSERT_TRUE(sameBits(a.lSqr(), u2 + v2));
    }
}

testing::AssertionResult is(Vector const& vector, double dX, double dY, double dZ) {
    for (auto const& [actual, expected] :
         {std::array<double, 2>{vector.getdX(), dX}, std::array<double, 2>{vector.getdY(), dY},
          std::array<double, 2>{vector.getdZ(), dZ}}) {
        testing::AssertionResult const same = sameBits(actual, expected);
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

Vector randomVector(std::mt19937& generator) {
    double const x = Testing::randomSpread(generator, 12);
    double const y = Testing::randomSpread(generator, 12);
    double const z = Testing::randomSpread(generator, 12);
    return Vector(x, y, z);
}

TEST(SpatialVector, StartsAtZero) {
    EXPECT_TRUE(is(Vector(), 0.0, 0.0, 0.0));
}

TEST(SpatialVector, StoresDoublesUnrounded) {
    Vector vector(0.1, -0.2, 1e300);
    EXPECT_TRUE(is(vector, 0.1, -0.2, 1e300));
    std::array<double, 3> const numbers = {1.1, 2.2, 3.3};
    EXPECT_TRUE(is(Vector(numbers.data()), 1.1, 2.2, 3.3));
    vector.set(4.4, 5.5, 6.6);
    EXPECT_TRUE(is(vector, 4.4, 5.5, 6.6));
    Vector copy(vector);
    EXPECT_TRUE(is(copy, 4.4, 5.5, 6.6));
    copy.set(Vector(0.3, 0.4, 0.5));
    EXPECT_TRUE(is(copy, 0.3, 0.4, 0.5));
    vector = copy;
    EXPECT_TRUE(is(vector, 0.3, 0.4, 0.5));
}

TEST(SpatialVector, TheAxisConstructorCountsModuloThree) {
    EXPECT_TRUE(is(Vector(0, 2.0), 2.0, 0.0, 0.0));
    EXPECT_TRUE(is(Vector(1, 2.0), 0.0, 2.0, 0.0));
    EXPECT_TRUE(is(Vector(2, 2.0), 0.0, 0.0, 2.0));
    EXPECT_TRUE(is(Vector(4, 2.0), 0.0, 2.0, 0.0));
    EXPECT_TRUE(is(Vector(0xFFFFFFFFUL, 2.0), 2.0, 0.0, 0.0));
}

TEST(SpatialVector, IndicesWrapModuloThree) {
    Vector vector(1.0, 2.0, 3.0);
    EXPECT_EQ(vector.get(0), 1.0);
    EXPECT_EQ(vector.get(1), 2.0);
    EXPECT_EQ(vector.get(2), 3.0);
    EXPECT_EQ(vector.get(3), 1.0);
    EXPECT_EQ(vector.get(5), 3.0);
    vector.set(4, 9.0);
    EXPECT_TRUE(is(vector, 1.0, 9.0, 3.0));
    vector.inc(6, 0.5);
    vector.inc(5, 0.25);
    EXPECT_TRUE(is(vector, 1.5, 9.0, 3.25));
    vector.inc(1, -9.0);
    EXPECT_TRUE(is(vector, 1.5, 0.0, 3.25));
}

TEST(SpatialVector, OnlyTheLow32BitsOfAnIndexCount) {
    if constexpr (sizeof(unsigned long) > 4) {
        unsigned long const wideZero = static_cast<unsigned long>(0x1'0000'0000ULL);
        Vector vector(1.0, 2.0, 3.0);
        EXPECT_EQ(vector.get(wideZero), 1.0);
        vector.set(wideZero, 4.0);
        vector.inc(wideZero, 1.0);
        EXPECT_TRUE(is(vector, 5.0, 2.0, 3.0));
        EXPECT_TRUE(is(Vector(wideZero, 2.0), 2.0, 0.0, 0.0));
    }
}

TEST(SpatialVector, SumsAndScalingsGoByComponent) {
    std::mt19937 generator(4);
    for (int i = 0; i < 1000; ++i) {
        Vector const a = randomVector(generator);
        Vector const b = randomVector(generator);
        double const k = Testing::randomSpread(generator, 12);
        ASSERT_TRUE(is(a + b, a.getdX() + b.getdX(), a.getdY() + b.getdY(), a.getdZ() + b.getdZ()));
        ASSERT_TRUE(is(a - b, a.getdX() - b.getdX(), a.getdY() - b.getdY(), a.getdZ() - b.getdZ()));
        ASSERT_TRUE(is(-a, -a.getdX(), -a.getdY(), -a.getdZ()));
        ASSERT_TRUE(is(a * k, a.getdX() * k, a.getdY() * k, a.getdZ() * k));
        ASSERT_TRUE(is(k * a, a.getdX() * k, a.getdY() * k, a.getdZ() * k));
        ASSERT_TRUE(is(a / k, a.getdX() / k, a.getdY() / k, a.getdZ() / k));
        Vector changed = a;
        ASSERT_EQ(&(changed += b), &changed);
        ASSERT_TRUE(is(changed, a.getdX() + b.getdX(), a.getdY() + b.getdY(), a.getdZ() + b.getdZ()));
        changed = a;
        ASSERT_EQ(&(changed *= k), &changed);
        ASSERT_TRUE(is(changed, a.getdX() * k, a.getdY() * k, a.getdZ() * k));
    }
}

TEST(SpatialVector, UnaryMinusTurnsTheSignOfZero) {
    EXPECT_TRUE(is(-Vector(0.0, -0.0, 1.0), -0.0, 0.0, -1.0));
}

TEST(SpatialVector, DivisionIsNoProductWithTheReciprocal) {
    EXPECT_EQ((Vector(5.0, 0.0, 0.0) / 49.0).getdX(), 5.0 / 49.0);
    EXPECT_NE(5.0 * (1.0 / 49.0), 5.0 / 49.0);
    EXPECT_TRUE(is(Vector(1.0, -1.0, 0.0) / 0.0, infinity, -infinity, nan));
}

TEST(SpatialVector, DotAndSquaredLengthAddYToXAndThenZ) {
    std::mt19937 generator(5);
    bool doesOrderMatter = false;
    for (int i = 0; i < 2000; ++i) {
        Vector const a = randomVector(generator);
        Vector const b = randomVector(generator);
        double volatile x = a.getdX() * b.getdX();
        double volatile y = a.getdY() * b.getdY();
        double volatile z = a.getdZ() * b.getdZ();
        double volatile yx = y + x;
        double volatile zy = z + y;
        ASSERT_TRUE(sameBits(a.dot(b), yx + z));
        doesOrderMatter = doesOrderMatter || yx + z != zy + x;
        double volatile xx = a.getdX() * a.getdX();
        double volatile yy = a.getdY() * a.getdY();
        double volatile zz = a.getdZ() * a.getdZ();
        double volatile yyxx = yy + xx;
        ASSERT_TRUE(sameBits(a.lSqr(), yyxx + zz));
        ASSERT_TRUE(sameBits(a.lSqr(), a.dot(a)));
    }
    EXPECT_TRUE(doesOrderMatter);
    EXPECT_EQ(Vector(1e17, -1e17, 1.0).dot(Vector(1.0, 1.0, 1.0)), 1.0);
    EXPECT_EQ(Vector(1.0, 1e17, -1e17).dot(Vector(1.0, 1.0, 1.0)), 0.0);
    EXPECT_EQ(Vector::sqr(-3.0), 9.0);
}

TEST(SpatialVector, CrossIsRightHanded) {
    EXPECT_TRUE(is(Vector(1.0, 0.0, 0.0).cross(Vector(0.0, 1.0, 0.0)), 0.0, 0.0, 1.0));
    EXPECT_TRUE(is(Vector(0.0, 1.0, 0.0).cross(Vector(0.0, 0.0, 1.0)), 1.0, 0.0, 0.0));
    EXPECT_TRUE(is(Vector(0.0, 0.0, 1.0).cross(Vector(1.0, 0.0, 0.0)), 0.0, 1.0, 0.0));
}

TEST(SpatialVector, CrossRoundsEachProductOnce) {
    std::mt19937 generator(6);
    for (int i = 0; i < 1000; ++i) {
        Vector const a = randomVector(generator);
        Vector const b = randomVector(generator);
        double volatile yz = a.getdY() * b.getdZ();
        double volatile zy = a.getdZ() * b.getdY();
        double volatile zx = b.getdX() * a.getdZ();
        double volatile xz = a.getdX() * b.getdZ();
        double volatile xy = a.getdX() * b.getdY();
        double volatile yx = a.getdY() * b.getdX();
        ASSERT_TRUE(is(a.cross(b), yz - zy, zx - xz, xy - yx));
    }
}

TEST(SpatialVector, LinfIsTheStrictlyGreatestMagnitude) {
    EXPECT_EQ(Vector(-3.0, 2.0, 1.0).linf(), 3.0);
    EXPECT_EQ(Vector(1.0, -3.0, 2.0).linf(), 3.0);
    EXPECT_EQ(Vector(1.0, 2.0, -3.0).linf(), 3.0);
}

TEST(SpatialVector, LinfOnATieForTheGreatestIsTheMagnitudeOfZ) {
    EXPECT_EQ(Vector(1.0, 1.0, 0.0).linf(), 0.0);
    EXPECT_EQ(Vector(-5.0, 5.0, -2.0).linf(), 2.0);
    EXPECT_EQ(Vector(4.0, 1.0, 4.0).linf(), 4.0);
    EXPECT_EQ(Vector(1.0, 4.0, -4.0).linf(), 4.0);
    EXPECT_EQ(Vector(nan, 4.0, 1.0).linf(), 1.0);
}

TEST(SpatialVector, RealMeansNeitherNaNNorInfinity) {
    EXPECT_TRUE(Vector(0.0, -1e308, 5e-324).getIsReal());
    for (double special : {nan, infinity, -infinity}) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            EXPECT_FALSE(Vector(axis, special).getIsReal());
        }
    }
}

} // namespace
} // namespace QELT::Geometry
