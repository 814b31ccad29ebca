#pragma once

#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The nodes of a grid for the algorithms beside it: rows of points and of flag bytes, and the highest
/// indices. A member function hands in those of its grid or takes over new ones. Copies share the rows, as
/// copies of a grid do, and a constant one may be written through. What is stored counts here, not what a
/// derived grid shows. No range check, and nothing to ask for where the grid is empty.
struct Nodes {
    std::shared_ptr<NodeRow<ThreeDimensional::Point>[]> points;
    std::shared_ptr<NodeRow<char>[]> flags;
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

/// The tables of such nodes with no row in them yet, and memory for row `v` put into its place, in which no
/// node has begun.
[[nodiscard]] Nodes makeRowTables(TwoDimensional::Vector<unsigned long> const& extents);
void allocateRow(Nodes const& nodes, std::uint32_t v);

/// Nodes that `construct` makes: it is called with the number, the points and the flags of each row in turn,
/// and begins each node of it, the points in bare memory. A row is so written once and not twice: memory is
/// the dearest part of a grid.
template <class Construct>
[[nodiscard]] Nodes makeNodes(TwoDimensional::Vector<unsigned long> const& extents, Construct construct) {
    Nodes const nodes = makeRowTables(extents);
    for (std::uint32_t v = 0; v <= nodes.extentV; ++v) {
        allocateRow(nodes, v);
        construct(v, nodes.points[v].get(), nodes.flags[v].get());
    }
    return nodes;
}

/// Begins nodes that are empty: not valid, with points of zeros.
inline void constructEmpty(ThreeDimensional::Point* points, char* flags, std::size_t count) {
    std::uninitialized_value_construct_n(points, count);
    std::fill_n(flags, count, char{0});
}

/// Begins nodes as copies of others.
inline void constructCopies(ThreeDimensional::Point const* sourcePoints, char const* sourceFlags,
                            std::size_t count, ThreeDimensional::Point* points, char* flags) {
    std::uninitialized_copy_n(sourcePoints, count, points);
    std::copy_n(sourceFlags, count, flags);
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
