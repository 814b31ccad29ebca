#pragma once

#include "Inspection/names.h"

#include <vector>

namespace QELT::Inspection {

/// A point of a surface with the normal there, of unit length.
struct Oriented {
    Vector point;
    Vector normal;
};

/// The displacement along the surface from one point to another, laid into the tangent plane at the first: as
/// long as the way on the surface, in the direction in which it sets out. Exact on planes, spheres and
/// cylinders, whatever the distance up to half way round; elsewhere to second order.
Vector unrolled(Oriented const& from, Oriented const& to);

/// Its length.
double distanceAlong(Oriented const& from, Oriented const& to);

/// Sides of the rectangle of least area that holds the points, the longer first; both 0 without a point.
struct Sides {
    double length = 0.0;
    double width = 0.0;
};

Sides smallestRectangle(std::vector<FlatPoint> points);

/// The same for points of a surface, unrolled around one.
Sides smallestRectangle(Oriented const& centre, std::vector<Oriented> const& points);

} // namespace QELT::Inspection
