// Beams on a grid: what a scanning application asks thousands of times a second.

#include "benchmarks/capscan.h"
#include "benchmarks/hitcounters.h"

namespace {

using namespace Benchmarks;

void warmSerpentine(benchmark::State& state) {
    RectMesh grid = makeCap(static_cast<int>(state.range(0)));
    std::vector<Beam> const beams = makeSerpentine(100, 1000);
    std::size_t hits = 0;
    std::size_t fired = 0;
    for (auto _ : state) {
        for (Beam const& beam : beams) {
            hits += grid.getIntersection(beam.origin, beam.direction).getIsValid() ? 1U : 0U;
        }
        fired += beams.size();
    }
    countHits(state, hits, fired);
}

void coldBeams(benchmark::State& state) {
    RectMesh grid = makeCap(static_cast<int>(state.range(0)));
    std::vector<Beam> const beams = makeSerpentine(37, 31);
    std::size_t hits = 0;
    std::size_t fired = 0;
    for (auto _ : state) {
        for (Beam const& beam : beams) {
            hits += grid.getIntersectionStatus(beam.origin, beam.direction, true).getIsValid() ? 1U : 0U;
        }
        fired += beams.size();
    }
    countHits(state, hits, fired);
}

void oneQuad(benchmark::State& state) {
    RectMesh const grid = makeCap(200);
    TwoDimensional::Point<int> const quad(100, 100);
    Point const target = grid.getMeanQuadPoint(quad);
    Point const origin = target + Vector(0.1, 0.05, standOff);
    Point hit;
    QuadMesh::QuadIntersectionData data;
    for (auto _ : state) {
        benchmark::DoNotOptimize(grid.getDoesIntersectQuad(quad, origin, target - origin, hit, &data));
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(warmSerpentine)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(coldBeams)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(oneQuad);
