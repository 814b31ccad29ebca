#include "tests/support/float_bits.h"
#include "tests/support/meshfamilies.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <utility>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;

Triangle makeTriangle(Mesh* mesh, unsigned long a, unsigned long b, unsigned long c) {
    Triangle triangle(mesh, {a, b, c}, {nullptr, nullptr, nullptr},
                      {Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex});
    triangle.mesh = mesh;
    return triangle;
}

void expectUnstitched(Triangle const& triangle, unsigned long side) {
    EXPECT_EQ(triangle.getAdjacentTriangle(side), nullptr);
    EXPECT_EQ(triangle.getAdjacentTriangleEdgeIndex(side), 0xFFFFFFFFUL);
}

/// What the call writes to the standard output of the process.
std::string captureStandardOutput(std::function<void()> const& call) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("output");
    std::fflush(stdout);
    int const saved = dup(STDOUT_FILENO);
    int const file = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
    dup2(file, STDOUT_FILENO);
    close(file);
    call();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    return readText(path);
}

std::string pointerText(void const* pointer) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "0x%p", pointer);
    return buffer;
}

} // namespace

TEST(Triangle, TakesTheFirstThreeElementsOfEachVector) {
    Mesh mesh;
    Triangle other = makeTriangle(&mesh, 0, 1, 2);
    Triangle const triangle(&mesh, {4, 5, 6, 7}, {nullptr, &other, nullptr, &other}, {9, 2, 8, 1});
    unsigned long a = 0;
    unsigned long b = 0;
    unsigned long c = 0;
    triangle.getVertexIndices(a, b, c);
    EXPECT_EQ(a, 4U);
    EXPECT_EQ(b, 5U);
    EXPECT_EQ(c, 6U);
    EXPECT_EQ(triangle.getAdjacentTriangle(0), nullptr);
    EXPECT_EQ(triangle.getAdjacentTriangle(1), &other);
    EXPECT_EQ(triangle.getAdjacentTriangle(2), nullptr);
    EXPECT_EQ(triangle.getAdjacentTriangleEdgeIndex(0), 9U);
    EXPECT_EQ(triangle.getAdjacentTriangleEdgeIndex(1), 2U);
    EXPECT_EQ(triangle.getAdjacentTriangleEdgeIndex(2), 8U);
    EXPECT_EQ(triangle.getMesh(), &mesh);
}

TEST(Triangle, TheInvalidSideNumberIsAllOnes) {
    EXPECT_EQ(Triangle::invalidEdgeIndex, 0xFFFFFFFFU);
    static_assert(sizeof(Triangle::invalidEdgeIndex) == 4);
}

TEST(Triangle, GetEdgeOfTriangleABCRunsBToCThenCToAThenAToBAndWraps) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 10, 20, 30);
    EXPECT_EQ(triangle.getEdge(0).org(), 20U);
    EXPECT_EQ(triangle.getEdge(0).dest(), 30U);
    EXPECT_EQ(triangle.getEdge(1).org(), 30U);
    EXPECT_EQ(triangle.getEdge(1).dest(), 10U);
    EXPECT_EQ(triangle.getEdge(2).org(), 10U);
    EXPECT_EQ(triangle.getEdge(2).dest(), 20U);
    EXPECT_EQ(triangle.getEdge(3), triangle.getEdge(0));
    EXPECT_EQ(triangle.getEdge(0xFFFFFFFFUL), triangle.getEdge(0));
}

TEST(Triangle, VertexAndSideNumbersWrap) {
    Mesh mesh;
    Triangle other = makeTriangle(&mesh, 0, 1, 2);
    Triangle triangle = makeTriangle(&mesh, 10, 20, 30);
    EXPECT_EQ(triangle.getAdjacentVertexIndex(4), 20U);
    triangle.setAdjacentVertexIndex(5, 33);
    EXPECT_EQ(triangle.getAdjacentVertexIndex(2), 33U);
    ASSERT_TRUE(triangle.connect(1, &other, 2));
    EXPECT_EQ(triangle.getAdjacentTriangle(4), &other);
    EXPECT_EQ(triangle.getAdjacentTriangleEdgeIndex(7), 2U);
    triangle.makeBoundary(4);
    expectUnstitched(triangle, 1);
}

TEST(Triangle, EdgeFromVertexStartsThere) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 10, 20, 30);
    for (unsigned long k = 0; k < 3; ++k) {
        Edge edge;
        ASSERT_TRUE(triangle.getEdgeFromVertexIndex(10 * (k + 1), &edge));
        EXPECT_EQ(edge, triangle.getEdge(k + 2));
        EXPECT_EQ(edge.org(), 10 * (k + 1));
    }
}

