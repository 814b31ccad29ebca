#include "python/src/arrays.h"
#include "python/src/objects.h"

#include <algorithm>
#include <cmath>

// Batches of beams go through the library's own `fireBeams`, block by block: a batch takes the memory of its
// results and of one block, whatever its length, and the answers are those of one call for all of them.
// Between blocks the listener is told, and may end the work.

namespace QELT::Python {

namespace {

using Group = QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup;

constexpr std::size_t beamsInBlock = 2048;

/// What beams met, in arrays of an entry a beam.
class Hits {
public:
    explicit Hits(std::size_t count)
        : indices({count, std::size_t{2}}),
          points({count, std::size_t{3}}),
          distances(static_cast<py::ssize_t>(count)),
          angles(static_cast<py::ssize_t>(count)),
          valid(static_cast<py::ssize_t>(count)),
          states(static_cast<py::ssize_t>(count)),
          places{indices.mutable_data(), points.mutable_data(), distances.mutable_data(),
                 angles.mutable_data(),  valid.mutable_data(),  states.mutable_data()} {}

    std::size_t size() const { return static_cast<std::size_t>(valid.size()); }

    void set(std::size_t i, Hit const& hit) {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        constexpr float noPlace = std::numeric_limits<float>::quiet_NaN();
        bool const isHit = hit.isHit();
        places.indices[2 * i] = isHit ? hit.quad.getU() : -1;
        places.indices[2 * i + 1] = isHit ? hit.quad.getV() : -1;
        places.points[3 * i] = isHit ? hit.point.getX() : noPlace;
        places.points[3 * i + 1] = isHit ? hit.point.getY() : noPlace;
        places.points[3 * i + 2] = isHit ? hit.point.getZ() : noPlace;
        places.distances[i] = hit.isMeasured ? hit.distance : none;
        places.angles[i] = hit.isMeasured ? hit.angleToNormal : none;
        places.valid[i] = isHit;
        places.states[i] = static_cast<std::uint8_t>(hit.state);
    }

    py::array_t<std::int32_t> indices;
    py::array_t<float> points;
    py::array_t<double> distances;
    py::array_t<double> angles;
    py::array_t<bool> valid;
    py::array_t<std::uint8_t> states;

private:
    /// Where the arrays are written, also without Python's lock.
    struct Places {
        std::int32_t* indices;
        float* points;
        double* distances;
        double* angles;
        bool* valid;
        std::uint8_t* states;
    };

    Places places;
};

/// Beams as two arrays tell them.
struct Batch {
    Rows origins;
    Rows directions;

    Batch(py::handle newOrigins, py::handle newDirections)
        : origins(newOrigins, "origins", 3), directions(newDirections, "directions", 3) {
        if (origins.size() != directions.size()) {
            throw py::value_error("origins and directions need the same length, not " +
                                  std::to_string(origins.size()) + " and " +
                                  std::to_string(directions.size()));
        }
    }

    void fill(std::vector<Beam>& block, std::size_t first) const {
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i].origin = origins.point(first + i);
            block[i].direction = directions.vector(first + i);
        }
    }
};

template <class Search>
void fire(Search& search, Batch const& batch, Hits& hits, ProgressListener* listener) {
    std::size_t const count = hits.size();
    std::vector<Beam> block;
    std::size_t told = 0;
    for (std::size_t first = 0; first < count; first += block.size()) {
        block.resize(std::min(beamsInBlock, count - first));
        batch.fill(block, first);
        ScanResult const result = fireBeams(search, block);
        for (std::size_t i = 0; i < block.size(); ++i) {
            hits.set(first + i, result.hits[i]);
        }
        std::size_t const percent = 100 * (first + block.size()) / count;
        if (percent != told) {
            told = percent;
            listener->setPercentage(percent);
        }
    }
}

constexpr Enumerator searchWords[] = {{static_cast<int>(BeamSearch::Sure), "sure"},
                                      {static_cast<int>(BeamSearch::Walk), "walk"}};

/// Fires a batch without Python's lock: `fireAll` is handed the hits to fill and the listener.
template <class FireAll>
Hits firedAt(std::vector<void const*> objects, Batch const& batch, py::object const& progress,
             FireAll fireAll) {
    Hits hits(batch.origins.size());
    runLong(progress, std::move(objects), [&](ProgressListener* listener) { fireAll(hits, listener); });
    return hits;
}

Hits intersectGrid(SharedGrid& shared, py::object const& origins, py::object const& directions,
                   py::object const& search, py::object const& progress) {
    bool const isSure = enumeratorFrom(search, "'search'", searchWords) == static_cast<int>(BeamSearch::Sure);
    Batch const batch(origins, directions);
    return firedAt({&shared}, batch, progress, [&](Hits& hits, ProgressListener* listener) {
        if (isSure) {
            fire(shared.getSureSearch(), batch, hits, listener);
        } else {
            fire(shared.grid, batch, hits, listener);
        }
    });
}

/// The core's query of a group, in the manner of that of groups: again from a fresh start if the first answer
/// is no good one.
class SharedGroup {
public:
    explicit SharedGroup(std::vector<GridHandle> const& newGrids) : grids(newGrids) {
        for (GridHandle const& each : grids) {
            group.addQuadMesh(&each->grid);
        }
    }

