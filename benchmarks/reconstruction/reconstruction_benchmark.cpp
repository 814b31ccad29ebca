// A surface through a cloud, scattered or on a lattice, where every point has many others equally near. The
// counter tells how many triangles it has; a surface over a square has about two for a point.

#include "Geometry/geometry.h"

#include "benchmarks/reconstruction/clouds.h"

#include <benchmark/benchmark.h>

#include <stdexcept>

namespace {

using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::TriMesh::Mesh;
using QELT::Geometry::ThreeDimensional::TriMesh::Triangle;

std::size_t countTriangles(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return static_cast<std::size_t>(last - first);
}

void reconstruct(benchmark::State& state, Benchmarks::Cloud const& points) {
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    for (auto const& [x, y, z] : points) {
        cloud.addPoint(Point(x, y, z));
    }
    std::size_t triangles = 0;
    for (auto _ : state) {
        Mesh mesh;
        mesh.construct(cloud);
        state.PauseTiming();
        triangles = countTriangles(mesh);
        state.ResumeTiming();
    }
    if (triangles < points.size()) {
        throw std::logic_error("The surface has holes");
    }
    state.counters["triangles"] = static_cast<double>(triangles);
    state.SetComplexityN(static_cast<benchmark::IterationCount>(points.size()));
}

void reconstructScatter(benchmark::State& state) {
    reconstruct(state, Benchmarks::makeScatter(static_cast<std::size_t>(state.range(0))));
}

void reconstructLattice(benchmark::State& state) {
    reconstruct(state, Benchmarks::makeLattice(static_cast<std::size_t>(state.range(0))));
}

} // namespace

BENCHMARK(reconstructScatter)->Arg(10000)->Arg(100000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(reconstructLattice)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
