#include "Inspection/grids/gridsummary.h"

#include "Inspection/parts/meshsummary.h"

#include <cmath>

namespace QELT::Inspection {

namespace {

/// Calls `visit` with the index of every node; of no node if the grid is empty.
template <class Visit>
void forEachNode(Grid const& grid, Visit visit) {
    auto const extents = grid.getExtents();
    for (unsigned long v = 0; v <= extents.getdV(); ++v) {
        for (unsigned long u = 0; u <= extents.getdU(); ++u) {
            visit(GridIndex(static_cast<int>(u), static_cast<int>(v)));
        }
    }
}

void countNode(Grid const& grid, GridIndex const& node, GridSummary& summary) {
    ++summary.nodeCount;
    if (!grid.getIsPointValid(node)) {
        return;
    }
    ++summary.validNodeCount;
    bool const isInterior = grid.getPointFlag(node, Grid::Interior);
    bool const isBoundary = grid.getPointFlag(node, Grid::Boundary);
    summary.interiorCount += isInterior ? 1U : 0U;
    summary.boundaryCount += isBoundary ? 1U : 0U;
    summary.cutBoundaryCount += grid.getPointFlag(node, Grid::CutBoundary) ? 1U : 0U;
    summary.extendedCount += isInterior || isBoundary ? 0 : 1;
    summary.validQuadCount += grid.getIsQuadValid(node) ? 1U : 0U;
}

std::vector<GridIndex> nanPlacesOf(Grid const& grid) {
    std::vector<GridIndex> nodes;
    forEachNode(grid, [&](GridIndex const& node) {
        if (grid.getIsPointValid(node)) {
            Point const point = grid.getPoint(node);
            if (std::isnan(point.getX()) || std::isnan(point.getY()) || std::isnan(point.getZ())) {
                nodes.push_back(node);
            }
        }
    });
    return nodes;
}

} // namespace

GridSummary gridSummaryOf(Grid const& grid) {
    GridSummary summary;
    summary.extentU = grid.getExtents().getdU();
    summary.extentV = grid.getExtents().getdV();
    forEachNode(grid, [&](GridIndex const& node) { countNode(grid, node, summary); });
    summary.minQuadArea = grid.getMinQuadArea();
    summary.meanQuadArea = grid.getMeanQuadArea();
    summary.maxQuadArea = grid.getMaxQuadArea();
    if (summary.validNodeCount > 0) {
        auto const box = grid.getBoundingBoxAA();
        summary.low = box.getp();
        summary.high = box.getp1();
    }
    return summary;
}

void addFigures(Record& record, GridSummary const& summary) {
    record.figure("quadsAlongU", summary.extentU);
    record.figure("quadsAlongV", summary.extentV);
    record.figure("validNodes", summary.validNodeCount);
    record.figure("validQuads", summary.validQuadCount);
    record.figure("minQuadArea", summary.minQuadArea);
    record.figure("meanQuadArea", summary.meanQuadArea);
    record.figure("maxQuadArea", summary.maxQuadArea);
    if (summary.validNodeCount > 0) {
        record.figure("low", summary.low);
        record.figure("high", summary.high);
    }
}

NanNodes nanNodesIn(Grid const& grid, Mesh const& mesh, double spacing) {
    NanNodes nodes{nanPlacesOf(grid), 0};
    if (!nodes.places.empty()) {
        auto const triangles = trianglesOf(mesh);
        std::vector<FlatPoint> points;
        for (GridIndex const& node : nodes.places) {
            points.emplace_back(node.getU() * spacing, node.getV() * spacing);
        }
        nodes.triangleCount = flatlessTrianglesAt(points, triangles, spacing);
    }
    return nodes;
}

bool haveSameSurface(Grid const& a, Grid const& b) {
    if (a.getExtents() != b.getExtents()) {
        return false;
    }
    bool isSame = true;
    forEachNode(a, [&](GridIndex const& node) {
        bool const isSameNode = a.getPointFlags(node) == b.getPointFlags(node) &&
                                (!a.getIsPointValid(node) || a.getPoint(node) == b.getPoint(node));
        isSame = isSame && isSameNode;
    });
    return isSame;
}

} // namespace QELT::Inspection
