#include "tests/support/cloudfamilies.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/meshuse.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/watchedheap.h"

#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/internal/trianglearena.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

// What a mesh is after memory ran out within an operation, at whatever allocation.

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::TriMesh::CutEdgeIndices;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Maximum;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Vertex;
using MeshPointer = std::unique_ptr<Mesh>;

/// More than any of these operations takes, and what a test has the patience for.
constexpr std::size_t all = 100000;
constexpr std::size_t sample = 100;

MeshPointer makeEmpty() {
    return std::make_unique<Mesh>();
}

/// A file with a cut beside it, faces in disorder, flat places and a vertex without a face.
class FileToLoad {
public:
    FileToLoad() {
        Soup const soup = withUnusedVertices(withShuffledFaces(makePatchWithHole(5), 3), 2, 5);
        std::string text = objText(soup);
        for (std::size_t v = 0; v < soup.points.size(); ++v) {
            text += "vt 0.5 " + std::to_string(v) + "\n";
        }
        writeText(path(), text);
        writeText(directory.file("x\\file_to_load_cut_indices.txt"), "1, 2\n3, 4\n5, 6\n");
    }

    std::string path() const { return directory.file("x\\file_to_load.obj"); }

private:
    TemporaryDirectory directory;
};

/// Points over a square, lifted a little.
void addPatch(Cloud& cloud, std::size_t count) {
    for (Point const& point : uniformCloud(7, count)) {
        cloud.addPoint(Point(point.getX(), point.getY(), point.getX() * point.getX() * 0.2F));
    }
}

void useAfterFailure(Mesh& mesh, std::size_t given) {
    SCOPED_TRACE(given);
    expectUsable(mesh);
}

} // namespace

TEST(MeshAllocation, ALoadThatFailsLeavesAWholeMesh) {
    FileToLoad const file;
    std::size_t const failures = failEachAllocation(
        sample, makeEmpty, [&](Mesh& mesh) { mesh.load(file.path().c_str()); }, useAfterFailure);
    EXPECT_GT(failures, sample / 2);
}

TEST(MeshAllocation, ALoadOverACutTubeThatFailsLeavesAWholeMesh) {
    FileToLoad const file;
    std::size_t const failures = failEachAllocation(
        sample, makeCutTube, [&](Mesh& mesh) { mesh.load(file.path().c_str()); }, useAfterFailure);
    EXPECT_GT(failures, sample / 2);
}

TEST(MeshAllocation, ALoadReadsACutWhollyOrNotAtAll) {
    FileToLoad const file;
    std::size_t const failures = failEachAllocation(
        all, makeCutTube, [&](Mesh& mesh) { mesh.load(file.path().c_str()); },
        [&](Mesh& mesh, std::size_t given) {
            CutEdgeIndices const& cut = mesh.getCutEdgeIndices();
            EXPECT_EQ(cut.first.size(), 4U) << given;
            EXPECT_EQ(cut.second.size(), 4U) << given;
        });
    EXPECT_GT(failures, 100U);
    MeshPointer const mesh = makeCutTube();
    mesh->load(file.path().c_str());
    EXPECT_EQ(mesh->getCutEdgeIndices().first.size(), 8U);
}

TEST(MeshAllocation, ALoadOfAnUnreadableFileThatFailsLeavesAWholeMesh) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("two.obj");
    writeObj(path, makeTwoComponents());
    auto const load = [&](Mesh& mesh) {
        try {
            mesh.load(path.c_str());
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), "Mesh construction failure");
        }
    };
    std::size_t const failures = failEachAllocation(sample, makeCutTube, load, useAfterFailure);
    EXPECT_GT(failures, sample / 2);
}

TEST(MeshAllocation, AReconstructionThatFailsLeavesAWholeMesh) {
    Cloud cloud;
    addPatch(cloud, 70);
    std::size_t const failures = failEachAllocation(
        sample, makeEmpty, [&](Mesh& mesh) { mesh.construct(cloud); }, useAfterFailure);
    EXPECT_GT(failures, sample / 2);
}

