#include "Inspection/parts/partcheck.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/partreport.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

ExitStatus printCheck(std::ostream& output, CheckOptions const& options, CheckResult const& result) {
    output << options.part.string() << '\n';
    printItem(output, "format", nameOf(result.format) + (result.isMesh ? ", a mesh" : ", points"));
    printAnalysis(output, result.analysis);
    if (result.isMesh && result.canBePrepared()) {
        printSuggestion(output, result.analysis, result.mode);
    }
    printFaults(output, result.faults);
    printNextCommands(output, result.nextCommands);
    return result.canBePrepared() ? Success : NotFit;
}

} // namespace

Command addCheck(CLI::App& app) {
    auto const options = std::make_shared<CheckOptions>();
    CLI::App* const command =
        addCommand(app, "check", "Tell all that is wrong with a part, and what to do about it");
    addPartOptions(*command, "PART", options->part, "The part, of any format that import reads");
    command
        ->add_option("--pixel",
                     "Width of the quads that are planned, in the part's unit, to look for facets; "
                     "without it one is suggested")
        ->check(reading(options->pixel, positiveNumberIn))
        ->type_name("P");
    return commandOf(
        command, [options] { return *options; }, checkPart, printCheck);
}

} // namespace cscan
