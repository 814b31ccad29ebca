#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/randomindex.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;

using Indices = std::array<std::uint32_t, 3>;
using Listed = std::vector<Triangle*>;

/// A mesh of six floating vertices; the first four are the corners of the unit square, in turn.
class MeshConnectivity : public testing::Test {
protected:
    MeshConnectivity() {
        for (Point const& point : {Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0),
                                   Point(0.5, 0.5, 1), Point(2, 0, 0)}) {
            mesh.addVertex(Vertex(point));
        }
    }

    Triangle* addFirst(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        EXPECT_TRUE(mesh.addFloatingTriangle({a, b, c}));
        return mesh.vertexTriangles[a].front();
    }

    /// The edge a to b; its triangle is null if there is none.
    Edge edge(std::uint32_t a, std::uint32_t b) const {
        Edge found(nullptr, 0);
        mesh.getDoesEdgeExist(a, b, &found);
        return found;
    }

    Mesh mesh;
};

/// A mesh and its plain twin that are told the same.
class Twins {
public:
    explicit Twins(std::uint32_t vertexCount) {
        for (std::uint32_t v = 0; v < vertexCount; ++v) {
            Point const point(v * v % 7, v * v * v % 11, v % 5);
            mesh.addVertex(Vertex(point));
            plain.addVertex(point);
        }
    }

    void addFloatingTriangle(Indices const& face) {
        EXPECT_EQ(mesh.addFloatingTriangle({face[0], face[1], face[2]}),
                  plain.addFloatingTriangle({face[0], face[1], face[2]}));
    }

    /// On side `side` of entry number `entry` in the list of vertex `v`, if that is a triangle without vertex
    /// `w`.
    void addBoundaryTriangle(std::uint32_t v, std::uint32_t entry, std::uint32_t side, std::uint32_t w) {
        Triangle const* const triangle = mesh.vertexTriangles[v].at(entry % mesh.vertexTriangles[v].size());
        int const twin = plain.incidence[v].at(entry % plain.incidence[v].size());
        ASSERT_EQ(triangle == nullptr, twin == PlainMesh::none);
        if (triangle == nullptr || triangle->getEdge(side).org() == w ||
            triangle->getEdge(side).dest() == w) {
            return;
        }
        EXPECT_EQ(mesh.addBoundaryTriangle(triangle->getEdge(side), static_cast<int>(w)),
                  plain.addBoundaryTriangle({twin, side}, w));
    }

    void expectEqual() const {
        EXPECT_EQ(describe(mesh), describe(plain));
        auto const count = static_cast<std::uint32_t>(plain.vertices.size());
        for (std::uint32_t a = 0; a < count; ++a) {
            EXPECT_EQ(mesh.getIsVertexFloating(a), plain.isFloating(a));
            EXPECT_EQ(mesh.getIsBoundaryVertex(a), plain.isBoundaryVertex(a));
            for (std::uint32_t b = 0; b < count; ++b) {
                expectSameEdge(a, b);
            }
        }
    }

private:
    void expectSameEdge(std::uint32_t a, std::uint32_t b) const {
        Edge edge(nullptr, 0);
        PlainMesh::PlainEdge plainEdge;
        ASSERT_EQ(mesh.getDoesEdgeExist(a, b, &edge), plain.doesEdgeExist(a, b, &plainEdge)) << a << " " << b;
        if (edge.getTriangle() != nullptr) {
            EXPECT_EQ(edge.org(), a);
            EXPECT_EQ(edge.dest(), b);
            EXPECT_EQ(edge.getTriangleEdgeIndex(), plainEdge.side);
            EXPECT_EQ(edge.getTriangle()->vertexIndices,
                      plain.triangles[static_cast<std::size_t>(plainEdge.triangle)].vertices);
        }
    }

    Mesh mesh;
    PlainMesh plain;
};

} // namespace

