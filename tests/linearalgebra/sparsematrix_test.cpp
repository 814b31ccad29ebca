#include "Geometry/linearalgebra/sparsematrix.h"

#include "Geometry/linearalgebra/internal/scalarproduct.h"

#include "tests/support/float_bits.h"
#include "tests/support/plain_linearalgebra.h"
#include "tests/support/thrownpointer.h"

#include <cmath>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

namespace Plain = Testing::PlainLinearAlgebra;
using Testing::getDoesThrowPointer;
using Testing::sameBits;
using Dimensions = SparseMatrix::SparseMatrixInvalidDimensionsException;
using Unsupported = SparseMatrix::SparseMatrixUnsupportedSSE2Function;

constexpr auto empty = SparseMatrix::CanonicalEmpty;
constexpr auto identity = SparseMatrix::CanonicalIdentity;

std::vector<std::uint32_t> getColumns(SparseMatrix const& matrix, unsigned long r) {
    return {matrix.getpRowIndices(r), matrix.getpRowIndices(r) + matrix.getNumberOfRowValues(r)};
}

std::vector<double> getValues(SparseMatrix const& matrix, unsigned long r) {
    return {matrix.getpRowValues(r), matrix.getpRowValues(r) + matrix.getNumberOfRowValues(r)};
}

unsigned long countEntries(SparseMatrix const& matrix) {
    unsigned long entries = 0;
    for (unsigned long r = 0; r < matrix.getNumberOfRows(); ++r) {
        entries += matrix.getNumberOfRowValues(r);
    }
    return entries;
}

/// Pretends for its lifetime that values are stored in blocks.
class PretendedBlocks {
public:
    PretendedBlocks() { SparseMatrix::doUseSSE2 = true; }

    ~PretendedBlocks() { SparseMatrix::doUseSSE2 = false; }

    PretendedBlocks(PretendedBlocks const&) = delete;
    PretendedBlocks& operator=(PretendedBlocks const&) = delete;
};

TEST(SparseMatrix, StartsEmptyWithoutArrays) {
    SparseMatrix const matrix(2, 3, 8, empty);
    EXPECT_EQ(matrix.getNumberOfRows(), 2U);
    EXPECT_EQ(matrix.getNumberOfColumns(), 3U);
    EXPECT_EQ(matrix.getApproxNonZeroElementsPerRow(), 8U);
    EXPECT_EQ(countEntries(matrix), 0U);
    EXPECT_EQ(matrix.pRowCapacities[0], 0U);
    EXPECT_EQ(matrix.get(1, 2), 0.0);
}

TEST(SparseMatrix, CanonicalContentsHaveTheNumbers0And1) {
    EXPECT_EQ(static_cast<int>(empty), 0);
    EXPECT_EQ(static_cast<int>(identity), 1);
    SparseMatrix const matrix(3, 3, 8, identity);
    for (unsigned long r = 0; r < 3; ++r) {
        EXPECT_EQ(getColumns(matrix, r), std::vector<std::uint32_t>({static_cast<std::uint32_t>(r)}));
        EXPECT_EQ(matrix.get(r, r), 1.0);
    }
    SparseMatrix const other(2, 3, 8, static_cast<SparseMatrix::Canonical>(2));
    EXPECT_EQ(countEntries(other), 0U);
}

TEST(SparseMatrix, IdentityThatIsNotSquareThrows) {
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([] { SparseMatrix(2, 3, 8, identity); }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([] { SparseMatrix(3, 2, 8, identity); }));
}

TEST(SparseMatrix, AccessBeyondTheDimensionsIsHarmless) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    matrix.set(2, 0, 1.0);
    matrix.set(0, 3, 1.0);
    matrix.acc(2, 0, 1.0);
    matrix.acc(0, 3, 1.0);
    matrix.set(0xFFFFFFFFUL, 0xFFFFFFFFUL, 1.0);
    EXPECT_EQ(countEntries(matrix), 1U);
    EXPECT_EQ(matrix.pRowCapacities[0], 0U);
    EXPECT_TRUE(sameBits(matrix.get(2, 0), 0.0));
    EXPECT_TRUE(sameBits(matrix.get(0, 3), 0.0));
    EXPECT_EQ(matrix.get(1, 2), 4.0);
}

