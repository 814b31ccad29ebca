#include "tests/support/capturedoutput.h"
#include "tests/support/flattening_fixtures.h"
#include "tests/support/leavinglistener.h"
#include "tests/support/meshuse.h"
#include "tests/support/throwinglistener.h"
#include "tests/support/thrownpointer.h"
#include "tests/support/watchedheap.h"

#include "Geometry/linearalgebra/linearsolver.h"
#include "Geometry/linearalgebra/utility.h"

#include <functional>
#include <optional>
#include <stdexcept>

// A mesh with a solver attached hands it the systems of its map, and takes its answers.

namespace QELT::Testing {
namespace {

namespace Plain = PlainFlattening;
using LinearAlgebra::LinearSolution;
using LinearAlgebra::SolveReport;
using LinearAlgebra::SparseMatrix;

/// Values that no solver finds, for a system of so many unknowns.
std::vector<double> inventedValues(std::size_t count, double shift) {
    std::vector<double> values;
    for (std::size_t k = 0; k < count; ++k) {
        values.push_back(shift + std::sin(0.7 * static_cast<double>(k)));
    }
    return values;
}

Plain::Rows rowsOf(SparseMatrix const& matrix) {
    Plain::Rows rows;
    for (unsigned long r = 0; r < matrix.getNumberOfRows(); ++r) {
        auto const row = matrix.getRow(r);
        rows.emplace_back();
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            rows.back().push_back({row.columns[k], row.values[k]});
        }
    }
    return rows;
}

/// Keeps what it is asked and answers with invented values.
class RecordingSolver : public LinearAlgebra::LinearSolver {
public:
    struct Question {
        Plain::Problem problem;
        std::size_t numberOfUnknowns = 0;
        std::optional<std::vector<double>> start;
        bool hasListener = false;
    };

    std::vector<Question> leastSquares;
    std::vector<Question> symmetric;
    SolveReport boundaryReport{3, 0.25, false, 8.0};
    SolveReport insideReport{5, 0.5, true, 16.0};
    std::size_t surplus = 0;               ///< values too many in each answer
    std::function<void()> inMidst = [] {}; ///< called in each solve

    LinearSolution solveLeastSquares(SparseMatrix const& rows, LinearAlgebra::Vector const& rightSide,
                                     ProgressListener* const& listener) override {
        return answer(leastSquares, rows, rightSide, nullptr, listener, boundaryReport, 1.0);
    }

    LinearSolution solveSymmetric(SparseMatrix const& matrix, LinearAlgebra::Vector const& rightSide,
                                  LinearAlgebra::Vector const* start,
                                  ProgressListener* const& listener) override {
        return answer(symmetric, matrix, rightSide, start, listener, insideReport, 2.0);
    }

private:
    LinearSolution answer(std::vector<Question>& questions, SparseMatrix const& matrix,
                          LinearAlgebra::Vector const& rightSide, LinearAlgebra::Vector const* start,
                          ProgressListener* const& listener, SolveReport const& report, double shift) {
        inMidst();
        questions.push_back({{rowsOf(matrix), valuesOf(rightSide)},
                             matrix.getNumberOfColumns(),
                             start != nullptr ? std::optional(valuesOf(*start)) : std::nullopt,
                             listener != nullptr});
        return {vectorOf(inventedValues(matrix.getNumberOfColumns() + surplus, shift)), report};
    }
};

/// Solves as the library does by itself.
class GradientSolver : public LinearAlgebra::LinearSolver {
public:
    LinearSolution solveLeastSquares(SparseMatrix const& rows, LinearAlgebra::Vector const& rightSide,
                                     ProgressListener* const& listener) override {
        SparseMatrix const transposed = rows.transpose();
        return solveSymmetric(transposed * rows, transposed * rightSide, nullptr, listener);
    }

