#include "Inspection/maps/directsolver.h"

#include "tests/support/leavinglistener.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/throwinglistener.h"
#include "tests/support/thrownpointer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace QELT::Inspection {
namespace {

using LinearAlgebra::SparseMatrix;
using Values = LinearAlgebra::Vector;
using QELT::Testing::getDoesThrowPointer;
using QELT::Testing::LeavingListener;
using QELT::Testing::RecordingListener;
using QELT::Testing::ThrowingListener;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

ProgressListener* const nobody = nullptr;

SparseMatrix emptyMatrix(std::size_t rows, std::size_t columns) {
    return {rows, columns, 8, SparseMatrix::CanonicalEmpty};
}

Values vectorOf(std::vector<double> const& values) {
    Values vector(static_cast<unsigned long>(values.size()));
    std::copy(values.begin(), values.end(), vector.begin());
    return vector;
}

std::vector<double> valuesOf(Values const& vector) {
    return {vector.begin(), vector.end()};
}

std::vector<double> randomValues(std::size_t count, std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<double> values(count);
    std::generate(values.begin(), values.end(), [&] { return value(generator); });
    return values;
}

void link(SparseMatrix& matrix, std::size_t a, std::size_t b, double weight) {
    matrix.acc(a, a, weight);
    matrix.acc(b, b, weight);
    matrix.acc(a, b, -weight);
    matrix.acc(b, a, -weight);
}

/// A net of springs over side * side places with random strengths, some of them pushing, which is held along
/// one edge. `Place` gives an unknown's number.
using Place = std::function<std::size_t(std::size_t)>;

void addNet(SparseMatrix& matrix, std::size_t side, Place const& place, bool isHeld = true) {
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> weight(-0.05, 1.5);
    for (std::size_t p = 0; p < side * side; ++p) {
        if (p % side + 1 < side) {
            link(matrix, place(p), place(p + 1), weight(generator));
        }
        if (p + side < side * side) {
            link(matrix, place(p), place(p + side), weight(generator));
        }
        if (isHeld && p < side) {
            matrix.acc(place(p), place(p), 1.0);
        }
    }
}

SparseMatrix makeNet(std::size_t side) {
    SparseMatrix matrix = emptyMatrix(side * side, side * side);
    addNet(matrix, side, [](std::size_t p) { return p; });
    return matrix;
}

/// The net for two coordinates of each place, which are coupled along the net's far edge as at a free rim.
SparseMatrix makeTwofoldNet(std::size_t side, bool isCoupled, Place const& number) {
    SparseMatrix matrix = emptyMatrix(2 * side * side, 2 * side * side);
    for (std::size_t axis : {0U, 1U}) {
        addNet(matrix, side, [&](std::size_t p) { return number(2 * p + axis); });
    }
    for (std::size_t p = side * (side - 1); isCoupled && p + 1 < side * side; ++p) {
        matrix.acc(number(2 * p), number(2 * p + 3), 0.2);
        matrix.acc(number(2 * p + 3), number(2 * p), 0.2);
        matrix.acc(number(2 * p + 1), number(2 * p + 2), -0.2);
        matrix.acc(number(2 * p + 2), number(2 * p + 1), -0.2);
    }
    return matrix;
}

double greatestDifference(std::vector<double> const& a, std::vector<double> const& b) {
    EXPECT_EQ(a.size(), b.size());
    double difference = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        difference = std::max(difference, std::fabs(a[i] - b[i]));
    }
    return difference;
}

/// Solves for values that are known.
struct KnownSolve {
    std::vector<double> expected;
    DirectSolver solver;
    LinearAlgebra::LinearSolution solution;

    explicit KnownSolve(SparseMatrix const& matrix)
        : expected(randomValues(matrix.getNumberOfColumns(), 9)),
          solution(solver.solveSymmetric(matrix, matrix * vectorOf(expected), nullptr, nobody)) {}

    double error() const { return greatestDifference(valuesOf(solution.values), expected); }

    DirectSolveState state() const { return solver.getSymmetric()->state; }
};

// Errors of a solve are the rounding's, 1e-16, times the condition of the net, some side squared, with the
// strengths' spread a factor of ten more.
constexpr double netTolerance = 1e-11;

TEST(DirectSolver, FindsKnownValuesOfNetsOfAllSizes) {
    for (std::size_t const side : {1U, 2U, 3U, 7U, 20U, 61U}) {
        KnownSolve const known(makeNet(side));
        EXPECT_LT(known.error(), netTolerance) << side;
        EXPECT_EQ(known.state(), DirectSolveState::Solved) << side;
        EXPECT_TRUE(known.solution.report.hasConverged);
        EXPECT_LT(known.solver.getSymmetric()->uncertainty, netTolerance);
        EXPECT_FALSE(known.solver.getLeastSquares());
    }
}