TEST_F(MeshConnectivity, ANewVertexIsFloatingWithOneNullEntry) {
    EXPECT_TRUE(mesh.addVertex(Vertex(Point(1, 2, 3))));
    ASSERT_EQ(mesh.getNumberOfVertices(), 7U);
    EXPECT_EQ(mesh.vertexTriangles.size(), 7U);
    EXPECT_EQ(mesh.vertexTriangles[6], Listed{nullptr});
    EXPECT_TRUE(mesh.getIsVertexFloating(6));
    EXPECT_FALSE(mesh.getIsVertexAttached(6));
    EXPECT_EQ(mesh.getVertex(6).getPoint3D(), Point(1, 2, 3));
}

TEST_F(MeshConnectivity, FloatingLooksAtTheLastEntryAndWraps) {
    Triangle* const triangle = addFirst(0, 1, 2);
    EXPECT_FALSE(mesh.getIsVertexFloating(0));
    EXPECT_FALSE(mesh.getIsVertexFloating(6));
    EXPECT_TRUE(mesh.getIsVertexFloating(3));
    EXPECT_TRUE(mesh.getIsVertexFloating(9));
    mesh.vertexTriangles[0] = {triangle, nullptr};
    EXPECT_TRUE(mesh.getIsVertexFloating(0));
    mesh.vertexTriangles[0] = {nullptr, triangle};
    EXPECT_FALSE(mesh.getIsVertexFloating(0));
    mesh.vertexTriangles[0].clear();
    EXPECT_FALSE(mesh.getIsVertexFloating(0));
}

TEST_F(MeshConnectivity, AttachedLooksAtTheFirstEntryAndDoesNotWrap) {
    addFirst(0, 1, 2);
    EXPECT_TRUE(mesh.getIsVertexAttached(0));
    EXPECT_FALSE(mesh.getIsVertexAttached(3));
    EXPECT_FALSE(mesh.getIsVertexAttached(6));
    EXPECT_FALSE(mesh.getIsVertexAttached(0xFFFFFFFFUL));
}

TEST_F(MeshConnectivity, AddFloatingTriangleWithTwoIndicesIsFalse) {
    EXPECT_FALSE(mesh.addFloatingTriangle({0, 1}));
    EXPECT_FALSE(mesh.addFloatingTriangle({0, 1, 2, 3}));
    EXPECT_FALSE(mesh.addFloatingTriangle({}));
    for (std::uint32_t v = 0; v < 6; ++v) {
        EXPECT_TRUE(mesh.getIsVertexFloating(v));
    }
}

TEST_F(MeshConnectivity, AddFloatingTriangleWithAnAttachedVertexIsTrueAndAddsNothing) {
    Triangle* const first = addFirst(0, 1, 2);
    for (auto const& face : {std::vector<unsigned long>{2, 3, 4}, {3, 2, 4}, {3, 4, 2}}) {
        EXPECT_TRUE(mesh.addFloatingTriangle(face));
    }
    EXPECT_EQ(mesh.vertexTriangles[2], Listed{first});
    EXPECT_TRUE(mesh.getIsVertexFloating(3));
    EXPECT_TRUE(mesh.getIsVertexFloating(4));
}

TEST_F(MeshConnectivity, AddFloatingTriangleKeepsTheOrderAndHasNoNeighbours) {
    Triangle* const triangle = addFirst(3, 0, 2);
    EXPECT_EQ(triangle->vertexIndices, (Indices{3, 0, 2}));
    for (std::uint32_t side = 0; side < 3; ++side) {
        EXPECT_TRUE(triangle->getEdge(side).isBoundary());
        EXPECT_EQ(triangle->getAdjacentTriangleEdgeIndex(side), 0xFFFFFFFFUL);
    }
    for (std::uint32_t v : {0U, 2U, 3U}) {
        EXPECT_EQ(mesh.vertexTriangles[v], Listed{triangle});
    }
    EXPECT_EQ(triangle->getMesh(), &mesh);
}

