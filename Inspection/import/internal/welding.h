#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// What welding leaves.
struct WeldedPoints {
    std::vector<std::array<double, 3>> points; ///< those kept, in their order, not moved
    std::vector<std::uint32_t> newIndices;     ///< for each of the old
};

/// Gives each point within `tolerance` of a kept one the number of that, of the first where there are
/// several; a point that is near none is kept. With 0 equal points become one.
WeldedPoints weld(std::vector<std::array<double, 3>> const& points, double tolerance);

} // namespace QELT::Inspection
