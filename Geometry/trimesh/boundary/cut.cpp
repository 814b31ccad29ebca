#include "Geometry/trimesh/boundary/internal/cutpath.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/mesh.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

// A tube is slit along edges, so that it can be flattened:
//
//        .-----.                           z
//       (       * start: Maximum along z   |
//       |       |                          '--- x
//       |       |--> normal: perpendicularAxis x
//       |       |
//       (       * end
//        '-----'
//
// The path leads from the extreme boundary vertex in the plane through it along both axes (cutpath.cpp). Then
// its edges are parted and its vertices doubled, both ends included: the twins, with new indices, go to the
// triangles on the left.
//
// No tolerance: distances from the plane are compared as squares, the first of equals stays. That an edge
// which ends exactly on the plane ends the search without a cut is odd, since no path could be straighter; it
// is kept, because which surfaces are cut is part of the interface. The path may not enter a vertex in
// another sheet than that which the vertex lists: another fan would be slit there. All memory is taken before
// the first edge parts.
//
// Cost: a look at every vertex for the start, and a fan for every vertex of the path.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

std::optional<std::uint32_t> findExtremeBoundaryVertex(Connectivity const& surface, CutMetric metric,
                                                       unsigned long axis) {
    constexpr double beyondAll = std::numeric_limits<double>::max();
    double best = metric == Minimum ? beyondAll : -beyondAll;
    std::optional<std::uint32_t> extreme;
    for (std::uint32_t v = 0; v < surface.getNumberOfVertices(); ++v) {
        if (!surface.getIsAttached(v) || !surface.getIsOnBoundary(v)) {
            continue;
        }
        double const place = surface.getPoint(v).get(axis);
        if (metric == Minimum ? place < best : place > best) {
            best = place;
            extreme = v;
        }
    }
    return extreme;
}

/// The lips of the path that is slit, with room for as many entries as it has vertices.
class Slit {
public:
    Slit(SurfaceBuilder const& newBuilder, CutEdgeIndices& newLips) : builder(newBuilder), lips(newLips) {}

    /// Opens the edges of the path and gives the triangles on its left vertices of their own. An exception
    /// leaves the mesh as it was.
    void open(std::vector<Edge> const& path) {
        makeRoom(path.size() + 1);
        Edge const& last = path.back();
        Triangle* onRight = nullptr;
        for (Edge const& edge : path) {
            onRight = edge.sym().getTriangle();
            std::uint32_t const twin = split(toUInt32(edge.org()), edge, onRight);
            SurfaceBuilder::part(edge);
            for (Edge const& spoke : Fan(edge)) {
                SurfaceBuilder::setOrigin(spoke, twin);
            }
        }
        std::uint32_t const twin = split(toUInt32(last.dest()), last, onRight);
        for (Edge spoke = last.rot(); spoke.getTriangle() != nullptr; spoke = spoke.oprev()) {
            SurfaceBuilder::setOrigin(spoke, twin);
        }
    }

private:
    void makeRoom(std::size_t count) {
        lips.first.reserve(count);
        lips.second.reserve(count);
        builder.makeRoomForTwins(count);
    }

    /// Adds the twin of a vertex on the path for the left lip, which starts from the triangle of `edge`; the
    /// vertex itself stays with the right lip.
    std::uint32_t split(std::uint32_t v, Edge const& edge, Triangle* onRight) {
        std::uint32_t const twin = builder.addTwin(v, edge.getTriangle(), onRight);
        lips.first.push_back({v});
        lips.second.push_back({twin});
        return twin;
    }

    SurfaceBuilder builder;
    CutEdgeIndices& lips;
};

} // namespace

bool Mesh::makeCut(CutMetric metric, unsigned long axis, unsigned long perpendicularAxis) {
    cutEdgeIndices.first.clear();
    cutEdgeIndices.second.clear();
    auto const start = findExtremeBoundaryVertex(getConnectivity(), metric, axis);
    if (!start) {
        return false;
    }
    Vector const perpendicular(perpendicularAxis, metric == Maximum ? 1.0 : -1.0);
    Vector const planeNormal = Vector(axis, 1.0).cross(perpendicular);
    auto const path = findCutPath(getConnectivity(), *start, planeNormal);
    if (!path) {
        return false;
    }
    Slit(getBuilder(), cutEdgeIndices).open(*path);
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
