// Beams on grids beside the kernels of a ray tracer: along normals in a serpentine, as a raster of parallel
// ones, and in random order; of one grid, of grids that answer as one, and by the sure search.

#include "Inspection/scanning/suresearch.h"
#include "benchmarks/barescene.h"
#include "benchmarks/capscan.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/temporaryfile.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <random>

namespace Comparison {

namespace {

using namespace Benchmarks;
using QELT::Inspection::SureSearch;

/// Beams of which one side meets nothing, or something elsewhere, may be so many: those on edges, where
/// either may let a beam pass.
constexpr double edgeShare = 0.002;

/// Hits are in the same place within so many units, on a cap of radius 100.
constexpr double samePlace = 0.02;

enum class Path { AlongNormals, Raster, Random };

constexpr int lines = 200;
constexpr int beamsPerLine = 500;

/// Parallel beams down onto the cap, line by line to and fro.
std::vector<Beam> makeRaster() {
    std::vector<Beam> beams;
    double const reach = 0.9 * radius * std::sin(0.65 * halfAngle);
    for (int line = 0; line < lines; ++line) {
        for (int k = 0; k < beamsPerLine; ++k) {
            int const place = line % 2 == 0 ? k : beamsPerLine - 1 - k;
            double const x = reach * (2.0 * (place + 0.37) / beamsPerLine - 1.0);
            double const y = reach * (2.0 * (line + 0.5) / lines - 1.0);
            beams.push_back({Point(x, y, radius + standOff), Vector(0.0, 0.0, -1.0)});
        }
    }
    return beams;
}

std::vector<Beam> makeBeams(Path path) {
    std::vector<Beam> beams = path == Path::Raster ? makeRaster() : makeSerpentine(lines, beamsPerLine);
    if (path == Path::Random) {
        std::shuffle(beams.begin(), beams.end(), std::mt19937(1));
    }
    return beams;
}

/// Where a beam met the surface, if it did.
struct Meeting {
    bool isHit = false;
    Point place;
};

struct Firing {
    std::unique_ptr<RectMesh> grid;
    std::vector<Beam> beams;
    std::vector<RTCRayHit> rays;
    std::unique_ptr<BareScene> scene;
    std::vector<Meeting> ours;
    std::vector<Meeting> peer;
};

void fillScene(Firing& firing, int side, Path path) {
    firing.grid = std::make_unique<RectMesh>(makeCap(side));
    firing.beams = makeBeams(path);
    for (Beam const& beam : firing.beams) {
        firing.rays.push_back(rayOf(beam.origin, beam.direction));
    }
    firing.scene = std::make_unique<BareScene>(*firing.grid);
}

void fireBare(Firing& firing) {
    for (std::size_t i = 0; i < firing.rays.size(); ++i) {
        RTCRayHit const met = firing.scene->fired(firing.rays[i]);
        Beam const& beam = firing.beams[i];
        bool const isHit = met.hit.geomID != RTC_INVALID_GEOMETRY_ID;
        firing.peer.push_back({isHit, beam.origin + static_cast<double>(met.ray.tfar) * beam.direction});
    }
}

std::string differenceOf(Firing const& firing) {
    std::size_t apart = 0;
    std::size_t hits = 0;
    for (std::size_t i = 0; i < firing.beams.size(); ++i) {
        Meeting const& ours = firing.ours[i];
        Meeting const& peer = firing.peer[i];
        bool const isSame = ours.isHit == peer.isHit &&
                            (!ours.isHit || (ours.place - peer.place).lSqr() < samePlace * samePlace);
        apart += isSame ? 0U : 1U;
        hits += ours.isHit ? 1U : 0U;
    }
    auto const count = static_cast<double>(firing.beams.size());
    return static_cast<double>(apart) <= edgeShare * count && hits > 0
               ? ""
               : std::to_string(apart) + " of " + std::to_string(firing.beams.size()) + " beams";
}

void forget(Firing& firing) {
    firing.ours.clear();
    firing.peer.clear();
    firing.ours.reserve(firing.beams.size());
    firing.peer.reserve(firing.beams.size());
}

/// Both sides, ours by what answers a beam.
template <class State, class Ask>
Contest contestOf(std::shared_ptr<State> const& state, Ask ask) {
    return {[=] {
                for (Beam const& beam : state->beams) {
                    state->ours.push_back(ask(*state, beam));
                }
            },
            [=] { fireBare(*state); }, [=] { return differenceOf(*state); }, [=] { forget(*state); }};
}

Meeting meetingOf(QuadMesh::QuadIndicesIntersectionStatus const& status) {
    return {status.getIsValid(), status.getQuadPoint()};
}

Contest oneGrid(int side, Path path) {
    auto const firing = std::make_shared<Firing>();
    fillScene(*firing, side, path);
    return contestOf(firing, [](Firing& state, Beam const& beam) {
        return meetingOf(state.grid->getIntersection(beam.origin, beam.direction));
    });
}

Contest coldGrid(int side, Path path) {
    auto const firing = std::make_shared<Firing>();
    fillScene(*firing, side, path);
    return contestOf(firing, [](Firing& state, Beam const& beam) {
        return meetingOf(state.grid->getIntersectionStatus(beam.origin, beam.direction, true));
    });
}

using Offset = TwoDimensional::Vector<int>;

/// The quarters of a grid, by way of files, as an application loads them.
struct Quarters {
    std::vector<std::unique_ptr<TemporaryFile>> files;
    std::vector<Offset> offsets;
};

Quarters quartersOf(RectMesh const& cap) {
    auto const width = static_cast<int>(cap.getExtents().getdU());
    auto const height = static_cast<int>(cap.getExtents().getdV());
    Quarters quarters;
    for (Offset const& corner :
         {Offset(0, 0), Offset(width / 2, 0), Offset(0, height / 2), Offset(width / 2, height / 2)}) {
        RectMesh quarter;
        Offset const size(corner.getdU() == 0 ? width / 2 : width - width / 2,
                          corner.getdV() == 0 ? height / 2 : height - height / 2);
        cap.getRestrictedToAABB({TwoDimensional::Point<int>() + corner, size}, quarter);
        quarters.files.push_back(
            std::make_unique<TemporaryFile>("_" + std::to_string(quarters.files.size()) + ".quads"));
        quarters.offsets.push_back(corner);
        quarter.save(quarters.files.back()->getPath());
    }
    return quarters;
}

template <class Group>
struct GroupFiring : Firing {
    Group group;
};

template <class Group>
Contest askedGroup(std::shared_ptr<GroupFiring<Group>> const& firing) {
    return contestOf(firing, [](GroupFiring<Group>& state, Beam const& beam) {
        return meetingOf(state.group.getIntersectionStatus(beam.origin, beam.direction, false));
    });
}

Contest groupOfFour(int side, Path path) {
    auto const firing = std::make_shared<GroupFiring<QuadMesh::RectMeshGroup>>();
    fillScene(*firing, side, path);
    Quarters const quarters = quartersOf(*firing->grid);
    std::vector<std::string> names;
    for (auto const& file : quarters.files) {
        names.emplace_back(file->getPath());
    }
    firing->group.load(names, quarters.offsets);
    return askedGroup(firing);
}

Contest fourGroups(int side, Path path) {
    auto const firing = std::make_shared<GroupFiring<QuadMesh::RectMeshGroups>>();
    fillScene(*firing, side, path);
    Quarters const quarters = quartersOf(*firing->grid);
    std::vector<std::vector<std::string>> names;
    std::vector<std::vector<Offset>> offsets;
    for (std::size_t i = 0; i < quarters.files.size(); ++i) {
        names.push_back({quarters.files[i]->getPath()});
        offsets.push_back({quarters.offsets[i]});
    }
    firing->group.load(names, offsets);
    return askedGroup(firing);
}

struct SureFiring : Firing {
    std::optional<SureSearch> search;
};

Contest sureSearch(int side, Path path) {
    auto const firing = std::make_shared<SureFiring>();
    fillScene(*firing, side, path);
    firing->search.emplace(std::vector<RectMesh const*>{firing->grid.get()});
    return contestOf(firing, [](SureFiring& state, Beam const& beam) {
        auto const hit = state.search->find({beam.origin, beam.direction});
        return Meeting{hit.isHit(), hit.point};
    });
}

Contest sureSetUp(int side, Path path) {
    auto const firing = std::make_shared<SureFiring>();
    fillScene(*firing, side, path);
    firing->scene.reset();
    return {[=] { firing->search.emplace(std::vector<RectMesh const*>{firing->grid.get()}); },
            [=] { firing->scene = std::make_unique<BareScene>(*firing->grid); },
            [=] {
                forget(*firing);
                fireBare(*firing);
                for (Beam const& beam : firing->beams) {
                    auto const hit = firing->search->find({beam.origin, beam.direction});
                    firing->ours.push_back({hit.isHit(), hit.point});
                }
                return differenceOf(*firing);
            },
            [=] {
                firing->search.reset();
                firing->scene.reset();
            }};
}

Row rowOf(std::string const& task, Contest (*makeContest)(int, Path), Path path, char const* peer,
          int largest = 1000) {
    Row row{"beams", task, peer, "quads", {}};
    for (int const side : {largest / 8, largest / 4, largest / 2, largest}) {
        row.sizes.push_back({double(side) * side, [=] { return makeContest(side, path); }});
    }
    return row;
}

} // namespace

std::vector<Row> beamRows() {
    char const* const kernel = "Embree, rtcIntersect1";
    return {rowOf("one grid, along normals", oneGrid, Path::AlongNormals, kernel, 2000),
            rowOf("one grid, raster", oneGrid, Path::Raster, kernel),
            rowOf("one grid, random", oneGrid, Path::Random, kernel),
            rowOf("one grid, each beam cold", coldGrid, Path::AlongNormals, kernel),
            rowOf("group of four grids, along normals", groupOfFour, Path::AlongNormals, kernel),
            rowOf("group of four grids, raster", groupOfFour, Path::Raster, kernel),
            rowOf("group of four grids, random", groupOfFour, Path::Random, kernel),
            rowOf("four groups, along normals", fourGroups, Path::AlongNormals, kernel),
            rowOf("four groups, random", fourGroups, Path::Random, kernel),
            rowOf("sure search, along normals", sureSearch, Path::AlongNormals, kernel, 2000),
            rowOf("sure search, raster", sureSearch, Path::Raster, kernel),
            rowOf("sure search, random", sureSearch, Path::Random, kernel),
            rowOf("sure search, set up", sureSetUp, Path::AlongNormals, "Embree, scene of the same quads")};
}

} // namespace Comparison
