#include "Geometry/foundations/trianglemeasures.h"

#include <cmath>

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
