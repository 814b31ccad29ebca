// Flat maps of a scan, by the direct solver and by conjugate gradients. The largest one has a million
// vertices and a rim of 4,000 edges:
//
//     /usr/bin/time -v maps_benchmark --benchmark_filter=direct.*/1000

#include "Inspection/maps/flattening.h"
#include "benchmarks/scannedpatch.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>

namespace {

using namespace QELT::Inspection;

void flattenScan(benchmark::State& state, FlatteningOptions const& options) {
    FlatteningReport report;
    for (auto _ : state) {
        state.PauseTiming();
        Mesh mesh;
        Benchmarks::ScannedPatch const patch =
            Benchmarks::makeScannedPatch(static_cast<std::uint32_t>(state.range(0)));
        mesh.construct(patch.points, patch.faces);
        state.ResumeTiming();
        report = flatten(mesh, options, nullptr);
    }
    state.SetLabel(report.doubt);
    if (report.inside) {
        double const rim = report.boundary ? report.boundary->uncertainty : 0.0;
        state.counters["uncertainty"] = std::max(rim, report.inside->uncertainty);
    }
}

constexpr FlatteningOptions directlyPinned{FlatteningMode::Pinned, SolverKind::Direct};
constexpr FlatteningOptions directlyRolledOut{FlatteningMode::Developable, SolverKind::Direct};
constexpr FlatteningOptions pinned{FlatteningMode::Pinned, SolverKind::ConjugateGradients};
constexpr FlatteningOptions rolledOut{FlatteningMode::Developable, SolverKind::ConjugateGradients};

} // namespace

BENCHMARK_CAPTURE(flattenScan, directPinned, directlyPinned)
    ->Arg(100)
    ->Arg(316)
    ->Arg(1000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flattenScan, directDevelopable, directlyRolledOut)
    ->Arg(100)
    ->Arg(316)
    ->Arg(1000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flattenScan, gradientsPinned, pinned)
    ->Arg(100)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flattenScan, gradientsDevelopable, rolledOut)
    ->Arg(100)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
