#pragma once

#include "Geometry/trimesh/internal/connectivity.h"
#include "Geometry/trimesh/internal/trianglearena.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

class Mesh;

/// All that changes how a mesh's triangles hang together. A view that owns nothing, valid as long as the
/// mesh; see `Connectivity` for what the lists mean, and `Mesh` for the operations that it has as well.
class SurfaceBuilder {
public:
    SurfaceBuilder(Mesh& newOwner, std::vector<Vertex>& newVertices,
                   std::vector<std::vector<Triangle*>>& newVertexTriangles, TriangleArena& newTriangles)
        : owner(newOwner),
          vertices(newVertices),
          vertexTriangles(newVertexTriangles),
          triangles(newTriangles) {}

    Connectivity getConnectivity() const { return {vertices, vertexTriangles}; }

    std::vector<Vertex>& getVertices() const { return vertices; }

    /// Makes room for so many vertices, or announces about so many triangles to come.
    void reserveVertices(std::size_t count) const;

    void reserveTriangles(std::size_t count) const { triangles.startRun(count); }

    void addVertex(Vertex const& vertex) const;
    bool addFloatingTriangle(std::vector<unsigned long> const& indices) const;
    bool addBoundaryTriangle(Edge const& e, std::uint32_t w) const;

    void clear() const;

    /// Forgets the triangles. The vertices stay and are floating.
    void clearTriangles() const;

    void dropFloatingVertices() const;

    /// Gives every vertex the number `newIndex` of its old one. The array of vertices stays where it is:
    /// references to them outlive it.
    void renumber(std::vector<std::uint32_t> const& newIndex) const;

    /// Takes all memory that `count` calls of `addTwin` need, so that they cannot end half way.
    void makeRoomForTwins(std::size_t count) const;

    /// Adds a vertex in the place of `v`, with the triangle of one side of a cut, and leaves that of the
    /// other to `v`. The result is its index. Triangles keep their indices: see `setOrigin`.
    std::uint32_t addTwin(std::uint32_t v, Triangle* ofTwin, Triangle* ofVertex) const;

    /// Unstitches the two triangles at an edge that is not on the boundary.
    static void part(Edge const& edge) { edge.makeBoundary(); }

    /// Lets the triangle of the edge have `v` where the edge starts.
    static void setOrigin(Edge const& edge, std::uint32_t v) {
        edge.triangle->setAdjacentVertexIndex(edge.triangleEdgeIndex + 1UL, v);
    }

private:
    bool addWithFloatingApex(Edge const& e, std::uint32_t w) const;
    bool addWithAttachedApex(Edge const& e, std::uint32_t w) const;
    bool stitchSidesAtApex(Triangle* triangle) const;
    bool stitchSide(Triangle* triangle, std::uint32_t side, std::uint32_t v) const;
    void takeOut(Triangle* triangle) const;

    std::vector<Triangle*>& getTrianglesAt(unsigned long v) const {
        return vertexTriangles[toUInt32(v) % toUInt32(vertices.size())];
    }

    Mesh& owner;
    std::vector<Vertex>& vertices;
    std::vector<std::vector<Triangle*>>& vertexTriangles;
    TriangleArena& triangles;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
