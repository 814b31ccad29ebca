#include "Geometry/trimesh/mesh.h"

#include <limits>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr double largestDouble = std::numeric_limits<double>::max();

} // namespace

bool Mesh::makeCut(CutMetric metric, unsigned long axis, unsigned long perpendicularAxis) {
    cutEdgeIndices.first.clear();
    cutEdgeIndices.second.clear();
    std::uint32_t start = 0;
    if (!findExtremeBoundaryVertex(metric, axis, start)) {
        return false;
    }
    Vector const perpendicular(perpendicularAxis, metric == Maximum ? 1.0 : -1.0);
    Vector const planeNormal = Vector(axis, 1.0).cross(perpendicular);
    std::vector<Edge> path;
    if (!findCutPath(start, planeNormal, path)) {
        return false;
    }
    makeRoomForTwins(path.size() + 1);
    slit(path);
    return true;
}

/// Takes all memory that slitting needs, so that it cannot end half way. The twins' lists come last: without
/// the vertices they must not stay.
void Mesh::makeRoomForTwins(std::size_t count) {
    cutEdgeIndices.first.reserve(count);
    cutEdgeIndices.second.reserve(count);
    vertices.reserve(vertices.size() + count);
    vertexTriangles.resize(vertices.size() + count, {nullptr});
}

bool Mesh::findExtremeBoundaryVertex(CutMetric metric, unsigned long axis, std::uint32_t& extreme) const {
    double best = metric == Minimum ? largestDouble : -largestDouble;
    bool isFound = false;
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (!getIsVertexAttached(v) || !getIsBoundaryVertex(v)) {
            continue;
        }
        double const place = vertices[v].getPoint3D().get(axis);
        if (metric == Minimum ? place < best : place > best) {
            best = place;
            extreme = v;
            isFound = true;
        }
    }
    return isFound;
}

/// An edge out of the vertex; at the boundary, the one from which its fan goes on.
Edge Mesh::getFirstSpoke(std::uint32_t v, bool isOnBoundary) const {
    Edge edge = getVertexArbitraryEdge(v);
    while (isOnBoundary && !edge.isBoundary()) {
        edge = edge.oprev();
    }
    return edge;
}

/// Whether the edge starts in the fan that its vertex is listed with. A cut divides that fan, also where
/// others touch it in the vertex.
bool Mesh::getIsSpokeOfListedFan(Edge const& edge, bool isOnBoundary) const {
    Edge const first = getFirstSpoke(toUInt32(edge.org()), isOnBoundary);
    Edge spoke = first;
    do {
        if (spoke == edge) {
            return true;
        }
        spoke = spoke.onext();
    } while (spoke.triangle != nullptr && spoke != first);
    return false;
}

/// Finds edges from the start to another boundary vertex, each ending as near as can be to the plane through
/// the start. False if the path gets stuck, runs into itself or along the boundary, if an edge ends exactly
/// on the plane, or if one leads into a lesser fan of its end.
bool Mesh::findCutPath(std::uint32_t start, Vector const& planeNormal, std::vector<Edge>& path) const {
    Point const origin = vertices[start].getPoint3D();
    std::vector<bool> isOnPath(vertices.size(), false);
    std::uint32_t current = start;
    bool isOnBoundary = true;
    Vector normal = getFirstSpoke(start, true).N();
    do {
        isOnPath[current] = true;
        Edge const first = getFirstSpoke(current, isOnBoundary);
        Vector const forward = planeNormal.cross(normal);
        double best = largestDouble;
        bool isChosen = false;
        Edge chosen = first;
        Edge spoke = first;
        do {
            double const t = (spoke.vphidest3() - origin).dot(planeNormal);
            if (best > t * t && spoke.vphi3().dot(forward) > 0.0) {
                chosen = spoke;
                best = t * t;
                isChosen = true;
            }
            spoke = spoke.onext();
        } while (spoke.triangle != nullptr && spoke != first);
        if (!isChosen || best == 0.0 || chosen.isBoundary()) {
            return false;
        }
        current = toUInt32(chosen.dest());
        if (isOnPath[current]) {
            return false;
        }
        normal = chosen.N();
        isOnBoundary = getIsBoundaryVertex(current);
        if (!getIsSpokeOfListedFan(chosen.rot(), isOnBoundary)) {
            return false;
        }
        path.push_back(chosen);
    } while (!isOnBoundary);
    return true;
}

/// Opens the edges of the path and gives the triangles on its left vertices of their own.
void Mesh::slit(std::vector<Edge> const& path) {
    Edge const& last = path.back();
    Triangle* other = nullptr;
    for (Edge const& edge : path) {
        other = edge.sym().triangle;
        auto const org = toUInt32(edge.org());
        std::uint32_t const split = splitVertex(org, edge, other);
        edge.makeBoundary();
        for (Edge spoke = edge; spoke.triangle != nullptr; spoke = spoke.onext()) {
            spoke.triangle->setAdjacentVertexIndex(spoke.triangleEdgeIndex + 1UL, split);
        }
    }
    auto const end = toUInt32(last.dest());
    std::uint32_t const split = splitVertex(end, last, other);
    for (Edge spoke = last.rot(); spoke.triangle != nullptr; spoke = spoke.oprev()) {
        spoke.triangle->setAdjacentVertexIndex(spoke.triangleEdgeIndex + 1UL, split);
    }
}

/// Adds the twin of a vertex on the path for the left lip, which starts from the triangle of `edge`; the
/// vertex itself stays with the right lip, from `other` on.
std::uint32_t Mesh::splitVertex(std::uint32_t v, Edge const& edge, Triangle* other) {
    std::uint32_t const split = toUInt32(vertices.size());
    Point const point = vertices[v].getPoint3D();
    vertices.emplace_back(point);
    vertexTriangles[split].front() = edge.triangle;
    vertexTriangles[v].front() = other;
    cutEdgeIndices.first.push_back({v});
    cutEdgeIndices.second.push_back({split});
    return split;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
