// An OBJ file of a million triangles, read, stitched and given normals. The second argument is the order of
// the faces in the file: as the surface was made, shuffled, reversed.

#include "Geometry/geometry.h"

#include "benchmarks/load/objfiles.h"

#include <benchmark/benchmark.h>

namespace {

using QELT::Geometry::ThreeDimensional::TriMesh::Mesh;

void load(benchmark::State& state) {
    Benchmarks::ObjFile const file(static_cast<std::size_t>(state.range(0)),
                                   static_cast<Benchmarks::FaceOrder>(state.range(1)));
    unsigned long vertices = 0;
    for (auto _ : state) {
        Mesh mesh;
        mesh.load(file.getPath().c_str());
        vertices = mesh.getNumberOfVertices();
    }
    state.counters["vertices"] = static_cast<double>(vertices);
}

} // namespace

BENCHMARK(load)->ArgsProduct({{100000, 1000000}, {0, 1, 2}})->Unit(benchmark::kMillisecond);
