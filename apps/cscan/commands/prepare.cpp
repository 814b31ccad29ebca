#include "Inspection/import/part.h"
#include "Inspection/pictures/preparedgrid.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commandline/repairoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <ostream>
#include <string>

namespace cscan {

namespace {

/// More are taken for a mistake.
constexpr unsigned long maxExtensionPasses = 1000;
constexpr unsigned long maxSmoothingPasses = 1000;
constexpr unsigned long maxWidth = 1000000;

/// What CLI11 fills in.
struct RawPrepare {
    DrawnPrepareOptions options;
    FlatteningMode mode = FlatteningMode::Developable;
};

void printLoaded(std::ostream& output, DrawnPrepareOptions const& options, PrepareResult const& result) {
    output << options.prepare.part.string() << '\n';
    printItem(output, "load time", secondsText(result.loadSeconds));
    printLoad(output, result.load);
    if (result.repair) {
        printRepair(output, *result.repair);
    }
    printMesh(output, result.part);
}

void printCandidate(std::ostream& output, MapCandidate const& map, bool isChosen) {
    output << "\nFlattened, " << nameOf(map.mode) << (isChosen ? "\n" : " (not taken)\n");
    if (!map.isMade()) {
        return printItem(output, "refused", map.refusal);
    }
    printItem(output, "flatten time", secondsText(map.flattening.seconds));
    for (std::string const& line : linesOf(map.flattening)) {
        printItem(output, "solver", line);
    }
    printFlat(output, map.flat);
    printMapQuality(output, map.quality);
}

void printFlattened(std::ostream& output, PrepareResult const& result) {
    for (std::size_t i = 0; i < result.maps.size(); ++i) {
        printCandidate(output, result.maps[i], i == result.chosen);
    }
}

void printResampled(std::ostream& output, PrepareResult const& result) {
    output << "\nGrid\n";
    printItem(output, "resample time", secondsText(result.resampleSeconds));
    printItem(output, "pixel",
              toShortText(std::sqrt(result.sizes.mean), 4) + " " + result.unit + ", asked for " +
                  toShortText(std::sqrt(result.spacing.quadArea), 4));
    printGrid(output, result.grid);
    printQuadSizes(output, result.sizes);
    printNanNodes(output, result.nanNodes);
}

void printStage(std::ostream& output, PrepareStage stage, DrawnPrepareOptions const& options,
                PrepareResult const& result) {
    switch (stage) {
    case PrepareStage::Loaded:
        return printLoaded(output, options, result);
    case PrepareStage::Flattened:
        return printFlattened(output, result);
    case PrepareStage::FlatSaved:
        return printItem(output, "flat map", options.prepare.flat->string());
    case PrepareStage::Resampled:
        return printResampled(output, result);
    case PrepareStage::Saved:
        return printItem(output, "written to", options.prepare.grid.string());
    }
}

ExitStatus printVerdict(std::ostream& output, DrawnPreparation const& drawn) {
    for (auto const& image : drawn.images) {
        printItem(output, "image", image.string());
    }
    PrepareResult const& result = drawn.prepared;
    output << '\n';
    if (result.isFit()) {
        printItem(output, "verdict", "fit for inspection");
        return Success;
    }
    printItem(output, "verdict",
              result.isWritten ? "NOT fit for inspection, written since --accept was given"
                               : "NOT fit for inspection, not written (--accept writes it all the same)");
    for (Shortcoming const& shortcoming : result.shortcomings) {
        printItem(output, "  because", shortcoming.what);
        printItem(output, "  remedy", shortcoming.remedy);
    }
    return result.isWritten ? Success : NotFit;
}

/// The stages take their time: each is printed as soon as it is done.
ExitStatus run(DrawnPrepareOptions const& options, Console& console) {
    auto const drawn =
        drawPreparation(options, &console.display, [&](PrepareStage stage, PrepareResult const& result) {
            console.display.clear();
            printStage(console.output, stage, options, result);
            console.output << std::flush;
        });
    SignalWatch::stopEndingAtOnce();
    console.display.clear();
    return printVerdict(console.output, drawn);
}

void addResolutionOptions(CLI::App& prepare, PrepareOptions& options) {
    GridResolution& resolution = options.resolution;
    CLI::Option* const pixel = prepare.add_option(
        "--pixel", "Side of a pixel: the root of the quads' mean area, in the part's unit; without it, "
                   "--width or --quad-area, a round number that suits the part");
    CLI::Option* const width = prepare.add_option("--width", "Number of pixels along u instead");
    CLI::Option* const area =
        prepare.add_option("--quad-area", "Mean area of a quad instead, in the square of the part's unit");
    pixel->check(reading(resolution.pixel, positiveNumberIn))->type_name("P");
    width->check(reading(resolution.width, wholeNumberFrom(1, maxWidth)))->type_name("N");
    area->check(reading(resolution.quadArea, positiveNumberIn))->type_name("A");
    prepare
        .add_option(
            "--unit", options.unit,
            "The part's unit of length, for texts, labels and the record; if not given, the one that the "
            "part's file or its record names")
        ->type_name("NAME");
}

void addModeOptions(CLI::App& prepare, RawPrepare& raw) {
    std::map<std::string, FlatteningMode> const modes{{"pinned", FlatteningMode::Pinned},
                                                      {"developable", FlatteningMode::Developable},
                                                      {"auto", FlatteningMode::Developable}};
    prepare
        .add_option("--mode",
                    "What is fixed when the part is flattened: two points far apart on its rim (pinned), or "
                    "its whole outer rim, rolled out (developable); auto tries both and takes the map that "
                    "turns over fewer triangles, then the one truer to areas")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"auto", "pinned", "developable"}))
        ->check(reading(raw.mode, oneOf(modes)))
        ->default_str("auto");
    std::map<std::string, SolverKind> const solvers{{"direct", SolverKind::Direct},
                                                    {"cg", SolverKind::ConjugateGradients}};
    prepare
        .add_option("--solver",
                    "What solves for the flat map: a sparse factor (direct, if not given) or the library's "
                    "conjugate gradients (cg), which take long and can fail on rims of thousands of edges")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"direct", "cg"}))
        ->check(reading(raw.options.prepare.solver, oneOf(solvers)));
    prepare.add_flag("--accept", raw.options.prepare.isAccepted,
                     "Write a grid that is not fit for inspection, too");
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

