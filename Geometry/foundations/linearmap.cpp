#include "Geometry/foundations/linearmap.h"

#include "Geometry/foundations/angles.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/quaternion.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

// Matrices of the plane and of space, written out entry by entry so that each has one fixed order of
// evaluation.
//
// - The inverse is the adjugate divided by the determinant (Cramer's rule). There is no pivoting and no test
//   for a singular map, so no tolerance either: a map without an inverse gives infinities or NaNs, and one
//   close to that loses digits in the determinant's differences. Callers that must know look at `det`, or at
//   the result.
// - Three rotations in succession are the product of their matrices, the first angle's at the right: angles
//   about axes of the fixed frame, in any order. The derivative by one angle replaces that factor by its own
//   derivative.
// - A turn of the plane is given as a fraction of the full one, so that 1 of 4 is the quarter turn; its
//   cosine is 6e-17 and not 0, as the angle is rounded.
//
// Odd on purpose: `getColumn` reads what lies above the diagonal alone, which is what the interface has
// always given.

namespace QELT::Geometry::TwoDimensional {

LinearMap<double>::LinearMap(double entry11, double entry12, double entry21, double entry22)
    : m11(entry11), m12(entry12), m21(entry21), m22(entry22) {}

LinearMap<double>::LinearMap(DefaultLinearMaps defaultMap) {
    if (defaultMap != Identity) {
        throw std::runtime_error("Unsupported linear map initialisation.");
    }
    m11 = 1.0;
    m22 = 1.0;
}

LinearMap<double>::LinearMap(double turnNumerator, double turnDenominator, double scale) {
    setAsRotation(turnNumerator, turnDenominator, scale);
}

void LinearMap<double>::setAsRotation(double turnNumerator, double turnDenominator, double scale) {
    double const angle = turnNumerator * Angles::fullTurn / turnDenominator;
    m11 = std::cos(angle) * scale;
    m22 = m11;
    m21 = std::sin(angle) * scale;
    m12 = -std::sin(angle) * scale;
}

bool LinearMap<double>::operator==(LinearMap const& other) const {
    return m11 == other.m11 && m12 == other.m12 && m21 == other.m21 && m22 == other.m22;
}

LinearMap<double> LinearMap<double>::operator*(LinearMap const& right) const {
    return {m11 * right.m11 + m12 * right.m21, m11 * right.m12 + m12 * right.m22,
            m21 * right.m11 + m22 * right.m21, m21 * right.m12 + m22 * right.m22};
}

LinearMap<double> LinearMap<double>::operator()(LinearMap const& right) const {
    return *this * right;
}

Vector<double> LinearMap<double>::operator*(Vector<double> const& vector) const {
    double const dU = vector.getdU();
    double const dV = vector.getdV();
    return {m11 * dU + m12 * dV, m21 * dU + m22 * dV};
}

Vector<double> LinearMap<double>::operator()(Vector<double> const& vector) const {
    return *this * vector;
}

LinearMap<double> LinearMap<double>::operator+(LinearMap const& other) const {
    return {m11 + other.m11, m12 + other.m12, m21 + other.m21, m22 + other.m22};
}

LinearMap<double> LinearMap<double>::operator-(LinearMap const& other) const {
    return {m11 - other.m11, m12 - other.m12, m21 - other.m21, m22 - other.m22};
}

LinearMap<double> LinearMap<double>::inverse() const {
    double const det = m11 * m22 - m12 * m21;
    return {m22 / det, -(m12 / det), -(m21 / det), m11 / det};
}

} // namespace QELT::Geometry::TwoDimensional

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr std::uint32_t dimension = 3;

constexpr std::size_t elementIndex(std::uint32_t row, std::uint32_t column) {
    return std::size_t{dimension} * row + column;
}

/// The rotations or derivatives that the three angles stand for, the one that acts first at the right.
LinearMap composeInOrder(std::array<LinearMap, 3> const& factors) {
    return factors[2] * factors[1] * factors[0];
}

std::array<LinearMap, 3> rotationFactors(LinearMap::RotationAxis const* axes, Vector const& angles) {
    std::array<LinearMap, 3> factors;
    factors[0].setRotation(axes[0], angles.getdX());
    factors[1].setRotation(axes[1], angles.getdY());
    factors[2].setRotation(axes[2], angles.getdZ());
    return factors;
}

} // namespace

LinearMap::LinearMap(Vector const& column0, Vector const& column1, Vector const& column2) {
    setColumn(0, column0);
    setColumn(1, column1);
    setColumn(2, column2);
}

LinearMap::LinearMap(Quaternion const& quaternion) {
    quaternion.getRotation(*this);
}

LinearMap::LinearMap(RotationAxis const* axes, Vector const& angles) {
    setRotation(axes, angles);
}