TEST(Triangle, EdgeFromAStrangeVertexLeavesTheOutputAlone) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 10, 20, 30);
    Edge edge = triangle.getEdge(1);
    EXPECT_FALSE(triangle.getEdgeFromVertexIndex(11, &edge));
    EXPECT_EQ(edge, triangle.getEdge(1));
}

TEST(Triangle, OfRepeatedVerticesTheLowestPlaceCounts) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 7, 7, 8);
    Edge edge;
    ASSERT_TRUE(triangle.getEdgeFromVertexIndex(7, &edge));
    EXPECT_EQ(edge, triangle.getEdge(2));
    int side = 0;
    // Only the first 7 is looked at, and behind it stands a 7, not an 8.
    EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(8, 7, &side));
    EXPECT_EQ(side, -1);
    EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(7, 7, &side));
    EXPECT_EQ(side, 2);
}

TEST(Triangle, FindsTheComplementOfADirectedEdge) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 10, 20, 30);
    int side = 99;
    EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(20, 10, &side));
    EXPECT_EQ(side, 2);
    EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(30, 20, &side));
    EXPECT_EQ(side, 0);
    EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(10, 30, &side));
    EXPECT_EQ(side, 1);
}

TEST(Triangle, AComplementThatIsNotThereIsMinusOneAndTheResultStillTrue) {
    Mesh mesh;
    Triangle const triangle = makeTriangle(&mesh, 10, 20, 30);
    for (auto const& [a, b] :
         {std::pair{10UL, 20UL}, {20UL, 30UL}, {10UL, 40UL}, {40UL, 10UL}, {10UL, 10UL}}) {
        int side = 99;
        EXPECT_TRUE(triangle.getDoesContainEdgeCompliment(a, b, &side));
        EXPECT_EQ(side, -1) << a << " " << b;
    }
}

TEST(Triangle, ConnectStitchesBothWays) {
    Mesh mesh;
    Triangle left = makeTriangle(&mesh, 0, 1, 2);
    Triangle right = makeTriangle(&mesh, 2, 1, 3);
    EXPECT_TRUE(left.connect(0, &right, 2));
    EXPECT_EQ(left.getAdjacentTriangle(0), &right);
    EXPECT_EQ(left.getAdjacentTriangleEdgeIndex(0), 2U);
    EXPECT_EQ(right.getAdjacentTriangle(2), &left);
    EXPECT_EQ(right.getAdjacentTriangleEdgeIndex(2), 0U);
    for (unsigned long const side : {1UL, 2UL}) {
        expectUnstitched(left, side);
        expectUnstitched(right, side - 1);
    }
}

TEST(Triangle, ConnectingTheSameSidesAgainSucceeds) {
    Mesh mesh;
    Triangle left = makeTriangle(&mesh, 0, 1, 2);
    Triangle right = makeTriangle(&mesh, 2, 1, 3);
    ASSERT_TRUE(left.connect(0, &right, 2));
    EXPECT_TRUE(left.connect(0, &right, 2));
    EXPECT_TRUE(right.connect(2, &left, 0));
    EXPECT_EQ(left.getAdjacentTriangle(0), &right);
    EXPECT_EQ(right.getAdjacentTriangleEdgeIndex(2), 0U);
}

TEST(Triangle, ConnectWithASideStitchedToAThirdTriangleFailsAndChangesNothing) {
    Mesh mesh;
    Triangle left = makeTriangle(&mesh, 0, 1, 2);
    Triangle right = makeTriangle(&mesh, 2, 1, 3);
    Triangle third = makeTriangle(&mesh, 2, 1, 4);
    ASSERT_TRUE(left.connect(0, &right, 2));
    EXPECT_FALSE(left.connect(0, &third, 2));
    EXPECT_FALSE(third.connect(2, &left, 0));
    EXPECT_EQ(left.getAdjacentTriangle(0), &right);
    EXPECT_EQ(left.getAdjacentTriangleEdgeIndex(0), 2U);
    EXPECT_EQ(right.getAdjacentTriangle(2), &left);
    for (unsigned long side = 0; side < 3; ++side) {
        expectUnstitched(third, side);
    }
}

