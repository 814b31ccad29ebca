#include "tests/support/meshfamilies.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

// The arena is no part of the interface: what it promises is seen through the mesh that owns it.

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;

std::vector<Triangle*> getTriangles(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return {first, last};
}

/// Grows a fan around vertex 0, one triangle at a time, and gives the triangles as they were made.
std::vector<Triangle*> growFan(Mesh& mesh, std::uint32_t count) {
    for (std::uint32_t v = 0; v < count + 2; ++v) {
        mesh.addVertex(Vertex(Point(v, v * v, 0.0)));
    }
    mesh.addFloatingTriangle({0, 1, 2});
    std::vector<Triangle*> made{mesh.vertexTriangles[0].front()};
    for (std::uint32_t v = 3; v < count + 2; ++v) {
        Edge rim;
        EXPECT_TRUE(made.back()->getEdgeFromVertexIndex(v - 1, &rim));
        rim = rim.dest() == 0 ? rim : rim.rot();
        EXPECT_TRUE(mesh.addBoundaryTriangle(rim, static_cast<int>(v)));
        made.push_back(mesh.vertexTriangles[v].front());
    }
    return made;
}

} // namespace

TEST(TriangleArena, TrianglesStayWhereTheyAreWhileMoreAreMade) {
    Mesh mesh;
    std::vector<Triangle*> const made = growFan(mesh, 5000);
    for (std::uint32_t i = 0; i < made.size(); ++i) {
        std::array<std::uint32_t, 3> indices = made[i]->vertexIndices;
        std::sort(indices.begin(), indices.end());
        ASSERT_EQ(indices, (std::array<std::uint32_t, 3>{0, i + 1, i + 2}));
    }
}

TEST(TriangleArena, TrianglesStayReadableAfterClear) {
    Mesh mesh;
    std::vector<Triangle*> const made = growFan(mesh, 300);
    std::vector<std::array<std::uint32_t, 3>> indices;
    for (Triangle const* triangle : made) {
        indices.push_back(triangle->vertexIndices);
    }
    mesh.clear();
    EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
    for (std::size_t i = 0; i < made.size(); ++i) {
        EXPECT_EQ(made[i]->vertexIndices, indices[i]);
        EXPECT_EQ(made[i]->getMesh(), &mesh);
    }
}

TEST(TriangleArena, TrianglesStayReadableOverTheNextLoad) {
    auto const mesh = makeMesh(makeWavyPatch(6, 6));
    std::vector<Triangle*> const old = getTriangles(*mesh);
    std::vector<std::array<std::uint32_t, 3>> indices;
    for (Triangle const* triangle : old) {
        indices.push_back(triangle->vertexIndices);
    }
    loadSoup(*mesh, makeSphere(2));
    std::vector<Triangle*> const current = getTriangles(*mesh);
    EXPECT_EQ(current.size(), 128U);
    for (std::size_t i = 0; i < old.size(); ++i) {
        EXPECT_EQ(old[i]->vertexIndices, indices[i]);
        EXPECT_EQ(std::count(current.begin(), current.end(), old[i]), 0);
    }
}

TEST(TriangleArena, TrianglesOfAnEarlierSurfaceKeepTheirNumbersWhenTheNextIsRenumbered) {
    auto const mesh = makeMesh(makeWavyPatch(9, 9));
    std::vector<Triangle*> const old = getTriangles(*mesh);
    std::vector<std::array<std::uint32_t, 3>> indices;
    for (Triangle const* triangle : old) {
        indices.push_back(triangle->vertexIndices);
    }
    loadSoup(*mesh, withUnusedVertices(makeWavyPatch(3, 3), 5, 1));
    unsigned long interior = 0;
    unsigned long mainLoop = 0;
    mesh->promoteInterior(true, interior, mainLoop);
    for (std::size_t i = 0; i < old.size(); ++i) {
        EXPECT_EQ(old[i]->vertexIndices, indices[i]);
    }
    EXPECT_TRUE(mesh->getUnlistedTriangles().empty());
}

TEST(TriangleArena, EveryLoadMakesOneRunOfMemoryInTheOrderOfCreation) {
    Mesh mesh;
    for (Soup const& soup : {makeWavyPatch(30, 30), makeTetrahedron(), makeCap(5, 40)}) {
        loadSoup(mesh, soup);
        std::vector<Triangle*> const triangles = getTriangles(mesh);
        ASSERT_EQ(triangles.size(), soup.faces.size());
        EXPECT_EQ(mesh.vertexTriangles[triangles.front()->getAdjacentVertexIndex(0)].front(),
                  triangles.front());
        for (std::size_t i = 0; i < triangles.size(); ++i) {
            ASSERT_EQ(triangles[i], triangles.front() + i);
        }
    }
}

} // namespace QELT::Testing
