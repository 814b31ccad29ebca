// The beams of a scan over a million quads, asked of one grid and of four groups that hold a quarter each.

#include "benchmarks/capscan.h"
#include "benchmarks/hitcounters.h"

#include <filesystem>
#include <string>

namespace {

using namespace Benchmarks;
using Offset = TwoDimensional::Vector<int>;

constexpr int side = 1000;

/// Cuts the cap into quarters, by way of files, as an application loads them.
QuadMesh::RectMeshGroups makeQuarters() {
    RectMesh const cap = makeCap(side);
    auto const extents = cap.getExtents();
    auto const width = static_cast<int>(extents.getdU());
    auto const height = static_cast<int>(extents.getdV());
    auto const path = std::filesystem::temp_directory_path() / "qelt_groups_benchmark.quads";
    std::vector<std::vector<std::string>> files;
    std::vector<std::vector<Offset>> offsets;
    for (Offset const& corner :
         {Offset(0, 0), Offset(width / 2, 0), Offset(0, height / 2), Offset(width / 2, height / 2)}) {
        RectMesh quarter;
        Offset const size(corner.getdU() == 0 ? width / 2 : width - width / 2,
                          corner.getdV() == 0 ? height / 2 : height - height / 2);
        cap.getRestrictedToAABB({TwoDimensional::Point<int>() + corner, size}, quarter);
        files.push_back({path.string() + std::to_string(files.size())});
        offsets.push_back({corner});
        quarter.save(files.back().front().c_str());
    }
    QuadMesh::RectMeshGroups groups;
    groups.load(files, offsets);
    for (auto const& file : files) {
        std::filesystem::remove(file.front());
    }
    return groups;
}

template <class Target>
void fire(benchmark::State& state, Target& target) {
    auto const beams = makeSerpentine(1000, 1000);
    std::size_t hits = 0;
    std::size_t fired = 0;
    for (auto _ : state) {
        for (Beam const& beam : beams) {
            hits += target.getIntersectionStatus(beam.origin, beam.direction, false).getIsValid() ? 1U : 0U;
        }
        fired += beams.size();
    }
    countHits(state, hits, fired);
}

void oneGrid(benchmark::State& state) {
    RectMesh cap = makeCap(side);
    fire(state, cap);
}

void fourGroups(benchmark::State& state) {
    QuadMesh::RectMeshGroups groups = makeQuarters();
    fire(state, groups);
}

} // namespace

BENCHMARK(oneGrid)->Unit(benchmark::kMillisecond);
BENCHMARK(fourGroups)->Unit(benchmark::kMillisecond);
