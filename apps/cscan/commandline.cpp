#include "apps/cscan/commandline.h"

#include "apps/cscan/numbers.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <string_view>

namespace cscan {

namespace {

double numberFor(char const* option, std::string_view text) {
    auto const number = parseNumber(text);
    if (!number) {
        throw UsageError(std::string(option) + ": '" + std::string(text) + "' is not a number");
    }
    return *number;
}

double positiveNumberFor(char const* option, std::string_view text) {
    double const number = numberFor(option, text);
    if (!(number > 0.0)) {
        throw UsageError(std::string(option) + ": '" + std::string(text) + "' is not above zero");
    }
    return number;
}

double nonNegativeNumberFor(char const* option, std::string_view text) {
    double const number = numberFor(option, text);
    if (number < 0.0) {
        throw UsageError(std::string(option) + ": '" + std::string(text) + "' is below zero");
    }
    return number;
}

Vector directionFor(char const* option, std::string_view text) {
    std::array<double, 3> components{};
    std::string_view rest = text;
    for (std::size_t i = 0; i < components.size(); ++i) {
        auto const comma = rest.find(',');
        bool const isLast = i + 1 == components.size();
        if (isLast != (comma == std::string_view::npos)) {
            throw UsageError(std::string(option) + ": '" + std::string(text) + "' is not of the form X,Y,Z");
        }
        components[i] = numberFor(option, rest.substr(0, comma));
        rest.remove_prefix(isLast ? rest.size() : comma + 1);
    }
    Vector const direction(components[0], components[1], components[2]);
    if (!(direction.lSqr() > 0.0) || !std::isfinite(direction.lSqr())) {
        throw UsageError(std::string(option) + ": '" + std::string(text) + "' has no usable length");
    }
    return direction;
}

/// What CLI11 fills in. Numbers stay texts until they are checked: its own conversion follows the locale.
struct RawOptions {
    DemoOptions demo;
    PrepareOptions prepare;
    ScanOptions scan;
    InfoOptions info;
    std::string quadArea;
    std::string mode = "developable";
    std::string flat;
    std::string beams;
    std::string rasterStep;
    std::string standoff;
    std::string direction;
};

CLI::App* addDemo(CLI::App& app, RawOptions& raw) {
    CLI::App* const demo = app.add_subcommand("demo", "Run the whole job on a built-in blade");
    raw.demo.directory = "cscan-demo";
    demo->add_option("DIR", raw.demo.directory, "Where its files go; made if it is not there")
        ->capture_default_str();
    return demo;
}

CLI::App* addPrepare(CLI::App& app, RawOptions& raw) {
    CLI::App* const prepare = app.add_subcommand("prepare", "Turn a triangle mesh into a grid of quads");
    prepare->add_option("PART", raw.prepare.part, "Mesh of the part, an OBJ file")->required();
    prepare->add_option("GRID", raw.prepare.grid, "Grid to write, a .quads file")->required();
    prepare->add_option("--quad-area", raw.quadArea, "Mean area of a quad, in the square of the part's unit")
        ->type_name("A")
        ->required();
    prepare
        ->add_option("--mode", raw.mode,
                     "What is fixed when the part is flattened: two points far apart on its rim (pinned), or "
                     "its whole outer rim, rolled out (developable)")
        ->check(CLI::IsMember({"pinned", "developable"}))
        ->capture_default_str();
    prepare->add_option("--flat", raw.flat, "Also write the mesh with its flat coordinates to this OBJ file")
        ->type_name("FLAT.obj");
    return prepare;
}

void addBeamOptions(CLI::App& scan, RawOptions& raw) {
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

CLI::App* addScan(CLI::App& app, RawOptions& raw) {
    CLI::App* const scan = app.add_subcommand("scan", "Fire beams at a grid and draw the C-scans");
    scan->add_option("GRID", raw.scan.grid, "Grid of the part, a .quads file")->required();
    addBeamOptions(*scan, raw);
    scan->add_option("--csv", raw.scan.hits,
                     "Table of hits to write: u,v,x,y,z,distance,angle,valid; the angle to the surface's "
                     "normal is in radians, pi is head-on")
        ->type_name("HITS.csv")
        ->required();
    scan->add_option("--image", raw.scan.imagePrefix,
                     "Images to write: PREFIX_distance.png, PREFIX_angle.png, PREFIX_coverage.png")
        ->type_name("PREFIX")
        ->required();
    raw.scan.unit = "units";
    scan->add_option("--unit", raw.scan.unit, "The part's unit of length, for the labels")
        ->type_name("NAME")
        ->capture_default_str();
    scan->add_flag("--flip-normals", raw.scan.doFlipNormals, "Take the grid's other side for the outside");
    return scan;
}

CLI::App* addInfo(CLI::App& app, RawOptions& raw) {
    CLI::App* const info = app.add_subcommand("info", "Tell what an OBJ or a .quads file holds");
    info->add_option("FILE", raw.info.file, "The file")->required();
    return info;
}

PrepareOptions checkedPrepare(RawOptions const& raw) {
    PrepareOptions options = raw.prepare;
    options.quadArea = positiveNumberFor("--quad-area", raw.quadArea);
    options.mode = raw.mode == "pinned" ? FlatteningMode::Pinned : FlatteningMode::Developable;
    if (!raw.flat.empty()) {
        options.flat = raw.flat;
    }
    return options;
}

ScanOptions checkedScan(RawOptions const& raw) {
    ScanOptions options = raw.scan;
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
    RawOptions raw;
    CLI::App const* const demo = addDemo(app, raw);
    CLI::App const* const prepare = addPrepare(app, raw);
    CLI::App const* const scan = addScan(app, raw);
    addInfo(app, raw);
    try {
        app.parse(argumentCount, arguments);
    } catch (CLI::CallForHelp const&) {
        return {std::nullopt, app.help()};
    } catch (CLI::ParseError const& error) {
        throw UsageError(oneLine(error.what()));
    }
    if (demo->parsed()) {
        return {raw.demo, {}};
    }
    if (prepare->parsed()) {
        return {checkedPrepare(raw), {}};
    }
    if (scan->parsed()) {
        return {checkedScan(raw), {}};
    }
    return {raw.info, {}};
}

} // namespace cscan
