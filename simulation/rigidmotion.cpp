#include "simulation/rigidmotion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

/// Below this cosine the second of three angles is a right angle, and the first and the third turn about the
/// same axis.
constexpr double smallestCosine = 1e-9;

} // namespace

Vector unitOf(Vector const& vector) {
    return vector / std::sqrt(vector.lSqr());
}

Vector Rotation::turned(Vector const& vector) const {
    return x * vector.getdX() + y * vector.getdY() + z * vector.getdZ();
}

Rotation Rotation::inverse() const {
    return {Vector(x.getdX(), y.getdX(), z.getdX()), Vector(x.getdY(), y.getdY(), z.getdY()),
            Vector(x.getdZ(), y.getdZ(), z.getdZ())};
}

Rotation Rotation::after(Rotation const& first) const {
    return {turned(first.x), turned(first.y), turned(first.z)};
}

Rotation rotationTo(Vector const& z, Vector const& x) {
    Rotation rotation;
    rotation.z = unitOf(z);
    rotation.y = unitOf(rotation.z.cross(x));
    rotation.x = rotation.y.cross(rotation.z);
    return rotation;
}

Rotation rotationZyx(double aboutZ, double aboutY, double aboutX) {
    double const ca = std::cos(aboutZ * degree);
    double const sa = std::sin(aboutZ * degree);
    double const cb = std::cos(aboutY * degree);
    double const sb = std::sin(aboutY * degree);
    double const cc = std::cos(aboutX * degree);
    double const sc = std::sin(aboutX * degree);
    return {Vector(ca * cb, sa * cb, -sb), Vector(ca * sb * sc - sa * cc, sa * sb * sc + ca * cc, cb * sc),
            Vector(ca * sb * cc + sa * sc, sa * sb * cc - ca * sc, cb * cc)};
}

std::array<double, 3> anglesZyxOf(Rotation const& rotation) {
    double const cosine = std::hypot(rotation.x.getdX(), rotation.x.getdY());
    double const aboutY = std::atan2(-rotation.x.getdZ(), cosine);
    if (cosine < smallestCosine) {
        return {std::atan2(-rotation.y.getdX(), rotation.y.getdY()) / degree, aboutY / degree, 0.0};
    }
    return {std::atan2(rotation.x.getdY(), rotation.x.getdX()) / degree, aboutY / degree,
            std::atan2(rotation.y.getdZ(), rotation.z.getdZ()) / degree};
}

std::array<double, 4> quaternionOf(Rotation const& r) {
    // Four times the square of each component; the largest is the one to divide by.
    std::array<double, 4> const squares{
        1.0 + r.x.getdX() + r.y.getdY() + r.z.getdZ(), 1.0 + r.x.getdX() - r.y.getdY() - r.z.getdZ(),
        1.0 - r.x.getdX() + r.y.getdY() - r.z.getdZ(), 1.0 - r.x.getdX() - r.y.getdY() + r.z.getdZ()};
    double const wx = r.y.getdZ() - r.z.getdY();
    double const wy = r.z.getdX() - r.x.getdZ();
    double const wz = r.x.getdY() - r.y.getdX();
    double const xy = r.x.getdY() + r.y.getdX();
    double const xz = r.z.getdX() + r.x.getdZ();
    double const yz = r.y.getdZ() + r.z.getdY();
    std::array<std::array<double, 4>, 4> const products{{{squares[0], wx, wy, wz},
                                                         {wx, squares[1], xy, xz},
                                                         {wy, xy, squares[2], yz},
                                                         {wz, xz, yz, squares[3]}}};
    auto const largest =
        static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
    std::array<double, 4> quaternion = products.at(largest);
    double const scale = (quaternion[0] < 0.0 ? -0.5 : 0.5) / std::sqrt(squares.at(largest));
    for (double& component : quaternion) {
        component *= scale;
    }
    return quaternion;
}

std::array<double, 3> rotationVectorOf(Rotation const& rotation) {
    auto const q = quaternionOf(rotation);
    double const sine = std::hypot(q[1], q[2], q[3]);
    double const factor = sine > 0.0 ? 2.0 * std::atan2(sine, q[0]) / sine : 2.0;
    return {q[1] * factor, q[2] * factor, q[3] * factor};
}

RigidMotion RigidMotion::inverse() const {
    Rotation const back = rotation.inverse();
    return {back, back.turned(-shift)};
}

RigidMotion RigidMotion::after(RigidMotion const& first) const {
    return {rotation.after(first.rotation), placed(first.shift)};
}

bool RigidMotion::isNone() const {
    return shift.lSqr() == 0.0 && rotation.x.getdX() == 1.0 && rotation.y.getdY() == 1.0 &&
           rotation.z.getdZ() == 1.0;
}

} // namespace QELT::Simulation
