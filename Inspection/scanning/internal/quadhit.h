#pragma once

#include "Inspection/scanning/hit.h"

namespace QELT::Inspection {

using QuadIntersectionData = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;

/// Takes over what the core measured.
inline void measure(Hit& hit, QuadIntersectionData const& data) {
    hit.distance = data.getDistanceToObject();
    hit.angleToNormal = data.getAngleToObjectNormal();
    hit.angleError = data.getAngleError();
}

} // namespace QELT::Inspection
