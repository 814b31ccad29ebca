#include "Geometry/foundations/quaternion.h"

#include "Geometry/foundations/linearmap.h"

#include <cmath>

// Rotations as quaternions (Shoemake, "Animating Rotation with Quaternion Curves", 1985). A quaternion q
// turns a vector v to the vector part of q v q^-1; dividing by the squared norm makes any length serve.
//
// - For unit vectors at an angle, (u.v, u x v) turns by twice that angle. `rot` therefore takes the first
//   vector and the bisector of both. Of opposite vectors the sum is zero, and any vector at right angles
//   bisects: the first coordinate axis that is not parallel gives it.
// - Part of the way: the angle by its tangent, which is accurate for small and for large angles alike, and
//   the bisector to the first vector turned by that part of it in the plane of both.
// - A frame of two directions: the first directions swing onto each other, then the second ones twist about
//   it.
//
// The comparison with zero has no tolerance. Of nearly opposite vectors the sum is what rounding left, but
// still at right angles to both as well as it can be told, and the turn takes one onto the other; a
// tolerance would replace it by an axis of its own choosing and make the turn jump. Parallel vectors have no
// plane to turn in: their part of the way is the zero turn, and between opposite ones nothing turns until
// the fraction is 1, then all at once; that is kept.
//
// `linf` gives the magnitude of the last element wherever none of the first three is strictly the greatest,
// also where two of these share the greatest one. All this costs a few dozen multiplications; a part of the
// way takes an arc tangent, a sine and a cosine as well.

