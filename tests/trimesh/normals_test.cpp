#include "tests/support/float_bits.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;

void expectBits(Vector const& actual, Vector const& expected) {
    EXPECT_TRUE(sameBits(actual.getdX(), expected.getdX()));
    EXPECT_TRUE(sameBits(actual.getdY(), expected.getdY()));
    EXPECT_TRUE(sameBits(actual.getdZ(), expected.getdZ()));
}

/// A closed fan of `segments` faces around vertex 0 at (0, 0, height), with its rim on the unit circle.
Soup makePyramid(std::uint32_t segments, double height) {
    Soup soup = makeDisc(1, segments);
    soup.points[0][2] = height;
    return soup;
}

} // namespace

TEST(Normals, OfALoneTriangleIsItsUnitNormalToTheBit) {
    auto const mesh = makeMesh(Soup{{{0, 0, 0}, {2, 0.3, 1}, {0.1, 3, 0.7}}, {{0, 1, 2}}});
    Triangle const* const triangle = mesh->vertexTriangles[0].front();
    for (std::uint32_t v = 0; v < 3; ++v) {
        expectBits(mesh->getVertex(v).getNormal3D(), triangle->getEdge((v + 2) % 3).N());
    }
}

TEST(Normals, OfAVertexWithOneFaceAtTheRimIsThatFacesUnitNormal) {
    auto const mesh = makeMesh(makeWavyPatch(3, 3));
    // Vertex 3 is the corner that only face (2, 3, 7) touches.
    Triangle const* const corner = mesh->vertexTriangles[3].front();
    Vector const normal = mesh->getVertexNormal(3);
    EXPECT_NEAR(normal.dot(corner->getEdge(0).N()), 1.0, 1e-14);
}

TEST(Normals, AtTheApexOfAPyramidIsItsAxis) {
    for (double const height : {0.5, 0.01, 3.0}) {
        auto const mesh = makeMesh(makePyramid(8, height));
        Vector const normal = mesh->getVertex(0).getNormal3D();
        EXPECT_NEAR(normal.getdX(), 0.0, 1e-5) << height;
        EXPECT_NEAR(normal.getdY(), 0.0, 1e-5) << height;
        EXPECT_NEAR(normal.getdZ(), 1.0, 1e-9) << height;
    }
}

TEST(Normals, TurnsAsAWholeWhereTheGradientPointsInward) {
    // In a pit the area grows on the way down: the gradient points against the faces and is turned over.
    auto const mesh = makeMesh(makePyramid(8, -0.5));
    EXPECT_NEAR(mesh->getVertex(0).getNormal3D().getdZ(), 1.0, 1e-9);
    auto const reversed = makeMesh(withReversedWinding(makePyramid(8, 0.5)));
    EXPECT_NEAR(reversed->getVertex(0).getNormal3D().getdZ(), -1.0, 1e-9);
}

TEST(Normals, OneDisagreeingFaceTurnsTheWholeNormal) {
    // A tall cone of six faces has its normal along +z; pulling one rim vertex far above the apex makes the
    // two faces there lean over, so that they face away from what the others would give.
    Soup leaning = makePyramid(6, 1.0);
    leaning.points[1] = {-3.0, 0.0, 1.5};
    auto const mesh = makeMesh(leaning);
    PlainMesh plain;
    TemporaryDirectory const directory;
    writeObj(directory.file("a.obj"), leaning);
    ASSERT_EQ(plainLoad(plain, directory.file("a.obj")).failure, "");
    Vector const normal = mesh->getVertex(0).getNormal3D();
    expectBits(normal, plain.vertices[0].normal);
    int agreeing = 0;
    for (Triangle const* triangle : mesh->vertexTriangles[0]) {
        agreeing += triangle->getEdge(0).N().dot(normal) > 0.0 ? 1 : 0;
    }
    std::size_t const faces = mesh->vertexTriangles[0].size();
    EXPECT_LT(static_cast<std::size_t>(agreeing), faces);
}

TEST(Normals, OfASpherePointOutward) {
    auto const mesh = makeMesh(makeSphere(3, 2.0));
    for (std::uint32_t v = 0; v < mesh->getNumberOfVertices(); ++v) {
        Point const& point = mesh->getVertex(v).getPoint3D();
        Vector const outward(static_cast<double>(point.getX()) / 2.0, static_cast<double>(point.getY()) / 2.0,
                             static_cast<double>(point.getZ()) / 2.0);
        EXPECT_GT(mesh->getVertex(v).getNormal3D().dot(outward), 0.995) << v;
        EXPECT_NEAR(mesh->getVertex(v).getNormal3D().lSqr(), 1.0, 1e-14) << v;
    }
}

TEST(Normals, InnerVerticesOfFlatPatchesHaveNoGradient) {
    // With edges along the axes every term cancels to the last bit.
    auto const mesh = makeMesh(makeGridPatch(2, 2, 2.0, 2.0));
    Vector const normal = mesh->getVertex(4).getNormal3D();
    EXPECT_TRUE(std::isnan(normal.getdX()));
    EXPECT_TRUE(std::isnan(normal.getdY()));
    EXPECT_TRUE(std::isnan(normal.getdZ()));
}

TEST(Normals, EveryVertexOfEveryFamilyHasTheNormalOfThePlainFormulaToTheBit) {
    for (NamedSoup const& family : loadableFamilies()) {
        TemporaryDirectory const directory;
        std::string const path = directory.file("a.obj");
        writeObj(path, family.soup);
        PlainMesh plain;
        ASSERT_EQ(plainLoad(plain, path).failure, "") << family.name;
        Mesh mesh;
        mesh.load(path.c_str());
        ASSERT_EQ(mesh.vertices.size(), plain.vertices.size()) << family.name;
        for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
            SCOPED_TRACE(family.name);
            expectBits(mesh.getVertex(v).getNormal3D(), plain.vertices[v].normal);
            expectBits(mesh.getVertexNormal(v), plain.vertices[v].normal);
        }
    }
}

TEST(Normals, CalculationOverwritesEveryNormal) {
    auto const mesh = makeMesh(makeCap(3, 7));
    std::string const before = describe(*mesh);
    for (auto& vertex : mesh->vertices) {
        vertex.setNormal3D(Vector(9.0, 9.0, 9.0));
    }
    mesh->calculateVertexNormals();
    EXPECT_EQ(describe(*mesh), before);
}

} // namespace QELT::Testing
