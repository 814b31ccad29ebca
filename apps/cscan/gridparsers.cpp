#include "apps/cscan/arguments.h"
#include "apps/cscan/commandparsers.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace cscan {

namespace {

constexpr unsigned long mostLines = 1000000;
constexpr unsigned long mostElements = 1024;

struct RawSelftest {
    SelftestOptions options;
    std::string lines = "100";
    std::string elements = "16";
    std::string pitch;
    std::string seed = "1";
};

SelftestOptions checkedSelftest(RawSelftest const& raw) {
    SelftestOptions options = raw.options;
    options.lineCount = wholeNumberFor("--lines", raw.lines, 1, mostLines);
    options.elementCount = wholeNumberFor("--elements", raw.elements, 1, mostElements);
    options.seed = static_cast<std::uint32_t>(wholeNumberFor("--seed", raw.seed));
    if (!raw.pitch.empty()) {
        options.pitch = positiveNumberFor("--pitch", raw.pitch);
    }
    return options;
}

Command addSelftest(CLI::App& app) {
    auto const raw = std::make_shared<RawSelftest>();
    CLI::App* const test = app.add_subcommand(
        "selftest", "Test a grid's search: move an array of beams along random lines, each at a known quad");
    test->add_option("GRID", raw->options.grid, "Grid of the part, a .quads file")->required();
    test->add_option("--lines", raw->lines, "How many lines")->type_name("N")->capture_default_str();
    test->add_option("--elements", raw->elements, "Beams of the array")
        ->type_name("N")
        ->capture_default_str();
    test->add_option("--pitch", raw->pitch, "Between two beams; the side of the smallest quad if not given")
        ->type_name("P");
    test->add_option("--seed", raw->seed, "Choice of the lines")->type_name("N")->capture_default_str();
    return {test, [raw] { return checkedSelftest(*raw); }};
}

} // namespace

std::vector<Command> addGridCommands(CLI::App& app) {
    return {addSelftest(app)};
}

} // namespace cscan
