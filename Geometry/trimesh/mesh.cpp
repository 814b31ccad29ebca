#include "Geometry/trimesh/mesh.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/internal/triangletally.h"

#include <algorithm>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

Mesh::Mesh() : triangles(std::make_unique<TriangleArena>()) {}

Mesh::~Mesh() = default;

Connectivity Mesh::getConnectivity() const {
    return {vertices, vertexTriangles};
}

SurfaceBuilder Mesh::getBuilder() {
    return {*this, vertices, vertexTriangles, *triangles};
}

namespace {

/// How often the fans that the vertices show meet each triangle.
TriangleTally getTallyOfFans(Connectivity const& surface, TriangleArena const& triangles) {
    TriangleTally tally(triangles);
    for (std::uint32_t v = 0; v < surface.getNumberOfVertices(); ++v) {
        surface.visitFan(v, [&](Triangle const* triangle) { tally.add(triangle); });
    }
    return tally;
}

} // namespace

void Mesh::getTriangles(std::vector<Triangle*>& list, std::vector<Triangle*>::iterator& first,
                        std::vector<Triangle*>::iterator& last) const {
    TriangleTally const tally = getTallyOfFans(getConnectivity(), *triangles);
    list.clear();
    list.reserve(tally.getTotal());
    tally.forEach([&](Triangle* triangle, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            list.push_back(triangle);
        }
    });
    first = list.begin();
    last = std::unique(list.begin(), list.end());
}

std::vector<Triangle*> Mesh::getUnlistedTriangles() const {
    TriangleTally const tally = getTallyOfFans(getConnectivity(), *triangles);
    std::vector<Triangle*> unlisted;
    tally.forEach([&](Triangle* triangle, std::uint32_t count) {
        if (count == 0) {
            unlisted.push_back(triangle);
        }
    });
    return unlisted;
}

bool Mesh::addVertex(Vertex const& vertex) {
    getBuilder().addVertex(vertex);
    return true;
}

bool Mesh::addFloatingTriangle(std::vector<unsigned long> const& indices) {
    return getBuilder().addFloatingTriangle(indices);
}

bool Mesh::addBoundaryTriangle(Edge const& e, int w) {
    return getBuilder().addBoundaryTriangle(e, static_cast<std::uint32_t>(w));
}

bool Mesh::getIsVertexFloating(unsigned long v) const {
    return getConnectivity().getIsFloating(v);
}

bool Mesh::getIsVertexAttached(unsigned long v) const {
    return getConnectivity().getIsAttached(v);
}

bool Mesh::getIsBoundaryVertex(unsigned long v) const {
    return getConnectivity().getIsOnBoundary(v);
}

bool Mesh::getDoesEdgeExist(unsigned long a, unsigned long b, Edge* out) const {
    auto const edge = getConnectivity().findEdge(a, b);
    if (edge && out != nullptr) {
        *out = *edge;
    }
    return edge.has_value();
}

Edge Mesh::getVertexArbitraryEdge(unsigned long v) const {
    return getConnectivity().getArbitraryEdge(v);
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

void Mesh::clean() {
    getBuilder().dropFloatingVertices();
}

void Mesh::clear() {
    getBuilder().clear();
}

double Mesh::round(double value) {
    return roundHalfUp(value);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
