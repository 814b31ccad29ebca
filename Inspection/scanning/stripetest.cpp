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

/// How the core's test fires its beams: from so high above the surface, so far along the line from the
/// middle of the quad.
constexpr double beamHeight = 10.0;
constexpr double shareOfQuadAlong = 0.25;

/// How far a beam is moved off a diagonal, in quads: far beyond rounding, and far from the next side.
constexpr double shareOfQuadAside = 1e-3;

/// The quads that the core's test visits on a line, towards growing u: the end is left out.
std::vector<GridIndex> quadsOn(GridLine const& line) {
    auto const [first, second] =
        line.second.getU() < line.first.getU() ? GridLine(line.second, line.first) : line;
    int const alongU = second.getU() - first.getU();
    int const alongV = second.getV() - first.getV();
    int const sign = alongV < 0 ? -1 : 1;
    bool const isSteep = alongU <= std::abs(alongV);
    std::int64_t const longSide = isSteep ? std::abs(alongV) : alongU;
    std::int64_t const shortSide = isSteep ? alongU : std::abs(alongV);
    std::vector<GridIndex> quads;
    for (std::int64_t i = 0; i < longSide; ++i) {
        auto const far = static_cast<int>(i);
        auto const near = static_cast<int>((2 * shortSide * i + longSide) / (2 * longSide));
        quads.emplace_back(first.getU() + (isSteep ? near : far),
                           first.getV() + sign * (isSteep ? far : near));
    }
    return quads;
}

/// The quad at which an element of the array stands that is at `quad` with its middle.
GridIndex quadOfElement(Grid const& grid, StripeArray const& array, GridLine const& line,
                        GridIndex const& quad, unsigned long element) {
    auto const elementCount = static_cast<int>(array.elementCount);
    double const width =
        static_cast<double>(array.elementCount) * array.pitch / std::sqrt(grid.getMinQuadArea());
    auto const across = (line.second - line.first).perp();
    auto const length = static_cast<int>(std::sqrt(static_cast<double>(across.lSqr())));
    int const offset = (static_cast<int>(element) - elementCount / 2) * (static_cast<int>(width) + 1);
    return quad + ((across * offset) / length) / elementCount;
}

bool meets(Grid& grid, GridIndex const& quad, Point const& origin, Vector const& direction) {
    auto const status = grid.getIntersection(origin, direction);
    return status.getIsValid() && status.getIndices() == quad;
}

/// What fired beams say about the line that they stand on.
struct BeamVerdict {
    bool failsHere = false;
    bool failsAside = false;
};

BeamVerdict fireBeam(Grid& grid, GridIndex const& quad, Vector const& along, Vector const& normal) {
    double const step = std::sqrt(grid.getMinQuadArea());
    Point const origin =
        grid.getMeanQuadPoint(quad) + (step * shareOfQuadAlong) * along + beamHeight * normal;
    if (meets(grid, quad, origin, -normal)) {
        return {};
    }
    Vector const aside = (step * shareOfQuadAside) * normal.cross(along);
    return {true,
            !meets(grid, quad, origin + aside, -normal) || !meets(grid, quad, origin + -aside, -normal)};
}

} // namespace

bool failsOnDiagonalsOnly(Grid& grid, StripeArray const& array, GridLine const& line) {
    auto const quads = quadsOn(line);
    bool anyFails = false;
    for (std::size_t i = 0; i + 2 < quads.size(); ++i) {
        Vector const normal = grid.getQuadUnitNormalVector(quads[i], true);
        Vector const way = grid.getMeanQuadPoint(quads[i + 1]) - grid.getMeanQuadPoint(quads[i]);
        Vector const along = way / std::sqrt(way.lSqr());
        for (unsigned long k = 0; k < array.elementCount; ++k) {
            BeamVerdict const verdict =
                fireBeam(grid, quadOfElement(grid, array, line, quads[i], k), along, normal);
            if (verdict.failsAside) {
                return false;
            }
            anyFails = anyFails || verdict.failsHere;
        }
    }
    return anyFails;
}

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
    StripeTestResult result = testStripes(grid, array, options.lineCount, options.seed);
    result.diagonalLineCount = static_cast<std::size_t>(
        std::count_if(result.failedLines.begin(), result.failedLines.end(),
                      [&](GridLine const& line) { return failsOnDiagonalsOnly(grid, array, line); }));
    return result;
}

} // namespace QELT::Inspection
