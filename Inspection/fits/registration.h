#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <vector>

/// Maps that take points to their places.
namespace QELT::Inspection {

/// A 3 by 3 matrix of the core.
using LinearMap = QELT::Geometry::ThreeDimensional::LinearMap;

/// A point and where it is to go.
struct PointPair {
    Point source;
    Point target;
};

/// x goes to `target` + `map` (x - `source`).
struct Registration {
    LinearMap map;
    Point source;
    Point target;
    bool isSettled = true; ///< whether the descent came to rest within its limit

    Point operator()(Point const& point) const { return target + map * (point - source); }
};

/// The rigid motion that takes three points closest to three others, and the affine map that takes four to
/// four. Points on a line or a plane that leave the map open are a
/// `std::runtime_error`.
QELT_INSPECTION_EXPORT Registration rigidRegistration(std::vector<PointPair> const& pairs);
QELT_INSPECTION_EXPORT Registration affineRegistration(std::vector<PointPair> const& pairs);

/// How far the map leaves the farthest source point from its target.
QELT_INSPECTION_EXPORT double largestMiss(Registration const& registration,
                                          std::vector<PointPair> const& pairs);

} // namespace QELT::Inspection
