#include "Geometry/linearalgebra/solvelistener.h"
#include "Geometry/linearalgebra/utility.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/float_bits.h"
#include "tests/support/leavinglistener.h"
#include "tests/support/plain_linearalgebra.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/thrownpointer.h"

#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

namespace Plain = Testing::PlainLinearAlgebra;
using Plain::toValues;
using Plain::toVector;
using Plain::Values;
using Testing::CapturedOutput;
using Testing::getDoesThrowPointer;
using Testing::RecordingListener;
using Testing::sameBits;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// The progress line as a stream in its original state writes it.
std::string getLine(double residual, int iterations) {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << "\rResidual L2 norm: " << residual
         << ".  Iterations to Max. 262144: " << static_cast<double>(iterations) << ".  ";
    return line.str();
}

std::string getLines(Values const& norms) {
    std::string lines;
    int iterations = 0;
    for (double const norm : norms) {
        lines += getLine(norm, ++iterations);
    }
    return lines;
}

/// NaNs have a sign that streams show, but that arithmetic leaves open.
std::string withoutSignsOfNaN(std::string text) {
    for (std::size_t at = text.find("-nan"); at != std::string::npos; at = text.find("-nan")) {
        text.erase(at, 1);
    }
    return text;
}

void expectSameBits(Vector const& actual, Values const& expected) {
    ASSERT_EQ(actual.getNumberOfValues(), expected.size());
    for (unsigned long i = 0; i < expected.size(); ++i) {
        EXPECT_TRUE(sameBits(actual.get(i), expected[i])) << "value " << i;
    }
}

/// Keeps what it is told of each iteration.
class IterationListener : public SolveListener {
public:
    std::vector<SolveReport> reports;

    void setSolveProgress(SolveReport const& report) override { reports.push_back(report); }

    void setMessage(char const* /* text */) override {}

    void setPercentage(unsigned long /* percent */) override {}

    void reserved3() override {}

    void reserved4() override {}
};

bool isSameNumber(double a, double b) {
    return sameBits(a, b) || (std::isnan(a) && std::isnan(b));
}

double getStartNorm(Plain::Matrix const& a, Values const& start, Values const& b) {
    Values const product = Plain::product(a, start);
    double sum = 0.0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        double const value = b[i] - product[i];
        sum += value * value;
    }
    return std::sqrt(sum);
}

/// Solves for a report, and compares it and the report of each iteration with the plain solver's norms.
void expectPlainReports(Plain::Matrix const& a, Values const& start, Values const& b,
                        Plain::Solution const& expected) {
    SparseMatrix const matrix = Plain::toSparse(a);
    Vector x = toVector(start);
    IterationListener listener;
    CapturedOutput const output;
    SolveReport const report = Utility::solveWithReport(matrix, x, toVector(b), &listener, nullptr);
    EXPECT_EQ(report.hasConverged, expected.isSolved);
    EXPECT_EQ(report.iterations, static_cast<unsigned long>(expected.iterations));
    double const last = expected.norms.empty() ? getStartNorm(a, start, b) : expected.norms.back();
    EXPECT_TRUE(isSameNumber(report.residual, last)) << report.residual << " should be " << last;
    EXPECT_TRUE(isSameNumber(report.rightSide, std::sqrt(Plain::innerProduct(b, b))));
    expectSameBits(x, expected.x);
    EXPECT_EQ(withoutSignsOfNaN(output.getText()), withoutSignsOfNaN(getLines(expected.norms)));
    ASSERT_EQ(listener.reports.size(), expected.norms.size());
    for (std::size_t k = 0; k < expected.norms.size(); ++k) {
        EXPECT_EQ(listener.reports[k].iterations, k + 1);
        EXPECT_TRUE(isSameNumber(listener.reports[k].residual, expected.norms[k])) << k;
        EXPECT_EQ(listener.reports[k].hasConverged, expected.isSolved && k + 1 == expected.norms.size());
        EXPECT_TRUE(isSameNumber(listener.reports[k].rightSide, report.rightSide)) << k;
    }
}

