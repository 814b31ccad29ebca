#include "Geometry/linearalgebra/vector.h"

#include "tests/support/float_bits.h"
#include "tests/support/plain_linearalgebra.h"
#include "tests/support/thrownpointer.h"

#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

using Testing::getDoesThrowPointer;
using Testing::sameBits;
using Testing::PlainLinearAlgebra::randomValues;
using Testing::PlainLinearAlgebra::toValues;
using Testing::PlainLinearAlgebra::toVector;
using Values = std::vector<double>;

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Vector, OfLengthZeroIsEmptyWithNormZero) {
    Vector const empty(0);
    EXPECT_EQ(empty.getNumberOfValues(), 0U);
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_TRUE(sameBits(empty.normL2(), 0.0));
    EXPECT_TRUE(sameBits(empty.normL2Sqr(), 0.0));
    EXPECT_TRUE(sameBits(empty.transpose() * empty, 0.0));
    EXPECT_EQ(Vector(empty).getNumberOfValues(), 0U);
    EXPECT_EQ((empty + empty).getNumberOfValues(), 0U);
}

TEST(Vector, AccessPastTheEndIsHarmless) {
    Vector v = toVector({1.0, 2.0, 3.0});
    for (unsigned long const past : {3UL, 4UL, 0xFFFFFFFFUL}) {
        EXPECT_TRUE(sameBits(v.get(past), 0.0));
        v.set(past, 9.0);
        v.acc(past, 9.0);
    }
    EXPECT_EQ(toValues(v), Values({1.0, 2.0, 3.0}));
    EXPECT_EQ(v.getNumberOfValues(), 3U);
}

TEST(Vector, IndicesAndLengthsAreKeptIn32Bits) {
    if (sizeof(unsigned long) < 8) {
        GTEST_SKIP() << "unsigned long has 32 bits here";
    }
    std::uint64_t const beyond = std::uint64_t{1} << 32U;
    Vector v(static_cast<unsigned long>(beyond + 2));
    EXPECT_EQ(v.getNumberOfValues(), 2U);
    v.zero();
    v.set(static_cast<unsigned long>(beyond + 1), 5.0);
    EXPECT_EQ(v.get(1), 5.0);
}

TEST(Vector, SetGetAndAccumulate) {
    Vector v(2);
    v.set(0, 1.5);
    v.set(1, -2.0);
    v.acc(1, 0.25);
    EXPECT_EQ(v.get(0), 1.5);
    EXPECT_EQ(v.get(1), -1.75);
    EXPECT_EQ(*v.begin(), 1.5);
    EXPECT_EQ(v.end() - v.begin(), 2);
    EXPECT_EQ(v.getpValues(), v.begin());
}

TEST(Vector, FillsWithZerosAndOnes) {
    Vector v(5);
    v.zero();
    EXPECT_EQ(toValues(v), Values(5, 0.0));
    EXPECT_FALSE(std::signbit(v.get(0)));
    v.allOnes();
    EXPECT_EQ(toValues(v), Values(5, 1.0));
}

TEST(Vector, CopiesAreDeep) {
    Vector v = toVector({1.0, 2.0});
    Vector const copy(v);
    v.set(0, 7.0);
    EXPECT_EQ(copy.get(0), 1.0);
}

TEST(Vector, AssignmentAdoptsTheLength) {
    Vector const longer = toVector({1.0, 2.0, 3.0, 4.0});
    Vector shorter = toVector({9.0});
    Vector& result = shorter = longer;
    EXPECT_EQ(&result, &shorter);
    EXPECT_EQ(toValues(shorter), Values({1.0, 2.0, 3.0, 4.0}));
    EXPECT_NE(shorter.begin(), longer.begin());

    Vector other = longer;
    other = toVector({5.0});
    EXPECT_EQ(toValues(other), Values({5.0}));
}

TEST(Vector, AssignmentOfTheSameLengthKeepsTheArray) {
    Vector v = toVector({1.0, 2.0});
    double const* const array = v.begin();
    v = toVector({3.0, 4.0});
    EXPECT_EQ(v.begin(), array);
    EXPECT_EQ(toValues(v), Values({3.0, 4.0}));
}

TEST(Vector, SelfAssignmentChangesNothing) {
    Vector v = toVector({1.0, 2.0});
    Vector const& alias = v;
    v = alias;
    v.set(&alias);
    EXPECT_EQ(toValues(v), Values({1.0, 2.0}));
}

TEST(Vector, SumAndDifferenceOfDifferentLengthsThrowAndLeaveTheOperandsAlone) {
    Vector const a = toVector({1.0, 2.0});
    Vector const b = toVector({1.0, 2.0, 3.0});
    using Thrown = Vector::VectorInvalidDimensionsException;
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { a + b; }));
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { b + a; }));
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { a - b; }));
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { b - a; }));
    EXPECT_EQ(toValues(a), Values({1.0, 2.0}));
    EXPECT_EQ(toValues(b), Values({1.0, 2.0, 3.0}));
}

TEST(Vector, InPlaceSumAndDifferenceRunOverTheirOwnLengthWithoutACheck) {
    Vector a = toVector({1.0, 2.0});
    Vector const b = toVector({0.5, 0.25, 3.0});
    EXPECT_EQ(&(a += b), &a);
    EXPECT_EQ(toValues(a), Values({1.5, 2.25}));
    EXPECT_EQ(&(a -= b), &a);
    EXPECT_EQ(toValues(a), Values({1.0, 2.0}));
    a += a;
    EXPECT_EQ(toValues(a), Values({2.0, 4.0}));
    Vector const& alias = a;
    a -= alias;
    EXPECT_EQ(toValues(a), Values({0.0, 0.0}));
}

