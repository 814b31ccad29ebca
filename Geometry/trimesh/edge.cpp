#include "Geometry/trimesh/edge.h"

#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/triangle.h"

namespace QELT::Geometry::ThreeDimensional::TriMesh {

unsigned long Edge::org() const {
    return triangle->vertexIndices[(triangleEdgeIndex + 1U) % 3U];
}

unsigned long Edge::dest() const {
    return triangle->vertexIndices[(triangleEdgeIndex + 2U) % 3U];
}

Edge Edge::sym() const {
    return Edge(triangle->adjacentTriangles[triangleEdgeIndex],
                triangle->adjacentTriangleEdgeIndices[triangleEdgeIndex]);
}

bool Edge::isBoundary() const {
    return triangle->adjacentTriangles[triangleEdgeIndex] == nullptr;
}

Point const& Edge::vphiorg3() const {
    return triangle->mesh->getVertex(org()).getPoint3D();
}

Point const& Edge::vphidest3() const {
    return triangle->mesh->getVertex(dest()).getPoint3D();
}

TwoDimensional::Point<double> const& Edge::vphiorg2() const {
    return triangle->mesh->getVertex(org()).getPoint2D();
}

TwoDimensional::Point<double> const& Edge::vphidest2() const {
    return triangle->mesh->getVertex(dest()).getPoint2D();
}

Vector Edge::N() const {
    Vector const normal = vphi3().cross(rot().vphi3());
    return normal / std::sqrt(normal.dot(normal));
}

void Edge::makeBoundary() const {
    Edge const across = sym();
    across.triangle->makeBoundary(across.triangleEdgeIndex);
    triangle->makeBoundary(triangleEdgeIndex);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
