#include "Inspection/scanning/scanplane.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <algorithm>
#include <map>

namespace QELT::Inspection {

namespace {

/// The grids' settings, a list a group, as the core takes them.
struct GroupLists {
    std::vector<std::vector<std::string>> files;
    std::vector<std::vector<GridOffset>> offsets;
    std::vector<std::vector<unsigned long>> active;
    std::vector<std::vector<bool>> doFlipNormals;
};

GroupLists listsOf(std::vector<PlacedGrid> const& grids, bool doFlipNormals) {
    std::map<unsigned long, std::vector<PlacedGrid const*>> groups;
    for (PlacedGrid const& grid : grids) {
        groups[grid.group].push_back(&grid);
    }
    GroupLists lists;
    for (auto const& [number, members] : groups) {
        lists.files.emplace_back();
        lists.offsets.emplace_back();
        lists.active.emplace_back();
        lists.doFlipNormals.emplace_back(members.size(), doFlipNormals);
        for (PlacedGrid const* grid : members) {
            lists.files.back().push_back(grid->file.string());
            lists.offsets.back().push_back(grid->offset);
            lists.active.back().push_back(grid->active);
        }
    }
    return lists;
}

void requireBearablePlane(QELT::Geometry::TwoDimensional::Vector<int> const& size) {
    if (static_cast<double>(size.getdU()) * static_cast<double>(size.getdV()) > largestScanPlane) {
        throw Failure("the scan plane of " + std::to_string(size.getdU()) + " x " +
                      std::to_string(size.getdV()) + " quads is too large; check the offsets");
    }
}

void addBox(ScanPlane& plane, GridSummary const& summary) {
    if (summary.validNodeCount == 0) {
        return;
    }
    using QELT::Geometry::ThreeDimensional::BoundingBoxAA;
    BoundingBoxAA box(summary.low, summary.high - summary.low);
    if (!plane.isEmpty) {
        box.expand(BoundingBoxAA(plane.low, plane.high - plane.low));
    }
    plane.isEmpty = false;
    plane.low = box.getp();
    plane.high = box.getp1();
}

void addSurface(QuadMap& surface, QuadMap const& grid, GridOffset const& offset) {
    for (std::size_t v = 0; v < grid.getHeight(); ++v) {
        for (std::size_t u = 0; u < grid.getWidth(); ++u) {
            if (grid.at(u, v).kind != Cell::NoSurface) {
                surface.at(u + static_cast<std::size_t>(offset.getdU()),
                           v + static_cast<std::size_t>(offset.getdV())) = grid.at(u, v);
            }
        }
    }
}

} // namespace

ScanPlane loadScanPlane(std::vector<PlacedGrid> const& grids, unsigned long position, bool doFlipNormals) {
    for (PlacedGrid const& grid : grids) {
        requireReadable(grid.file);
        readGridFileHeader(grid.file);
    }
    GroupLists const lists = listsOf(grids, doFlipNormals);
    auto const extents = GridGroups::getUVBoundingBox(lists.files, lists.offsets).getd();
    requireBearablePlane(extents);
    ScanPlane plane;
    plane.surface =
        QuadMap(static_cast<std::size_t>(extents.getdU()), static_cast<std::size_t>(extents.getdV()));
    for (PlacedGrid const& place : grids) {
        auto grid = std::make_unique<Grid>();
        loadGrid(*grid, place.file);
        if ((place.active >> (position % 32) & 1U) != 0) {
            addBox(plane, gridSummaryOf(*grid));
            addSurface(plane.surface, surfaceMapOf(*grid), place.offset);
            grid->setOffset(place.offset);
            grid->setDoFlipNormals(doFlipNormals);
            plane.grids.push_back(std::move(grid));
        }
    }
    return plane;
}

GridGroups loadGroups(std::vector<PlacedGrid> const& grids, unsigned long position, bool doFlipNormals) {
    GroupLists const lists = listsOf(grids, doFlipNormals);
    GridGroups groups;
    naming("the grids", [&] { groups.load(lists.files, lists.offsets); });
    groups.setActivePositionFlags(lists.active);
    groups.setDoFlipNormals(lists.doFlipNormals);
    groups.setPosition(position);
    return groups;
}

} // namespace QELT::Inspection
