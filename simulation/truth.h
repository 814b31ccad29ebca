#pragma once

#include "simulation/tables.h"

#include <string>

namespace QELT::Simulation {

/// All that is known of a simulated measurement, as JSON: flaws with centre, normal, half axes, area and
/// depth in the part's coordinates and millimetres, the instrument, the sweep, the cell's frame and tool, the
/// clocks, and what was lost.
std::string truthOf(Case const& setup, Measurement const& measurement, Cell const& cell);

} // namespace QELT::Simulation
