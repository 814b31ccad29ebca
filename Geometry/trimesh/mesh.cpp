#include "Geometry/trimesh/mesh.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/trimesh/trianglearena.h"

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
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    getTriangles(list, first, last);
    std::vector<Vertex> keptVertices;
    std::vector<std::vector<Triangle*>> keptVertexTriangles;
    keptVertices.reserve(kept);
    keptVertexTriangles.reserve(kept);
    // All memory is there: from here on nothing throws.
    std::for_each(first, last, [&](Triangle* triangle) {
        for (std::uint32_t& index : triangle->vertexIndices) {
            index = newIndex[index];
        }
    });
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (newIndex[v] != 0xFFFFFFFFU) {
            keptVertices.push_back(vertices[v]);
            keptVertexTriangles.push_back(std::move(vertexTriangles[v]));
        }
    }
    vertices = std::move(keptVertices);
    vertexTriangles = std::move(keptVertexTriangles);
}

void Mesh::clear() {
    vertexTriangles.clear();
    vertices.clear();
}

double Mesh::round(double value) {
    return roundHalfUp(value);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
