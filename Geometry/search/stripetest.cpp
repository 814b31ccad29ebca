#include "Geometry/search/internal/stripe.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <cmath>

// A test of the search by the search: beams of which it is known which quad they meet, in the order of a
// scan, so that the remembered quad and the walk are what is tried.
//
// 1. Draw the ends of a line, and draw again until the quads on its raster and those of the whole array
//    beside each of them exist.
// 2. At each quad of the raster but the last two, an element's quad lies across the line by its share of the
//    array's length, in whole numbers: perp times offset, by the length of perp, by the number of elements.
// 3. From the middle of that quad, up by `beamHeight` along the normal on the line and along the line by
//    `shareOfQuadAlong` of the smallest quad's side, fire back down; `getIntersection` must name the quad.
//
// The middle of a quad is on its diagonal, where no beam hits, hence the shift; half a quad would be its rim.
// On a line along the diagonals the shift stays on them, and failures there speak of that alone. The beam
// goes down the line's normal, not its own quad's: on strong curvature, high beams at the array's ends miss
// their quads for that reason, which a greater `beamHeight` makes worse. A line of two quads fires nothing
// and passes. The divisions truncate, so an array stands off-centre by up to an element. Cost: a search a
// beam, and for each line drawn the array's quads at each quad of its raster.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool RectMesh::testArrayStripes(
    unsigned long numberOfTests, double elementPitch, unsigned long numberOfElements,
    unsigned long& numberOfPasses, unsigned long& numberOfFailures,
    std::vector<std::pair<TwoDimensional::Point<int>, TwoDimensional::Point<int>>>& failedLines) {
    if (extents.u == 0 || extents.v == 0) {
        return failedLines.empty();
    }
    double const length = static_cast<double>(toUInt32(numberOfElements)) * elementPitch;
    int const span = wrappedSum(truncateToInt32(length / std::sqrt(minQuadArea)), 1);
    for (std::uint32_t test = 0; test < toUInt32(numberOfTests); ++test) {
        Stripe const stripe = Stripe::draw(*this, static_cast<int>(toUInt32(numberOfElements)), span);
        Stripe::Count const count = stripe.fire(*this);
        numberOfPasses += count.passes;
        numberOfFailures += count.failures;
        if (count.failures > 0) {
            failedLines.push_back(stripe.getLine());
        }
    }
    return failedLines.empty();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
