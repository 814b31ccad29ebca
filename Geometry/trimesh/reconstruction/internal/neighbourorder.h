#pragma once

#include "Geometry/spatial/nearestpoints.h"
#include "Geometry/trimesh/reconstruction/internal/cloudorder.h"
#include "Geometry/trimesh/reconstruction/internal/nearheap.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The nearest others of the points of a cloud, in the order in which a `MinHeap` over all others gives them
/// up, into which they came by their indices. Coincident points do not count.
class NeighbourOrder {
public:
    /// Another point by its rank in the cloud's order.
    struct Neighbour {
        double distanceSqr = 0.0;
        std::uint32_t rank = 0;
    };

    /// `newOrder` must outlive it.
    NeighbourOrder(CloudOrder const& newOrder, std::uint32_t newCount);

    /// Those of the point of this rank. Valid until the next call.
    std::span<Neighbour const> nearestOf(std::uint32_t rank);

private:
    using Found = std::vector<PointCloud::NearestPoints::Neighbour>;

    /// The vertices by their places, lowest first at each place: the coincident ones stand side by side.
    class Twins {
    public:
        explicit Twins(CloudOrder const& newOrder);

        std::span<std::uint32_t const> of(std::uint32_t rank) const;

    private:
        std::vector<std::uint32_t> vertices;
        std::vector<std::uint32_t> firstOf; ///< of each rank, where its place begins
        std::vector<std::uint32_t> endOf;
    };

    Found findWithEquals(std::uint32_t rank);
    void followHeap(std::uint32_t rank, Found const& near);
    void askHeap(std::uint32_t rank);
    Found scanUpTo(std::uint32_t rank, double limit) const;

    CloudOrder const& order;
    std::size_t count;
    std::size_t reach;                               ///< how many to search for at first; more than `count`
    std::optional<PointCloud::NearestPoints> search; ///< if all coordinates are finite
    std::optional<Twins> twins;                      ///< from the first tie on
    NearHeap heap;
    std::vector<Neighbour> nearest;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
