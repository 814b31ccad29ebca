#pragma once

#include "Inspection/parts/surfacerepair.h"
#include "apps/cscan/names.h"

#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cscan {

/// Offers what can be done to the surface through a cloud; what the user asks for goes to `repair`. Gives the
/// options.
std::vector<CLI::Option*> addRepairOptions(CLI::App& command, RepairOptions& repair);

} // namespace cscan
