#include "Geometry/quadmesh/quadindicesintersectionstatus.h"

#include "Geometry/foundations/angles.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

QuadIndicesIntersectionStatus::IntersectionQualityMode
    QuadIndicesIntersectionStatus::intersectionQualityMode = AngleThenDistance;

QuadIndicesIntersectionStatus::QuadIndicesIntersectionStatus(RectMesh* newQuadMesh, Point const& newQuadPoint,
                                                             TwoDimensional::Point<int> const& newIndices,
                                                             bool newIsValid,
                                                             QuadIntersectionData const& newIntersectionData,
                                                             std::string const& newFileName)
    : QuadIndicesIntersectionStatus(SharedText(newFileName), newQuadMesh, newQuadPoint, newIndices,
                                    newIsValid, newIntersectionData) {}

bool QuadIndicesIntersectionStatus::getIsGoodIntersection() const {
    if (!isValid) {
        return false;
    }
    if (intersectionQualityMode != AngleThenDistance) {
        return true;
    }
    return Angles::quarterTurn > intersectionData.getAngleError();
}

bool QuadIndicesIntersectionStatus::getIsBetterIntersection(
    QuadIndicesIntersectionStatus const& other) const {
    if (intersectionQualityMode != AngleThenDistance && intersectionQualityMode != DistanceOnly &&
        intersectionQualityMode != AngleOnly) {
        return false;
    }
    if (!other.isValid) {
        return false;
    }
    if (!isValid) {
        return true;
    }
    double const error = intersectionData.getAngleError();
    double const otherError = other.intersectionData.getAngleError();
    if (intersectionQualityMode == AngleOnly) {
        return error > otherError;
    }
    if (intersectionQualityMode == AngleThenDistance) {
        double const quarterTurn = Angles::quarterTurn;
        if (quarterTurn > otherError && error > quarterTurn) {
            return true;
        }
    }
    return intersectionData.getDistanceToObject() > other.intersectionData.getDistanceToObject();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
