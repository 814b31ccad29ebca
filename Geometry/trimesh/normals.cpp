#include "Geometry/trimesh/mesh.h"

#include <cmath>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

Vector Mesh::getVertexNormal(unsigned long v) const {
    bool const isBoundaryVertex = getIsBoundaryVertex(v);
    Edge start = getVertexArbitraryEdge(v);
    if (isBoundaryVertex) {
        while (!start.isBoundary()) {
            start = start.oprev();
        }
    }
    Vector const normal = getFanAreaGradientNormal(isBoundaryVertex, start);
    std::uint32_t total = 0;
    std::uint32_t agreeing = 0;
    Edge edge = start;
    do {
        ++total;
        if (edge.N().dot(normal) > 0.0) {
            ++agreeing;
        }
        edge = edge.onext();
    } while (edge.triangle != nullptr && edge != start);
    return agreeing == total ? normal : -1.0 * normal;
}

Vector Mesh::getFanAreaGradientNormal(bool isBoundaryVertex, Edge const& start) const {
    Vector sum;
    if (isBoundaryVertex) {
        sum += 0.5 * start.perp3();
    }
    std::uint32_t count = 0;
    Edge edge = start;
    Edge last = start;
    do {
        sum += 0.5 * edge.rot().perp3();
        last = edge;
        edge = edge.onext();
        ++count;
    } while (edge.triangle != nullptr && edge != start);
    if (edge.triangle == nullptr) {
        sum += 0.5 * last.rot().rot().perp3();
    }
    return count == 1 ? start.N() : sum / std::sqrt(sum.lSqr());
}

void Mesh::calculateVertexNormals() {
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        vertices[v].setNormal3D(getVertexNormal(v));
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
