#include "Inspection/pages/view.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 3;
constexpr double percent = 100.0;

void printDrawnView(std::ostream& output, ViewOptions const& options, View const& view) {
    printItem(output, "page", options.output.string());
    printItem(output, "size", std::to_string(view.byteCount) + " bytes");
    printItem(output, view.kind == ViewedKind::OfPart ? "triangles" : "quads",
              std::to_string(view.quadCount));
    if (view.kind != ViewedKind::OfPart) {
        printItem(output, "values", std::to_string(view.valueCount));
    }
    if (options.indications) {
        printItem(output, "indications", std::to_string(view.indicationCount));
    }
    printItem(output, "places within", toShortText(view.placeError, digits));
    if (view.normalError) {
        printItem(output, "normals within", toShortText(*view.normalError, digits) + " degrees");
    }
    if (view.valueError) {
        printItem(output, "values within",
                  toShortText(percent * *view.valueError, digits) + " % of their range");
    }
}

void addTables(CLI::App& view, ViewOptions& options) {
    view.add_option("--indications", options.indications, "Table of indications to number and outline")
        ->type_name("INDICATIONS.csv");
    view.add_option("--shots", options.shots,
                    "Table of hits, as 'scan' writes it, to show where shots met the part")
        ->type_name("HITS.csv");
    view.add_option("--path", options.path,
                    "Table of poses to show: x,y,z or ox,oy,oz, and the direction dx,dy,dz")
        ->type_name("PATH.csv");
}

} // namespace

Command addView(CLI::App& app) {
    auto const options = std::make_shared<ViewOptions>();
    CLI::App* const view = addCommand(
        app, "view", "Write a page to look at a part and its C-scan in a browser: one file, no server");
    view->add_option("INPUT", options->input, "A result of 'scan', a .quads file or a part")->required();
    view->add_option("PAGE.html", options->output, "The page to write")->required();
    addTables(*view, *options);
    addFrameOption(*view, options->frame,
                   "takes the coordinates of a part and of --path to those of the part");
    view->add_option("--beam", "Diameter of the beam on the surface, for footprints")
        ->check(reading(options->beam, positiveNumberIn))
        ->type_name("D");
    std::map<std::string, PagePrecision> const precisions{{"16", PagePrecision::Steps16},
                                                          {"float32", PagePrecision::Float32}};
    view->add_option(
            "--precision",
            "How exactly the page holds its numbers: in 16 bits, its error told (16, if not given), or in "
            "single precision, for a page that may be several times as large (float32)")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"16", "float32"}))
        ->check(reading(options->precision, oneOf(precisions)));
    return commandOf(
        view, [options] { return *options; }, QELT::Inspection::view, printDrawnView);
}

} // namespace cscan
