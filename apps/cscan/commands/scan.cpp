#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/drawnresult.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/measuringoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/measuredreport.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int largestOffset = 1000000;
constexpr unsigned long lastPosition = 31;

/// What the command line says of the grids, one list for each option.
struct GridLists {
    std::vector<std::string> files;
    std::vector<GridOffset> offsets;
    std::vector<unsigned long> groups;
    std::vector<unsigned long> active;
};

/// What CLI11 fills in.
struct RawScan {
    DrawnScanOptions options;
    double minHitRate = 0.0; ///< percent
    GridLists grids;
    Raster raster;
    RawMeasuring measuring;
};

GridOffset offsetIn(std::string_view text) {
    auto const numbers = wholeNumbersIn(text, "U,V");
    if (numbers[0] < 0 || numbers[1] < 0 || std::max(numbers[0], numbers[1]) > largestOffset) {
        throw UsageError("'" + std::string(text) + "' is not between 0 and " + std::to_string(largestOffset));
    }
    return {numbers[0], numbers[1]};
}

template <class Value>
void requireOneEach(char const* option, std::vector<Value> const& values, std::size_t gridCount) {
    if (!values.empty() && values.size() != gridCount) {
        throw UsageError(std::string(option) + ": given " + std::to_string(values.size()) + " times for " +
                         std::to_string(gridCount) + (gridCount == 1 ? " grid" : " grids"));
    }
}

std::vector<PlacedGrid> placedGrids(GridLists const& lists) {
    requireOneEach("--offset", lists.offsets, lists.files.size());
    requireOneEach("--group", lists.groups, lists.files.size());
    requireOneEach("--active", lists.active, lists.files.size());
    std::vector<PlacedGrid> grids;
    for (std::size_t i = 0; i < lists.files.size(); ++i) {
        PlacedGrid grid;
        grid.file = lists.files[i];
        grid.offset = lists.offsets.empty() ? grid.offset : lists.offsets[i];
        grid.group = lists.groups.empty() ? grid.group : lists.groups[i];
        grid.active = lists.active.empty() ? grid.active : lists.active[i];
        grids.push_back(grid);
    }
    return grids;
}

/// What is for measured shots would do nothing.
void requireBeamsAlone(CLI::App const& command) {
    for (CLI::Option const* const option : command.get_options()) {
        if (option->get_group() == measuringGroup && option->count() > 0) {
            throw UsageError("scan: " + option->get_name() + " goes with a table of shots");
        }
    }
}

DrawnScanOptions firingOptionsOf(RawScan const& raw, CLI::App const& command) {
    for (char const* const output : {"--csv", "--image"}) {
        if (command.count(output) == 0) {
            throw UsageError(std::string(output) + " is required");
        }
    }
    if (command.count("--standoff") > command.count("--raster")) {
        throw UsageError("scan: --standoff goes with --raster or a table of shots");
    }
    DrawnScanOptions options = raw.options;
    requireBeamsAlone(command);
    options.scan.frame = raw.measuring.options.shots.frame;
    if (options.scan.frame && !options.scan.beams) {
        throw UsageError(
            "scan: --frame goes with --beams or a table of shots; a raster is laid over the grid");
    }
    options.scan.grids = placedGrids(raw.grids);
    options.scan.isOnPlane = raw.grids.files.size() > 1 || command.count("--offset") > 0 ||
                             command.count("--group") > 0 || command.count("--active") > 0 ||
                             command.count("--position") > 0;
    if (command.count("--raster") > 0) {
        options.scan.raster = raw.raster;
    } else if (!options.scan.beams) {
        throw UsageError("scan: --beams, --raster or --data is required");
    }
    return options;
}

