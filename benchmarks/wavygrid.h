#pragma once

#include "Geometry/geometry.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

/// A grid for tasks on whole grids, and the same nodes without one.
namespace Benchmarks {

using namespace QELT::Geometry;
using namespace QELT::Geometry::ThreeDimensional;
using QuadMesh::RectMesh;

inline Point wavyPlace(double x, double y) {
    return {x, y, 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y)};
}

/// A wavy grid of `side` by `side` quads whose outline is a disc, unless it fills its rectangle.
inline RectMesh makeWavyGrid(int side, bool isDisc) {
    constexpr double extent = 100.0;
    RectMesh grid;
    grid.setAsPlane(TwoDimensional::Vector<double>(extent, extent), extent / side, true, 1000);
    for (int v = 0; v <= side; ++v) {
        for (int u = 0; u <= side; ++u) {
            Point const p = grid.getPoint({u, v});
            grid.setPoint({u, v}, wavyPlace(p.getX(), p.getY()));
            double const radius = std::hypot(u - 0.5 * side, v - 0.5 * side);
            grid.setPointValidity({u, v}, !isDisc || radius < 0.48 * side);
        }
    }
    RectMesh settled;
    grid.getSubSampled(RectMesh::Factor, 1, settled);
    return settled;
}

/// Nodes as plain rows.
struct PlainRows {
    PlainRows(std::size_t nodesU, std::size_t nodesV) : points(nodesV), flags(nodesV) {
        for (std::size_t v = 0; v < nodesV; ++v) {
            points[v] = std::make_unique<Point[]>(nodesU);
            flags[v] = std::make_unique<char[]>(nodesU);
        }
    }

    std::vector<std::unique_ptr<Point[]>> points;
    std::vector<std::unique_ptr<char[]>> flags;
};

inline PlainRows plainRowsOf(RectMesh const& grid) {
    std::size_t const nodesU = grid.getExtents().getdU() + 1;
    std::size_t const nodesV = grid.getExtents().getdV() + 1;
    PlainRows rows(nodesU, nodesV);
    for (std::size_t v = 0; v < nodesV; ++v) {
        for (std::size_t u = 0; u < nodesU; ++u) {
            TwoDimensional::Point<int> const place(static_cast<int>(u), static_cast<int>(v));
            rows.points[v][u] = grid.getPoint(place);
            rows.flags[v][u] = grid.getPointFlags(place);
        }
    }
    return rows;
}

} // namespace Benchmarks