    std::vector<void const*> objects() const {
        std::vector<void const*> all{this};
        std::ranges::transform(grids, std::back_inserter(all),
                               [](GridHandle const& each) { return each.get(); });
        std::ranges::sort(all);
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    std::vector<GridHandle> grids;
    Group group;
};

/// Finds the first quad along each beam among the grids, or walks over each in turn and takes the best
/// answer.
Hits intersectGroup(SharedGroup& shared, py::object const& origins, py::object const& directions,
                    py::object const& search, py::object const& progress) {
    bool const isSure = enumeratorFrom(search, "'search'", searchWords) == static_cast<int>(BeamSearch::Sure);
    Batch const batch(origins, directions);
    return firedAt(shared.objects(), batch, progress, [&](Hits& hits, ProgressListener* listener) {
        if (isSure) {
            std::vector<Grid const*> grids;
            std::ranges::transform(shared.grids, std::back_inserter(grids),
                                   [](GridHandle const& each) { return &each->grid; });
            SureSearch const sure(grids);
            fire(sure, batch, hits, listener);
        } else {
            fire(shared.group, batch, hits, listener);
        }
    });
}

Hits intersectGroups(GridGroups& groups, py::object const& origins, py::object const& directions,
                     py::object const& progress) {
    Batch const batch(origins, directions);
    return firedAt({&groups}, batch, progress,
                   [&](Hits& hits, ProgressListener* listener) { fire(groups, batch, hits, listener); });
}

template <class Box>
py::object boxOf(Box const& box) {
    return py::make_tuple(toPython(box.getp(), {}), toPython(box.getp1(), {}));
}

using Names = std::vector<std::vector<std::string>>;
using Offsets = std::vector<std::vector<GridOffset>>;

GridGroups groupsFromFiles(py::object const& files, py::object const& offsets) {
    auto const paths = fromPython<std::vector<std::vector<std::filesystem::path>>>(files, "'files'");
    auto const places = fromPython<Offsets>(offsets, "'offsets'");
    Names names;
    for (auto const& group : paths) {
        auto& row = names.emplace_back();
        std::ranges::transform(group, std::back_inserter(row),
                               [](auto const& path) { return path.string(); });
    }
    return runFileWork(py::none(), {}, [&](ProgressListener*) {
        GridGroups groups;
        groups.load(names, places);
        return groups;
    });
}

void bindHits(py::module_& module) {
    py::class_<Hits> type(module, "Hits", plainType(),
                          "What beams met, in arrays with an entry a beam, in the beams' order.");
    type.def("__len__", &Hits::size);
    type.def_readonly("indices", &Hits::indices, "(n, 2) int32: the quad (u, v); -1 of a miss.");
    type.def_readonly("points", &Hits::points, "(n, 3) float32: where it was met; NaN of a miss.");
    type.def_readonly("distances", &Hits::distances,
                      "(n,) float64: along the beam, in the grid's unit; NaN of a miss and from 10,000 on.");
    type.def_readonly("angles", &Hits::angles,
                      "(n,) float64: to the normal in radians, pi is head-on; NaN as the distance.");
    type.def_readonly("valid", &Hits::valid, "(n,) bool: whether a quad was met.");
    type.def_readonly(
        "states", &Hits::states,
        "(n,) uint8: 0 miss, 1 inside a triangle, 2 on an edge, told by the sure search alone.");
}

void bindGroup(py::module_& module) {
    py::class_<SharedGroup> type(module, "Group", plainType(),
                                 "Several grids that answer a beam as one, which stay what they are.");
    type.def(py::init<std::vector<GridHandle> const&>(), py::arg("grids"));
    type.def_property_readonly(
        "box", [](SharedGroup const& shared) { return boxOf(shared.group.getUVBoundingBox()); },
        "The part of the scan plane that the grids take: its low and its high corner (u, v).");
    type.def("intersect", &intersectGroup, py::arg("origins"), py::arg("directions"),
             py::arg("search") = "sure", py::kw_only(), py::arg("progress") = py::none(),
             "As `Grid.intersect`; indices have the grids' offsets.");
}

void bindGroups(py::module_& module) {
    py::class_<GridGroups> type(module, "Groups", plainType(),
                                "Groups of grids from files that answer a beam as one, by walking.");
    type.def_static("from_files", &groupsFromFiles, py::arg("files"), py::arg("offsets"),
                    "Loads groups: a list of lists of .quads files, and the same of offsets (u, v).");
    type.def_property_readonly(
        "box", [](GridGroups const& groups) { return boxOf(groups.getUVBoundingBox()); },
        "The part of the scan plane that the grids take: its low and its high corner (u, v).");
    type.def(
        "set_position",
        [](GridGroups& groups, unsigned long position) {
            requireFree(&groups);
            groups.setPosition(position);
        },
        py::arg("position"), "Of the inspection, 0 to 31; which grids are active depends on it.");
    type.def("intersect", &intersectGroups, py::arg("origins"), py::arg("directions"), py::kw_only(),
             py::arg("progress") = py::none(), "As `Grid.intersect` with the search 'walk'.");
}

} // namespace

py::object arraysOf(std::vector<Hit> const& hits) {
    Hits arrays(hits.size());
    for (std::size_t i = 0; i < hits.size(); ++i) {
        arrays.set(i, hits[i]);
    }
    return py::cast(std::move(arrays));
}

void bindBeams(py::module_& module) {
    bindHits(module);
    auto grid = py::reinterpret_borrow<py::class_<SharedGrid, GridHandle>>(module.attr("Grid"));
    grid.def(
        "intersect", &intersectGrid, py::arg("origins"), py::arg("directions"), py::arg("search") = "sure",
        py::kw_only(), py::arg("progress") = py::none(),
        "Which quad each beam meets. Origins and directions are (n, 3), of any strides; those of float32 and "
        "float64 are not copied. The search 'sure' finds the first quad in front of each beam, 'walk' "
        "follows "
        "the surface from the quad of the last one.");
    bindGroup(module);
    bindGroups(module);
}

} // namespace QELT::Python
