#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/shownrow.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

// Boundary extension: the surface goes on across its boundary as it came, node by node. Each pass invents the
// nodes one step outside the boundary by linear extrapolation, twice the boundary node less the one behind
// it, averages where several ways lead to a node, and may then smooth the new boundary. The ways are drawn
// below, at `getExtrapolations`.
//
// Steps of a pass: copy the grid into one with a margin of a node on each side; walk one boundary loop of the
// old grid and gather the extrapolations, noting how many values a node holds; divide by their number;
// take the new nodes over; smooth so often as asked. Smoothing moves the nodes at which the boundary runs
// straight on to the middle of their two neighbours on it, all from the points as they were before.
//
// Where nobody may look at the grid in between, a listener or the `getPoint` of a derived class, it is copied
// once, with the margin of all passes, and each pass works in it without the margin that is not due yet.
// Nodes there are not valid, as those outside a grid are not, so that loops are the same; where the first
// boundary edge is looked for, and which targets are inside, goes by the inner grid. All is done aside. A
// pass after the first always has a boundary: the first quad of the one before, and any before that, has none
// below it.
//
// Tolerances: none. Sums of values are rounded to floats one by one, in the order of the walk.
//
// Cost: one copy of the grid and the areas of all its quads, whatever the number of passes, and of each pass
// and each smoothing the boundary alone. Where someone may look, each pass costs a copy and the areas.
//
// Odd on purpose: a target outside the old grid is left to the next pass, although the new one has room: the
// first pass over a grid that is valid up to its rim only adds the margin. A node with any flag counts as
// holding a value, its own, so an invalid node that kept other flags gathers but stays invalid; what one
// without flags still stores enters the sum uncounted. From a base beside a cut nothing is grown, lest one
// lip lie over the other; what is behind is not asked.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;
using GridExtents = TwoDimensional::Vector<unsigned long>;

/// A node to invent, the node beside it from which the surface goes on, and the one behind that.
struct Extrapolation {
    GridPoint target;
    GridPoint base;
    GridPoint behind;
};

/// The four ways across a boundary edge, in the order in which they are gathered. The edge e runs from p to q
/// with the surface on its left; d is its step, n the step to the left. Two ways go straight on, two along
/// the diagonals of the left quad:
///
///     p+n ------- q+n       case   target      base   behind
///      |  \     /  |          0    p - n        p     p + n
///      |    \ /    |          1    q - n        q     q + n
///      |    / \    |          2    q + d - n    q     p + n
///      |  /     \  |          3    p - d - n    p     q + n
///      p --- e --> q
///   3  0           1  2     (where the cases invent their nodes)
std::array<Extrapolation, 4> getExtrapolations(Edge const& e) {
    GridPoint const p = e.org();
    GridPoint const q = e.dest();
    GridStep const d = q - p;
    GridStep const n = e.onext().dest() - p;
    return {{{p - n, p, p + n}, {q - n, q, q + n}, {q + d - n, q, p + n}, {p - d - n, p, q + n}}};
}

/// A grid without so many nodes on each side, outside of which none is valid.
struct Inner {
    RectMesh const& grid;
    std::uint32_t margin;

    bool getIsInBounds(GridPoint const& node) const {
        GridStep const step(static_cast<int>(margin), static_cast<int>(margin));
        return grid.getIsPointInBounds(node - step) && grid.getIsPointInBounds(node + step);
    }

    /// Whether the way invents a node in it, from two that exist and not across a cut.
    bool getIsOpen(Extrapolation const& way) const {
        return getIsInBounds(way.target) && !grid.getIsPointValid(way.target) &&
               grid.getIsPointValid(way.base) && grid.getIsPointValid(way.behind) &&
               !grid.getPointFlag(way.base, RectMesh::CutBoundary);
    }
};

/// Extents with so many nodes more on each side; those that 32 bits do not hold are as many as they hold,
/// which no memory has room for.
GridExtents getLargerExtents(Nodes const& source, std::uint32_t margin) {
    auto const along = [margin](std::uint32_t extent) {
        std::uint64_t const larger = extent + std::uint64_t{2} * margin;
        return static_cast<unsigned long>(
            std::min<std::uint64_t>(larger, std::numeric_limits<std::uint32_t>::max()));
    };
    return {along(source.extentU), along(source.extentV)};
}

/// Nodes with so many empty ones around them on each side.
Nodes makeLarger(Nodes const& source, std::uint32_t margin) {
    std::size_t const sourceU = source.extentU + std::size_t{1};
    std::size_t const nodesU = sourceU + std::size_t{2} * margin;
    GridExtents const extents = getLargerExtents(source, margin);
    return makeNodes(extents, [&](std::uint32_t v, Point* points, char* flags) {
        if (v < margin || v > source.extentV + margin) {
            constructEmpty(points, flags, nodesU);
            return;
        }
        std::uint32_t const sourceV = v - margin;
        constructEmpty(points, flags, margin);
        constructCopies(source.points[sourceV].get(), source.flags[sourceV].get(), sourceU, points + margin,
                        flags + margin);
        constructEmpty(points + margin + sourceU, flags + margin + sourceU, margin);
    });
}

