#include "Geometry/trimesh/internal/trianglearena.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <array>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

bool Mesh::addVertex(Vertex const& vertex) {
    vertices.push_back(vertex);
    try {
        vertexTriangles.emplace_back(1, nullptr);
    } catch (...) {
        vertices.pop_back();
        throw;
    }
    return true;
}

bool Mesh::addFloatingTriangle(std::vector<unsigned long> const& indices) {
    if (indices.size() != 3) {
        return false;
    }
    for (unsigned long const v : indices) {
        if (!getIsVertexFloating(v)) {
            return true;
        }
    }
    Triangle* const triangle = triangles->create(this, indices);
    for (unsigned long const v : indices) {
        vertexTriangles[wrappedIndex(v)].front() = triangle;
    }
    return true;
}

bool Mesh::addBoundaryTriangle(Edge const& e, int w) {
    if (!e.isBoundary()) {
        return false;
    }
    auto const apex = static_cast<std::uint32_t>(w);
    return getIsVertexFloating(apex) ? addTriangleWithFloatingApex(e, apex)
                                     : addTriangleWithAttachedApex(e, apex);
}

bool Mesh::addTriangleWithFloatingApex(Edge const& e, unsigned long w) {
    Triangle* const triangle = triangles->create(this, {e.dest(), e.org(), w});
    vertexTriangles[wrappedIndex(w)].front() = triangle;
    return e.triangle->connect(e.triangleEdgeIndex, triangle, 2);
}

bool Mesh::addTriangleWithAttachedApex(Edge const& e, unsigned long w) {
    Triangle* const triangle = triangles->create(this, {e.org(), w, e.dest()});
    try {
        return e.triangle->connect(e.triangleEdgeIndex, triangle, 1) && stitchAttachedSides(triangle);
    } catch (...) {
        takeOut(triangle);
        throw;
    }
}

/// Stitches the two sides of a new triangle that meet in its apex, which is its second vertex.
bool Mesh::stitchAttachedSides(Triangle* triangle) {
    for (std::uint32_t i = 0; i < 2; ++i) {
        for (std::uint32_t const v : triangle->vertexIndices) {
            if (!stitchSide(triangle, i, v)) {
                return false;
            }
        }
    }
    return true;
}

/// Undoes all that was done for the triangle made last: a stitch never parts others.
void Mesh::takeOut(Triangle* triangle) {
    for (std::uint32_t side = 0; side < 3; ++side) {
        triangle->release(side);
        std::erase(vertexTriangles[wrappedIndex(triangle->vertexIndices[side])], triangle);
    }
    triangles->removeLast();
}

/// Stitches the side of `triangle` that runs from its vertex number `side` to the next to the triangles
/// listed at vertex `v` that have it the other way round. If there is none, `triangle` joins the list.
bool Mesh::stitchSide(Triangle* triangle, std::uint32_t side, unsigned long v) {
    std::uint32_t const a = triangle->vertexIndices[side];
    std::uint32_t const b = triangle->vertexIndices[side + 1];
    std::vector<Triangle*>& list = vertexTriangles[wrappedIndex(v)];
    bool isStitched = false;
    for (Triangle* const listed : list) {
        Edge spoke;
        if (listed == nullptr || !listed->getEdgeFromVertexIndex(v, &spoke)) {
            return false;
        }
        int opposite = -1;
        listed->getDoesContainEdgeCompliment(a, b, &opposite);
        if (opposite < 0) {
            continue;
        }
        if (!listed->connect(static_cast<std::uint32_t>(opposite), triangle, side + 2)) {
            return false;
        }
        isStitched = true;
    }
    if (!isStitched) {
        list.push_back(triangle);
    }
    return true;
}

bool Mesh::getIsVertexFloating(unsigned long v) const {
    std::vector<Triangle*> const& list = vertexTriangles[wrappedIndex(v)];
    return !list.empty() && list.back() == nullptr;
}

bool Mesh::getIsVertexAttached(unsigned long v) const {
    if (toUInt32(v) >= vertexTriangles.size()) {
        return false;
    }
    std::vector<Triangle*> const& list = vertexTriangles[toUInt32(v)];
    return !list.empty() && list.front() != nullptr;
}

Edge Mesh::getVertexArbitraryEdge(unsigned long v) const {
    Triangle* const triangle = vertexTriangles[wrappedIndex(v)].front();
    if (triangle == nullptr) {
        return Edge(nullptr, Triangle::invalidEdgeIndex);
    }
    // A vertex that the triangle does not have answers as if it were the last.
    std::uint32_t k = 0;
    while (k < 2 && triangle->vertexIndices[k] != toUInt32(v)) {
        ++k;
    }
    return triangle->getEdge(k + 2);
}

bool Mesh::getIsBoundaryVertex(unsigned long v) const {
    Edge const start = getVertexArbitraryEdge(v);
    Edge edge = start;
    while (edge.triangle != nullptr) {
        edge = edge.onext();
        if (edge == start) {
            return false;
        }
    }
    return true;
}

bool Mesh::getDoesEdgeExist(unsigned long a, unsigned long b, Edge* out) const {
    if (getIsVertexFloating(a)) {
        return false;
    }
    bool const isBoundaryVertex = getIsBoundaryVertex(a);
    std::vector<Triangle*> const& list = vertexTriangles[wrappedIndex(a)];
    return std::any_of(list.begin(), list.end(), [&](Triangle* listed) {
        Edge spoke;
        return listed != nullptr && listed->getEdgeFromVertexIndex(a, &spoke) &&
               findSpoke(spoke, isBoundaryVertex, b, out);
    });
}

/// Looks through the fan of `start` for the spoke that ends at `b`. An open fan is rewound to its first
/// spoke; the rewind also ends where it set out, since this fan may be closed although the vertex counts as
/// boundary.
bool Mesh::findSpoke(Edge start, bool isBoundaryVertex, unsigned long b, Edge* out) {
    if (isBoundaryVertex) {
        Edge const rewindStart = start;
        while (!start.isBoundary()) {
            start = start.oprev();
            if (start == rewindStart) {
                break;
            }
        }
    }
    Edge edge = start;
    do {
        if (edge.dest() == toUInt32(b)) {
            if (out != nullptr) {
                *out = edge;
            }
            return true;
        }
        edge = edge.onext();
    } while (edge.triangle != nullptr && edge != start);
    return false;
}

bool Mesh::getIsVertexAdmissable(Edge const& e, unsigned long w) const {
    Point const& pointA = e.vphiorg3();
    Point const& pointB = e.vphidest3();
    Point const& pointC = e.rot().vphidest3();
    Point const& pointW = getVertex(w).getPoint3D();
    Vector const oldNormal = (pointA - pointC).cross(pointB - pointA);
    Vector const newNormal = (pointB - pointW).cross(pointA - pointB);
    return oldNormal.dot(newNormal) > 0.0;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
