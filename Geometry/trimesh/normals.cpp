#include "Geometry/trimesh/internal/normals.h"

#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <cmath>

// The normal at a vertex is the direction in which it has to move for the area of its fan to grow fastest:
// the sum, over the fan's triangles, of half the side opposite the vertex turned by a right angle in the
// triangle's plane, which points at the vertex's side (the discrete mean curvature normal; Desbrun et al.,
// "Implicit Fairing of Irregular Meshes using Diffusion and Curvature Flow", 1999). At the boundary half of
// the two outer sides is added. A lone triangle gives its own normal.
//
// On a bump the gradient faces as the surface does, in a dent the other way: unless all triangles of the fan
// face its way, strictly, it is turned over as a whole. On a saddle no sign fits all; then it is turned, also
// where most triangles agreed. A flat fan around an inner vertex has no gradient: rounding decides, or 0 / 0
// gives NaN. No tolerance tells such fans from others; one would change the normals of gently curved parts.
//
// Cost: a walk around each vertex, with several square roots a triangle.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

Vector getAreaGradientNormal(Fan const& fan) {
    bool const isBoundaryVertex = fan.getStartsAtBoundary();
    Edge const first = *fan.begin();
    Vector sum;
    if (isBoundaryVertex) {
        sum += 0.5 * first.perp3();
    }
    std::uint32_t count = 0;
    Edge last = first;
    for (Edge const& spoke : fan) {
        sum += 0.5 * spoke.rot().perp3();
        last = spoke;
        ++count;
    }
    if (isBoundaryVertex) {
        sum += 0.5 * last.rot().rot().perp3();
    }
    return count == 1 ? first.N() : sum / std::sqrt(sum.lSqr());
}

} // namespace

Vector getVertexNormal(Connectivity const& surface, unsigned long v) {
    Fan const fan = surface.getFan(v);
    Vector const normal = getAreaGradientNormal(fan);
    bool const doAllAgree =
        std::ranges::all_of(fan, [&](Edge const& spoke) { return spoke.N().dot(normal) > 0.0; });
    return doAllAgree ? normal : -1.0 * normal;
}

Vector Mesh::getVertexNormal(unsigned long v) const {
    return TriMesh::getVertexNormal(getConnectivity(), v);
}

void Mesh::calculateVertexNormals() {
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        vertices[v].setNormal3D(getVertexNormal(v));
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
