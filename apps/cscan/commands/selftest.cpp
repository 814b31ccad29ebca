#include "Inspection/records/failure.h"
#include "Inspection/scanning/stripetest.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr unsigned long maxLines = 1000000;
constexpr unsigned long maxElements = 1024;
constexpr std::size_t maxLinesShown = 10;

std::string lineText(GridLine const& line) {
    auto const text = [](GridIndex const& quad) {
        return "(" + std::to_string(quad.getU()) + ", " + std::to_string(quad.getV()) + ")";
    };
    return text(line.first) + " to " + text(line.second);
}

void printFailedLines(std::ostream& output, StripeTestResult const& result) {
    std::size_t const shownCount = std::min(result.failedLines.size(), maxLinesShown);
    for (std::size_t i = 0; i < shownCount; ++i) {
        printItem(output, "  on the line", lineText(result.failedLines[i]));
    }
    if (shownCount < result.failedLines.size()) {
        printItem(output, "  and on",
                  counted(result.failedLines.size() - shownCount, "more line", "more lines"));
    }
}

/// A test that failed ends the program as a failure does.
void printSelftest(std::ostream& output, SelftestOptions const& options, StripeTestResult const& result) {
    printItem(output, "lines", std::to_string(options.lineCount));
    printItem(output, "beams", std::to_string(result.passCount + result.failureCount));
    printItem(output, "met their quad", std::to_string(result.passCount));
    printItem(output, "failed", std::to_string(result.failureCount));
    printFailedLines(output, result);
    if (result.diagonalLineCount > 0) {
        printItem(
            output, "note",
            "on " + counted(result.diagonalLineCount, "line", "lines") +
                " every beam that failed stands exactly where the two triangles of its quad meet, and "
                "meets its quad from beside that place; a beam on such a side misses, the search is right");
    }
    if (result.diagonalLineCount < result.failedLines.size()) {
        throw Failure(options.grid.string() + ": the search failed on " +
                      counted(result.failedLines.size() - result.diagonalLineCount, "line", "lines") +
                      " of " + std::to_string(options.lineCount));
    }
}

} // namespace

Command addSelftest(CLI::App& app) {
    auto const options = std::make_shared<SelftestOptions>();
    CLI::App* const test =
        addCommand(app, "selftest",
                   "Test a grid's search: move an array of beams along random lines, each at a known quad");
    test->add_option("GRID", options->grid, "Grid of the part, a .quads file")->required();
    test->add_option("--lines", "How many lines")
        ->check(reading(options->lineCount, wholeNumberFrom(1, maxLines)))
        ->type_name("N")
        ->default_str(std::to_string(options->lineCount));
    test->add_option("--elements", "Beams of the array")
        ->check(reading(options->elementCount, wholeNumberFrom(1, maxElements)))
        ->type_name("N")
        ->default_str(std::to_string(options->elementCount));
    test->add_option("--pitch", "Between two beams; the side of the smallest quad if not given")
        ->check(reading(options->pitch, positiveNumberIn))
        ->type_name("P");
    auto const seedIn = [](std::string_view text) { return static_cast<std::uint32_t>(wholeNumberIn(text)); };
    test->add_option("--seed", "Choice of the lines")
        ->check(reading(options->seed, seedIn))
        ->type_name("N")
        ->default_str(std::to_string(options->seed));
    return commandOf(
        test, [options] { return *options; }, selftest, printSelftest);
}

} // namespace cscan
