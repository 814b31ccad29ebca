#pragma once

#include "Inspection/import/part.h"
#include "Inspection/names.h"
#include "Inspection/parts/partrepair.h"

#include <optional>

namespace QELT::Inspection {

/// What to import, how, and where to write it.
struct ImportOptions {
    PlacedPart in;
    std::filesystem::path out; ///< an .obj file for a mesh, an .xyz file for points
    /// Points no farther apart become one, in the unit of what is written. Unless given, STL and glTF files
    /// are welded within `defaultWeldShare` of the diagonal of their box, others are not.
    std::optional<double> weldTolerance;
    double scale = 1.0; ///< what coordinates are multiplied by
    AxisMap axes = sameAxes;
    bool keepsPlace = false; ///< whether a part that lies far out is left there
    /// Of a mesh, behind everything else; its tolerance of welding is the one above. No repair unless given.
    std::optional<PartRepairOptions> repair = {};
};

/// What was found and done, from the file to the mesh.
struct ImportResult : LoadReport {
    std::optional<PartRepairReport> repair; ///< if one was asked for
};

/// Reads a part of any format of `readPart`, welds it, cuts polygons into triangles and writes it as what
/// `prepare` and `reconstruct` read. Points are moved by the map, the scale, the frame and, where the part
/// lies far out, all together by the `offset` of the result; to come back it is added. Throws a `Failure`.
QELT_INSPECTION_EXPORT ImportResult importPart(ImportOptions const& options,
                                               ProgressListener* listener = nullptr);

} // namespace QELT::Inspection
