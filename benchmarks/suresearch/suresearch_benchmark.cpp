// The sure search against the bare call of the kernels that it stands on, taken in turns on the same beams.

#include "Inspection/scanning/suresearch.h"
#include "benchmarks/capscan.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
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

/// All that is needed to call the kernels and nothing else.
class BareScene {
public:
    explicit BareScene(RectMesh const& grid) : device(rtcNewDevice("threads=1")), scene(rtcNewScene(device)) {
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
        RTCGeometry const geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_QUAD);
        fillPoints(grid, geometry);
        fillQuads(grid, geometry);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
    }

    BareScene(BareScene const&) = delete;
    BareScene& operator=(BareScene const&) = delete;

    ~BareScene() {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }

    bool meets(RTCRayHit ray) const {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcIntersect1(scene, &context, &ray);
        return ray.hit.geomID != RTC_INVALID_GEOMETRY_ID;
    }

private:
    RTCDevice device;
    RTCScene scene;

    static void fillPoints(RectMesh const& grid, RTCGeometry geometry) {
        auto const extents = grid.getExtents();
        auto* place = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float),
                                    (extents.getdU() + 1) * (extents.getdV() + 1)));
        for (int v = 0; v <= static_cast<int>(extents.getdV()); ++v) {
            for (int u = 0; u <= static_cast<int>(extents.getdU()); ++u) {
                Point const point = grid.getPoint({u, v});
                std::array const corner{point.getX(), point.getY(), point.getZ()};
                place = std::copy(corner.begin(), corner.end(), place);
            }
        }
    }

    static void fillQuads(RectMesh const& grid, RTCGeometry geometry) {
        auto const extents = grid.getExtents();
        auto const width = static_cast<std::uint32_t>(extents.getdU() + 1);
        std::vector<std::array<std::uint32_t, 4>> quads;
        for (std::uint32_t v = 0; v < extents.getdV(); ++v) {
            for (std::uint32_t u = 0; u < extents.getdU(); ++u) {
                if (grid.getIsQuadValid({static_cast<int>(u), static_cast<int>(v)})) {
                    std::uint32_t const low = v * width + u;
                    quads.push_back({low + 1, low + width + 1, low + width, low});
                }
            }
        }
        auto* const buffer = static_cast<std::uint32_t*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT4, 4 * sizeof(std::uint32_t), quads.size()));
        std::copy(quads.front().data(), quads.front().data() + 4 * quads.size(), buffer);
    }
};

RTCRayHit rayOf(FiredBeam const& beam) {
    RTCRayHit ray{};
    ray.ray.org_x = beam.origin.getX();
    ray.ray.org_y = beam.origin.getY();
    ray.ray.org_z = beam.origin.getZ();
    ray.ray.dir_x = static_cast<float>(beam.direction.getdX());
    ray.ray.dir_y = static_cast<float>(beam.direction.getdY());
    ray.ray.dir_z = static_cast<float>(beam.direction.getdZ());
    ray.ray.tfar = std::numeric_limits<float>::infinity();
    ray.ray.mask = std::numeric_limits<unsigned>::max();
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    return ray;
}

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
    std::transform(beams.begin(), beams.end(), std::back_inserter(rays), rayOf);
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