/// Solves with the library, with and without a listener, for an answer and for a report, and with the plain
/// solver, and compares all that can be seen. The answer is the plain solver's.
Plain::Solution expectPlainSolution(Plain::Matrix const& a, Values const& start, Values const& b) {
    Plain::Solution const expected = Plain::solve(a, start, b);
    SparseMatrix const matrix = Plain::toSparse(a);
    Vector const rhs = toVector(b);
    RecordingListener recorder;
    for (RecordingListener* const listener : {&recorder, static_cast<RecordingListener*>(nullptr)}) {
        Vector x = toVector(start);
        unsigned long iterations = 0;
        CapturedOutput const output;
        bool const isSolved = Utility::solve(matrix, x, rhs, &iterations, listener, nullptr);
        EXPECT_EQ(isSolved, expected.isSolved);
        EXPECT_EQ(iterations, static_cast<unsigned long>(expected.iterations));
        expectSameBits(x, expected.x);
        EXPECT_EQ(withoutSignsOfNaN(output.getText()),
                  listener == nullptr ? "" : withoutSignsOfNaN(getLines(expected.norms)));
    }
    EXPECT_EQ(recorder.events, std::vector<std::string>({"Solving linear system..."}));
    expectPlainReports(a, start, b, expected);
    return expected;
}

Plain::Matrix makeMatrix(std::uint32_t n, Values const& entries) {
    Plain::Matrix result(n, n);
    for (std::uint32_t i = 0; i < entries.size(); ++i) {
        result.set(i / n, i % n, entries[i]);
    }
    return result;
}

/// B transposed times B, its diagonal raised: positive definite, and the less well conditioned the less it is
/// raised. Zeros of the product stay stored.
Plain::Matrix randomPositiveDefinite(std::mt19937& generator, std::uint32_t n, double density, double raise) {
    Plain::Matrix const factor = Plain::randomMatrix(generator, n, n, density);
    Plain::Matrix result = Plain::product(Plain::transpose(factor), factor);
    for (std::uint32_t i = 0; i < n; ++i) {
        result.set(i, i, result.get(i, i) + raise);
    }
    return result;
}

/// The five-point Laplacian of a square of side * side places, zero around it, and its diagonal raised.
Plain::Matrix makeLaplacian(std::uint32_t side, double raise) {
    Plain::Matrix result(side * side, side * side);
    for (std::uint32_t y = 0; y < side; ++y) {
        for (std::uint32_t x = 0; x < side; ++x) {
            std::uint32_t const i = y * side + x;
            result.set(i, i, 4.0 + raise);
            if (x + 1 < side) {
                result.set(i, i + 1, -1.0);
                result.set(i + 1, i, -1.0);
            }
            if (y + 1 < side) {
                result.set(i, i + side, -1.0);
                result.set(i + side, i, -1.0);
            }
        }
    }
    return result;
}

/// Each unknown twice, side by side, as the two coordinates of a point: neighbouring rows hold equal values.
Plain::Matrix makeTwofold(Plain::Matrix const& a) {
    Plain::Matrix result(2 * a.numberOfRows(), 2 * a.columns);
    for (std::uint32_t r = 0; r < a.numberOfRows(); ++r) {
        for (std::size_t k = 0; k < a.rows[r].columns.size(); ++k) {
            std::uint32_t const c = a.rows[r].columns[k];
            result.set(2 * r, 2 * c, a.rows[r].values[k]);
            result.set(2 * r + 1, 2 * c + 1, a.rows[r].values[k]);
        }
    }
    return result;
}

TEST(Solve, StartValueThatSolvesTheSystemIsLeftWithoutAnIteration) {
    SparseMatrix const a = Plain::toSparse(makeMatrix(2, {2.0, 1.0, 1.0, 3.0}));
    Vector x = toVector({1.0, -2.0});
    Vector const b = toVector({0.0, -5.0});
    unsigned long iterations = 99;
    RecordingListener listener;
    CapturedOutput const output;
    EXPECT_TRUE(Utility::solve(a, x, b, &iterations, &listener, nullptr));
    EXPECT_EQ(iterations, 0U);
    EXPECT_EQ(output.getText(), "");
    EXPECT_EQ(listener.messages, std::vector<std::string>({"Solving linear system..."}));
    EXPECT_EQ(toValues(x), Values({1.0, -2.0}));
}

