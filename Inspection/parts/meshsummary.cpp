#include "Inspection/parts/meshsummary.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

/// Whether the place lies on one of the triangle's sides in the flat map.
bool isNearSides(Triangle const& triangle, FlatPoint const& place, double tolerance) {
    for (unsigned long i = 0; i < 3; ++i) {
        Edge const edge = triangle.getEdge(i);
        auto const side = edge.vphi2();
        auto const way = place - edge.vphiorg2();
        double const share = side.lSqr() > 0.0 ? std::clamp(way.dot(side) / side.lSqr(), 0.0, 1.0) : 0.0;
        if ((way - side * share).lSqr() <= tolerance * tolerance) {
            return true;
        }
    }
    return false;
}

void measure(Mesh const& mesh, std::vector<Triangle*> const& triangles, MeshSummary& summary) {
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        Point const& point = mesh.getVertex(i).getPoint3D();
        summary.low = i == 0 ? point : summary.low;
        summary.high = i == 0 ? point : summary.high;
        summary.low.setMin(point);
        summary.high.setMax(point);
    }
    for (Triangle const* const triangle : triangles) {
        Edge const edge = triangle->getEdge(0);
        summary.area += 0.5 * std::sqrt(edge.vphi3().cross(edge.rot().vphi3()).lSqr());
    }
}

} // namespace

std::vector<Triangle*> trianglesOf(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return std::vector<Triangle*>(first, last);
}

std::vector<BoundaryLoop> boundaryLoopsOf(Mesh const& mesh) {
    std::vector<BoundaryLoop> loops = mesh.getBoundaryLoops();
    std::stable_sort(loops.begin(), loops.end(),
                     [](BoundaryLoop const& a, BoundaryLoop const& b) { return a.length > b.length; });
    return loops;
}

MeshSummary meshSummaryOf(Mesh const& mesh) {
    auto const triangles = trianglesOf(mesh);
    MeshSummary summary;
    summary.vertexCount = mesh.getNumberOfVertices();
    summary.faceCount = triangles.size();
    summary.unlistedCount = mesh.getUnlistedTriangles().size();
    summary.cutEntryCount = mesh.getCutEdgeIndices().first.size();
    summary.loops = boundaryLoopsOf(mesh);
    measure(mesh, triangles, summary);
    return summary;
}

void addFigures(Record& record, MeshSummary const& summary) {
    record.figure("vertices", summary.vertexCount);
    record.figure("faces", summary.faceCount);
    record.figure("boundaryLoops", summary.loops.size());
    if (summary.cutEntryCount > 0) {
        record.figure("cutEntries", summary.cutEntryCount);
    }
    if (summary.vertexCount > 0) {
        record.figure("low", summary.low);
        record.figure("high", summary.high);
    }
    record.figure("area", summary.area);
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

std::size_t flatlessTrianglesAt(std::vector<FlatPoint> const& places, std::vector<Triangle*> const& triangles,
                                double spacing) {
    double const tolerance = 1e-5 * spacing;
    auto const covers = [&](Triangle const* triangle) {
        return std::any_of(places.begin(), places.end(),
                           [&](FlatPoint const& place) { return isNearSides(*triangle, place, tolerance); });
    };
    return static_cast<std::size_t>(
        std::count_if(triangles.begin(), triangles.end(), [&](Triangle const* triangle) {
            return !(std::abs(twiceFlatArea(*triangle)) > 0.0) && covers(triangle);
        }));
}

} // namespace QELT::Inspection