TEST(SparseMatrix, RowStaysSortedAndALaterValueWins) {
    SparseMatrix matrix(1, 8, 8, empty);
    matrix.set(0, 5, 1.0);
    matrix.set(0, 2, 2.0);
    matrix.set(0, 5, 3.0);
    EXPECT_EQ(getColumns(matrix, 0), std::vector<std::uint32_t>({2, 5}));
    EXPECT_EQ(getValues(matrix, 0), std::vector<double>({2.0, 3.0}));
}

TEST(SparseMatrix, StoresZerosAsEntries) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(0, 1, 0.0);
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 1U);
    matrix.acc(0, 2, 0.0);
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 2U);
    matrix.set(0, 2, 5.0);
    matrix.set(0, 2, 0.0);
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 2U);
}

TEST(SparseMatrix, ARowIsReadAsItIsStored) {
    SparseMatrix matrix(3, 9, 8, empty);
    matrix.set(0, 7, 4.0);
    matrix.set(0, 2, 0.0);
    matrix.set(2, 8, -1.5);
    auto const first = matrix.getRow(0);
    EXPECT_EQ(std::vector<std::uint32_t>(first.columns.begin(), first.columns.end()), getColumns(matrix, 0));
    EXPECT_EQ(std::vector<double>(first.values.begin(), first.values.end()), getValues(matrix, 0));
    EXPECT_EQ(first.values.data(), matrix.getpRowValues(0)) << "a view, not a copy";
    EXPECT_TRUE(matrix.getRow(1).columns.empty());
    EXPECT_TRUE(matrix.getRow(1).values.empty());
    EXPECT_EQ(matrix.getRow(2).columns.size(), 1U);
    EXPECT_TRUE(matrix.getRow(3).values.empty()) << "past the last row";
}

TEST(SparseMatrix, AccumulatesIntoOldAndNewEntries) {
    SparseMatrix matrix(1, 3, 8, empty);
    matrix.acc(0, 1, 0.1);
    matrix.acc(0, 1, 0.2);
    EXPECT_TRUE(sameBits(matrix.get(0, 1), 0.1 + 0.2));
    matrix.acc(0, 0, -0.0);
    EXPECT_TRUE(sameBits(matrix.get(0, 0), 0.0)) << "0.0 + -0.0";
}

TEST(SparseMatrix, RowDoublesWhenOnePlaceIsLeft) {
    SparseMatrix matrix(1, 20, 2, empty);
    std::vector<std::uint32_t> capacities;
    for (std::uint32_t c = 0; c < 9; ++c) {
        matrix.set(0, c, 1.0);
        capacities.push_back(matrix.pRowCapacities[0]);
    }
    EXPECT_EQ(capacities, std::vector<std::uint32_t>({2, 4, 4, 8, 8, 8, 8, 16, 16}));
}

TEST(SparseMatrix, OverwritingInAnAlmostFullRowDoublesItToo) {
    SparseMatrix matrix(1, 20, 2, empty);
    matrix.set(0, 3, 1.0);
    matrix.set(0, 3, 2.0);
    EXPECT_EQ(matrix.pRowCapacities[0], 4U);
    matrix.set(0, 3, 3.0);
    EXPECT_EQ(matrix.pRowCapacities[0], 4U);
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 1U);
}

TEST(SparseMatrix, EightPlacesTakeSevenEntriesWithoutDoubling) {
    SparseMatrix matrix(1, 20, 8, empty);
    for (std::uint32_t c = 0; c < 7; ++c) {
        matrix.set(0, c, 1.0);
    }
    EXPECT_EQ(matrix.pRowCapacities[0], 8U);
    matrix.set(0, 7, 1.0);
    EXPECT_EQ(matrix.pRowCapacities[0], 16U);
}

