#pragma once

#include "tests/support/plain_connectivity.h"

#include "Geometry/foundations/point.h"

#include <array>
#include <cstdint>
#include <vector>

namespace QELT::Testing {

/// The vertices of the boundary loop through that vertex, in walking order.
std::vector<std::uint32_t> plainBoundaryLoop(PlainMesh const& mesh, std::uint32_t start);

/// The longest boundary loop, the first of equals. Vertices without a triangle have none.
std::vector<std::uint32_t> plainLongestLoop(PlainMesh const& mesh);

/// The positions along the longest loop of its four corners, by arrays of 1024 places.
std::array<std::uint32_t, 4> plainCornerPositions(PlainMesh const& mesh,
                                                  std::vector<std::uint32_t> const& loop);

struct PlainExtremes {
    bool isFound = false;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
};

PlainExtremes plainExtremePositions(PlainMesh const& mesh);

} // namespace QELT::Testing
