#include "Inspection/scanning/stripetest.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace QELT::Inspection {

namespace {

/// Of so many lines at least so few must have room. Each of the core's own lines then takes some ten
/// thousand draws at worst.
constexpr int trialCount = 50000;
constexpr int minWithRoom = 5;

/// A line of the grid and the array across it.
struct Trial {
    double startU = 0.0;
    double startV = 0.0;
    double alongU = 0.0; ///< from the start to the end
    double alongV = 0.0;
    double length = 0.0;
};

bool isOnSurface(Grid const& grid, double u, double v) {
    auto const extents = grid.getExtents();
    bool const isInside = u >= 0.0 && v >= 0.0 && u < static_cast<double>(extents.getdU()) &&
                          v < static_cast<double>(extents.getdV());
    return isInside && grid.getIsQuadValid(GridIndex(static_cast<int>(u), static_cast<int>(v)));
}

/// The core truncates towards the line, so this asks for no less room.
double roundedAway(double step) {
    return std::copysign(std::ceil(std::abs(step)), step);
}

/// Whether every element stands on the surface all along the line, on whichever side of it the longer half of
/// the array lies. The array's width is in quads.
bool hasRoom(Grid const& grid, Trial const& line, double width, unsigned long elementCount) {
    double const side = std::max(std::abs(line.alongU), std::abs(line.alongV));
    double const acrossU = -line.alongV / line.length;
    double const acrossV = line.alongU / line.length;
    for (double step = 0.0; step < side; step += 1.0) {
        double const u = line.startU + std::floor(step / side * line.alongU + 0.5);
        double const v = line.startV + std::floor(step / side * line.alongV + 0.5);
        for (unsigned long k = 0; k < elementCount; ++k) {
            unsigned long const middle = elementCount / 2;
            double const place = (static_cast<double>(k) - static_cast<double>(middle)) * width /
                                 static_cast<double>(elementCount);
            double const stepU = roundedAway(place * acrossU);
            double const stepV = roundedAway(place * acrossV);
            if (!isOnSurface(grid, u + stepU, v + stepV) || !isOnSurface(grid, u - stepU, v - stepV)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

bool hasRoomFor(Grid const& grid, StripeArray const& array, std::uint32_t seed) {
    auto const extents = grid.getExtents();
    double const quadStep = std::sqrt(grid.getMinQuadArea());
    double const width = static_cast<double>(array.elementCount) * array.pitch / quadStep + 1.0;
    auto const longest = static_cast<double>(extents.getdU() + extents.getdV());
    double const largestProduct = longest * static_cast<double>(array.elementCount) * width;
    if (extents.getdU() == 0 || extents.getdV() == 0 || !(width < longest) ||
        largestProduct > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    std::mt19937 random(seed);
    auto const draw = [&](unsigned long extent) { return static_cast<double>(random() % extent); };
    int withRoom = 0;
    for (int i = 0; i < trialCount && withRoom < minWithRoom; ++i) {
        Trial line{draw(extents.getdU()), draw(extents.getdV())};
        line.alongU = draw(extents.getdU()) - line.startU;
        line.alongV = draw(extents.getdV()) - line.startV;
        line.length = std::hypot(line.alongU, line.alongV);
        bool const isLong = std::max(std::abs(line.alongU), std::abs(line.alongV)) >= 2.0;
        withRoom += isLong && hasRoom(grid, line, width, array.elementCount) ? 1 : 0;
    }
    return withRoom >= minWithRoom;
}

StripeTestResult testStripes(Grid& grid, StripeArray const& array, unsigned long lineCount,
                             std::uint32_t seed) {
    std::srand(seed);
    StripeTestResult result;
    grid.testArrayStripes(lineCount, array.pitch, array.elementCount, result.passCount, result.failureCount,
                          result.failedLines);
    return result;
}

StripeTestResult selftest(SelftestOptions const& options, ProgressListener* listener) {
    requireReadable(options.grid);
    Grid grid;
    loadGrid(grid, options.grid);
    StripeArray array;
    array.elementCount = options.elementCount;
    array.pitch = options.pitch ? *options.pitch : std::sqrt(grid.getMinQuadArea());
    require(array.elementCount > 0 && array.pitch > 0.0,
            options.grid.string() + ": an array of " + std::to_string(array.elementCount) +
                " beams at a pitch of " + toShortText(array.pitch, 6) + " tests nothing");
    announce(listener, "Looking for room...");
    if (!hasRoomFor(grid, array, options.seed)) {
        throw Failure(options.grid.string() + ": no line with room for an array of " +
                      std::to_string(array.elementCount) + " beams at a pitch of " +
                      toShortText(array.pitch, 6) + " was found");
    }
    announce(listener, "Firing the array...");
    return testStripes(grid, array, options.lineCount, options.seed);
}

} // namespace QELT::Inspection
