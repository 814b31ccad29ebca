#include "Geometry/trimesh/internal/triangletally.h"

#include "tests/support/meshfamilies.h"
#include "tests/support/meshuse.h"
#include "tests/support/plain_triangles.h"
#include "tests/support/randomindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::TriangleTally;
using Geometry::ThreeDimensional::TriMesh::Vertex;

/// The number of triangles of the surface that are not listed.
std::size_t expectPlainTriangles(Mesh const& mesh) {
    PlainTriangles const plain(mesh);
    std::vector<Triangle*> list(3, nullptr);
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    EXPECT_EQ(first, list.begin());
    EXPECT_EQ(list, plain.list);
    EXPECT_EQ(std::vector<Triangle*>(first, last), plain.listed);
    std::vector<Triangle*> const unlisted = mesh.getUnlistedTriangles();
    EXPECT_TRUE(std::is_sorted(unlisted.begin(), unlisted.end(), std::less<>()));
    std::size_t count = 0;
    mesh.triangles->forEachOfSurface([&](Triangle& triangle) {
        bool const isListed = std::find(first, last, &triangle) != last;
        EXPECT_EQ(std::count(unlisted.begin(), unlisted.end(), &triangle), isListed ? 0 : 1);
        ++count;
    });
    EXPECT_EQ(count, plain.listed.size() + unlisted.size());
    return unlisted.size();
}

/// Random triangles on random boundary sides with random apexes: fans of all kinds, sides that cannot be
/// stitched, triangles with a vertex twice, in stretches of memory that double.
void growWildly(Mesh& mesh, std::uint32_t vertices, std::uint32_t triangles, std::mt19937& generator) {
    for (std::uint32_t v = 0; v < vertices; ++v) {
        mesh.addVertex(Vertex(Point(v, v % 7, v % 3)));
    }
    mesh.addFloatingTriangle({0, 1, 2});
    std::vector<Triangle*> made;
    for (std::uint32_t i = 0; i < triangles; ++i) {
        made.clear();
        mesh.triangles->forEachOfSurface([&](Triangle& triangle) { made.push_back(&triangle); });
        std::size_t const reach = std::min<std::size_t>(made.size(), 40);
        Triangle* const chosen =
            made[made.size() - 1 - randomBelow(generator, static_cast<std::uint32_t>(reach))];
        Edge const side = chosen->getEdge(randomBelow(generator, 3));
        mesh.addBoundaryTriangle(side, static_cast<int>(randomBelow(generator, vertices)));
    }
}

} // namespace

TEST(TriangleTally, GathersWhatASortOfAllMeetingsGathers) {
    for (NamedSoup const& family : loadableFamilies()) {
        SCOPED_TRACE(family.name);
        EXPECT_EQ(expectPlainTriangles(*makeMesh(family.soup)), 0U);
    }
    EXPECT_EQ(expectPlainTriangles(*makeMesh(makeSurfaceMeetingItself(0))), 1U);
    EXPECT_EQ(expectPlainTriangles(*makeMesh(makePatchMeetingItself())), 1U);
    EXPECT_EQ(expectPlainTriangles(*makeCutTube()), 0U);
    EXPECT_EQ(expectPlainTriangles(Mesh()), 0U);
}

TEST(TriangleTally, GathersWhatWasBuiltUntilAFailureAndOverTheNextLoad) {
    Mesh mesh;
    for (NamedSoup const& family : unloadableFamilies()) {
        SCOPED_TRACE(family.name);
        EXPECT_THROW(loadSoup(mesh, family.soup), std::runtime_error);
        expectPlainTriangles(mesh);
        loadSoup(mesh, makeWavyPatch(5, 4));
        EXPECT_EQ(expectPlainTriangles(mesh), 0U);
    }
    mesh.clear();
    EXPECT_EQ(expectPlainTriangles(mesh), 0U);
}

TEST(TriangleTally, GathersSurfacesInManyStretchesOfMemory) {
    std::size_t unlisted = 0;
    std::mt19937 generator(4);
    for (std::uint32_t const vertices : {5U, 30U, 400U}) {
        Mesh mesh;
        for (std::uint32_t const triangles : {300U, 1500U}) {
            growWildly(mesh, vertices, triangles, generator);
            unlisted += expectPlainTriangles(mesh);
            mesh.clear();
        }
    }
    EXPECT_GT(unlisted, 100U);
}

TEST(TriangleTally, CountsInTheOrderOfAddresses) {
    auto const mesh = makeMesh(makeTetrahedron());
    std::vector<Triangle*> made;
    mesh->triangles->forEachOfSurface([&](Triangle& triangle) { made.push_back(&triangle); });
    TriangleTally tally(*mesh->triangles);
    tally.add(made[2]);
    tally.add(made[0]);
    tally.add(made[2]);
    EXPECT_EQ(tally.getTotal(), 3U);
    std::vector<Triangle*> visited;
    std::vector<std::uint32_t> counts;
    tally.forEach([&](Triangle* triangle, std::uint32_t count) {
        visited.push_back(triangle);
        counts.push_back(count);
    });
    EXPECT_EQ(visited, made);
    EXPECT_EQ(counts, (std::vector<std::uint32_t>{1, 0, 2, 0}));
}

} // namespace QELT::Testing
