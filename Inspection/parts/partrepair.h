#pragma once

#include "Inspection/export.h"
#include "Inspection/parts/facemesh.h"
#include "Inspection/records/record.h"

#include <cstddef>
#include <optional>

namespace QELT::Inspection {

/// What is mended, and how.
struct PartRepairOptions {
    /// Points no farther apart become one. Unless given, a millionth of the diagonal of the part's box.
    std::optional<double> weldTolerance;
    bool doKeepLargest = false;  ///< of the pieces that hang together over sides only the largest in area
    std::size_t largestHole = 0; ///< holes of at most so many sides are closed
};

/// What a repair changed.
struct PartRepairReport {
    double weldTolerance = 0.0;     ///< that was used
    std::size_t weldedCount = 0;    ///< points that became one with an earlier one
    std::size_t strayCount = 0;     ///< faces left out: name a point that is not there
    std::size_t collapsedCount = 0; ///< faces left out: name a point twice
    std::size_t duplicateCount = 0; ///< faces left out: were there already
    std::size_t flatCount = 0;      ///< faces without area, mended with a neighbour or left out at a rim
    std::size_t crowdedCount = 0;   ///< faces left out at sides of more than two faces
    std::size_t lesserCount = 0;    ///< faces left out with lesser pieces
    std::size_t turnedCount = 0;    ///< faces turned over
    std::size_t splitCount = 0;     ///< points doubled, so that sheets no longer meet in a point alone
    std::size_t closedCount = 0;    ///< holes closed
    std::size_t addedCount = 0;     ///< faces added for that
    std::size_t unusedCount = 0;    ///< points left out
};

/// Tells a record what was changed.
QELT_INSPECTION_EXPORT void addFigures(Record& record, PartRepairReport const& report);

/// Mends what can be without moving a point, in the order of the report. A face without area has a point on
/// its longest side; that side's other face is divided there. At sides of more than two faces the two that go
/// on into each other most smoothly stay. Of faces that disagree on their winding the lesser part of a sheet
/// is turned; surfaces of one side stay as they are, with their holes. The longest rim of a piece is never
/// closed.
QELT_INSPECTION_EXPORT PartRepairReport repairPart(FaceMesh& mesh, PartRepairOptions const& options);

} // namespace QELT::Inspection
