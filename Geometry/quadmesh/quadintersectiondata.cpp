#include "Geometry/quadmesh/quadintersectiondata.h"

#include <numbers>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool QuadIntersectionData::isEnableFlipAngle = false;

QuadIntersectionData::QuadIntersectionData(double newDistanceToObject, double newAngleToObjectNormal,
                                           double newDistanceSqrToQuadCentre)
    : distanceToObject(newDistanceToObject),
      angleToObjectNormal(isEnableFlipAngle ? std::numbers::pi - newAngleToObjectNormal
                                            : newAngleToObjectNormal),
      distanceSqrToQuadCentre(newDistanceSqrToQuadCentre) {}

double QuadIntersectionData::getAngleError() const {
    return std::numbers::pi - angleToObjectNormal;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
