#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

// Derived grids: the nodes of a grid, some or all of them, in a grid of their own, moved, scaled, thinned out
// or laid flat; and the two changes in place, a map of all points and a reflection.
//
// Steps: for each node of the result its source node is named; where that is valid, flags and point come
// along, the point as `getPoint` shows it, so that the result of a scaled grid stores the scale. Everything
// is made aside and then taken over, so that the result may be the source and, where memory is short, stays
// as it was. Whoever derives settles the areas anew; the search points only in the forms below that say so.
//
// Normalising: both forms round to floats before they scale, one the shifted point, the other the box's
// centre and each point's difference from it; the last bits hang on that. Which side of the box is the
// largest is asked with strict signs, so that a tie for it goes to z, also where z is the smallest.
//
// Restricting to a box in space: first the index box of the nodes inside, then a ring of empty nodes around
// it. The index box is built of boxes of one by one, from each node up and right, so that the ring is one
// node wide on the low sides and two on the high ones.
//
// Reversing: a reflection turns the winding of the quads over, the reversal turns it back. It reads what is
// shown and stores it. A grid of one row has no columns to turn: its points are cleared.
//
// Cost: the nodes of the result; for a box in space or a size, those of the grid too.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;
using GridBox = TwoDimensional::BoundingBoxAA<int>;
using GridExtents = TwoDimensional::Vector<unsigned long>;

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
std::uint32_t getThinning(std::uint32_t numberOfQuads, std::uint32_t maxQuads) {
    std::uint32_t k = 1;
    while (maxQuads < numberOfQuads) {
        numberOfQuads >>= 2U;
        k <<= 1U;
    }
    return k;
}

/// Nodes taken from a grid: node p is `toSource(p)` there, if that is valid, with its flags and the point
/// that `toPoint` makes of the source node.
template <class ToSource, class ToPoint>
Nodes makeDerived(RectMesh const& grid, GridExtents const& extents, ToSource toSource, ToPoint toPoint) {
    Nodes const nodes = makeNodes(extents);
    forEachNode(extents, [&](GridPoint const& node) {
        GridPoint const source = toSource(node);
        if (grid.getIsPointValid(source)) {
            nodes.pointOf(node) = toPoint(source);
            nodes.flagsOf(node) = grid.getPointFlags(source);
        }
    });
    return nodes;
}

/// All nodes in their places, with the points that `toPoint` makes of them.
template <class ToPoint>
Nodes makeMoved(RectMesh const& grid, ToPoint toPoint) {
    return makeDerived(
        grid, grid.getExtents(), [](GridPoint const& node) { return node; }, toPoint);
}

/// The nodes that `toSource` names, with the points that they show.
template <class ToSource>
Nodes makeSelected(RectMesh const& grid, GridExtents const& extents, ToSource toSource) {
    return makeDerived(grid, extents, toSource,
                       [&grid](GridPoint const& source) { return grid.getPoint(source); });
}

/// Whether the node exists and its point lies in the box.
bool getIsNodeInside(RectMesh const& grid, GridPoint const& node, BoundingBoxAA const& box) {
    return grid.getIsPointValid(node) && box.getIsInside(grid.getPoint(node));
}

/// The box around the nodes whose points lie in `box`, each of them a box of one by one.
GridBox getIndexBox(RectMesh const& grid, BoundingBoxAA const& box) {
    GridBox indexBox;
    bool isStarted = false;
    forEachNode(grid.getExtents(), [&](GridPoint const& node) {
        if (!getIsNodeInside(grid, node, box)) {
            return;
        }
        GridBox const nodeBox(node, GridStep(1, 1));
        if (!isStarted) {
            indexBox = nodeBox;
            isStarted = true;
        }
        indexBox.expand(nodeBox);
    });
    return indexBox;
}

/// The extents of a grid over such a box.
GridExtents toExtents(GridStep const& size) {
    return {static_cast<std::uint32_t>(size.getdU()), static_cast<std::uint32_t>(size.getdV())};
}

/// Turns a row or column of nodes end for end: `count` nodes from `first` on. Every point is stored as the
/// grid showed it; those of nodes that are not valid go along.
void reverseNodes(RectMesh const& grid, Nodes const& nodes, GridPoint const& first, GridStep const& along,
                  std::size_t count) {
    std::vector<std::pair<Point, char>> reversed;
    reversed.reserve(count);
    GridPoint node = first;
    for (std::size_t i = 0; i < count; ++i, node += along) {
        reversed.emplace_back(grid.getPoint(node), nodes.flagsOf(node));
    }
    for (auto const& [point, flagByte] : reversed) {
        node -= along;
        nodes.pointOf(node) = point;
        nodes.flagsOf(node) = flagByte;
    }
}

} // namespace

void RectMesh::setDerivedNodes(Nodes const& nodes) {
    setNodes(nodes);
    numberOfSearchPointsU = 1;
    numberOfSearchPointsV = 1;
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

void RectMesh::getFlattened(RectMesh& result) const {
    double const side = std::sqrt(meanQuadArea);
    result.setDerivedNodes(makeMoved(*this, [side](GridPoint const& source) {
        return Point(source.getU() * side, source.getV() * side, 0.0);
    }));
}

void RectMesh::getNormalised(double size, RectMesh& result) const {
    BoundingBoxAA const box = getBoundingBoxAA();
    double const scale = size / getLargestSide(box.getd());
    Point const centre = box.getp() + 0.5 * box.getd();
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    result.setDerivedNodes(makeMoved(
        *this, [&](GridPoint const& source) { return Point() + scale * (getPoint(source) - centre); }));
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getNormalised(double scale, Vector const& shift, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    result.setDerivedNodes(makeMoved(*this, [&](GridPoint const& source) {
        return Point() + scale * ((getPoint(source) + shift) - Point());
    }));
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
    result.setDerivedNodes(makeSelected(*this, {extents.u / k, extents.v / k}, [k](GridPoint const& node) {
        return GridPoint(static_cast<int>(static_cast<std::uint32_t>(node.getU()) * k),
                         static_cast<int>(static_cast<std::uint32_t>(node.getV()) * k));
    }));
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
    result.setFileName(name);
}

void RectMesh::getRestrictedToAABB(GridBox const& box, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    GridStep const toCorner = box.getp() - GridPoint();
    result.setDerivedNodes(
        makeSelected(*this, toExtents(box.getd()), [&](GridPoint const& node) { return node + toCorner; }));
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getRestrictedToAABB(BoundingBoxAA const& box, RectMesh& result) const {
    GridBox const indexBox = getIndexBox(*this, box);
    GridStep const toSource = (indexBox.getp() - GridPoint()) - GridStep(1, 1);
    GridPoint const outside(-1, -1);
    result.setDerivedNodes(
        makeSelected(*this, toExtents(indexBox.getd() + GridStep(2, 2)), [&](GridPoint const& node) {
            GridPoint const source = node + toSource;
            return getIsNodeInside(*this, source, box) ? source : outside;
        }));
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
    Nodes const nodes = getNodes();
    if (axis == AxisV) {
        for (std::uint32_t v = 0; v <= extents.v; ++v) {
            reverseNodes(*this, nodes, {0, static_cast<int>(v)}, {1, 0}, extents.u + std::size_t{1});
        }
    } else if (extents.v == 0) {
        std::fill_n(points[0].get(), extents.u + std::size_t{1}, Point());
    } else {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            reverseNodes(*this, nodes, {static_cast<int>(u), 0}, {0, 1}, extents.v + std::size_t{1});
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
