#pragma once

#include "Geometry/geometry.h"

#include <cstddef>
#include <random>
#include <vector>

namespace Benchmarks {

/// Points spread evenly over the cube from -1 to 1, the same for the same arguments.
inline std::vector<QELT::Geometry::ThreeDimensional::Point> makeUniformCloud(std::size_t count,
                                                                             unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
    std::vector<QELT::Geometry::ThreeDimensional::Point> points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        double const x = coordinate(generator);
        double const y = coordinate(generator);
        double const z = coordinate(generator);
        points.emplace_back(x, y, z);
    }
    return points;
}

} // namespace Benchmarks
