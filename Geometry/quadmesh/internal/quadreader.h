#pragma once

#include "Geometry/quadmesh/rectmesh.h"

#include <array>
#include <cstddef>
#include <optional>
#include <typeinfo>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The corners of a quad, as they stand in the rows of a grid.
class QuadCorners {
public:
    /// From the two corners of the lower row and those of the higher one.
    QuadCorners(Point const* newLowRow, Point const* newHighRow) : lowRow(newLowRow), highRow(newHighRow) {}

    Point const& low() const { return lowRow[0]; }

    Point const& alongU() const { return lowRow[1]; }

    Point const& opposite() const { return highRow[1]; }

    Point const& alongV() const { return highRow[0]; }

private:
    Point const* lowRow;
    Point const* highRow;
};

/// The quads of a grid for a search that reads many of them. A plain grid is read from its rows, a derived
/// one as its `getPoint` shows it. It refers to the grid and its rows, which must not be replaced meanwhile.
class QuadReader {
public:
    using PointRows = NodeRow<Point> const*;
    using FlagRows = NodeRow<char> const*;

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

    /// Of a quad inside the grid, existing or not. Those of a derived grid stand here until the next are
    /// asked for.
    QuadCorners getCorners(TwoDimensional::Point<int> const& quad) const {
        if (!isPlain) {
            return getShownCorners(quad);
        }
        auto const u = static_cast<std::size_t>(quad.getU());
        return {pointRows[quad.getV()].get() + u, pointRows[quad.getV() + 1].get() + u};
    }

    /// Of a node inside the grid.
    Point getPoint(TwoDimensional::Point<int> const& node) const {
        return isPlain ? pointRows[node.getV()][static_cast<std::size_t>(node.getU())] : grid.getPoint(node);
    }

private:
    /// By itself, so that reading the rows stays in line.
    QuadCorners getShownCorners(TwoDimensional::Point<int> const& quad) const {
        using Step = TwoDimensional::Vector<int>;
        shown = std::array{grid.getPoint(quad), grid.getPoint(quad + Step(1, 0)),
                           grid.getPoint(quad + Step(0, 1)), grid.getPoint(quad + Step(1, 1))};
        return {shown->data(), shown->data() + 2};
    }

    RectMesh const& grid;
    PointRows pointRows;
    FlagRows flagRows;
    int extentU;
    int extentV;
    bool isPlain;
    mutable std::optional<std::array<Point, 4>> shown;
};

// In line, so that nothing of the reader is made that its user does not ask for.
inline QuadReader RectMesh::getQuadReader() const {
    return {*this, points.get(), flags.get(), extents.u, extents.v};
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
