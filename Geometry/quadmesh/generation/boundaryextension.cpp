#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/shownrow.h"

#include <algorithm>
#include <array>
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
// Tolerances: none. Sums of values are rounded to floats one by one, in the order of the walk.
//
// Cost of a pass: one copy of the grid, whatever the length of the boundary; of a smoothing the boundary
// alone. Areas are settled after the last pass, and after each only where someone may look at the grid in
// between: a listener, or the `getPoint` of a derived class.
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

/// The nodes of a grid with a margin of one node around them, and what the loop's ways lead to among them.
class LargerGrid {
public:
    explicit LargerGrid(Nodes const& source)
        : nodes(makeNodes({source.extentU + 2UL, source.extentV + 2UL},
                          [&](std::uint32_t v, Point* points, char* flags) {
                              if (v >= 1 && v <= source.extentV + 1) {
                                  std::size_t const count = source.extentU + std::size_t{1};
                                  std::copy_n(source.points[v - 1].get(), count, points + 1);
                                  std::copy_n(source.flags[v - 1].get(), count, flags + 1);
                              }
                          })),
          counts((nodes.extentU + std::size_t{1}) * (nodes.extentV + std::size_t{1}), 0) {}

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

    /// Makes each node the mean of the values that it holds.
    void average() {
        for (GridPoint const& node : gathered) {
            double const count = countOf(node);
            if (count > 1.0) {
                Point& point = nodes.pointOf(node);
                point.set(point.getX() / count, point.getY() / count, point.getZ() / count);
            }
        }
    }

    Nodes const& getNodes() const { return nodes; }

private:
    void gather(GridPoint const& node, Point const& value) {
        Point& point = nodes.pointOf(node);
        point = TriangleMeasures::bary(point, value, 1.0, 1.0);
        unsigned char& count = countOf(node);
        char& flagByte = nodes.flagsOf(node);
        if (count == 0) {
            gathered.push_back(node);
            count = flagByte != 0 ? 1 : 0;
        }
        if (++count == 1) {
            flagByte = withFlag(0, RectMesh::Valid);
        }
    }

    unsigned char& countOf(GridPoint const& node) {
        return counts[static_cast<std::size_t>(node.getV()) * (nodes.extentU + std::size_t{1}) +
                      static_cast<std::size_t>(node.getU())];
    }

    Nodes nodes;

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
    for (std::uint32_t i = 0; i < passes; ++i) {
        try {
            growBoundary();
        } catch (...) {
            if (i > 0) {
                getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
            }
            throw;
        }
        smoothBoundary(smoothingPasses);
    }
    if (passes > 0) {
        getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    }
}

void RectMesh::extendBoundaryBasic(unsigned long smoothingPasses) {
    growBoundary();
    smoothBoundary(smoothingPasses);
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
}

void RectMesh::growBoundary() {
    Edge const start = getBoundaryEdge();
    LargerGrid larger(getNodes());
    larger.extrapolate(*this, start);
    larger.average();
    setNodes(larger.getNodes());
}

void RectMesh::smoothBoundary(unsigned long passes) {
    for (std::uint32_t i = 0; i < toUInt32(passes); ++i) {
        for (auto const& [node, point] : getSmoothed(*this, getBoundaryEdge())) {
            setPoint(node, point);
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
