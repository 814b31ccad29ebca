#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

// The clouds of this task, whose points are floats. Each program that takes part gets the same.

namespace Benchmarks {

using Cloud = std::vector<std::array<float, 3>>;

/// Random places on a wave over the unit square.
inline Cloud makeScatter(std::size_t count) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> coordinate(0.0, 1.0);
    Cloud points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        double const x = coordinate(generator);
        double const y = coordinate(generator);
        double const z = 0.1 * std::sin(7.0 * x) * std::cos(5.0 * y);
        points.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
    return points;
}

/// A square lattice in the plane of about so many points, row by row.
inline Cloud makeLattice(std::size_t count) {
    auto const side = static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(count))));
    Cloud points;
    points.reserve(side * side);
    for (std::size_t j = 0; j < side; ++j) {
        for (std::size_t i = 0; i < side; ++i) {
            points.push_back({static_cast<float>(i), static_cast<float>(j), 0.0F});
        }
    }
    return points;
}

} // namespace Benchmarks
