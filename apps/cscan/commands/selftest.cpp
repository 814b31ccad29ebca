#include "apps/cscan/commands/commands.h"
#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/files.h"
#include "apps/cscan/files/numbers.h"
#include "apps/cscan/grids/gridfile.h"
#include "apps/cscan/scanning/stripetest.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace cscan {

namespace {

constexpr std::size_t mostLinesShown = 10;

std::string lineText(GridLine const& line) {
    auto const text = [](GridIndex const& quad) {
        return "(" + std::to_string(quad.getU()) + ", " + std::to_string(quad.getV()) + ")";
    };
    return text(line.first) + " to " + text(line.second);
}

void requireRoom(Grid const& grid, StripeArray const& array, SelftestOptions const& options) {
    if (!hasRoomFor(grid, array, options.seed)) {
        throw Failure(options.grid.string() + ": no line with room for an array of " +
                      std::to_string(array.elementCount) + " beams at a pitch of " +
                      toShortText(array.pitch, 6) + " was found");
    }
}

void print(std::ostream& output, StripeTestResult const& result) {
    printItem(output, "beams", std::to_string(result.passCount + result.failureCount));
    printItem(output, "met their quad", std::to_string(result.passCount));
    printItem(output, "failed", std::to_string(result.failureCount));
    std::size_t const shownCount = std::min(result.failedLines.size(), mostLinesShown);
    for (std::size_t i = 0; i < shownCount; ++i) {
        printItem(output, "  on the line", lineText(result.failedLines[i]));
    }
    if (shownCount < result.failedLines.size()) {
        printItem(output, "  and on",
                  counted(result.failedLines.size() - shownCount, "more line", "more lines"));
    }
}

} // namespace

void runSelftest(SelftestOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.grid);
    Grid grid;
    loadGrid(grid, options.grid);
    StripeArray array;
    array.elementCount = options.elementCount;
    array.pitch = options.pitch ? *options.pitch : std::sqrt(grid.getMinQuadArea());
    display.setMessage("Looking for room...");
    requireRoom(grid, array, options);
    display.setMessage("Firing the array...");
    StripeTestResult const result = testStripes(grid, array, options.lineCount, options.seed);
    display.clear();
    printItem(output, "lines", std::to_string(options.lineCount));
    print(output, result);
    auto const onDiagonals = static_cast<std::size_t>(
        std::count_if(result.failedLines.begin(), result.failedLines.end(),
                      [&](GridLine const& line) { return failsOnDiagonalsOnly(grid, array, line); }));
    if (onDiagonals > 0) {
        printItem(
            output, "note",
            "on " + counted(onDiagonals, "line", "lines") +
                " every beam that failed stands exactly where the two triangles of its quad meet, and "
                "meets its quad from beside that place; a beam on such a side misses, the search is right");
    }
    if (onDiagonals < result.failedLines.size()) {
        throw Failure(options.grid.string() + ": the search failed on " +
                      counted(result.failedLines.size() - onDiagonals, "line", "lines") + " of " +
                      std::to_string(options.lineCount));
    }
}

} // namespace cscan
