#pragma once

#include "Geometry/trimesh/reconstruction/internal/cloudorder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// With which others each point of a cloud may be joined: its 64 nearest, the nearest first, or all if there
/// are fewer. Coincident points do not count. Points go by their ranks in the cloud's order.
class NeighbourLinks {
public:
    /// With how many others a point may form triangles.
    static constexpr std::uint32_t numberOfNeighbours = 64;

    /// `order` must outlive the links.
    explicit NeighbourLinks(CloudOrder const& newOrder);

    std::span<std::uint32_t const> getNearest(std::uint32_t rank) const {
        return std::span(nearest).subspan(std::size_t{rank} * numberOfNeighbours, counts[rank]);
    }

    /// The first of the closest pairs, as vertices; none if no two points are apart.
    std::optional<std::pair<std::uint32_t, std::uint32_t>> getClosestPair() const { return closestPair; }

private:
    void findClosestPair(std::vector<double> const& leastDistances,
                         std::vector<std::uint32_t> const& closest);

    CloudOrder const& order;
    std::vector<std::uint32_t> nearest;
    std::vector<std::uint8_t> counts;
    std::optional<std::pair<std::uint32_t, std::uint32_t>> closestPair;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
