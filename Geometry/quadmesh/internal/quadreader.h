#pragma once

#include "Geometry/quadmesh/rectmesh.h"

#include <cstddef>
#include <memory>
#include <typeinfo>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The corners of a quad.
struct QuadCorners {
    Point low;
    Point alongU;
    Point opposite;
    Point alongV;
};

/// The quads of a grid for a search that reads many of them. A plain grid is read from its rows, a derived
/// one as its `getPoint` shows it. It refers to the grid and its rows, which must not be replaced meanwhile.
class QuadReader {
public:
    using PointRows = std::unique_ptr<Point[]> const*;
    using FlagRows = std::unique_ptr<char[]> const*;

    /// The rows are those of the grid, null for a grid without nodes.
    QuadReader(RectMesh const& newGrid, PointRows newPointRows, FlagRows newFlagRows,
               std::uint32_t newExtentU, std::uint32_t newExtentV)
        : grid(newGrid),
          pointRows(newPointRows),
          flagRows(newFlagRows),
          extentU(static_cast<int>(newExtentU)),
          extentV(static_cast<int>(newExtentV)),
          isPlain(typeid(newGrid) == typeid(RectMesh)) {}

    /// The highest indices of a node.
    int getExtentU() const { return extentU; }

    int getExtentV() const { return extentV; }

    /// Whether the four corners are in the grid and valid.
    bool getIsValid(TwoDimensional::Point<int> const& quad) const {
        int const u = quad.getU();
        int const v = quad.getV();
        if (u < 0 || v < 0 || u >= extentU || v >= extentV) {
            return false;
        }
        constexpr unsigned validBit = 1U << RectMesh::Valid;
        char const* const low = flagRows[v].get() + u;
        char const* const high = flagRows[v + 1].get() + u;
        return (static_cast<unsigned>(low[0] & low[1] & high[0] & high[1]) & validBit) != 0;
    }

    /// Of a quad inside the grid, existing or not.
    QuadCorners getCorners(TwoDimensional::Point<int> const& quad) const {
        if (!isPlain) {
            using Step = TwoDimensional::Vector<int>;
            return {grid.getPoint(quad), grid.getPoint(quad + Step(1, 0)), grid.getPoint(quad + Step(1, 1)),
                    grid.getPoint(quad + Step(0, 1))};
        }
        Point const* const low = pointRows[quad.getV()].get() + quad.getU();
        Point const* const high = pointRows[quad.getV() + 1].get() + quad.getU();
        return {low[0], low[1], high[1], high[0]};
    }

    /// Of a node inside the grid.
    Point getPoint(TwoDimensional::Point<int> const& node) const {
        return isPlain ? pointRows[node.getV()][static_cast<std::size_t>(node.getU())] : grid.getPoint(node);
    }

private:
    RectMesh const& grid;
    PointRows pointRows;
    FlagRows flagRows;
    int extentU;
    int extentV;
    bool isPlain;
};

// In line, so that nothing of the reader is made that its user does not ask for.
inline QuadReader RectMesh::getQuadReader() const {
    return {*this, points.get(), flags.get(), extents.u, extents.v};
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
