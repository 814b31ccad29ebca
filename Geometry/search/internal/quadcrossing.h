#pragma once

#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/quadmesh/quadintersectiondata.h"

#include <cmath>
#include <optional>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Where a beam's line crosses the planes of a quad's two triangles, the one below the diagonal first.
class QuadCrossing {
public:
    QuadCrossing(QuadCorners const& corners, Point const& origin, Vector const& direction) {
        Vector const diagonal = corners.opposite - corners.low;
        cross(corners.low, corners.alongU - corners.low, diagonal, origin, direction);
        // The diagonal first: a beam that meets the upper triangle fails there and not at the other edges.
        isHit = getIsRightOf(diagonal, corners.opposite) &&
                getIsLeftOf(corners.alongU - corners.low, corners.low) &&
                getIsLeftOf(corners.opposite - corners.alongU, corners.alongU);
        if (!isHit) {
            cross(corners.low, diagonal, corners.alongV - corners.low, origin, direction);
            isHit = getIsLeftOf(diagonal, corners.low) &&
                    getIsLeftOf(corners.alongV - corners.opposite, corners.opposite) &&
                    getIsRightOf(corners.alongV - corners.low, corners.alongV);
        }
    }

    /// Whether the line meets a triangle strictly inside its edges.
    bool getIsHit() const { return isHit; }

    /// The hit, or without one where the line crosses the upper triangle's plane.
    Point const& getPoint() const { return point; }

    /// How the beam meets the quad, for a hit nearer than the limit beyond which nothing is measured. With
    /// `isFlipped` the angle is that to the opposite of the normal.
    [[nodiscard]] std::optional<QuadIntersectionData> measure(QuadCorners const& corners, Point const& origin,
                                                              Vector const& direction, bool isFlipped) const {
        double const distance = std::sqrt(point.dSqr(origin));
        if (!(measuredDistanceLimit > distance)) {
            return std::nullopt;
        }
        double const along = normal.dot(direction) * (isFlipped ? -1.0 : 1.0);
        double const angle = std::atan2(std::sqrt(normal.cross(direction).lSqr()), along);
        Point const centre =
            corners.low + 0.5 * ((corners.alongU - corners.low) + (corners.alongV - corners.low));
        return QuadIntersectionData(t > 0.0 ? distance : -distance, angle, point.dSqr(centre));
    }

private:
    static constexpr double measuredDistanceLimit = 10000.0;

    /// The line with the plane of a triangle, by its first corner and the ways from there to the others.
    void cross(Point const& first, Vector const& toSecond, Vector const& toThird, Point const& origin,
               Vector const& direction) {
        normal = toSecond.cross(toThird);
        t = (first - origin).dot(normal) / direction.dot(normal);
        point = origin + t * direction;
    }

    /// Whether the crossing lies strictly inside an edge that starts at the corner and goes round
    /// counter-clockwise.
    bool getIsLeftOf(Vector const& edge, Point const& corner) const {
        return normal.cross(edge).dot(point - corner) > 0.0;
    }

    /// The same for an edge given as the way back: the triple product is the opposite one, to the bit.
    bool getIsRightOf(Vector const& wayBack, Point const& corner) const {
        return normal.cross(wayBack).dot(point - corner) < 0.0;
    }

    bool isHit = false;
    Point point;
    Vector normal; ///< of the triangle crossed last, as long as twice its area
    double t = 0.0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
