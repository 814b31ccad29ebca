#include "Inspection/parts/importpart.h"

#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

void print(std::ostream& output, ImportOptions const& options, ImportResult const& result) {
    output << options.out.string() << '\n';
    printCounts(output, result);
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

} // namespace

Command addImport(CLI::App& app) {
    auto const options = std::make_shared<ImportOptions>();
    CLI::App* const command =
        app.add_subcommand("import", "Make a part of STL, PLY, OFF, OBJ or a table ready");
    command
        ->add_option("IN", options->in,
                     "The part: STL, PLY, OFF, OBJ, 3MF, glTF, or a table of points (XYZ, CSV)")
        ->required();
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
    return commandOf(
        command, [options] { return *options; }, importPart, print);
}

} // namespace cscan
