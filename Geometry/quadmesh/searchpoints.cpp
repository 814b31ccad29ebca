#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// Search points are existing quads spread over the grid: each place of a lattice that keeps the grid's aspect
// takes the existing quad that is nearest to it in its column of the grid, the lower of two equally near.
//
// A tall grid has many places in one column. Where a place has no quad of its own, the column's quads are
// gathered once and then searched by halves, for each column of the lattice apart: all of it costs at most as
// much as the grid has nodes, also where walks up and down from each place would meet nothing but holes.
// 32-bit products may wrap on the largest grids, so places need not ascend; they never leave the grid.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

constexpr std::uint32_t minSearchPoints = 8;

/// One column of a grid, and the rows of its existing quads once they were asked for.
class QuadColumn {
public:
    QuadColumn(RectMesh const& newGrid, int newU) : grid(newGrid), u(newU) {}

    /// Whether the column has a quad; `v` becomes the row of the one nearest to it.
    bool findNearest(int& v) {
        if (grid.getIsQuadValid(GridPoint(u, v))) {
            return true;
        }
        gather();
        if (rows.empty()) {
            return false;
        }
        auto const above = std::lower_bound(rows.begin(), rows.end(), v);
        auto const below = above == rows.begin() ? above : above - 1;
        bool const isBelow = above == rows.end() || std::abs(v - *below) <= std::abs(*above - v);
        v = isBelow ? *below : *above;
        return true;
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
            int row = getPlace(j, pointsV, extents.v);
            if (columns[i].findNearest(row)) {
                searchPoints.emplace_back(getPlace(i, pointsU, extents.u), row);
            }
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
