#include "Geometry/trimesh/mesh.h"

#include "tests/support/loadcomparison.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::CutEdgeIndex;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::FileContents;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;

struct Gathered {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;

    explicit Gathered(Mesh const& mesh) { mesh.getTriangles(list, first, last); }

    std::ptrdiff_t count() const { return last - first; }
};

class SilentTerminator : public ProgressTerminator {
public:
    bool getIsTerminationRequested() override { return true; }
};

void addVertices(Mesh& mesh, std::uint32_t count) {
    for (std::uint32_t v = 0; v < count; ++v) {
        mesh.addVertex(Vertex(Point(v, v % 2, v % 3)));
    }
}

} // namespace

TEST(Mesh, StartsEmpty) {
    Mesh const mesh;
    EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
    EXPECT_EQ(mesh.getFileName(), "");
    EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty());
    EXPECT_TRUE(mesh.getCutEdgeIndices().second.empty());
    EXPECT_EQ(mesh.progressListener, nullptr);
    EXPECT_EQ(mesh.progressTerminator, nullptr);
    EXPECT_EQ(Gathered(mesh).count(), 0);
}

TEST(Mesh, StoresListenerAndTerminator) {
    Mesh mesh;
    RecordingListener listener;
    SilentTerminator terminator;
    mesh.setProgressListener(&listener);
    mesh.setProgressTerminator(&terminator);
    EXPECT_EQ(mesh.progressListener, &listener);
    EXPECT_EQ(mesh.progressTerminator, &terminator);
    mesh.setProgressListener(nullptr);
    mesh.setProgressTerminator(nullptr);
    EXPECT_EQ(mesh.progressListener, nullptr);
    EXPECT_EQ(mesh.progressTerminator, nullptr);
}

TEST(Mesh, ATerminatorEndsNoLoad) {
    Mesh mesh;
    SilentTerminator terminator;
    mesh.setProgressTerminator(&terminator);
    loadSoup(mesh, makeWavyPatch(3, 3));
    EXPECT_EQ(Gathered(mesh).count(), 18);
}

TEST(Mesh, VertexIndicesWrap) {
    Mesh mesh;
    addVertices(mesh, 3);
    EXPECT_EQ(&mesh.getVertex(4), &mesh.vertices[1]);
    EXPECT_EQ(&std::as_const(mesh).getVertex(3), mesh.vertices.data());
    EXPECT_EQ(&mesh.getVertex(0xFFFFFFFFUL), mesh.vertices.data()); // 2^32 - 1 is a multiple of 3
    mesh.getVertex(5).setPoint2D({1.0, 2.0});
    EXPECT_EQ(mesh.vertices[2].getPoint2D().getV(), 2.0);
}

TEST(Mesh, GetTrianglesOfATetrahedronGivesFourPointersInAListOfTwelve) {
    auto const mesh = makeMesh(makeTetrahedron());
    Gathered const gathered(*mesh);
    EXPECT_EQ(gathered.count(), 4);
    EXPECT_EQ(gathered.list.size(), 12U);
}

TEST(Mesh, GetTrianglesSetsItsIteratorsIntoTheList) {
    auto const mesh = makeMesh(makeTetrahedron());
    std::vector<Triangle*> list{nullptr, nullptr};
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh->getTriangles(list, first, last);
    EXPECT_EQ(first, list.begin());
    EXPECT_EQ(last, list.begin() + 4);
    EXPECT_EQ(std::count(first, last, nullptr), 0);
}

TEST(Mesh, GetTrianglesIsAscendingAndWithoutRepeats) {
    for (NamedSoup const& family : loadableFamilies()) {
        auto const mesh = makeMesh(family.soup);
        Gathered const gathered(*mesh);
        EXPECT_EQ(static_cast<std::size_t>(gathered.count()), family.soup.faces.size()) << family.name;
        EXPECT_EQ(std::adjacent_find(gathered.first, gathered.last, std::greater_equal<>()), gathered.last)
            << family.name;
    }
}

TEST(Mesh, GetTrianglesRewindsOpenFans) {
    // Vertex 1 lists the middle one of three triangles only; all three are found from it.
    Mesh mesh;
    addVertices(mesh, 5);
    mesh.addFloatingTriangle({1, 2, 3});
    Triangle* const middle = mesh.vertexTriangles[1].front();
    mesh.addBoundaryTriangle(middle->getEdge(1), 4);
    mesh.addBoundaryTriangle(middle->getEdge(2), 0);
    for (std::uint32_t const v : {0U, 2U, 3U, 4U}) {
        mesh.vertexTriangles[v].assign(1, nullptr);
    }
    EXPECT_EQ(Gathered(mesh).count(), 3);
    EXPECT_EQ(Gathered(mesh).list.size(), 3U);
}

