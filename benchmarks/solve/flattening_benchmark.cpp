// What conformal maps spend their time on: iterations of the inside's system with two pinned corners, the
// rim's least squares, and turning the flat map straight.

#include "Geometry/geometry.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <vector>

namespace {

using namespace QELT::Geometry::ThreeDimensional;
using QELT::ProgressListener;
using QELT::LinearAlgebra::LinearSolution;
using QELT::LinearAlgebra::LinearSolver;
using QELT::LinearAlgebra::SolveListener;
using QELT::LinearAlgebra::SolveReport;
using QELT::LinearAlgebra::SparseMatrix;
using QELT::LinearAlgebra::Utility;
using QELT::LinearAlgebra::Vector;
using TriMesh::Mesh;
using MeshPointer = std::unique_ptr<Mesh>;

/// A wavy patch of side * side vertices that lie a little off a lattice, its squares split along diagonals of
/// random direction: vertices have four to eight neighbours.
MeshPointer makePatch(unsigned side) {
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> jitter(-0.25, 0.25);
    std::vector<Point> points;
    std::vector<TriMesh::Face> faces;
    for (unsigned v = 0; v < side; ++v) {
        for (unsigned u = 0; u < side; ++u) {
            double const x = 100.0 * (u + jitter(generator)) / side;
            double const y = 100.0 * (v + jitter(generator)) / side;
            points.emplace_back(x, y, 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y));
        }
    }
    for (unsigned v = 0; v + 1 < side; ++v) {
        for (unsigned u = 0; u + 1 < side; ++u) {
            unsigned const a = v * side + u;
            unsigned const b = a + side;
            if (generator() % 2 == 0) {
                faces.push_back({a, a + 1, b});
                faces.push_back({a + 1, b + 1, b});
            } else {
                faces.push_back({a, a + 1, b + 1});
                faces.push_back({a, b + 1, b});
            }
        }
    }
    return std::make_unique<Mesh>(points, faces);
}

/// Triangles around one vertex, with a rim of `edges` edges of uneven length.
MeshPointer makeFan(unsigned edges) {
    std::mt19937 generator(6);
    std::uniform_real_distribution<double> jitter(-0.2, 0.2);
    std::vector<Point> points = {Point(0.0, 0.0, 20.0)};
    std::vector<TriMesh::Face> faces;
    for (unsigned i = 0; i < edges; ++i) {
        double const t = 2.0 * std::numbers::pi * (i + jitter(generator)) / edges;
        double const r = 100.0 * (1.0 + 0.1 * std::cos(3.0 * t));
        points.emplace_back(r * std::cos(t), 0.6 * r * std::sin(t), 0.0);
        faces.push_back({0U, 1 + i, 1 + (i + 1) % edges});
    }
    return std::make_unique<Mesh>(points, faces);
}

/// Keeps the inside's system, and answers with what it was given.
class KnownSolver : public LinearSolver {
public:
    LinearSolution solveLeastSquares(SparseMatrix const& rows, Vector const& /* rightSide */,
                                     ProgressListener* const& /* listener */) override {
        return {Vector(rows.getNumberOfColumns()), {}};
    }

    LinearSolution solveSymmetric(SparseMatrix const& newMatrix, Vector const& newRightSide,
                                  Vector const* /* start */,
                                  ProgressListener* const& /* listener */) override {
        matrix.emplace(newMatrix);
        rightSide.emplace(newRightSide);
        if (!solution) {
            solution.emplace(newMatrix.getNumberOfColumns());
            solution->zero();
        }
        return {*solution, {}};
    }

    std::optional<SparseMatrix> matrix;
    std::optional<Vector> rightSide;
    std::optional<Vector> solution;
};

struct Enough {};

/// Ends a solve after so many iterations.
class StoppingListener : public SolveListener {
public:
    explicit StoppingListener(unsigned long newLimit) : limit(newLimit) {}

    void setMessage(char const* /* text */) override {}

    void setPercentage(unsigned long /* percent */) override {}

    void reserved3() override {}

    void reserved4() override {}

    void setSolveProgress(SolveReport const& report) override {
        if (report.iterations == limit) {
            throw Enough();
        }
    }

private:
    unsigned long limit;
};

/// Keeps the solver's progress off the report.
class QuietOutput {
public:
    QuietOutput() : former(std::cout.rdbuf(nullptr)) {}

    QuietOutput(QuietOutput const&) = delete;
    QuietOutput& operator=(QuietOutput const&) = delete;

    ~QuietOutput() {
        std::cout.rdbuf(former);
        std::cout.clear();
    }

private:
    std::streambuf* former;
};

void countIterations(benchmark::State& state, double iterations) {
    state.counters["time/iteration"] =
        benchmark::Counter(iterations, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void iteratePinnedMap(benchmark::State& state) {
    constexpr unsigned long numberOfIterations = 300;
    QuietOutput const quiet;
    MeshPointer const mesh = makePatch(static_cast<unsigned>(state.range(0)));
    KnownSolver solver;
    mesh->setLinearSolver(&solver);
    mesh->conformalMap(true, nullptr, false);
    double iterations = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        Vector x(*solver.solution);
        StoppingListener listener(numberOfIterations);
        try {
            Utility::solve(*solver.matrix, x, *solver.rightSide, nullptr, &listener, nullptr);
        } catch (Enough const&) {
            iterations += numberOfIterations;
        }
    }
    countIterations(state, iterations);
}

void solveRim(benchmark::State& state) {
    QuietOutput const quiet;
    double iterations = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        MeshPointer const mesh = makeFan(static_cast<unsigned>(state.range(0)));
        mesh->conformalMap(false, nullptr, false);
        iterations += static_cast<double>(mesh->getConformalMapReport().boundary->iterations);
    }
    countIterations(state, iterations);
}

/// All of a map but its solve, whose answer is known: numbering, assembly and orientation.
void orientPinnedMap(benchmark::State& state) {
    QuietOutput const quiet;
    MeshPointer const mesh = makePatch(static_cast<unsigned>(state.range(0)));
    Vector known(0);
    mesh->conformalMap(true, &known, false);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        MeshPointer const copy = makePatch(static_cast<unsigned>(state.range(0)));
        KnownSolver solver;
        solver.solution.emplace(known);
        copy->setLinearSolver(&solver);
        state.ResumeTiming();
        copy->conformalMap(true, nullptr, false);
    }
}

BENCHMARK(iteratePinnedMap)->Arg(100)->Arg(200)->Arg(316)->Unit(benchmark::kMillisecond);
BENCHMARK(solveRim)->Arg(500)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(orientPinnedMap)->Arg(30)->Arg(100)->Unit(benchmark::kMillisecond);

} // namespace
