#include "Geometry/quadmesh/edge.h"

#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_grid.h"

#include <array>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::Edge;
using SpaceVector = Geometry::ThreeDimensional::Vector;

constexpr std::array<Edge::Orientation, 4> orientations{Edge::PositiveU, Edge::PositiveV, Edge::NegativeU,
                                                        Edge::NegativeV};

/// A grid that shows its points moved by one along x.
class MovedGrid : public RectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override {
        return RectMesh::getPoint(p) + SpaceVector(1.0, 0.0, 0.0);
    }
};

} // namespace

TEST(GridEdge, OrientationsHaveTheirNumbers) {
    EXPECT_EQ(Edge::PositiveU, 0);
    EXPECT_EQ(Edge::PositiveV, 1);
    EXPECT_EQ(Edge::NegativeU, 2);
    EXPECT_EQ(Edge::NegativeV, 3);
}

TEST(GridEdge, DefaultHasNoMeshAndPointsAlongU) {
    Edge const edge;
    EXPECT_EQ(edge.mesh, nullptr);
    EXPECT_EQ(edge.org(), GridIndex(0, 0));
    EXPECT_EQ(edge.orientation, Edge::PositiveU);
    static_assert(std::has_virtual_destructor_v<Edge>);
}

TEST(GridEdge, DestinationIsOneStepOn) {
    RectMesh mesh;
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::PositiveU).dest(), GridIndex(6, 7));
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::PositiveV).dest(), GridIndex(5, 8));
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::NegativeU).dest(), GridIndex(4, 7));
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::NegativeV).dest(), GridIndex(5, 6));
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::NegativeV).org(), GridIndex(5, 7));
}

TEST(GridEdge, WalkAroundAQuadFromItsLowCorner) {
    RectMesh mesh;
    Edge edge(&mesh, {5, 7}, Edge::PositiveU);
    std::array<GridIndex, 4> const corners{{{5, 7}, {6, 7}, {6, 8}, {5, 8}}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(edge.org(), corners[i]);
        EXPECT_EQ(edge.orientation, orientations[i]);
        edge = edge.rot();
    }
}

TEST(GridEdge, FourTurnsAroundTheQuadComeBack) {
    RectMesh mesh;
    for (Edge::Orientation const orientation : orientations) {
        Edge const e(&mesh, {5, 7}, orientation);
        EXPECT_EQ(e.rot().rot().rot().rot(), e);
        EXPECT_NE(e.rot().rot(), e);
    }
}

TEST(GridEdge, ReverseOfTheReverseIsTheEdge) {
    RectMesh mesh;
    for (Edge::Orientation const orientation : orientations) {
        Edge const e(&mesh, {5, 7}, orientation);
        EXPECT_EQ(e.sym().sym(), e);
        EXPECT_EQ(e.sym().org(), e.dest());
        EXPECT_EQ(e.sym().dest(), e.org());
    }
}

TEST(GridEdge, NextAndPreviousAroundTheOriginUndoEachOther) {
    RectMesh mesh;
    for (Edge::Orientation const orientation : orientations) {
        Edge const e(&mesh, {5, 7}, orientation);
        EXPECT_EQ(e.onext().oprev(), e);
        EXPECT_EQ(e.oprev().onext(), e);
        EXPECT_EQ(e.onext().org(), e.org());
        EXPECT_EQ(e.onext().onext().onext().onext(), e);
    }
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::PositiveU).onext(), Edge(&mesh, {5, 7}, Edge::PositiveV));
}

TEST(GridEdge, PreviousOfPositiveUIsNegativeVAtTheSameOrigin) {
    RectMesh mesh;
    EXPECT_EQ(Edge(&mesh, {5, 7}, Edge::PositiveU).oprev(), Edge(&mesh, {5, 7}, Edge::NegativeV));
}

TEST(GridEdge, EqualMeansMeshOriginAndOrientation) {
    RectMesh mesh;
    RectMesh other;
    Edge const e(&mesh, {5, 7}, Edge::PositiveU);
    EXPECT_TRUE(e == Edge(&mesh, {5, 7}, Edge::PositiveU));
    EXPECT_FALSE(e != Edge(&mesh, {5, 7}, Edge::PositiveU));
    EXPECT_TRUE(e != Edge(&other, {5, 7}, Edge::PositiveU));
    EXPECT_TRUE(e != Edge(&mesh, {5, 8}, Edge::PositiveU));
    EXPECT_TRUE(e != Edge(&mesh, {5, 7}, Edge::PositiveV));
    EXPECT_FALSE(e == Edge(&mesh, {5, 7}, Edge::PositiveV));
}

