#include "Geometry/flattening/internal/vertexloops.h"
#include "Geometry/trimesh/boundary/internal/loopcorners.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

// Before a mesh is flattened its vertices are renumbered, so that the unknowns of the system have the lowest
// numbers and what is fixed the highest: inner vertices in their old order, then the boundary loops in
// walking order, the longest last. "Longest" counts vertices, and of equals the first found is taken. If
// corners are pinned, the two of the longest loop that lie farthest apart change places with its last two
// vertices.
//
// Corners are turns of more than 80 degrees, as in boundary/corners.cpp; distances here are the squares of
// points in single precision, and 16384 corners are kept. Without two corners apart the first and the third
// vertex are pinned. The exchanges are done one after the other, also where the first moves the second pin:
// the numbering decides the order of sums in the solve, and so bits.
//
// A loop that meets itself, or a closed fan, has no place in one walk: "not manifold". All is found out
// before the first number changes. Cost: a fan a vertex, and the square of the number of corners.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t maxCorners = 16384;

/// A loop of fewer vertices encloses nothing.
constexpr std::size_t minLoopVertices = 3;

[[noreturn]] void throwNotManifold() {
    throw std::runtime_error("Mesh boundary is not manifold");
}

/// The loop with the two corners that lie farthest apart moved to its end.
std::vector<std::uint32_t> pinExtremeCorners(Connectivity const& surface, std::vector<std::uint32_t> loop) {
    LoopPoints const points(surface, loop);
    Diagonal const pins = getLongestDiagonal(points, getSharpestCorners(points, maxCorners),
                                             [](Point const& a, Point const& b) { return a.dSqr(b); });
    std::size_t const length = loop.size();
    std::swap(loop[length - 2], loop[pins.from]);
    std::swap(loop[length - 1], loop[pins.to]);
    return loop;
}

/// Moves the loop of the most vertices to the end.
void moveLongestToEnd(std::vector<std::vector<std::uint32_t>>& loops) {
    auto const longest = std::max_element(loops.begin(), loops.end(),
                                          [](auto const& a, auto const& b) { return a.size() < b.size(); });
    std::swap(*longest, loops.back());
    if (loops.back().size() < minLoopVertices) {
        throwNotManifold();
    }
}

/// For each vertex its new number.
std::vector<std::uint32_t> getNewIndices(VertexLoops const& vertexLoops, std::size_t numberOfVertices) {
    std::vector<std::uint32_t> newIndex(numberOfVertices);
    std::uint32_t next = 0;
    for (std::uint32_t const v : vertexLoops.interior) {
        newIndex[v] = next++;
    }
    for (std::vector<std::uint32_t> const& loop : vertexLoops.loops) {
        for (std::uint32_t const v : loop) {
            newIndex[v] = next++;
        }
    }
    return newIndex;
}

/// A cut that was read from a file may name vertices that are not there.
void renumberLip(std::vector<CutEdgeIndex>& lip, std::vector<std::uint32_t> const& newIndex) {
    for (CutEdgeIndex& entry : lip) {
        entry.index = entry.index < newIndex.size() ? newIndex[entry.index] : entry.index;
    }
}

} // namespace

VertexLoops classifyVertices(Connectivity const& surface) {
    VertexLoops vertexLoops;
    std::vector<bool> isClassified(surface.getNumberOfVertices(), false);
    for (std::uint32_t v = 0; v < surface.getNumberOfVertices(); ++v) {
        if (isClassified[v]) {
            continue;
        }
        if (!surface.getIsAttached(v)) {
            throw std::runtime_error("Mesh has a vertex without a triangle");
        }
        if (!surface.getIsOnBoundary(v)) {
            isClassified[v] = true;
            vertexLoops.interior.push_back(v);
            continue;
        }
        vertexLoops.loops.push_back(getBoundaryLoop(surface, v));
        for (std::uint32_t const onLoop : vertexLoops.loops.back()) {
            // A loop can also lead through a vertex whose own, listed fan is closed.
            if (isClassified[onLoop] || !surface.getIsOnBoundary(onLoop)) {
                throwNotManifold();
            }
            isClassified[onLoop] = true;
        }
    }
    if (vertexLoops.loops.empty()) {
        throw std::runtime_error("Mesh has no boundary");
    }
    return vertexLoops;
}

void Mesh::promoteInterior(bool doPinExtremeCorners, unsigned long& numberOfInteriorVertices,
                           unsigned long& numberOfBoundaryVertices) {
    VertexLoops vertexLoops = classifyVertices(getConnectivity());
    moveLongestToEnd(vertexLoops.loops);
    std::vector<std::uint32_t>& mainLoop = vertexLoops.loops.back();
    if (doPinExtremeCorners) {
        mainLoop = pinExtremeCorners(getConnectivity(), std::move(mainLoop));
    }
    std::vector<std::uint32_t> const newIndex = getNewIndices(vertexLoops, vertices.size());
    getBuilder().renumber(newIndex);
    renumberLip(cutEdgeIndices.first, newIndex);
    renumberLip(cutEdgeIndices.second, newIndex);
    numberOfInteriorVertices = vertexLoops.interior.size();
    numberOfBoundaryVertices = mainLoop.size();
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
