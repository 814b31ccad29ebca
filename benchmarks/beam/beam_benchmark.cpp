// Beams on a grid: what a scanning application asks thousands of times a second.

#include "Geometry/geometry.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <stdexcept>
#include <vector>

namespace {

using namespace QELT::Geometry;
using namespace QELT::Geometry::ThreeDimensional;
using QuadMesh::RectMesh;

constexpr double radius = 100.0;
constexpr double halfAngle = 0.6;
constexpr double standOff = 20.0;

struct Beam {
    Point origin;
    Vector direction;
};

/// A cap of a sphere of about `side` by `side` quads.
RectMesh makeCap(int side) {
    RectMesh grid;
    double const width = 4.0 * radius * std::tan(0.5 * halfAngle);
    if (!grid.setAsSphereArcStereographic(radius, halfAngle, width / side, 1000)) {
        throw std::runtime_error("The cap is too large");
    }
    return grid;
}

/// Beams from a serpentine path of the probe over the cap, each against the normal but for a small wobble.
std::vector<Beam> makeSerpentine(int lines, int beamsPerLine) {
    std::vector<Beam> beams;
    for (int line = 0; line < lines; ++line) {
        for (int k = 0; k < beamsPerLine; ++k) {
            int const place = line % 2 == 0 ? k : beamsPerLine - 1 - k;
            double const across = halfAngle * 0.65 * (2.0 * (line + 0.5) / lines - 1.0);
            double const along = halfAngle * 0.65 * (2.0 * (place + 0.37) / beamsPerLine - 1.0);
            Vector const normal(std::sin(along), std::sin(across) * std::cos(along),
                                std::cos(across) * std::cos(along));
            Vector const wobble(0.03 * std::sin(0.1 * k), 0.03 * std::cos(0.07 * k), 0.0);
            beams.push_back({Point() + (radius + standOff) * normal, -normal + wobble});
        }
    }
    return beams;
}

void countHits(benchmark::State& state, std::size_t hits, std::size_t beams) {
    state.SetItemsProcessed(static_cast<std::int64_t>(beams));
    state.counters["hit rate"] = static_cast<double>(hits) / static_cast<double>(beams);
}

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
