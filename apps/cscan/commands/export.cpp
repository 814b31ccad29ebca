#include "Inspection/exports/exportresult.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

ColourLimits limitsIn(std::string_view text) {
    auto const numbers = numbersIn(text, "LOW,HIGH");
    if (!(numbers[0] < numbers[1])) {
        throw UsageError("'" + std::string(text) + "' is not from low to high");
    }
    return {numbers[0], numbers[1]};
}

void printExported(std::ostream& output, ExportOptions const& /*options*/, Exported const& exported) {
    printItem(output, "quads", std::to_string(exported.quads));
    for (std::string const& value : exported.values) {
        printItem(output, "value", value);
    }
    for (auto const& file : exported.files) {
        printItem(output, "file", file.string());
    }
}

} // namespace

Command addExport(CLI::App& app) {
    auto const options = std::make_shared<ExportOptions>();
    CLI::App* const command =
        addCommand(app, "export",
                   "Write a measured C-scan for other programs, as the name's end says: "
                   ".vts, .vtm, .ply, .npz or .tif");
    command->add_option("RESULT", options->result, "Measured C-scan, an HDF5 file")->required();
    command->add_option("OUT", options->output, "File to write")->required();
    command->add_option("--value", options->value, "The one value to export; all, if not given")
        ->type_name("NAME");
    command->add_option("--limits", "Where the colours of a .ply file begin and end, in the value's unit")
        ->check(reading(options->limits, limitsIn))
        ->type_name("LOW,HIGH");
    return commandOf(
        command, [options] { return *options; }, exportResult, printExported);
}

} // namespace cscan