void addBeamOptions(CLI::App& scan, RawScan& raw) {
    CLI::Option* const beams =
        scan.add_option("--beams", raw.options.scan.beams,
                        "Beams to fire: a table with the heading ox,oy,oz,dx,dy,dz and a beam a line");
    CLI::Option* const raster =
        scan.add_option("--raster", "Fire a raster of parallel beams of this spacing");
    CLI::Option* const standoff = scan.add_option(
        "--standoff", "Distance of the raster from the part's bounding box, or with measured shots that "
                      "of the probe from the part");
    CLI::Option* const direction =
        scan.add_option("--direction", "Direction of the raster's beams, for example 0,0,-1");
    beams->type_name("BEAMS.csv")->excludes(raster);
    raster->type_name("STEP")->needs(standoff)->needs(direction);
    raster->check(reading(raw.raster.step, positiveNumberIn));
    standoff->type_name("D");
    standoff->check(reading(raw.raster.standoff, nonNegativeNumberIn));
    direction->type_name("X,Y,Z")->needs(raster);
    direction->check(reading(raw.raster.direction, directionIn));
}

/// An option that is given once for each grid, in their order.
template <class Value, class Read>
void addGridOption(CLI::App& scan, std::string const& name, std::string const& valueName,
                   std::vector<Value>& values, Read read, std::string const& description) {
    scan.add_option(name, description)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false)
        ->check(reading(values, read))
        ->type_name(valueName);
}

void addPlaneOptions(CLI::App& scan, RawScan& raw) {
    addGridOption(scan, "--offset", "U,V", raw.grids.offsets, offsetIn,
                  "Place of a grid in the scan plane, in quads; once for each GRID, in their order");
    addGridOption(
        scan, "--group", "I", raw.grids.groups, wholeNumberFrom(0),
        "Number of a grid's group; once for each GRID. The group that answered last is asked first");
    addGridOption(scan, "--active", "MASK", raw.grids.active, wholeNumberFrom(0),
                  "Sum of 2^P over the positions P, 0 to 31, at which a grid answers; once for each GRID");
    scan.add_option("--position", "Position of the inspection, 0 if not given")
        ->check(reading(raw.options.scan.position, wholeNumberFrom(0, lastPosition)))
        ->type_name("P");
}

void addSearchOptions(CLI::App& scan, ScanOptions& options) {
    std::map<std::string, BeamSearch> const searches{{"sure", BeamSearch::Sure}, {"walk", BeamSearch::Walk}};
    scan.add_option(
            "--search",
            "How a beam's quad is found: the first one along the beam (sure, if not given), or by the "
            "core's walk from the quad of the beam before, which can miss (walk)")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"sure", "walk"}))
        ->check(reading(options.search, oneOf(searches)));
    scan.add_flag("--compare", options.doCompare, "Search both ways and tell how the walk alone does");
    scan.add_flag("--flip-normals", options.doFlipNormals, "Take the grid's other side for the outside");
}

void addOutputOptions(CLI::App& scan, DrawnScanOptions& options) {
    scan.add_option("--csv", options.scan.hits,
                    "Table of hits to write: u,v,x,y,z,distance,angle,valid,state; the angle to the "
                    "surface's normal is in radians, pi is head-on; the state is hit, edge or miss")
        ->type_name("HITS.csv");
    scan.add_option("--image", options.imagePrefix,
                    "Images to write: PREFIX_distance.png, PREFIX_angle.png, PREFIX_coverage.png; of "
                    "measured shots PREFIX_VALUE.png for each value and PREFIX_states.png")
        ->type_name("PREFIX");
    scan.add_option(
            "--unit", options.unit,
            "The part's unit of length, for the labels; if not given, the one that the grid's record names")
        ->type_name("NAME");
}

/// Nothing was found where beams should meet the part: the probe was somewhere else, or the grid is.
ExitStatus verdictOn(std::ostream& output, ScanResult const& result, double minHitRate) {
    ScanStatistics const statistics = statisticsOf(result);
    double const hitRate = 100.0 * statistics.hitRate;
    if (statistics.hitCount > 0 && hitRate >= minHitRate) {
        return Success;
    }
    printItem(
        output, "verdict",
        "NOT fit: " +
            (statistics.hitCount == 0
                 ? std::string("no beam meets the grid; compare the beams with the box that 'cscan info' "
                               "tells of it")
                 : toFixedText(hitRate, 2) + " % of the beams hit, " + toShortText(minHitRate, 4) +
                       " % were asked for"));
    return NotFit;
}

