#include "Geometry/foundations/affinemap.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr std::size_t matrixWidth = 4;
constexpr std::size_t dimension = 3;
constexpr std::size_t translationColumn = 3;

using Matrix = std::array<double, matrixWidth * matrixWidth>;

constexpr std::size_t at(std::size_t row, std::size_t column) {
    return matrixWidth * row + column;
}

} // namespace

AffineMap::AffineMap(LinearMap const& linearPart, Vector const& translationPart)
    : linearMap(linearPart), translation(translationPart) {}

AffineMap::AffineMap(double const* matrix) {
    set(matrix);
}

void AffineMap::set(AffineMap const& other) {
    *this = other;
}

void AffineMap::set(double const* matrix) {
    for (std::size_t row = 0; row < dimension; ++row) {
        for (std::size_t column = 0; column < dimension; ++column) {
            linearMap.set(row, column, matrix[at(row, column)]);
        }
        translation.set(row, matrix[at(row, translationColumn)]);
    }
}

void AffineMap::get(double* matrix) const {
    for (std::size_t row = 0; row < dimension; ++row) {
        for (std::size_t column = 0; column < dimension; ++column) {
            matrix[at(row, column)] = linearMap.get(row, column);
        }
        matrix[at(row, translationColumn)] = translation.get(row);
    }
    std::fill_n(matrix + at(dimension, 0), dimension, 0.0);
    matrix[at(dimension, translationColumn)] = 1.0;
}

void AffineMap::setLinearMap(LinearMap const& linearPart) {
    linearMap = linearPart;
}

void AffineMap::setTranslation(Vector const& translationPart) {
    translation = translationPart;
}

Vector AffineMap::operator()(Vector const& vector) const {
    return linearMap * vector + translation;
}

AffineMap AffineMap::inverse() const {
    LinearMap const inverseLinearMap = linearMap.inverse();
    return {inverseLinearMap, inverseLinearMap * (-1.0 * translation)};
}

AffineMap AffineMap::operator*(AffineMap const& other) const {
    Matrix p;
    get(p.data());
    Matrix result;
    other.get(result.data());
    std::fill_n(result.begin(), matrixWidth, 0.0);
    for (std::size_t i = 0; i < dimension; ++i) {
        for (std::size_t j = 0; j < dimension; ++j) {
            result[at(i, j)] +=
                p[at(i, 0)] * p[at(0, j)] + p[at(i, 1)] * p[at(1, j)] + p[at(i, 2)] * p[at(2, j)];
        }
    }
    return AffineMap(result.data());
}

} // namespace QELT::Geometry::ThreeDimensional
