#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The points of a cloud in an order of their places along a curve that fills space, so that near points
/// mostly lie near one another in memory as well. Work on all points that goes by this order finds what it
/// needs in the cache, in whatever order they were measured; no result depends on it. If a coordinate is not
/// finite, the order is that of the cloud.
struct CloudOrder {
    explicit CloudOrder(Connectivity const& cloud);

    std::uint32_t getNumberOfPoints() const { return static_cast<std::uint32_t>(points.size()); }

    std::vector<Point> points;           ///< by their rank in the order
    std::vector<std::uint32_t> vertexOf; ///< of each rank
    std::vector<std::uint32_t> rankOf;   ///< of each vertex
    bool isFinite = true;                ///< whether all coordinates are
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
