// What is done to whole grids, each beside the plain loop, the copy or the reads and writes of bytes that
// move the same data: resampling, `.quads` files, extension, derived grids, areas and boxes. Ratios between
// the rows are what counts: all of them touch fresh memory, whose price differs from machine to machine.

#include "benchmarks/temporaryfile.h"
#include "benchmarks/wavygrid.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Benchmarks;

constexpr int side = 2000;

RectMesh const& getGrid(bool isDisc) {
    static RectMesh const disc = makeWavyGrid(side, true);
    static RectMesh const full = makeWavyGrid(side, false);
    return isDisc ? disc : full;
}

void countQuads(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * side * side);
}

/// A wavy patch of 200000 triangles that is flattened by its projection, its faces in an order that jumps
/// about.
TriMesh::Mesh const& getPatch() {
    static auto const patch = [] {
        int const squares = 316;
        double const step = 100.0 / squares;
        std::string const path = (std::filesystem::temp_directory_path() / "qelt_grids_patch.obj").string();
        std::ofstream file(path);
        for (int v = 0; v <= squares; ++v) {
            for (int u = 0; u <= squares; ++u) {
                Point const p = wavyPlace(u * step, v * step);
                file << "v " << p.getX() << ' ' << p.getY() << ' ' << p.getZ() << '\n';
            }
        }
        for (int k = 0; k < squares * squares; ++k) {
            int const square = static_cast<int>(k * 7919LL % (squares * squares));
            int const a = square / squares * (squares + 1) + square % squares + 1;
            int const b = a + squares + 1;
            file << "f " << a << ' ' << a + 1 << ' ' << b + 1 << "\nf " << a << ' ' << b + 1 << ' ' << b
                 << '\n';
        }
        file.close();
        auto mesh = std::make_unique<TriMesh::Mesh>();
        mesh->load(path.c_str());
        std::filesystem::remove(path);
        for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
            Point const p = mesh->getVertex(v).getPoint3D();
            mesh->getVertex(v).setPoint2D({p.getX(), p.getY()});
        }
        return mesh;
    }();
    return *patch;
}

/// The area of a quad that gives about so many nodes.
double getAreaFor(std::int64_t nodes) {
    return 11500.0 / static_cast<double>(nodes);
}

void resample(benchmark::State& state) {
    TriMesh::Mesh const& patch = getPatch();
    RectMesh grid;
    for (auto _ : state) {
        grid.construct(patch, getAreaFor(state.range(0)));
    }
    auto const extents = grid.getExtents();
    state.SetItemsProcessed(state.iterations() *
                            static_cast<std::int64_t>((extents.getdU() + 1) * (extents.getdV() + 1)));
}

/// Rows of as many nodes, each written once.
void writeNodes(benchmark::State& state) {
    RectMesh grid;
    grid.construct(getPatch(), getAreaFor(state.range(0)));
    std::size_t const nodesU = grid.getExtents().getdU() + 1;
    std::size_t const nodesV = grid.getExtents().getdV() + 1;
    grid.clear();
    for (auto _ : state) {
        PlainRows rows(nodesU, nodesV);
        for (std::size_t v = 0; v < nodesV; ++v) {
            for (std::size_t u = 0; u < nodesU; ++u) {
                rows.points[v][u].set(static_cast<double>(u), static_cast<double>(v), 1.0);
                rows.flags[v][u] = 3;
            }
        }
        benchmark::DoNotOptimize(rows.points.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nodesU * nodesV));
}

void save(benchmark::State& state) {
    TemporaryFile const file(".quads");
    RectMesh grid(getGrid(false));
    for (auto _ : state) {
        grid.save(file.getPath());
    }
    countQuads(state);
}

/// The bytes of the same file, in pieces of 64 kB, from memory that holds them already.
void writeBytes(benchmark::State& state) {
    TemporaryFile const file(".quads");
    std::vector<char> bytes((side + 1) * (side + 1) * std::size_t{13}, 'x');
    constexpr std::size_t piece = 1U << 16;
    for (auto _ : state) {
        std::FILE* const stream = std::fopen(file.getPath(), "wb");
        for (std::size_t i = 0; i < bytes.size(); i += piece) {
            std::fwrite(bytes.data() + i, 1, std::min(piece, bytes.size() - i), stream);
        }
        std::fclose(stream);
    }
    countQuads(state);
}

void load(benchmark::State& state) {
    TemporaryFile const file(".quads");
    RectMesh source(getGrid(false));
    source.save(file.getPath());
    for (auto _ : state) {
        RectMesh grid;
        grid.load(file.getPath());
        benchmark::DoNotOptimize(&grid);
    }
    countQuads(state);
}

/// The bytes of the same file at once, into new memory.
void readBytes(benchmark::State& state) {
    TemporaryFile const file(".quads");
    RectMesh source(getGrid(false));
    source.save(file.getPath());
    std::size_t const size = std::filesystem::file_size(file.getPath());
    for (auto _ : state) {
        std::unique_ptr<char[]> const bytes(new char[size]);
        std::FILE* const stream = std::fopen(file.getPath(), "rb");
        benchmark::DoNotOptimize(std::fread(bytes.get(), 1, size, stream));
        std::fclose(stream);
    }
    countQuads(state);
}

constexpr int passes = 5;