void print(std::ostream& output, DrawnScanOptions const& options, DrawnScan const& drawn) {
    if (options.scan.isOnPlane) {
        printItem(output, "scan plane",
                  std::to_string(drawn.scan.surface.getWidth()) + " x " +
                      std::to_string(drawn.scan.surface.getHeight()) + " quads");
    }
    printScan(output, drawn.scan);
    printItem(output, "table", options.scan.hits.string());
    for (auto const& image : drawn.images) {
        printItem(output, "image", image.string());
    }
}

DrawnMeasuredScanOptions measuredOptionsOf(RawScan const& raw, CLI::App const& command) {
    DrawnMeasuredScanOptions drawn{measuringOptionsOf(raw.measuring, command), raw.options.imagePrefix};
    MeasuredScanOptions& options = drawn.scan;
    options.grids = placedGrids(raw.grids);
    options.position = raw.options.scan.position;
    if (raw.options.scan.doFlipNormals) {
        options.doFlipNormals = true;
    }
    options.unit = raw.options.unit;
    if (command.count("--standoff") > 0) {
        options.acceptance.standoff = raw.raster.standoff;
    }
    return drawn;
}

ExitStatus printMeasured(std::ostream& output, DrawnMeasuredScanOptions const& options,
                         DrawnMeasuredScan const& drawn) {
    MeasuredScan const& scan = drawn.scan;
    printMeasuredScan(output, scan);
    printItem(output, "result", options.scan.result.string());
    for (auto const& image : drawn.images) {
        printItem(output, "image", image.string());
    }
    std::string complaint;
    if (scan.countedShare() < leastCountedShare) {
        complaint = "only " + toShortText(100.0 * scan.countedShare(), 3) + " % of the shots count";
    } else if (!scan.isCoverageReached) {
        complaint = "less of the surface was reached than is required";
    } else if (!scan.isGapKept) {
        complaint = "a gap is longer than is allowed";
    }
    if (!complaint.empty()) {
        printItem(output, "verdict", "NOT fit: " + complaint);
    }
    return complaint.empty() ? Success : NotFit;
}

} // namespace

Command addScan(CLI::App& app) {
    auto const raw = std::make_shared<RawScan>();
    CLI::App* const scan =
        addCommand(app, "scan", "Fire beams at a grid and draw the C-scans, or place measured shots on it");
    scan->add_option("GRID", raw->grids.files, "Grid of the part, a .quads file; several share a scan plane")
        ->required();
    addPlaneOptions(*scan, *raw);
    addBeamOptions(*scan, *raw);
    addSearchOptions(*scan, raw->options.scan);
    addOutputOptions(*scan, raw->options);
    scan->add_option("--min-hit-rate", "End with status 3 if fewer percent of the beams hit")
        ->check(reading(raw->minHitRate, nonNegativeNumberIn))
        ->type_name("PERCENT");
    addMeasuringOptions(*scan, raw->measuring);
    Command const firing = commandOf(
        scan, [raw, scan] { return firingOptionsOf(*raw, *scan); }, drawScan,
        [raw](std::ostream& output, DrawnScanOptions const& options, DrawnScan const& drawn) {
            print(output, options, drawn);
            return verdictOn(output, drawn.scan.result, raw->minHitRate);
        });
    Command const measuring = commandOf(
        scan, [raw, scan] { return measuredOptionsOf(*raw, *scan); }, drawMeasuredScan, printMeasured);
    return {scan, [scan, firing, measuring] {
                return isMeasuring(*scan) ? measuring.request() : firing.request();
            }};
}

} // namespace cscan