TEST_F(MeshConnectivity, AFloatingApexGivesTheTriangleDestOrgApexStitchedOnSideTwo) {
    Triangle* const first = addFirst(0, 1, 2);
    ASSERT_TRUE(mesh.addBoundaryTriangle(first->getEdge(1), 3)); // 2 to 0
    Triangle* const second = mesh.vertexTriangles[3].front();
    EXPECT_EQ(second->vertexIndices, (Indices{0, 2, 3}));
    EXPECT_EQ(first->getAdjacentTriangle(1), second);
    EXPECT_EQ(first->getAdjacentTriangleEdgeIndex(1), 2U);
    EXPECT_EQ(second->getAdjacentTriangle(2), first);
    EXPECT_EQ(second->getAdjacentTriangleEdgeIndex(2), 1U);
    EXPECT_EQ(mesh.vertexTriangles[3], Listed{second});
    EXPECT_EQ(mesh.vertexTriangles[0], Listed{first});
    EXPECT_EQ(mesh.vertexTriangles[2], Listed{first});
}

TEST_F(MeshConnectivity, AnAttachedApexGivesTheTriangleOrgApexDestStitchedOnSideOneAndWhereItFits) {
    Triangle* const first = addFirst(0, 1, 4);
    ASSERT_TRUE(mesh.addBoundaryTriangle(first->getEdge(0), 2)); // 1 to 4
    Triangle* const second = mesh.vertexTriangles[2].front();
    ASSERT_TRUE(mesh.addBoundaryTriangle(first->getEdge(1), 3)); // 4 to 0
    Triangle* const third = mesh.vertexTriangles[3].front();
    ASSERT_EQ(second->vertexIndices, (Indices{4, 1, 2}));
    ASSERT_EQ(third->vertexIndices, (Indices{0, 4, 3}));

    // The last face of the pyramid goes on 2 to 4 and meets the third's 4 to 3.
    ASSERT_TRUE(mesh.addBoundaryTriangle(edge(2, 4), 3));
    Triangle* const fourth = second->getAdjacentTriangle(1);
    ASSERT_NE(fourth, nullptr);
    EXPECT_EQ(fourth->vertexIndices, (Indices{2, 3, 4}));
    EXPECT_EQ(second->getAdjacentTriangleEdgeIndex(1), 1U);
    EXPECT_EQ(fourth->getAdjacentTriangle(0), third);
    EXPECT_EQ(third->getAdjacentTriangle(0), fourth);
    EXPECT_TRUE(fourth->getEdge(2).isBoundary());
    // Its side 2 to 3 lies against nothing, so it is listed once at each of its vertices; its side 3 to 4 is
    // found in the list of vertex 3 alone, so vertices 2 and 4 list it once more.
    EXPECT_EQ(mesh.vertexTriangles[2], (Listed{second, fourth, fourth}));
    EXPECT_EQ(mesh.vertexTriangles[3], (Listed{third, fourth}));
    EXPECT_EQ(mesh.vertexTriangles[4], (Listed{first, fourth, fourth}));
}

TEST_F(MeshConnectivity, AddBoundaryTriangleOnAnInteriorEdgeIsFalse) {
    Triangle* const first = addFirst(0, 1, 2);
    ASSERT_TRUE(mesh.addBoundaryTriangle(first->getEdge(1), 3));
    std::string const before = describe(mesh);
    EXPECT_FALSE(mesh.addBoundaryTriangle(first->getEdge(1), 4));
    EXPECT_FALSE(mesh.addBoundaryTriangle(first->getEdge(1).sym(), 4));
    EXPECT_FALSE(mesh.addBoundaryTriangle(first->getEdge(1), 3));
    EXPECT_EQ(describe(mesh), before);
}

TEST_F(MeshConnectivity, AFailureKeepsWhatWasStitchedUntilThen) {
    // (0, 1, 2), across 1 to 2 a second and across 0 to 1 a third triangle with vertex 2 as apex: its side
    // from 1 to 2 meets that of the first, which is taken.
    Triangle* const first = addFirst(0, 1, 2);
    ASSERT_TRUE(mesh.addBoundaryTriangle(edge(1, 2), 3));
    Triangle* const second = mesh.vertexTriangles[3].front();
    EXPECT_FALSE(mesh.addBoundaryTriangle(edge(0, 1), 2));
    Triangle* const third = first->getAdjacentTriangle(2);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(third->vertexIndices, (Indices{0, 2, 1}));
    EXPECT_EQ(third->getAdjacentTriangle(1), first);
    EXPECT_EQ(first->getAdjacentTriangle(1), third); // its 2 to 0 fitted
    EXPECT_EQ(first->getAdjacentTriangle(0), second);
    EXPECT_TRUE(third->getEdge(0).isBoundary());
}

