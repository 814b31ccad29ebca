#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;
using GridBox = TwoDimensional::BoundingBoxAA<int>;

/// The side that is strictly longer than the others, x before y; on a tie for the longest, z.
double getLargestSide(Vector const& size) {
    if (size.getdY() < size.getdX() && size.getdZ() < size.getdX()) {
        return size.getdX();
    }
    if (size.getdX() < size.getdY() && size.getdZ() < size.getdY()) {
        return size.getdY();
    }
    return size.getdZ();
}

/// The smallest power of two by which the grid must be thinned out in each direction to have at most so many
/// quads.
std::uint32_t getThinning(std::uint32_t numberOfQuads, std::uint32_t mostQuads) {
    std::uint32_t k = 1;
    while (mostQuads < numberOfQuads) {
        numberOfQuads >>= 2U;
        k <<= 1U;
    }
    return k;
}

} // namespace

/// Fills `result` with nodes of this grid: node p of the result is `toSource(p)` here, if that is valid, with
/// its flags and the point that `toPoint` makes of the source node. The result is made aside, so that it may
/// be this grid itself.
template <class ToSource, class ToPoint>
void RectMesh::derive(RectMesh& result, TwoDimensional::Vector<unsigned long> const& newExtents,
                      ToSource toSource, ToPoint toPoint) const {
    RectMesh derived(Unnumbered{});
    derived.init(newExtents);
    for (std::uint32_t v = 0; v <= derived.extents.v; ++v) {
        for (std::uint32_t u = 0; u <= derived.extents.u; ++u) {
            GridPoint const node(static_cast<int>(u), static_cast<int>(v));
            GridPoint const source = toSource(node);
            if (getIsPointValid(source)) {
                derived.setPoint(node, toPoint(source));
                derived.setPointFlags(node, getPointFlags(source));
            }
        }
    }
    result.takeRows(derived);
    result.updateQuadAreas();
}

void RectMesh::takeRows(RectMesh& other) {
    uninit();
    numberOfSearchPointsU = 1;
    numberOfSearchPointsV = 1;
    points.swap(other.points);
    flags.swap(other.flags);
    std::swap(extents, other.extents);
}