void addOutputOptions(CLI::App& prepare, DrawnPrepareOptions& options) {
    prepare
        .add_option("--flat", options.prepare.flat,
                    "Also write the mesh with its flat coordinates to this OBJ file")
        ->type_name("FLAT.obj");
    prepare
        .add_option("--image", options.imagePrefix,
                    "Also draw the flat map, PREFIX_map.png, and the sizes of the pixels, PREFIX_pixels.png")
        ->type_name("PREFIX");
}

DrawnPrepareOptions optionsOf(RawPrepare const& raw, CLI::App const& prepare) {
    DrawnPrepareOptions options = raw.options;
    if (prepare.count("--pixel") + prepare.count("--width") + prepare.count("--quad-area") > 1) {
        throw UsageError("prepare: of --pixel, --width and --quad-area one is enough");
    }
    CLI::Option const* const mode = prepare.get_option("--mode");
    if (mode->count() > 0 && mode->results().front() != "auto") {
        options.prepare.mode = raw.mode;
    }
    return options;
}

} // namespace

Command addPrepare(CLI::App& app) {
    auto const raw = std::make_shared<RawPrepare>();
    PrepareOptions& options = raw->options.prepare;
    CLI::App* const prepare = addCommand(app, "prepare", "Turn a part into a grid of quads");
    addPartOptions(
        *prepare, "PART", options.part,
        "The part: a mesh (STL, PLY, OBJ, OFF, glTF, 3MF) or a cloud of its points (XYZ, CSV, PLY, "
        "OFF, OBJ)");
    prepare->add_option("GRID", options.grid, "Grid to write, a .quads file")->required();
    addResolutionOptions(*prepare, options);
    addModeOptions(*prepare, *raw);
    auto const repairs = addRepairOptions(*prepare, options.repair);
    addExtensionOptions(*prepare, options);
    addOutputOptions(*prepare, raw->options);
    auto const read = [raw, prepare, repairs] {
        bool const isRepaired = std::any_of(repairs.begin(), repairs.end(),
                                            [](CLI::Option const* option) { return option->count() > 0; });
        if (isRepaired && !isCloudPart(raw->options.prepare.part)) {
            throw UsageError("prepare: --thin, --max-side and --fill-holes are for clouds");
        }
        return optionsOf(*raw, *prepare);
    };
    return commandOf(prepare, read, run);
}

} // namespace cscan
