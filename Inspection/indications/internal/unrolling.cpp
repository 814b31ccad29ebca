// Lengths along a surface from points and normals alone.
//
// Where the normal turns by an angle a between two points, it turns about an axis; seen along that, the way
// is an arc whose chord is that of a circle, and an arc is longer than its chord by (a/2)/sin(a/2). The
// chord's part along the turning is stretched so, the part along the axis is left as it is, and the whole is
// turned by a/2 into the tangent plane at the start. On a sphere the chord lies in the turning, on a cylinder
// it has both parts, and on a plane nothing turns: there the result is exact (the logarithm of the surface's
// metric).
//
// Length and width are the sides of the rectangle of least area around the rim so unrolled, one side of which
// lies on a side of the convex hull (H. Freeman, R. Shapira, 1975). Unlike principal axes it is steady for
// round and square outlines and gives a rectangle its own sides; unlike the largest diameter it does not add
// a diagonal. Cost: sorting the points, and the square of the number of hull points, which are few.

#include "Inspection/indications/internal/unrolling.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QELT::Inspection {

namespace {

/// Normals that differ by less don't tell in which direction the surface turns.
constexpr double smallestTurn = 1e-6;

bool isBefore(FlatPoint const& a, FlatPoint const& b) {
    return a.getU() != b.getU() ? a.getU() < b.getU() : a.getV() < b.getV();
}

/// A. M. Andrew's monotone chain (1979), counter-clockwise.
std::vector<FlatPoint> convexHull(std::vector<FlatPoint> points) {
    std::sort(points.begin(), points.end(), isBefore);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    if (points.size() < 3) {
        return points;
    }
    std::vector<FlatPoint> hull;
    auto const add = [&](FlatPoint const& point, std::size_t least) {
        while (hull.size() >= least &&
               (hull.back() - hull[hull.size() - 2]).det(point - hull.back()) <= 0.0) {
            hull.pop_back();
        }
        hull.push_back(point);
    };
    for (FlatPoint const& point : points) {
        add(point, 2);
    }
    std::size_t const lower = hull.size() + 1;
    for (auto point = points.rbegin() + 1; point != points.rend(); ++point) {
        add(*point, lower);
    }
    hull.pop_back();
    return hull;
}

double spanAlong(std::vector<FlatPoint> const& points, FlatPoint const& direction) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (FlatPoint const& point : points) {
        double const along = point.getU() * direction.getU() + point.getV() * direction.getV();
        low = std::min(low, along);
        high = std::max(high, along);
    }
    return high - low;
}

/// Two directions at a right angle to a vector of unit length.
std::pair<Vector, Vector> axesAcross(Vector const& normal) {
    bool const isAlongX = std::abs(normal.getdX()) > 0.5;
    Vector const other = isAlongX ? Vector(0.0, 1.0, 0.0) : Vector(1.0, 0.0, 0.0);
    Vector const first = other - normal * other.dot(normal);
    Vector const unit = first / std::sqrt(first.lSqr());
    return {unit, normal.cross(unit)};
}

} // namespace

Vector unrolled(Oriented const& from, Oriented const& to) {
    Vector const chord = to.point - from.point;
    Vector const turn = to.normal - from.normal;
    double const turnLength = std::sqrt(turn.lSqr());
    double const cosine = std::clamp(from.normal.dot(to.normal), -1.0, 1.0);
    Vector const ahead = to.normal - from.normal * cosine;
    double const aheadLength = std::sqrt(ahead.lSqr());
    if (turnLength < smallestTurn || aheadLength < smallestTurn) {
        return chord - from.normal * chord.dot(from.normal);
    }
    double const halfAngle = std::asin(std::min(0.5 * turnLength, 1.0));
    Vector const start = ahead / aheadLength;
    Vector const axis = from.normal.cross(start);
    double const along = chord.dot(turn / turnLength) * halfAngle / (0.5 * turnLength);
    return start * along + axis * chord.dot(axis);
}

double distanceAlong(Oriented const& from, Oriented const& to) {
    return std::sqrt(unrolled(from, to).lSqr());
}

Sides smallestRectangle(std::vector<FlatPoint> points) {
    std::vector<FlatPoint> const hull = convexHull(std::move(points));
    Sides best;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < hull.size(); ++i) {
        auto const side = hull[(i + 1) % hull.size()] - hull[i];
        double const length = std::sqrt(side.lSqr());
        if (!(length > 0.0)) {
            continue;
        }
        double const along = spanAlong(hull, {side.getdU() / length, side.getdV() / length});
        double const across = spanAlong(hull, {-side.getdV() / length, side.getdU() / length});
        if (along * across < least) {
            least = along * across;
            best = {std::max(along, across), std::min(along, across)};
        }
    }
    return best;
}

Sides smallestRectangle(Oriented const& centre, std::vector<Oriented> const& points) {
    auto const axes = axesAcross(centre.normal);
    std::vector<FlatPoint> flat;
    flat.reserve(points.size());
    for (Oriented const& point : points) {
        Vector const way = unrolled(centre, point);
        flat.emplace_back(way.dot(axes.first), way.dot(axes.second));
    }
    return smallestRectangle(std::move(flat));
}

} // namespace QELT::Inspection
