#include "Geometry/linearalgebra/internal/normalequations.h"

#include "Geometry/linearalgebra/utility.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_linearalgebra.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

namespace Plain = Testing::PlainLinearAlgebra;
using Testing::sameBits;

struct LeastSquares {
    Plain::Matrix system;
    Plain::Values rightHandSide;
};

/// Equations like those of a boundary loop: each of m points on a loop of m + 2 is tied to its two neighbours
/// on either side by four equations, positions 0 and 1 being given. Some of the coefficients are 0 or 1, as
/// on straight parts of a loop, so that zeros are stored and entries of the product cancel.
class LoopSystem {
public:
    LoopSystem(std::mt19937& generator, std::uint32_t numberOfPoints)
        : m(numberOfPoints), equations{Plain::Matrix(4 * m, 2 * m), Plain::Values(std::size_t{4} * m, 0.0)} {
        std::uniform_real_distribution<double> straightness(0.8, 1.2);
        std::uniform_real_distribution<double> turn(-0.5, 0.5);
        for (std::uint32_t point = 0; point < m; ++point) {
            for (std::uint32_t side = 0; side < 2; ++side) {
                bool const isStraight = generator() % 3 == 0;
                double const a = isStraight ? 1.0 : straightness(generator);
                double const b = isStraight ? 0.0 : turn(generator);
                addSide(point, side, a, b);
            }
        }
    }

    LeastSquares const& get() const { return equations; }

private:
    void addSide(std::uint32_t point, std::uint32_t side, double a, double b) {
        std::uint32_t const row = 2 * (side + 2 * point);
        std::uint32_t const near = side == 0 ? 3 : 1;
        std::uint32_t const far = side == 0 ? 4 : 0;
        addTerm(row, point, 2, -1.0, 0.0);
        addTerm(row, point, near, 1.0 + a, b);
        addTerm(row, point, far, -a, -b);
    }

    /// scale * U + turned * J U of one member of the stencil.
    void addTerm(std::uint32_t row, std::uint32_t point, std::uint32_t member, double scale, double turned) {
        static constexpr std::array<std::array<double, 2>, 2> pins = {{{0.5, 1.0}, {1.0, 0.5}}};
        std::uint32_t const position = (point + 2 + member + m) % (m + 2);
        if (position < 2) {
            equations.rightHandSide[row] -= scale * pins[position][0] - turned * pins[position][1];
            equations.rightHandSide[row + 1] -= scale * pins[position][1] + turned * pins[position][0];
            return;
        }
        std::uint32_t const column = 2 * (position - 2);
        add(row, column, scale);
        add(row + 1, column + 1, scale);
        add(row, column + 1, -turned);
        add(row + 1, column, turned);
    }

    void add(std::uint32_t r, std::uint32_t c, double v) {
        equations.system.set(r, c, equations.system.get(r, c) + v);
    }

    std::uint32_t m;
    LeastSquares equations;
};

/// Checks that `sparse` holds the entries of `full` that are not 0.0, and no others.
void expectSameEntriesWithoutZeros(SparseMatrix const& sparse, SparseMatrix const& full) {
    ASSERT_EQ(sparse.getNumberOfRows(), full.getNumberOfRows());
    ASSERT_EQ(sparse.getNumberOfColumns(), full.getNumberOfColumns());
    for (unsigned long r = 0; r < full.getNumberOfRows(); ++r) {
        unsigned long stored = 0;
        for (unsigned long c = 0; c < full.getNumberOfColumns(); ++c) {
            double const expected = full.get(r, c);
            if (expected != 0.0) {
                ASSERT_LT(stored, sparse.getNumberOfRowValues(r));
                EXPECT_EQ(sparse.getpRowIndices(r)[stored], c);
                EXPECT_TRUE(sameBits(sparse.getpRowValues(r)[stored], expected));
                ++stored;
            }
        }
        EXPECT_EQ(sparse.getNumberOfRowValues(r), stored) << "row " << r;
    }
}

/// Solves both forms of the normal equations and compares everything; the answer is the number of iterations.
unsigned long expectSameSolution(LeastSquares const& equations) {
    SparseMatrix const system = Plain::toSparse(equations.system);
    Vector const rhs = system.transpose() * Plain::toVector(equations.rightHandSide);
    SparseMatrix const full = system.transpose() * system;
    SparseMatrix const sparse = NormalEquations::getMatrixWithoutZeros(system);

    Vector fullSolution(full.getNumberOfColumns());
    fullSolution.zero();
    Vector sparseSolution(fullSolution);
    unsigned long fullIterations = 0;
    unsigned long sparseIterations = 0;
    bool const isFullSolved = Utility::solve(full, fullSolution, rhs, &fullIterations, nullptr, nullptr);
    bool const isSparseSolved =
        Utility::solve(sparse, sparseSolution, rhs, &sparseIterations, nullptr, nullptr);

    EXPECT_EQ(isSparseSolved, isFullSolved);
    EXPECT_EQ(sparseIterations, fullIterations);
    for (unsigned long i = 0; i < fullSolution.getNumberOfValues(); ++i) {
        EXPECT_TRUE(sameBits(sparseSolution.get(i), fullSolution.get(i))) << "value " << i;
    }
    return fullIterations;
}

