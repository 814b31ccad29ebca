#include "Inspection/fits/registration.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <ostream>
#include <stdexcept>

namespace cscan {

namespace {

Registration registrationOf(std::vector<PointPair> const& pairs) {
    switch (pairs.size()) {
    case 3:
        return rigidRegistration(pairs);
    case 4:
        return affineRegistration(pairs);
    default:
        throw std::runtime_error("3 pairs of points (a rigid motion) or 4 (an affine map) expected, " +
                                 std::to_string(pairs.size()) + " found");
    }
}

std::string rowText(LinearMap const& map, unsigned long row) {
    return vectorText(Vector(map.get(row, 0), map.get(row, 1), map.get(row, 2)));
}

} // namespace

void runRegister(RegisterOptions const& options, std::ostream& output, ProgressDisplay&) {
    auto const pairs = readPairFile(options.pairs);
    Registration const registration = naming(options.pairs.string(), [&] { return registrationOf(pairs); });
    // Where the origin goes is the map's translation about the origin.
    Vector const translation = registration(Point()) - Point();
    printItem(output, "map", pairs.size() == 3 ? "rigid" : "affine");
    printItem(output, "matrix row 1", rowText(registration.map, 0));
    printItem(output, "matrix row 2", rowText(registration.map, 1));
    printItem(output, "matrix row 3", rowText(registration.map, 2));
    printItem(output, "translation", vectorText(translation));
    printItem(output, "largest miss", toShortText(largestMiss(registration, pairs), 6));
    if (!registration.isSettled) {
        printItem(output, "note", "the descent did not come to rest within its limit of steps");
    }
}

} // namespace cscan
