#include "Inspection/parts/meshsummary.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace QELT::Inspection {

namespace {

/// A side of a triangle, by the vertex that it starts from.
using Side = std::pair<Triangle const*, unsigned long>;

Side sideOf(Edge const& edge) {
    return {edge.getTriangle(), edge.org()};
}

/// The boundary edge that follows another one: a turn around its end, across the fan of triangles there.
Edge nextOnBoundary(Edge const& edge) {
    Edge next = edge.rot();
    while (!next.isBoundary()) {
        next = next.oprev();
    }
    return next;
}

BoundaryLoop walkFrom(Edge const& start, std::set<Side>& walked) {
    BoundaryLoop loop;
    Edge edge = start;
    while (walked.insert(sideOf(edge)).second) {
        loop.vertices.push_back(edge.org());
        loop.length += std::sqrt(edge.vphi3().lSqr());
        edge = nextOnBoundary(edge);
    }
    return loop;
}

} // namespace

std::vector<Triangle*> trianglesOf(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return std::vector<Triangle*>(first, last);
}

std::vector<BoundaryLoop> boundaryLoopsOf(std::vector<Triangle*> const& triangles) {
    std::vector<BoundaryLoop> loops;
    std::set<Side> walked;
    for (Triangle const* const triangle : triangles) {
        for (unsigned long i = 0; i < 3; ++i) {
            Edge const edge = triangle->getEdge(i);
            if (edge.isBoundary() && !walked.contains(sideOf(edge))) {
                loops.push_back(walkFrom(edge, walked));
            }
        }
    }
    std::stable_sort(loops.begin(), loops.end(),
                     [](BoundaryLoop const& a, BoundaryLoop const& b) { return a.length > b.length; });
    return loops;
}

MeshSummary meshSummaryOf(Mesh const& mesh) {
    auto const triangles = trianglesOf(mesh);
    return {mesh.getNumberOfVertices(), triangles.size(), mesh.getCutEdgeIndices().first.size(),
            boundaryLoopsOf(triangles)};
}

double twiceFlatArea(Triangle const& triangle) {
    Edge const edge = triangle.getEdge(0);
    return edge.vphi2().det(edge.rot().vphi2());
}

FlatSummary flatSummaryOf(Mesh const& mesh, std::vector<Triangle*> const& triangles) {
    FlatSummary summary;
    if (mesh.getNumberOfVertices() > 0) {
        auto box = mesh.getVertex(0).getPoint2D().getBoundingBox();
        for (unsigned long i = 1; i < mesh.getNumberOfVertices(); ++i) {
            box.expand(mesh.getVertex(i).getPoint2D().getBoundingBox());
        }
        summary.low = box.getp();
        summary.width = box.getd().getdU();
        summary.height = box.getd().getdV();
    }
    for (Triangle const* const triangle : triangles) {
        double const area = twiceFlatArea(*triangle);
        summary.flippedCount += area < 0.0 ? 1 : 0;
        summary.degenerateCount += area < 0.0 || area > 0.0 ? 0 : 1;
    }
    return summary;
}

GridSize expectedGridSize(FlatSummary const& flat, std::vector<Triangle*> const& triangles, double quadArea) {
    double stretchSum = 0.0;
    double count = 0.0;
    for (Triangle const* const triangle : triangles) {
        double const flatArea = std::abs(twiceFlatArea(*triangle));
        if (flatArea > 0.0) {
            Edge const edge = triangle->getEdge(0);
            stretchSum += std::sqrt(edge.vphi3().cross(edge.rot().vphi3()).lSqr()) / flatArea;
            count += 1.0;
        }
    }
    double const spacing = std::sqrt(quadArea / (stretchSum / count));
    return {flat.width / spacing, flat.height / spacing};
}

} // namespace QELT::Inspection
