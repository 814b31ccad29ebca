#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <array>
#include <vector>

/// What a spreading beam covers of a grid.
namespace QELT::Inspection {

/// A beam with an elliptic cross-section, which goes along the cross product of its two unit axes.
struct SpreadingBeam {
    Point origin{};
    Vector axisA{};
    Vector axisB{};
    double cotangent = 1.0;      ///< of the angle by which it spreads
    double apertureRadius = 0.0; ///< half the width of the beam where it begins
};

/// An ellipse of four quarters, which need not match: the half-axes along A, along B and against both.
struct Footprint {
    GridIndex quad; ///< the one that the beam's axis meets
    FlatPoint centre{};
    std::array<FlatPoint, 4> ends{}; ///< of the half-axes, in quads as the centre
};

/// Throws a `std::runtime_error` if the axis meets no quad or if a ray at the rim does not meet the plane of
/// that quad.
QELT_INSPECTION_EXPORT Footprint footprintOf(Grid& grid, SpreadingBeam const& beam);

/// The closed line around it, in quads.
QELT_INSPECTION_EXPORT std::vector<FlatPoint> outlineOf(Footprint const& footprint);

} // namespace QELT::Inspection
