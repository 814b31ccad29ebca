#include "Geometry/search/internal/beamwalk.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/search/internal/dualbasis.h"
#include "Geometry/search/internal/quadcrossing.h"

#include <cmath>

// A walk in the manner of Newton's method, of our own making: the grid is taken as affine around the quad at
// hand, and one step goes all the way to where the beam would meet that affine grid.
//
// 1. Test the quad at hand (`RectMesh::getDoesIntersectQuad`). A hit ends the walk.
// 2. Project: the beam's line meets the plane of the quad's two edges in a foot; its distance from the quad's
//    centre, in the dual basis of the edges, rounded half up, is the step in quads. A step of zero ends the
//    walk: the beam meets an edge, or its foot lies beside the quad in what the edges span, or is NaN.
// 3. Land. Off the grid or in a hole, go back by bisection to the last existing quad found on the way.
//
// On a smooth surface it takes no step or one to a neighbour, and two or three across half a cap of a sphere
// of a million quads. Over folds the steps can go back and forth for ever: `maxSteps` ends that; a smaller
// number loses far beams on rough parts, a larger one costs time on such a miss. `maxLandingsOffGrid` in a
// row mean a beam beside the part; a smaller number gives up at holes that the walk would get over. Both
// decide which beams miss, and so belong to the results.
//
// Odd on purpose: the step is not damped, and the retreat after a hit, see `findHit`. A quad without area or
// a beam along its plane gives infinite or NaN steps; those saturate or become zero, and end by the same
// limits. A step costs four nodes, read once for the test and the projection; none allocates.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

constexpr int maxSteps = 32;

/// The walk gives up after so many steps in a row that land off the existing quads.
constexpr int maxLandingsOffGrid = 4;

} // namespace

bool BeamWalk::findHit(GridPoint const& start) {
    quad = start;
    QuadCorners corners = quads.getCorners(quad);
    for (int stepCount = 0; !getDoesMeetQuad(corners); ++stepCount) {
        GridStep const step = getStepToFoot(corners);
        if (stepCount == maxSteps || step.getIsNull()) {
            return false;
        }
        previous = quad;
        quad += step;
        landingsOffGrid = quads.getIsValid(quad) ? 0 : landingsOffGrid + 1;
        if (landingsOffGrid == maxLandingsOffGrid) {
            return false;
        }
        if (landingsOffGrid > 0) {
            retreat();
        }
        corners = quads.getCorners(quad);
    }
    // Only a landing on an existing quad ends being off the grid, a retreat does not. So a hit on the quad to
    // which the walk retreated moves back once more, by up to one quad in each direction, in what is reported
    // and in what is remembered.
    if (landingsOffGrid > 0) {
        retreat();
    }
    return true;
}

bool BeamWalk::getDoesMeetQuad(QuadCorners const& corners) {
    if (!quads.getIsValid(quad)) {
        return false;
    }
    QuadCrossing const crossing(corners, origin, direction);
    if (!crossing.getIsHit()) {
        return false;
    }
    hitPoint = crossing.getPoint();
    if (auto const measured = crossing.measure(corners, origin, direction, isFlipped)) {
        hitData = *measured;
    }
    return true;
}

/// From the quad at hand to the one under which the beam's line meets its plane.
GridStep BeamWalk::getStepToFoot(QuadCorners const& corners) const {
    Vector const alongU = corners.alongU() - corners.low();
    Vector const alongV = corners.alongV() - corners.low();
    DualBasis const dual(PointPair(corners.alongU(), corners.alongV()) -
                         PointPair(corners.low(), corners.low()));
    Point const centre = corners.low() + 0.5 * (alongU + alongV);
    Vector const normal = alongU.cross(alongV) / std::sqrt(dual.getDeterminant());
    double const t = (centre - origin).dot(normal) / direction.dot(normal);
    DoublePair const step = dual.getCoordinates((origin + t * direction) - centre);
    return {roundToInt32(step[0]), roundToInt32(step[1])};
}

GridPoint BeamWalk::getRetreat(QuadReader const& quads, GridPoint good, GridPoint bad) {
    GridStep half;
    do {
        half = (bad - good) / 2;
        if (quads.getIsValid(good + half)) {
            good += half;
        } else {
            bad -= half;
        }
    } while (!half.getIsNull());
    return good;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
