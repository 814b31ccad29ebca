#pragma once

#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/quadmesh/quadintersectiondata.h"
#include "Geometry/search/internal/pairs.h"

#include <cmath>
#include <cstddef>
#include <optional>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// How a beam meets each of a quad's two triangles.
struct QuadMeasurements {
    DoublePair t; ///< along the beam
    DoublePair distances;
    DoublePair sines; ///< of the angles to the normals, times the lengths of both
    DoublePair cosines;
    DoublePair toCentre; ///< squared distances to the quad's centre

    /// Of a triangle, if it is met nearer than the limit beyond which nothing is measured.
    std::optional<QuadIntersectionData> get(std::size_t triangle) const {
        constexpr double measuredDistanceLimit = 10000.0;
        double const distance = distances[triangle];
        if (!(measuredDistanceLimit > distance)) {
            return std::nullopt;
        }
        double const signedDistance = t[triangle] > 0.0 ? distance : -distance;
        double const distanceSqrToCentre = toCentre[triangle];
        return QuadIntersectionData(signedDistance, std::atan2(sines[triangle], cosines[triangle]),
                                    distanceSqrToCentre);
    }
};

/// Where a beam's line crosses the planes of a quad's two triangles, the one below the diagonal first.
class QuadCrossing {
public:
    QuadCrossing(QuadCorners const& corners, Point const& origin, Vector const& direction)
        : QuadCrossing(
              corners, VectorPair(direction), origin, PointPair(corners.opposite(), corners.opposite()),
              PointPair(corners.low(), corners.low()), PointPair(corners.alongU(), corners.alongV())) {}

    /// Whether the line meets a triangle strictly inside its edges.
    bool getIsHit() const { return insideOf != 0; }

    /// Which triangle counts: 0, the lower one, if that is met, and otherwise 1.
    std::size_t getTriangle() const { return (static_cast<std::size_t>(insideOf) & 1U) ^ 1U; }

    /// Where the line crosses the plane of the triangle that counts.
    Point getPoint() const {
        std::size_t const triangle = getTriangle();
        return {points.x[triangle], points.y[triangle], points.z[triangle]};
    }

    /// How the beam meets both triangles, as which of them counts is known last of all. With `isFlipped` the
    /// angles are those to the opposite of the normals.
    QuadMeasurements measure(QuadCorners const& corners, Point const& origin, Vector const& direction,
                             bool isFlipped) const {
        VectorPair const across = normals.cross(VectorPair(direction));
        Point const centre =
            corners.low() + 0.5 * ((corners.alongU() - corners.low()) + (corners.alongV() - corners.low()));
        return {t, points.dSqr(origin).getRoots(), across.dot(across).getRoots(),
                normals.dot(VectorPair(direction)) * DoublePair(isFlipped ? -1.0 : 1.0), points.dSqr(centre)};
    }

private:
    /// With the lower triangle in the first half of each pair and the upper one in the second.
    QuadCrossing(QuadCorners const& corners, VectorPair const& direction, Point const& origin,
                 PointPair const& opposite, PointPair const& low, PointPair const& beside)
        : QuadCrossing(corners, direction, origin, beside - low, opposite - low, opposite - beside) {}

    /// From the edges at the low corner, the diagonal, and the ways to the opposite corner.
    QuadCrossing(QuadCorners const& corners, VectorPair const& direction, Point const& origin,
                 VectorPair const& edges, VectorPair const& diagonal, VectorPair const& ends)
        : normals(edges.firstWithSecondOf(diagonal).cross(diagonal.firstWithSecondOf(edges))),
          t(VectorPair(corners.low() - origin).dot(normals) / direction.dot(normals)),
          points(origin, direction * t) {
        // Counter-clockwise around the upper triangle its outer edges go the other way. With the normal
        // turned over their triple products have the sign of those of the lower triangle: turning a factor
        // over turns the product over, to the bit.
        VectorPair const turned = normals * DoublePair(1.0, -1.0);
        auto const sideOf = [&](VectorPair const& edge, PointPair const& corner) {
            return turned.cross(edge).dot(points - corner);
        };
        insideOf = sideOf(diagonal, PointPair(corners.opposite(), corners.low())).getNegative() &
                   sideOf(edges, PointPair(corners.low(), corners.alongV())).getPositive() &
                   sideOf(ends, PointPair(corners.alongU(), corners.opposite())).getPositive();
    }

    VectorPair normals; ///< as long as twice the triangles' areas
    DoublePair t;       ///< along the beam
    PointPair points;
    int insideOf = 0; ///< which triangles are met: 1 the lower, 2 the upper
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
