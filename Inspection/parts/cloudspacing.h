#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// How the points of a cloud lie beside each other.
enum class CloudForm : std::uint8_t {
    Even,    ///< points surround each other as they are
    Lines,   ///< dense along lines and sparse across them, as a line scanner leaves them
    Crowded, ///< closer here and there than they surround each other: noise, or lines that cross
};

/// How far apart the points of a cloud lie, in its unit. Figures are medians over points, so that holes,
/// rims, a few strays and points that coincide hardly count. All are 0 where there are not two places.
struct CloudSpacing {
    CloudForm form = CloudForm::Even;
    double nearest = 0.0; ///< from a point to the nearest other one
    double along = 0.0;   ///< between points of a line; if there are no lines, the side of a square a point
    double across = 0.0;  ///< between lines; if there are none, as `along`
    double even = 0.0;    ///< thinned to this, points just about surround each other; 0 if they nowhere do

    /// Of the spacing across lines to that along them; 1 without lines.
    double ratio() const { return along > 0.0 ? across / along : 1.0; }
};

/// Takes the time of a few sorts of the points. A cloud of less than two dozen places, or one that
/// looks like a surface at no spacing, is told to be even. Coordinates must be finite.
QELT_INSPECTION_EXPORT CloudSpacing spacingOf(std::vector<Point> const& points);

/// To what a cloud is thinned for a surface through it, unless told otherwise: an even one to nothing, 0.
QELT_INSPECTION_EXPORT double fitSpacing(CloudSpacing const& spacing);

} // namespace QELT::Inspection
