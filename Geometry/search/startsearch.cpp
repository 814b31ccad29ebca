#include "Geometry/foundations/element.h"
#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/search/internal/startdescent.h"

// Where the walk of a beam starts when no quad is remembered. The members below are what a grid adds to the
// descent, which tells its idea in internal/startdescent.cpp: the case without rows, in which there is no
// node to read, and one look at a batch of samples by itself.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

TwoDimensional::Point<int> RectMesh::getStartSearchPoint(Point const& target) const {
    return getHasRows() ? StartDescent(getQuadReader(), target).descend() : TwoDimensional::Point<int>();
}

bool RectMesh::getIsAnyQuadPointCloser(TwoDimensional::Point<int> const* samples, Point const& target,
                                       TwoDimensional::Point<int>& best, double& bestDistanceSqr,
                                       bool& hasInvalidQuad, unsigned long doNMoreCount,
                                       unsigned long sampleCount) const {
    bool const canEscape = toUInt32(doNMoreCount) < maxDoNMoreTimes;
    StartDescent::Look const look = StartDescent::lookAt(getQuadReader(), {samples, toUInt32(sampleCount)},
                                                         target, {best, bestDistanceSqr}, canEscape);
    best = look.best.quad;
    bestDistanceSqr = look.best.distanceSqr;
    hasInvalidQuad = look.hasInvalidQuad;
    return look.isCloser;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
