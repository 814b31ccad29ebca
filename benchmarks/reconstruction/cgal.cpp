// The same clouds through CGAL's advancing front, which grows along a Delaunay tetrahedrization.

#include "benchmarks/reconstruction/clouds.h"

#include <CGAL/Advancing_front_surface_reconstruction.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <benchmark/benchmark.h>

#include <iterator>

namespace {

using Point = CGAL::Exact_predicates_inexact_constructions_kernel::Point_3;

void reconstruct(benchmark::State& state, Benchmarks::Cloud const& cloud) {
    std::vector<Point> points;
    for (auto const& [x, y, z] : cloud) {
        points.emplace_back(x, y, z);
    }
    std::vector<std::array<std::size_t, 3>> faces;
    for (auto _ : state) {
        faces.clear();
        CGAL::advancing_front_surface_reconstruction(points.begin(), points.end(), std::back_inserter(faces));
    }
    state.counters["triangles"] = static_cast<double>(faces.size());
}

void reconstructScatterWithCgal(benchmark::State& state) {
    reconstruct(state, Benchmarks::makeScatter(static_cast<std::size_t>(state.range(0))));
}

void reconstructLatticeWithCgal(benchmark::State& state) {
    reconstruct(state, Benchmarks::makeLattice(static_cast<std::size_t>(state.range(0))));
}

} // namespace

BENCHMARK(reconstructScatterWithCgal)->Arg(10000)->Arg(100000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(reconstructLatticeWithCgal)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
