#pragma once

#include "Geometry/geometry.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace Benchmarks {

struct ScannedPatch {
    std::vector<QELT::Geometry::ThreeDimensional::Point> points;
    std::vector<QELT::Geometry::ThreeDimensional::TriMesh::Face> faces;
};

/// What a scanner makes of a curved patch of 100 by 100: side * side points, each a little off, triangles
/// along diagonals of random direction.
inline ScannedPatch makeScannedPatch(std::uint32_t side) {
    std::mt19937 generator(7);
    double const step = 100.0 / (side - 1);
    auto const noise = [&] { return 0.3 * step * (static_cast<double>(generator()) / 4294967296.0 - 0.5); };
    ScannedPatch patch;
    for (std::uint32_t p = 0; p < side * side; ++p) {
        double const x = step * (p % side) + noise();
        double const y = step * (p / side) + noise();
        patch.points.emplace_back(x, y, 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y) + 0.1 * noise());
    }
    for (std::uint32_t p = 0; p + side < side * side; ++p) {
        if (p % side + 1 < side) {
            bool const isRising = generator() % 2 == 0;
            patch.faces.push_back({p, p + 1, isRising ? p + side + 1 : p + side});
            patch.faces.push_back({isRising ? p : p + 1, p + side + 1, p + side});
        }
    }
    return patch;
}

} // namespace Benchmarks