TEST(NormalEquations, HoldTheEntriesOfTheFullProductThatAreNotZero) {
    std::mt19937 generator(31);
    for (double const density : {0.0, 0.05, 0.2, 0.5, 1.0}) {
        for (int round = 0; round < 10; ++round) {
            auto const rows = static_cast<std::uint32_t>(1 + generator() % 20);
            auto const columns = static_cast<std::uint32_t>(1 + generator() % 15);
            SparseMatrix const system =
                Plain::toSparse(Plain::randomMatrix(generator, rows, columns, density));
            expectSameEntriesWithoutZeros(NormalEquations::getMatrixWithoutZeros(system),
                                          system.transpose() * system);
        }
    }
}

TEST(NormalEquations, EntriesThatCancelAreAbsent) {
    SparseMatrix system(2, 3, 8, SparseMatrix::CanonicalEmpty);
    system.set(0, 0, 1.0);
    system.set(0, 1, 1.0);
    system.set(1, 0, 1.0);
    system.set(1, 1, -1.0);
    system.set(1, 2, 0.0);
    SparseMatrix const product = NormalEquations::getMatrixWithoutZeros(system);
    EXPECT_EQ(product.getNumberOfRowValues(0), 1U);
    EXPECT_EQ(product.getNumberOfRowValues(1), 1U);
    EXPECT_EQ(product.getNumberOfRowValues(2), 0U) << "a column of stored zeros gives none";
    EXPECT_EQ(product.get(0, 0), 2.0);
    EXPECT_EQ(product.get(1, 1), 2.0);
}

TEST(NormalEquations, KeepNaNsAndInfinities) {
    SparseMatrix system(2, 2, 8, SparseMatrix::CanonicalEmpty);
    system.set(0, 0, std::nan(""));
    system.set(0, 1, 1.0);
    system.set(1, 1, HUGE_VAL);
    SparseMatrix const product = NormalEquations::getMatrixWithoutZeros(system);
    EXPECT_TRUE(std::isnan(product.get(0, 0)));
    EXPECT_TRUE(std::isnan(product.get(1, 0)));
    EXPECT_EQ(product.get(1, 1), HUGE_VAL);
}

TEST(NormalEquations, OfALoopHoldTheEntriesOfTheFullProductThatAreNotZero) {
    std::mt19937 generator(32);
    for (std::uint32_t const m : {3U, 4U, 5U, 8U, 9U, 10U, 40U}) {
        SparseMatrix const system = Plain::toSparse(LoopSystem(generator, m).get().system);
        expectSameEntriesWithoutZeros(NormalEquations::getMatrixWithoutZeros(system),
                                      system.transpose() * system);
    }
}

TEST(NormalEquations, SolveToTheSameBitsWithAndWithoutZeros) {
    std::mt19937 generator(33);
    for (int round = 0; round < 20; ++round) {
        auto const columns = static_cast<std::uint32_t>(1 + generator() % 12);
        std::uint32_t const rows = columns + static_cast<std::uint32_t>(generator() % 12);
        LeastSquares const equations = {Plain::randomMatrix(generator, rows, columns, 0.4),
                                        Plain::randomValues(generator, rows)};
        expectSameSolution(equations);
    }
}

TEST(NormalEquations, OfALoopSolveToTheSameBitsWithAndWithoutZeros) {
    std::mt19937 generator(34);
    for (std::uint32_t const m : {3U, 5U, 9U, 17U, 40U}) {
        EXPECT_GT(expectSameSolution(LoopSystem(generator, m).get()), 0U);
    }
}

TEST(NormalEquations, BreakDownAtTheSameIterationWithAndWithoutZeros) {
    std::mt19937 generator(35);
    for (int round = 0; round < 20; ++round) {
        LeastSquares equations = {Plain::randomMatrix(generator, 9, 6, 0.4),
                                  Plain::randomValues(generator, 9)};
        for (double& value : equations.rightHandSide) {
            value *= round < 10 ? 1e200 : 1e154;
        }
        SparseMatrix const system = Plain::toSparse(equations.system);
        Vector const rhs = system.transpose() * Plain::toVector(equations.rightHandSide);
        std::array<unsigned long, 2> iterations = {0, 0};
        std::array<bool, 2> isSolved = {false, false};
        std::array<SparseMatrix, 2> const products = {system.transpose() * system,
                                                      NormalEquations::getMatrixWithoutZeros(system)};
        for (std::size_t i = 0; i < 2; ++i) {
            Vector x(6);
            x.zero();
            isSolved[i] = Utility::solve(products[i], x, rhs, &iterations[i], nullptr, nullptr);
        }
        EXPECT_EQ(isSolved[0], isSolved[1]) << "round " << round;
        EXPECT_EQ(iterations[0], iterations[1]) << "round " << round;
    }
}

TEST(NormalEquations, OfALongLoopTakeABoundedNumberOfEntriesPerRow) {
    std::mt19937 generator(36);
    constexpr std::uint32_t m = 3000;
    SparseMatrix const system = Plain::toSparse(LoopSystem(generator, m).get().system);
    SparseMatrix const product = NormalEquations::getMatrixWithoutZeros(system);
    ASSERT_EQ(product.getNumberOfRows(), 2 * m);
    // Two points share an equation only if they are at most two places apart.
    constexpr unsigned long most = 2 * 5;
    unsigned long widest = 0;
    for (std::uint32_t r = 0; r < 2 * m; ++r) {
        widest = std::max(widest, product.getNumberOfRowValues(r));
        EXPECT_LE(product.pRowCapacities[r], most);
    }
    EXPECT_LE(widest, most);
    EXPECT_GE(widest, 6U) << "the loop's points are tied to each other";
}

} // namespace
} // namespace QELT::LinearAlgebra
