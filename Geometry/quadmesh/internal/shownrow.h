#pragma once

#include "Geometry/quadmesh/internal/nodes.h"

#include <cstddef>
#include <typeinfo>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// A row of the points of a plain grid, which shows what it stores.
class StoredRow {
public:
    explicit StoredRow(Point const* newPoints) : points(newPoints) {}

    Point const& operator[](std::size_t u) const { return points[u]; }

private:
    Point const* points;
};

/// A row of a derived grid: every point is asked of `getPoint`, whenever it is read.
class ShownRow {
public:
    ShownRow(RectMesh const& newGrid, std::uint32_t newV) : grid(newGrid), v(static_cast<int>(newV)) {}

    Point operator[](std::size_t u) const { return grid.getPoint({static_cast<int>(u), v}); }

private:
    RectMesh const& grid;
    int v;
};

/// Whether the grid is no derived one, so that its rows are what it shows.
[[nodiscard]] inline bool getIsPlain(RectMesh const& grid) {
    return typeid(grid) == typeid(RectMesh);
}

/// Calls `visit` with a row of the points that the grid, whose nodes these are, shows. No range check.
template <class Visit>
void visitShownRow(RectMesh const& grid, Nodes const& nodes, std::uint32_t v, Visit visit) {
    if (getIsPlain(grid)) {
        visit(StoredRow(nodes.points[v].get()));
    } else {
        visit(ShownRow(grid, v));
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
