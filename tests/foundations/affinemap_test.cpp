#include "Geometry/foundations/affinemap.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

static_assert(std::has_virtual_destructor_v<AffineMap>);

using Matrix = std::array<std::array<double, 4>, 4>;

constexpr Matrix numbered = {
    {{1.0, 2.0, 3.0, 10.0}, {4.0, 5.0, 6.0, 20.0}, {7.0, 8.0, 10.0, 30.0}, {0.0, 0.0, 0.0, 1.0}}};

Matrix matrixOf(AffineMap const& map) {
    Matrix matrix{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            matrix[i][j] = map.getLinearMap().get(i, j);
        }
        matrix[i][3] = map.getTranslation().get(i);
    }
    matrix[3][3] = 1.0;
    return matrix;
}

AffineMap mapOf(Matrix const& matrix) {
    LinearMap linearMap;
    Vector translation;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            linearMap.set(i, j, matrix[i][j]);
        }
        translation.set(i, matrix[i][3]);
    }
    return AffineMap(linearMap, translation);
}

AffineMap randomMap(std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    Matrix matrix{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (double& element : matrix[i]) {
            element = number(generator);
        }
    }
    return mapOf(matrix);
}

AffineMap identity() {
    LinearMap linearMap;
    linearMap.setAsIdentity();
    return AffineMap(linearMap, Vector());
}

void expectNear(Matrix const& actual, Matrix const& expected, double tolerance) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_NEAR(actual[i][j], expected[i][j], tolerance) << i << ", " << j;
        }
    }
}

void expectNear(Vector const& actual, Vector const& expected, double tolerance) {
    for (unsigned long i = 0; i < 3; ++i) {
        EXPECT_NEAR(actual.get(i), expected.get(i), tolerance) << i;
    }
}

TEST(AffineMap, TheDefaultMapTakesEverythingToZero) {
    Matrix zero{};
    zero[3][3] = 1.0;
    EXPECT_EQ(matrixOf(AffineMap()), zero);
    expectNear(AffineMap()(Vector(1.0, 2.0, 3.0)), Vector(), 0.0);
}

TEST(AffineMap, StoresItsPartsAndGivesThemBack) {
    AffineMap const original = mapOf(numbered);
    EXPECT_EQ(matrixOf(original), numbered);
    AffineMap changed(original);
    changed.setTranslation(Vector(-1.0, -2.0, -3.0));
    Matrix expected = numbered;
    expected[0][3] = -1.0;
    expected[1][3] = -2.0;
    expected[2][3] = -3.0;
    EXPECT_EQ(matrixOf(changed), expected);
    changed.setLinearMap(identity().getLinearMap());
    EXPECT_EQ(changed.getLinearMap().get(0, 1), 0.0);
    EXPECT_EQ(changed.getTranslation().getdX(), -1.0);
    AffineMap assigned;
    assigned = original;
    EXPECT_EQ(matrixOf(assigned), numbered);
    AffineMap set;
    set.set(original);
    EXPECT_EQ(matrixOf(set), numbered);
}

TEST(AffineMap, AppliesTheLinearMapAndThenTheTranslation) {
    expectNear(mapOf(numbered)(Vector(1.0, -1.0, 2.0)), Vector(15.0, 31.0, 49.0), 0.0);
}

TEST(AffineMap, TheHomogeneousMatrixIsReadAndWrittenRowByRow) {
    std::array<double, 16> given = {1.0, 2.0, 3.0,  10.0, 4.0,  5.0,  6.0,  20.0,
                                    7.0, 8.0, 10.0, 30.0, 91.0, 92.0, 93.0, 94.0};
    AffineMap const constructed(given.data());
    EXPECT_EQ(matrixOf(constructed), numbered) << "the last row is ignored";
    AffineMap set;
    set.set(given.data());
    EXPECT_EQ(matrixOf(set), numbered);
    std::array<double, 16> written{};
    written.fill(-1.0);
    constructed.get(written.data());
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(written[4 * i + j], numbered[i][j]);
        }
    }
}

TEST(AffineMap, TheInverseUndoesTheMapOnBothSides) {
    std::mt19937 generator(41);
    std::uniform_real_distribution<double> number(-5.0, 5.0);
    for (int i = 0; i < 300; ++i) {
        AffineMap const map = randomMap(generator);
        AffineMap const inverse = map.inverse();
        double const tolerance = 1e-12 / std::abs(map.getLinearMap().det());
        double const x = number(generator);
        Vector const vector(x, 1.0 - x, 2.0 + x);
        expectNear(inverse(map(vector)), vector, tolerance);
        expectNear(map(inverse(vector)), vector, tolerance);
    }
}

TEST(AffineMap, TheInverseOfASingularMapIsNotFinite) {
    AffineMap const inverse = AffineMap(LinearMap(), Vector(1.0, 2.0, 3.0)).inverse();
    EXPECT_TRUE(std::isnan(inverse.getLinearMap().get(0, 0)));
    EXPECT_TRUE(std::isnan(inverse.getTranslation().getdX()));
}

TEST(AffineMap, TheProductOfTwoIdentitiesHasTheDiagonalOneTwoTwo) {
    Matrix const expected = {
        {{1.0, 0.0, 0.0, 0.0}, {0.0, 2.0, 0.0, 0.0}, {0.0, 0.0, 2.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
    EXPECT_EQ(matrixOf(identity() * identity()), expected);
}

TEST(AffineMap, TheProductIsNoCompositionButTheArgumentPlusTheOwnSquare) {
    std::mt19937 generator(42);
    bool doesCompositionDiffer = false;
    for (int n = 0; n < 300; ++n) {
        AffineMap const left = randomMap(generator);
        AffineMap const right = randomMap(generator);
        Matrix const p = matrixOf(left);
        Matrix expected = matrixOf(right);
        expected[0].fill(0.0);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                for (std::size_t k = 0; k < 3; ++k) {
                    expected[i][j] += p[i][k] * p[k][j];
                }
            }
        }
        AffineMap const product = left * right;
        expectNear(matrixOf(product), expected, 1e-14);
        EXPECT_EQ(product.getTranslation().getdX(), 0.0);
        EXPECT_EQ(product.getTranslation().getdY(), right.getTranslation().getdY());
        EXPECT_EQ(product.getTranslation().getdZ(), right.getTranslation().getdZ());
        Vector const probe(1.0, 2.0, 3.0);
        doesCompositionDiffer =
            doesCompositionDiffer || std::abs(product(probe).getdX() - left(right(probe)).getdX()) > 0.1;
    }
    EXPECT_TRUE(doesCompositionDiffer);
}

TEST(AffineMap, TheProductDoesNotChangeItsOperands) {
    AffineMap map = mapOf(numbered);
    AffineMap const square = map * map;
    EXPECT_EQ(matrixOf(map), numbered);
    Matrix const expected = {{{30.0, 36.0, 45.0, 0.0},
                              {70.0, 86.0, 108.0, 20.0},
                              {116.0, 142.0, 179.0, 30.0},
                              {0.0, 0.0, 0.0, 1.0}}};
    EXPECT_EQ(matrixOf(square), expected);
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