TEST(SparseMatrix, RowsForNoEntriesStillTakeThem) {
    SparseMatrix matrix(1, 9, 0, empty);
    for (std::uint32_t c = 9; c-- > 0;) {
        matrix.set(0, c, c);
    }
    EXPECT_EQ(getValues(matrix, 0), std::vector<double>({0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(SparseMatrix, RandomWritesMatchThePlainMatrix) {
    std::mt19937 generator(11);
    for (std::uint32_t const approx : {1U, 2U, 3U, 8U}) {
        SparseMatrix matrix(6, 40, approx, empty);
        Plain::Matrix plain(6, 40, approx);
        for (int i = 0; i < 600; ++i) {
            auto const r = static_cast<std::uint32_t>(generator() % 7);
            auto const c = static_cast<std::uint32_t>(generator() % 42);
            double const v = static_cast<double>(generator() % 5) - 2.0;
            if (i % 3 == 0) {
                matrix.acc(r, c, v);
                plain.set(r, c, plain.get(r, c) + v);
            } else {
                matrix.set(r, c, v);
                plain.set(r, c, v);
            }
            ASSERT_TRUE(sameBits(matrix.get(r, c), plain.get(r, c)));
            ASSERT_EQ(Plain::getDifference(matrix, plain), "") << "after write " << i;
        }
    }
}

TEST(SparseMatrix, CopyHasFullRowsThatDoubleAtTheNextEntry) {
    SparseMatrix matrix(2, 9, 8, empty);
    matrix.set(0, 1, 1.0);
    matrix.set(0, 4, 2.0);
    SparseMatrix copy(matrix);
    EXPECT_EQ(copy.pRowCapacities[0], 2U);
    EXPECT_EQ(copy.pRowCapacities[1], 0U);
    EXPECT_EQ(copy.getApproxNonZeroElementsPerRow(), 8U);
    copy.set(0, 7, 3.0);
    EXPECT_EQ(copy.pRowCapacities[0], 4U);
    EXPECT_EQ(getColumns(copy, 0), std::vector<std::uint32_t>({1, 4, 7}));
    copy.set(1, 7, 3.0);
    EXPECT_EQ(copy.pRowCapacities[1], 8U);
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 2U) << "the copy is deep";
}

TEST(SparseMatrix, AssignmentAdoptsTheRoomOfNewRowsOnlyWithTheirNumber) {
    SparseMatrix source(2, 5, 3, empty);
    source.set(1, 4, 2.0);
    SparseMatrix sameRows(2, 9, 7, empty);
    sameRows.set(0, 8, 1.0);
    SparseMatrix& result = sameRows = source;
    EXPECT_EQ(&result, &sameRows);
    EXPECT_EQ(sameRows.getApproxNonZeroElementsPerRow(), 7U);
    EXPECT_EQ(sameRows.getNumberOfColumns(), 5U);
    EXPECT_EQ(sameRows.getNumberOfRowValues(0), 0U);
    EXPECT_EQ(sameRows.pRowCapacities[0], 0U);
    EXPECT_EQ(sameRows.get(1, 4), 2.0);

    SparseMatrix otherRows(4, 9, 7, empty);
    otherRows.set(3, 8, 1.0);
    otherRows.set(&source);
    EXPECT_EQ(otherRows.getApproxNonZeroElementsPerRow(), 3U);
    EXPECT_EQ(otherRows.getNumberOfRows(), 2U);
    EXPECT_EQ(otherRows.get(1, 4), 2.0);
    EXPECT_EQ(countEntries(otherRows), 1U);
}

TEST(SparseMatrix, SelfAssignmentKeepsTheContent) {
    SparseMatrix matrix(2, 5, 3, empty);
    matrix.set(1, 4, 2.0);
    matrix.set(1, 0, 3.0);
    SparseMatrix const& alias = matrix;
    matrix = alias;
    EXPECT_EQ(getColumns(matrix, 1), std::vector<std::uint32_t>({0, 4}));
    EXPECT_EQ(getValues(matrix, 1), std::vector<double>({3.0, 2.0}));
    EXPECT_EQ(matrix.getNumberOfRowValues(0), 0U);
}

TEST(SparseMatrix, TransposeMatchesThePlainOneAndKeepsZeros) {
    std::mt19937 generator(12);
    for (double const density : {0.0, 0.1, 0.5, 1.0}) {
        Plain::Matrix const plain = Plain::randomMatrix(generator, 7, 12, density, 3);
        EXPECT_EQ(Plain::getDifference(Plain::toSparse(plain).transpose(), Plain::transpose(plain)), "");
    }
    SparseMatrix zero(2, 3, 8, empty);
    zero.set(0, 2, 0.0);
    EXPECT_EQ(zero.transpose().getNumberOfRowValues(2), 1U);
}

TEST(SparseMatrix, SumAndDifferenceMatchThePlainOnes) {
    std::mt19937 generator(13);
    for (double const density : {0.0, 0.1, 0.5, 1.0}) {
        Plain::Matrix const a = Plain::randomMatrix(generator, 6, 9, density, 3);
        Plain::Matrix const b = Plain::randomMatrix(generator, 6, 9, 0.4, 5);
        SparseMatrix const sparseA = Plain::toSparse(a);
        SparseMatrix const sparseB = Plain::toSparse(b);
        EXPECT_EQ(Plain::getDifference(sparseA + sparseB, Plain::sum(a, b)), "");
        EXPECT_EQ(Plain::getDifference(sparseA - sparseB, Plain::sum(a, Plain::scaled(-1.0, b))), "");
        EXPECT_EQ(Plain::getDifference(sparseB - sparseA, Plain::sum(b, Plain::scaled(-1.0, a))), "");
    }
}

TEST(SparseMatrix, SumHasRoomForTheEntriesOfBothRows) {
    SparseMatrix a(1, 5, 3, empty);
    a.set(0, 1, 1.0);
    a.set(0, 2, 1.0);
    SparseMatrix const sum = a + a;
    EXPECT_EQ(sum.getNumberOfRowValues(0), 2U);
    EXPECT_EQ(sum.pRowCapacities[0], 4U);
    EXPECT_EQ(sum.getApproxNonZeroElementsPerRow(), 6U);
}

TEST(SparseMatrix, DifferenceWithItselfKeepsThePositionsWithZeros) {
    std::mt19937 generator(14);
    SparseMatrix const a = Plain::toSparse(Plain::randomMatrix(generator, 6, 9, 0.4));
    SparseMatrix const difference = a - a;
    ASSERT_GT(countEntries(a), 0U);
    for (unsigned long r = 0; r < 6; ++r) {
        EXPECT_EQ(getColumns(difference, r), getColumns(a, r));
        EXPECT_EQ(getValues(difference, r), std::vector<double>(a.getNumberOfRowValues(r), 0.0));
    }
}

TEST(SparseMatrix, ScalarProductGoesOverAllStoredValuesOfACopy) {
    SparseMatrix a(2, 5, 3, empty);
    a.set(0, 1, 1.5);
    a.set(0, 3, -2.0);
    SparseMatrix const product = 2.0 * a;
    EXPECT_EQ(getValues(product, 0), std::vector<double>({3.0, -4.0}));
    EXPECT_EQ(getValues(a, 0), std::vector<double>({1.5, -2.0}));
}

TEST(SparseMatrix, ProductMatchesTheMergeOfRowsIncludingCapacities) {
    std::mt19937 generator(15);
    for (int round = 0; round < 60; ++round) {
        auto const rows = static_cast<std::uint32_t>(1 + generator() % 9);
        auto const inner = static_cast<std::uint32_t>(1 + generator() % 9);
        auto const columns = static_cast<std::uint32_t>(1 + generator() % 40);
        double const density = 0.25 * static_cast<double>(generator() % 5);
        auto const approxA = static_cast<std::uint32_t>(1 + generator() % 9);
        auto const approxB = static_cast<std::uint32_t>(1 + generator() % 9);
        Plain::Matrix const a = Plain::randomMatrix(generator, rows, inner, density, approxA);
        Plain::Matrix const b = Plain::randomMatrix(generator, inner, columns, 0.4, approxB);
        EXPECT_EQ(Plain::getDifference(Plain::toSparse(a) * Plain::toSparse(b), Plain::product(a, b)), "")
            << "round " << round;
    }
}

TEST(SparseMatrix, ProductMatchesTheMergeWithInfinitiesAndNaNs) {
    std::mt19937 generator(16);
    for (int round = 0; round < 20; ++round) {
        Plain::Matrix a = Plain::randomMatrix(generator, 5, 6, 0.5);
        Plain::Matrix b = Plain::randomMatrix(generator, 6, 7, 0.5);
        a.set(2, 3, HUGE_VAL);
        a.set(4, 1, std::nan(""));
        b.set(3, 2, 0.0);
        b.set(1, 5, -HUGE_VAL);
        EXPECT_EQ(Plain::getDifference(Plain::toSparse(a) * Plain::toSparse(b), Plain::product(a, b)), "");
    }
}

TEST(SparseMatrix, ProductTermsAreAddedInTheOrderOfTheInnerIndex) {
    double const large = std::ldexp(1.0, 53);
    SparseMatrix a(1, 3, 8, empty);
    a.set(0, 2, 1.0);
    a.set(0, 1, 1.0);
    a.set(0, 0, large);
    SparseMatrix ones(3, 1, 8, empty);
    for (unsigned long k = 0; k < 3; ++k) {
        ones.set(k, 0, 1.0);
    }
    EXPECT_TRUE(sameBits((a * ones).get(0, 0), large)) << "the ones come after 2^53 and are lost";
}

TEST(SparseMatrix, IdentityTimesAMatrixStoresEveryColumn) {
    SparseMatrix const unit(3, 3, 8, identity);
    SparseMatrix matrix(3, 3, 8, empty);
    matrix.set(1, 0, 2.0);
    matrix.set(1, 2, 3.0);
    SparseMatrix const product = unit * matrix;
    EXPECT_EQ(getColumns(product, 1), std::vector<std::uint32_t>({0, 1, 2}));
    EXPECT_EQ(getValues(product, 1), std::vector<double>({2.0, 0.0, 3.0}));
    EXPECT_EQ(product.getNumberOfRowValues(0), 3U) << "also where there is nothing to add";
}

TEST(SparseMatrix, ProductWithoutColumnsStoresNothing) {
    SparseMatrix const product = SparseMatrix(2, 3, 8, empty) * SparseMatrix(3, 0, 8, empty);
    EXPECT_EQ(product.getNumberOfRows(), 2U);
    EXPECT_EQ(product.getNumberOfColumns(), 0U);
    EXPECT_EQ(product.pRowCapacities[0], 0U);
}

TEST(SparseMatrix, MismatchedDimensionsThrow) {
    SparseMatrix const a(2, 3, 8, empty);
    SparseMatrix const fewerColumns(2, 2, 8, empty);
    SparseMatrix const moreRows(3, 3, 8, empty);
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { a + fewerColumns; }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { a + moreRows; }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { a - fewerColumns; }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { a - moreRows; }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { a* a; }));
}

TEST(SparseMatrix, ProductWithAVectorMatchesThePlainOne) {
    std::mt19937 generator(17);
    for (double const density : {0.0, 0.2, 0.6, 1.0}) {
        Plain::Matrix const a = Plain::randomMatrix(generator, 8, 21, density);
        Plain::Values const x = Plain::randomValues(generator, 21);
        Vector const product = Plain::toSparse(a) * Plain::toVector(x);
        Plain::Values const expected = Plain::product(a, x);
        ASSERT_EQ(product.getNumberOfValues(), 8U);
        for (unsigned long r = 0; r < 8; ++r) {
            EXPECT_TRUE(sameBits(product.get(r), expected[r]));
        }
    }
}

TEST(SparseMatrix, EmptyRowTimesAVectorIsZeroEvenForNaNs) {
    SparseMatrix matrix(2, 1, 8, empty);
    matrix.set(0, 0, 0.0);
    Vector const product = matrix * Plain::toVector({std::nan("")});
    EXPECT_TRUE(std::isnan(product.get(0))) << "a stored zero counts";
    EXPECT_TRUE(sameBits(product.get(1), 0.0));
}

TEST(SparseMatrix, ProductWithAVectorOfTheWrongLengthThrowsAndChangesNothing) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { matrix* Vector(2); }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { matrix* Vector(4); }));
    EXPECT_EQ(countEntries(matrix), 1U);
    EXPECT_EQ(matrix.get(1, 2), 4.0);
}

