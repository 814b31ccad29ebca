#pragma once

#include "Inspection/import/partfile.h"
#include "Inspection/names.h"
#include "Inspection/parts/partrepair.h"

#include <optional>

namespace QELT::Inspection {

struct ImportOptions {
    std::filesystem::path in;
    std::filesystem::path out; ///< an .obj file for a mesh, an .xyz file for points
    /// Points no farther apart become one, in the unit of what is written. Unless given, STL files are welded
    /// within `defaultWeldShare` of the diagonal of their box, others are not.
    std::optional<double> weldTolerance;
    double scale = 1.0; ///< what coordinates are multiplied by
    /// Of a mesh, behind everything else; its tolerance of welding is the one above. No repair unless given.
    std::optional<PartRepairOptions> repair;
};

/// About the rounding of coordinates in single precision.
inline constexpr double defaultWeldShare = 1e-6;

/// A part is told to lie far out from this multiple of its size on: single precision then has lost four of
/// its 24 bits.
inline constexpr double farOutRatio = 16.0;

struct ImportResult {
    PartFormat format = PartFormat::Obj;
    bool isMesh = false;
    std::size_t pointsIn = 0;
    std::size_t pointsOut = 0;
    std::size_t weldedCount = 0;         ///< points that became one with an earlier one
    std::optional<double> weldTolerance; ///< what was welded within, nothing if nothing was to be
    std::size_t unusedCount = 0;         ///< points of no polygon in the file; a mesh is written without them
    std::size_t polygonCount = 0;
    std::size_t trianglesIn = 0; ///< what the polygons come to, two fewer each than corners
    std::size_t trianglesOut = 0;
    std::size_t degenerateCount = 0;        ///< left out: a point stands twice in them
    std::size_t crossingCount = 0;          ///< polygons that cross themselves; their triangles overlap
    double size = 0.0;                      ///< the diagonal of the box
    double reach = 0.0;                     ///< the greatest coordinate without its sign
    double floatStep = 0.0;                 ///< what single precision tells apart there
    std::optional<PartRepairReport> repair; ///< if one was asked for

    bool liesFarOut() const { return reach > farOutRatio * size; }
};

/// Reads a part of any format of `readPart`, welds it, cuts polygons into triangles and writes it as what
/// `prepare` and `reconstruct` read. No point is moved but by the scale. Throws a `Failure`.
QELT_INSPECTION_EXPORT ImportResult importPart(ImportOptions const& options,
                                               ProgressListener* listener = nullptr);

} // namespace QELT::Inspection
