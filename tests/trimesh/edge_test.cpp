#include "tests/support/float_bits.h"
#include "tests/support/meshfamilies.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>
#include <utility>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;

/// Triangle (0, 1, 2) and, across its side from 1 to 2, a second one with apex 3.
class MeshEdge : public testing::Test {
protected:
    MeshEdge() {
        for (Point const& point : {Point(0, 0, 0), Point(2, 0, 0), Point(0, 1, 0), Point(2, 1, 1)}) {
            mesh.addVertex(Vertex(point));
        }
        mesh.addFloatingTriangle({0, 1, 2});
        first = mesh.vertexTriangles[0].front();
        mesh.addBoundaryTriangle(first->getEdge(0), 3);
        second = mesh.vertexTriangles[3].front();
    }

    Mesh mesh;
    Triangle* first = nullptr;
    Triangle* second = nullptr;
};

void expectComponents(Vector const& actual, double x, double y, double z) {
    EXPECT_EQ(actual.getdX(), x);
    EXPECT_EQ(actual.getdY(), y);
    EXPECT_EQ(actual.getdZ(), z);
}

} // namespace

TEST_F(MeshEdge, EdgeIRunsOppositeVertexI) {
    unsigned long const origins[] = {1, 2, 0};
    unsigned long const destinations[] = {2, 0, 1};
    for (unsigned long i = 0; i < 3; ++i) {
        EXPECT_EQ(first->getEdge(i).org(), origins[i]);
        EXPECT_EQ(first->getEdge(i).dest(), destinations[i]);
        EXPECT_EQ(first->getEdge(i).getTriangle(), first);
        EXPECT_EQ(first->getEdge(i).getTriangleEdgeIndex(), i);
    }
    EXPECT_EQ(first->getEdge(3), first->getEdge(0));
}

TEST_F(MeshEdge, RotGoesAroundTheTriangle) {
    for (unsigned long i = 0; i < 3; ++i) {
        Edge const edge = first->getEdge(i);
        EXPECT_EQ(edge.rot(), first->getEdge(i + 1));
        EXPECT_EQ(edge.rot().org(), edge.dest());
        EXPECT_EQ(edge.rot().rot().rot(), edge);
    }
}

TEST_F(MeshEdge, SymOfABoundarySideHasNoTriangle) {
    for (unsigned long i = 1; i < 3; ++i) {
        EXPECT_TRUE(first->getEdge(i).isBoundary());
        EXPECT_EQ(first->getEdge(i).sym().getTriangle(), nullptr);
    }
}

TEST_F(MeshEdge, SymOfAnInteriorSideIsItsOtherSideAndSymOfThatTheSideItself) {
    Edge const edge = first->getEdge(0);
    EXPECT_FALSE(edge.isBoundary());
    EXPECT_EQ(edge.sym().getTriangle(), second);
    EXPECT_EQ(edge.sym().org(), edge.dest());
    EXPECT_EQ(edge.sym().dest(), edge.org());
    EXPECT_NE(edge.sym(), edge);
    EXPECT_EQ(edge.sym().sym(), edge);
}

TEST_F(MeshEdge, OnextTurnsOverTheSharedEdgeToNothingAtABoundaryVertex) {
    // Around vertex 1: 1-3 of the second triangle comes first, then the shared 1-2 of the first.
    Edge edge;
    ASSERT_TRUE(second->getEdgeFromVertexIndex(1, &edge));
    Edge const next = edge.onext();
    ASSERT_EQ(edge.dest(), 3U);
    EXPECT_EQ(next, first->getEdge(0));
    EXPECT_EQ(next.onext().getTriangle(), nullptr);
}

TEST_F(MeshEdge, OprevTurnsTheOtherWay) {
    Edge edge;
    ASSERT_TRUE(second->getEdgeFromVertexIndex(1, &edge));
    EXPECT_EQ(edge.onext().oprev(), edge);
    EXPECT_EQ(first->getEdge(0).oprev(), edge);
    EXPECT_EQ(edge.oprev().getTriangle(), nullptr);
}

TEST_F(MeshEdge, AroundAClosedFanOnextComesBack) {
    auto const cap = makeMesh(makeCap(1, 7));
    Edge const start = cap->getVertexArbitraryEdge(0);
    Edge edge = start;
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(edge.org(), 0U);
        EXPECT_EQ(edge.onext().oprev(), edge);
        edge = edge.onext();
        EXPECT_EQ(edge == start, i == 6);
    }
}

TEST_F(MeshEdge, RotOfAnEdgeWithoutATriangleHasNoneEither) {
    Edge const nothing = first->getEdge(1).sym();
    EXPECT_EQ(nothing.getTriangleEdgeIndex(), Triangle::invalidEdgeIndex);
    EXPECT_EQ(nothing.rot().getTriangle(), nullptr);
    EXPECT_EQ(nothing.rot().getTriangleEdgeIndex(), 0U);
}