TEST(SparseMatrix, RowAccessIsNullPastTheEnd) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    EXPECT_EQ(matrix.getpRowIndices(2), nullptr);
    EXPECT_EQ(matrix.getpRowValues(2), nullptr);
    EXPECT_EQ(matrix.getNumberOfRowValues(2), 0U);
    EXPECT_EQ(matrix.getpRowIndices(1)[0], 2U);
    EXPECT_EQ(matrix.getpRowValues(1)[0], 4.0);
}

TEST(SparseMatrix, SettersOfOneFieldChangeNothingElse) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    matrix.setApproxNonZeroElementsPerRow(5);
    matrix.setNumberOfColumns(9);
    EXPECT_EQ(matrix.getApproxNonZeroElementsPerRow(), 5U);
    EXPECT_EQ(matrix.getNumberOfColumns(), 9U);
    EXPECT_EQ(countEntries(matrix), 1U);
    EXPECT_EQ(matrix.pRowCapacities[1], 8U);
}

TEST(SparseMatrix, ANewNumberOfRowsDropsAllContent) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    matrix.setNumberOfRows(2);
    EXPECT_EQ(matrix.getNumberOfRows(), 2U);
    EXPECT_EQ(countEntries(matrix), 0U);
    EXPECT_EQ(matrix.pRowCapacities[1], 0U);
    matrix.setNumberOfRows(4);
    matrix.set(3, 0, 1.0);
    EXPECT_EQ(matrix.get(3, 0), 1.0);
}

