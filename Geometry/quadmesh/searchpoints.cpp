#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

// Search points are existing quads spread over the grid: each place of a lattice that keeps the grid's aspect
// takes the existing quad that is nearest to it in its column of the grid, the lower of two equally near.
//
// Steps: one point for so many quads, at least eight in all; the lattice that has about as many places in the
// grid's aspect; for each place, row by row, its column's nearest quad. A place whose column has no quad has
// no point.
//
// A tall grid has many places in one column. Where a place has no quad of its own, the column's quads are
// gathered once and then searched by halves, for each column of the lattice apart: all of it costs at most as
// much as the grid has nodes, also where walks up and down from each place would meet nothing but holes.
//
// Odd on purpose: 32-bit products may wrap on the largest grids, so places need not ascend; they never leave
// the grid. The counts are those of the lattice, also where places found no quad. A grid without quads along
// an axis keeps the counts of 1 and has no points.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

constexpr std::uint32_t minSearchPoints = 8;

/// One column of a grid, and the rows of its existing quads once they were asked for.
class QuadColumn {
public:
    QuadColumn(RectMesh const& newGrid, int newU) : grid(newGrid), u(newU) {}

    /// The row of the column's quad that is nearest to row `v`, if there is any.
    std::optional<int> getNearest(int v) {
        if (grid.getIsQuadValid(GridPoint(u, v))) {
            return v;
        }
        gather();
        if (rows.empty()) {
            return std::nullopt;
        }
        auto const above = std::lower_bound(rows.begin(), rows.end(), v);
        auto const below = above == rows.begin() ? above : above - 1;
        bool const isBelow = above == rows.end() || std::abs(v - *below) <= std::abs(*above - v);
        return isBelow ? *below : *above;
    }

private:
    void gather() {
        if (isGathered) {
            return;
        }
        isGathered = true;
        auto const count = static_cast<int>(grid.getExtents().getdV());
        for (int v = 0; v < count; ++v) {
            if (grid.getIsQuadValid(GridPoint(u, v))) {
                rows.push_back(v);
            }
        }
    }

    RectMesh const& grid;
    int u;
    bool isGathered = false;
    std::vector<int> rows;
};

/// Place `i` of `count` along a direction of the grid, clear of its border.
int getPlace(std::uint32_t i, std::uint32_t count, std::uint32_t extent) {
    return static_cast<int>((i + 1U) * extent / (count + 1U));
}

} // namespace

void RectMesh::setNumberOfSearchPoints(unsigned long u, unsigned long v) {
    numberOfSearchPointsU = toUInt32(u);
    numberOfSearchPointsV = toUInt32(v);
    std::uint32_t latticeU = numberOfSearchPointsU;
    std::uint32_t latticeV = numberOfSearchPointsV;
    calculateSearchPoints(quadsPerSearchPoint, latticeU, latticeV);
}

void RectMesh::calculateSearchPoints(std::uint32_t const& quadsPerPoint, std::uint32_t& pointsU,
                                     std::uint32_t& pointsV) {
    searchPoints.clear();
    pointsU = 1;
    pointsV = 1;
    if (extents.u == 0 || extents.v == 0) {
        return;
    }
    double const u = extents.u;
    double const v = extents.v;
    std::uint32_t const count = std::max(extents.u * extents.v / quadsPerPoint, minSearchPoints);
    double const root = std::sqrt(static_cast<double>(count) * u / v);
    pointsU = std::max(truncateToUInt32(root), 1U);
    pointsV = std::max(truncateToUInt32(root * v / u), 1U);
    std::vector<QuadColumn> columns;
    columns.reserve(pointsU);
    for (std::uint32_t i = 0; i < pointsU; ++i) {
        columns.emplace_back(*this, getPlace(i, pointsU, extents.u));
    }
    for (std::uint32_t j = 0; j < pointsV; ++j) {
        for (std::uint32_t i = 0; i < pointsU; ++i) {
            if (auto const row = columns[i].getNearest(getPlace(j, pointsV, extents.v))) {
                searchPoints.emplace_back(getPlace(i, pointsU, extents.u), *row);
            }
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
