#include "Geometry/trimesh/internal/normals.h"

#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

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
// Each corner is fetched once a triangle, and the sides between them serve all its terms, whose operations
// are those of `Edge::N` and `Edge::perp3`. Cost: a walk around each vertex, with several square roots a
// triangle.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// A triangle of a fan as seen from the fan's vertex: its sides in the order of its winding, the first one
/// out of the vertex, the second one opposite to it.
class Sector {
public:
    Sector(Connectivity const& surface, Edge const& spoke) {
        Point const& centre = surface.getPoint(spoke.org());
        Point const& next = surface.getPoint(spoke.dest());
        Point const& last = surface.getPoint(spoke.rot().dest());
        sides = {next - centre, last - next, centre - last};
    }

    /// `Edge::N` of a side.
    Vector getN(std::size_t side) const {
        Vector const normal = sides[side].cross(sides[(side + 1) % 3]);
        return normal / std::sqrt(normal.dot(normal));
    }

    /// `Edge::perp3` of a side.
    Vector getPerp(std::size_t side) const { return getN(side).cross(sides[side]); }

private:
    std::array<Vector, 3> sides;
};

Vector getAreaGradientNormal(std::vector<Sector> const& fan, bool isBoundaryVertex) {
    Vector sum;
    if (isBoundaryVertex) {
        sum += 0.5 * fan.front().getPerp(0);
    }
    for (Sector const& sector : fan) {
        sum += 0.5 * sector.getPerp(1);
    }
    if (isBoundaryVertex) {
        sum += 0.5 * fan.back().getPerp(2);
    }
    return fan.size() == 1 ? fan.front().getN(0) : sum / std::sqrt(sum.lSqr());
}

/// The normal at one vertex; `fan` is room for the sectors around it.
Vector getNormalOfFan(Connectivity const& surface, unsigned long v, std::vector<Sector>& fan) {
    fan.clear();
    Fan const spokes = surface.getFan(v);
    for (Edge const& spoke : spokes) {
        fan.emplace_back(surface, spoke);
    }
    Vector const normal = getAreaGradientNormal(fan, spokes.getStartsAtBoundary());
    bool const doAllAgree =
        std::ranges::all_of(fan, [&](Sector const& sector) { return sector.getN(0).dot(normal) > 0.0; });
    return doAllAgree ? normal : -1.0 * normal;
}

} // namespace

Vector getVertexNormal(Connectivity const& surface, unsigned long v) {
    std::vector<Sector> fan;
    return getNormalOfFan(surface, v, fan);
}

Vector Mesh::getVertexNormal(unsigned long v) const {
    return TriMesh::getVertexNormal(getConnectivity(), v);
}

void Mesh::calculateVertexNormals() {
    Connectivity const surface = getConnectivity();
    std::vector<Sector> fan;
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        vertices[v].setNormal3D(getNormalOfFan(surface, v, fan));
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