/// What the ways across a boundary loop lead to. Values go into `nodes`, which may be those of the grid that
/// they are read from: only points of nodes that are not valid change before `finish`, and nobody reads them.
class Growth {
public:
    /// Node p of the grid is p + `newShift` in `newNodes`.
    Growth(Nodes const& newNodes, GridStep const& newShift)
        : nodes(newNodes),
          shift(newShift),
          counts((nodes.extentU + std::size_t{1}) * (nodes.extentV + std::size_t{1}), 0) {}

    /// Gathers what the ways across the boundary loop through `start` give.
    void extrapolate(Inner const& inner, Edge const& start) {
        forEachBoundaryEdge(start, [&](Edge const& edge) {
            for (Extrapolation const& way : getExtrapolations(edge)) {
                if (inner.getIsOpen(way)) {
                    gather(way.target + shift,
                           TriangleMeasures::bary(inner.grid.getPoint(way.base),
                                                  inner.grid.getPoint(way.behind), 2.0, -1.0));
                }
            }
        });
    }

    /// Makes each node the mean of the values that it holds, and those that were empty valid. Then nothing is
    /// gathered any more.
    void finish() {
        for (GridPoint const& node : gathered) {
            double const count = std::exchange(countOf(node), static_cast<unsigned char>(0));
            if (count > 1.0) {
                Point& point = nodes.pointOf(node);
                point.set(point.getX() / count, point.getY() / count, point.getZ() / count);
            }
            char& flagByte = nodes.flagsOf(node);
            flagByte = flagByte == 0 ? withFlag(0, RectMesh::Valid) : flagByte;
        }
        gathered.clear();
    }

private:
    void gather(GridPoint const& node, Point const& value) {
        Point& point = nodes.pointOf(node);
        point = TriangleMeasures::bary(point, value, 1.0, 1.0);
        unsigned char& count = countOf(node);
        if (count == 0) {
            gathered.push_back(node);
            count = nodes.flagsOf(node) != 0 ? 1 : 0;
        }
        ++count;
    }

    unsigned char& countOf(GridPoint const& node) {
        return counts[static_cast<std::size_t>(node.getV()) * (nodes.extentU + std::size_t{1}) +
                      static_cast<std::size_t>(node.getU())];
    }

    Nodes nodes;
    GridStep shift;

    /// How many values each node that gathered any holds: one of its own and, as a loop has each edge once,
    /// one for each of four ways of each of four directions, so that a byte does. Zero for all others.
    std::vector<unsigned char> counts;
    std::vector<GridPoint> gathered;
};

/// The nodes of the loop through `start` at which the boundary runs straight on, each with the middle of its
/// neighbours along it.
std::vector<std::pair<GridPoint, Point>> getSmoothed(RectMesh const& grid, Edge const& start) {
    std::vector<std::pair<GridPoint, Point>> moves;
    forEachBoundaryEdge(start, [&](Edge const& edge) {
        Edge const before = edge.onext().onext().sym();
        if (before.isBoundary()) {
            Point const origin;
            Vector const sum = (grid.getPoint(edge.dest()) - origin) + (grid.getPoint(before.org()) - origin);
            moves.emplace_back(edge.org(), origin + 0.5 * sum);
        }
    });
    return moves;
}

} // namespace

void RectMesh::extendBoundary(BoundaryExtensionAlgorithm algorithm, unsigned long passes,
                              unsigned long smoothingPasses) {
    if (algorithm != Basic) {
        throw std::runtime_error("Unsupported boundary extension algorithm.");
    }
    reportMessage(progressListener, "Extending quad-mesh boundary...");
    std::uint32_t const count = toUInt32(passes);
    if (progressListener == nullptr && getIsPlain(*this)) {
        extendUnwatched(count, smoothingPasses);
        return;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        if (progressListener != nullptr) {
            progressListener->setPercentage(100UL * i / count);
        }
        extendBoundaryBasic(smoothingPasses);
    }
    if (progressListener != nullptr) {
        progressListener->setPercentage(100);
    }
}

void RectMesh::extendUnwatched(std::uint32_t passes, unsigned long smoothingPasses) {
    if (passes == 0) {
        return;
    }
    (void)getBoundaryEdge(); // without one nothing changes; with one no pass ends without
    RectMesh grown(*this);
    grown.setNodes(makeLarger(getNodes(), passes));
    Growth growth(grown.getNodes(), {0, 0});
    for (std::uint32_t margin = passes; margin > 0; --margin) {
        growth.extrapolate({grown, margin}, grown.getInnerBoundaryEdge(margin));
        growth.finish();
        grown.smoothBoundary(smoothingPasses, margin - 1);
    }
    setNodes(grown.getNodes());
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

void RectMesh::extendBoundaryBasic(unsigned long smoothingPasses) {
    Edge const start = getBoundaryEdge();
    Nodes const larger = makeLarger(getNodes(), 1);
    Growth growth(larger, {1, 1});
    growth.extrapolate({*this, 0}, start);
    growth.finish();
    setNodes(larger);
    smoothBoundary(smoothingPasses, 0);
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

void RectMesh::smoothBoundary(unsigned long passes, std::uint32_t margin) {
    for (std::uint32_t i = 0; i < toUInt32(passes); ++i) {
        for (auto const& [node, point] : getSmoothed(*this, getInnerBoundaryEdge(margin))) {
            setPoint(node, point);
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