namespace QELT::Geometry::ThreeDimensional {

namespace {

/// Only the two lowest bits of an index count.
constexpr unsigned long indexMask = 3;

/// A vector at right angles to `from`: the product with the first coordinate axis that is not parallel to it.
/// Zero when `from` is.
Vector perpendicular(Vector const& from) {
    Vector result;
    for (unsigned long axis = 0; axis < 3; ++axis) {
        result = Vector(axis, 1.0).cross(from);
        if (result.lSqr() != 0.0) {
            break;
        }
    }
    return result;
}

/// `start` turned by `angle` towards `quarterTurned`, where both span the plane of the turn.
Vector turned(Vector const& start, Vector const& quarterTurned, double angle) {
    return std::cos(angle) * start + std::sin(angle) * quarterTurned;
}

} // namespace

Quaternion::Quaternion(double scalar, double i, double j, double k) : a(scalar), b(i), c(j), d(k) {}

Quaternion::Quaternion(double scalar, Vector const& bcd)
    : a(scalar), b(bcd.getdX()), c(bcd.getdY()), d(bcd.getdZ()) {}

Quaternion::Quaternion(Vector const& bcd) : Quaternion(0.0, bcd) {}

Quaternion::Quaternion(Vector const& from, Vector const& to) : Quaternion(rot(from, to)) {}

void Quaternion::set(double scalar, double i, double j, double k) {
    a = scalar;
    b = i;
    c = j;
    d = k;
}

void Quaternion::set(double scalar, Vector const& bcd) {
    set(scalar, bcd.getdX(), bcd.getdY(), bcd.getdZ());
}

void Quaternion::set(Quaternion const& other) {
    *this = other;
}

Vector Quaternion::getbcd() const {
    return {b, c, d};
}

double Quaternion::get(unsigned long i) const {
    switch (i & indexMask) {
    case 0:
        return a;
    case 1:
        return b;
    case 2:
        return c;
    default:
        return d;
    }
}

void Quaternion::set(unsigned long i, double value) {
    switch (i & indexMask) {
    case 0:
        a = value;
        return;
    case 1:
        b = value;
        return;
    case 2:
        c = value;
        return;
    default:
        d = value;
        return;
    }
}

void Quaternion::inc(unsigned long i, double value) {
    set(i, get(i) + value);
}

Quaternion Quaternion::operator*(Quaternion const& right) const {
    return {a * right.a - b * right.b - c * right.c - d * right.d,
            a * right.b + b * right.a + c * right.d - d * right.c,
            a * right.c - b * right.d + c * right.a + d * right.b,
            a * right.d + b * right.c - c * right.b + d * right.a};
}

Quaternion Quaternion::operator*(double factor) const {
    return {a * factor, b * factor, c * factor, d * factor};
}

Quaternion Quaternion::operator/(double divisor) const {
    return {a / divisor, b / divisor, c / divisor, d / divisor};
}

Quaternion Quaternion::operator+(Quaternion const& other) const {
    return {a + other.a, b + other.b, c + other.c, d + other.d};
}

Quaternion Quaternion::operator-(Quaternion const& other) const {
    return {a - other.a, b - other.b, c - other.c, d - other.d};
}

Quaternion& Quaternion::operator+=(Quaternion const& other) {
    a += other.a;
    b += other.b;
    c += other.c;
    d += other.d;
    return *this;
}

Quaternion Quaternion::conj() const {
    return {a, -b, -c, -d};
}

double Quaternion::dot(Quaternion const& other) const {
    return a * other.a + b * other.b + c * other.c + d * other.d;
}

double Quaternion::normSqr() const {
    return sqr(a) + sqr(b) + sqr(c) + sqr(d);
}

Quaternion Quaternion::inverse() const {
    return conj() / normSqr();
}

double Quaternion::linf() const {
    double const absA = std::abs(a);
    double const absB = std::abs(b);
    double const absC = std::abs(c);
    double const absD = std::abs(d);
    if (absA > absB && absA > absC && absA > absD) {
        return absA;
    }
    if (absB > absA && absB > absC && absB > absD) {
        return absB;
    }
    if (absC > absA && absC > absB && absC > absD) {
        return absC;
    }
    return absD;
}

void Quaternion::getRotation(LinearMap& map) const {
    double const aa = sqr(a);
    double const bb = sqr(b);
    double const cc = sqr(c);
    double const dd = sqr(d);
    double const n = normSqr();
    map.setColumn(0, {(aa + bb - cc - dd) / n, 2.0 * (a * d + b * c) / n, 2.0 * (b * d - a * c) / n});
    map.setColumn(1, {2.0 * (b * c - a * d) / n, (aa - bb + cc - dd) / n, 2.0 * (c * d + a * b) / n});
    map.setColumn(2, {2.0 * (b * d + a * c) / n, 2.0 * (c * d - a * b) / n, (aa - bb - cc + dd) / n});
}

Quaternion Quaternion::rot2theta(Vector const& u, Vector const& v) {
    return {u.dot(v), u.cross(v)};
}

Quaternion Quaternion::rot(Vector const& from, Vector const& to) {
    Vector bisector = from + to;
    if (bisector.lSqr() == 0.0) {
        bisector = perpendicular(from);
    }
    return rot2theta(from, bisector / std::sqrt(bisector.lSqr()));
}

Quaternion Quaternion::rot(Vector const& from, Vector const& to, double t) {
    Vector const w = from.cross(to);
    double const lengthSqr = w.lSqr();
    double const sine = std::sqrt(lengthSqr);
    double const angle = std::atan2(sine, from.dot(to));
    Vector const axis = lengthSqr == 0.0 ? Vector() : w / sine;
    return rot(from, turned(from, axis.cross(from), angle * t));
}

Quaternion Quaternion::rot(Vector const& fromA, Vector const& fromB, Vector const& toA, Vector const& toB,
                           double t) {
    Quaternion const swing = rot(fromA, toA, t);
    Vector const r1 = fromA.rot(swing);
    Vector const r2 = fromB.rot(swing);
    double const angle = std::atan2(r2.cross(toB).dot(r1), r2.dot(toB));
    Quaternion const twist = rot(r2, turned(r2, r1.cross(r2), angle * t));
    return twist * swing;
}

double Quaternion::sqr(double x) {
    return x * x;
}

Vector Vector::rot(Quaternion const& q) const {
    return (q * Quaternion(*this) * q.inverse()).getbcd();
}

} // namespace QELT::Geometry::ThreeDimensional