TEST(Solve, ToleranceIs1em20OnTheNormInclusive) {
    SparseMatrix const a = Plain::toSparse(makeMatrix(1, {1.0}));
    double const tolerance = 1e-20;
    double const above = std::nextafter(1e-20, 1.0);

    struct Case {
        double residual;
        unsigned long iterations;
    };

    // Squaring and taking the root again gives these two numbers back.
    ASSERT_TRUE(sameBits(std::sqrt(tolerance * tolerance), tolerance));
    ASSERT_GT(std::sqrt(above * above), tolerance);
    for (Case const& example : {Case{tolerance, 0}, Case{above, 1}}) {
        Vector x = toVector({0.0});
        unsigned long iterations = 99;
        EXPECT_TRUE(Utility::solve(a, x, toVector({example.residual}), &iterations, nullptr, nullptr));
        EXPECT_EQ(iterations, example.iterations);
        EXPECT_EQ(x.get(0), example.iterations == 0 ? 0.0 : above);
    }
}

TEST(Solve, SystemOfOrderZeroIsSolved) {
    SparseMatrix const a(0, 0, 8, SparseMatrix::CanonicalEmpty);
    Vector x(0);
    unsigned long iterations = 99;
    EXPECT_TRUE(Utility::solve(a, x, Vector(0), &iterations, nullptr, nullptr));
    EXPECT_EQ(iterations, 0U);
}

TEST(Solve, TwoXIsFourTakesOneIterationAndPrintsTheLine) {
    SparseMatrix const a = Plain::toSparse(makeMatrix(1, {2.0}));
    Vector x = toVector({0.0});
    unsigned long iterations = 0;
    RecordingListener listener;
    CapturedOutput const output;
    EXPECT_TRUE(Utility::solve(a, x, toVector({4.0}), &iterations, &listener, nullptr));
    EXPECT_EQ(iterations, 1U);
    EXPECT_EQ(x.get(0), 2.0);
    EXPECT_EQ(output.getText(), "\rResidual L2 norm: 0.  Iterations to Max. 262144: 1.  ");
    EXPECT_TRUE(listener.percentages.empty());
}

TEST(Solve, WithoutAListenerNothingIsPrinted) {
    SparseMatrix const a = Plain::toSparse(makeLaplacian(3, 0.0));
    Vector x(9);
    x.zero();
    Vector b(9);
    b.allOnes();
    CapturedOutput const output;
    EXPECT_TRUE(Utility::solve(a, x, b, nullptr, nullptr, nullptr));
    EXPECT_EQ(output.getText(), "");
}

