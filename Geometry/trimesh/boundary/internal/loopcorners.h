#pragma once

#include "Geometry/trimesh/boundary/internal/boundaryloops.h"
#include "Geometry/trimesh/boundary/internal/sharpestturns.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The sharpest corners of a loop, no more than `capacity`, as their places on it; see `SharpestTurns`.
std::vector<std::uint32_t> getSharpestCorners(LoopPoints const& points, std::size_t capacity);

/// Two places on a loop; without two corners apart, the first and the third.
struct Diagonal {
    std::uint32_t from = 0;
    std::uint32_t to = 2;
};

/// The two corners farthest apart by that measure of two points, the first of equals with `to` in the outer
/// round and `from` in the inner.
template <class GetDistanceSqr>
Diagonal getLongestDiagonal(LoopPoints const& points, std::vector<std::uint32_t> const& corners,
                            GetDistanceSqr getDistanceSqr) {
    Diagonal diagonal;
    double greatest = 0.0;
    for (std::uint32_t const to : corners) {
        for (std::uint32_t const from : corners) {
            double const distanceSqr = getDistanceSqr(points.at(from), points.at(to));
            if (distanceSqr > greatest) {
                greatest = distanceSqr;
                diagonal = {from, to};
            }
        }
    }
    return diagonal;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
