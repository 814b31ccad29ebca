#pragma once

#include "Geometry/foundations/export.h"

#include <numbers>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// How a beam met a quad: distances in the unit of the points, angles in radians.
class QELT_EXPORT QuadIntersectionData {
public:
    /// All zero.
    QuadIntersectionData() = default;

    /// With `isEnableFlipAngle` set, the angle is stored as pi minus `angleToObjectNormal`.
    QuadIntersectionData(double newDistanceToObject, double newAngleToObjectNormal,
                         double newDistanceSqrToQuadCentre)
        : distanceToObject(newDistanceToObject),
          angleToObjectNormal(isEnableFlipAngle ? std::numbers::pi - newAngleToObjectNormal
                                                : newAngleToObjectNormal),
          distanceSqrToQuadCentre(newDistanceSqrToQuadCentre) {}

    QuadIntersectionData(QuadIntersectionData const&) = default;
    QuadIntersectionData& operator=(QuadIntersectionData const&) = default;
    virtual ~QuadIntersectionData() = default;

    /// The distance along the beam from its origin to the hit; negative when the hit lies behind the origin.
    double const& getDistanceToObject() const { return distanceToObject; }

    /// The angle between the triangle's normal and the beam, 0 to pi; pi is a beam that meets the surface
    /// head-on.
    double const& getAngleToObjectNormal() const { return angleToObjectNormal; }

    /// The squared distance from the hit to the centre of the parallelogram of the quad's two edges.
    double const& getDistanceSqrToQuadCentre() const { return distanceSqrToQuadCentre; }

    /// How far the beam is from head-on: pi minus the stored angle.
    double getAngleError() const { return std::numbers::pi - angleToObjectNormal; }

    /// Process-wide: turns the stored angles over. Set it outside any query.
    static bool isEnableFlipAngle;

private:
    double distanceToObject = 0.0;
    double angleToObjectNormal = 0.0;
    double distanceSqrToQuadCentre = 0.0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
