#include "Geometry/search/internal/stripe.h"

#include "Geometry/foundations/element.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

/// How far above the surface the beams start.
constexpr double beamHeight = 10.0;

/// How far along the line they are moved, in quads: off the quads' diagonals, unless the line steps along
/// them.
constexpr double shareOfQuadAlong = 0.25;

int getRandomIndex(unsigned long extent) {
    return static_cast<int>(static_cast<std::uint32_t>(std::rand()) % toUInt32(extent));
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

Stripe::Stripe(GridPoint const& a, GridPoint const& b, int newNumberOfElements, int newSpan)
    : line(a, b),
      raster(getRaster(a, b)),
      perp((b - a).perp()),
      perpLength(truncateToInt32(std::sqrt(static_cast<double>(perp.lSqr())))),
      span(newSpan),
      numberOfElements(newNumberOfElements) {}

Stripe Stripe::draw(RectMesh const& grid, int newNumberOfElements, int newSpan) {
    auto const extents = grid.getExtents();
    while (true) {
        // The order of the four is part of which lines a seed gives.
        int const aV = getRandomIndex(extents.getdV());
        int const aU = getRandomIndex(extents.getdU());
        int const bV = getRandomIndex(extents.getdV());
        int const bU = getRandomIndex(extents.getdU());
        Stripe stripe({aU, aV}, {bU, bV}, newNumberOfElements, newSpan);
        if (stripe.getIsOnSurface(grid)) {
            return stripe;
        }
    }
}

bool Stripe::getIsOnSurface(RectMesh const& grid) const {
    // On very large grids the squared length of a line can wrap around and leave no length.
    if (raster.size() < 2 || perpLength <= 0) {
        return false;
    }
    for (GridPoint const& quad : raster) {
        if (!grid.getIsQuadValid(quad)) {
            return false;
        }
        for (int k = 0; k < numberOfElements; ++k) {
            if (!grid.getIsQuadValid(getCell(quad, k))) {
                return false;
            }
        }
    }
    return true;
}

/// How far from the line an element stands, in quads times the number of elements.
int Stripe::getOffset(int element) const {
    return wrappedProduct(wrappedDifference(element, numberOfElements / 2), span);
}

/// The quad beside one on the line at which an element of the array stands.
GridPoint Stripe::getCell(GridPoint const& quad, int element) const {
    return quad + ((perp * getOffset(element)) / perpLength) / numberOfElements;
}

Stripe::Count Stripe::fire(RectMesh& grid) const {
    double const quadStep = std::sqrt(grid.getMinQuadArea());
    Count count;
    for (std::size_t i = 0; i + 2 < raster.size(); ++i) {
        Vector const normal = grid.getQuadUnitNormalVector(raster[i], true);
        Vector const way = grid.getMeanQuadPoint(raster[i + 1]) - grid.getMeanQuadPoint(raster[i]);
        Vector const axis = way / std::sqrt(way.lSqr());
        for (int k = 0; k < numberOfElements; ++k) {
            GridPoint const cell = getCell(raster[i], k);
            Point const origin =
                grid.getMeanQuadPoint(cell) + (quadStep * shareOfQuadAlong) * axis + beamHeight * normal;
            QuadIndicesIntersectionStatus const status = grid.getIntersection(origin, -normal);
            bool const isHit = status.getIsValid() && status.getIndices() == cell;
            ++(isHit ? count.passes : count.failures);
        }
    }
    return count;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