TEST_F(MeshEdge, EqualityComparesTriangleAndSide) {
    EXPECT_TRUE(first->getEdge(1) == first->getEdge(1));
    EXPECT_FALSE(first->getEdge(1) == first->getEdge(2));
    EXPECT_FALSE(first->getEdge(1) == second->getEdge(1));
    EXPECT_TRUE(first->getEdge(1) != second->getEdge(1));
    EXPECT_FALSE(first->getEdge(1) != first->getEdge(1));
}

TEST_F(MeshEdge, CopiesAndAssignments) {
    Edge const copy(first->getEdge(2));
    Edge assigned;
    Edge taken;
    assigned = copy;
    taken.set(copy);
    EXPECT_EQ(copy, first->getEdge(2));
    EXPECT_EQ(assigned, copy);
    EXPECT_EQ(taken, copy);
    static_assert(std::is_same_v<decltype(std::declval<Edge&>() = std::declval<Edge const&>()), Edge const&>);
    static_assert(std::has_virtual_destructor_v<Edge>);
}

TEST_F(MeshEdge, MakeBoundaryUnstitchesBothSides) {
    first->getEdge(0).makeBoundary();
    EXPECT_TRUE(first->getEdge(0).isBoundary());
    EXPECT_EQ(first->getAdjacentTriangleEdgeIndex(0), Triangle::invalidEdgeIndex);
    for (unsigned long i = 0; i < 3; ++i) {
        EXPECT_TRUE(second->getEdge(i).isBoundary());
        EXPECT_EQ(second->getAdjacentTriangleEdgeIndex(i), Triangle::invalidEdgeIndex);
    }
}

TEST_F(MeshEdge, EndsOnTheSurfaceAndInTheFlatMap) {
    mesh.getVertex(1).setPoint2D({1.25, 2.0});
    mesh.getVertex(2).setPoint2D({0.25, 4.5});
    Edge const edge = first->getEdge(0);
    EXPECT_EQ(edge.vphiorg3(), Point(2, 0, 0));
    EXPECT_EQ(edge.vphidest3(), Point(0, 1, 0));
    expectComponents(edge.vphi3(), -2.0, 1.0, 0.0);
    EXPECT_EQ(edge.vphiorg2().getU(), 1.25);
    EXPECT_EQ(edge.vphidest2().getV(), 4.5);
    EXPECT_EQ(edge.vphi2().getdU(), -1.0);
    EXPECT_EQ(edge.vphi2().getdV(), 2.5);
}

TEST_F(MeshEdge, TheWayAlongAnEdgeHasSinglePrecision) {
    mesh.getVertex(1).setPoint3D(Point(1.0e7, 0.1, 0.0));
    mesh.getVertex(2).setPoint3D(Point(0.3, 0.7, 0.0));
    float const x = steppedFloatDifference(0.3F, 1.0e7F);
    float const y = steppedFloatDifference(0.7F, 0.1F);
    expectComponents(first->getEdge(0).vphi3(), static_cast<double>(x), static_cast<double>(y), 0.0);
}

TEST_F(MeshEdge, NIsTheUnitNormalOfTheTriangle) {
    for (unsigned long i = 0; i < 3; ++i) {
        expectComponents(first->getEdge(i).N(), 0.0, 0.0, 1.0);
    }
    Vector const normal = second->getEdge(0).N();
    EXPECT_NEAR(normal.lSqr(), 1.0, 1e-15);
    EXPECT_NEAR(normal.dot(second->getEdge(0).vphi3()), 0.0, 1e-15);
    EXPECT_NEAR(normal.dot(second->getEdge(1).vphi3()), 0.0, 1e-15);
    EXPECT_GT(normal.getdZ(), 0.0);
}

TEST_F(MeshEdge, NOfATriangleWithoutAreaIsNaN) {
    mesh.getVertex(2).setPoint3D(Point(1, 0, 0));
    EXPECT_TRUE(std::isnan(first->getEdge(0).N().getdX()));
    EXPECT_TRUE(std::isnan(first->getEdge(0).N().getdZ()));
}

TEST_F(MeshEdge, Perp3PointsIntoTheTriangleAtRightAnglesAndIsAsLongAsTheEdge) {
    expectComponents(first->getEdge(2).perp3(), 0.0, 2.0, 0.0);
    for (Triangle const* triangle : {first, second}) {
        for (unsigned long i = 0; i < 3; ++i) {
            Edge const edge = triangle->getEdge(i);
            Vector const perp = edge.perp3();
            EXPECT_NEAR(perp.dot(edge.vphi3()), 0.0, 1e-14);
            EXPECT_NEAR(perp.lSqr(), edge.vphi3().lSqr(), 1e-14);
            EXPECT_GT(perp.dot(edge.rot().vphi3()), 0.0);
        }
    }
}

} // namespace QELT::Testing
