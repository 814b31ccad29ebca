#pragma once

#include "Inspection/names.h"
#include "Inspection/scanning/csvfile.h"

#include <vector>

/// Maps that take points to their places.
namespace QELT::Inspection {

using LinearMap = QELT::Geometry::ThreeDimensional::LinearMap;

/// x goes to `target` + `map` (x - `source`).
struct Registration {
    LinearMap map;
    Point source;
    Point target;
    bool isSettled = true; ///< whether the descent came to rest within its limit

    Point operator()(Point const& point) const { return target + map * (point - source); }
};

/// The rigid motion that takes three points closest to three others, and the affine map that takes four to
/// four. Points on a place or a plane that leave the map open are a
/// `std::runtime_error`.
Registration rigidRegistration(std::vector<PointPair> const& pairs);
Registration affineRegistration(std::vector<PointPair> const& pairs);

/// How far the map leaves the farthest source point from its target.
double largestMiss(Registration const& registration, std::vector<PointPair> const& pairs);

} // namespace QELT::Inspection
