// What compiles for one who includes the public headers alone.

#include "Geometry/linearalgebra/utility.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

static_assert(std::is_convertible_v<unsigned long, Vector>);
static_assert(std::is_convertible_v<unsigned long, RowVector>);

template <class Left, class Right>
constexpr bool hasProduct = requires(Left const& left, Right const& right) {
    left* right;
};

static_assert(!hasProduct<double, SparseMatrix>, "internal to the difference");
static_assert(!hasProduct<int, SparseMatrix>);
static_assert(!hasProduct<SparseMatrix, double>, "the number is no vector of that length");
static_assert(!hasProduct<SparseMatrix, int>);
static_assert(hasProduct<SparseMatrix, SparseMatrix>);
static_assert(hasProduct<SparseMatrix, Vector>);
static_assert(hasProduct<double, Vector>);
static_assert(hasProduct<int, Vector>);
static_assert(hasProduct<Vector, double>);
static_assert(hasProduct<RowVector, Vector>);
static_assert(std::is_same_v<decltype(RowVector(1) * 2), RowVector>, "not an inner product");

unsigned long getLength(Vector const& vector) {
    return vector.getNumberOfValues();
}

TEST(Conversions, ALengthIsAVectorOfThatLength) {
    unsigned long const length = 3;
    Vector const vector = length;
    EXPECT_EQ(vector.getNumberOfValues(), 3U);
    RowVector const row = length;
    EXPECT_EQ(row.getNumberOfValues(), 3U);
    EXPECT_EQ(getLength(length), 3U);
}

} // namespace
} // namespace QELT::LinearAlgebra
