#include "apps/cscan/commands/commandline.h"

#include "Inspection/import/xyzfile.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/commandparsers.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <utility>

namespace cscan {

namespace {

/// What CLI11 fills in where a text is to be checked. Numbers stay texts until then: its own conversion
/// follows the locale.
struct RawPrepare {
    PrepareOptions options;
    std::string quadArea;
    std::string mode;
    std::string flat;
    RawRepair repair;
    std::string extend;
    std::string smooth;
};

struct RawScan {
    ScanOptions options;
    std::vector<std::string> grids;
    std::vector<std::string> offsets;
    std::vector<std::string> groups;
    std::vector<std::string> active;
    std::string position;
    std::string beams;
    std::string rasterStep;
    std::string standoff;
    std::string direction;
};

/// More are taken for a mistake.
constexpr unsigned long mostExtensionPasses = 1000;
constexpr unsigned long mostSmoothingPasses = 1000;
constexpr int largestOffset = 1000000;

constexpr unsigned long lastPosition = 31;

PrepareOptions checkedPrepare(RawPrepare const& raw) {
    PrepareOptions options = raw.options;
    options.quadArea = positiveNumberFor("--quad-area", raw.quadArea);
    if (!isCloudFile(options.part) && !(raw.repair.longestSide + raw.repair.largestHole).empty()) {
        throw UsageError("prepare: --max-side and --fill-holes are for clouds");
    }
    options.repair = checkedRepair(raw.repair);
    // The outline of a surface through a cloud is too rough to be rolled out.
    bool const isPinned = raw.mode.empty() ? isCloudFile(options.part) : raw.mode == "pinned";
    options.mode = isPinned ? FlatteningMode::Pinned : FlatteningMode::Developable;
    if (!raw.flat.empty()) {
        options.flat = raw.flat;
    }
    if (!raw.extend.empty()) {
        options.extensionPasses = wholeNumberFor("--extend", raw.extend, 1, mostExtensionPasses);
    }
    if (!raw.smooth.empty()) {
        options.smoothingPasses = wholeNumberFor("--smooth", raw.smooth, 0, mostSmoothingPasses);
    }
    return options;
}

void requireOneEach(char const* option, std::vector<std::string> const& values, std::size_t gridCount) {
    if (!values.empty() && values.size() != gridCount) {
        throw UsageError(std::string(option) + ": given " + std::to_string(values.size()) + " times for " +
                         std::to_string(gridCount) + (gridCount == 1 ? " grid" : " grids"));
    }
}

GridOffset offsetFor(std::string const& text) {
    auto const numbers = wholeNumbersFor("--offset", text, "U,V");
    if (numbers[0] < 0 || numbers[1] < 0 || std::max(numbers[0], numbers[1]) > largestOffset) {
        throw UsageError("--offset: '" + text + "' is not between 0 and " + std::to_string(largestOffset));
    }
    return {numbers[0], numbers[1]};
}

std::vector<PlacedGrid> placedGrids(RawScan const& raw) {
    requireOneEach("--offset", raw.offsets, raw.grids.size());
    requireOneEach("--group", raw.groups, raw.grids.size());
    requireOneEach("--active", raw.active, raw.grids.size());
    std::vector<PlacedGrid> grids;
    for (std::size_t i = 0; i < raw.grids.size(); ++i) {
        PlacedGrid grid;
        grid.file = raw.grids[i];
        grid.offset = raw.offsets.empty() ? grid.offset : offsetFor(raw.offsets[i]);
        grid.group = raw.groups.empty() ? grid.group : wholeNumberFor("--group", raw.groups[i]);
        grid.active = raw.active.empty() ? grid.active : wholeNumberFor("--active", raw.active[i]);
        grids.push_back(grid);
    }
    return grids;
}

ScanOptions checkedScan(RawScan const& raw) {
    ScanOptions options = raw.options;
    options.grids = placedGrids(raw);
    options.isOnPlane = raw.grids.size() > 1 || !raw.offsets.empty() || !raw.groups.empty() ||
                        !raw.active.empty() || !raw.position.empty();
    if (!raw.position.empty()) {
        options.position = wholeNumberFor("--position", raw.position, 0, lastPosition);
    }
    if (!raw.beams.empty()) {
        options.beams = raw.beams;
    } else if (!raw.rasterStep.empty()) {
        options.raster = Raster{positiveNumberFor("--raster", raw.rasterStep),
                                nonNegativeNumberFor("--standoff", raw.standoff),
                                directionFor("--direction", raw.direction)};
    } else {
        throw UsageError("scan: --beams or --raster is required");
    }
    return options;
}

Command addDemo(CLI::App& app) {
    auto const options = std::make_shared<DemoOptions>();
    CLI::App* const demo = app.add_subcommand("demo", "Run the whole job on a built-in blade");
    options->directory = "cscan-demo";
    demo->add_option("DIR", options->directory, "Where its files go; made if it is not there")
        ->capture_default_str();
    return {demo, [options] { return *options; }};
}

Command addPrepare(CLI::App& app) {
    auto const raw = std::make_shared<RawPrepare>();
    CLI::App* const prepare = app.add_subcommand("prepare", "Turn a triangle mesh into a grid of quads");
    prepare
        ->add_option("PART", raw->options.part,
                     "Mesh of the part, an OBJ file, or a cloud of its points, an .xyz file")
        ->required();
    prepare->add_option("GRID", raw->options.grid, "Grid to write, a .quads file")->required();
    prepare->add_option("--quad-area", raw->quadArea, "Mean area of a quad, in the square of the part's unit")
        ->type_name("A")
        ->required();
    prepare
        ->add_option("--mode", raw->mode,
                     "What is fixed when the part is flattened: two points far apart on its rim (pinned), or "
                     "its whole outer rim, rolled out (developable); without it meshes are rolled out and "
                     "clouds pinned")
        ->check(CLI::IsMember({"pinned", "developable"}));
    addRepairOptions(*prepare, raw->repair);
    prepare->add_option("--flat", raw->flat, "Also write the mesh with its flat coordinates to this OBJ file")
        ->type_name("FLAT.obj");
    CLI::Option* const extend = prepare->add_option("--extend", raw->extend,
                                                    "Continue the surface by this many quads beyond its rim");
    extend->type_name("N");
    prepare->add_option("--smooth", raw->smooth, "Smooth the rim so often after each of them")
        ->type_name("M")
        ->needs(extend);
    return {prepare, [raw] { return checkedPrepare(*raw); }};
}

void addBeamOptions(CLI::App& scan, RawScan& raw) {
    CLI::Option* const beams = scan.add_option(
        "--beams", raw.beams, "Beams to fire: a table with the heading ox,oy,oz,dx,dy,dz and a beam a line");
    CLI::Option* const raster =
        scan.add_option("--raster", raw.rasterStep, "Fire a raster of parallel beams of this spacing");
    CLI::Option* const standoff =
        scan.add_option("--standoff", raw.standoff, "Distance of the raster from the part's bounding box");
    CLI::Option* const direction =
        scan.add_option("--direction", raw.direction, "Direction of the raster's beams, for example 0,0,-1");
    beams->type_name("BEAMS.csv")->excludes(raster);
    raster->type_name("STEP")->needs(standoff)->needs(direction);
    standoff->type_name("D")->needs(raster);
    direction->type_name("X,Y,Z")->needs(raster);
}

void addPlaneOptions(CLI::App& scan, RawScan& raw) {
    scan.add_option("--offset", raw.offsets,
                    "Place of a grid in the scan plane, in quads; once for each GRID, in their order")
        ->allow_extra_args(false)
        ->type_name("U,V");
    scan.add_option(
            "--group", raw.groups,
            "Number of a grid's group; once for each GRID. The group that answered last is asked first")
        ->allow_extra_args(false)
        ->type_name("I");
    scan.add_option("--active", raw.active,
                    "Sum of 2^P over the positions P, 0 to 31, at which a grid answers; once for each GRID")
        ->allow_extra_args(false)
        ->type_name("MASK");
    scan.add_option("--position", raw.position, "Position of the inspection, 0 if not given")->type_name("P");
}

Command addScan(CLI::App& app) {
    auto const raw = std::make_shared<RawScan>();
    CLI::App* const scan = app.add_subcommand("scan", "Fire beams at a grid and draw the C-scans");
    scan->add_option("GRID", raw->grids, "Grid of the part, a .quads file; several share a scan plane")
        ->required();
    addPlaneOptions(*scan, *raw);
    addBeamOptions(*scan, *raw);
    scan->add_option("--csv", raw->options.hits,
                     "Table of hits to write: u,v,x,y,z,distance,angle,valid; the angle to the surface's "
                     "normal is in radians, pi is head-on")
        ->type_name("HITS.csv")
        ->required();
    scan->add_option("--image", raw->options.imagePrefix,
                     "Images to write: PREFIX_distance.png, PREFIX_angle.png, PREFIX_coverage.png")
        ->type_name("PREFIX")
        ->required();
    raw->options.unit = "units";
    scan->add_option("--unit", raw->options.unit, "The part's unit of length, for the labels")
        ->type_name("NAME")
        ->capture_default_str();
    scan->add_flag("--flip-normals", raw->options.doFlipNormals,
                   "Take the grid's other side for the outside");
    return {scan, [raw] { return checkedScan(*raw); }};
}

Command addInfo(CLI::App& app) {
    auto const options = std::make_shared<InfoOptions>();
    CLI::App* const info = app.add_subcommand("info", "Tell what an OBJ or a .quads file holds");
    info->add_option("FILE", options->file, "The file")->required();
    return {info, [options] { return *options; }};
}

std::string oneLine(std::string text) {
    for (char& character : text) {
        character = character == '\n' || character == '\r' ? ' ' : character;
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

} // namespace

CommandLine parseCommandLine(int argumentCount, char const* const* arguments) {
    CLI::App app("Inspection of curved parts: from a triangle mesh to a C-scan.", "cscan");
    app.require_subcommand(1);
    std::vector<Command> commands{addDemo(app), addPrepare(app), addScan(app), addInfo(app)};
    for (Command& command : addCloudCommands(app)) {
        commands.push_back(std::move(command));
    }
    for (Command& command : addMeshCommands(app)) {
        commands.push_back(std::move(command));
    }
    for (Command& command : addGridCommands(app)) {
        commands.push_back(std::move(command));
    }
    try {
        app.parse(argumentCount, arguments);
    } catch (CLI::CallForHelp const&) {
        return {std::nullopt, app.help()};
    } catch (CLI::ParseError const& error) {
        throw UsageError(oneLine(error.what()));
    }
    auto const asked = std::find_if(commands.begin(), commands.end(),
                                    [](Command const& command) { return command.app->parsed(); });
    return {asked->options(), {}};
}

} // namespace cscan
