#pragma once

#include "Inspection/export.h"

#include <array>

namespace QELT::Inspection {

/// Three coordinates in double precision.
using Triple = std::array<double, 3>;

/// A rotation in space, as a quaternion of unit length in doubles.
struct Turn {
    double w = 1.0; ///< cosine of half the angle
    double x = 0.0; ///< sine of half the angle times the axis
    double y = 0.0; ///< as x
    double z = 0.0; ///< as x

    /// First `other`, then this one.
    QELT_INSPECTION_EXPORT Turn operator*(Turn const& other) const;

    /// The vector turned.
    QELT_INSPECTION_EXPORT Triple operator*(Triple const& vector) const;
};

/// In degrees: about z, then about the y that has moved with it, then about the x that has moved with both.
/// The same as `c` about the fixed x, then `b` about the fixed y, then `a` about the fixed z.
QELT_INSPECTION_EXPORT Turn turnOfDegrees(double a, double b, double c);

/// About the vector, by its length in radians.
QELT_INSPECTION_EXPORT Turn turnOfRotationVector(Triple const& vector);

/// The matrix of a rotation, row by row, to a turn. Shepperd's method takes the largest of the four parts
/// first.
QELT_INSPECTION_EXPORT Turn turnOfMatrix(std::array<Triple, 3> const& rows);
QELT_INSPECTION_EXPORT std::array<Triple, 3> matrixOf(Turn const& turn);

/// The part `share` of the shorter way from one to the other, at constant speed.
QELT_INSPECTION_EXPORT Turn slerp(Turn const& from, Turn const& to, double share);

/// The same for directions of any length; the length changes linearly. Opposite ones have no way that is
/// the shorter, and the nearer of both is given.
QELT_INSPECTION_EXPORT Triple slerp(Triple const& from, Triple const& to, double share);

QELT_INSPECTION_EXPORT Triple operator+(Triple const& a, Triple const& b);
QELT_INSPECTION_EXPORT Triple operator-(Triple const& a, Triple const& b);
QELT_INSPECTION_EXPORT Triple operator*(double factor, Triple const& a);
/// The scalar product.
QELT_INSPECTION_EXPORT double dot(Triple const& a, Triple const& b);
/// The length.
QELT_INSPECTION_EXPORT double lengthOf(Triple const& a);

} // namespace QELT::Inspection
