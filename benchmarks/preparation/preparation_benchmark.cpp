// Preparation of a part, stage by stage: what runs once before a scan.

#include "Geometry/geometry.h"
#include "benchmarks/quietoutput.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace QELT::Geometry::ThreeDimensional;
using Benchmarks::QuietOutput;

constexpr double patchSize = 100.0;

/// A wavy patch of `side` by `side` squares as OBJ text, its faces in an order that jumps about.
std::string makePatch(int side) {
    std::ostringstream text;
    for (int v = 0; v <= side; ++v) {
        for (int u = 0; u <= side; ++u) {
            double const x = patchSize * u / side;
            double const y = patchSize * v / side;
            text << "v " << x << ' ' << y << ' ' << 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y) << '\n';
        }
    }
    int const squares = side * side;
    int const stride = 7919; // a prime, so that every square is met once
    for (int k = 0; k < squares; ++k) {
        int const square = static_cast<int>(static_cast<long long>(k) * stride % squares);
        int const a = square / side * (side + 1) + square % side + 1;
        int const b = a + side + 1;
        text << "f " << a << ' ' << a + 1 << ' ' << b + 1 << "\nf " << a << ' ' << b + 1 << ' ' << b << '\n';
    }
    return text.str();
}

/// The patch in a file of its own for as long as the object lives.
class PatchFile {
public:
    explicit PatchFile(int side)
        : path((std::filesystem::temp_directory_path() / ("qelt_patch_" + std::to_string(side) + ".obj"))
                   .string()) {
        std::ofstream(path) << makePatch(side);
    }

    PatchFile(PatchFile const&) = delete;
    PatchFile& operator=(PatchFile const&) = delete;

    ~PatchFile() { std::filesystem::remove(path); }

    char const* getPath() const { return path.c_str(); }

private:
    std::string path;
};

void load(benchmark::State& state) {
    PatchFile const file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        TriMesh::Mesh mesh;
        mesh.load(file.getPath());
        benchmark::DoNotOptimize(mesh.getNumberOfVertices());
    }
    state.SetItemsProcessed(state.iterations() * 2 * state.range(0) * state.range(0));
}

void flatten(benchmark::State& state, bool doPinExtremeCorners) {
    PatchFile const file(static_cast<int>(state.range(0)));
    QuietOutput const quiet;
    for (auto _ : state) {
        state.PauseTiming();
        TriMesh::Mesh mesh;
        mesh.load(file.getPath());
        state.ResumeTiming();
        mesh.conformalMap(doPinExtremeCorners, nullptr, false);
    }
}

void resample(benchmark::State& state) {
    PatchFile const file(static_cast<int>(state.range(0)));
    QuietOutput const quiet;
    TriMesh::Mesh mesh;
    mesh.load(file.getPath());
    mesh.conformalMap(true, nullptr, false);
    QuadMesh::RectMesh grid;
    for (auto _ : state) {
        grid.construct(mesh, 0.01);
    }
    auto const extents = grid.getExtents();
    state.SetItemsProcessed(state.iterations() *
                            static_cast<std::int64_t>(extents.getdU() * extents.getdV()));
}

/// A cloud of points anywhere on the wavy patch, or on a flat lattice, where most distances have equals.
PointCloud::Cloud makeCloud(int count, bool isLattice) {
    PointCloud::Cloud cloud;
    std::mt19937 generator(1);
    auto const place = [&] { return patchSize * static_cast<double>(generator()) / 4294967296.0; };
    int const side = static_cast<int>(std::lround(std::sqrt(count)));
    for (int i = count - 1; i >= 0; --i) { // backwards, so that the first pair has points on its left
        double const x = isLattice ? patchSize * (i % side) / side : place();
        double const y = isLattice ? patchSize * (i / side) / side : place();
        cloud.addPoint(Point(x, y, isLattice ? 0.0 : 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y)));
    }
    return cloud;
}

void reconstruct(benchmark::State& state, bool isLattice) {
    PointCloud::Cloud const cloud = makeCloud(static_cast<int>(state.range(0)), isLattice);
    for (auto _ : state) {
        TriMesh::Mesh mesh;
        mesh.construct(cloud);
        benchmark::DoNotOptimize(mesh.getNumberOfVertices());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(load)->Arg(50)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flatten, pinned, true)->Arg(30)->Arg(70)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flatten, developable, false)->Arg(33)->Arg(70)->Unit(benchmark::kMillisecond);
BENCHMARK(resample)->Arg(70)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(reconstruct, scattered, false)
    ->Arg(2500)
    ->Arg(10000)
    ->Arg(40000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(reconstruct, lattice, true)->Arg(2500)->Arg(10000)->Unit(benchmark::kMillisecond);