TEST(GridEdge, SetCopyAndAssignmentTakeAllOver) {
    RectMesh mesh;
    Edge const e(&mesh, {5, 7}, Edge::NegativeU);
    Edge set;
    set.set(e);
    EXPECT_EQ(set, e);
    Edge assigned;
    assigned = e;
    EXPECT_EQ(assigned, e);
    Edge const copy(e);
    EXPECT_EQ(copy, e);
}

TEST(GridEdge, ValidNeedsBothEnds) {
    RectMesh mesh = flatGrid(3, 3);
    EXPECT_TRUE(Edge(&mesh, {1, 1}, Edge::PositiveU).isValid());
    EXPECT_TRUE(Edge(&mesh, {2, 3}, Edge::PositiveU).isValid());
    EXPECT_FALSE(Edge(&mesh, {3, 3}, Edge::PositiveU).isValid());
    mesh.setPointValidity({2, 1}, false);
    EXPECT_FALSE(Edge(&mesh, {1, 1}, Edge::PositiveU).isValid());
    EXPECT_FALSE(Edge(&mesh, {2, 1}, Edge::NegativeU).isValid());
}

TEST(GridEdge, OwnsTheQuadOnItsLeft) {
    RectMesh mesh = flatGrid(6, 6);
    punchHole(mesh, {0, 0}, {6, 6});
    for (GridIndex const& corner : {GridIndex(2, 3), GridIndex(3, 3), GridIndex(2, 4), GridIndex(3, 4)}) {
        mesh.setPointValidity(corner, true);
    }
    // Quad (2, 3) alone exists.
    EXPECT_TRUE(Edge(&mesh, {2, 3}, Edge::PositiveU).isQuadValid());
    EXPECT_TRUE(Edge(&mesh, {3, 3}, Edge::PositiveV).isQuadValid());
    EXPECT_TRUE(Edge(&mesh, {3, 4}, Edge::NegativeU).isQuadValid());
    EXPECT_TRUE(Edge(&mesh, {2, 4}, Edge::NegativeV).isQuadValid());
    EXPECT_FALSE(Edge(&mesh, {3, 3}, Edge::NegativeU).isQuadValid());
    EXPECT_FALSE(Edge(&mesh, {2, 3}, Edge::PositiveV).isQuadValid());
}

TEST(GridEdge, BoundaryIsAQuadOnTheLeftAndNoneOnTheRight) {
    RectMesh mesh = flatGrid(6, 6);
    EXPECT_TRUE(Edge(&mesh, {2, 0}, Edge::PositiveU).isBoundary());
    EXPECT_FALSE(Edge(&mesh, {2, 1}, Edge::PositiveU).isBoundary());
    EXPECT_FALSE(Edge(&mesh, {3, 0}, Edge::NegativeU).isBoundary()) << "the wrong way round";
    mesh.setPointValidity({2, 1}, false);
    EXPECT_TRUE(Edge(&mesh, {2, 2}, Edge::PositiveU).isBoundary()) << "above quad (2, 1), which is gone";
    EXPECT_FALSE(Edge(&mesh, {2, 0}, Edge::PositiveU).isBoundary()) << "its own quad is gone";
}

TEST(GridEdge, EndsInSpaceAreReadThroughTheVirtualPoint) {
    MovedGrid mesh;
    static_cast<RectMesh&>(mesh) = flatGrid(3, 3, 2.0);
    Edge const edge(&mesh, {1, 2}, Edge::PositiveV);
    EXPECT_EQ(edge.vphiorg3(), SpacePoint(3.0, 4.0, 0.0));
    EXPECT_EQ(edge.vphidest3(), SpacePoint(3.0, 6.0, 0.0));
    SpaceVector const way = edge.vphi3();
    EXPECT_EQ(way.getdX(), 0.0);
    EXPECT_EQ(way.getdY(), 2.0);
    EXPECT_EQ(way.getdZ(), 0.0);
}

TEST(GridEdge, QuadsAndBoundariesAgreeWithThePlainGridOverAllFamilies) {
    int boundaries = 0;
    for (GridFamily& family : gridFamilies(51)) {
        PlainGrid const plain = plainGridOf(family.grid);
        for (int v = -1; v <= static_cast<int>(plain.highestV) + 1; ++v) {
            for (int u = -1; u <= static_cast<int>(plain.highestU) + 1; ++u) {
                for (Edge::Orientation const orientation : orientations) {
                    Edge const edge(&family.grid, {u, v}, orientation);
                    PlainEdge const plainEdge{{u, v}, orientation};
                    ASSERT_EQ(edge.isQuadValid(), plain.getIsEdgeOnQuad(plainEdge)) << family.name;
                    ASSERT_EQ(edge.isBoundary(), plain.getIsEdgeOnBoundary(plainEdge)) << family.name;
                    boundaries += edge.isBoundary() ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(boundaries, 1000);
}

} // namespace QELT::Testing
