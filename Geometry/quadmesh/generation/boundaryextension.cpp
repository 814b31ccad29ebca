#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <array>
#include <stdexcept>
#include <utility>

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

/// The nodes beyond a boundary edge p to q that it can reach: straight across from both ends, and from either
/// end on over the corner.
std::array<Extrapolation, 4> getExtrapolations(Edge const& e) {
    Edge const beyond = e.rot().sym().rot().sym().rot().rot();
    return {{{e.oprev().dest(), e.org(), e.onext().dest()},
             {e.sym().onext().dest(), e.dest(), e.rot().dest()},
             {beyond.dest(), e.dest(), e.rot().rot().dest()},
             {e.onext().onext().rot().dest(), e.org(), e.rot().dest()}}};
}

} // namespace

/// A grid with a margin of one node around a former one, and how many values each of its nodes has gathered.
struct RectMesh::LargerGrid {
    explicit LargerGrid(RectMesh const& source) : grid(Unnumbered{}) {
        grid.init({source.extents.u + 2UL, source.extents.v + 2UL});
        counts.resize(grid.extents.v + std::size_t{1});
        for (std::vector<std::uint32_t>& row : counts) {
            row.resize(grid.extents.u + std::size_t{1}, 0);
        }
        for (std::uint32_t v = 0; v <= source.extents.v; ++v) {
            for (std::uint32_t u = 0; u <= source.extents.u; ++u) {
                grid.points[v + 1][u + 1] = source.points[v][u];
                grid.flags[v + 1][u + 1] = source.flags[v][u];
                counts[v + 1][u + 1] = source.flags[v][u] != 0 ? 1 : 0;
            }
        }
    }

    /// Adds a value to a node.
    void gather(GridPoint const& node, Point const& value) {
        auto const u = static_cast<std::size_t>(node.getU());
        auto const v = static_cast<std::size_t>(node.getV());
        Point& point = grid.points[static_cast<std::ptrdiff_t>(v)][u];
        point = TriangleMeasures::bary(point, value, 1.0, 1.0);
        if (++counts[v][u] == 1) {
            grid.flags[static_cast<std::ptrdiff_t>(v)][u] = 1U << Valid;
        }
    }

    /// Makes each node the mean of the values that it gathered.
    void average() {
        for (std::size_t v = 0; v < counts.size(); ++v) {
            for (std::size_t u = 0; u < counts[v].size(); ++u) {
                double const count = counts[v][u];
                if (counts[v][u] > 1) {
                    Point& point = grid.points[static_cast<std::ptrdiff_t>(v)][u];
                    point.set(point.getX() / count, point.getY() / count, point.getZ() / count);
                }
            }
        }
    }

    RectMesh grid;
    std::vector<std::vector<std::uint32_t>> counts;
};

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
    LargerGrid larger(*this);
    Edge edge = start;
    do {
        for (Extrapolation const& way : getExtrapolations(edge)) {
            bool const isWanted = getIsPointInBounds(way.target) && !getIsPointValid(way.target);
            if (isWanted && getIsPointValid(way.base) && getIsPointValid(way.behind) &&
                !getPointFlag(way.base, CutBoundary)) {
                larger.gather(way.target + margin,
                              TriangleMeasures::bary(getPoint(way.base), getPoint(way.behind), 2.0, -1.0));
            }
        }
        edge = getNextBoundaryEdge(edge);
    } while (edge != start);
    larger.average();

    uninit();
    points = std::move(larger.grid.points);
    flags = std::move(larger.grid.flags);
    extents = larger.grid.extents;
    for (std::uint32_t i = 0; i < toUInt32(smoothingPasses); ++i) {
        smoothBoundary();
    }
    updateQuadAreas();
}

/// Moves the nodes at which the boundary runs straight on to the middle of their neighbours along it, all
/// from the points as they were before.
void RectMesh::smoothBoundary() {
    std::vector<std::pair<GridPoint, Point>> moves;
    Edge const start = getBoundaryEdge();
    Edge edge = start;
    do {
        Edge const before = edge.onext().onext().sym();
        if (before.isBoundary()) {
            Point const origin;
            Vector const sum = (getPoint(edge.dest()) - origin) + (getPoint(before.org()) - origin);
            moves.emplace_back(edge.org(), origin + 0.5 * sum);
        }
        edge = getNextBoundaryEdge(edge);
    } while (edge != start);
    for (auto const& [node, point] : moves) {
        setPoint(node, point);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