TEST(DirectSolver, FindsTheSameValuesHoweverTheCoordinatesAreNumbered) {
    constexpr std::size_t side = 17;
    std::size_t const half = side * side;
    for (bool const isCoupled : {false, true}) {
        KnownSolve const pairs(makeTwofoldNet(side, isCoupled, [](std::size_t u) { return u; }));
        KnownSolve const apart(
            makeTwofoldNet(side, isCoupled, [&](std::size_t u) { return u / 2 + u % 2 * half; }));
        for (KnownSolve const* const known : {&pairs, &apart}) {
            EXPECT_LT(known->error(), netTolerance);
            EXPECT_EQ(known->state(), DirectSolveState::Solved);
        }
    }
}

TEST(DirectSolver, AgreesWithConjugateGradients) {
    SparseMatrix const matrix = makeNet(30);
    Values const rightSide = vectorOf(randomValues(900, 2));
    Values gradients(900UL);
    gradients.zero();
    ASSERT_TRUE(LinearAlgebra::Utility::solve(matrix, gradients, rightSide, nullptr, nullptr, nullptr));
    DirectSolver solver;
    auto const solution = solver.solveSymmetric(matrix, rightSide, nullptr, nobody);
    EXPECT_LT(greatestDifference(valuesOf(solution.values), valuesOf(gradients)), 1e-10);
}

TEST(DirectSolver, ItsReportHoldsTheNormsOfTheResidualAndTheRightSide) {
    SparseMatrix const matrix = makeNet(12);
    Values const rightSide = vectorOf(randomValues(144, 2));
    DirectSolver solver;
    auto const solution = solver.solveSymmetric(matrix, rightSide, nullptr, nobody);
    EXPECT_DOUBLE_EQ(solution.report.rightSide, rightSide.normL2());
    EXPECT_NEAR(solution.report.residual, (rightSide - matrix * solution.values).normL2(), 1e-15);
    EXPECT_LT(solution.report.residual, 1e-13 * solution.report.rightSide);
    EXPECT_GE(solution.report.iterations, 1U);
    EXPECT_LE(solution.report.iterations, 5U);
}

TEST(DirectSolver, GivesTheSameBitsAgain) {
    SparseMatrix const matrix = makeTwofoldNet(25, true, [](std::size_t u) { return u; });
    Values const rightSide = vectorOf(randomValues(1250, 2));
    DirectSolver first;
    DirectSolver second;
    auto const once = valuesOf(first.solveSymmetric(matrix, rightSide, nullptr, nobody).values);
    EXPECT_EQ(valuesOf(second.solveSymmetric(matrix, rightSide, nullptr, nobody).values), once);
    EXPECT_EQ(valuesOf(first.solveSymmetric(matrix, rightSide, nullptr, nobody).values), once);
}

TEST(DirectSolver, AStartChangesNoMoreThanTheRounding) {
    SparseMatrix const matrix = makeNet(12);
    std::vector<double> const expected = randomValues(144, 4);
    Values const start = vectorOf(randomValues(144, 5));
    DirectSolver solver;
    auto const solution = solver.solveSymmetric(matrix, matrix * vectorOf(expected), &start, nobody);
    EXPECT_LT(greatestDifference(valuesOf(solution.values), expected), netTolerance);
}

TEST(DirectSolver, ASystemWithoutUnknownsIsSolved) {
    DirectSolver solver;
    auto const solution = solver.solveSymmetric(emptyMatrix(0, 0), Values(0UL), nullptr, nobody);
    EXPECT_EQ(solution.values.getNumberOfValues(), 0U);
    EXPECT_TRUE(solution.report.hasConverged);
    EXPECT_TRUE(solver.solveLeastSquares(emptyMatrix(0, 0), Values(0UL), nobody).report.hasConverged);
}

/// Rows that ask more than can be had: the differences of a chain's neighbours, and some of its places.
struct Overdetermined {
    SparseMatrix rows = emptyMatrix(149, 100);
    Values rightSide = vectorOf(randomValues(149, 6));

    Overdetermined() {
        for (std::size_t i = 0; i < 99; ++i) {
            rows.set(i, i, -1.0);
            rows.set(i, i + 1, 1.0 + 0.01 * static_cast<double>(i));
        }
        for (std::size_t i = 0; i < 50; ++i) {
            rows.set(99 + i, 2 * i, 0.3);
        }
    }
};