TEST(Solve, PrintedIterationsCountFromOneToTheReportedNumber) {
    SparseMatrix const a = Plain::toSparse(makeLaplacian(3, 0.0));
    Vector x(9);
    x.zero();
    Vector b(9);
    b.zero();
    b.set(0, 1.0);
    unsigned long iterations = 0;
    RecordingListener listener;
    CapturedOutput const output;
    EXPECT_TRUE(Utility::solve(a, x, b, &iterations, &listener, nullptr));
    ASSERT_GT(iterations, 1U);
    std::string const text = output.getText();
    for (unsigned long k = 1; k <= iterations; ++k) {
        EXPECT_NE(text.find("Max. 262144: " + std::to_string(k) + ".  "), std::string::npos);
    }
    EXPECT_EQ(text.find("Max. 262144: 0.  "), std::string::npos);
    EXPECT_EQ(text.find("Max. 262144: " + std::to_string(iterations + 1)), std::string::npos);
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

TEST(Solve, TheListenerMayDeleteItselfInItsOneCall) {
    SparseMatrix const a = Plain::toSparse(makeLaplacian(3, 0.0));
    Vector x(9);
    x.zero();
    Vector b(9);
    b.allOnes();
    unsigned calls = 0;
    auto* const listener = new Testing::LeavingListener(
        1, Testing::LeavingListener::Fate::IsDeleted, [] {}, calls);
    CapturedOutput const output;
    EXPECT_TRUE(Utility::solve(a, x, b, nullptr, listener, nullptr));
    EXPECT_EQ(calls, 1U);
    EXPECT_NE(output.getText().find("Max. 262144: 1.  "), std::string::npos)
        << "lines are shown all the same";
}

TEST(Solve, SingularInconsistentSystemEndsAtTheFirstNaN) {
    Plain::Solution const twice = expectPlainSolution(makeMatrix(2, {1, 1, 1, 1}), {0, 0}, {1, 0});
    EXPECT_FALSE(twice.isSolved);
    EXPECT_EQ(twice.iterations, 2);
    EXPECT_TRUE(std::isnan(twice.norms.back()));

    Plain::Solution const once = expectPlainSolution(makeMatrix(2, {1, 0, 0, 0}), {0, 0}, {0, 1});
    EXPECT_FALSE(once.isSolved);
    EXPECT_EQ(once.iterations, 1);
}

TEST(Solve, RunsThatNeverSettleEndAfter262144Iterations) {
    // Not symmetric: the iteration wanders about for ever.
    Plain::Matrix const a = makeMatrix(2, {1, 0, 2, 1});
    Plain::Solution const expected = Plain::solve(a, {0, 0}, {-1, 0});
    ASSERT_EQ(expected.iterations, 262144);
    Vector x = toVector({0, 0});
    unsigned long iterations = 0;
    EXPECT_FALSE(Utility::solve(Plain::toSparse(a), x, toVector({-1, 0}), &iterations, nullptr, nullptr));
    EXPECT_EQ(iterations, 262144U);
    expectSameBits(x, expected.x);
}

TEST(Solve, NaNBeforeTheFirstIterationLeavesTheStartValue) {
    Plain::Matrix const a = makeMatrix(2, {1, notANumber, 0, 1});
    Plain::Solution const solution = expectPlainSolution(a, {3, 4}, {1, 2});
    EXPECT_FALSE(solution.isSolved);
    EXPECT_EQ(solution.iterations, 0);
    EXPECT_EQ(solution.x, Values({3, 4}));
}

TEST(Solve, RandomPositiveDefiniteSystemsMatchThePlainSolver) {
    std::mt19937 generator(41);
    for (std::uint32_t const n : {1U, 2U, 3U, 4U, 5U, 7U, 10U, 16U, 25U, 40U, 60U}) {
        for (double const density : {0.1, 0.5}) {
            for (double const raise : {1.0, 1e-2}) {
                Plain::Matrix const a = randomPositiveDefinite(generator, n, density, raise);
                Values const b = Plain::randomValues(generator, n);
                Plain::Solution const cold = expectPlainSolution(a, Values(n, 0.0), b);
                EXPECT_TRUE(cold.isSolved);
                expectPlainSolution(a, cold.x, b);
                expectPlainSolution(a, Plain::randomValues(generator, n), b);
            }
        }
    }
}

TEST(Solve, BadlyScaledSystemsMatchThePlainSolver) {
    std::mt19937 generator(42);
    std::uniform_real_distribution<double> exponent(-3.0, 3.0);
    for (int round = 0; round < 8; ++round) {
        std::uint32_t const n = 6;
        Plain::Matrix a = randomPositiveDefinite(generator, n, 0.6, 0.1);
        Values scales(n);
        for (double& scale : scales) {
            scale = std::exp2(exponent(generator));
        }
        for (std::uint32_t r = 0; r < n; ++r) {
            for (std::uint32_t c = 0; c < n; ++c) {
                a.set(r, c, a.get(r, c) * (scales[r] * scales[c]));
            }
        }
        expectPlainSolution(a, Values(n, 0.0), Plain::randomValues(generator, n));
    }
}

TEST(Solve, LaplaciansMatchThePlainSolver) {
    std::mt19937 generator(43);
    for (std::uint32_t const side : {1U, 2U, 5U, 12U, 20U}) {
        Plain::Matrix const a = makeLaplacian(side, 0.0);
        std::size_t const n = a.rows.size();
        EXPECT_TRUE(expectPlainSolution(a, Values(n, 0.0), Plain::randomValues(generator, n)).isSolved);
    }
}

TEST(Solve, TwofoldSystemsMatchThePlainSolver) {
    std::mt19937 generator(44);
    for (std::uint32_t const side : {1U, 2U, 3U, 12U}) {
        Plain::Matrix const a = makeTwofold(makeLaplacian(side, 0.1));
        std::size_t const n = a.rows.size();
        EXPECT_TRUE(expectPlainSolution(a, Values(n, 0.0), Plain::randomValues(generator, n)).isSolved);
    }
    for (int round = 0; round < 10; ++round) {
        Plain::Matrix const a = makeTwofold(randomPositiveDefinite(generator, 9, 0.3, 0.5));
        expectPlainSolution(a, Plain::randomValues(generator, 18), Plain::randomValues(generator, 18));
    }
}

TEST(Solve, SystemsThatAreTwofoldInPlacesMatchThePlainSolver) {
    std::mt19937 generator(45);
    for (int round = 0; round < 40; ++round) {
        Plain::Matrix a = makeTwofold(makeLaplacian(4, 0.5));
        // Breaks some of the pairs of rows: by a value, the sign of a zero, a position, or by shifting all.
        for (int change = 0; change < 6; ++change) {
            auto const r = static_cast<std::uint32_t>(generator() % 32);
            auto const c = static_cast<std::uint32_t>(generator() % 32);
            double const v = round % 3 == 0 ? 0.0 : round % 3 == 1 ? -0.0 : 0.01;
            a.set(r, c, a.get(r, c) + v);
            a.set(c, r, a.get(r, c));
        }
        if (round % 2 == 1) {
            Plain::Matrix shifted(33, 33);
            shifted.set(0, 0, 3.0);
            for (std::uint32_t r = 0; r < 32; ++r) {
                for (std::size_t k = 0; k < a.rows[r].columns.size(); ++k) {
                    shifted.set(r + 1, a.rows[r].columns[k] + 1, a.rows[r].values[k]);
                }
            }
            a = shifted;
        }
        std::size_t const n = a.rows.size();
        expectPlainSolution(a, Plain::randomValues(generator, n), Plain::randomValues(generator, n));
    }
}

TEST(Solve, IndefiniteAndUnsymmetricSystemsMatchThePlainSolver) {
    std::mt19937 generator(46);
    std::uniform_int_distribution<int> entry(-3, 3);
    int compared = 0;
    for (int round = 0; round < 120; ++round) {
        bool const isSymmetric = round % 4 != 0;
        std::uint32_t const n = 1 + static_cast<std::uint32_t>(round) % 3;
        Plain::Matrix a(n, n);
        for (std::uint32_t i = 0; i < n * n; ++i) {
            a.set(i / n, i % n, entry(generator));
            if (isSymmetric) {
                a.set(i % n, i / n, a.get(i / n, i % n));
            }
        }
        Values b(n);
        for (double& value : b) {
            value = entry(generator);
        }
        // Ask the library first: the plain solver is too slow for those that run to the limit.
        Vector x = toVector(Values(n, 0.0));
        unsigned long iterations = 0;
        Utility::solve(Plain::toSparse(a), x, toVector(b), &iterations, nullptr, nullptr);
        if (iterations < 3000) {
            ++compared;
            expectPlainSolution(a, Values(n, 0.0), b);
        }
    }
    EXPECT_GE(compared, 60);
}

TEST(Solve, InfinitiesAndNaNsMatchThePlainSolver) {
    std::mt19937 generator(47);
    for (int round = 0; round < 60; ++round) {
        Plain::Matrix a = makeTwofold(makeLaplacian(3, 0.2));
        Values b = Plain::randomValues(generator, 18);
        Values start = Plain::randomValues(generator, 18);
        double const odd = round % 2 == 0 ? infinity : notANumber;
        auto const i = static_cast<std::uint32_t>(generator() % 18);
        auto const j = static_cast<std::uint32_t>(generator() % 18);
        switch (round % 6 / 2) {
        case 0:
            a.set(i, j, odd);
            break;
        case 1:
            b[i] = odd;
            break;
        default:
            start[i] = odd;
        }
        EXPECT_FALSE(expectPlainSolution(a, start, b).isSolved);
    }
    // Overflow on the way: the squares of the residual, the direction, the iterate.
    for (double const size : {1e150, 1e160, 1e200, 1e308}) {
        Plain::Matrix const a = makeTwofold(makeLaplacian(3, 0.2));
        Values b = Plain::randomValues(generator, 18);
        for (double& value : b) {
            value *= 0.5 * size;
        }
        expectPlainSolution(a, Values(18, 0.0), b);
    }
}

TEST(Solve, WarmStartFromTheSolutionTakesFewIterations) {
    std::mt19937 generator(48);
    Plain::Matrix const a = makeLaplacian(8, 0.0);
    Values const b = Plain::randomValues(generator, 64);
    Plain::Solution const cold = expectPlainSolution(a, Values(64, 0.0), b);
    Plain::Solution const warm = expectPlainSolution(a, cold.x, b);
    EXPECT_TRUE(warm.isSolved);
    EXPECT_LT(warm.iterations, cold.iterations);
}

TEST(Solve, SolutionSatisfiesTheSystem) {
    std::mt19937 generator(49);
    Plain::Matrix const a = randomPositiveDefinite(generator, 30, 0.3, 1.0);
    Values const b = Plain::randomValues(generator, 30);
    Vector x = toVector(Values(30, 0.0));
    ASSERT_TRUE(Utility::solve(Plain::toSparse(a), x, toVector(b), nullptr, nullptr, nullptr));
    Values const product = Plain::product(a, toValues(x));
    for (std::size_t i = 0; i < 30; ++i) {
        EXPECT_NEAR(product[i], b[i], 1e-12);
    }
}

TEST(Solve, StartValueAndRightHandSideMayBeOneVector) {
    std::mt19937 generator(50);
    Plain::Matrix const a = makeLaplacian(5, 0.3);
    Values const b = Plain::randomValues(generator, 25);
    Plain::Solution const expected = Plain::solve(a, b, b);
    Vector both = toVector(b);
    EXPECT_TRUE(Utility::solve(Plain::toSparse(a), both, both, nullptr, nullptr, nullptr));
    expectSameBits(both, expected.x);
}

TEST(Solve, KeepsTheArrayOfTheSolution) {
    SparseMatrix const a = Plain::toSparse(makeMatrix(1, {2.0}));
    Vector x = toVector({0.0});
    double const* const array = x.begin();
    EXPECT_TRUE(Utility::solve(a, x, toVector({4.0}), nullptr, nullptr, nullptr));
    EXPECT_EQ(x.begin(), array);
}

TEST(Solve, AReportOfARunThatNeverSettlesTellsItsLastNorm) {
    Plain::Matrix const a = makeMatrix(2, {1, 0, 2, 1});
    Plain::Solution const expected = Plain::solve(a, {0, 0}, {-1, 0});
    Vector x = toVector({0, 0});
    SolveReport const report =
        Utility::solveWithReport(Plain::toSparse(a), x, toVector({-1, 0}), nullptr, nullptr);
    EXPECT_EQ(report.iterations, 262144U);
    EXPECT_GT(report.residual, 1e-20);
    EXPECT_TRUE(sameBits(report.residual, expected.norms.back()));
    EXPECT_FALSE(report.hasConverged);
    expectSameBits(x, expected.x);
}

TEST(Solve, AReportWithoutAnIterationTellsTheStartsNorm) {
    SparseMatrix const a = Plain::toSparse(makeMatrix(1, {2.0}));
    Vector x = toVector({2.0});
    IterationListener listener;
    SolveReport const solved = Utility::solveWithReport(a, x, toVector({4.0}), &listener, nullptr);
    EXPECT_EQ(solved.iterations, 0U);
    EXPECT_EQ(solved.residual, 0.0);
    EXPECT_TRUE(solved.hasConverged);
    SolveReport const broken = Utility::solveWithReport(a, x, toVector({notANumber}), &listener, nullptr);
    EXPECT_EQ(broken.iterations, 0U);
    EXPECT_TRUE(std::isnan(broken.residual));
    EXPECT_FALSE(broken.hasConverged);
    EXPECT_TRUE(listener.reports.empty());
}

/// Solves with dimensions that do not fit and checks that only the message got out.
template <class Thrown>
void expectMismatch(SparseMatrix const& a, Values const& start, Values const& b) {
    Vector x = toVector(start);
    unsigned long iterations = 99;
    RecordingListener listener;
    CapturedOutput const output;
    EXPECT_TRUE(getDoesThrowPointer<Thrown>(
        [&] { Utility::solve(a, x, toVector(b), &iterations, &listener, nullptr); }));
    EXPECT_EQ(listener.events, std::vector<std::string>({"Solving linear system..."}));
    EXPECT_EQ(toValues(x), start);
    EXPECT_EQ(iterations, 99U);
    EXPECT_EQ(output.getText(), "");
}

TEST(Solve, MismatchedLengthsThrowAfterTheMessage) {
    using OfMatrix = SparseMatrix::SparseMatrixInvalidDimensionsException;
    using OfVector = Vector::VectorInvalidDimensionsException;
    SparseMatrix const square = Plain::toSparse(makeMatrix(2, {2.0, 1.0, 1.0, 3.0}));
    expectMismatch<OfMatrix>(square, {1, 2, 3}, {1, 2});
    expectMismatch<OfMatrix>(square, {1}, {1, 2});
    expectMismatch<OfMatrix>(square, {1}, {1, 2, 3});
    expectMismatch<OfVector>(square, {1, 2}, {1, 2, 3});
    expectMismatch<OfVector>(square, {1, 2}, {1});
}

TEST(Solve, MatrixThatIsNotSquareThrowsOnlyIfAnIterationIsNeeded) {
    using OfMatrix = SparseMatrix::SparseMatrixInvalidDimensionsException;
    SparseMatrix wide(2, 3, 8, SparseMatrix::CanonicalEmpty);
    wide.set(0, 0, 1.0);
    wide.set(1, 2, 1.0);
    expectMismatch<OfMatrix>(wide, {0, 0, 0}, {1, 2});
    expectMismatch<OfMatrix>(wide.transpose(), {0, 0}, {1, 2, 3});

    Vector x = toVector({4, 5, 6});
    unsigned long iterations = 99;
    EXPECT_TRUE(Utility::solve(wide, x, toVector({4, 6}), &iterations, nullptr, nullptr));
    EXPECT_EQ(iterations, 0U);
    EXPECT_EQ(toValues(x), Values({4, 5, 6}));
}

class CountingTerminator : public ProgressTerminator {
public:
    int questions = 0;

    bool getIsTerminationRequested() override {
        ++questions;
        return true;
    }
};

TEST(Solve, NeverAsksTheTerminator) {
    CountingTerminator terminator;
    SparseMatrix const a = Plain::toSparse(makeLaplacian(3, 0.0));
    Vector x(9);
    x.zero();
    Vector b(9);
    b.allOnes();
    EXPECT_TRUE(Utility::solve(a, x, b, nullptr, nullptr, &terminator));
    EXPECT_EQ(terminator.questions, 0);
}

std::string getProgressText(double residual, int iterations) {
    CapturedOutput const output;
    Utility::setSolveProgress(residual, iterations);
    return output.getText();
}

TEST(SolveProgress, LineIsWrittenByteForByte) {
    EXPECT_EQ(getProgressText(1.23456789e-21, 262144),
              "\rResidual L2 norm: 1.23457e-21.  Iterations to Max. 262144: 262144.  ");
    EXPECT_EQ(getProgressText(1234567.0, 100000),
              "\rResidual L2 norm: 1.23457e+06.  Iterations to Max. 262144: 100000.  ");
    EXPECT_EQ(getProgressText(0.5, 7), "\rResidual L2 norm: 0.5.  Iterations to Max. 262144: 7.  ");
    EXPECT_EQ(getProgressText(infinity, 2), "\rResidual L2 norm: inf.  Iterations to Max. 262144: 2.  ");
    EXPECT_EQ(getProgressText(notANumber, 3), "\rResidual L2 norm: nan.  Iterations to Max. 262144: 3.  ");
}

TEST(SolveProgress, NumbersHaveTheDefaultFormatOfAStream) {
    std::mt19937 generator(51);
    for (int round = 0; round < 2000; ++round) {
        double const residual = Testing::randomSpread(generator, round % 2 == 0 ? 1000 : 30);
        auto const iterations = static_cast<int>(generator() % 10000000);
        EXPECT_EQ(getProgressText(residual, iterations), getLine(residual, iterations));
    }
    double const extremes[] = {0.0, -0.0, std::numeric_limits<double>::denorm_min(),
                               std::numeric_limits<double>::max(), -notANumber};
    for (double const residual : extremes) {
        EXPECT_EQ(getProgressText(residual, 1), getLine(residual, 1));
    }
}

class CommaAndGroups : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\3"; }
};

TEST(SolveProgress, FormatAndLocaleOfStandardOutputDoNotMatter) {
    std::ios original(nullptr);
    original.copyfmt(std::cout);
    std::cout.imbue(std::locale(std::locale::classic(), new CommaAndGroups));
    std::cout << std::fixed << std::showpos << std::setprecision(2) << std::setfill('*') << std::setw(40);
    std::string const text = getProgressText(0.123456789, 12345);
    std::streamsize const widthAfter = std::cout.width();
    std::cout.copyfmt(original);
    EXPECT_EQ(text, "\rResidual L2 norm: 0.123457.  Iterations to Max. 262144: 12345.  ");
    EXPECT_EQ(widthAfter, 40);
}

} // namespace
} // namespace QELT::LinearAlgebra
