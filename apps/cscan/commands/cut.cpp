#include "Inspection/parts/tubecut.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/report.h"

#include <cmath>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr char const* axisNames = "xyz";

unsigned long axisIn(std::string_view name) {
    return static_cast<unsigned long>(name.at(0) - axisNames[0]);
}

void printPlane(std::ostream& output, CutPlane const& plane, TubeCut const& cut) {
    if (plane.isTurned) {
        printItem(output, "note",
                  std::string("the normal at the start points along -") + axisNames[cut.normalAxis]);
    }
    if (plane.slope != 0.0) {
        printItem(output, "note",
                  "points lie exactly in the plane of the cut; it was made to lean by " +
                      toShortText(std::abs(plane.slope), 2));
    }
}

void printCut(std::ostream& output, CutOptions const& options, CutResult const& result) {
    output << options.result.string() << '\n';
    printLoad(output, result.load);
    printMesh(output, result.part);
    printPlane(output, result.plane, options.cut);
    printItem(output, "cut file", result.cutFile.string());
}

void addDirectionOptions(CLI::App& command, TubeCut& cut) {
    CLI::IsMember const axes({"x", "y", "z"});
    std::map<std::string, bool> const metrics{{"min", false}, {"max", true}};
    command.add_option("--metric", "Start at the rim's least or greatest coordinate")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"min", "max"}))
        ->check(reading(cut.isFromGreatest, oneOf(metrics)))
        ->required();
    command.add_option("--axis", "Which coordinate that is; the cut runs on along this axis")
        ->type_name("TEXT")
        ->check(axes)
        ->check(reading(cut.axis, axisIn))
        ->required();
    command
        .add_option(
            "--across",
            "The axis along which the surface's normal points at the start, either way: the cut keeps to the "
            "plane of both axes")
        ->type_name("TEXT")
        ->check(axes)
        ->check(reading(cut.normalAxis, axisIn))
        ->required();
}

} // namespace

Command addCut(CLI::App& app) {
    auto const options = std::make_shared<CutOptions>();
    CLI::App* const command =
        addCommand(app, "cut", "Slit a tube from rim to rim, so that it can be prepared");
    addPartOptions(*command, "PART", options->part, "Mesh of the part: OBJ, STL, PLY or OFF");
    command
        ->add_option("OUT", options->result,
                     "Mesh to write, an OBJ file; the file with the cut goes beside it and must stay there")
        ->required();
    addDirectionOptions(*command, options->cut);
    return commandOf(
        command, [options] { return *options; }, cut, printCut);
}

} // namespace cscan
