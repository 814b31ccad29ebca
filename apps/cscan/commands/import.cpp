#include "Inspection/parts/importpart.h"

#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/partreport.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

void printImport(std::ostream& output, ImportOptions const& options, ImportResult const& result) {
    output << options.out.string() << '\n';
    printCounts(output, result);
    if (result.repair) {
        printPartRepair(output, *result.repair);
    }
    printLoadNotes(output, result);
}

AxisMap axisMapIn(std::string_view text) {
    auto const map = parseAxisMap(text);
    if (!map) {
        throw UsageError("'" + std::string(text) + "' is not of the form x,-z,y: each axis once");
    }
    return *map;
}

void addPlaceOptions(CLI::App& command, ImportOptions& options) {
    command.add_option("--scale", "What to multiply coordinates by")
        ->check(reading(options.scale, positiveNumberIn))
        ->type_name("F")
        ->default_str("1");
    command
        .add_option("--map", "What the new x, y and z are taken from, such as x,-z,y; a mirror such as "
                             "-x,y,z turns the triangles, so that they face outward as before")
        ->check(reading(options.axes, axisMapIn))
        ->type_name("X,Y,Z")
        ->default_str("x,y,z");
    command.add_flag("--keep-place", options.keepsPlace,
                     "Leave a part where it is that lies so far from the origin that single precision "
                     "loses digits; else it is moved, and told by how much");
}

/// What is asked of a repair.
struct RepairArguments {
    bool isAsked = false;
    PartRepairOptions options;
};

void addPartRepairOptions(CLI::App& command, RepairArguments& repair) {
    constexpr unsigned long largestHole = 1000; // covering a hole costs the cube of its sides
    CLI::Option* const asked = command.add_flag(
        "--repair", repair.isAsked,
        "Weld, leave out unused, doubled and degenerate elements, turn windings to agree and take apart what "
        "meets in a point alone; no point is moved");
    command
        .add_flag("--keep-largest", repair.options.doKeepLargest,
                  "Of pieces that share no side keep the largest in area")
        ->needs(asked);
    command.add_option("--fill-holes", "Close holes of at most so many sides, but for the longest rim")
        ->check(reading(repair.options.largestHole, wholeNumberFrom(0, largestHole)))
        ->type_name("N")
        ->needs(asked);
}

} // namespace

Command addImport(CLI::App& app) {
    auto const options = std::make_shared<ImportOptions>();
    CLI::App* const command = addCommand(app, "import", "Make a part of any format ready");
    addPartOptions(*command, "IN", options->in,
                   "The part: STL, PLY, OFF, OBJ, glTF, 3MF, or a table of points (XYZ, CSV)");
    command
        ->add_option("OUT", options->out, "What to write: an .obj file for a mesh, an .xyz file for points")
        ->required();
    addPlaceOptions(*command, *options);
    command
        ->add_option(
            "--weld",
            "Points no farther apart become one, in the unit of OUT; if not given, STL and glTF are welded, "
            "within a millionth of the part's size")
        ->check(reading(options->weldTolerance, nonNegativeNumberIn))
        ->type_name("T");
    auto const repair = std::make_shared<RepairArguments>();
    addPartRepairOptions(*command, *repair);
    auto const read = [options, repair] {
        ImportOptions asked = *options;
        asked.repair = repair->isAsked ? std::optional(repair->options) : std::nullopt;
        return asked;
    };
    return commandOf(command, read, importPart, printImport);
}

} // namespace cscan