void RectMesh::setDerivedNodes(Nodes const& nodes) {
    setNodes(nodes);
    numberOfSearchPointsU = 1;
    numberOfSearchPointsV = 1;
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

void RectMesh::getFlattened(RectMesh& result) const {
    double const side = std::sqrt(meanQuadArea);
    derive(
        result, getExtents(), [](GridPoint const& node) { return node; },
        [side](GridPoint const& source) { return Point(source.getU() * side, source.getV() * side, 0.0); });
}

void RectMesh::getNormalised(double size, RectMesh& result) const {
    BoundingBoxAA const box = getBoundingBoxAA();
    double const scale = size / getLargestSide(box.getd());
    Point const centre = box.getp() + 0.5 * box.getd();
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    derive(
        result, getExtents(), [](GridPoint const& node) { return node; },
        [&](GridPoint const& source) { return Point() + scale * (getPoint(source) - centre); });
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getNormalised(double scale, Vector const& shift, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    derive(
        result, getExtents(), [](GridPoint const& node) { return node; },
        [&](GridPoint const& source) { return Point() + scale * ((getPoint(source) + shift) - Point()); });
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getSubSampled(ResampleDataType type, unsigned long value, RectMesh& result) const {
    std::uint32_t k = 1;
    if (type == ApproximateQuadCount) {
        k = getThinning(extents.u * extents.v, toUInt32(value));
    } else if (type == Factor) {
        k = std::max(toUInt32(value), 1U);
    }
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    std::string const name = fileName;
    derive(
        result, {extents.u / k, extents.v / k},
        [k](GridPoint const& node) {
            return GridPoint(static_cast<int>(static_cast<std::uint32_t>(node.getU()) * k),
                             static_cast<int>(static_cast<std::uint32_t>(node.getV()) * k));
        },
        [this](GridPoint const& source) { return getPoint(source); });
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
    result.setFileName(name);
}

void RectMesh::getRestrictedToAABB(GridBox const& box, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    GridStep const toCorner = box.getp() - GridPoint();
    derive(
        result,
        {static_cast<std::uint32_t>(box.getd().getdU()), static_cast<std::uint32_t>(box.getd().getdV())},
        [&](GridPoint const& node) { return node + toCorner; },
        [this](GridPoint const& source) { return getPoint(source); });
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getRestrictedToAABB(BoundingBoxAA const& box, RectMesh& result) const {
    GridBox indexBox;
    bool isStarted = false;
    for (std::uint32_t v = 0; v <= extents.v; ++v) {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            GridPoint const node(static_cast<int>(u), static_cast<int>(v));
            if (!getIsPointValid(node) || !box.getIsInside(getPoint(node))) {
                continue;
            }
            GridBox const nodeBox(node, GridStep(1, 1));
            if (!isStarted) {
                indexBox = nodeBox;
                isStarted = true;
            }
            indexBox.expand(nodeBox);
        }
    }
    GridStep const toCorner = indexBox.getp() - GridPoint();
    deriveInside(box, toCorner - GridStep(1, 1), indexBox.getd() + GridStep(2, 2), result);
}

void RectMesh::deriveInside(BoundingBoxAA const& box, GridStep const& toSource, GridStep const& newExtents,
                            RectMesh& result) const {
    GridPoint const outside(-1, -1);
    derive(
        result,
        {static_cast<std::uint32_t>(newExtents.getdU()), static_cast<std::uint32_t>(newExtents.getdV())},
        [&](GridPoint const& node) {
            GridPoint const source = node + toSource;
            return getIsPointValid(source) && box.getIsInside(getPoint(source)) ? source : outside;
        },
        [this](GridPoint const& source) { return getPoint(source); });
}

void RectMesh::transform(Point const& origin, AffineMap const& map) {
    for (std::uint32_t v = 0; getHasRows() && v <= extents.v; ++v) {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            if (getFlag(flags[v][u], Valid)) {
                points[v][u] = origin + map(points[v][u] - origin);
            }
        }
    }
}

void RectMesh::mirror(CanonicalPlane plane, Point const& origin, CanonicalAxis axis) {
    LinearMap reflection;
    reflection.setAsIdentity();
    if (plane == PlaneYZ || plane == PlaneXZ || plane == PlaneXY) {
        auto const normalAxis = static_cast<unsigned long>(plane);
        reflection.set(normalAxis, normalAxis, -1.0);
    }
    transform(origin, AffineMap(reflection, Vector()));
    flipWinding(axis);
}

void RectMesh::flipWinding(CanonicalAxis axis) {
    if (axis != AxisU && axis != AxisV) {
        throw std::runtime_error("Invalid scan flip axis");
    }
    if (!getHasRows()) {
        return;
    }
    if (axis == AxisV) {
        for (std::uint32_t v = 0; v <= extents.v; ++v) {
            reverseNodes(GridPoint(0, static_cast<int>(v)), GridStep(1, 0), extents.u + std::size_t{1});
        }
    } else if (extents.v == 0) {
        std::fill_n(points[0].get(), extents.u + std::size_t{1}, Point());
    } else {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            reverseNodes(GridPoint(static_cast<int>(u), 0), GridStep(0, 1), extents.v + std::size_t{1});
        }
    }
}

/// Turns a row or column of nodes end for end. Every point is stored as `getPoint` showed it; those of nodes
/// that are not valid go along.
void RectMesh::reverseNodes(GridPoint const& first, GridStep const& along, std::size_t count) {
    std::vector<std::pair<Point, char>> nodes;
    nodes.reserve(count);
    GridPoint node = first;
    for (std::size_t i = 0; i < count; ++i, node += along) {
        nodes.emplace_back(getPoint(node), getPointFlags(node));
    }
    for (auto const& [point, flagByte] : nodes) {
        node -= along;
        points[node.getV()][static_cast<std::size_t>(node.getU())] = point;
        setPointFlags(node, flagByte);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
