#pragma once

#include "Geometry/foundations/element.h"
#include "Geometry/trimesh/fan.h"
#include "Geometry/trimesh/triangle.h"
#include "Geometry/trimesh/vertex.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// How the triangles of a mesh hang together, for the algorithms to read: the vertices, and for each of them
/// some of the triangles that touch it. A vertex lists one triangle of each of its fans, the first fan
/// first; while it is floating, it lists a null pointer instead. A view that owns nothing, of the size of two
/// pointers, valid as long as the mesh.
///
/// Indices of vertices wrap unless an operation says otherwise.
class Connectivity {
public:
    Connectivity(std::vector<Vertex> const& newVertices,
                 std::vector<std::vector<Triangle*>> const& newVertexTriangles)
        : vertices(newVertices), vertexTriangles(newVertexTriangles) {}

    std::uint32_t getNumberOfVertices() const { return toUInt32(vertices.size()); }

    /// The place of a vertex on the surface; the index does not wrap.
    Point const& getPoint(unsigned long v) const { return vertices[v].getPoint3D(); }

    /// Whether no triangle touches the vertex.
    bool getIsFloating(unsigned long v) const {
        std::vector<Triangle*> const& list = getTrianglesAt(v);
        return !list.empty() && list.back() == nullptr;
    }

    /// False for an index out of range.
    bool getIsAttached(unsigned long v) const;

    /// Whether the first listed fan of the vertex is open. True for a floating vertex.
    bool getIsOnBoundary(unsigned long v) const { return getFan(v).getStartsAtBoundary(); }

    /// An edge out of the vertex, in its first listed fan, or one without a triangle if it is floating.
    Edge getArbitraryEdge(unsigned long v) const;

    /// The first listed fan of the vertex, all of it; empty for a floating vertex.
    Fan getFan(unsigned long v) const { return Fan::whole(getArbitraryEdge(v)); }

    /// Calls `visit` with the triangle of each edge of that fan, in an order that need not be the fan's: an
    /// open one need not be rewound first.
    template <class Visit>
    void visitFan(unsigned long v, Visit visit) const;

    /// The directed edge a to b.
    std::optional<Edge> findEdge(unsigned long a, unsigned long b) const;

private:
    std::vector<Triangle*> const& getTrianglesAt(unsigned long v) const {
        return vertexTriangles[toUInt32(v) % getNumberOfVertices()];
    }

    std::vector<Vertex> const& vertices;
    std::vector<std::vector<Triangle*>> const& vertexTriangles;
};

template <class Visit>
void Connectivity::visitFan(unsigned long v, Visit visit) const {
    Edge const start = getArbitraryEdge(v);
    Triangle* triangle = start.triangle;
    std::uint32_t side = start.triangleEdgeIndex;
    while (triangle != nullptr) {
        visit(triangle);
        std::uint32_t const before = side == 0 ? 2 : side - 1; // `Edge::onext`
        side = triangle->adjacentTriangleEdgeIndices[before];
        triangle = triangle->adjacentTriangles[before];
        if (triangle == start.triangle && side == start.triangleEdgeIndex) {
            return;
        }
    }
    // The fan is open: what is left of it lies in front of the start.
    for (Edge edge = start; edge.triangle != nullptr && !edge.isBoundary();) {
        edge = edge.oprev();
        visit(edge.triangle);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
