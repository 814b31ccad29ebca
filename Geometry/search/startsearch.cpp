#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

/// Beyond this squared distance from the target, 20 length units, a start is not trusted.
constexpr double trustedDistanceSqr = 400.0;

constexpr double startOfBatchDistanceSqr = 1000000.0;

/// Passes of a descent, besides one for each row and column of the grid: with a single sample it moves on by
/// one quad a pass. Extra passes that do not come nearer may lead it in a circle; without them each pass that
/// goes on comes strictly nearer, so it ends by itself.
constexpr std::uint64_t mostPasses = 65536;

/// Samples of a pass: a lattice of 1024 by 1024. More would find no better start.
constexpr std::uint32_t mostSamples = 1U << 20U;

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

/// Samples at the centres of a lattice of `side` by `side` cells in a box of that span around `centre`. Those
/// left over when their number is not a square stay at (0, 0).
void fillSamples(GridPoint const& centre, GridStep const& span, GridStep const& halfCell, int side,
                 std::vector<GridPoint>& samples) {
    GridPoint const corner = centre - GridStep(span.getdU() >> 1, span.getdV() >> 1);
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            int const index = j * side + i;
            samples[static_cast<std::size_t>(index)] = corner + getCellCentre(halfCell, i, j);
        }
    }
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

GridPoint RectMesh::getStartSearchPoint(Point const& target) const {
    GridPoint best(static_cast<int>(extents.u / 2), static_cast<int>(extents.v / 2));
    if (!getHasRows()) {
        return best;
    }
    double bestDistanceSqr = getPoint(best).dSqr(target);
    std::vector<GridPoint> samples(std::min(searchDivideByNTimes, mostSamples));
    int const side = truncateToInt32(std::sqrt(static_cast<double>(samples.size())));
    GridStep span(static_cast<int>(extents.u), static_cast<int>(extents.v));
    std::uint32_t doNMoreCount = 0;
    bool const canCircle = maxDoNMoreTimes > 0;
    std::uint64_t const limit = mostPasses + extents.u + extents.v;
    for (std::uint64_t pass = 0; !canCircle || pass < limit; ++pass) {
        GridStep const halfCell = getRoundedQuotient(span, 2 * side);
        fillSamples(best, span, halfCell, side, samples);
        bool hasInvalidQuad = false;
        bool const isCloser = getIsAnyQuadPointCloser(samples.data(), target, best, bestDistanceSqr,
                                                      hasInvalidQuad, doNMoreCount, samples.size());
        bool isRefinedCloser = false;
        if (hasInvalidQuad) {
            GridStep const halfSubCell = getRoundedQuotient(halfCell, side);
            for (GridPoint const& sample : samples) {
                auto const looks = getLooksAround(sample, halfCell, halfSubCell);
                bool isLookInvalid = false;
                isRefinedCloser |= getIsAnyQuadPointCloser(looks.data(), target, best, bestDistanceSqr,
                                                           isLookInvalid, doNMoreCount, looks.size());
            }
        }
        span = getRoundedQuotient(span, isRefinedCloser ? 2 * side : side);
        if (isCloser) {
            continue;
        }
        if (!(bestDistanceSqr > trustedDistanceSqr) || doNMoreCount >= maxDoNMoreTimes) {
            break;
        }
        ++doNMoreCount;
    }
    return best;
}

bool RectMesh::getIsAnyQuadPointCloser(GridPoint const* samples, Point const& target, GridPoint& best,
                                       double& bestDistanceSqr, bool& hasInvalidQuad,
                                       unsigned long doNMoreCount, unsigned long sampleCount) const {
    hasInvalidQuad = false;
    if (toUInt32(sampleCount) == 0) {
        return false;
    }
    GridPoint batchBest = samples[0];
    double batchBestDistanceSqr = startOfBatchDistanceSqr;
    bool isImproved = false;
    for (std::uint32_t i = 0; i < toUInt32(sampleCount); ++i) {
        if (!getIsQuadValid(samples[i])) {
            hasInvalidQuad = true;
            continue;
        }
        double const distanceSqr = getPoint(samples[i]).dSqr(target);
        if (i == 0 || batchBestDistanceSqr > distanceSqr) {
            batchBest = samples[i];
            batchBestDistanceSqr = distanceSqr;
        }
        if (bestDistanceSqr > distanceSqr) {
            bestDistanceSqr = distanceSqr;
            best = samples[i];
            isImproved = true;
        }
    }
    if (bestDistanceSqr > trustedDistanceSqr && !isImproved && toUInt32(doNMoreCount) < maxDoNMoreTimes) {
        best = batchBest;
        bestDistanceSqr = batchBestDistanceSqr;
    }
    return isImproved;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
