#include "Geometry/trimesh/boundary/internal/boundaryloops.h"
#include "Geometry/trimesh/boundary/internal/sharpestturns.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t mostCorners = 16384;

/// A loop of fewer vertices encloses nothing.
constexpr std::size_t fewestLoopVertices = 3;

[[noreturn]] void throwNotManifold() {
    throw std::runtime_error("Mesh boundary is not manifold");
}

} // namespace

void Mesh::promoteInterior(bool doPinExtremeCorners, unsigned long& numberOfInteriorVertices,
                           unsigned long& numberOfBoundaryVertices) {
    BoundaryLoops vertexLoops = classifyVertices();
    auto const longest = std::max_element(vertexLoops.loops.begin(), vertexLoops.loops.end(),
                                          [](auto const& a, auto const& b) { return a.size() < b.size(); });
    std::swap(*longest, vertexLoops.loops.back());
    std::vector<std::uint32_t>& mainLoop = vertexLoops.loops.back();
    if (mainLoop.size() < fewestLoopVertices) {
        throwNotManifold();
    }
    if (doPinExtremeCorners) {
        pinExtremeCorners(mainLoop);
    }

    std::vector<std::uint32_t> newIndex(vertices.size());
    std::uint32_t next = 0;
    for (std::uint32_t const v : vertexLoops.interior) {
        newIndex[v] = next++;
    }
    for (std::vector<std::uint32_t> const& loop : vertexLoops.loops) {
        for (std::uint32_t const v : loop) {
            newIndex[v] = next++;
        }
    }
    renumberVertices(newIndex);
    numberOfInteriorVertices = vertexLoops.interior.size();
    numberOfBoundaryVertices = mainLoop.size();
}

Mesh::BoundaryLoops Mesh::classifyVertices() const {
    BoundaryLoops vertexLoops;
    std::vector<bool> isClassified(vertices.size(), false);
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (isClassified[v]) {
            continue;
        }
        if (!getIsVertexAttached(v)) {
            throw std::runtime_error("Mesh has a vertex without a triangle");
        }
        if (!getIsBoundaryVertex(v)) {
            isClassified[v] = true;
            vertexLoops.interior.push_back(v);
            continue;
        }
        vertexLoops.loops.push_back(getBoundaryLoop(v));
        for (std::uint32_t const onLoop : vertexLoops.loops.back()) {
            // A loop can also lead through a vertex whose own, listed fan is closed.
            if (isClassified[onLoop] || !getIsBoundaryVertex(onLoop)) {
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

/// The vertices of the boundary loop through `start`, from there on, with the surface on the left.
std::vector<std::uint32_t> Mesh::getBoundaryLoop(std::uint32_t start) const {
    std::vector<std::uint32_t> loop;
    Edge edge = getVertexArbitraryEdge(start);
    do {
        loop.push_back(toUInt32(edge.org()));
        while (!edge.isBoundary()) {
            edge = edge.oprev();
        }
        edge = edge.rot();
    } while (edge.org() != start);
    return loop;
}

/// Moves the two corners of the loop that lie farthest apart to its end. Without two corners apart, the first
/// and the third vertex take their place.
void Mesh::pinExtremeCorners(std::vector<std::uint32_t>& loop) const {
    auto const length = static_cast<std::uint32_t>(loop.size());
    auto const pointAt = [&](std::uint32_t place) -> Point const& {
        return vertices[loop[place % length]].getPoint3D();
    };
    SharpestTurns corners(mostCorners);
    for (std::uint32_t j = 0; j < length; ++j) {
        Vector const in = pointAt(j + 1) - pointAt(j);
        Vector const out = pointAt(j + 2) - pointAt(j + 1);
        corners.offer(in.dot(out) / std::sqrt(in.lSqr() * out.lSqr()), (j + 1) % length);
    }
    std::uint32_t firstPin = 0;
    std::uint32_t secondPin = 2;
    double greatest = 0.0;
    for (std::uint32_t const i : corners.getPositions()) {
        for (std::uint32_t const j : corners.getPositions()) {
            double const distanceSqr = pointAt(i).dSqr(pointAt(j));
            if (distanceSqr > greatest) {
                greatest = distanceSqr;
                firstPin = j;
                secondPin = i;
            }
        }
    }
    // One after the other, also where the first swap moves the second pin.
    std::swap(loop[length - 2], loop[firstPin]);
    std::swap(loop[length - 1], loop[secondPin]);
}

void Mesh::renumberVertices(std::vector<std::uint32_t> const& newIndex) {
    // The array of vertices stays where it is: references to them outlive the renumbering.
    std::vector<Vertex> const oldVertices = vertices;
    std::vector<std::vector<Triangle*>> newVertexTriangles(newIndex.size());
    // All memory is there: from here on nothing throws.
    for (std::size_t i = 0; i < newIndex.size(); ++i) {
        vertices[newIndex[i]] = oldVertices[i];
        newVertexTriangles[newIndex[i]] = std::move(vertexTriangles[i]);
    }
    vertexTriangles = std::move(newVertexTriangles);
    renumberTriangles(newIndex);
    for (std::vector<CutEdgeIndex>* const lip : {&cutEdgeIndices.first, &cutEdgeIndices.second}) {
        for (CutEdgeIndex& entry : *lip) {
            // A cut read from a file may name vertices that are not there.
            entry.index = entry.index < newIndex.size() ? newIndex[entry.index] : entry.index;
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
