#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <cmath>

/// Measures of a triangle with the corners a, b, c, and weighted sums of points. Vectors and sums are of
/// double precision; a point is rounded to floats once, when it is made.
namespace QELT::Geometry::ThreeDimensional::TriangleMeasures {

/// The normal (b - a) x (c - b) of a triangle. Its length is twice the area; seen from the side it points to,
/// the corners run counter-clockwise.
inline Vector twoATN(Point const& a, Point const& b, Point const& c) {
    return (b - a).cross(c - b);
}

/// Twice the area of a triangle.
inline double twoAT(Point const& a, Point const& b, Point const& c) {
    return std::sqrt(twoATN(a, b, c).lSqr());
}

/// The squared area of a triangle.
QELT_EXPORT double ATSqr(Point const& a, Point const& b, Point const& c);

/// A quarter of the squared circumradius of a triangle: a measure to compare triangles by, on the scale that
/// limits elsewhere are tuned to. A triangle without area gives an infinity or a NaN.
QELT_EXPORT double rTSqr(Point const& a, Point const& b, Point const& c);

/// Half the circumradius of a triangle, the square root of `rTSqr`.
QELT_EXPORT double rT(Point const& a, Point const& b, Point const& c);

/// The radius of the inscribed circle of a triangle. NaN when all corners coincide.
QELT_EXPORT double riT(Point const& a, Point const& b, Point const& c);

/// wa a + wb b.
inline double weightedSum(double a, double b, double wa, double wb) {
    return wa * a + wb * b;
}

/// The weighted sum of two points, in double precision up to the coordinates of the result. The
/// weights need not add up to 1.
inline Point bary(Point const& a, Point const& b, double wa, double wb) {
    return {weightedSum(a.getX(), b.getX(), wa, wb), weightedSum(a.getY(), b.getY(), wa, wb),
            weightedSum(a.getZ(), b.getZ(), wa, wb)};
}

/// The same of three points.
inline Point bary(Point const& a, Point const& b, Point const& c, double wa, double wb, double wc) {
    return {weightedSum(a.getX(), b.getX(), wa, wb) + wc * double{c.getX()},
            weightedSum(a.getY(), b.getY(), wa, wb) + wc * double{c.getY()},
            weightedSum(a.getZ(), b.getZ(), wa, wb) + wc * double{c.getZ()}};
}

/// p lies strictly on the side of the plane through q that the normal n points to.
inline bool isAbove(Point const& p, Point const& q, Vector const& n) {
    return (p - q).dot(n) > 0.0;
}

} // namespace QELT::Geometry::ThreeDimensional::TriangleMeasures
