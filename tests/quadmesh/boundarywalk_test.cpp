#include "Geometry/quadmesh/internal/boundarywalk.h"
#include "tests/support/gridfamilies.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::Edge;
using Geometry::ThreeDimensional::QuadMesh::forEachBoundaryEdge;
using Geometry::ThreeDimensional::QuadMesh::getNextBoundaryEdge;

std::vector<GridIndex> originsOfLoop(Edge const& start) {
    std::vector<GridIndex> origins;
    forEachBoundaryEdge(start, [&](Edge const& edge) { origins.push_back(edge.org()); });
    return origins;
}

} // namespace

TEST(BoundaryWalk, GoesAroundAQuadCounterClockwise) {
    RectMesh grid = flatGrid(1, 1);
    Edge const start = grid.getBoundaryEdge();
    std::vector<GridIndex> const origins = originsOfLoop(start);
    ASSERT_EQ(origins.size(), 4U);
    EXPECT_EQ(origins.front(), start.org());
    std::vector<GridIndex> const corners{{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    auto const first =
        static_cast<std::size_t>(std::find(corners.begin(), corners.end(), start.org()) - corners.begin());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(origins[i], corners[(first + i) % 4]) << i;
    }
}

TEST(BoundaryWalk, StaysOnItsCornerWhereTwoMeet) {
    // Two quads, (0, 0) and (1, 1), that share the node (1, 1).
    RectMesh grid = flatGrid(2, 2);
    grid.setPointFlags({2, 0}, 0);
    grid.setPointFlags({0, 2}, 0);
    Edge const alongLower = grid.getVertexArbitraryEdge({1, 0}).onext();
    ASSERT_TRUE(alongLower.isBoundary());
    EXPECT_EQ(getNextBoundaryEdge(alongLower).dest(), GridIndex(0, 1));
    EXPECT_EQ(originsOfLoop(alongLower).size(), 4U);
    Edge const alongUpper = grid.getVertexArbitraryEdge({1, 1});
    ASSERT_TRUE(alongUpper.isBoundary());
    EXPECT_EQ(originsOfLoop(alongUpper).size(), 4U);
}

TEST(BoundaryWalk, VisitsEachEdgeOfALoopOnceOnAnyGrid) {
    for (GridFamily const& family : gridFamiliesWithQuads(411)) {
        SCOPED_TRACE(family.name);
        RectMesh grid = family.grid;
        std::set<std::pair<std::pair<int, int>, std::pair<int, int>>> seen;
        GridIndex end = grid.getBoundaryEdge().org();
        forEachBoundaryEdge(grid.getBoundaryEdge(), [&](Edge const& edge) {
            EXPECT_TRUE(edge.isBoundary());
            EXPECT_EQ(edge.org(), end);
            end = edge.dest();
            EXPECT_TRUE(
                seen.insert({{edge.org().getU(), edge.org().getV()}, {end.getU(), end.getV()}}).second);
        });
        EXPECT_EQ(end, grid.getBoundaryEdge().org());
    }
}

} // namespace QELT::Testing
