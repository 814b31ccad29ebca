#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/record.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// A count of a grid's nodes and quads, the areas of its quads, and the box of its valid nodes; lengths in
/// the part's unit.
struct GridSummary {
    std::size_t extentU = 0; ///< number of quads along u
    std::size_t extentV = 0;
    std::size_t nodeCount = 0;
    std::size_t validNodeCount = 0;
    std::size_t interiorCount = 0;
    std::size_t boundaryCount = 0;
    std::size_t cutBoundaryCount = 0;
    std::size_t extendedCount = 0; ///< valid nodes that are neither interior nor boundary
    std::size_t validQuadCount = 0;
    double minQuadArea = 0.0;  ///< as the grid keeps them
    double meanQuadArea = 0.0; ///< in the square of the part's unit
    double maxQuadArea = 0.0;  ///< the greatest
    Point low;                 ///< meaningful only with a valid node
    Point high;
};

/// Counts and measures all of the grid.
QELT_INSPECTION_EXPORT GridSummary gridSummaryOf(Grid const& grid);

/// Tells a record the counts, the areas and the box.
QELT_INSPECTION_EXPORT void addFigures(Record& record, GridSummary const& summary);

/// The valid nodes whose points hold something that is no number. Resampling makes them of triangles that the
/// flat map leaves without area; each spoils the areas and boxes of the whole grid.
struct NanNodes {
    std::vector<GridIndex> places;
    std::size_t triangleCount = 0; ///< of the triangles that they came from
};

/// Of a grid as it was resampled from a flat mesh at this spacing.
QELT_INSPECTION_EXPORT NanNodes nanNodesIn(Grid const& grid, Mesh const& mesh, double spacing);

/// Whether two grids hold the same flags, and at valid nodes the same points.
QELT_INSPECTION_EXPORT bool haveSameSurface(Grid const& a, Grid const& b);

} // namespace QELT::Inspection