TEST(SparseMatrix, StorageIsGivenUpAndMadeAnew) {
    SparseMatrix matrix(2, 3, 8, empty);
    matrix.set(1, 2, 4.0);
    SparseMatrix::isSSE2Checked = false;
    matrix.uninitHeapPointers();
    matrix.initFundamentalHeapPointers(2);
    EXPECT_TRUE(SparseMatrix::isSSE2Checked);
    EXPECT_FALSE(SparseMatrix::doUseSSE2);
    EXPECT_EQ(countEntries(matrix), 0U);
    EXPECT_EQ(matrix.get(1, 2), 0.0);
}

TEST(SparseMatrix, ReplacedRowTakesOverTheArrays) {
    SparseMatrix matrix(1, 9, 8, empty);
    matrix.set(0, 2, 4.0);
    auto const makeValues = [] {
        auto values = std::make_unique<double[]>(4);
        values[0] = 6.0;
        values[1] = 7.0;
        return values;
    };
    auto const makeIndices = [] {
        auto indices = std::make_unique<std::uint32_t[]>(4);
        indices[0] = 3;
        indices[1] = 5;
        return indices;
    };
    matrix.replaceRow(1, makeValues(), makeIndices(), 2, 4);
    EXPECT_EQ(matrix.get(0, 2), 4.0) << "a row past the end is ignored";

    auto values = makeValues();
    double const* const array = values.get();
    matrix.replaceRow(0, std::move(values), makeIndices(), 2, 4);
    EXPECT_EQ(matrix.getpRowValues(0), array);
    EXPECT_EQ(matrix.pRowCapacities[0], 4U);
    EXPECT_EQ(matrix.get(0, 5), 7.0);
    EXPECT_EQ(matrix.get(0, 2), 0.0);
}

