#include "Geometry/foundations/trianglemeasures.h"

#include <cmath>

// With sides a, b, c and area A the circumradius is R = a b c / (4 A) and the inscribed radius r = 2 A / (a +
// b + c). `rTSqr` is a^2 b^2 c^2 / (16 |n|^2) with |n| = 2 A, which is R^2 / 4 and not R^2: the factor is
// left out because limits and results are on that scale. The products keep the order in which they are
// written, the factor after the first square, since reconstructions rank by their bits.
//
// There is no tolerance. A triangle without area divides by zero, and gives an infinity or, with two corners
// at one place, a NaN. Each costs a few dozen operations.

namespace QELT::Geometry::ThreeDimensional::TriangleMeasures {

namespace {

double length(Vector const& v) {
    return std::sqrt(v.lSqr());
}

} // namespace

double ATSqr(Point const& a, Point const& b, Point const& c) {
    return twoATN(a, b, c).lSqr() * 0.25;
}

double rTSqr(Point const& a, Point const& b, Point const& c) {
    Vector const e1 = b - a;
    Vector const e2 = c - b;
    Vector const e3 = a - c;
    return e1.lSqr() * 0.0625 * e2.lSqr() * e3.lSqr() / e1.cross(e2).lSqr();
}

double rT(Point const& a, Point const& b, Point const& c) {
    return std::sqrt(rTSqr(a, b, c));
}

double riT(Point const& a, Point const& b, Point const& c) {
    double const l1 = length(c - b);
    double const l2 = length(a - c);
    double const l3 = length(b - a);
    return std::sqrt(ATSqr(a, b, c)) * 2.0 / (l2 + l1 + l3);
}

} // namespace QELT::Geometry::ThreeDimensional::TriangleMeasures