TEST_F(MeshConnectivity, AClosedFanHasNoBoundaryVertexInItsMiddle) {
    auto const cap = makeMesh(makeCap(2, 6));
    EXPECT_FALSE(cap->getIsBoundaryVertex(0));
    EXPECT_FALSE(cap->getIsBoundaryVertex(3));
    EXPECT_TRUE(cap->getIsBoundaryVertex(8));
}

TEST_F(MeshConnectivity, AFloatingVertexCountsAsBoundary) {
    EXPECT_TRUE(mesh.getIsBoundaryVertex(0));
    addFirst(0, 1, 2);
    EXPECT_TRUE(mesh.getIsBoundaryVertex(0));
    EXPECT_TRUE(mesh.getIsBoundaryVertex(3));
}

TEST_F(MeshConnectivity, TheArbitraryEdgeStartsAtTheVertex) {
    addFirst(3, 0, 2);
    for (std::uint32_t v : {0U, 2U, 3U}) {
        EXPECT_EQ(mesh.getVertexArbitraryEdge(v).org(), v);
    }
}

TEST_F(MeshConnectivity, TheArbitraryEdgeOfAFloatingVertexHasNoTriangle) {
    Edge const nothing = mesh.getVertexArbitraryEdge(4);
    EXPECT_EQ(nothing.getTriangle(), nullptr);
    EXPECT_EQ(nothing.getTriangleEdgeIndex(), 0xFFFFFFFFUL);
}

TEST_F(MeshConnectivity, TheArbitraryEdgeWrapsForTheListAloneAndFallsBackToSideOne) {
    Triangle* const triangle = addFirst(0, 1, 2);
    EXPECT_EQ(mesh.getVertexArbitraryEdge(6), triangle->getEdge(1));
    EXPECT_EQ(mesh.getVertexArbitraryEdge(7), triangle->getEdge(1));
    EXPECT_EQ(mesh.getVertexArbitraryEdge(1), triangle->getEdge(0));
}

TEST_F(MeshConnectivity, EdgesExistInTheirDirectionOnly) {
    Triangle* const first = addFirst(0, 1, 2);
    Edge found;
    EXPECT_TRUE(mesh.getDoesEdgeExist(0, 1, &found));
    EXPECT_EQ(found, first->getEdge(2));
    EXPECT_FALSE(mesh.getDoesEdgeExist(1, 0, &found));
    EXPECT_EQ(found, first->getEdge(2));
    EXPECT_TRUE(mesh.getDoesEdgeExist(1, 2, nullptr));
    EXPECT_FALSE(mesh.getDoesEdgeExist(0, 2, nullptr));
    ASSERT_TRUE(mesh.addBoundaryTriangle(first->getEdge(1), 3));
    EXPECT_TRUE(mesh.getDoesEdgeExist(0, 2, nullptr));
    EXPECT_TRUE(mesh.getDoesEdgeExist(2, 0, nullptr));
}

TEST_F(MeshConnectivity, AFloatingVertexHasNoEdges) {
    addFirst(0, 1, 2);
    EXPECT_FALSE(mesh.getDoesEdgeExist(3, 0, nullptr));
}

TEST_F(MeshConnectivity, EdgesAreFoundOverTheWholeOpenFan) {
    auto const fan = makeMesh(Soup{{{0, 0, 0}, {4, 0, 0}, {3, 3, 0}, {0, 4, 0}, {-3, 3, 0}, {-4, 0, 0}},
                                   {{0, 3, 4}, {0, 2, 3}, {0, 1, 2}, {0, 4, 5}}});
    for (std::uint32_t b = 1; b < 5; ++b) {
        Edge found;
        ASSERT_TRUE(fan->getDoesEdgeExist(0, b, &found)) << b;
        EXPECT_EQ(found.org(), 0U);
        EXPECT_EQ(found.dest(), b);
    }
    EXPECT_FALSE(fan->getDoesEdgeExist(0, 5, nullptr)); // the last spoke has no edge outward
}