TEST(Mesh, GetTrianglesMissesWhatOnlyALaterFanReaches) {
    Mesh mesh;
    addVertices(mesh, 5);
    mesh.addFloatingTriangle({0, 1, 2});
    Triangle* const first = mesh.vertexTriangles[0].front();
    mesh.vertexTriangles[0].assign(1, nullptr);
    mesh.addFloatingTriangle({0, 3, 4});
    Triangle* const second = mesh.vertexTriangles[0].front();
    mesh.vertexTriangles[0] = {first, second};
    mesh.vertexTriangles[3].assign(1, nullptr);
    mesh.vertexTriangles[4].assign(1, nullptr);
    Gathered const gathered(mesh);
    ASSERT_EQ(gathered.count(), 1);
    EXPECT_EQ(*gathered.first, first);
}

TEST(Mesh, UnlistedTrianglesAreThoseThatNavigationReachesBesides) {
    for (NamedSoup const& family : loadableFamilies()) {
        EXPECT_TRUE(makeMesh(family.soup)->getUnlistedTriangles().empty()) << family.name;
    }
    auto const mesh = makeMesh(makeSurfaceMeetingItself(0));
    Gathered const gathered(*mesh);
    EXPECT_EQ(gathered.count(), 7);
    std::vector<Triangle*> const unlisted = mesh->getUnlistedTriangles();
    ASSERT_EQ(unlisted.size(), 1U);
    EXPECT_EQ(std::find(gathered.first, gathered.last, unlisted.front()), gathered.last);
    for (unsigned long side = 0; side < 3; ++side) {
        Edge const edge = unlisted.front()->getEdge(side);
        EXPECT_TRUE(edge.isBoundary() || edge.sym().sym() == edge);
    }
}

TEST(Mesh, TrianglesOfAnEarlierSurfaceAreNotUnlistedOnes) {
    Mesh mesh;
    EXPECT_TRUE(mesh.getUnlistedTriangles().empty());
    loadSoup(mesh, makeSurfaceMeetingItself(0));
    EXPECT_EQ(mesh.getUnlistedTriangles().size(), 1U);
    loadSoup(mesh, makeSurfaceMeetingItself(5));
    EXPECT_EQ(mesh.getUnlistedTriangles().size(), 1U);
    mesh.clear();
    EXPECT_TRUE(mesh.getUnlistedTriangles().empty());
}

TEST(Mesh, CleanRenumbersTrianglesThatNoVertexListsToo) {
    constexpr std::uint32_t unused = 100;
    auto const mesh = makeMesh(makeSurfaceMeetingItself(unused));
    auto const twin = makeMesh(makeSurfaceMeetingItself(0));
    ASSERT_EQ(mesh->getNumberOfVertices(), 7U);
    ASSERT_EQ(mesh->getUnlistedTriangles().size(), 1U);
    EXPECT_EQ(mesh->getUnlistedTriangles().front()->vertexIndices,
              twin->getUnlistedTriangles().front()->vertexIndices);
    EXPECT_TRUE(loadsLikePlainLoader(objText(makeSurfaceMeetingItself(unused))));
}

TEST(Mesh, CornersOfASurfaceThatMeetsItselfAreThoseOfTheSameSurfaceWithoutUnusedVertices) {
    // The loop leads over the triangle that no vertex lists.
    Soup const soup = makeSurfaceMeetingItself(100);
    auto const mesh = makeMesh(soup);
    auto const twin = makeMesh(withoutUnusedVertices(soup));
    std::array<Point, 4> corners;
    std::array<Point, 4> expected;
    mesh->getCorners(corners.data());
    twin->getCorners(expected.data());
    EXPECT_EQ(corners, expected);
}

TEST(Mesh, CleanWithoutFloatingVerticesLeavesEverything) {
    for (NamedSoup const& family : openFamilies()) {
        auto const mesh = makeMesh(family.soup);
        std::string const before = describe(*mesh);
        Vertex const* const storage = mesh->vertices.data();
        mesh->clean();
        EXPECT_EQ(describe(*mesh), before) << family.name;
        EXPECT_EQ(mesh->vertices.data(), storage) << family.name;
    }
}

