// Flat maps of a scan, by the direct solver and by conjugate gradients. The largest one has a million
// vertices and a rim of 4,000 edges:
//
//     /usr/bin/time -v maps_benchmark --benchmark_filter=direct.*/1000

#include "Inspection/maps/flattening.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace QELT::Inspection;
using QELT::Geometry::ThreeDimensional::TriMesh::Face;

constexpr double patchSize = 100.0;

/// What a scanner makes of a curved patch: side * side points, each a little off, triangles along diagonals
/// of random direction.
void constructScan(Mesh& mesh, std::uint32_t side) {
    std::mt19937 generator(7);
    double const step = patchSize / (side - 1);
    auto const noise = [&] { return 0.3 * step * (static_cast<double>(generator()) / 4294967296.0 - 0.5); };
    std::vector<Point> points;
    std::vector<Face> faces;
    for (std::uint32_t p = 0; p < side * side; ++p) {
        double const x = step * (p % side) + noise();
        double const y = step * (p / side) + noise();
        points.emplace_back(x, y, 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y) + 0.1 * noise());
    }
    for (std::uint32_t p = 0; p + side < side * side; ++p) {
        if (p % side + 1 < side) {
            bool const isRising = generator() % 2 == 0;
            faces.push_back({p, p + 1, isRising ? p + side + 1 : p + side});
            faces.push_back({isRising ? p : p + 1, p + side + 1, p + side});
        }
    }
    mesh.construct(points, faces);
}

void flattenScan(benchmark::State& state, FlatteningOptions const& options) {
    FlatteningReport report;
    for (auto _ : state) {
        state.PauseTiming();
        Mesh mesh;
        constructScan(mesh, static_cast<std::uint32_t>(state.range(0)));
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