void extend(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto grid =
            std::make_unique<RectMesh>(getGrid(true)); // shares its rows, which the first pass leaves alone
        state.ResumeTiming();
        grid->extendBoundary(QuadMesh::Basic, passes, 0);
        state.PauseTiming();
        grid.reset();
        state.ResumeTiming();
    }
    countQuads(state);
}

void copyGrid(benchmark::State& state, int copies, bool isDisc) {
    RectMesh const& source = getGrid(isDisc);
    RectMesh copy;
    for (auto _ : state) {
        for (int i = 0; i < copies; ++i) {
            copy = source;
        }
    }
    countQuads(state);
}

void flatten(benchmark::State& state) {
    RectMesh result;
    for (auto _ : state) {
        getGrid(false).getFlattened(result);
    }
    countQuads(state);
}

void normalise(benchmark::State& state) {
    RectMesh result;
    for (auto _ : state) {
        getGrid(false).getNormalised(1.0, result);
    }
    countQuads(state);
}

void shift(benchmark::State& state) {
    RectMesh result;
    for (auto _ : state) {
        getGrid(false).getNormalised(2.0, Vector(1.0, 2.0, 3.0), result);
    }
    countQuads(state);
}

void subSample(benchmark::State& state) {
    RectMesh result;
    for (auto _ : state) {
        getGrid(false).getSubSampled(RectMesh::Factor, 1, result);
    }
    countQuads(state);
}

void restrictToIndices(benchmark::State& state) {
    RectMesh result;
    TwoDimensional::BoundingBoxAA<int> const box({0, 0}, {side, side});
    for (auto _ : state) {
        getGrid(false).getRestrictedToAABB(box, result);
    }
    countQuads(state);
}

void restrictToSpace(benchmark::State& state) {
    RectMesh result;
    BoundingBoxAA const box = getGrid(false).getBoundingBoxAA();
    for (auto _ : state) {
        getGrid(false).getRestrictedToAABB(box, result);
    }
    countQuads(state);
}

/// The areas are settled by all that makes a grid; a program that may call private members measures them
/// alone.
void measureAreas(benchmark::State& state) {
    double max = 0.0;
    double mean = 0.0;
    double min = 0.0;
    for (auto _ : state) {
        getGrid(false).getMaxMeanMinQuadSize(&max, &mean, &min);
        benchmark::DoNotOptimize(mean);
    }
    countQuads(state);
}

void measureAreasPlainly(benchmark::State& state) {
    PlainRows const rows = plainRowsOf(getGrid(false));
    for (auto _ : state) {
        double min = 1e11;
        double max = 0.0;
        double sum = 0.0;
        for (std::size_t v = 0; v < side; ++v) {
            for (std::size_t u = 0; u < side; ++u) {
                if ((rows.flags[v][u] & rows.flags[v][u + 1] & rows.flags[v + 1][u] &
                     rows.flags[v + 1][u + 1] & 1) == 0) {
                    continue;
                }
                Point const& alongU = rows.points[v][u + 1];
                Point const& alongV = rows.points[v + 1][u];
                double const area = 0.5 * TriangleMeasures::twoAT(rows.points[v][u], alongU, alongV) +
                                    0.5 * TriangleMeasures::twoAT(alongV, alongU, rows.points[v + 1][u + 1]);
                min = min > area ? area : min;
                max = area > max ? area : max;
                sum += area;
            }
        }
        benchmark::DoNotOptimize(min + max + sum);
    }
    countQuads(state);
}

void measureBox(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(getGrid(false).getBoundingBoxAA());
    }
    countQuads(state);
}

void measureBoxPlainly(benchmark::State& state) {
    PlainRows const rows = plainRowsOf(getGrid(false));
    for (auto _ : state) {
        Point low = rows.points[0][0];
        Point high = low;
        for (std::size_t v = 0; v <= side; ++v) {
            for (std::size_t u = 0; u <= side; ++u) {
                if ((rows.flags[v][u] & 1) != 0) {
                    low.setMin(rows.points[v][u]);
                    high.setMax(rows.points[v][u]);
                }
            }
        }
        benchmark::DoNotOptimize(high - low);
    }
    countQuads(state);
}

} // namespace

BENCHMARK(resample)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(writeNodes)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(save)->Unit(benchmark::kMillisecond);
BENCHMARK(writeBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Unit(benchmark::kMillisecond);
BENCHMARK(readBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(extend)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(copyGrid, fiveOfADisc, passes, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(copyGrid, one, 1, false)->Unit(benchmark::kMillisecond);
BENCHMARK(flatten)->Unit(benchmark::kMillisecond);
BENCHMARK(normalise)->Unit(benchmark::kMillisecond);
BENCHMARK(shift)->Unit(benchmark::kMillisecond);
BENCHMARK(subSample)->Unit(benchmark::kMillisecond);
BENCHMARK(restrictToIndices)->Unit(benchmark::kMillisecond);
BENCHMARK(restrictToSpace)->Unit(benchmark::kMillisecond);
BENCHMARK(measureAreas)->Unit(benchmark::kMillisecond);
BENCHMARK(measureAreasPlainly)->Unit(benchmark::kMillisecond);
BENCHMARK(measureBox)->Unit(benchmark::kMillisecond);
BENCHMARK(measureBoxPlainly)->Unit(benchmark::kMillisecond);