TEST(DirectSolver, LeastSquaresAreThoseOfTheNormalEquations) {
    Overdetermined const problem;
    SparseMatrix const transposed = problem.rows.transpose();
    Values const rightSide = transposed * problem.rightSide;
    Values gradients(100UL);
    gradients.zero();
    ASSERT_TRUE(LinearAlgebra::Utility::solve(transposed * problem.rows, gradients, rightSide, nullptr,
                                              nullptr, nullptr));
    DirectSolver solver;
    auto const solution = solver.solveLeastSquares(problem.rows, problem.rightSide, nobody);
    EXPECT_LT(greatestDifference(valuesOf(solution.values), valuesOf(gradients)), 1e-11);
    EXPECT_EQ(solver.getLeastSquares()->state, DirectSolveState::Solved);
    EXPECT_FALSE(solver.getSymmetric());
    EXPECT_NEAR(solution.report.rightSide, rightSide.normL2(), 1e-12);
    EXPECT_LT(solution.report.residual, 1e-13);
}

TEST(DirectSolver, RefinesWhatTheNormalEquationsHaveLost) {
    // Second differences of a chain that is held at one end: their condition is the square of its length,
    // that of the normal equations 1e15.
    constexpr std::size_t length = 6000;
    SparseMatrix rows = emptyMatrix(length, length);
    std::vector<double> expected(length);
    for (std::size_t i = 0; i < length; ++i) {
        rows.set(i, i, 1.0);
        if (i > 0) {
            rows.set(i, i - 1, -2.0);
        }
        if (i > 1) {
            rows.set(i, i - 2, 1.0);
        }
        expected[i] = static_cast<double>(i % 7) - 3.0; // whole numbers: the right side is exact
    }
    DirectSolver solver;
    auto const solution = solver.solveLeastSquares(rows, rows * vectorOf(expected), nobody);
    EXPECT_GE(solution.report.iterations, 1U);
    EXPECT_LT(greatestDifference(valuesOf(solution.values), expected), 1e-7);
    EXPECT_EQ(solver.getLeastSquares()->state, DirectSolveState::Solved);
}

/// What a system that cannot be solved comes to: nothing converged, the start is left.
void expectUnsolved(SparseMatrix const& matrix, Values const& rightSide, DirectSolveState state) {
    DirectSolver solver;
    Values const start = vectorOf(randomValues(matrix.getNumberOfColumns(), 8));
    auto const solution = solver.solveSymmetric(matrix, rightSide, &start, nobody);
    EXPECT_EQ(valuesOf(solution.values), valuesOf(start));
    EXPECT_FALSE(solution.report.hasConverged);
    EXPECT_EQ(solver.getSymmetric()->state, state);
    EXPECT_FALSE(solver.getSymmetric()->doesHold());
    EXPECT_TRUE(std::isnan(solver.getSymmetric()->uncertainty));
}

TEST(DirectSolver, NumbersThatAreNotFiniteAreNotSolvedFor) {
    Values const rightSide = vectorOf(randomValues(25, 2));
    for (double const wrong : {notANumber, HUGE_VAL, -HUGE_VAL}) {
        SparseMatrix matrix = makeNet(5);
        matrix.set(7, 8, wrong);
        matrix.set(8, 7, wrong);
        expectUnsolved(matrix, rightSide, DirectSolveState::NotFinite);
        Values wrongSide = rightSide;
        wrongSide.set(3, wrong);
        expectUnsolved(makeNet(5), wrongSide, DirectSolveState::NotFinite);
        DirectSolver solver;
        Overdetermined problem;
        problem.rows.set(20, 21, wrong);
        auto const solution = solver.solveLeastSquares(problem.rows, problem.rightSide, nobody);
        EXPECT_EQ(valuesOf(solution.values), std::vector<double>(100, 0.0));
        EXPECT_EQ(solver.getLeastSquares()->state, DirectSolveState::NotFinite);
    }
}

TEST(DirectSolver, AnUnknownWithoutAnEquationIsFound) {
    SparseMatrix matrix = emptyMatrix(26, 26);
    addNet(matrix, 5, [](std::size_t p) { return p; });
    expectUnsolved(matrix, vectorOf(randomValues(26, 2)), DirectSolveState::Undetermined);
    matrix.set(25, 25, 0.0);
    expectUnsolved(matrix, vectorOf(randomValues(26, 2)), DirectSolveState::Undetermined);
}

