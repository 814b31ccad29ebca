#pragma once

#include "Inspection/scanning/hit.h"

#include <cmath>

namespace QELT::Inspection {

using QuadIntersectionData = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;

/// A hit as the core's test of a quad reports it, of a beam from `origin`.
inline Hit hitInside(GridIndex const& quad, Point const& point, QuadIntersectionData const& data,
                     Point const& origin) {
    Hit hit;
    hit.state = Hit::Inside;
    hit.quad = quad;
    hit.point = point;
    hit.isMeasured = measurementLimit > std::sqrt(point.dSqr(origin));
    if (hit.isMeasured) {
        hit.distance = data.getDistanceToObject();
        hit.angleToNormal = data.getAngleToObjectNormal();
        hit.angleError = data.getAngleError();
    }
    return hit;
}

} // namespace QELT::Inspection
