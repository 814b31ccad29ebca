#include "Geometry/search/internal/startdescent.h"

#include "Geometry/foundations/element.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/internal/quadreader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

// The distance from a grid's nodes to a target, brought down by sampling (a pattern search; of our own
// making). A pass
//
// 1. lays a lattice of samples, 2 by 2 by default, over a box around the best quad, at first the whole grid
//    around its middle, and takes the nearest existing quad strictly nearer than the best;
// 2. if a sample is no quad, looks four times around each sample too, since a hole can hide good quads;
// 3. divides the box by the lattice's side, twice that if a look of 2 came nearer, being finer already.
//
// A pass whose samples come no nearer ends the descent: on an even surface after about the logarithm of the
// extent. It answers with a local minimum, which a walk of the beam mends. Farther than `trustedDistanceSqr`
// it may take `RectMesh::maxDoNMoreTimes` extra passes, and escape to the best sample although that is
// farther away. A smaller limit escapes from good starts, a larger one keeps bad ones; with no extra passes,
// the default, it decides nothing. Extra passes over holes can circle, so `maxPasses` ends them far above
// what others take.
//
// Odd on purpose: the target is the beam's origin, its direction plays no part; the middle of the grid counts
// as a start without being tested; samples left over from a square stand at (0, 0) and take part; a look
// around a hole that comes nearer does not keep the descent going; an escape can take up the first sample
// even where it is no quad. Cost: a node for each sample and pass, five where there are holes; no memory up
// to `fewSamples`.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

/// Beyond this squared distance from the target, 20 length units, a start is not trusted.
constexpr double trustedDistanceSqr = 400.0;

/// An escape takes a sample other than the first only if it is nearer than this squared distance.
constexpr double escapeDistanceSqr = 1000000.0;

/// Passes of a descent that may circle, besides one for each row and column of the grid: with a single
/// sample it moves on by one quad a pass.
constexpr std::uint64_t maxPasses = 65536;

/// Samples of a pass: a lattice of 1024 by 1024. More would find no better start.
constexpr std::uint32_t maxSamples = 1U << 20U;

/// The side of the lattice of looks around a sample that may have fallen into a hole, and their number.
constexpr int sideOfLooks = 2;
constexpr std::size_t numberOfLooks = 4;

/// The step from the corner of a lattice of cells, whose half sizes are given, to the centre of one of them.
GridStep getCellCentre(GridStep const& halfCell, int i, int j) {
    return {wrappedProduct(halfCell.getdU(), 2 * i + 1), wrappedProduct(halfCell.getdV(), 2 * j + 1)};
}

GridStep getRoundedQuotient(GridStep const& span, int divisor) {
    return {roundToInt32(static_cast<double>(span.getdU()) / divisor),
            roundToInt32(static_cast<double>(span.getdV()) / divisor)};
}

std::array<GridPoint, numberOfLooks> getLooksAround(GridPoint const& sample, GridStep const& halfCell,
                                                    GridStep const& halfSubCell) {
    std::array<GridPoint, numberOfLooks> looks;
    for (int b = 0; b < sideOfLooks; ++b) {
        for (int a = 0; a < sideOfLooks; ++a) {
            int const index = sideOfLooks * b + a;
            looks[static_cast<std::size_t>(index)] = sample - halfCell + getCellCentre(halfSubCell, a, b);
        }
    }
    return looks;
}

} // namespace

StartDescent::StartDescent(QuadReader const& newQuads, Point const& newTarget)
    : quads(newQuads), target(newTarget) {
    std::size_t const count = std::min(RectMesh::searchDivideByNTimes, maxSamples);
    if (count > few.size()) {
        many.resize(count);
    }
    samples = many.empty() ? std::span(few).first(count) : std::span(many);
    side = truncateToInt32(std::sqrt(static_cast<double>(count)));
    span = {quads.getExtentU(), quads.getExtentV()};
    best.quad = {static_cast<int>(static_cast<std::uint32_t>(span.getdU()) / 2),
                 static_cast<int>(static_cast<std::uint32_t>(span.getdV()) / 2)};
    best.distanceSqr = quads.getPoint(best.quad).dSqr(target);
}

