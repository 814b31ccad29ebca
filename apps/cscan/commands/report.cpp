#include "Inspection/pages/report.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

ExitStatus print(std::ostream& output, ReportOptions const& options, Report const& report) {
    printItem(output, "page", options.page.string());
    printItem(output, "size", std::to_string(report.byteCount) + " bytes");
    printItem(output, "pictures", std::to_string(report.pictureCount));
    if (options.indications) {
        printItem(output, "indications", std::to_string(report.indicationCount));
    }
    for (CheckedInput const& input : report.inputs) {
        if (input.state == InputState::Changed) {
            printItem(output, "changed", input.name + " is not as it was when scanned");
        } else if (input.state == InputState::NotFound) {
            printItem(output, "not found", input.name + "; --inputs names the folder where it is");
        }
    }
    for (std::string const& misfit : report.misfits) {
        printItem(output, "misfit", misfit);
    }
    if (report.isAsRecorded()) {
        return Success;
    }
    printItem(output, "verdict", "NOT fit: the result, or what it was made of, is not as recorded");
    return NotFit;
}

} // namespace

Command addReport(CLI::App& app) {
    auto const options = std::make_shared<ReportOptions>();
    CLI::App* const report =
        addCommand(app, "report", "Write a result as a page for paper: figures, C-scans, limits, digests");
    report->add_option("RESULT", options->result, "Result of 'cscan scan --data'")->required();
    report->add_option("PAGE.html", options->page, "The page to write; a browser prints it on A4")
        ->required();
    report
        ->add_option("--fields", options->fields,
                     "What you tell of the inspection, a JSON object: part, drawing, serial, procedure, "
                     "operator, instrument, probe, reference, calibration, and any others")
        ->type_name("F.json");
    report
        ->add_option("--indications", options->indications,
                     "Table of indications that 'cscan indications' found in the result")
        ->type_name("INDICATIONS.csv");
    report
        ->add_option("--value", options->values,
                     "Value to show, such as amplitude or amplitude:max; may be repeated; all if not given")
        ->allow_extra_args(false)
        ->type_name("NAME");
    report
        ->add_option("--inputs", options->inputFolders,
                     "Folder in which the scan's inputs are looked for, besides that of the result; may be "
                     "repeated")
        ->allow_extra_args(false)
        ->type_name("FOLDER");
    return commandOf(
        report, [options] { return *options; }, QELT::Inspection::report, print);
}

} // namespace cscan