TEST(MeshAllocation, AReconstructionOverACutTubeThatFailsLeavesAWholeMesh) {
    Cloud cloud;
    addPatch(cloud, 70);
    std::size_t const failures = failEachAllocation(
        sample, makeCutTube, [&](Mesh& mesh) { mesh.construct(cloud); }, useAfterFailure);
    EXPECT_GT(failures, sample / 2);
}

TEST(MeshAllocation, ACutThatFailsLeavesTheMeshAsItWasWithoutACut) {
    MeshPointer const tube = makeLeaningTube();
    std::string const before = describe(*tube);
    EXPECT_TRUE(tube->makeCut(Maximum, 2, 0));
    std::string const cut = describe(*tube);
    auto const prepare = [] {
        MeshPointer mesh = makeLeaningTube();
        mesh->cutEdgeIndices = {{{1}, {2}}, {{3}, {4}}};
        return mesh;
    };
    std::size_t const failures = failEachAllocation(
        all, prepare, [](Mesh& mesh) { mesh.makeCut(Maximum, 2, 0); },
        [&](Mesh& mesh, std::size_t given) {
            SCOPED_TRACE(given);
            EXPECT_EQ(describe(mesh), before);
            EXPECT_TRUE(mesh.makeCut(Maximum, 2, 0));
            EXPECT_EQ(describe(mesh), cut);
            expectUsable(mesh);
        });
    EXPECT_GT(failures, 8U);
}

TEST(MeshAllocation, AVertexThatFailsIsNotThere) {
    auto const prepare = [] {
        auto mesh = std::make_unique<Mesh>();
        for (int v = 0; v < 4; ++v) {
            mesh->addVertex(Vertex(Point(v, 0.0, 0.0)));
        }
        return mesh;
    };
    std::size_t const failures = failEachAllocation(
        all, prepare, [](Mesh& mesh) { mesh.addVertex(Vertex(Point())); },
        [](Mesh& mesh, std::size_t given) {
            EXPECT_EQ(mesh.vertices.size(), 4U) << given;
            expectUsable(mesh);
        });
    EXPECT_EQ(failures, 3U) << "both lists grow, and the vertex has a list of its own";
}

TEST(MeshAllocation, ATriangleThatFailsIsNotThere) {
    // A fan that is closed but for its last triangle, which joins at both its sides.
    auto const prepare = [] {
        auto mesh = std::make_unique<Mesh>();
        for (auto const& p : makeDisc(1, 6).points) {
            mesh->addVertex(Vertex(Point(p[0], p[1], p[2])));
        }
        mesh->addFloatingTriangle({0, 1, 2});
        Edge edge = mesh->getVertexArbitraryEdge(0);
        for (int const apex : {3, 4, 5, 6}) {
            mesh->addBoundaryTriangle(edge.rot().rot(), apex);
            edge = edge.onext();
        }
        return mesh;
    };
    auto const close = [](Mesh& mesh) {
        Edge side;
        EXPECT_TRUE(mesh.getDoesEdgeExist(6, 0, &side));
        mesh.addBoundaryTriangle(side, 1);
    };
    MeshPointer const open = prepare();
    std::string const before = describe(*open);
    close(*open);
    std::string const closed = describe(*open);
    auto const check = [&](Mesh& mesh, std::size_t given) {
        SCOPED_TRACE(given);
        EXPECT_EQ(describe(mesh), before);
        EXPECT_EQ(mesh.triangles->runs.back().size, 5U) << "no triangle stays that nothing knows";
        close(mesh);
        EXPECT_EQ(describe(mesh), closed);
        expectUsable(mesh);
    };
    EXPECT_GT(failEachAllocation(all, prepare, close, check), 3U);
}

} // namespace QELT::Testing
