#pragma once

#include "apps/cscan/names.h"

#include <cstddef>
#include <vector>

namespace cscan {

/// A count of a grid's nodes and quads, and the box of its valid nodes.
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
    Point low; ///< meaningful only with a valid node
    Point high;
};

GridSummary gridSummaryOf(Grid const& grid);

/// The valid nodes whose points hold something that is no number: resampling makes them of triangles that the
/// flat map leaves without area, and each spoils the areas and boxes of the whole grid.
std::vector<GridIndex> nanNodesOf(Grid const& grid);

/// Whether two grids hold the same flags, and at valid nodes the same points.
bool haveSameSurface(Grid const& a, Grid const& b);

} // namespace cscan
