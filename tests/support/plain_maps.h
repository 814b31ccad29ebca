#pragma once

#include <array>
#include <cmath>
#include <cstddef>

/// Matrices, turns and quaternion products on plain arrays, written from their mathematical definitions.

namespace QELT::Testing {

using PlainVector = std::array<double, 3>;
using PlainMatrix = std::array<PlainVector, 3>;
using PlainQuaternion = std::array<double, 4>;

constexpr PlainMatrix plainIdentity = {{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};

inline PlainMatrix plainProduct(PlainMatrix const& left, PlainMatrix const& right) {
    PlainMatrix product{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            for (std::size_t k = 0; k < 3; ++k) {
                product[i][j] += left[i][k] * right[k][j];
            }
        }
    }
    return product;
}

inline PlainVector plainImage(PlainMatrix const& map, PlainVector const& vector) {
    PlainVector image{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            image[i] += map[i][k] * vector[k];
        }
    }
    return image;
}

inline double plainDot(PlainVector const& u, PlainVector const& v) {
    return u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
}

inline PlainVector plainCross(PlainVector const& u, PlainVector const& v) {
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

inline PlainVector plainUnit(PlainVector const& v) {
    double const length = std::sqrt(plainDot(v, v));
    return {v[0] / length, v[1] / length, v[2] / length};
}

/// The right-handed turn about a unit axis: cos I + sin [axis]x + (1 - cos) axis axis^T (Rodrigues).
inline PlainMatrix plainTurn(PlainVector const& axis, double angle) {
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    PlainMatrix const crossMatrix = {
        {{0.0, -axis[2], axis[1]}, {axis[2], 0.0, -axis[0]}, {-axis[1], axis[0], 0.0}}};
    PlainMatrix turn{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            turn[i][j] = c * plainIdentity[i][j] + s * crossMatrix[i][j] + (1.0 - c) * axis[i] * axis[j];
        }
    }
    return turn;
}

/// The Hamilton product from the table of the units 1, i, j, k: unit m times unit n is plus or minus unit m ^
/// n.
inline PlainQuaternion plainProduct(PlainQuaternion const& left, PlainQuaternion const& right) {
    constexpr std::array<std::array<double, 4>, 4> sign = {
        {{1.0, 1.0, 1.0, 1.0}, {1.0, -1.0, 1.0, -1.0}, {1.0, -1.0, -1.0, 1.0}, {1.0, 1.0, -1.0, -1.0}}};
    PlainQuaternion product{};
    for (std::size_t m = 0; m < 4; ++m) {
        for (std::size_t n = 0; n < 4; ++n) {
            product[m ^ n] += sign[m][n] * left[m] * right[n];
        }
    }
    return product;
}

} // namespace QELT::Testing
