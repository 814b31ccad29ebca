#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <memory>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// A grid and what its file is called.
struct NamedGrid {
    std::string name;
    Grid const* grid = nullptr; ///< at its offset
    bool doFlipNormals = false; ///< whether its other side is the outside
};

/// A result on the quads of these grids that no shot has met yet: states, areas, centres and outward normals.
/// Where grids overlap the first one has the pixel. Fails if there are more than 65,536 grids.
QELT_INSPECTION_EXPORT Result pixelsOf(std::vector<NamedGrid> const& grids);

/// The grid that a patch was made of, at its offset: its nodes, valid where they are numbers.
QELT_INSPECTION_EXPORT std::unique_ptr<Grid> gridOf(Patch const& patch);

} // namespace QELT::Inspection
