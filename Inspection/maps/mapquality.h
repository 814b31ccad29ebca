#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstddef>

namespace QELT::Inspection {

/// How far a factor between two areas may be off for them to count as alike.
constexpr double bearableAreaFactor = 4.0;

/// The share that must be alike, of the surface of a map and of the quads of a grid, for it to be fit for
/// inspection.
constexpr double alikeNeeded = 0.9;

/// How true a flat map is to its surface. What is turned over or has no flat area counts in the first numbers
/// alone; means and shares are by the area of the surface, so that small triangles do not outvote large ones.
struct MapQuality {
    std::size_t triangleCount = 0;
    std::size_t turnedCount = 0;   ///< triangles that the map turned over
    std::size_t flatlessCount = 0; ///< triangles whose flat area is zero or no number
    double surfaceArea = 0.0;      ///< of the others
    double areaRatio = 0.0;        ///< that over their flat area; 0 if there is none
    double medianAreaRatio = 0.0;  ///< half of the surface is above
    /// The typical factor between the area ratio of a place and the mean one: e to the standard deviation of
    /// its logarithm. 1 is a map that is true to areas.
    double areaSpread = 1.0;
    double alikeShare = 0.0;     ///< within `bearableAreaFactor` of the median area ratio, 0 to 1
    double meanAngleError = 0.0; ///< of the largest error of an angle at a place, in radians
    double highAngleError = 0.0; ///< 95 % of the surface are below it

    /// The share of triangles that were turned over, 0 to 1.
    double turnedShare() const {
        return triangleCount == 0 ? 0.0
                                  : static_cast<double>(turnedCount) / static_cast<double>(triangleCount);
    }
};

/// Of a mesh with flat coordinates, which count from 0 to any extent.
QELT_INSPECTION_EXPORT MapQuality mapQualityOf(Mesh const& mesh);

} // namespace QELT::Inspection
