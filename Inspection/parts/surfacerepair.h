#pragma once

#include "Inspection/export.h"
#include "Inspection/parts/cloudspacing.h"
#include "Inspection/parts/facemesh.h"
#include "Inspection/records/record.h"

#include <cstddef>
#include <optional>

namespace QELT::Inspection {

/// What is done to a surface. Of a surface through a cloud, what is not given is chosen from the spacing of
/// the cloud.
struct RepairOptions {
    /// Of a cloud: no two of the points that are used are nearer; 0 uses all. An even cloud is not thinned
    /// unless this is given.
    std::optional<double> thinTo;

    std::optional<double> longestSide; ///< triangles with a longer one are taken out; may be infinite

    /// Holes of at most so many sides are closed. If it is not given those of 3, and those that are so narrow
    /// that triangles without a side that is too long cover them.
    std::optional<std::size_t> largestHole;

    /// Of triangles that lie over each other at most this far apart, as those of one sheet that passes over
    /// itself, the larger ones are taken out.
    std::optional<double> overlapReach;
};

/// What was found about a cloud, and done to it before a surface was built.
struct CloudReport {
    CloudSpacing spacing;
    std::size_t pointCount = 0;        ///< as they were read
    double thinnedTo = 0.0;            ///< 0 if it was not thinned
    std::size_t thinnedCount = 0;      ///< points left out for that
    std::optional<double> longestSide; ///< in use for the repair
};

/// What a repair did, from the cloud to the surface.
struct RepairReport {
    std::size_t unlistedCount = 0; ///< triangles that the mesh that was built does not list, left out before
    std::size_t droppedCount = 0;  ///< triangles taken out
    std::size_t closedCount = 0;   ///< holes closed
    std::size_t handleCount = 0;   ///< that are left: places where one sheet passes over another
    std::size_t looseCount = 0;    ///< points that no triangle reaches any more, taken out
    std::size_t overlapCount = 0;  ///< triangles over others, taken out; `droppedCount` has them too
    std::optional<CloudReport> cloud; ///< of a surface through one
};

/// Tells a record what is asked for, and what was done.
QELT_INSPECTION_EXPORT void addSettings(Record& record, RepairOptions const& options);
QELT_INSPECTION_EXPORT void addFigures(Record& record, RepairReport const& report);

/// Makes of triangles that were joined side by side a surface that can be flattened: one piece, in which the
/// triangles around each point hang together. A front that advances over a cloud leaves sheets that touch the
/// rest in a point alone; of the sheets around a point the largest stays, and of the pieces the largest.
/// Then holes are closed, by the triangles of least total area between their points. The rim that is longest
/// is the part's outline and never closed. No point is moved or made.
QELT_INSPECTION_EXPORT RepairReport repairSurface(FaceMesh& mesh, RepairOptions const& options);

} // namespace QELT::Inspection
