#include "Geometry/foundations/linearmap.h"

#include "Geometry/foundations/quaternion.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_maps.h"

#include <array>
#include <exception>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry {
namespace {

using Testing::PlainMatrix;
using Testing::PlainVector;
using Testing::sameBits;

constexpr double fullTurn = 6.283185307179586;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// The text of what `action` throws; empty when it throws nothing.
template <class Action>
std::string messageOf(Action const& action) {
    try {
        action();
    } catch (std::exception const& error) {
        return error.what();
    }
    return {};
}

using FlatMap = TwoDimensional::LinearMap<double>;
using FlatVector = TwoDimensional::Vector<double>;

static_assert(std::has_virtual_destructor_v<FlatMap>);
static_assert(TwoDimensional::Identity == 0);

testing::AssertionResult has(FlatMap const& map, double m11, double m12, double m21, double m22) {
    for (testing::AssertionResult const& entry :
         {sameBits(map.m11, m11), sameBits(map.m12, m12), sameBits(map.m21, m21), sameBits(map.m22, m22)}) {
        if (!entry) {
            return entry;
        }
    }
    return testing::AssertionSuccess();
}

FlatMap randomFlatMap(std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    double const m11 = number(generator);
    double const m12 = number(generator);
    double const m21 = number(generator);
    double const m22 = number(generator);
    return FlatMap(m11, m12, m21, m22);
}

TEST(FlatLinearMap, TheDefaultMapTakesEveryVectorToZero) {
    EXPECT_TRUE(has(FlatMap(), 0.0, 0.0, 0.0, 0.0));
    FlatVector const image = FlatMap() * FlatVector(3.0, -4.0);
    EXPECT_TRUE(image.getIsNull());
}

TEST(FlatLinearMap, IdentityIsTheOnlyNamedMap) {
    EXPECT_TRUE(has(FlatMap(TwoDimensional::Identity), 1.0, 0.0, 0.0, 1.0));
    for (int value : {1, -1, 7}) {
        EXPECT_EQ(messageOf([value] { FlatMap(static_cast<TwoDimensional::DefaultLinearMaps>(value)); }),
                  "Unsupported linear map initialisation.");
    }
}

TEST(FlatLinearMap, EntriesAreGivenByRowsAndCopied) {
    FlatMap const map(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(has(map, 1.0, 2.0, 3.0, 4.0));
    FlatMap const copy(map);
    EXPECT_TRUE(has(copy, 1.0, 2.0, 3.0, 4.0));
    FlatMap assigned;
    assigned = map;
    EXPECT_TRUE(has(assigned, 1.0, 2.0, 3.0, 4.0));
}

TEST(FlatLinearMap, AQuarterTurnScaledByTwoTakesTheUAxisToTwiceTheVAxis) {
    FlatVector const image = FlatMap(1.0, 4.0, 2.0) * FlatVector(1.0, 0.0);
    EXPECT_NEAR(image.getdU(), 0.0, 1e-15);
    EXPECT_NEAR(image.getdV(), 2.0, 1e-15);
}

TEST(FlatLinearMap, ARotationIsGivenAsAFractionOfATurnAndAScale) {
    std::mt19937 generator(31);
    std::uniform_real_distribution<double> number(-3.0, 3.0);
    for (int i = 0; i < 500; ++i) {
        double const numerator = number(generator);
        double const denominator = number(generator);
        double const scale = number(generator);
        double volatile product = numerator * fullTurn;
        double const angle = product / denominator;
        double const c = std::cos(angle) * scale;
        double const s = std::sin(angle) * scale;
        ASSERT_TRUE(has(FlatMap(numerator, denominator, scale), c, -s, s, c));
        FlatMap map(9.0, 9.0, 9.0, 9.0);
        map.setAsRotation(numerator, denominator, scale);
        ASSERT_TRUE(has(map, c, -s, s, c));
    }
}

TEST(FlatLinearMap, EqualityComparesAllFourEntries) {
    FlatMap const map(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(map == FlatMap(1.0, 2.0, 3.0, 4.0));
    EXPECT_FALSE(map == FlatMap(9.0, 2.0, 3.0, 4.0));
    EXPECT_FALSE(map == FlatMap(1.0, 9.0, 3.0, 4.0));
    EXPECT_FALSE(map == FlatMap(1.0, 2.0, 9.0, 4.0));
    EXPECT_FALSE(map == FlatMap(1.0, 2.0, 3.0, 9.0));
    FlatMap const undefined(1.0, nan, 3.0, 4.0);
    EXPECT_FALSE(undefined == undefined);
    EXPECT_TRUE(FlatMap() == FlatMap(-0.0, 0.0, -0.0, 0.0));
}

TEST(FlatLinearMap, ActsOnColumnVectors) {
    FlatMap const map(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(map * FlatVector(5.0, 6.0) == FlatVector(17.0, 39.0));
    EXPECT_TRUE(map(FlatVector(5.0, 6.0)) == FlatVector(17.0, 39.0));
}

TEST(FlatLinearMap, TheProductAppliesTheRightMapFirst) {
    FlatMap const left(1.0, 2.0, 3.0, 4.0);
    FlatMap const right(5.0, 6.0, 7.0, 8.0);
    EXPECT_TRUE(has(left * right, 19.0, 22.0, 43.0, 50.0));
    EXPECT_TRUE(has(left(right), 19.0, 22.0, 43.0, 50.0));
    FlatVector const vector(1.0, -2.0);
    EXPECT_TRUE((left * right) * vector == left * (right * vector));
}

TEST(FlatLinearMap, SumAndDifferenceGoEntryByEntry) {
    FlatMap const left(1.0, 2.0, 3.0, 4.0);
    FlatMap const right(10.0, 30.0, 50.0, 70.0);
    EXPECT_TRUE(has(left + right, 11.0, 32.0, 53.0, 74.0));
    EXPECT_TRUE(has(left - right, -9.0, -28.0, -47.0, -66.0));
}

TEST(FlatLinearMap, TheInverseDividesTheAdjugateByTheDeterminant) {
    EXPECT_TRUE(has(FlatMap(2.0, 1.0, 4.0, 4.0).inverse(), 1.0, -0.25, -1.0, 0.5));
    std::mt19937 generator(32);
    for (int i = 0; i < 500; ++i) {
        FlatMap const map = randomFlatMap(generator);
        double volatile diagonal = map.m11 * map.m22;
        double volatile other = map.m12 * map.m21;
        double const det = diagonal - other;
        ASSERT_TRUE(has(map.inverse(), map.m22 / det, -(map.m12 / det), -(map.m21 / det), map.m11 / det));
        FlatMap const product = map * map.inverse();
        double const tolerance = 1e-14 * 8.0 / std::abs(det);
        ASSERT_NEAR(product.m11, 1.0, tolerance);
        ASSERT_NEAR(product.m12, 0.0, tolerance);
        ASSERT_NEAR(product.m21, 0.0, tolerance);
        ASSERT_NEAR(product.m22, 1.0, tolerance);
    }
}

TEST(FlatLinearMap, TheInverseOfASingularMapIsNotFinite) {
    EXPECT_TRUE(has(FlatMap(1.0, 2.0, 2.0, 4.0).inverse(), infinity, -infinity, -infinity, infinity));
    EXPECT_TRUE(has(FlatMap().inverse(), nan, nan, nan, nan));
}

using ThreeDimensional::LinearMap;
using ThreeDimensional::Quaternion;
using ThreeDimensional::Vector;
using Axis = LinearMap::RotationAxis;

static_assert(std::has_virtual_destructor_v<LinearMap>);
static_assert(LinearMap::X == 0 && LinearMap::Y == 1 && LinearMap::Z == 2);

constexpr std::array<PlainVector, 3> unitAxes = {{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};

PlainMatrix plain(LinearMap const& map) {
    PlainMatrix matrix{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            matrix[i][j] = map.get(i, j);
        }
    }
    return matrix;
}

LinearMap mapOf(PlainMatrix const& matrix) {
    LinearMap map;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            map.set(i, j, matrix[i][j]);
        }
    }
    return map;
}

testing::AssertionResult is(LinearMap const& map, PlainMatrix const& expected) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            testing::AssertionResult const same = sameBits(map.get(i, j), expected[i][j]);
            if (!same) {
                return testing::AssertionFailure() << "(" << i << ", " << j << "): " << same.message();
            }
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isNear(LinearMap const& map, PlainMatrix const& expected, double tolerance) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            if (!(std::abs(map.get(i, j) - expected[i][j]) <= tolerance)) {
                return testing::AssertionFailure()
                       << "(" << i << ", " << j << "): " << map.get(i, j) << " for " << expected[i][j];
            }
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult is(Vector const& vector, PlainVector const& expected) {
    for (std::size_t i = 0; i < 3; ++i) {
        testing::AssertionResult const same = sameBits(vector.get(i), expected[i]);
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

PlainMatrix randomMatrix(std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    PlainMatrix matrix{};
    for (PlainVector& row : matrix) {
        for (double& element : row) {
            element = number(generator);
        }
    }
    return matrix;
}

Vector randomAngles(std::mt19937& generator) {
    std::uniform_real_distribution<double> angle(-4.0, 4.0);
    double const first = angle(generator);
    double const second = angle(generator);
    double const third = angle(generator);
    return Vector(first, second, third);
}

constexpr PlainMatrix oneToNine = {{{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}, {7.0, 8.0, 9.0}}};

TEST(SpatialLinearMap, TheDefaultMapIsZero) {
    EXPECT_TRUE(is(LinearMap(), PlainMatrix{}));
}

TEST(SpatialLinearMap, ElementsLieRowByRow) {
    LinearMap const map = mapOf(oneToNine);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(map.m[i], static_cast<double>(i + 1));
    }
}

TEST(SpatialLinearMap, ThreeVectorsAreTheColumns) {
    LinearMap const map(Vector(1.0, 4.0, 7.0), Vector(2.0, 5.0, 8.0), Vector(3.0, 6.0, 9.0));
    EXPECT_TRUE(is(map, oneToNine));
    EXPECT_TRUE(is(map * Vector(1.0, 0.0, 0.0), {1.0, 4.0, 7.0}));
}

TEST(SpatialLinearMap, CopiesHaveTheirOwnElements) {
    LinearMap original = mapOf(oneToNine);
    LinearMap const copy(original);
    LinearMap assigned;
    assigned = original;
    LinearMap set;
    set.set(original);
    original.set(0, 0, 99.0);
    EXPECT_TRUE(is(copy, oneToNine));
    EXPECT_TRUE(is(assigned, oneToNine));
    EXPECT_TRUE(is(set, oneToNine));
}

TEST(SpatialLinearMap, ReadingOutsideGivesZero) {
    LinearMap const map = mapOf(oneToNine);
    EXPECT_EQ(map.get(2, 2), 9.0);
    EXPECT_EQ(map.get(3, 0), 0.0);
    EXPECT_EQ(map.get(0, 3), 0.0);
    EXPECT_EQ(map.get(0xFFFFFFFFUL, 0xFFFFFFFFUL), 0.0);
}

TEST(SpatialLinearMap, WritingOutsideChangesNothing) {
    LinearMap map = mapOf(oneToNine);
    map.set(0, 3, 1.0);
    map.set(3, 0, 1.0);
    map.set(0xFFFFFFFFUL, 0, 1.0);
    map.inc(0, 3, 1.0);
    map.inc(3, 0, 1.0);
    map.setColumn(3, Vector(1.0, 1.0, 1.0));
    EXPECT_TRUE(is(map, oneToNine));
}

TEST(SpatialLinearMap, OnlyTheLow32BitsOfAnIndexCount) {
    if constexpr (sizeof(unsigned long) > 4) {
        unsigned long const wide = static_cast<unsigned long>(0x1'0000'0000ULL);
        LinearMap map = mapOf(oneToNine);
        EXPECT_EQ(map.get(wide, wide + 1), 2.0);
        EXPECT_TRUE(is(map.getColumn(wide + 2), {3.0, 6.0, 0.0}));
        map.setColumn(wide, Vector(0.0, 0.0, 0.0));
        EXPECT_EQ(map.get(0, 0), 0.0);
        Axis const axes[] = {LinearMap::X, LinearMap::Y, LinearMap::Z};
        EXPECT_EQ(messageOf([&] { map.setRotationDerivative(wide, axes, Vector()); }), "");
    }
}

TEST(SpatialLinearMap, ElementsAreStoredAndAddedTo) {
    LinearMap map = mapOf(oneToNine);
    map.set(1, 2, 20.0);
    map.inc(2, 1, 0.5);
    EXPECT_TRUE(is(map, {{{1.0, 2.0, 3.0}, {4.0, 5.0, 20.0}, {7.0, 8.5, 9.0}}}));
}

TEST(SpatialLinearMap, TheIdentityReplacesAllElements) {
    LinearMap map = mapOf(oneToNine);
    map.setAsIdentity();
    EXPECT_TRUE(is(map, Testing::plainIdentity));
}

TEST(SpatialLinearMap, AColumnIsWrittenWhole) {
    LinearMap map = mapOf(oneToNine);
    map.setColumn(1, Vector(20.0, 50.0, 80.0));
    EXPECT_TRUE(is(map, {{{1.0, 20.0, 3.0}, {4.0, 50.0, 6.0}, {7.0, 80.0, 9.0}}}));
}

TEST(SpatialLinearMap, AColumnIsReadOnlyAboveTheDiagonal) {
    LinearMap const map = mapOf(oneToNine);
    EXPECT_TRUE(is(map.getColumn(0), {0.0, 0.0, 0.0}));
    EXPECT_TRUE(is(map.getColumn(1), {2.0, 0.0, 0.0}));
    EXPECT_TRUE(is(map.getColumn(2), {3.0, 6.0, 0.0}));
    EXPECT_TRUE(is(map.getColumn(3), {0.0, 0.0, 0.0}));
    EXPECT_TRUE(is(map.getColumn(0xFFFFFFFFUL), {0.0, 0.0, 0.0}));
}

TEST(SpatialLinearMap, ActsOnColumnVectors) {
    LinearMap const map = mapOf(oneToNine);
    EXPECT_TRUE(is(map * Vector(1.0, -2.0, 3.0), {6.0, 12.0, 18.0}));
    EXPECT_TRUE(is(map(Vector(1.0, -2.0, 3.0)), {6.0, 12.0, 18.0}));
}

TEST(SpatialLinearMap, ProductsAgreeWithThePlainSums) {
    std::mt19937 generator(33);
    for (int i = 0; i < 500; ++i) {
        PlainMatrix const a = randomMatrix(generator);
        PlainMatrix const b = randomMatrix(generator);
        ASSERT_TRUE(isNear(mapOf(a) * mapOf(b), Testing::plainProduct(a, b), 1e-14));
        PlainVector const v = b[1];
        PlainVector const image = Testing::plainImage(a, v);
        Vector const actual = mapOf(a) * Vector(v[0], v[1], v[2]);
        for (std::size_t k = 0; k < 3; ++k) {
            ASSERT_NEAR(actual.get(k), image[k], 1e-14);
        }
    }
}

TEST(SpatialLinearMap, TheProductAppliesTheRightMapFirst) {
    LinearMap const swapXY(Vector(0.0, 1.0, 0.0), Vector(1.0, 0.0, 0.0), Vector(0.0, 0.0, 1.0));
    LinearMap const stretchX(Vector(2.0, 0.0, 0.0), Vector(0.0, 1.0, 0.0), Vector(0.0, 0.0, 1.0));
    EXPECT_TRUE(is((swapXY * stretchX) * Vector(1.0, 0.0, 0.0), {0.0, 2.0, 0.0}));
    EXPECT_TRUE(is((stretchX * swapXY) * Vector(1.0, 0.0, 0.0), {0.0, 1.0, 0.0}));
}

TEST(SpatialLinearMap, TheDifferenceGoesEntryByEntry) {
    LinearMap const map = mapOf(oneToNine);
    LinearMap identity;
    identity.setAsIdentity();
    EXPECT_TRUE(is(map - identity, {{{0.0, 2.0, 3.0}, {4.0, 4.0, 6.0}, {7.0, 8.0, 8.0}}}));
}

TEST(SpatialLinearMap, DeterminantTraceAndTranspose) {
    LinearMap const map = mapOf({{{2.0, 1.0, 3.0}, {0.0, 4.0, 5.0}, {1.0, 0.0, 6.0}}});
    EXPECT_EQ(map.det(), 41.0);
    EXPECT_EQ(map.trace(), 12.0);
    EXPECT_TRUE(is(map.transpose(), {{{2.0, 0.0, 1.0}, {1.0, 4.0, 0.0}, {3.0, 5.0, 6.0}}}));
    EXPECT_EQ(mapOf(oneToNine).det(), 0.0);
    EXPECT_EQ(mapOf({{{0.0, 1.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}}}).det(), -1.0);
}

TEST(SpatialLinearMap, TheDeterminantIsTheTripleProductOfTheColumns) {
    std::mt19937 generator(34);
    for (int i = 0; i < 500; ++i) {
        PlainMatrix const columns = randomMatrix(generator);
        double const triple = Testing::plainDot(Testing::plainCross(columns[0], columns[1]), columns[2]);
        ASSERT_NEAR(mapOf(columns).transpose().det(), triple, 1e-13);
        ASSERT_NEAR(mapOf(columns).det(), triple, 1e-13);
    }
}

TEST(SpatialLinearMap, TheInverseUndoesTheMapOnBothSides) {
    std::mt19937 generator(35);
    for (int i = 0; i < 500; ++i) {
        LinearMap const map = mapOf(randomMatrix(generator));
        double const tolerance = 1e-13 * 10.0 / std::abs(map.det());
        ASSERT_TRUE(isNear(map * map.inverse(), Testing::plainIdentity, tolerance));
        ASSERT_TRUE(isNear(map.inverse() * map, Testing::plainIdentity, tolerance));
    }
    LinearMap const scale = mapOf({{{2.0, 0.0, 0.0}, {0.0, 4.0, 0.0}, {0.0, 0.0, 8.0}}});
    EXPECT_TRUE(is(scale.inverse(), {{{0.5, 0.0, 0.0}, {0.0, 0.25, 0.0}, {0.0, 0.0, 0.125}}}));
}

TEST(SpatialLinearMap, TheInverseOfASingularMapIsNotFinite) {
    LinearMap const inverse = mapOf(oneToNine).inverse();
    LinearMap const inverseOfZero = LinearMap().inverse();
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            EXPECT_FALSE(std::isfinite(inverse.get(i, j)));
            EXPECT_TRUE(std::isnan(inverseOfZero.get(i, j)));
        }
    }
}

TEST(SpatialLinearMap, AQuarterTurnAboutZTakesTheXAxisToTheYAxis) {
    LinearMap map;
    map.setRotation(LinearMap::Z, fullTurn / 4.0);
    Vector const image = map * Vector(1.0, 0.0, 0.0);
    EXPECT_NEAR(image.getdX(), 0.0, 1e-15);
    EXPECT_NEAR(image.getdY(), 1.0, 1e-15);
    EXPECT_EQ(image.getdZ(), 0.0);
}

TEST(SpatialLinearMap, RotationsAboutOneAxisHaveTheirTabledEntries) {
    std::mt19937 generator(36);
    std::uniform_real_distribution<double> angles(-7.0, 7.0);
    LinearMap map = mapOf(oneToNine);
    for (int i = 0; i < 200; ++i) {
        double const angle = angles(generator);
        double const c = std::cos(angle);
        double const s = std::sin(angle);
        map.setRotation(LinearMap::X, angle);
        ASSERT_TRUE(is(map, {{{1.0, 0.0, 0.0}, {0.0, c, -s}, {0.0, s, c}}}));
        map.setRotation(LinearMap::Y, angle);
        ASSERT_TRUE(is(map, {{{c, 0.0, s}, {0.0, 1.0, 0.0}, {-s, 0.0, c}}}));
        map.setRotation(LinearMap::Z, angle);
        ASSERT_TRUE(is(map, {{{c, -s, 0.0}, {s, c, 0.0}, {0.0, 0.0, 1.0}}}));
    }
}

TEST(SpatialLinearMap, RotationsAboutOneAxisAreRightHandedTurns) {
    std::mt19937 generator(37);
    std::uniform_real_distribution<double> angles(-7.0, 7.0);
    for (int i = 0; i < 300; ++i) {
        int const axis = i % 3;
        double const angle = angles(generator);
        LinearMap map;
        map.setRotation(static_cast<Axis>(axis), angle);
        ASSERT_TRUE(isNear(map, Testing::plainTurn(unitAxes[static_cast<std::size_t>(axis)], angle), 1e-15));
    }
}

TEST(SpatialLinearMap, RotationDerivativesHaveTheirTabledEntries) {
    double const angle = 0.7;
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    LinearMap map = mapOf(oneToNine);
    map.setRotationDerivative(LinearMap::X, angle);
    EXPECT_TRUE(is(map, {{{0.0, 0.0, 0.0}, {0.0, -s, -c}, {0.0, c, -s}}}));
    map.setRotationDerivative(LinearMap::Y, angle);
    EXPECT_TRUE(is(map, {{{-s, 0.0, c}, {0.0, 0.0, 0.0}, {-c, 0.0, -s}}}));
    map.setRotationDerivative(LinearMap::Z, angle);
    EXPECT_TRUE(is(map, {{{-s, -c, 0.0}, {c, -s, 0.0}, {0.0, 0.0, 0.0}}}));
}

/// The central difference of two maps that belong to arguments 2 * step apart; its error is of the order
/// step^2.
constexpr double differenceStep = 1e-5;
constexpr double differenceTolerance = 1e-9;

PlainMatrix centralDifference(LinearMap const& after, LinearMap const& before) {
    PlainMatrix quotient = plain(after - before);
    for (PlainVector& row : quotient) {
        for (double& element : row) {
            element /= 2.0 * differenceStep;
        }
    }
    return quotient;
}

TEST(SpatialLinearMap, RotationDerivativesAreTheSlopeOfTheRotations) {
    for (Axis axis : {LinearMap::X, LinearMap::Y, LinearMap::Z}) {
        for (double angle : {-2.0, 0.0, 0.3, 3.0}) {
            LinearMap after;
            LinearMap before;
            LinearMap derivative;
            after.setRotation(axis, angle + differenceStep);
            before.setRotation(axis, angle - differenceStep);
            derivative.setRotationDerivative(axis, angle);
            EXPECT_TRUE(isNear(derivative, centralDifference(after, before), differenceTolerance));
        }
    }
}

template <class Check>
void forAllAxisOrders(Check const& check) {
    for (int order = 0; order < 27; ++order) {
        std::array<Axis, 3> const axes = {static_cast<Axis>(order / 9), static_cast<Axis>(order / 3 % 3),
                                          static_cast<Axis>(order % 3)};
        check(axes);
    }
}

PlainMatrix plainAxisTurn(Axis axis, double angle) {
    return Testing::plainTurn(unitAxes[static_cast<std::size_t>(axis)], angle);
}

TEST(SpatialLinearMap, ThreeRotationsActInTheOrderOfTheirAxes) {
    std::mt19937 generator(38);
    forAllAxisOrders([&generator](std::array<Axis, 3> const& axes) {
        Vector const angles = randomAngles(generator);
        PlainMatrix const expected =
            Testing::plainProduct(plainAxisTurn(axes[2], angles.getdZ()),
                                  Testing::plainProduct(plainAxisTurn(axes[1], angles.getdY()),
                                                        plainAxisTurn(axes[0], angles.getdX())));
        LinearMap map = mapOf(oneToNine);
        map.setRotation(axes.data(), angles);
        EXPECT_TRUE(isNear(map, expected, 1e-14));
        EXPECT_TRUE(is(LinearMap(axes.data(), angles), plain(map)));
    });
}

TEST(SpatialLinearMap, WithOneAngleThreeRotationsAreTheOne) {
    std::array<Axis, 3> const axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
    double const angle = 0.8;
    LinearMap one;
    LinearMap three;
    one.setRotation(LinearMap::X, angle);
    three.setRotation(axes.data(), Vector(angle, 0.0, 0.0));
    EXPECT_TRUE(isNear(three, plain(one), 0.0));
    one.setRotation(LinearMap::Y, angle);
    three.setRotation(axes.data(), Vector(0.0, angle, 0.0));
    EXPECT_TRUE(isNear(three, plain(one), 0.0));
    one.setRotation(LinearMap::Z, angle);
    three.setRotation(axes.data(), Vector(0.0, 0.0, angle));
    EXPECT_TRUE(isNear(three, plain(one), 0.0));
}

TEST(SpatialLinearMap, ADerivativeOfThreeRotationsReplacesTheOneFactor) {
    std::mt19937 generator(39);
    forAllAxisOrders([&generator](std::array<Axis, 3> const& axes) {
        Vector const angles = randomAngles(generator);
        for (unsigned long index = 0; index < 3; ++index) {
            std::array<PlainMatrix, 3> factors{};
            for (unsigned long k = 0; k < 3; ++k) {
                LinearMap factor;
                if (k == index) {
                    factor.setRotationDerivative(axes[k], angles.get(k));
                } else {
                    factor.setRotation(axes[k], angles.get(k));
                }
                factors[k] = plain(factor);
            }
            LinearMap map = mapOf(oneToNine);
            map.setRotationDerivative(index, axes.data(), angles);
            EXPECT_TRUE(
                isNear(map, Testing::plainProduct(factors[2], Testing::plainProduct(factors[1], factors[0])),
                       1e-14));
        }
    });
}

TEST(SpatialLinearMap, DerivativesOfThreeRotationsAreTheSlopesByTheirAngles) {
    std::mt19937 generator(40);
    forAllAxisOrders([&generator](std::array<Axis, 3> const& axes) {
        Vector const angles = randomAngles(generator);
        for (unsigned long index = 0; index < 3; ++index) {
            LinearMap const after(axes.data(), angles + Vector(index, differenceStep));
            LinearMap const before(axes.data(), angles - Vector(index, differenceStep));
            LinearMap derivative;
            derivative.setRotationDerivative(index, axes.data(), angles);
            EXPECT_TRUE(isNear(derivative, centralDifference(after, before), differenceTolerance));
        }
    });
}

TEST(SpatialLinearMap, AnInvalidRotationAxisIsRefusedAndTheMapStays) {
    LinearMap map = mapOf(oneToNine);
    for (int value : {3, -1, 100}) {
        Axis const invalid = static_cast<Axis>(value);
        EXPECT_EQ(messageOf([&] { map.setRotation(invalid, 1.0); }), "Invalid rotation axis.");
        EXPECT_EQ(messageOf([&] { map.setRotationDerivative(invalid, 1.0); }), "Invalid rotation axis.");
    }
    EXPECT_TRUE(is(map, oneToNine));
}

TEST(SpatialLinearMap, AnInvalidAxisAmongThreeIsRefusedAndTheMapStays) {
    LinearMap map = mapOf(oneToNine);
    for (std::size_t place = 0; place < 3; ++place) {
        std::array<Axis, 3> axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
        axes[place] = static_cast<Axis>(3);
        EXPECT_EQ(messageOf([&] { map.setRotation(axes.data(), Vector()); }), "Invalid rotation axis.");
        EXPECT_EQ(messageOf([&] { LinearMap(axes.data(), Vector()); }), "Invalid rotation axis.");
        for (unsigned long index = 0; index < 3; ++index) {
            EXPECT_EQ(messageOf([&] { map.setRotationDerivative(index, axes.data(), Vector()); }),
                      "Invalid rotation axis.");
        }
    }
    EXPECT_TRUE(is(map, oneToNine));
}

TEST(SpatialLinearMap, ADerivativeByAFourthAngleIsRefusedWhateverTheAxes) {
    LinearMap map = mapOf(oneToNine);
    std::array<Axis, 3> const axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
    std::array<Axis, 3> const invalidAxes = {static_cast<Axis>(3), LinearMap::Y, LinearMap::Z};
    for (unsigned long index : {3UL, 4UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(messageOf([&] { map.setRotationDerivative(index, axes.data(), Vector()); }),
                  "Invalid derivative axis.");
        EXPECT_EQ(messageOf([&] { map.setRotationDerivative(index, invalidAxes.data(), Vector()); }),
                  "Invalid derivative axis.");
    }
    EXPECT_TRUE(is(map, oneToNine));
}

TEST(SpatialLinearMap, AQuaternionGivesItsRotation) {
    Quaternion const quaternion(1.0, 2.0, -3.0, 4.0);
    LinearMap rotation;
    quaternion.getRotation(rotation);
    EXPECT_TRUE(is(LinearMap(quaternion), plain(rotation)));
    EXPECT_NEAR(LinearMap(quaternion).det(), 1.0, 1e-15);
}

} // namespace
} // namespace QELT::Geometry
