#include "Inspection/scanning/internal/nearestplace.h"

#include "Inspection/scanning/internal/quadhit.h"

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

// The nearest place of all quads. The tree leads to the quads whose boxes come nearer than what was found so
// far; of each, both triangles are looked at in doubles, on the core's own float corners. The nearest place
// of a triangle is found by the region that the point lies in, a corner's, a side's or the inside's, as
// Ericson tells it ("Real-Time Collision Detection", 2005). Triangles without area have places as lines have;
// those with corners that are no numbers have none. Beside the rim of a surface the nearest place is on it,
// though nothing lies before the probe: that is a miss, but for half of the quad's diagonal, as far as a
// pixel goes on around its middle, and for a third of the distance, by which a probe may be off its normal.

namespace QELT::Inspection {

namespace {

using GridStep = QELT::Geometry::TwoDimensional::Vector<int>;

Vector vectorOf(Numbers const& from, Numbers const& to) {
    return {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
}

/// The place of a triangle that is nearest to a point, by which of its corners, sides or its inside faces it:
/// the signs of products along two sides tell.
Numbers nearestOn(std::array<Numbers, 3> const& corners, Numbers const& point) {
    Vector const ab = vectorOf(corners[0], corners[1]);
    Vector const ac = vectorOf(corners[0], corners[2]);
    auto const at = [&](double alongB, double alongC) {
        Vector const step = ab * alongB + ac * alongC;
        return Numbers{corners[0][0] + step.getdX(), corners[0][1] + step.getdY(),
                       corners[0][2] + step.getdZ()};
    };
    Vector const ap = vectorOf(corners[0], point);
    double const d1 = ab.dot(ap);
    double const d2 = ac.dot(ap);
    if (d1 <= 0.0 && d2 <= 0.0) {
        return corners[0];
    }
    Vector const bp = vectorOf(corners[1], point);
    double const d3 = ab.dot(bp);
    double const d4 = ac.dot(bp);
    if (d3 >= 0.0 && d4 <= d3) {
        return corners[1];
    }
    double const offSideAb = d1 * d4 - d3 * d2;
    if (offSideAb <= 0.0 && d1 >= 0.0 && d3 <= 0.0) {
        return at(d1 / (d1 - d3), 0.0);
    }
    Vector const cp = vectorOf(corners[2], point);
    double const d5 = ab.dot(cp);
    double const d6 = ac.dot(cp);
    if (d6 >= 0.0 && d5 <= d6) {
        return corners[2];
    }
    double const offSideAc = d5 * d2 - d1 * d6;
    if (offSideAc <= 0.0 && d2 >= 0.0 && d6 <= 0.0) {
        return at(0.0, d2 / (d2 - d6));
    }
    double const offSideBc = d3 * d6 - d5 * d4;
    if (offSideBc <= 0.0 && d4 >= d3 && d5 >= d6) {
        double const along = (d4 - d3) / ((d4 - d3) + (d5 - d6));
        return at(1.0 - along, along);
    }
    double const whole = offSideAb + offSideAc + offSideBc;
    return at(offSideAc / whole, offSideAb / whole);
}

/// The nearest place so far.
struct NearestPlace {
    QuadTree const* tree = nullptr;
    Numbers point{};
    double distance = Box::infinity;
    TreeSurface const* surface = nullptr;
    GridIndex quad;
    bool isLower = true; ///< which triangle of the quad
    Numbers place{};
    Vector normal;
    double diagonal = 0.0;
};

void lookAtTriangle(NearestPlace& nearest, TreeSurface const& surface, GridIndex const& quad, bool isLower) {
    std::array<Point, 3> points;
    surface.getGrid().getQuadTrianglePoints(quad, points.data(), isLower);
    std::array<Numbers, 3> const corners{numbersOf(points[0]), numbersOf(points[1]), numbersOf(points[2])};
    Numbers const place = nearestOn(corners, nearest.point);
    double const distance = std::sqrt(vectorOf(place, nearest.point).lSqr());
    if (distance < nearest.distance) {
        nearest.distance = distance;
        nearest.surface = &surface;
        nearest.quad = quad;
        nearest.isLower = isLower;
        nearest.place = place;
        nearest.normal = surface.getGrid().getQuadNormalVector(quad, isLower);
        nearest.diagonal = std::sqrt(
            (surface.getGrid().getPoint(quad + GridStep(1, 1)) - surface.getGrid().getPoint(quad)).lSqr());
    }
}

bool lookAtQuad(RTCPointQueryFunctionArguments* arguments) {
    auto& nearest = *static_cast<NearestPlace*>(arguments->userPtr);
    TreeSurface const& surface = nearest.tree->getSurface(arguments->geomID);
    GridIndex const quad = surface.quadOf(arguments->primID);
    double const before = nearest.distance;
    lookAtTriangle(nearest, surface, quad, true);
    lookAtTriangle(nearest, surface, quad, false);
    if (!(nearest.distance < before)) {
        return false;
    }
    // The tree rounds to floats: a little more than the distance is looked at.
    arguments->query->radius = static_cast<float>(nearest.distance * (1.0 + treeSlack));
    return true;
}

/// How far the place lies beside the normal through the nearest place, which is none but at a rim.
double offNormal(NearestPlace const& nearest) {
    Vector const way = vectorOf(nearest.place, nearest.point);
    double const length = std::sqrt(nearest.normal.lSqr());
    return length > 0.0 ? std::sqrt(way.cross(nearest.normal).lSqr()) / length : nearest.distance;
}

/// As the core sees it, which knows what the outside is, along the normal onto the middle of the triangle.
bool isSeenFromBehind(NearestPlace const& nearest) {
    Grid const& grid = nearest.surface->getGrid();
    std::array<Point, 3> corners;
    grid.getQuadTrianglePoints(nearest.quad, corners.data(), nearest.isLower);
    Point const middle = corners[0] + ((corners[1] - corners[0]) + (corners[2] - corners[0])) / 3.0;
    double const side = vectorOf(nearest.place, nearest.point).dot(nearest.normal) < 0.0 ? -1.0 : 1.0;
    Vector const away = nearest.normal * (side * nearest.diagonal / std::sqrt(nearest.normal.lSqr()));
    Point crossing;
    QuadIntersectionData data;
    return grid.getDoesIntersectQuad(nearest.quad, middle + away, away * -1.0, crossing, &data) &&
           data.getAngleError() > std::numbers::pi / 2.0;
}

Hit hitOn(NearestPlace const& nearest) {
    constexpr double leastOfQuad = 0.5;
    constexpr double leastOfDistance = 1.0 / 3.0;
    double const beside = offNormal(nearest);
    if (beside > leastOfQuad * nearest.diagonal && beside > leastOfDistance * nearest.distance) {
        return {};
    }
    Hit hit;
    hit.state = Hit::Inside;
    hit.isMeasured = true;
    hit.quad = nearest.quad + nearest.surface->getGrid().getOffset();
    hit.point = Point(static_cast<float>(nearest.place[0]), static_cast<float>(nearest.place[1]),
                      static_cast<float>(nearest.place[2]));
    hit.distance = nearest.distance;
    hit.angleError = isSeenFromBehind(nearest) ? std::numbers::pi : 0.0;
    hit.angleToNormal = std::numbers::pi - hit.angleError;
    return hit;
}

} // namespace

Hit nearestHit(QuadTree const& tree, Point const& place) {
    NearestPlace nearest;
    nearest.tree = &tree;
    nearest.point = numbersOf(place);
    if (tree.getBox().isEmpty() || !std::isfinite(nearest.point[0] + nearest.point[1] + nearest.point[2])) {
        return {};
    }
    RTCPointQuery query{place.getX(), place.getY(), place.getZ(), 0.0F,
                        std::numeric_limits<float>::infinity()};
    RTCPointQueryContext context;
    rtcInitPointQueryContext(&context);
    rtcPointQuery(tree.get(), &query, &context, lookAtQuad, &nearest);
    return nearest.surface == nullptr ? Hit() : hitOn(nearest);
}

} // namespace QELT::Inspection
