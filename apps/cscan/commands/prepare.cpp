#include "Inspection/grids/prepare.h"

#include "Inspection/import/xyzfile.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/repairoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

/// More are taken for a mistake.
constexpr unsigned long maxExtensionPasses = 1000;
constexpr unsigned long maxSmoothingPasses = 1000;

/// A map with more of its triangles turned over has come out badly.
constexpr double bearableFlippedShare = 0.02;

void printLoaded(std::ostream& output, PrepareOptions const& options, PrepareResult const& result) {
    output << options.part.string() << '\n';
    printItem(output, "load time", secondsText(result.loadSeconds));
    if (result.repair) {
        printRepair(output, *result.repair);
    }
    printMesh(output, result.part);
}

void printFlattened(std::ostream& output, PrepareOptions const& options, PrepareResult const& result) {
    output << (options.mode == FlatteningMode::Pinned ? "\nFlattened, pinned\n"
                                                      : "\nFlattened, developable\n");
    printItem(output, "flatten time", secondsText(result.flattening.seconds));
    for (std::string const& line : linesOf(result.flattening)) {
        printItem(output, "solver", line);
    }
    printFlat(output, result.flat);
    double const flippedShare =
        static_cast<double>(result.flat.flippedCount) / static_cast<double>(result.part.faceCount);
    if (flippedShare > bearableFlippedShare) {
        printItem(output, "note",
                  toFixedText(100.0 * flippedShare, 0) +
                      " % of the triangles are turned over and will leave holes; try the other --mode");
    }
}

void printSaved(std::ostream& output, PrepareOptions const& options, PrepareResult const& result) {
    output << '\n' << options.grid.string() << '\n';
    printItem(output, "resample time", secondsText(result.resampleSeconds));
    printGrid(output, result.grid);
    printNanNodes(output, result.nanNodes);
}

void printStage(std::ostream& output, PrepareStage stage, PrepareOptions const& options,
                PrepareResult const& result) {
    switch (stage) {
    case PrepareStage::Loaded:
        return printLoaded(output, options, result);
    case PrepareStage::Flattened:
        return printFlattened(output, options, result);
    case PrepareStage::FlatSaved:
        return printItem(output, "flat map", options.flat->string());
    case PrepareStage::Saved:
        return printSaved(output, options, result);
    }
}

/// The stages take their time: each is printed as soon as it is done.
void run(PrepareOptions const& options, Console& console) {
    prepare(options, &console.display, [&](PrepareStage stage, PrepareResult const& result) {
        console.display.clear();
        printStage(console.output, stage, options, result);
        console.output << std::flush;
    });
}

void addGridOptions(CLI::App& prepare, PrepareOptions& options) {
    prepare.add_option("--quad-area", "Mean area of a quad, in the square of the part's unit")
        ->check(reading(options.quadArea, positiveNumberIn))
        ->type_name("A")
        ->required();
    std::map<std::string, FlatteningMode> const modes{{"pinned", FlatteningMode::Pinned},
                                                      {"developable", FlatteningMode::Developable}};
    prepare
        .add_option("--mode",
                    "What is fixed when the part is flattened: two points far apart on its rim (pinned), or "
                    "its whole outer rim, rolled out (developable); without it meshes are rolled out and "
                    "clouds pinned")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"pinned", "developable"}))
        ->check(reading(options.mode, oneOf(modes)));
}

void addExtensionOptions(CLI::App& prepare, PrepareOptions& options) {
    CLI::Option* const extend =
        prepare.add_option("--extend", "Continue the surface by this many quads beyond its rim");
    extend->check(reading(options.extensionPasses, wholeNumberFrom(1, maxExtensionPasses)))->type_name("N");
    prepare.add_option("--smooth", "Smooth the rim so often after each of them")
        ->check(reading(options.smoothingPasses, wholeNumberFrom(0, maxSmoothingPasses)))
        ->type_name("M")
        ->needs(extend);
}

} // namespace

Command addPrepare(CLI::App& app) {
    auto const options = std::make_shared<PrepareOptions>();
    CLI::App* const prepare = app.add_subcommand("prepare", "Turn a triangle mesh into a grid of quads");
    prepare
        ->add_option("PART", options->part,
                     "Mesh of the part, an OBJ file, or a cloud of its points, an .xyz file")
        ->required();
    prepare->add_option("GRID", options->grid, "Grid to write, a .quads file")->required();
    addGridOptions(*prepare, *options);
    auto const repairs = addRepairOptions(*prepare, options->repair);
    prepare
        ->add_option("--flat", options->flat,
                     "Also write the mesh with its flat coordinates to this OBJ file")
        ->type_name("FLAT.obj");
    addExtensionOptions(*prepare, *options);
    auto const read = [options, prepare, repairs] {
        bool const isRepaired = std::any_of(repairs.begin(), repairs.end(),
                                            [](CLI::Option const* option) { return option->count() > 0; });
        if (isRepaired && !isCloudFile(options->part)) {
            throw UsageError("prepare: --thin, --max-side and --fill-holes are for clouds");
        }
        PrepareOptions result = *options;
        result.mode = prepare->count("--mode") > 0 ? options->mode : usualModeFor(options->part);
        return result;
    };
    return commandOf(prepare, read, run);
}

} // namespace cscan
