#include "tests/support/meshuse.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/cloudfamilies.h"
#include "tests/support/plain_meshcopy.h"
#include "tests/support/plain_objloader.h"

#include "Geometry/spatial/cloud.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Maximum;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Minimum;
using Geometry::ThreeDimensional::TriMesh::Triangle;

void expectMutualStitches(PlainMesh const& mesh) {
    for (std::size_t number = 0; number < mesh.triangles.size(); ++number) {
        for (std::uint32_t side = 0; side < 3; ++side) {
            PlainMesh::PlainEdge const edge{static_cast<int>(number), side};
            PlainMesh::PlainEdge const across = mesh.sym(edge);
            EXPECT_LT(mesh.org(edge), mesh.vertices.size());
            if (across.triangle == PlainMesh::none) {
                EXPECT_EQ(across.side, PlainMesh::noSide);
                continue;
            }
            EXPECT_TRUE(mesh.sym(across) == edge);
            EXPECT_EQ(mesh.org(across), mesh.dest(edge));
            EXPECT_EQ(mesh.dest(across), mesh.org(edge));
        }
    }
}

void expectLists(Mesh const& mesh) {
    ASSERT_EQ(mesh.vertices.size(), mesh.vertexTriangles.size());
    for (std::uint32_t v = 0; v < mesh.vertexTriangles.size(); ++v) {
        std::vector<Triangle*> const& list = mesh.vertexTriangles[v];
        ASSERT_FALSE(list.empty());
        EXPECT_TRUE(list.front() != nullptr || list.size() == 1);
        // Those behind the first may have lost the vertex to a cut.
        EXPECT_TRUE(list.front() == nullptr || std::count(list.front()->vertexIndices.begin(),
                                                          list.front()->vertexIndices.end(), v) == 1);
    }
}

/// Each spoke is found from its start, and every triangle's corner lies in a fan that its vertex lists.
void expectSpokesToBeFound(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    std::for_each(first, last, [&](Triangle const* triangle) {
        for (unsigned long side = 0; side < 3; ++side) {
            Edge const edge = triangle->getEdge(side);
            EXPECT_TRUE(mesh.getDoesEdgeExist(edge.org(), edge.dest(), nullptr));
        }
    });
}

void askVertices(Mesh const& mesh) {
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        EXPECT_EQ(mesh.getIsVertexAttached(v), !mesh.getIsVertexFloating(v));
        if (mesh.getIsVertexAttached(v)) {
            EXPECT_EQ(mesh.getVertexArbitraryEdge(v).org(), v);
            mesh.getVertexNormal(v);
        } else {
            EXPECT_TRUE(mesh.getIsBoundaryVertex(v));
        }
    }
}

std::ptrdiff_t countLines(std::string const& text, std::string const& start) {
    std::ptrdiff_t count = 0;
    for (std::size_t at = text.find("\n" + start); at != std::string::npos;
         at = text.find("\n" + start, at + 1)) {
        ++count;
    }
    return count;
}

void saveInEveryForm(Mesh const& mesh) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("x\\whole.obj");
    auto const vertices = static_cast<std::ptrdiff_t>(mesh.getNumberOfVertices());
    mesh.save(path.c_str(), true, false);
    std::string const text = readText(path);
    EXPECT_EQ(countLines(text, "v "), vertices);
    EXPECT_EQ(countLines(text, "vt "), vertices);
    EXPECT_EQ(countLines("\n" + readText(directory.file("x\\whole_cut_indices.txt")), ""),
              static_cast<std::ptrdiff_t>(mesh.getCutEdgeIndices().first.size()) + 1);
    mesh.save(path.c_str(), true, true);
    EXPECT_EQ(countLines(readText(path), "f "), countLines(text, "f "));
    mesh.save(path.c_str(), false, true);
    EXPECT_EQ(countLines(readText(path), "v "), 0);
}

/// A mesh that is not fully built refuses to be flattened with one of these words.
void flatten(Mesh& mesh) {
    std::set<std::string> const refusals{"Mesh has no boundary", "Mesh boundary is not manifold",
                                         "Mesh has a vertex without a triangle"};
    try {
        mesh.conformalMap(true, nullptr, false);
    } catch (std::runtime_error const& error) {
        EXPECT_TRUE(refusals.contains(error.what())) << error.what();
    }
}

Cloud const& exampleCloud() {
    static Cloud const cloud = [] {
        Cloud points;
        for (Point const& point : uniformCloud(11, 90)) {
            points.addPoint(Point(point.getX(), point.getY(), point.getX() * point.getY() * 0.3F));
        }
        return points;
    }();
    return cloud;
}

/// What a mesh holds once it is loaded, or else constructed; the name and the cut, which these leave or add
/// to, are given up.
std::string refill(Mesh& mesh, bool isLoaded) {
    mesh.cutEdgeIndices = {};
    if (isLoaded) {
        loadSoup(mesh, makePatchWithHole(5));
    } else {
        mesh.construct(exampleCloud());
    }
    mesh.fileName.clear();
    return describe(mesh);
}

std::string fillNew(bool isLoaded) {
    Mesh mesh;
    return refill(mesh, isLoaded);
}

} // namespace

std::unique_ptr<Mesh> makeLeaningTube() {
    Soup soup = makeTube(8, 3);
    for (auto& [x, y, z] : soup.points) {
        double const twist = 0.1 * (z - 1.0);
        std::tie(x, y) = std::pair(x - twist * y, y + twist * x);
        z += 0.15 * x * (z - 1.0);
    }
    auto mesh = makeMesh(soup);
    mesh->fileName.clear();
    return mesh;
}

std::unique_ptr<Mesh> makeCutTube() {
    auto mesh = makeLeaningTube();
    EXPECT_TRUE(mesh->makeCut(Maximum, 2, 0));
    return mesh;
}

void expectWhole(Mesh const& mesh) {
    expectLists(mesh);
    EXPECT_EQ(mesh.getCutEdgeIndices().first.size(), mesh.getCutEdgeIndices().second.size());
    expectMutualStitches(plainCopyOf(mesh));
    expectSpokesToBeFound(mesh);
    askVertices(mesh);
    std::array<Point, 4> corners;
    mesh.getCorners(corners.data());
    saveInEveryForm(mesh);
}

void expectUsable(Mesh& mesh) {
    expectWhole(mesh);
    CapturedOutput const quiet;
    mesh.makeCut(Maximum, 2, 0);
    mesh.makeCut(Minimum, 0, 2);
    flatten(mesh);
    expectWhole(mesh);
    static std::string const loaded = fillNew(true);
    static std::string const constructed = fillNew(false);
    EXPECT_EQ(refill(mesh, true), loaded);
    EXPECT_EQ(refill(mesh, false), constructed);
    EXPECT_EQ(refill(mesh, true), loaded);
}

} // namespace QELT::Testing
