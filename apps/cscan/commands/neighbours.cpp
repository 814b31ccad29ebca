#include "Inspection/parts/neighbours.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>

namespace cscan {

namespace {

void printNeighbours(std::ostream& output, NeighboursOptions const&,
                     std::vector<Neighbour> const& neighbours) {
    std::vector<std::vector<std::string>> table{{"point", "x", "y", "z", "distance"}};
    for (Neighbour const& neighbour : neighbours) {
        Point const& point = neighbour.point;
        table.push_back({std::to_string(neighbour.index + 1), toExactText(point.getX()),
                         toExactText(point.getY()), toExactText(point.getZ()),
                         toShortText(neighbour.distance, 6)});
    }
    printTable(output, table);
}

} // namespace

Command addNeighbours(CLI::App& app) {
    auto const options = std::make_shared<NeighboursOptions>();
    CLI::App* const neighbours = addCommand(
        app, "neighbours", "Find points of a cloud near a place; the search may miss some of the nearest");
    addPartOptions(*neighbours, "CLOUD", options->cloud,
                   "Points: XYZ, CSV, PLY, OFF, OBJ, or those of a mesh");
    neighbours->add_option("--at", "The place")
        ->check(reading(options->place, pointIn))
        ->type_name("X,Y,Z")
        ->required();
    neighbours->add_option("-k", "How many points")
        ->check(reading(options->count, wholeNumberFrom(1)))
        ->type_name("K")
        ->default_str(std::to_string(options->count));
    return commandOf(
        neighbours, [options] { return *options; }, findNeighbours, printNeighbours);
}

} // namespace cscan