void LinearMap::set(LinearMap const& other) {
    m = other.m;
}

double LinearMap::get(unsigned long row, unsigned long column) const {
    std::uint32_t const i = toUInt32(row);
    std::uint32_t const j = toUInt32(column);
    return i < dimension && j < dimension ? m[elementIndex(i, j)] : 0.0;
}

void LinearMap::set(unsigned long row, unsigned long column, double value) {
    std::uint32_t const i = toUInt32(row);
    std::uint32_t const j = toUInt32(column);
    if (i < dimension && j < dimension) {
        m[elementIndex(i, j)] = value;
    }
}

void LinearMap::inc(unsigned long row, unsigned long column, double value) {
    std::uint32_t const i = toUInt32(row);
    std::uint32_t const j = toUInt32(column);
    if (i < dimension && j < dimension) {
        m[elementIndex(i, j)] += value;
    }
}

void LinearMap::setAsIdentity() {
    m = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
}

void LinearMap::setColumn(unsigned long i, Vector const& column) {
    set(0, i, column.getdX());
    set(1, i, column.getdY());
    set(2, i, column.getdZ());
}

Vector LinearMap::getColumn(unsigned long i) const {
    std::uint32_t const column = toUInt32(i);
    Vector result;
    if (column >= dimension) {
        return result;
    }
    for (std::uint32_t row = 0; row < column; ++row) {
        result.set(row, m[elementIndex(row, column)]);
    }
    return result;
}

LinearMap LinearMap::operator*(LinearMap const& right) const {
    LinearMap product;
    for (std::uint32_t i = 0; i < dimension; ++i) {
        for (std::uint32_t j = 0; j < dimension; ++j) {
            product.m[elementIndex(i, j)] = m[elementIndex(i, 0)] * right.m[elementIndex(0, j)] +
                                            m[elementIndex(i, 1)] * right.m[elementIndex(1, j)] +
                                            m[elementIndex(i, 2)] * right.m[elementIndex(2, j)];
        }
    }
    return product;
}

Vector LinearMap::operator*(Vector const& vector) const {
    double const dX = vector.getdX();
    double const dY = vector.getdY();
    double const dZ = vector.getdZ();
    return {m[0] * dX + m[1] * dY + m[2] * dZ, m[3] * dX + m[4] * dY + m[5] * dZ,
            m[6] * dX + m[7] * dY + m[8] * dZ};
}

Vector LinearMap::operator()(Vector const& vector) const {
    return *this * vector;
}

LinearMap LinearMap::operator-(LinearMap const& other) const {
    LinearMap difference;
    for (std::size_t i = 0; i < m.size(); ++i) {
        difference.m[i] = m[i] - other.m[i];
    }
    return difference;
}

double LinearMap::det() const {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

double LinearMap::trace() const {
    return m[0] + m[4] + m[8];
}

LinearMap LinearMap::transpose() const {
    LinearMap result;
    result.m = {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
    return result;
}

LinearMap LinearMap::inverse() const {
    LinearMap result;
    result.m = {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
    double const determinant = det();
    for (double& element : result.m) {
        element /= determinant;
    }
    return result;
}

void LinearMap::setRotation(RotationAxis axis, double angle) {
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    switch (axis) {
    case X:
        m = {1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c};
        return;
    case Y:
        m = {c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c};
        return;
    case Z:
        m = {c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0};
        return;
    }
    throw std::runtime_error("Invalid rotation axis.");
}

void LinearMap::setRotation(RotationAxis const* axes, Vector const& angles) {
    *this = composeInOrder(rotationFactors(axes, angles));
}

void LinearMap::setRotationDerivative(RotationAxis axis, double angle) {
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    switch (axis) {
    case X:
        m = {0.0, 0.0, 0.0, 0.0, -s, -c, 0.0, c, -s};
        return;
    case Y:
        m = {-s, 0.0, c, 0.0, 0.0, 0.0, -c, 0.0, -s};
        return;
    case Z:
        m = {-s, -c, 0.0, c, -s, 0.0, 0.0, 0.0, 0.0};
        return;
    }
    throw std::runtime_error("Invalid rotation axis.");
}

void LinearMap::setRotationDerivative(unsigned long index, RotationAxis const* axes, Vector const& angles) {
    std::uint32_t const factor = toUInt32(index);
    if (factor >= dimension) {
        throw std::runtime_error("Invalid derivative axis.");
    }
    std::array<LinearMap, 3> factors = rotationFactors(axes, angles);
    factors[factor].setRotationDerivative(axes[factor], angles.get(factor));
    *this = composeInOrder(factors);
}

} // namespace QELT::Geometry::ThreeDimensional
