#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;
using GridLine = std::pair<GridPoint, GridPoint>;

/// How far above the surface the beams start.
constexpr double beamHeight = 10.0;

/// How far along the line they are moved, in quads: off the quads' diagonals, unless the line steps along
/// them.
constexpr double shareOfQuadAlong = 0.25;

int getRandomIndex(std::uint32_t extent) {
    return static_cast<int>(static_cast<std::uint32_t>(std::rand()) % extent);
}

/// The quads on the way from a to b, towards growing u, without the end (Bresenham, "Algorithm for Computer
/// Control of a Digital Plotter", 1965).
std::vector<GridPoint> getRaster(GridPoint a, GridPoint b) {
    std::vector<GridPoint> raster;
    if (a == b) {
        return raster;
    }
    if (b.getU() < a.getU()) {
        std::swap(a, b);
    }
    int const dU = b.getU() - a.getU();
    int const absV = std::abs(b.getV() - a.getV());
    int const sign = b.getV() < a.getV() ? -1 : 1;
    bool const isSteep = dU <= absV;
    GridStep const along = isSteep ? GridStep(0, sign) : GridStep(1, 0);
    GridStep const across = isSteep ? GridStep(1, 0) : GridStep(0, sign);
    int const longSide = isSteep ? absV : dU;
    int const shortSide = isSteep ? dU : absV;
    int error = 2 * shortSide - longSide;
    GridPoint place = a;
    for (int i = 0; i < longSide; ++i) {
        raster.push_back(place);
        place += along;
        if (error >= 0) {
            place += across;
            error -= 2 * longSide;
        }
        error += 2 * shortSide;
    }
    return raster;
}

} // namespace

/// An array of beam positions across a line of the grid.
struct RectMesh::Stripe {
    GridLine line;
    std::vector<GridPoint> raster;
    GridStep perp;
    int perpLength;
    int span;
    int numberOfElements;

    int getOffset(int element) const {
        return wrappedProduct(wrappedDifference(element, numberOfElements / 2), span);
    }

    /// The quad beside one on the line at which an element of the array stands.
    GridPoint getCell(GridPoint const& q, int element) const {
        return q + ((perp * getOffset(element)) / perpLength) / numberOfElements;
    }
};

bool RectMesh::testArrayStripes(unsigned long numberOfTests, double elementPitch,
                                unsigned long numberOfElements, unsigned long& numberOfPasses,
                                unsigned long& numberOfFailures, std::vector<GridLine>& failedLines) {
    if (extents.u == 0 || extents.v == 0) {
        return failedLines.empty();
    }
    double const quadStep = std::sqrt(minQuadArea);
    double const span = static_cast<double>(toUInt32(numberOfElements)) * elementPitch / quadStep;
    Stripe stripe;
    stripe.span = wrappedSum(truncateToInt32(span), 1);
    stripe.numberOfElements = static_cast<int>(toUInt32(numberOfElements));
    for (std::uint32_t test = 0; test < toUInt32(numberOfTests); ++test) {
        drawStripe(stripe);
        if (!testStripe(stripe, quadStep, numberOfPasses, numberOfFailures)) {
            failedLines.push_back(stripe.line);
        }
    }
    return failedLines.empty();
}

/// Draws lines until one lies with the whole array on existing quads.
void RectMesh::drawStripe(Stripe& stripe) const {
    do {
        GridPoint a;
        GridPoint b;
        a.setV(getRandomIndex(extents.v));
        a.setU(getRandomIndex(extents.u));
        b.setV(getRandomIndex(extents.v));
        b.setU(getRandomIndex(extents.u));
        stripe.line = {a, b};
        stripe.raster = getRaster(a, b);
        stripe.perp = (b - a).perp();
        stripe.perpLength = truncateToInt32(std::sqrt(static_cast<double>(stripe.perp.lSqr())));
    } while (!getIsStripeOnSurface(stripe));
}

bool RectMesh::getIsStripeOnSurface(Stripe const& stripe) const {
    // On very large grids the squared length of a line can wrap around and leave no length.
    if (stripe.raster.size() < 2 || stripe.perpLength <= 0) {
        return false;
    }
    for (GridPoint const& q : stripe.raster) {
        if (!getIsQuadValid(q)) {
            return false;
        }
        for (int k = 0; k < stripe.numberOfElements; ++k) {
            if (!getIsQuadValid(stripe.getCell(q, k))) {
                return false;
            }
        }
    }
    return true;
}

/// Fires the beams of one line in scan order; whether each met its quad.
bool RectMesh::testStripe(Stripe const& stripe, double quadStep, unsigned long& numberOfPasses,
                          unsigned long& numberOfFailures) {
    bool isPassed = true;
    for (std::size_t i = 0; i + 2 < stripe.raster.size(); ++i) {
        GridPoint const& p = stripe.raster[i];
        Vector const normal = getQuadUnitNormalVector(p, true);
        Vector const way = getMeanQuadPoint(stripe.raster[i + 1]) - getMeanQuadPoint(p);
        Vector const axis = way / std::sqrt(way.lSqr());
        for (int k = 0; k < stripe.numberOfElements; ++k) {
            GridPoint const cell = stripe.getCell(p, k);
            Point const origin =
                getMeanQuadPoint(cell) + (quadStep * shareOfQuadAlong) * axis + beamHeight * normal;
            QuadIndicesIntersectionStatus const status = getIntersection(origin, -normal);
            bool const isHit = status.getIsValid() && status.getIndices() == cell;
            ++(isHit ? numberOfPasses : numberOfFailures);
            isPassed = isPassed && isHit;
        }
    }
    return isPassed;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
