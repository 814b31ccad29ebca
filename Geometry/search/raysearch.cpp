#include "Geometry/foundations/angles.h"
#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/search/internal/beamwalk.h"
#include "Geometry/search/internal/quadcrossing.h"
#include "Geometry/search/internal/startdescent.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Which quad of a grid a beam meets: a local search that a scanner asks once a firing, not a scan of the
// grid. Successive beams meet neighbouring quads, so it walks (`internal/beamwalk.cpp`) from the quad of the
// last good hit, and only without one looks for a start by sampling (`startsearch.cpp`).
//
// A quad is the two triangles on either side of its diagonal from the low corner; a hit is where the beam's
// line meets the plane of one of them strictly inside its edges, tested with the signs of triple products
// (normal x edge) . (hit - corner) on the hit point as it is stored. Strict, and without a tolerance: a beam
// exactly on an edge misses both sides. A tolerance would hit two quads there, and which one would depend on
// the way the walk came.
//
// A hit at `measuredDistanceLimit` or beyond is a hit without measurements, all zero. Its angle of zero makes
// `getIntersection` search again, and among grids of a group its distance of zero beats every hit in front.
// Raising the limit changes which hits those are. `acceptedDistanceLimit` lies beyond all that is measured
// and so rejects nothing; it stands guard should the other limit grow. `rememberedDistanceLimit` keeps the
// next search from starting at a chance hit far away; distances carry a sign, so hits behind the origin pass.
//
// Cost: warm, one or two quad tests and a few copies; cold, the sampling; `getNearestPoint2D`, all quads.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

constexpr double acceptedDistanceLimit = 131072.0;
constexpr double rememberedDistanceLimit = 1000.0;

/// A quad remembered from a grid that has since been replaced can lie outside the present one.
GridPoint getNearestQuadInside(GridPoint const& quad, QuadReader const& quads) {
    return {std::clamp(quad.getU(), 0, quads.getExtentU() - 1),
            std::clamp(quad.getV(), 0, quads.getExtentV() - 1)};
}

/// Whether the next search should start from a quad that was hit so.
bool getIsWorthRemembering(QuadIntersectionData const& hit) {
    bool const isFrontal = hit.getAngleToObjectNormal() > Angles::quarterTurn;
    bool const isNear = rememberedDistanceLimit > hit.getDistanceToObject();
    switch (QuadIndicesIntersectionStatus::getIntersectionQualityMode()) {
    case QuadIndicesIntersectionStatus::AngleThenDistance:
        return isFrontal && isNear;
    case QuadIndicesIntersectionStatus::DistanceOnly:
        return isNear;
    case QuadIndicesIntersectionStatus::AngleOnly:
        return isFrontal;
    default:
        return false;
    }
}

} // namespace

bool RectMesh::getDoesIntersectQuad(GridPoint const& quad, Point const& origin, Vector const& direction,
                                    Point& hitPoint, QuadIntersectionData* data) const {
    QuadReader const quads = getQuadReader();
    if (!quads.getIsValid(quad)) {
        return false;
    }
    QuadCorners const corners = quads.getCorners(quad);
    QuadCrossing const crossing(corners, origin, direction);
    hitPoint = crossing.getPoint();
    if (!crossing.getIsHit()) {
        return false;
    }
    if (data != nullptr) {
        QuadMeasurements const both = crossing.measure(corners, origin, direction, doFlipNormals);
        if (auto const measured = both.get(crossing.getTriangle())) {
            *data = *measured;
        }
    }
    return true;
}

QuadIndicesIntersectionStatus RectMesh::getIntersection(Point const& origin, Vector const& direction) {
    QuadIndicesIntersectionStatus status = getIntersectionStatus(origin, direction, false);
    double const angle = status.getIntersectionData().getAngleToObjectNormal();
    if (status.getIsValid() && !(Angles::quarterTurn > angle)) {
        return status;
    }
    return getIntersectionStatus(origin, direction, true);
}

QuadIndicesIntersectionStatus RectMesh::getIntersectionStatus(Point const& origin, Vector const& direction,
                                                              bool doReset) {
    if (((activePositionFlags >> (position % 32U)) & 1U) == 0) {
        QuadIntersectionData const none(-1.0, -1.0, -1.0);
        return {fileName, nullptr, Point(), GridPoint(-1, -1), false, none};
    }
    if (doReset) {
        doResetSearch = true;
    }
    QuadReader const quads = getQuadReader();
    BeamWalk walk(quads, origin, direction, doFlipNormals);
    bool isFound = false;
    if (extents.u > 0 && extents.v > 0) {
        GridPoint const start = doResetSearch ? StartDescent(quads, origin).descend() : lastQuadIndices;
        isFound = walk.findHit(getNearestQuadInside(start, quads)) &&
                  acceptedDistanceLimit > walk.getHitData().getDistanceToObject();
    }
    doResetSearch = !isFound || !getIsWorthRemembering(walk.getHitData());
    if (!doResetSearch) {
        lastQuadIndices = walk.getQuad();
    }
    GridPoint indices = isFound ? walk.getQuad() : GridPoint();
    if (doFlipUAxis) {
        indices.setU(static_cast<int>(extents.u) - indices.getU() - 1);
    }
    if (doFlipVAxis) {
        indices.setV(static_cast<int>(extents.v) - indices.getV() - 1);
    }
    Point const hitPoint = isFound ? walk.getHitPoint() : Point();
    return {fileName, this, hitPoint, indices + offset, isFound, walk.getHitData()};
}

GridPoint RectMesh::getNearestPoint2D(Point const& target, double& distance) const {
    GridPoint nearest;
    double nearestDistanceSqr = std::numeric_limits<double>::max();
    for (int v = 0; v < static_cast<int>(extents.v); ++v) {
        for (int u = 0; u < static_cast<int>(extents.u); ++u) {
            GridPoint const quad(u, v);
            if (!getIsQuadValid(quad)) {
                continue;
            }
            double const distanceSqr = getPoint(quad).dSqr(target);
            if (distanceSqr < nearestDistanceSqr) {
                nearestDistanceSqr = distanceSqr;
                nearest = quad;
            }
        }
    }
    distance = std::sqrt(nearestDistanceSqr);
    return nearest;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
