#include "Inspection/parts/reconstruction.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commandline/repairoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

void printReconstruct(std::ostream& output, ReconstructOptions const& options,
                      ReconstructResult const& result) {
    output << options.part.string() << '\n';
    printLoad(output, result.load);
    printItem(output, "time", secondsText(result.seconds));
    printRepair(output, result.repair);
    printMesh(output, result.part);
}

} // namespace

Command addReconstruct(CLI::App& app) {
    auto const options = std::make_shared<ReconstructOptions>();
    CLI::App* const command =
        addCommand(app, "reconstruct", "Build a triangle mesh through a cloud of points");
    addPartOptions(*command, "CLOUD", options->cloud, "Points of the part: XYZ, CSV, PLY, OFF or OBJ");
    command->add_option("OUT", options->part, "Mesh to write, an OBJ file")->required();
    addRepairOptions(*command, options->repair);
    return commandOf(
        command, [options] { return *options; }, reconstruct, printReconstruct);
}

} // namespace cscan
