#include "Geometry/foundations/angles.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/search/internal/dualbasis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

constexpr double quarterTurn = 1.5707963267948966;

/// A hit at this distance or beyond is a hit, but is not measured.
constexpr double measuredDistanceLimit = 10000.0;

/// A hit at this distance or beyond would not be accepted.
constexpr double acceptedDistanceLimit = 131072.0;

/// A hit at this distance or beyond is not where the next search should start.
constexpr double rememberedDistanceLimit = 1000.0;

constexpr int mostSteps = 32;

/// The walk gives up after so many steps in a row that land off the valid grid.
constexpr int mostLandingsOffMesh = 4;

/// Whether the point in the triangle's plane lies strictly inside all three edges.
bool getIsInsideTriangle(Point const& point, std::array<Point, 3> const& corners, Vector const& normal) {
    for (std::size_t e = 0; e < 3; ++e) {
        Vector const edge = corners[(e + 1) % 3] - corners[e];
        if (!(normal.cross(edge).dot(point - corners[e]) > 0.0)) {
            return false;
        }
    }
    return true;
}

} // namespace

/// The state of a search across the grid.
struct RectMesh::Walk {
    GridPoint current;
    GridPoint previous;
    int stepCount = 0;
    int offMeshCount = 0;
    bool isStalled = false;
    bool isOffMesh = false;
    bool isAbandoned = false;
    Point hitPoint;
    QuadIntersectionData data;
};

bool RectMesh::getDoesIntersectQuad(GridPoint const& quad, Point const& origin, Vector const& direction,
                                    Point& hitPoint, QuadIntersectionData* data) const {
    if (!getIsQuadValid(quad)) {
        return false;
    }
    Point const low = getPoint(quad);
    Point const alongU = getPoint(quad + GridStep(1, 0));
    Point const opposite = getPoint(quad + GridStep(1, 1));
    Point const alongV = getPoint(quad + GridStep(0, 1));
    for (bool const isLower : {true, false}) {
        std::array<Point, 3> const corners{low, isLower ? alongU : opposite, isLower ? opposite : alongV};
        Vector const normal = (corners[1] - low).cross(corners[2] - low);
        double const t = (low - origin).dot(normal) / direction.dot(normal);
        hitPoint = origin + t * direction;
        if (!getIsInsideTriangle(hitPoint, corners, normal)) {
            continue;
        }
        double const distance = std::sqrt(hitPoint.dSqr(origin));
        if (data != nullptr && measuredDistanceLimit > distance) {
            double const sign = doFlipNormals ? -1.0 : 1.0;
            double const angle =
                std::atan2(std::sqrt(normal.cross(direction).lSqr()), normal.dot(direction) * sign);
            Point const centre = low + 0.5 * ((alongU - low) + (alongV - low));
            data->distanceSqrToQuadCentre = hitPoint.dSqr(centre);
            data->distanceToObject = t > 0.0 ? distance : -distance;
            data->angleToObjectNormal = QuadIntersectionData::getStoredAngle(angle);
        }
        return true;
    }
    return false;
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
        return {nullptr, Point(), GridPoint(-1, -1), false, none, fileName};
    }
    if (doReset) {
        doResetSearch = true;
    }
    Walk walk;
    bool isFound = false;
    if (extents.u > 0 && extents.v > 0) {
        walk.current = getNearestQuadInside(doResetSearch ? getStartSearchPoint(origin) : lastQuadIndices);
        isFound =
            walkToHit(origin, direction, walk) && acceptedDistanceLimit > walk.data.getDistanceToObject();
    }
    remember(walk, isFound);
    return report(walk, isFound);
}

bool RectMesh::walkToHit(Point const& origin, Vector const& direction, Walk& walk) const {
    while (true) {
        bool const isHit = getDoesIntersectQuad(walk.current, origin, direction, walk.hitPoint, &walk.data);
        bool const isStopped = !isHit && (walk.isStalled || walk.stepCount >= mostSteps);
        if (!isHit && !isStopped) {
            step(origin, direction, walk);
        }
        // This does not ask whether the quad was hit: in the pass after a first retreat the walk still counts
        // as off the mesh, and a hit then moves back towards the quad before it, in what is reported and in
        // what is remembered.
        if (walk.isOffMesh && !walk.isAbandoned && !walk.isStalled) {
            walk.current = retreat(walk.previous, walk.current);
        }
        if (isHit || isStopped || walk.isAbandoned) {
            return isHit;
        }
    }
}

void RectMesh::step(Point const& origin, Vector const& direction, Walk& walk) const {
    auto const basis = getQuadBasis(walk.current);
    DualBasis const dual(basis);
    Point const centre = getPoint(walk.current) + 0.5 * (basis.first + basis.second);
    Vector const normal = basis.first.cross(basis.second) / std::sqrt(dual.determinant);
    double const t = (centre - origin).dot(normal) / direction.dot(normal);
    Vector const delta = (origin + t * direction) - centre;
    GridStep const across(roundToInt32(delta.dot(dual.u)), roundToInt32(delta.dot(dual.v)));

    walk.previous = walk.current;
    walk.current += across;
    walk.isStalled = across.getIsNull();
    walk.isOffMesh = !getIsQuadValid(walk.current);
    walk.offMeshCount = walk.isOffMesh ? walk.offMeshCount + 1 : 0;
    walk.isAbandoned = walk.isAbandoned || walk.offMeshCount >= mostLandingsOffMesh;
    ++walk.stepCount;
}

GridPoint RectMesh::retreat(GridPoint good, GridPoint bad) const {
    GridStep half;
    do {
        half = (bad - good) / 2;
        if (getIsQuadValid(good + half)) {
            good += half;
        } else {
            bad -= half;
        }
    } while (!half.getIsNull());
    return good;
}

GridPoint RectMesh::getNearestQuadInside(GridPoint const& quad) const {
    return {std::clamp(quad.getU(), 0, static_cast<int>(extents.u) - 1),
            std::clamp(quad.getV(), 0, static_cast<int>(extents.v) - 1)};
}

void RectMesh::remember(Walk const& walk, bool isFound) {
    bool const isFrontal = walk.data.getAngleToObjectNormal() > quarterTurn;
    bool const isNear = rememberedDistanceLimit > walk.data.getDistanceToObject();
    bool isRemembered = false;
    switch (QuadIndicesIntersectionStatus::getIntersectionQualityMode()) {
    case QuadIndicesIntersectionStatus::AngleThenDistance:
        isRemembered = isFound && isFrontal && isNear;
        break;
    case QuadIndicesIntersectionStatus::DistanceOnly:
        isRemembered = isFound && isNear;
        break;
    case QuadIndicesIntersectionStatus::AngleOnly:
        isRemembered = isFound && isFrontal;
        break;
    default:
        break;
    }
    if (isRemembered) {
        lastQuadIndices = walk.current;
    }
    doResetSearch = !isRemembered;
}

QuadIndicesIntersectionStatus RectMesh::report(Walk const& walk, bool isFound) {
    GridPoint indices = isFound ? walk.current : GridPoint();
    if (doFlipUAxis) {
        indices.setU(static_cast<int>(extents.u) - indices.getU() - 1);
    }
    if (doFlipVAxis) {
        indices.setV(static_cast<int>(extents.v) - indices.getV() - 1);
    }
    return {this, isFound ? walk.hitPoint : Point(), indices + offset, isFound, walk.data, fileName};
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
