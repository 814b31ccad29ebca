#include "Geometry/quadmesh/internal/areastatistics.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "tests/support/gridfamilies.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::AreaStatistics;
using Geometry::ThreeDimensional::QuadMesh::forEachNode;
using Geometry::ThreeDimensional::QuadMesh::getHasFlag;
using Geometry::ThreeDimensional::QuadMesh::makeNodes;
using Geometry::ThreeDimensional::QuadMesh::Nodes;
using Geometry::ThreeDimensional::QuadMesh::withFlag;
using GridExtents = Geometry::TwoDimensional::Vector<unsigned long>;

std::vector<GridIndex> nodesVisited(GridExtents const& extents) {
    std::vector<GridIndex> visited;
    forEachNode(extents, [&](GridIndex const& node) { visited.push_back(node); });
    return visited;
}

} // namespace

TEST(Nodes, NewOnesAreInvalidAndZero) {
    Nodes const nodes = makeNodes({2, 1});
    EXPECT_EQ(nodes.extentU, 2U);
    EXPECT_EQ(nodes.extentV, 1U);
    for (GridIndex const& node : nodesVisited({2, 1})) {
        EXPECT_EQ(nodes.flagsOf(node), 0);
        EXPECT_EQ(nodes.pointOf(node), SpacePoint());
    }
}

TEST(Nodes, TooManyAreRefused) {
    constexpr unsigned long max = 0xFFFFFFFFUL;
    for (GridExtents const& extents :
         {GridExtents(max, 0), GridExtents(0, max), GridExtents(max / 2, max / 2)}) {
        try {
            (void)makeNodes(extents);
            ADD_FAILURE() << extents.getdU() << " by " << extents.getdV();
        } catch (std::runtime_error const& failure) {
            EXPECT_STREQ(failure.what(), "Insufficient memory to initialise quad-mesh.");
        }
    }
}

TEST(Nodes, TheViewOfAGridSharesItsRows) {
    RectMesh grid = flatGrid(3, 2);
    Nodes const nodes = grid.getNodes();
    EXPECT_EQ(nodes.extentU, 3U);
    EXPECT_EQ(nodes.extentV, 2U);
    EXPECT_EQ(nodes.pointOf({3, 1}), grid.getPoint({3, 1}));
    nodes.pointOf({1, 2}) = SpacePoint(7.0, 8.0, 9.0);
    nodes.flagsOf({1, 2}) = 5;
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(7.0, 8.0, 9.0));
    EXPECT_EQ(grid.getPointFlags({1, 2}), 5);
}

TEST(Nodes, OthersInPlaceOfAGridsClearItsAreasAndLeaveItsSettings) {
    RectMesh grid = flatGrid(3, 2);
    grid.setOffset({4, 5});
    std::uint32_t const searchPointsU = grid.numberOfSearchPointsU;
    Nodes const before = grid.getNodes();
    grid.setNodes(makeNodes({1, 6}));
    EXPECT_EQ(grid.getExtents(), GridExtents(1, 6));
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 0.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
    EXPECT_FALSE(grid.getIsPointValid({0, 0}));
    EXPECT_EQ(grid.getOffset().getdU(), 4);
    EXPECT_EQ(grid.numberOfSearchPointsU, searchPointsU);
    AreaStatistics areas;
    areas.add(4.0);
    areas.add(2.0);
    grid.setDerivedNodes(before, areas);
    EXPECT_EQ(grid.getExtents(), GridExtents(3, 2));
    EXPECT_EQ(grid.getMeanQuadArea(), 3.0);
    EXPECT_EQ(grid.getMinQuadArea(), 2.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 4.0);
    EXPECT_EQ(grid.numberOfSearchPointsU, 1U);
}

TEST(Nodes, BoundsIncludeTheHighestIndicesAlone) {
    Nodes const nodes = makeNodes({2, 1});
    for (int v = -2; v <= 3; ++v) {
        for (int u = -2; u <= 4; ++u) {
            EXPECT_EQ(nodes.getIsInBounds({u, v}), u >= 0 && u <= 2 && v >= 0 && v <= 1) << u << ", " << v;
        }
    }
}

TEST(Nodes, FlagsAreThoseOfTheGrid) {
    RectMesh const grid;
    for (int byte = 0; byte < 256; ++byte) {
        for (RectMesh::PointFlagID const id :
             {RectMesh::Valid, RectMesh::Interior, RectMesh::Boundary, RectMesh::CutBoundary}) {
            char const flagByte = static_cast<char>(byte);
            EXPECT_EQ(getHasFlag(flagByte, id), (byte & (1 << id)) != 0);
            EXPECT_EQ(withFlag(flagByte, id), static_cast<char>(byte | (1 << id)));
            EXPECT_EQ(withFlag(flagByte, id), grid.setFlag(flagByte, id, true));
        }
    }
}

TEST(Nodes, AreVisitedRowByRow) {
    std::vector<GridIndex> const expected{{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}};
    EXPECT_EQ(nodesVisited({2, 1}), expected);
    EXPECT_EQ(nodesVisited({0, 0}), std::vector<GridIndex>(1));
}

} // namespace QELT::Testing