    LinearSolution solveSymmetric(SparseMatrix const& matrix, LinearAlgebra::Vector const& rightSide,
                                  LinearAlgebra::Vector const* start,
                                  ProgressListener* const& listener) override {
        LinearSolution solution{LinearAlgebra::Vector(matrix.getNumberOfColumns()), {}};
        solution.values.zero();
        if (start != nullptr) {
            solution.values.set(start);
        }
        solution.report =
            LinearAlgebra::Utility::solveWithReport(matrix, solution.values, rightSide, listener, nullptr);
        return solution;
    }
};

void expectSameProblem(RecordingSolver::Question const& actual, Plain::Problem const& expected) {
    ASSERT_EQ(actual.problem.rows.size(), expected.rows.size());
    for (std::size_t r = 0; r < expected.rows.size(); ++r) {
        ASSERT_EQ(actual.problem.rows[r].size(), expected.rows[r].size()) << "row " << r;
        for (std::size_t k = 0; k < expected.rows[r].size(); ++k) {
            EXPECT_EQ(actual.problem.rows[r][k].column, expected.rows[r][k].column) << "row " << r;
            EXPECT_TRUE(sameBits(actual.problem.rows[r][k].value, expected.rows[r][k].value)) << "row " << r;
        }
    }
    EXPECT_TRUE(sameVector(actual.problem.rightSide, expected.rightSide));
}

std::vector<Soup> variedSoups() {
    return {makeWavyPatch(5, 4), withShuffledVertices(makePatchWithHole(7), 3),
            makeRoughPatchWithLoopOf(141, 5), makeCap(4, 9), makeStrip(6)};
}

void expectSameReport(std::optional<SolveReport> const& actual, SolveReport const& expected) {
    ASSERT_TRUE(actual);
    EXPECT_EQ(actual->iterations, expected.iterations);
    EXPECT_EQ(actual->residual, expected.residual);
    EXPECT_EQ(actual->hasConverged, expected.hasConverged);
    EXPECT_EQ(actual->rightSide, expected.rightSide);
}

/// The mesh that the plain steps make of the solver's answers, and the systems that they ask of.
struct Expected {
    PlainMesh mesh;
    std::optional<Plain::Problem> boundary;
    Plain::Problem inside;

    Expected(PlainMesh const& part, bool pinCorners) : mesh(part) {
        Plain::Counts const counts = Plain::promoteInterior(mesh, pinCorners);
        std::vector<Plain::Flat> fixed{{0.5, 1.0}, {1.0, 0.5}};
        if (!pinCorners) {
            boundary = Plain::boundaryProblem(mesh, counts.mainLoop);
            fixed = Plain::boundaryPlaces(counts.mainLoop, inventedValues(2 * (counts.mainLoop - 2), 1.0));
        }
        inside = Plain::insideProblem(mesh, fixed);
        std::vector<double> const solution = inventedValues(inside.rows.size(), 2.0);
        std::vector<Plain::Flat> flats;
        for (std::size_t i = 0; i < solution.size(); i += 2) {
            flats.push_back({solution[i], solution[i + 1]});
        }
        flats.insert(flats.end(), fixed.begin(), fixed.end());
        Plain::setFlats(mesh, flats);
        Plain::Report report;
        Plain::orient(mesh, report);
    }
};

TEST(AttachedSolver, AMeshHasNoneUntilOneIsAttached) {
    TriangleMesh mesh;
    EXPECT_EQ(mesh.getLinearSolver(), nullptr);
    RecordingSolver solver;
    mesh.setLinearSolver(&solver);
    EXPECT_EQ(mesh.getLinearSolver(), &solver);
}

TEST(AttachedSolver, GetsThePlainVersionsSystemsAndItsAnswersMakeTheMap) {
    for (Soup const& soup : variedSoups()) {
        for (bool const pinCorners : {false, true}) {
            MeshPointer const mesh = makeMesh(soup);
            Expected const expected(plainCopyOf(*mesh), pinCorners);
            RecordingSolver solver;
            mesh->setLinearSolver(&solver);
            mesh->conformalMap(pinCorners, nullptr, false);
            ASSERT_EQ(solver.leastSquares.size(), pinCorners ? 0U : 1U);
            ASSERT_EQ(solver.symmetric.size(), 1U);
            if (!pinCorners) {
                expectSameProblem(solver.leastSquares[0], *expected.boundary);
                EXPECT_EQ(2 * solver.leastSquares[0].numberOfUnknowns,
                          solver.leastSquares[0].problem.rows.size());
            }
            expectSameProblem(solver.symmetric[0], expected.inside);
            EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), expected.mesh));
        }
    }
}

