#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/quadmap.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

/// Several grids side by side in one scan plane.
namespace QELT::Inspection {

/// Where a grid lies in the plane of several.
using GridOffset = QELT::Geometry::TwoDimensional::Vector<int>;
/// The core's groups of grids.
using GridGroups = QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroups;

/// A grid's file and its place.
struct PlacedGrid {
    std::filesystem::path file;
    GridOffset offset{};               ///< of its quads in the scan plane, not negative
    unsigned long group = 0;           ///< grids of the same number make a group
    unsigned long active = 0xFFFFFFFF; ///< the grid answers at the positions whose bits are set
};

/// Grids in the scan plane, and the part of it that they take.
struct ScanPlane {
    std::vector<std::unique_ptr<Grid>> grids; ///< those that are active, at their places
    QuadMap surface{0, 0};                    ///< where an active grid has a quad
    bool isEmpty = true;                      ///< whether no active grid has a valid node
    Point low{};                              ///< the box of the active grids' nodes
    Point high{};
};

/// A scan plane of more quads than this is taken for a mistake in an offset.
constexpr double largestScanPlane = 64e6;

/// Loads the grids and keeps the active ones. Failures name the file.
QELT_INSPECTION_EXPORT ScanPlane loadScanPlane(std::vector<PlacedGrid> const& grids, unsigned long position,
                                               bool doFlipNormals);

/// Loads them all once more, as the core's groups, which answer by walking; the groups stand in the order of
/// their numbers. For grids of which a scan plane could be loaded.
QELT_INSPECTION_EXPORT GridGroups loadGroups(std::vector<PlacedGrid> const& grids, unsigned long position,
                                             bool doFlipNormals);

} // namespace QELT::Inspection
