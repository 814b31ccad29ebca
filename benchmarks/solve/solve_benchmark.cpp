// The linear systems of a flattening: a Laplacian for both coordinates of the points of a patch, solved by
// the library, and by the same steps written with the operators of its vectors and matrices.

#include "Geometry/geometry.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using QELT::LinearAlgebra::SparseMatrix;
using QELT::LinearAlgebra::Utility;
using QELT::LinearAlgebra::Vector;

struct System {
    SparseMatrix matrix;
    Vector rightHandSide;
};

void link(SparseMatrix& matrix, unsigned long p, unsigned long q, double weight) {
    for (unsigned long k = 0; k < 2; ++k) {
        matrix.acc(2 * p + k, 2 * p + k, weight);
        matrix.acc(2 * q + k, 2 * q + k, weight);
        matrix.acc(2 * p + k, 2 * q + k, -weight);
        matrix.acc(2 * q + k, 2 * p + k, -weight);
    }
}

/// A patch of side * side points, its squares split along diagonals of random direction, with random weights.
/// The points of one edge are held by springs, which makes the system definite.
System makePatch(unsigned long side) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> weight(0.2, 1.5);
    unsigned long const order = 2 * side * side;
    System patch{SparseMatrix(order, order, 8, SparseMatrix::CanonicalEmpty), Vector(order)};
    for (unsigned long y = 0; y < side; ++y) {
        for (unsigned long x = 0; x < side; ++x) {
            unsigned long const p = y * side + x;
            if (x + 1 < side) {
                link(patch.matrix, p, p + 1, weight(generator));
            }
            if (y + 1 < side) {
                link(patch.matrix, p, p + side, weight(generator));
            }
            if (x + 1 < side && y + 1 < side) {
                bool const isRising = generator() % 2 == 0;
                link(patch.matrix, isRising ? p : p + 1, isRising ? p + side + 1 : p + side,
                     weight(generator));
            }
            if (x == 0) {
                patch.matrix.acc(2 * p, 2 * p, 1.0);
                patch.matrix.acc(2 * p + 1, 2 * p + 1, 1.0);
            }
        }
    }
    std::generate(patch.rightHandSide.begin(), patch.rightHandSide.end(), [&] { return weight(generator); });
    return patch;
}

unsigned long solveByLibrary(System const& system, Vector& x) {
    unsigned long iterations = 0;
    Utility::solve(system.matrix, x, system.rightHandSide, &iterations, nullptr, nullptr);
    return iterations;
}

unsigned long solveByOperators(System const& system, Vector& x) {
    Vector residual = system.rightHandSide - system.matrix * x;
    Vector direction = residual;
    double previousSqr = 0.0;
    unsigned long iterations = 0;
    while (residual.normL2() > 1e-20 && iterations < 262144) {
        double const residualSqr = residual.transpose() * residual;
        if (iterations != 0) {
            direction = residual + residualSqr / previousSqr * direction;
        }
        Vector const product = system.matrix * direction;
        double const alpha = residualSqr / (direction.transpose() * product);
        x = x + alpha * direction;
        residual = residual - alpha * product;
        previousSqr = residualSqr;
        ++iterations;
    }
    return iterations;
}

template <unsigned long solve(System const&, Vector&)>
void solvePatch(benchmark::State& state) {
    System const system = makePatch(static_cast<unsigned long>(state.range(0)));
    Vector x(system.rightHandSide.getNumberOfValues());
    Vector peer(x);
    x.zero();
    peer.zero();
    if (solveByLibrary(system, x) != solveByOperators(system, peer) ||
        !std::equal(x.begin(), x.end(), peer.begin())) {
        state.SkipWithError("The two solutions differ");
        return;
    }
    unsigned long iterations = 0;
    for ([[maybe_unused]] auto _ : state) {
        x.zero();
        iterations += solve(system, x);
        benchmark::DoNotOptimize(x.begin());
    }
    state.counters["time/iteration"] = benchmark::Counter(
        static_cast<double>(iterations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["iterations"] =
        benchmark::Counter(static_cast<double>(iterations), benchmark::Counter::kAvgIterations);
}

BENCHMARK_TEMPLATE(solvePatch, solveByLibrary)->Arg(30)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(solvePatch, solveByOperators)->Arg(30)->Arg(100)->Unit(benchmark::kMillisecond);

} // namespace
