#include "Geometry/foundations/element.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/quadindicesellipseintersectioninfo.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/search/internal/conerays.h"
#include "Geometry/search/internal/dualbasis.h"

#include <array>

// The footprint of a spreading beam around one quad, to first order: the surface is taken to go on as the
// plane of that quad.
//
// 1. The beam's axis and four rays at its rim, along and against its two axes, cross the plane of the quad's
//    lower triangle. Lines, not half-lines: a plane behind the beam has a footprint as well.
// 2. The crossings become steps along the quad's edges, by the inner products with the basis dual to them,
//    times `unity`.
// 3. Numbers are truncated, not rounded as in the walk of a beam: the footprint errs towards the centre, by
//    less than a step of 1 / `unity` quads. A number of the centre is truncated before the quad's place is
//    added, so towards the quad's low corner from either side.
//
// No tolerance decides anything. The four half-axes are exact crossings and not fitted to an ellipse: on a
// plane tilted against the beam the two of a pair differ in length. A beam along the plane divides by zero;
// infinite numbers saturate and NaN gives 0. Cost: four nodes and five crossings.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

} // namespace

bool RectMesh::getConeIntersection(Point const& origin, Vector const& axisA, Vector const& axisB,
                                   double coneCotangent, double apertureRadius, GridPoint const& quad,
                                   int unity, QuadIndicesEllipseIntersectionInfo& info) const {
    std::array<Point, ConeRays::numberOfRays> hits;
    if (!getEllipseAxisPoints(origin, axisA, axisB, coneCotangent, apertureRadius, quad, hits[0], hits[1],
                              hits[2], hits[3], hits[4])) {
        return false;
    }
    auto const [alongU, alongV] = getQuadBasis(quad);
    DualBasis const dual(VectorPair(alongU, alongV));
    double const scale = unity;
    auto const toSteps = [&](Vector const& way) {
        DoublePair const steps = dual.getCoordinates(way) * DoublePair(scale);
        return GridStep(truncateToInt32(steps[0]), truncateToInt32(steps[1]));
    };
    GridPoint const corner(wrappedProduct(quad.getU(), unity), wrappedProduct(quad.getV(), unity));
    info = {corner + toSteps(hits[0] - getPoint(quad)),
            toSteps(hits[1] - hits[0]),
            toSteps(hits[2] - hits[0]),
            toSteps(hits[3] - hits[0]),
            toSteps(hits[4] - hits[0]),
            unity};
    return true;
}

bool RectMesh::getEllipseAxisPoints(Point const& origin, Vector const& axisA, Vector const& axisB,
                                    double coneCotangent, double apertureRadius, GridPoint const& quad,
                                    Point& centrePoint, Point& axisPointA1, Point& axisPointB1,
                                    Point& axisPointA2, Point& axisPointB2) const {
    if (!getIsQuadValid(quad)) {
        return false;
    }
    ConeRays const rays(origin, axisA, axisB, coneCotangent, apertureRadius);
    auto const crossings = rays.getCrossings(getPoint(quad), getQuadNormalVector(quad, true));
    centrePoint = crossings[0];
    axisPointA1 = crossings[1];
    axisPointB1 = crossings[2];
    axisPointA2 = crossings[3];
    axisPointB2 = crossings[4];
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
