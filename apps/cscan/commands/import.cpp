#include "Inspection/parts/importpart.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/partreport.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 6;

std::string inAndOut(std::size_t in, std::size_t out) {
    return std::to_string(in) + " in, " + std::to_string(out) + " out";
}

void printNotes(std::ostream& output, ImportResult const& result) {
    if (result.unusedCount > 0) {
        printItem(output, "note",
                  counted(result.unusedCount, "point belongs", "points belong") +
                      " to no polygon; so it is where a file was cut off");
    }
    if (result.crossingCount > 0) {
        printItem(output, "note",
                  counted(result.crossingCount, "polygon crosses itself", "polygons cross themselves") +
                      ": the triangles overlap");
    }
    if (result.liesFarOut()) {
        printItem(output, "note",
                  "coordinates go up to " + toShortText(result.reach, digits) + ", the part is " +
                      toShortText(result.size, digits) + " across: single precision has steps of " +
                      toShortText(result.floatStep, 2) + " there; move the part near the origin");
    }
}

void print(std::ostream& output, ImportOptions const& options, ImportResult const& result) {
    output << options.out.string() << '\n';
    printItem(output, "format", nameOf(result.format) + (result.isMesh ? ", a mesh" : ", points"));
    printItem(output, "points", inAndOut(result.pointsIn, result.pointsOut));
    if (result.weldTolerance) {
        printItem(output, "welded",
                  counted(result.weldedCount, "point", "points") + " within " +
                      toShortText(*result.weldTolerance, digits));
    }
    if (result.polygonCount > 0) {
        printItem(output, "polygons", std::to_string(result.polygonCount) + " in");
        printItem(output, "triangles", inAndOut(result.trianglesIn, result.trianglesOut));
        printItem(output, "left out",
                  counted(result.degenerateCount, "degenerate triangle", "degenerate triangles"));
    }
    if (result.repair) {
        printPartRepair(output, *result.repair);
    }
    printNotes(output, result);
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
    CLI::App* const command = app.add_subcommand("import", "Make a part of STL, PLY, OFF or OBJ ready");
    command->add_option("IN", options->in, "The part, an STL, PLY, OFF or OBJ file")->required();
    command
        ->add_option("OUT", options->out, "What to write: an .obj file for a mesh, an .xyz file for points")
        ->required();
    command->add_option("--scale", "What to multiply coordinates by")
        ->check(reading(options->scale, positiveNumberIn))
        ->type_name("F")
        ->default_str("1");
    command
        ->add_option(
            "--weld",
            "Points no farther apart become one, in the unit of OUT; if not given, STL alone is welded, "
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
    return commandOf(command, read, importPart, print);
}

} // namespace cscan
