#pragma once

#include "Geometry/quadmesh/rectmesh.h"

#include <cstdint>
#include <memory>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The nodes of a grid for the algorithms beside it: rows of points and of flag bytes, and the highest
/// indices. A member function hands in those of its grid or takes over new ones. Copies share the rows, as
/// copies of a grid do, and a constant one may be written through. What is stored counts here, not what a
/// derived grid shows. No range check, and nothing to ask for where the grid is empty.
struct Nodes {
    std::shared_ptr<std::unique_ptr<ThreeDimensional::Point[]>[]> points;
    std::shared_ptr<std::unique_ptr<char[]>[]> flags;
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;

    ThreeDimensional::Point& pointOf(TwoDimensional::Point<int> const& node) const {
        return points[node.getV()][static_cast<std::size_t>(node.getU())];
    }

    char& flagsOf(TwoDimensional::Point<int> const& node) const {
        return flags[node.getV()][static_cast<std::size_t>(node.getU())];
    }

    bool getIsInBounds(TwoDimensional::Point<int> const& node) const {
        return node.getU() >= 0 && node.getU() <= static_cast<int>(extentU) && node.getV() >= 0 &&
               node.getV() <= static_cast<int>(extentV);
    }
};

/// Nodes of their own, all invalid and with points of zeros.
/// \throws std::runtime_error "Insufficient memory to initialise quad-mesh.".
[[nodiscard]] Nodes makeNodes(TwoDimensional::Vector<unsigned long> const& extents);

/// The tables of such nodes with no row in them yet, and row `v` put into its place.
[[nodiscard]] Nodes makeRowTables(TwoDimensional::Vector<unsigned long> const& extents);
void makeRow(Nodes const& nodes, std::uint32_t v);

/// The same, and calls `fill` with the number, the points and the flags of each row as soon as it is made:
/// memory is the dearest part of a grid, and a row that was just made is still at hand.
template <class Fill>
[[nodiscard]] Nodes makeNodes(TwoDimensional::Vector<unsigned long> const& extents, Fill fill) {
    Nodes const nodes = makeRowTables(extents);
    for (std::uint32_t v = 0; v <= nodes.extentV; ++v) {
        makeRow(nodes, v);
        fill(v, nodes.points[v].get(), nodes.flags[v].get());
    }
    return nodes;
}

constexpr bool getHasFlag(char flagByte, RectMesh::PointFlagID id) {
    return ((static_cast<unsigned>(static_cast<unsigned char>(flagByte)) >> id) & 1U) != 0;
}

/// The byte with that flag set.
constexpr char withFlag(char flagByte, RectMesh::PointFlagID id) {
    return static_cast<char>(static_cast<unsigned char>(flagByte) | (1U << id));
}

/// Calls `visit` with every node of a grid with these extents, row by row. An empty grid counts as the one
/// node (0, 0).
template <class Visit>
void forEachNode(TwoDimensional::Vector<unsigned long> const& extents, Visit visit) {
    std::uint32_t const extentU = toUInt32(extents.getdU());
    std::uint32_t const extentV = toUInt32(extents.getdV());
    for (std::uint32_t v = 0; v <= extentV; ++v) {
        for (std::uint32_t u = 0; u <= extentU; ++u) {
            visit(TwoDimensional::Point<int>(static_cast<int>(u), static_cast<int>(v)));
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
