#pragma once

#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/quadmesh/quadintersectiondata.h"
#include "Geometry/search/internal/pairs.h"

#include <cmath>
#include <cstddef>
#include <optional>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Where a beam's line crosses the planes of a quad's two triangles, the one below the diagonal first.
class QuadCrossing {
public:
    QuadCrossing(QuadCorners const& corners, Point const& origin, Vector const& direction)
        : QuadCrossing(
              corners, VectorPair(direction), origin, PointPair(corners.opposite(), corners.opposite()),
              PointPair(corners.low(), corners.low()), PointPair(corners.alongU(), corners.alongV())) {}

    /// Whether the line meets a triangle strictly inside its edges.
    bool getIsHit() const { return insideOf != 0; }

    /// The hit, or without one where the line crosses the upper triangle's plane.
    Point getPoint() const {
        std::size_t const half = getHalf();
        return {points.x[half], points.y[half], points.z[half]};
    }

    /// How the beam meets the quad, for a hit nearer than the limit beyond which nothing is measured. With
    /// `isFlipped` the angle is that to the opposite of the normal.
    [[nodiscard]] std::optional<QuadIntersectionData> measure(QuadCorners const& corners, Point const& origin,
                                                              Vector const& direction, bool isFlipped) const {
        // For both triangles, as which of them counts is known last of all.
        DoublePair const distances = points.dSqr(origin).getRoots();
        VectorPair const across = normals.cross(VectorPair(direction));
        DoublePair const sines = across.dot(across).getRoots();
        DoublePair const cosines = normals.dot(VectorPair(direction)) * DoublePair(isFlipped ? -1.0 : 1.0);
        Point const centre =
            corners.low() + 0.5 * ((corners.alongU() - corners.low()) + (corners.alongV() - corners.low()));
        DoublePair const toCentre = points.dSqr(centre);
        std::size_t const half = getHalf();
        double const distance = distances[half];
        if (!(measuredDistanceLimit > distance)) {
            return std::nullopt;
        }
        double const signedDistance = t[half] > 0.0 ? distance : -distance;
        double const distanceSqrToCentre = toCentre[half];
        return QuadIntersectionData(signedDistance, std::atan2(sines[half], cosines[half]),
                                    distanceSqrToCentre);
    }

private:
    static constexpr double measuredDistanceLimit = 10000.0;

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

    /// Which triangle counts: the lower one if that is met.
    std::size_t getHalf() const { return (static_cast<std::size_t>(insideOf) & 1U) ^ 1U; }

    VectorPair normals; ///< as long as twice the triangles' areas
    DoublePair t;       ///< along the beam
    PointPair points;
    int insideOf = 0; ///< which triangles are met: 1 the lower, 2 the upper
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
