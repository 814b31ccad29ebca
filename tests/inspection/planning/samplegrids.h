#pragma once

#include "Inspection/names.h"
#include "tests/support/gridfamilies.h"

#include <cmath>
#include <cstdint>

/// Grids on surfaces that are known in closed form.
namespace QELT::Inspection::Testing {

using QELT::Testing::makeGrid;

/// A square with corners at the origin and at (10, 10, 0), normals along z.
inline Grid plane(std::uint32_t quads = 20) {
    double const side = 10.0 / quads;
    return makeGrid(quads, quads, [&](int u, int v) { return Point(side * u, side * v, 0.0); });
}

/// Part of a cylinder about y, u along its arc of the given length, v along its axis over 6, normals away
/// from the axis, in quads of 0.1.
inline Grid arch(double radius, double arc) {
    auto const width = static_cast<std::uint32_t>(std::lround(arc * 10.0));
    return makeGrid(width, 60, [&](int u, int v) {
        double const angle = (0.1 * u - 0.5 * arc) / radius;
        return Point(radius * std::sin(angle), 0.1 * v, radius * std::cos(angle));
    });
}

inline double lengthOf(Vector const& vector) {
    return std::sqrt(vector.lSqr());
}

} // namespace QELT::Inspection::Testing
