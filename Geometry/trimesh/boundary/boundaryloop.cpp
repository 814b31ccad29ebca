#include "Geometry/trimesh/boundary/boundaryloop.h"

#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

// The public loops: all of them, with their lengths, also where sheets touch in a point. They are walked from
// side to side and not from vertex to vertex, since a vertex may lie on several: behind a boundary edge comes
// the one that is reached by turning across the fan at its end. Sides are marked as walked, so each lies on
// one loop. Then loops are turned to their lowest vertices and sorted by them, which makes the order
// independent of the triangles' addresses but for loops that share that vertex. boundaryloops.cpp has the
// walk that corners and flattening use. Cost: linear but for sorting the boundary.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// A side of a triangle, by its number: the vertex that it starts from may be there twice.
using Side = std::pair<Triangle const*, unsigned long>;

Side getSide(Edge const& edge) {
    Triangle const* const triangle = edge.getTriangle();
    unsigned long side = 0;
    while (triangle->getEdge(side) != edge) {
        ++side;
    }
    return {triangle, side};
}

bool getStartsLower(Edge const& a, Edge const& b) {
    return a.org() < b.org();
}

/// The boundary edge that follows another one: a turn around its end, across the fan of triangles there. Each
/// boundary edge follows one other, since stitches are mutual; so every walk comes back to where it began.
Edge getNextOnBoundary(Edge const& edge) {
    Edge next = edge.rot();
    while (!next.isBoundary()) {
        next = next.oprev();
    }
    return next;
}

/// The edges of the loop through `start` from its lowest vertex on. They are marked as walked.
std::vector<Edge> walkLoop(Edge const& start, std::set<Side>& walked) {
    std::vector<Edge> edges;
    for (Edge edge = start; walked.insert(getSide(edge)).second; edge = getNextOnBoundary(edge)) {
        edges.push_back(edge);
    }
    std::rotate(edges.begin(), std::min_element(edges.begin(), edges.end(), getStartsLower), edges.end());
    return edges;
}

BoundaryLoop makeLoop(std::vector<Edge> const& edges) {
    BoundaryLoop loop;
    for (Edge const& edge : edges) {
        loop.vertices.push_back(static_cast<std::uint32_t>(edge.org()));
        loop.length += std::sqrt(edge.vphi3().lSqr());
    }
    return loop;
}

} // namespace

std::vector<BoundaryLoop> Mesh::getBoundaryLoops() const {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    getTriangles(list, first, last);
    std::vector<Edge> starts;
    std::for_each(first, last, [&](Triangle const* triangle) {
        for (unsigned long side = 0; side < 3; ++side) {
            Edge const edge = triangle->getEdge(side);
            if (edge.isBoundary()) {
                starts.push_back(edge);
            }
        }
    });
    std::stable_sort(starts.begin(), starts.end(), getStartsLower);
    std::vector<BoundaryLoop> loops;
    std::set<Side> walked;
    for (Edge const& start : starts) {
        if (!walked.contains(getSide(start))) {
            loops.push_back(makeLoop(walkLoop(start, walked)));
        }
    }
    // A loop is met at its lowest vertex, unless a triangle that is not gathered starts lower.
    std::stable_sort(loops.begin(), loops.end(), [](BoundaryLoop const& a, BoundaryLoop const& b) {
        return a.vertices.front() < b.vertices.front();
    });
    return loops;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
