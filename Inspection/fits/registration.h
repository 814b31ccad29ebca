#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/csvfile.h"

#include <filesystem>
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
/// four. Points on a line or a plane that leave the map open are a
/// `std::runtime_error`.
QELT_INSPECTION_EXPORT Registration rigidRegistration(std::vector<PointPair> const& pairs);
QELT_INSPECTION_EXPORT Registration affineRegistration(std::vector<PointPair> const& pairs);

/// How far the map leaves the farthest source point from its target.
QELT_INSPECTION_EXPORT double largestMiss(Registration const& registration,
                                          std::vector<PointPair> const& pairs);

struct RegisterOptions {
    std::filesystem::path pairs; ///< a table of three pairs for a rigid motion, of four for an affine map
};

struct RegisterResult {
    bool isRigid = true;
    Registration registration;
    Vector translation;       ///< where the map takes the origin
    double largestMiss = 0.0; ///< in the points' unit
};

/// Finds the map for a table's pairs. Fails if the table cannot be read, does not hold three or four pairs,
/// or leaves the map open.
QELT_INSPECTION_EXPORT RegisterResult registerPoints(RegisterOptions const& options,
                                                     ProgressListener* listener);

} // namespace QELT::Inspection
