#pragma once

#include "Inspection/export.h"
#include "Inspection/parts/facemesh.h"

#include <cstddef>
#include <optional>

namespace QELT::Inspection {

struct RepairOptions {
    std::optional<double> longestSide; ///< triangles with a longer one are taken out
    std::size_t largestHole = 3;       ///< holes of at most so many sides are closed
};

struct RepairReport {
    std::size_t unlistedCount = 0; ///< triangles that the mesh that was built does not list, left out before
    std::size_t droppedCount = 0;  ///< triangles taken out
    std::size_t closedCount = 0;   ///< holes closed
    std::size_t handleCount = 0;   ///< that are left: places where one sheet passes over another
    std::size_t looseCount = 0;    ///< points that no triangle reaches any more, taken out
};

/// Makes of triangles that were joined side by side a surface that can be flattened: one piece, in which the
/// triangles around each point hang together. A front that advances over a cloud leaves sheets that touch the
/// rest in a point alone; of the sheets around a point the largest stays, and of the pieces the largest.
/// Then holes are closed, by the triangles of least total area between their points. The rim that is longest
/// is the part's outline and never closed. No point is moved or made.
QELT_INSPECTION_EXPORT RepairReport repairSurface(FaceMesh& mesh, RepairOptions const& options);

} // namespace QELT::Inspection
