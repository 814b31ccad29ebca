#include "Geometry/trimesh/mesh.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/trimesh/internal/trianglearena.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

Mesh::Mesh() : triangles(std::make_unique<TriangleArena>()) {}

Mesh::~Mesh() = default;

void Mesh::getTriangles(std::vector<Triangle*>& list, std::vector<Triangle*>::iterator& first,
                        std::vector<Triangle*>::iterator& last) const {
    list.clear();
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        Edge start = getVertexArbitraryEdge(v);
        if (start.triangle == nullptr) {
            continue;
        }
        if (getIsBoundaryVertex(v)) {
            while (!start.isBoundary()) {
                start = start.oprev();
            }
        }
        Edge edge = start;
        do {
            list.push_back(edge.triangle);
            edge = edge.onext();
        } while (edge.triangle != nullptr && edge != start);
    }
    std::sort(list.begin(), list.end(), std::less<>());
    first = list.begin();
    last = std::unique(list.begin(), list.end());
}

std::vector<Triangle*> Mesh::getUnlistedTriangles() const {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    getTriangles(list, first, last);
    std::vector<Triangle*> unlisted;
    triangles->forEachOfSurface([&](Triangle& triangle) {
        if (!std::binary_search(first, last, &triangle, std::less<>())) {
            unlisted.push_back(&triangle);
        }
    });
    std::sort(unlisted.begin(), unlisted.end(), std::less<>());
    return unlisted;
}

void Mesh::clean() {
    std::vector<std::uint32_t> newIndex(vertices.size(), 0xFFFFFFFFU);
    std::uint32_t kept = 0;
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (getIsVertexAttached(v)) {
            newIndex[v] = kept++;
        }
    }
    if (kept == vertices.size()) {
        return;
    }
    std::vector<Vertex> keptVertices;
    std::vector<std::vector<Triangle*>> keptVertexTriangles;
    keptVertices.reserve(kept);
    keptVertexTriangles.reserve(kept);
    // All memory is there: from here on nothing throws.
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (newIndex[v] != 0xFFFFFFFFU) {
            keptVertices.push_back(vertices[v]);
            keptVertexTriangles.push_back(std::move(vertexTriangles[v]));
        }
    }
    renumberTriangles(newIndex);
    vertices = std::move(keptVertices);
    vertexTriangles = std::move(keptVertexTriangles);
}

/// Every triangle, whether `getTriangles` sees it or not: navigation leads to all of them.
void Mesh::renumberTriangles(std::vector<std::uint32_t> const& newIndex) {
    triangles->forEachOfSurface([&](Triangle& triangle) {
        for (std::uint32_t& index : triangle.vertexIndices) {
            index = index < newIndex.size() ? newIndex[index] : index;
        }
    });
}

void Mesh::clear() {
    triangles->startSurface();
    vertexTriangles.clear();
    vertices.clear();
}

double Mesh::round(double value) {
    return roundHalfUp(value);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