TEST(Triangle, MakeBoundaryLeavesTheOtherTriangle) {
    Mesh mesh;
    Triangle left = makeTriangle(&mesh, 0, 1, 2);
    Triangle right = makeTriangle(&mesh, 2, 1, 3);
    ASSERT_TRUE(left.connect(0, &right, 2));
    left.makeBoundary(0);
    expectUnstitched(left, 0);
    EXPECT_EQ(right.getAdjacentTriangle(2), &left);
    EXPECT_EQ(right.getAdjacentTriangleEdgeIndex(2), 0U);
}

TEST(Triangle, AssignmentCopiesTheConnectivityAndLeavesTheMesh) {
    Mesh firstMesh;
    Mesh secondMesh;
    Triangle neighbour = makeTriangle(&firstMesh, 2, 1, 3);
    Triangle original = makeTriangle(&firstMesh, 0, 1, 2);
    ASSERT_TRUE(original.connect(0, &neighbour, 2));
    Triangle assigned = makeTriangle(&secondMesh, 7, 8, 9);
    assigned = original;
    Triangle const copy(original);
    EXPECT_EQ(assigned.getMesh(), &secondMesh);
    for (Triangle const* triangle : {static_cast<Triangle const*>(&assigned), &copy}) {
        EXPECT_EQ(triangle->vertexIndices, original.vertexIndices);
        EXPECT_EQ(triangle->adjacentTriangles, original.adjacentTriangles);
        EXPECT_EQ(triangle->adjacentTriangleEdgeIndices, original.adjacentTriangleEdgeIndices);
    }
}

TEST(Triangle, TheFlatBoxCoversTheThreeVertices) {
    Mesh mesh;
    double const flat[3][2] = {{2.0, -1.0}, {-3.0, 5.0}, {0.5, 7.0}};
    for (auto const& [u, v] : flat) {
        mesh.addVertex(Vertex());
        mesh.vertices.back().setPoint2D({u, v});
    }
    auto const box = makeTriangle(&mesh, 0, 1, 2).getAABB2D();
    EXPECT_EQ(box.getp().getU(), -3.0);
    EXPECT_EQ(box.getp().getV(), -1.0);
    EXPECT_EQ(box.getd().getdU(), 5.0);
    EXPECT_EQ(box.getd().getdV(), 8.0);
}

TEST(Triangle, TheFlatBoxGrowsFromVertexOneOverTwoToZero) {
    // Each growth forms the high corner anew as corner plus extent, so the extent's last bit tells the order.
    auto const growExtent = [](double first, double second, double third) {
        double low = first;
        double volatile extent = 0.0;
        for (double const value : {second, third}) {
            double volatile const high = std::max(low + extent, value);
            low = std::min(low, value);
            extent = high - low;
        }
        return static_cast<double>(extent);
    };
    std::mt19937 generator(1);
    int tellingCases = 0;
    for (int round = 0; round < 200; ++round) {
        Mesh mesh;
        std::array<double, 3> u{};
        for (double& value : u) {
            value = randomSpread(generator, 3);
            mesh.addVertex(Vertex());
            mesh.vertices.back().setPoint2D({value, 0.0});
        }
        double const expected = growExtent(u[1], u[2], u[0]);
        EXPECT_EQ(makeTriangle(&mesh, 0, 1, 2).getAABB2D().getd().getdU(), expected);
        tellingCases += growExtent(u[0], u[1], u[2]) != expected ? 1 : 0;
    }
    EXPECT_GT(tellingCases, 0);
}

TEST(Triangle, PrintWritesIndicesAndNeighboursByteForByte) {
    Mesh mesh;
    Triangle left = makeTriangle(&mesh, 0, 1, 2);
    Triangle right = makeTriangle(&mesh, 2, 1, 4294967295UL);
    ASSERT_TRUE(left.connect(0, &right, 2));
    std::string const rule = "------------------------------------------------------------------------\n";
    std::string const none = pointerText(nullptr);
    EXPECT_EQ(captureStandardOutput([&] { left.print(); }),
              rule + "Triangle: " + pointerText(&left) + ".\n" + "Vertex indices: 0, 1, 2.\n" +
                  "Edge triangle pointers: " + pointerText(&right) + ", " + none + ", " + none + ".\n" +
                  "Edge triangle edge indices: 2, -1, -1.\n" + rule);
    EXPECT_EQ(captureStandardOutput([&] { right.print(); }),
              rule + "Triangle: " + pointerText(&right) + ".\n" + "Vertex indices: 2, 1, -1.\n" +
                  "Edge triangle pointers: " + none + ", " + none + ", " + pointerText(&left) + ".\n" +
                  "Edge triangle edge indices: -1, -1, 0.\n" + rule);
}

} // namespace QELT::Testing
