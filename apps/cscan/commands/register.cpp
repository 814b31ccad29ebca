#include "Inspection/fits/registration.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

std::string rowText(LinearMap const& map, unsigned long row) {
    return vectorText(Vector(map.get(row, 0), map.get(row, 1), map.get(row, 2)));
}

void printRegister(std::ostream& output, RegisterOptions const&, RegisterResult const& result) {
    LinearMap const& map = result.registration.map;
    printItem(output, "map", result.isRigid ? "rigid" : "affine");
    printItem(output, "matrix row 1", rowText(map, 0));
    printItem(output, "matrix row 2", rowText(map, 1));
    printItem(output, "matrix row 3", rowText(map, 2));
    printItem(output, "translation", vectorText(result.translation));
    printItem(output, "largest miss", toShortText(result.largestMiss, 6));
    if (!result.registration.isSettled) {
        printItem(output, "note", "the descent did not come to rest within its limit of steps");
    }
}

} // namespace

Command addRegister(CLI::App& app) {
    auto const options = std::make_shared<RegisterOptions>();
    CLI::App* const registration =
        app.add_subcommand("register", "Find the map that takes points to their places");
    registration
        ->add_option("PAIRS", options->pairs,
                     "A table with the heading sx,sy,sz,tx,ty,tz: three pairs for a rigid motion, four for "
                     "an affine map")
        ->required();
    return commandOf(
        registration, [options] { return *options; }, registerPoints, printRegister);
}

} // namespace cscan
