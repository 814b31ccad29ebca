#include "Geometry/quadmesh/internal/nodes.h"

#include <new>
#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

/// What a node takes: its point and its flag byte.
constexpr std::uint64_t bytesPerNode = sizeof(ThreeDimensional::Point) + sizeof(char);

/// What a row takes beside its nodes: two pointers and the allocator's share of two blocks.
constexpr std::uint64_t bytesPerRow = 2 * sizeof(void*) + 64;

/// Whether the memory for a grid could be had at once. Rows are allocated one by one and would fill the
/// memory before the first of them failed; asking for the whole beforehand refuses absurd sizes without
/// touching it.
bool getIsMemoryAvailable(std::uint64_t nodesU, std::uint64_t nodesV) {
    constexpr std::uint64_t maxBytes = PTRDIFF_MAX;
    std::uint64_t const rowBytes = nodesU * bytesPerNode + bytesPerRow;
    if (nodesV > maxBytes / rowBytes) {
        return false;
    }
    void* const block = ::operator new(static_cast<std::size_t>(nodesV * rowBytes), std::nothrow);
    ::operator delete(block);
    return block != nullptr;
}

[[noreturn]] void throwInsufficientMemory() {
    throw std::runtime_error("Insufficient memory to initialise quad-mesh.");
}

template <class Node>
NodeRow<Node> allocateNodes(std::size_t count) {
    return NodeRow<Node>(static_cast<Node*>(::operator new(count * sizeof(Node))));
}

} // namespace

Nodes makeRowTables(TwoDimensional::Vector<unsigned long> const& extents) {
    Nodes nodes;
    nodes.extentU = toUInt32(extents.getdU());
    nodes.extentV = toUInt32(extents.getdV());
    std::uint64_t const nodesU = std::uint64_t{nodes.extentU} + 1;
    std::uint64_t const nodesV = std::uint64_t{nodes.extentV} + 1;
    // Indices of nodes are signed.
    constexpr std::uint64_t maxNodes = std::uint64_t{1} << 31U;
    if (nodesU > maxNodes || nodesV > maxNodes || !getIsMemoryAvailable(nodesU, nodesV)) {
        throwInsufficientMemory();
    }
    try {
        nodes.points.reset(new NodeRow<ThreeDimensional::Point>[nodesV]);
        nodes.flags.reset(new NodeRow<char>[nodesV]);
    } catch (std::bad_alloc const&) {
        throwInsufficientMemory();
    }
    return nodes;
}

void allocateRow(Nodes const& nodes, std::uint32_t v) {
    std::size_t const nodesU = nodes.extentU + std::size_t{1};
    try {
        nodes.points[v] = allocateNodes<ThreeDimensional::Point>(nodesU);
        nodes.flags[v] = allocateNodes<char>(nodesU);
    } catch (std::bad_alloc const&) {
        throwInsufficientMemory();
    }
}

Nodes makeNodes(TwoDimensional::Vector<unsigned long> const& extents) {
    std::size_t const nodesU = toUInt32(extents.getdU()) + std::size_t{1};
    return makeNodes(extents, [nodesU](std::uint32_t, ThreeDimensional::Point* points, char* flags) {
        constructEmpty(points, flags, nodesU);
    });
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
