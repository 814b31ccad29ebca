// What conformal maps spend their time on: iterations of the inside's system with two pinned corners, the
// rim's least squares, and turning the flat map straight.

#include "benchmarks/flatteningsamples.h"
#include "benchmarks/quietoutput.h"

#include <benchmark/benchmark.h>

namespace {

using namespace Benchmarks;
using QELT::LinearAlgebra::SolveListener;
using QELT::LinearAlgebra::SolveReport;
using QELT::LinearAlgebra::Utility;
using QELT::LinearAlgebra::Vector;

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
