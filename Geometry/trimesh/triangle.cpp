#include "Geometry/trimesh/triangle.h"

#include <cstdio>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

Triangle::Triangle(Mesh* owner, std::vector<unsigned long> indices, std::vector<Triangle*> triangles,
                   std::vector<unsigned long> edgeIndices)
    : mesh(owner) {
    for (std::size_t i = 0; i < 3; ++i) {
        vertexIndices[i] = toUInt32(indices[i]);
        adjacentTriangles[i] = triangles[i];
        adjacentTriangleEdgeIndices[i] = toUInt32(edgeIndices[i]);
    }
}

Triangle::Triangle(Mesh* owner, std::array<std::uint32_t, 3> const& indices)
    : vertexIndices(indices),
      adjacentTriangles{nullptr, nullptr, nullptr},
      adjacentTriangleEdgeIndices{invalidEdgeIndex, invalidEdgeIndex, invalidEdgeIndex},
      mesh(owner) {}

Triangle::Triangle(Triangle const& other)
    : vertexIndices(other.vertexIndices),
      adjacentTriangles(other.adjacentTriangles),
      adjacentTriangleEdgeIndices(other.adjacentTriangleEdgeIndices),
      mesh(nullptr) {}

Triangle& Triangle::operator=(Triangle const& other) {
    vertexIndices = other.vertexIndices;
    adjacentTriangles = other.adjacentTriangles;
    adjacentTriangleEdgeIndices = other.adjacentTriangleEdgeIndices;
    return *this;
}

void Triangle::getVertexIndices(unsigned long& a, unsigned long& b, unsigned long& c) const {
    a = vertexIndices[0];
    b = vertexIndices[1];
    c = vertexIndices[2];
}

Edge Triangle::getEdge(unsigned long i) const {
    return Edge(const_cast<Triangle*>(this), wrapped(i));
}

TwoDimensional::BoundingBoxAA<double> Triangle::getAABB2D() const {
    TwoDimensional::BoundingBoxAA<double> box = getEdge(0).vphiorg2().getBoundingBox();
    box.expand(getEdge(1).vphiorg2().getBoundingBox());
    box.expand(getEdge(2).vphiorg2().getBoundingBox());
    return box;
}

void Triangle::print() const {
    char const* const rule = "------------------------------------------------------------------------\n";
    std::printf("%s", rule);
    std::printf("Triangle: 0x%p.\n", static_cast<void const*>(this));
    std::printf("Vertex indices: %d, %d, %d.\n", static_cast<int>(vertexIndices[0]),
                static_cast<int>(vertexIndices[1]), static_cast<int>(vertexIndices[2]));
    std::printf("Edge triangle pointers: 0x%p, 0x%p, 0x%p.\n", static_cast<void*>(adjacentTriangles[0]),
                static_cast<void*>(adjacentTriangles[1]), static_cast<void*>(adjacentTriangles[2]));
    std::printf("Edge triangle edge indices: %d, %d, %d.\n", static_cast<int>(adjacentTriangleEdgeIndices[0]),
                static_cast<int>(adjacentTriangleEdgeIndices[1]),
                static_cast<int>(adjacentTriangleEdgeIndices[2]));
    std::printf("%s", rule);
}

bool Triangle::getEdgeFromVertexIndex(unsigned long vertex, Edge* out) const {
    for (std::uint32_t k = 0; k < 3; ++k) {
        if (vertexIndices[k] == toUInt32(vertex)) {
            *out = getEdge(k + 2);
            return true;
        }
    }
    return false;
}

bool Triangle::getDoesContainEdgeCompliment(unsigned long a, unsigned long b, int* out) const {
    *out = -1;
    for (std::uint32_t k = 0; k < 3; ++k) {
        if (vertexIndices[k] == toUInt32(b)) {
            if (vertexIndices[wrapped(k + 1)] == toUInt32(a)) {
                *out = static_cast<int>(wrapped(k + 2));
            }
            return true;
        }
    }
    return true;
}

bool Triangle::connect(unsigned long i, Triangle* other, unsigned long j) {
    std::uint32_t const mine = wrapped(i);
    std::uint32_t const theirs = wrapped(j);
    if (adjacentTriangles[mine] != nullptr && adjacentTriangles[mine] != other) {
        return false;
    }
    if (other->adjacentTriangles[theirs] != nullptr && other->adjacentTriangles[theirs] != this) {
        return false;
    }
    release(mine);
    other->release(theirs);
    adjacentTriangles[mine] = other;
    adjacentTriangleEdgeIndices[mine] = theirs;
    other->adjacentTriangles[theirs] = this;
    other->adjacentTriangleEdgeIndices[theirs] = mine;
    return true;
}

void Triangle::release(std::uint32_t side) {
    if (adjacentTriangles[side] != nullptr) {
        adjacentTriangles[side]->makeBoundary(adjacentTriangleEdgeIndices[side]);
        makeBoundary(side);
    }
}

void Triangle::makeBoundary(unsigned long i) {
    adjacentTriangles[wrapped(i)] = nullptr;
    adjacentTriangleEdgeIndices[wrapped(i)] = invalidEdgeIndex;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
