#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/vector.h"

#include <array>

namespace QELT::Geometry::TwoDimensional {

/// The maps that have a name of their own. `Identity` is the only one supported.
enum DefaultLinearMaps : int { Identity = 0 };

/// A linear map of the plane; only the specialisation for `double` exists.
template <class T>
class LinearMap;

/// A linear map of the plane: a 2x2 matrix, kept by rows, that acts on column vectors. A map that is not
/// given its entries is the zero map, not the identity. Nothing checks for a singular map.
template <>
class QELT_EXPORT LinearMap<double> {
public:
    LinearMap() = default;

    /// The entries row by row.
    LinearMap(double m11, double m12, double m21, double m22);

    /// Throws "Unsupported linear map initialisation." for any value but `Identity`.
    LinearMap(DefaultLinearMaps defaultMap);

    /// As `setAsRotation`.
    LinearMap(double turnNumerator, double turnDenominator, double scale);

    LinearMap(LinearMap const& other) = default;

    LinearMap& operator=(LinearMap const& other) = default;

    virtual ~LinearMap() = default;

    /// A rotation by `turnNumerator / turnDenominator` of a full turn in the positive sense, followed by a
    /// uniform scale: (1, 4, 1) is the quarter turn that takes the u axis to the v axis.
    void setAsRotation(double turnNumerator, double turnDenominator, double scale);

    /// All four entries equal; a NaN entry equals nothing.
    bool operator==(LinearMap const& other) const;

    /// The composition that applies `right` first.
    LinearMap operator*(LinearMap const& right) const;
    LinearMap operator()(LinearMap const& right) const;

    Vector<double> operator*(Vector<double> const& vector) const;
    Vector<double> operator()(Vector<double> const& vector) const;

    LinearMap operator+(LinearMap const& other) const;
    LinearMap operator-(LinearMap const& other) const;

    /// The inverse map. The entries of a singular map's inverse are infinities or NaNs.
    LinearMap inverse() const;

private:
    double m11 = 0.0;
    double m12 = 0.0;
    double m21 = 0.0;
    double m22 = 0.0;
};

} // namespace QELT::Geometry::TwoDimensional

namespace QELT::Geometry::ThreeDimensional {

class Quaternion;

/// A linear map of space: a 3x3 matrix, kept by rows, that acts on column vectors. A map that is not given
/// its entries is the zero map, not the identity. Nothing checks for a singular map.
class QELT_EXPORT LinearMap {
public:
    /// The coordinate axis that a rotation turns about.
    enum RotationAxis : int { X = 0, Y = 1, Z = 2 };

    LinearMap() = default;

    /// The map that takes the three unit vectors to the given images: its columns.
    LinearMap(Vector const& column0, Vector const& column1, Vector const& column2);

    /// The rotation that `Quaternion::getRotation` gives.
    LinearMap(Quaternion const& quaternion);

    /// As `setRotation` of three axes.
    LinearMap(RotationAxis const* axes, Vector const& angles);

    LinearMap(LinearMap const& other) = default;

    LinearMap& operator=(LinearMap const& other) = default;

    virtual ~LinearMap() = default;

    void set(LinearMap const& other);

    /// Element access. With an index of 3 or more, reading gives 0 and writing does nothing.
    double get(unsigned long row, unsigned long column) const;
    void set(unsigned long row, unsigned long column, double value);
    void inc(unsigned long row, unsigned long column, double value);

    void setAsIdentity();

    /// Writes column i; does nothing when i is 3 or more.
    void setColumn(unsigned long i, Vector const& column);

    /// The part of column i that lies above the diagonal, with zeros below: column 0 gives (0, 0, 0), column
    /// 1 gives (m01, 0, 0), column 2 gives (m02, m12, 0). Zero when i is 3 or more. For a whole column apply
    /// the map to a unit vector.
    Vector getColumn(unsigned long i) const;

    /// The composition that applies `right` first.
    LinearMap operator*(LinearMap const& right) const;

    Vector operator*(Vector const& vector) const;
    Vector operator()(Vector const& vector) const;

    LinearMap operator-(LinearMap const& other) const;

    /// The determinant, the sum of the diagonal, and the matrix with rows for columns.
    double det() const;
    double trace() const;
    LinearMap transpose() const;

    /// The adjugate divided by the determinant. The entries of a singular map's inverse are infinities or
    /// NaNs.
    LinearMap inverse() const;

    /// The right-handed rotation about one axis, by an angle in radians. Throws "Invalid rotation axis." for
    /// a value that is no axis, and leaves the map as it was.
    void setRotation(RotationAxis axis, double angle);

    /// Three rotations in succession (Euler angles): about axes[0] by the first component of `angles`, then
    /// about axes[1] by the second, then about axes[2] by the third. The axes are those of the fixed frame,
    /// in any order, repeated or not. `axes` points to three values. Throws as the rotation about one axis
    /// does.
    void setRotation(RotationAxis const* axes, Vector const& angles);

    /// The derivative of the rotation about one axis by its angle. Throws as `setRotation` does.
    void setRotationDerivative(RotationAxis axis, double angle);

    /// The partial derivative of the three successive rotations by angle number `index`. Throws "Invalid
    /// derivative axis." when `index` is 3 or more, otherwise as `setRotation` does.
    void setRotationDerivative(unsigned long index, RotationAxis const* axes, Vector const& angles);

private:
    /// Element (row, column) is m[3 * row + column].
    std::array<double, 9> m{};
};

} // namespace QELT::Geometry::ThreeDimensional
