#pragma once

#include "Inspection/scanning/beam.h"
#include "Inspection/scanning/hit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

/// The plain twin of the sure search: every quad of every grid is asked, and the nearest one in front of the
/// beam's origin kept.
namespace QELT::Inspection::Testing {

struct FoundQuad {
    Grid const* grid = nullptr;
    GridIndex quad; ///< in its grid
    Point point;
    double distance = 0.0;
    double angle = 0.0; ///< to the normal; only where the core measures
};

inline std::optional<FoundQuad> askQuad(Grid const& grid, GridIndex const& quad, Beam const& beam) {
    QELT::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData data;
    FoundQuad found;
    found.grid = &grid;
    found.quad = quad;
    if (!grid.getDoesIntersectQuad(quad, beam.origin, beam.direction, found.point, &data)) {
        return std::nullopt;
    }
    double const length = std::sqrt(found.point.dSqr(beam.origin));
    bool const isMeasured = length < measurementLimit;
    bool const isBehind = isMeasured ? std::signbit(data.getDistanceToObject())
                                     : (found.point - beam.origin).dot(beam.direction) < 0.0;
    found.distance = isBehind ? -length : length;
    found.angle = data.getAngleToObjectNormal();
    return found;
}

template <class Visit>
void forEachQuad(Grid const& grid, Visit visit) {
    auto const extents = grid.getExtents();
    for (int v = 0; v < static_cast<int>(extents.getdV()); ++v) {
        for (int u = 0; u < static_cast<int>(extents.getdU()); ++u) {
            visit(GridIndex(u, v));
        }
    }
}

inline std::optional<FoundQuad> firstOfAllQuads(std::vector<Grid const*> const& grids, Beam const& beam) {
    std::optional<FoundQuad> first;
    for (Grid const* const grid : grids) {
        forEachQuad(*grid, [&](GridIndex const& quad) {
            auto const found = askQuad(*grid, quad, beam);
            if (found && !std::signbit(found->distance) && (!first || found->distance < first->distance)) {
                first = found;
            }
        });
    }
    return first;
}

/// How near a line passes by a stretch.
inline double distanceToStretch(Beam const& beam, Point const& from, Point const& to) {
    auto const difference = [](Point const& a, Point const& b) {
        return Vector(static_cast<double>(a.getX()) - static_cast<double>(b.getX()),
                      static_cast<double>(a.getY()) - static_cast<double>(b.getY()),
                      static_cast<double>(a.getZ()) - static_cast<double>(b.getZ()));
    };
    // Across the beam the line is a point, and the stretch one in a plane.
    Vector const unit = beam.direction / std::sqrt(beam.direction.lSqr());
    auto const across = [&](Vector const& way) { return way - way.dot(unit) * unit; };
    Vector const start = across(difference(from, beam.origin));
    Vector const along = across(difference(to, from));
    double const lengthSqr = along.lSqr();
    double const share = lengthSqr > 0.0 ? std::clamp(-start.dot(along) / lengthSqr, 0.0, 1.0) : 0.0;
    return std::sqrt((start + share * along).lSqr());
}

/// How near a beam passes by an edge of a quad's two triangles.
inline double distanceToEdges(Grid const& grid, GridIndex const& quad, Beam const& beam) {
    double nearest = std::numeric_limits<double>::infinity();
    for (bool const isLower : {true, false}) {
        std::array<Point, 3> corners;
        grid.getQuadTrianglePoints(quad, corners.data(), isLower);
        for (std::size_t i = 0; i < 3; ++i) {
            double const distance = distanceToStretch(beam, corners[i], corners[(i + 1) % 3]);
            nearest = std::min(nearest, std::isnan(distance) ? nearest : distance);
        }
    }
    return nearest;
}

} // namespace QELT::Inspection::Testing
