// The sure search against the bare call of the kernels that it stands on, taken in turns on the same beams.

#include "Inspection/scanning/suresearch.h"
#include "benchmarks/barescene.h"
#include "benchmarks/capscan.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace {

using namespace Benchmarks;
using QELT::Inspection::SureSearch;
using FiredBeam = QELT::Inspection::Beam;
using Clock = std::chrono::steady_clock;

/// Beams are timed by so many: what disturbs a measurement disturbs few of them.
constexpr std::size_t chunkLength = 500;

/// The least time that each chunk of beams took.
class LeastTimes {
public:
    explicit LeastTimes(std::size_t beamCount)
        : times((beamCount + chunkLength - 1) / chunkLength, std::numeric_limits<double>::infinity()) {}

    /// Asks for each beam of a chunk; how many hit.
    template <class Asked, class Ask>
    std::size_t time(std::vector<Asked> const& beams, std::size_t chunk, Ask ask) {
        std::size_t const end = std::min(beams.size(), (chunk + 1) * chunkLength);
        auto const start = Clock::now();
        std::size_t hitCount = 0;
        for (std::size_t i = chunk * chunkLength; i < end; ++i) {
            hitCount += ask(beams[i]) ? 1U : 0U;
        }
        times[chunk] = std::min(times[chunk], std::chrono::duration<double>(Clock::now() - start).count());
        return hitCount;
    }

    std::size_t chunkCount() const { return times.size(); }

    double total() const { return std::accumulate(times.begin(), times.end(), 0.0); }

private:
    std::vector<double> times;
};

/// One round over all beams, chunk by chunk in turns. False if the two do not hit alike.
bool runRound(std::vector<FiredBeam> const& beams, std::vector<RTCRayHit> const& rays,
              SureSearch const& search, BareScene const& scene, LeastTimes& sure, LeastTimes& bare) {
    for (std::size_t chunk = 0; chunk < sure.chunkCount(); ++chunk) {
        std::size_t const bareHits =
            bare.time(rays, chunk, [&](RTCRayHit const& ray) { return scene.meets(ray); });
        std::size_t const sureHits =
            sure.time(beams, chunk, [&](FiredBeam const& beam) { return search.find(beam).isHit(); });
        if (sureHits != bareHits || sureHits == 0) {
            return false;
        }
    }
    return true;
}

void compareWithKernel(benchmark::State& state, bool isShuffled) {
    RectMesh const grid = makeCap(static_cast<int>(state.range(0)));
    std::vector<FiredBeam> beams;
    for (Beam const& beam : makeSerpentine(100, 1000)) {
        beams.push_back({beam.origin, beam.direction});
    }
    if (isShuffled) {
        std::shuffle(beams.begin(), beams.end(), std::mt19937(1));
    }
    std::vector<RTCRayHit> rays;
    std::transform(beams.begin(), beams.end(), std::back_inserter(rays),
                   [](FiredBeam const& beam) { return rayOf(beam.origin, beam.direction); });
    SureSearch const search({&grid});
    BareScene const scene(grid);
    LeastTimes sure(beams.size());
    LeastTimes bare(beams.size());
    for (auto _ : state) {
        if (!runRound(beams, rays, search, scene, sure, bare)) {
            state.SkipWithError("the two do not hit alike");
            return;
        }
    }
    auto const count = static_cast<double>(beams.size());
    state.counters["sure ns"] = 1e9 * sure.total() / count;
    state.counters["bare ns"] = 1e9 * bare.total() / count;
    state.counters["ratio"] = sure.total() / bare.total();
    state.counters["bytes a quad"] =
        static_cast<double>(search.getMemory()) / static_cast<double>(state.range(0) * state.range(0));
}

void serpentine(benchmark::State& state) {
    compareWithKernel(state, false);
}

void shuffled(benchmark::State& state) {
    compareWithKernel(state, true);
}

void setUp(benchmark::State& state) {
    RectMesh const grid = makeCap(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SureSearch const search({&grid});
        benchmark::DoNotOptimize(search.getMemory());
    }
}

} // namespace

BENCHMARK(serpentine)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(3.0);
BENCHMARK(shuffled)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(3.0);
BENCHMARK(setUp)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond);
