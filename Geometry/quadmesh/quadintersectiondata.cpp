#include "Geometry/quadmesh/quadintersectiondata.h"

#include "Geometry/foundations/angles.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool QuadIntersectionData::isEnableFlipAngle = false;

QuadIntersectionData::QuadIntersectionData(double newDistanceToObject, double newAngleToObjectNormal,
                                           double newDistanceSqrToQuadCentre)
    : distanceToObject(newDistanceToObject),
      angleToObjectNormal(getStoredAngle(newAngleToObjectNormal)),
      distanceSqrToQuadCentre(newDistanceSqrToQuadCentre) {}

double QuadIntersectionData::getStoredAngle(double angle) {
    constexpr double pi = 3.141592653589793;
    return isEnableFlipAngle ? pi - angle : angle;
}

double QuadIntersectionData::getAngleError() const {
    return Angles::fullTurn * 0.5 - angleToObjectNormal;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
