#include "apps/cscan/commandline/repairoptions.h"

#include "apps/cscan/commandline/arguments.h"

#include <limits>
#include <optional>
#include <string_view>

namespace cscan {

namespace {

/// Covering a hole costs the cube of its sides; more are taken for a mistake.
constexpr unsigned long largestHole = 1000;

/// Nothing for what suits the cloud, 0 for no thinning.
std::optional<double> thinningIn(std::string_view text) {
    if (text == "auto") {
        return std::nullopt;
    }
    return text == "none" ? 0.0 : positiveNumberIn(text);
}

double longestSideIn(std::string_view text) {
    return text == "none" ? std::numeric_limits<double>::infinity() : positiveNumberIn(text);
}

} // namespace

std::vector<CLI::Option*> addRepairOptions(CLI::App& command, RepairOptions& repair) {
    return {
        command
            .add_option("--thin",
                        "Of a cloud: use points of at least this distance from each other; 'auto', the "
                        "default, thins clouds of dense lines and crowded ones, 'none' none")
            ->check(reading(repair.thinTo, thinningIn))
            ->type_name("D|auto|none"),
        command
            .add_option("--max-side",
                        "Of a cloud: leave out triangles with a side longer than this, which bridge gaps; "
                        "three times the spacing, four of scattered points, if it is not given; 'none' for "
                        "all that are built")
            ->check(reading(repair.longestSide, longestSideIn))
            ->type_name("L|none"),
        command
            .add_option("--fill-holes",
                        "Of a cloud: close holes of at most so many sides; if it is not given, those of 3 "
                        "and those no wider than the longest side allowed")
            ->check(reading(repair.largestHole, wholeNumberFrom(0, largestHole)))
            ->type_name("N")};
}

} // namespace cscan
