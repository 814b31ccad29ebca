#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <array>
#include <stdexcept>
#include <utility>
#include <vector>

// Boundary extension: the surface goes on across its boundary as it came, node by node. Each pass invents the
// nodes one step outside the boundary by linear extrapolation, twice the boundary node less the one behind
// it, averages where several ways lead to a node, and may then smooth the new boundary. The ways are drawn
// below, at `getExtrapolations`.
//
// Steps of a pass: copy the grid into one with a margin of a node on each side, beside it how many values a
// node holds; walk one boundary loop of the old grid and gather the extrapolations; divide by their number;
// take the new nodes over; smooth so often as asked. Smoothing moves the nodes at which the boundary runs
// straight on to the middle of their two neighbours on it, all from the points as they were before.
//
// Tolerances: none. Sums of values are rounded to floats one by one, in the order of the walk.
//
// Cost of a pass: the whole grid once, whatever the length of the boundary; of a smoothing the boundary
// alone.
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

/// What the margin adds below the old indices.
GridStep const margin(1, 1);

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

/// Whether the way invents a node inside the grid, from two that exist and not across a cut.
bool getIsOpen(RectMesh const& grid, Extrapolation const& way) {
    return grid.getIsPointInBounds(way.target) && !grid.getIsPointValid(way.target) &&
           grid.getIsPointValid(way.base) && grid.getIsPointValid(way.behind) &&
           !grid.getPointFlag(way.base, RectMesh::CutBoundary);
}

/// The nodes of a grid with a margin of one node around them, and how many values each has gathered.
class LargerGrid {
public:
    explicit LargerGrid(Nodes const& source)
        : nodes(makeNodes({source.extentU + 2UL, source.extentV + 2UL})) {
        counts.resize(nodes.extentV + std::size_t{1});
        for (std::vector<std::uint32_t>& row : counts) {
            row.resize(nodes.extentU + std::size_t{1}, 0);
        }
        forEachNode({source.extentU, source.extentV}, [&](GridPoint const& node) {
            char const flagByte = source.flagsOf(node);
            nodes.pointOf(node + margin) = source.pointOf(node);
            nodes.flagsOf(node + margin) = flagByte;
            countOf(node + margin) = flagByte != 0 ? 1 : 0;
        });
    }

    /// Gathers what the ways across the boundary loop through `start` give, in the old grid's indices.
    void extrapolate(RectMesh const& grid, Edge const& start) {
        forEachBoundaryEdge(start, [&](Edge const& edge) {
            for (Extrapolation const& way : getExtrapolations(edge)) {
                if (getIsOpen(grid, way)) {
                    gather(way.target + margin, TriangleMeasures::bary(grid.getPoint(way.base),
                                                                       grid.getPoint(way.behind), 2.0, -1.0));
                }
            }
        });
    }

    /// Makes each node the mean of the values that it gathered.
    void average() {
        forEachNode({nodes.extentU, nodes.extentV}, [this](GridPoint const& node) {
            double const count = countOf(node);
            if (count > 1.0) {
                Point& point = nodes.pointOf(node);
                point.set(point.getX() / count, point.getY() / count, point.getZ() / count);
            }
        });
    }

    Nodes const& getNodes() const { return nodes; }

private:
    void gather(GridPoint const& node, Point const& value) {
        Point& point = nodes.pointOf(node);
        point = TriangleMeasures::bary(point, value, 1.0, 1.0);
        if (++countOf(node) == 1) {
            nodes.flagsOf(node) = withFlag(0, RectMesh::Valid);
        }
    }

    std::uint32_t& countOf(GridPoint const& node) {
        return counts[static_cast<std::size_t>(node.getV())][static_cast<std::size_t>(node.getU())];
    }

    Nodes nodes;
    std::vector<std::vector<std::uint32_t>> counts;
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

void RectMesh::extendBoundaryBasic(unsigned long smoothingPasses) {
    Edge const start = getBoundaryEdge();
    LargerGrid larger(getNodes());
    larger.extrapolate(*this, start);
    larger.average();
    setNodes(larger.getNodes());
    for (std::uint32_t i = 0; i < toUInt32(smoothingPasses); ++i) {
        for (auto const& [node, point] : getSmoothed(*this, getBoundaryEdge())) {
            setPoint(node, point);
        }
    }
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