TEST(AttachedSolver, ItsReportsAndItsSolutionAreHandedOn) {
    MeshPointer const mesh = makeMesh(makePatchWithHole(7));
    RecordingSolver solver;
    mesh->setLinearSolver(&solver);
    LinearAlgebra::Vector solution(0UL);
    mesh->conformalMap(false, &solution, false);
    expectSameReport(mesh->getConformalMapReport().boundary, solver.boundaryReport);
    expectSameReport(mesh->getConformalMapReport().inside, solver.insideReport);
    EXPECT_EQ(valuesOf(solution), inventedValues(solver.symmetric[0].numberOfUnknowns, 2.0));
}

TEST(AttachedSolver, TheSameMessagesAreSentAndNothingIsPrinted) {
    for (bool const pinCorners : {false, true}) {
        std::vector<std::string> events[2];
        RecordingSolver solver;
        solver.insideReport.hasConverged = false;
        for (std::size_t run = 0; run < 2; ++run) {
            MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
            RecordingListener listener;
            mesh->setProgressListener(&listener);
            mesh->setLinearSolver(run == 1 ? &solver : nullptr);
            CapturedOutput const output;
            mesh->conformalMap(pinCorners, nullptr, false);
            EXPECT_EQ(output.getText().empty(), run == 1);
            events[run] = listener.events;
        }
        EXPECT_EQ(events[0], events[1]);
        EXPECT_TRUE(solver.symmetric[0].hasListener);
    }
}

TEST(AttachedSolver, GetsTheStartIfThereIsOne) {
    std::size_t const count = Expected(plainCopyOf(*makeMesh(makeWavyPatch(5, 4))), true).inside.rows.size();
    std::vector<double> const start = inventedValues(count, 3.0);
    for (bool const isStart : {false, true}) {
        MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
        RecordingSolver solver;
        mesh->setLinearSolver(&solver);
        LinearAlgebra::Vector solution = vectorOf(start);
        mesh->conformalMap(true, &solution, isStart);
        EXPECT_EQ(solver.symmetric[0].start, isStart ? std::optional(start) : std::nullopt);
    }
}

TEST(AttachedSolver, AStartOfTheWrongLengthIsThrownByPointerAndTheSolverIsNotAsked) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
    RecordingSolver solver;
    mesh->setLinearSolver(&solver);
    LinearAlgebra::Vector tooShort = vectorOf({1.0, 2.0});
    EXPECT_TRUE(getDoesThrowPointer<SparseMatrix::SparseMatrixInvalidDimensionsException>(
        [&] { mesh->conformalMap(true, &tooShort, true); }));
    EXPECT_TRUE(solver.symmetric.empty());
    EXPECT_EQ(valuesOf(tooShort), (std::vector<double>{1.0, 2.0}));
    expectUsable(*mesh);
}

TEST(AttachedSolver, AnAnswerOfTheWrongLengthIsRefused) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
        RecordingSolver solver;
        solver.surplus = 2;
        mesh->setLinearSolver(&solver);
        try {
            mesh->conformalMap(pinCorners, nullptr, false);
            FAIL() << "nothing was thrown";
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), "Linear solver gave a wrong number of values");
        }
        EXPECT_FALSE(mesh->getConformalMapReport().boundary);
        EXPECT_FALSE(mesh->getConformalMapReport().inside);
        mesh->setLinearSolver(nullptr);
        CapturedOutput const quiet;
        expectUsable(*mesh);
    }
}

