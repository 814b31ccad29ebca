// The same files into CGAL's surface mesh, which makes no normals.

#include "benchmarks/load/objfiles.h"

#include <CGAL/IO/OBJ.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>

#include <benchmark/benchmark.h>

#include <fstream>

namespace {

using SurfaceMesh = CGAL::Surface_mesh<CGAL::Simple_cartesian<double>::Point_3>;

void loadWithCgal(benchmark::State& state) {
    Benchmarks::ObjFile const file(static_cast<std::size_t>(state.range(0)),
                                   static_cast<Benchmarks::FaceOrder>(state.range(1)));
    std::size_t vertices = 0;
    for (auto _ : state) {
        SurfaceMesh mesh;
        std::ifstream text(file.getPath());
        if (!CGAL::IO::read_OBJ(text, mesh)) {
            throw std::runtime_error("Cannot read the file");
        }
        vertices = mesh.number_of_vertices();
    }
    state.counters["vertices"] = static_cast<double>(vertices);
}

} // namespace

BENCHMARK(loadWithCgal)->ArgsProduct({{100000, 1000000}, {0, 1, 2}})->Unit(benchmark::kMillisecond);
