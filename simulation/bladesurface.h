#pragma once

#include "simulation/names.h"

namespace QELT::Simulation {

/// A place on the blade, in millimetres along its chord and its span from the middle.
struct BladePlace {
    double chord = 0.0;
    double span = 0.0;
};

/// The surface of the built-in part: a patch of a turbine blade, cambered across its chord and twisted along
/// its span, with the suction side up (towards positive z). Millimetres.
class BladeSurface {
public:
    /// The outline is a rectangle of these half sides with rounded corners.
    static constexpr double halfChord = 30.0;
    static constexpr double halfSpan = 55.0;

    /// As designed.
    Point nominalPoint(BladePlace const& place) const;

    /// As built: with a shallow dent that no drawing shows.
    Point builtPoint(BladePlace const& place) const;
    Vector builtPosition(BladePlace const& place) const;

    /// Outward unit normal of the designed surface.
    Vector normal(BladePlace const& place) const;

    /// Centre and half axes of the oval cut-out.
    static constexpr BladePlace holeCentre{5.0, -14.0};
    static constexpr double holeHalfChord = 6.0;
    static constexpr double holeHalfSpan = 10.0;

private:
    Vector position(BladePlace const& place, double lift) const;
};

} // namespace QELT::Simulation