TEST(AttachedSolver, WhatItThrowsPassesAndLeavesAMeshThatMapsLikeItsTwin) {
    Soup const soup = makePatchWithHole(7);
    MeshPointer const mesh = makeMesh(soup);
    MeshPointer const twin = makeMesh(soup);
    twin->fileName = mesh->fileName;
    RecordingSolver solver;
    solver.inMidst = [] { throw std::logic_error("tired"); };
    mesh->setLinearSolver(&solver);
    EXPECT_THROW(mesh->conformalMap(false, nullptr, false), std::logic_error);
    EXPECT_FALSE(mesh->getConformalMapReport().boundary);
    unsigned long interior = 0;
    unsigned long mainLoop = 0;
    twin->promoteInterior(false, interior, mainLoop);
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plainCopyOf(*twin))) << "renumbered, and no more";
    mesh->setLinearSolver(nullptr);
    CapturedOutput const quiet;
    mesh->conformalMap(false, nullptr, false);
    twin->conformalMap(false, nullptr, false);
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plainCopyOf(*twin)));
}

TEST(AttachedSolver, SeesAListenerLeave) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
    RecordingListener listener;
    mesh->setProgressListener(&listener);
    RecordingSolver solver;
    solver.inMidst = [&] { mesh->setProgressListener(nullptr); };
    mesh->setLinearSolver(&solver);
    mesh->conformalMap(true, nullptr, false);
    EXPECT_FALSE(solver.symmetric[0].hasListener);
    EXPECT_EQ(listener.messages.back(), "Solving linear system...");
}

TEST(AttachedSolver, TheLibrarysOwnStepsInASolverGiveTheSameBits) {
    for (Soup const& soup : variedSoups()) {
        for (bool const pinCorners : {false, true}) {
            MeshPointer const mesh = makeMesh(soup);
            MeshPointer const twin = makeMesh(soup);
            twin->fileName = mesh->fileName;
            GradientSolver solver;
            mesh->setLinearSolver(&solver);
            CapturedOutput const quiet;
            mesh->conformalMap(pinCorners, nullptr, false);
            twin->conformalMap(pinCorners, nullptr, false);
            EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plainCopyOf(*twin)));
            expectSameReport(mesh->getConformalMapReport().inside, *twin->getConformalMapReport().inside);
        }
    }
}

TEST(AttachedSolver, AListenerThatThrowsLeavesAWholeMesh) {
    bool isDone = false;
    std::size_t patience = 0;
    for (; !isDone; patience += 5) {
        MeshPointer const mesh = makeCutTube();
        RecordingSolver solver;
        ThrowingListener listener(patience);
        mesh->setProgressListener(&listener);
        mesh->setLinearSolver(&solver);
        isDone = true;
        try {
            mesh->conformalMap(false, nullptr, false);
        } catch (std::runtime_error const&) {
            isDone = false;
        }
        mesh->setProgressListener(nullptr);
        mesh->setLinearSolver(nullptr);
        CapturedOutput const quiet;
        expectUsable(*mesh);
    }
    EXPECT_GT(patience, 100U);
}

TEST(AttachedSolver, AFailureOfMemoryLeavesAWholeMesh) {
    constexpr std::size_t sample = 100;
    static GradientSolver solver;
    auto const makeTube = [] {
        MeshPointer mesh = makeCutTube();
        mesh->setLinearSolver(&solver);
        return mesh;
    };
    CapturedOutput const quiet;
    std::size_t const failures = failEachAllocation(
        sample, makeTube, [](TriangleMesh& mesh) { mesh.conformalMap(false, nullptr, false); },
        [](TriangleMesh& mesh, std::size_t given) {
            SCOPED_TRACE(given);
            expectUsable(mesh);
        });
    EXPECT_GT(failures, sample / 2);
}

} // namespace
} // namespace QELT::Testing