TEST(Vector, OperatorsActOnEachValueToTheBit) {
    std::mt19937 generator(1);
    for (std::size_t const n : {1U, 2U, 3U, 4U, 7U, 8U, 33U}) {
        Values const x = randomValues(generator, n);
        Values const y = randomValues(generator, n);
        Vector const a = toVector(x);
        Vector const b = toVector(y);
        for (unsigned long i = 0; i < n; ++i) {
            EXPECT_TRUE(sameBits((a * 0.3).get(i), x[i] * 0.3));
            EXPECT_TRUE(sameBits((0.3 * a).get(i), x[i] * 0.3));
            EXPECT_TRUE(sameBits((-a).get(i), -x[i]));
            EXPECT_TRUE(sameBits((a + b).get(i), x[i] + y[i]));
            EXPECT_TRUE(sameBits((a - b).get(i), x[i] - y[i]));
        }
    }
}

TEST(Vector, DividesTrulyAndNotByTheReciprocal) {
    Vector const a = toVector({5.0});
    double const volatile reciprocal = 1.0 / 49.0;
    ASSERT_FALSE(sameBits(5.0 * reciprocal, 5.0 / 49.0)) << "the number doesn't tell the two apart";
    EXPECT_TRUE(sameBits((a / 49.0).get(0), 5.0 / 49.0));
}

TEST(Vector, DivisionByZeroGivesInfinitiesAndNaNs) {
    Vector const quotient = toVector({1.0, -1.0, 0.0}) / 0.0;
    EXPECT_EQ(quotient.get(0), infinity);
    EXPECT_EQ(quotient.get(1), -infinity);
    EXPECT_TRUE(std::isnan(quotient.get(2)));
}

TEST(Vector, NegationTurnsTheSignOfZero) {
    EXPECT_TRUE(sameBits((-toVector({0.0})).get(0), -0.0));
}

TEST(Vector, NormAddsSquaresInAscendingOrder) {
    // 1 is lost beside 2^54, but not when the ones come first.
    double const large = std::ldexp(1.0, 27);
    EXPECT_TRUE(sameBits(toVector({large, 1.0, 1.0, 1.0, 1.0, 1.0}).normL2Sqr(), std::ldexp(1.0, 54)));
    EXPECT_TRUE(sameBits(toVector({1.0, 1.0, 1.0, 1.0, 1.0, large}).normL2Sqr(), std::ldexp(1.0, 54) + 4.0));

    std::mt19937 generator(2);
    for (std::size_t n = 0; n < 40; ++n) {
        Values const x = randomValues(generator, n);
        double sum = 0.0;
        for (double const value : x) {
            sum += value * value;
        }
        EXPECT_TRUE(sameBits(toVector(x).normL2Sqr(), sum));
        EXPECT_TRUE(sameBits(toVector(x).normL2(), std::sqrt(sum)));
    }
}

TEST(RowVector, InnerProductWithItselfIsTheSquaredNormExactly) {
    std::mt19937 generator(3);
    for (std::size_t n = 0; n < 40; ++n) {
        Vector const v = toVector(randomValues(generator, n));
        EXPECT_TRUE(sameBits(v.transpose() * v, v.normL2Sqr()));
    }
}

TEST(RowVector, InnerProductAddsInAscendingOrder) {
    std::mt19937 generator(4);
    for (std::size_t n = 0; n < 40; ++n) {
        Values const x = randomValues(generator, n);
        Values const y = randomValues(generator, n);
        EXPECT_TRUE(
            sameBits(toVector(x).transpose() * toVector(y), Testing::PlainLinearAlgebra::innerProduct(x, y)));
    }
}

TEST(RowVector, InnerProductOfDifferentLengthsThrows) {
    Vector const a = toVector({1.0, 2.0});
    Vector const b = toVector({1.0});
    using Thrown = RowVector::RowVectorInvalidDimensionsException;
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { a.transpose() * b; }));
    EXPECT_TRUE(getDoesThrowPointer<Thrown>([&] { b.transpose() * a; }));
}

TEST(RowVector, IsAVectorWithItsOwnValues) {
    Vector v = toVector({1.0, 2.0});
    RowVector row = v.transpose();
    v.set(0, 9.0);
    EXPECT_EQ(row.get(0), 1.0);
    RowVector const copy(row);
    RowVector sized(3);
    EXPECT_EQ(sized.getNumberOfValues(), 3U);
    RowVector& result = sized = copy;
    EXPECT_EQ(&result, &sized);
    EXPECT_EQ(toValues(sized), Values({1.0, 2.0}));
    RowVector const& alias = sized;
    sized = alias;
    EXPECT_EQ(toValues(sized), Values({1.0, 2.0}));
    RowVector const tripled = row * 3.0;
    EXPECT_EQ(toValues(tripled), Values({3.0, 6.0}));
}

TEST(Vector, FirstConstructionBySizeAsksForBlocksOnceAndLengthsNeedNotFillThem) {
    Vector::isSSE2Checked = false;
    Vector::doUseSSE2 = true;
    Vector const odd(13);
    EXPECT_TRUE(Vector::isSSE2Checked);
    EXPECT_FALSE(Vector::doUseSSE2);
    EXPECT_FALSE(odd.getDoUseSSE2());
    EXPECT_EQ(odd.getNumberOfValues(), 13U);
}

TEST(Vector, ClassesAreDestroyedThroughTheirBase) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Vector>);
    EXPECT_TRUE((std::is_base_of_v<Vector, RowVector>));
    EXPECT_EQ(sizeof(RowVector), sizeof(Vector));
}

} // namespace
} // namespace QELT::LinearAlgebra
