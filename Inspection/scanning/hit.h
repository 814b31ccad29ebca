#pragma once

#include "Inspection/names.h"

#include <numbers>

namespace QELT::Inspection {

/// What one beam met.
struct Hit {
    /// Whether and how the beam met the quad.
    enum State : int {
        Miss,
        Inside, ///< within a triangle of the quad
        OnEdge, ///< where triangles meet, or at the rim of the surface, to within rounding: the core's test
                ///< lets it pass. Told by the sure search alone, of the quad that it came to
    };

    State state = Miss;

    /// Whether distance and angles are known: a miss has none, nor has a hit from the core's limit on, nor
    /// one on the edge of a triangle without area.
    bool isMeasured = false;

    GridIndex quad; ///< of any hit, as the point
    Point point;
    double distance = 0.0;      ///< along the beam, in the part's unit; negative behind the probe
    double angleToNormal = 0.0; ///< radians, pi is head-on
    double angleError = 0.0;    ///< radians, 0 is head-on

    bool isHit() const { return state != Miss; }

    /// Whether a measured hit is on the back of the surface: more than a quarter turn off head-on.
    bool isFromBehind() const { return angleError > std::numbers::pi / 2.0; }
};

/// From this distance on the core reports a hit without measuring it.
constexpr double measurementLimit = 10000.0;

} // namespace QELT::Inspection