TEST(DirectSolver, APartThatNothingHoldsIsFoundOut) {
    for (std::size_t const side : {2U, 5U, 12U, 30U}) {
        std::size_t const count = side * side;
        SparseMatrix matrix = emptyMatrix(2 * count, 2 * count);
        addNet(matrix, side, [](std::size_t p) { return p; });
        addNet(
            matrix, side, [&](std::size_t p) { return count + p; }, false);
        // A right side that has a solution, so that no residual shows it.
        KnownSolve const known(matrix);
        EXPECT_FALSE(known.solution.report.hasConverged) << side;
        EXPECT_FALSE(known.solver.getSymmetric()->doesHold()) << side;
    }
}

TEST(DirectSolver, AnIndefiniteMatrixIsSolvedByLuAndSaysSo) {
    SparseMatrix matrix = makeNet(12);
    matrix.acc(70, 70, -9.0);
    KnownSolve const known(matrix);
    EXPECT_EQ(known.state(), DirectSolveState::SolvedByLu);
    EXPECT_TRUE(known.solution.report.hasConverged);
    EXPECT_LT(known.error(), 1e-10);
}

TEST(DirectSolver, AMatrixThatIsNotSymmetricIsSolvedByLuAndSaysSo) {
    SparseMatrix matrix = makeNet(12);
    matrix.acc(70, 71, 0.7);
    KnownSolve const known(matrix);
    EXPECT_EQ(known.state(), DirectSolveState::SolvedByLu);
    EXPECT_LT(known.error(), 1e-10);
}

TEST(DirectSolver, DimensionsThatDoNotFitAreThrownByPointer) {
    using Dimensions = SparseMatrix::SparseMatrixInvalidDimensionsException;
    DirectSolver solver;
    Values const five(5UL);
    Values const four(4UL);
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>(
        [&] { solver.solveSymmetric(emptyMatrix(5, 4), five, nullptr, nobody); }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>(
        [&] { solver.solveSymmetric(emptyMatrix(5, 5), four, nullptr, nobody); }));
    EXPECT_TRUE(getDoesThrowPointer<Dimensions>(
        [&] { solver.solveSymmetric(emptyMatrix(5, 5), five, &four, nobody); }));
    EXPECT_TRUE(
        getDoesThrowPointer<Dimensions>([&] { solver.solveLeastSquares(emptyMatrix(5, 4), four, nobody); }));
}

TEST(DirectSolver, TellsPercentagesThatRise) {
    RecordingListener listener;
    ProgressListener* const attached = &listener;
    DirectSolver solver;
    solver.solveSymmetric(makeNet(40), Values(vectorOf(randomValues(1600, 2))), nullptr, attached);
    ASSERT_GT(listener.events.size(), 10U);
    EXPECT_EQ(listener.events.front(), "1%");
    int last = 0;
    for (std::string const& event : listener.events) {
        int const percent = std::stoi(event);
        EXPECT_GT(percent, last);
        EXPECT_LE(percent, 100);
        last = percent;
    }
}

TEST(DirectSolver, AListenerStopsItAndAnotherSolveIsAsGood) {
    SparseMatrix const matrix = makeNet(20);
    Values const rightSide = vectorOf(randomValues(400, 2));
    DirectSolver solver;
    auto const whole = valuesOf(solver.solveSymmetric(matrix, rightSide, nullptr, nobody).values);
    for (std::size_t const patience : {0U, 1U, 10U}) {
        ThrowingListener listener(patience);
        ProgressListener* const attached = &listener;
        EXPECT_THROW(solver.solveSymmetric(matrix, rightSide, nullptr, attached), std::runtime_error);
        EXPECT_FALSE(solver.getSymmetric());
        EXPECT_THROW(solver.solveLeastSquares(matrix, rightSide, attached), std::runtime_error);
    }
    EXPECT_EQ(valuesOf(solver.solveSymmetric(matrix, rightSide, nullptr, nobody).values), whole);
}

TEST(DirectSolver, AListenerThatLeavesIsNotCalledAgain) {
    unsigned calls = 0;
    ProgressListener* attached = nullptr;
    attached = new LeavingListener(
        2, LeavingListener::Fate::IsDeleted, [&] { attached = nullptr; }, calls);
    DirectSolver solver;
    EXPECT_TRUE(solver.solveSymmetric(makeNet(20), vectorOf(randomValues(400, 2)), nullptr, attached)
                    .report.hasConverged);
    EXPECT_EQ(calls, 2U);
}

} // namespace
} // namespace QELT::Inspection
