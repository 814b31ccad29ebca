#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// By which links the points of a cloud may still be joined: for each point its nearest others, the nearest
/// first, of which only the first `counts` are live.
struct NeighbourLinks {
    std::vector<std::vector<std::uint32_t>> nearest;
    std::vector<std::uint32_t> counts;

    /// The first of the closest pairs; none if no two points are apart.
    std::optional<std::pair<std::uint32_t, std::uint32_t>> closestPair;
};

/// Links each point with its nearest others; coincident points do not count.
NeighbourLinks linkNeighbours(Connectivity const& points);

/// Erases the first live link from a to b, if there is one.
void eraseLink(std::vector<std::vector<std::uint32_t>>& nearest, std::vector<std::uint32_t>& counts,
               std::uint32_t a, std::uint32_t b);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
