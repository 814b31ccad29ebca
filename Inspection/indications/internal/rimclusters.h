#pragma once

#include "Inspection/indications/internal/unrolling.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// Which of several rims are chained by gaps below `gap` along the surface: for each rim the lowest number of
/// those that it hangs together with. Places whose normals differ by a right angle or more are on different
/// sides of the part and never near.
std::vector<std::uint32_t> clustersOf(std::vector<std::vector<Oriented>> const& rims, double gap);

} // namespace QELT::Inspection
