#pragma once

#include "simulation/names.h"

#include <array>

namespace QELT::Simulation {

/// A vector of length 1 in the direction of one that has a length.
Vector unitOf(Vector const& vector);

/// A rotation by what becomes of the three axes: the columns of its matrix.
struct Rotation {
    Vector x{1.0, 0.0, 0.0};
    Vector y{0.0, 1.0, 0.0};
    Vector z{0.0, 0.0, 1.0};

    Vector turned(Vector const& vector) const;
    Rotation inverse() const;

    /// This rotation of what `first` gives.
    Rotation after(Rotation const& first) const;
};

/// The rotation that turns the z axis into `z`, and the x axis as near to `x` as that allows.
Rotation rotationTo(Vector const& z, Vector const& x);

/// By degrees about the moving axes z, then y, then x.
Rotation rotationZyx(double aboutZ, double aboutY, double aboutX);

/// The same rotation as numbers: degrees about the moving axes z, y, x, which are the degrees about the fixed
/// axes x, y, z in the other order; radians along an axis; and w, x, y, z of unit length with w not negative.
std::array<double, 3> anglesZyxOf(Rotation const& rotation);
std::array<double, 3> rotationVectorOf(Rotation const& rotation);
std::array<double, 4> quaternionOf(Rotation const& rotation);

/// A rotation, then a shift: takes places in one system of coordinates to another.
struct RigidMotion {
    Rotation rotation;
    Vector shift{0.0, 0.0, 0.0};

    Vector placed(Vector const& place) const { return rotation.turned(place) + shift; }

    RigidMotion inverse() const;
    RigidMotion after(RigidMotion const& first) const;
    bool isNone() const;
};

} // namespace QELT::Simulation