TEST(SparseMatrix, BlocksWouldMakeTheSumThrowAndLeaveTheProductUnfilled) {
    SparseMatrix const matrix(2, 2, 8, identity);
    PretendedBlocks const pretended;
    EXPECT_TRUE(getDoesThrowPointer<Unsupported>([&] { matrix + matrix; }));
    EXPECT_TRUE(getDoesThrowPointer<Unsupported>([&] { matrix + SparseMatrix(5, 5, 8, empty); }));
    Vector const x = Plain::toVector({3.0, 4.0});
    EXPECT_EQ((matrix * x).getNumberOfValues(), 2U);
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>([&] { matrix* Vector(3); }));
}

TEST(SparseMatrix, IndicesAreKeptIn32Bits) {
    if (sizeof(unsigned long) < 8) {
        GTEST_SKIP() << "unsigned long has 32 bits here";
    }
    auto const beyond = static_cast<unsigned long>(std::uint64_t{1} << 32U);
    SparseMatrix matrix(beyond + 2, beyond + 3, 8, empty);
    EXPECT_EQ(matrix.getNumberOfRows(), 2U);
    EXPECT_EQ(matrix.getNumberOfColumns(), 3U);
    matrix.set(beyond + 1, beyond + 2, 5.0);
    EXPECT_EQ(matrix.get(1, 2), 5.0);
}

} // namespace
} // namespace QELT::LinearAlgebra
