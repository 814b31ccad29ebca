#pragma once

#include "apps/cscan/commandline/options.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// The commands as the command line offers them, in files by what they work on.
namespace cscan {

struct Command {
    CLI::App* app = nullptr;          ///< owned by the program's parser
    std::function<Options()> options; ///< checks what was parsed; throws a `UsageError`
};

/// What is done to the surface through a cloud, as the command line has it.
struct RawRepair {
    std::string longestSide;
    std::string largestHole;
};

void addRepairOptions(CLI::App& app, RawRepair& raw);
RepairOptions checkedRepair(RawRepair const& raw);

/// fit, register, neighbours
std::vector<Command> addCloudCommands(CLI::App& app);

/// reconstruct, cut
std::vector<Command> addMeshCommands(CLI::App& app);

/// selftest, derive, footprint
std::vector<Command> addGridCommands(CLI::App& app);

} // namespace cscan