TEST(Mesh, CleanDropsFloatingVerticesAndRenumbersTheOthersInOrder) {
    Mesh mesh;
    addVertices(mesh, 8);
    mesh.addFloatingTriangle({1, 6, 3});
    Triangle* const first = mesh.vertexTriangles[1].front();
    mesh.addBoundaryTriangle(first->getEdge(0), 4);
    Triangle* const second = mesh.vertexTriangles[4].front();
    mesh.clean();
    ASSERT_EQ(mesh.getNumberOfVertices(), 4U);
    EXPECT_EQ(mesh.getVertex(0).getPoint3D(), Point(1, 1, 1));
    EXPECT_EQ(mesh.getVertex(1).getPoint3D(), Point(3, 1, 0));
    EXPECT_EQ(mesh.getVertex(2).getPoint3D(), Point(4, 0, 1));
    EXPECT_EQ(mesh.getVertex(3).getPoint3D(), Point(6, 0, 0));
    EXPECT_EQ(first->vertexIndices, (std::array<std::uint32_t, 3>{0, 3, 1}));
    EXPECT_EQ(second->vertexIndices, (std::array<std::uint32_t, 3>{1, 3, 2}));
    EXPECT_EQ(mesh.vertexTriangles[0], std::vector<Triangle*>{first});
    EXPECT_EQ(mesh.vertexTriangles[2], std::vector<Triangle*>{second});
    EXPECT_EQ(mesh.vertexTriangles.size(), 4U);
}

TEST(Mesh, CleanOfFloatingVerticesAloneLeavesNone) {
    Mesh mesh;
    addVertices(mesh, 3);
    mesh.clean();
    EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
    EXPECT_TRUE(mesh.vertexTriangles.empty());
}

TEST(Mesh, ClearKeepsNameCutListenerAndTerminator) {
    RecordingListener listener;
    SilentTerminator terminator;
    Mesh mesh;
    loadSoup(mesh, makeTetrahedron());
    std::string const name = mesh.getFileName();
    mesh.setProgressListener(&listener);
    mesh.setProgressTerminator(&terminator);
    mesh.cutEdgeIndices.first.push_back({3});
    mesh.cutEdgeIndices.second.push_back({7});
    mesh.clear();
    EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
    EXPECT_TRUE(mesh.vertexTriangles.empty());
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(mesh.getFileName(), name);
    EXPECT_EQ(mesh.getCutEdgeIndices().first.at(0).index, 3U);
    EXPECT_EQ(mesh.getCutEdgeIndices().second.at(0).index, 7U);
    EXPECT_EQ(mesh.progressListener, &listener);
    EXPECT_EQ(mesh.progressTerminator, &terminator);
}

TEST(Mesh, AClearedMeshGrowsAnew) {
    Mesh mesh;
    loadSoup(mesh, makeSphere(1));
    mesh.clear();
    addVertices(mesh, 3);
    EXPECT_TRUE(mesh.addFloatingTriangle({0, 1, 2}));
    EXPECT_EQ(Gathered(mesh).count(), 1);
}

TEST(Mesh, RoundTakesHalvesUpward) {
    EXPECT_EQ(Mesh::round(2.5), 3.0);
    EXPECT_EQ(Mesh::round(-2.5), -2.0);
    EXPECT_EQ(Mesh::round(2.4999999999999996), 2.0);
    EXPECT_EQ(Mesh::round(-2.6), -3.0);
    EXPECT_EQ(Mesh::round(-2.4), -2.0);
    EXPECT_EQ(Mesh::round(7.0), 7.0);
    EXPECT_EQ(Mesh::round(0.49999999999999994), 0.0);
}

TEST(Mesh, IsNeitherCopiedNorMoved) {
    static_assert(!std::is_copy_constructible_v<Mesh> && !std::is_copy_assignable_v<Mesh>);
    static_assert(!std::is_move_constructible_v<Mesh> && !std::is_move_assignable_v<Mesh>);
    static_assert(std::has_virtual_destructor_v<Mesh>);
}

TEST(Mesh, CutEdgeIndexHolds32Bits) {
    static_assert(sizeof(CutEdgeIndex) == 4 && std::is_aggregate_v<CutEdgeIndex>);
    EXPECT_EQ(CutEdgeIndex{0xFFFFFFFFU}.index, 0xFFFFFFFFU);
}

TEST(FileContents, StartsWithNothingAndReportsWhatItWasTold) {
    FileContents contents;
    EXPECT_FALSE(contents.getDoesContain3D());
    EXPECT_FALSE(contents.getDoesContain2D());
    contents = FileContents(true, false);
    EXPECT_TRUE(contents.getDoesContain3D());
    EXPECT_FALSE(contents.getDoesContain2D());
    contents = FileContents(false, true);
    EXPECT_FALSE(contents.getDoesContain3D());
    EXPECT_TRUE(contents.getDoesContain2D());
    static_assert(!std::is_polymorphic_v<FileContents>);
}

} // namespace QELT::Testing
