#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace QELT::Inspection {

/// The triangles of one polygon.
struct PolygonTriangles {
    std::vector<std::array<std::uint32_t, 3>> triangles; ///< two fewer than corners, wound as the polygon
    bool isSimple = true; ///< false where corners had to be cut off although others lay in the way
};

/// Cuts a polygon, which may be concave, into triangles of its own corners.
PolygonTriangles triangulate(std::span<std::uint32_t const> polygon,
                             std::vector<std::array<double, 3>> const& points);

} // namespace QELT::Inspection
