#include "apps/cscan/commandline/repairoptions.h"

#include "apps/cscan/commandline/arguments.h"

namespace cscan {

namespace {

/// Covering a hole costs the cube of its sides; more are taken for a mistake.
constexpr unsigned long largestHole = 1000;

} // namespace

std::vector<CLI::Option*> addRepairOptions(CLI::App& command, RepairOptions& repair) {
    return {command
                .add_option("--max-side",
                            "Of a cloud: leave out triangles with a side longer than this, which bridge gaps")
                ->check(reading(repair.longestSide, positiveNumberIn))
                ->type_name("L"),
            command
                .add_option("--fill-holes",
                            "Of a cloud: close holes of at most so many sides; 3 if it is not given")
                ->check(reading(repair.largestHole, wholeNumberFrom(0, largestHole)))
                ->type_name("N")};
}

} // namespace cscan