TEST_F(MeshConnectivity, TheSearchForAnEdgeEndsWhereTheFirstFanIsOpenAndALaterOneClosed) {
    Triangle* const open = addFirst(0, 1, 5);
    mesh.vertexTriangles[0].assign(1, nullptr);
    Triangle* const closed = addFirst(0, 2, 3);
    ASSERT_TRUE(mesh.addBoundaryTriangle(closed->getEdge(1), 4)); // 3 to 0
    ASSERT_TRUE(mesh.addBoundaryTriangle(edge(4, 0), 2));
    ASSERT_FALSE(mesh.getIsBoundaryVertex(0));
    mesh.vertexTriangles[0] = {open, closed};
    ASSERT_TRUE(mesh.getIsBoundaryVertex(0));
    for (std::uint32_t b : {1U, 2U, 3U, 4U}) {
        EXPECT_TRUE(mesh.getDoesEdgeExist(0, b, nullptr)) << b;
    }
    EXPECT_FALSE(mesh.getDoesEdgeExist(0, 5, nullptr));
    EXPECT_FALSE(mesh.getDoesEdgeExist(0, 0, nullptr));
}

TEST_F(MeshConnectivity, AnApexBeyondTheEdgeIsAdmissableAndOneOnTheTrianglesOwnSideIsNot) {
    Triangle* const first = addFirst(0, 1, 2);
    Edge const diagonal = first->getEdge(1); // 2 to 0, with vertex 1 on its side
    EXPECT_TRUE(mesh.getIsVertexAdmissable(diagonal, 3));
    EXPECT_FALSE(mesh.getIsVertexAdmissable(diagonal, 1));
    EXPECT_FALSE(mesh.getIsVertexAdmissable(diagonal, 5));
    EXPECT_TRUE(mesh.getIsVertexAdmissable(diagonal, 9)); // wraps to 3
}

TEST_F(MeshConnectivity, APerpendicularApexIsRefusedAndALittleLessAdmitted) {
    Triangle* const first = addFirst(0, 1, 2);
    Edge const bottom = first->getEdge(2); // 0 to 1 along x
    mesh.getVertex(4).setPoint3D(Point(0.5, 0.0, 1.0));
    EXPECT_FALSE(mesh.getIsVertexAdmissable(bottom, 4));
    mesh.getVertex(4).setPoint3D(Point(0.5, -1.0e-6, 1.0));
    EXPECT_TRUE(mesh.getIsVertexAdmissable(bottom, 4));
    mesh.getVertex(4).setPoint3D(Point(0.5, 1.0e-6, 1.0));
    EXPECT_FALSE(mesh.getIsVertexAdmissable(bottom, 4));
}

TEST_F(MeshConnectivity, RandomGrowthGivesThePlainConnectivity) {
    std::mt19937 generator(12);
    for (int round = 0; round < 150; ++round) {
        std::uint32_t const count = 4 + randomBelow(generator, 6);
        Twins twins(count);
        for (int step = 0; step < 40; ++step) {
            std::uint32_t const v = randomBelow(generator, count);
            if (randomBelow(generator, 12) == 0 || step == 0) {
                twins.addFloatingTriangle({v, (v + 1) % count, (v + 2) % count});
            } else {
                twins.addBoundaryTriangle(v, randomBelow(generator, 50), randomBelow(generator, 3),
                                          randomBelow(generator, count));
            }
        }
        twins.expectEqual();
        ASSERT_FALSE(HasFailure()) << round;
    }
}

TEST_F(MeshConnectivity, StitchesAreMutualInEveryFamily) {
    for (NamedSoup const& family : loadableFamilies()) {
        auto const loaded = makeMesh(family.soup);
        std::vector<Triangle*> list;
        std::vector<Triangle*>::iterator first;
        std::vector<Triangle*>::iterator last;
        loaded->getTriangles(list, first, last);
        for (; first != last; ++first) {
            for (unsigned long side = 0; side < 3; ++side) {
                Edge const e = (*first)->getEdge(side);
                ASSERT_TRUE(e.isBoundary() ||
                            (e.sym().sym() == e && e.sym().org() == e.dest() && e.sym().dest() == e.org()))
                    << family.name;
            }
        }
    }
}

} // namespace QELT::Testing