GridPoint StartDescent::descend() {
    bool isGoingOn = true;
    for (std::uint64_t passesLeft = getMaxPasses(); isGoingOn && passesLeft > 0; --passesLeft) {
        HalfCell const halfCell = getRoundedQuotient(span, 2 * side);
        fillSamples(halfCell);
        Look const look = lookAt(quads, samples, target, best, getCanEscape());
        best = look.best;
        bool const isRefined = look.hasInvalidQuad && lookAroundSamples(halfCell);
        span = getRoundedQuotient(span, isRefined ? 2 * side : side);
        isGoingOn = look.isCloser || takeExtraPass();
    }
    return best.quad;
}

/// Without extra passes each pass that goes on comes strictly nearer, so the descent ends by itself.
std::uint64_t StartDescent::getMaxPasses() const {
    std::uint64_t const rows = static_cast<std::uint32_t>(quads.getExtentU());
    std::uint64_t const columns = static_cast<std::uint32_t>(quads.getExtentV());
    return RectMesh::maxDoNMoreTimes > 0 ? maxPasses + rows + columns
                                         : std::numeric_limits<std::uint64_t>::max();
}

bool StartDescent::getCanEscape() const {
    return extraPasses < RectMesh::maxDoNMoreTimes;
}

/// Whether a pass that came no nearer is followed by another one.
bool StartDescent::takeExtraPass() {
    if (!(best.distanceSqr > trustedDistanceSqr) || !getCanEscape()) {
        return false;
    }
    ++extraPasses;
    return true;
}

/// Samples at the centres of a lattice of cells in a box of the present span around the best quad. Those left
/// over when their number is not a square stay at (0, 0).
void StartDescent::fillSamples(HalfCell const& halfCell) {
    GridPoint const corner = best.quad - GridStep(span.getdU() >> 1, span.getdV() >> 1);
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            int const index = j * side + i;
            samples[static_cast<std::size_t>(index)] = corner + getCellCentre(halfCell, i, j);
        }
    }
}

/// Looks four times around each sample; whether any of these looks came nearer.
bool StartDescent::lookAroundSamples(HalfCell const& halfCell) {
    GridStep const halfSubCell = getRoundedQuotient(halfCell, side);
    bool isCloser = false;
    for (GridPoint const& sample : samples) {
        auto const looks = getLooksAround(sample, halfCell, halfSubCell);
        Look const look = lookAt(quads, looks, target, best, getCanEscape());
        best = look.best;
        isCloser = isCloser || look.isCloser;
    }
    return isCloser;
}

StartDescent::Look StartDescent::lookAt(QuadReader const& quads, std::span<GridPoint const> samples,
                                        Point const& target, Candidate const& best, bool canEscape) {
    Look look{best, false, false};
    if (samples.empty()) {
        return look;
    }
    Candidate escape{samples.front(), escapeDistanceSqr};
    GridPoint const* nearest = nullptr;
    double nearestDistanceSqr = best.distanceSqr;
    for (GridPoint const& sample : samples) {
        if (!quads.getIsValid(sample)) {
            look.hasInvalidQuad = true;
            continue;
        }
        double const distanceSqr = quads.getPoint(sample).dSqr(target);
        if (canEscape && (&sample == &samples.front() || escape.distanceSqr > distanceSqr)) {
            escape = {sample, distanceSqr};
        }
        bool const isNearer = nearestDistanceSqr > distanceSqr;
        nearest = isNearer ? &sample : nearest;
        nearestDistanceSqr = isNearer ? distanceSqr : nearestDistanceSqr;
    }
    if (nearest != nullptr) {
        look.best = {*nearest, nearestDistanceSqr};
        look.isCloser = true;
    }
    if (canEscape && !look.isCloser && look.best.distanceSqr > trustedDistanceSqr) {
        look.best = escape;
    }
    return look;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
