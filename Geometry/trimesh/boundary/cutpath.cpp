#include "Geometry/trimesh/boundary/internal/cutpath.h"

#include <algorithm>
#include <limits>

// The path of a cut is a greedy walk (cut.cpp tells what for). At each vertex `forward` is at right angles to
// the plane's normal and to the triangle that the last edge belongs to; of the listed fan's edges that lead
// that way, strictly, the one that ends nearest to the plane is next. The walk ends at the first vertex on
// the boundary.
//
// It never looks back, so it can get stuck: where all edges lead sideways, where it comes to a vertex that it
// has been to, or along the boundary. Each is told as no path. The square of a distance below about 1e-162 is
// 0, like that of an edge on the plane.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// Of the edges that lead forward, the one that ends nearest to the plane through `origin`, the first of
/// equals. None if there is none, or if that one ends exactly on the plane.
std::optional<Edge> chooseSpoke(Fan const& fan, Point const& origin, Vector const& planeNormal,
                                Vector const& forward) {
    double best = std::numeric_limits<double>::max();
    std::optional<Edge> chosen;
    for (Edge const& spoke : fan) {
        double const t = (spoke.vphidest3() - origin).dot(planeNormal);
        if (best > t * t && spoke.vphi3().dot(forward) > 0.0) {
            chosen = spoke;
            best = t * t;
        }
    }
    return best == 0.0 ? std::nullopt : chosen;
}

/// Whether the edge starts in the fan that its vertex is listed with. A cut divides that fan, also where
/// others touch it in the vertex.
bool getIsSpokeOfListedFan(Connectivity const& surface, Edge const& edge) {
    return std::ranges::any_of(surface.getFan(edge.org()), [&](Edge const& spoke) { return spoke == edge; });
}

} // namespace

std::optional<std::vector<Edge>> findCutPath(Connectivity const& surface, std::uint32_t start,
                                             Vector const& planeNormal) {
    Point const& origin = surface.getPoint(start);
    std::vector<bool> isOnPath(surface.getNumberOfVertices(), false);
    std::vector<Edge> path;
    std::uint32_t current = start;
    Vector normal = surface.getFan(start).begin()->N();
    do {
        isOnPath[current] = true;
        auto const next =
            chooseSpoke(surface.getFan(current), origin, planeNormal, planeNormal.cross(normal));
        if (!next || next->isBoundary()) {
            return std::nullopt;
        }
        current = toUInt32(next->dest());
        if (isOnPath[current] || !getIsSpokeOfListedFan(surface, next->rot())) {
            return std::nullopt;
        }
        normal = next->N();
        path.push_back(*next);
    } while (!surface.getIsOnBoundary(current));
    return path;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
