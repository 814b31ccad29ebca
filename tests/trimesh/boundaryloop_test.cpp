#include "Geometry/flattening/internal/vertexloops.h"
#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/mesh.h"
#include "tests/support/cloudfamilies.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_meshcopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <stdexcept>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::TriMesh::BoundaryLoop;
using Geometry::ThreeDimensional::TriMesh::Face;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Way = std::pair<std::uint32_t, std::uint32_t>;
using Indices = std::vector<std::uint32_t>;

std::unique_ptr<Mesh> buildMesh(Soup const& soup) {
    std::vector<Point> points;
    for (auto const& [x, y, z] : soup.points) {
        points.emplace_back(x, y, z);
    }
    return std::make_unique<Mesh>(points, soup.faces);
}

/// How often each way along an open side is there, over the triangles that the mesh gathers.
std::map<Way, int> openWaysOf(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    std::map<Way, int> ways;
    std::for_each(first, last, [&](Triangle const* triangle) {
        for (unsigned long side = 0; side < 3; ++side) {
            if (triangle->adjacentTriangles[side] == nullptr) {
                ++ways[{triangle->vertexIndices[(side + 1) % 3], triangle->vertexIndices[(side + 2) % 3]}];
            }
        }
    });
    return ways;
}

std::map<Way, int> walkedWaysOf(std::vector<BoundaryLoop> const& loops) {
    std::map<Way, int> ways;
    for (BoundaryLoop const& loop : loops) {
        for (std::size_t k = 0; k < loop.vertices.size(); ++k) {
            ++ways[{loop.vertices[k], loop.vertices[(k + 1) % loop.vertices.size()]}];
        }
    }
    return ways;
}

/// Loops of a boundary that parts at no vertex, followed from its lowest vertex on; an error if it does part.
std::vector<Indices> plainLoops(std::map<Way, int> const& openWays) {
    std::map<std::uint32_t, std::uint32_t> next;
    for (auto const& [way, count] : openWays) {
        if (count != 1 || !next.emplace(way.first, way.second).second) {
            throw std::logic_error("the boundary parts");
        }
    }
    std::vector<Indices> loops;
    while (!next.empty()) {
        loops.emplace_back();
        for (auto at = next.begin(); at != next.end();) {
            loops.back().push_back(at->first);
            std::uint32_t const to = at->second;
            next.erase(at);
            at = next.find(to);
        }
    }
    return loops;
}

std::vector<Indices> verticesOf(std::vector<BoundaryLoop> const& loops) {
    std::vector<Indices> vertices;
    for (BoundaryLoop const& loop : loops) {
        vertices.push_back(loop.vertices);
    }
    return vertices;
}

double lengthOf(Mesh const& mesh, Indices const& loop) {
    double length = 0.0;
    for (std::size_t k = 0; k < loop.size(); ++k) {
        Point const& from = mesh.getVertex(loop[k]).getPoint3D();
        Point const& to = mesh.getVertex(loop[(k + 1) % loop.size()]).getPoint3D();
        length += std::sqrt((to - from).lSqr());
    }
    return length;
}

/// Twice the area that a loop goes around in the plane z = 0, positive if counter-clockwise.
double twiceAreaOf(Mesh const& mesh, BoundaryLoop const& loop) {
    double area = 0.0;
    for (std::size_t k = 0; k < loop.vertices.size(); ++k) {
        Point const& p = mesh.getVertex(loop.vertices[k]).getPoint3D();
        Point const& q = mesh.getVertex(loop.vertices[(k + 1) % loop.vertices.size()]).getPoint3D();
        area += double{p.getX()} * double{q.getY()} - double{q.getX()} * double{p.getY()};
    }
    return area;
}

} // namespace

TEST(BoundaryLoops, ASquareIsWalkedCounterClockwiseFromItsLowestVertex) {
    auto const mesh = buildMesh(makeGridPatch(2, 1, 2.0, 1.0));
    auto const loops = mesh->getBoundaryLoops();
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].vertices, (Indices{0, 1, 2, 5, 4, 3}));
    EXPECT_EQ(loops[0].length, 6.0);
    EXPECT_EQ(twiceAreaOf(*mesh, loops[0]), 4.0);
    auto const turned = buildMesh(withReversedWinding(makeGridPatch(2, 1, 2.0, 1.0)));
    EXPECT_EQ(turned->getBoundaryLoops()[0].vertices, (Indices{0, 3, 4, 5, 2, 1}));
}

TEST(BoundaryLoops, AHoleIsWalkedClockwise) {
    auto const mesh = buildMesh(makePatchWithHole(7));
    auto const loops = mesh->getBoundaryLoops();
    ASSERT_EQ(loops.size(), 2U);
    EXPECT_EQ(loops[0].vertices.size(), 28U);
    EXPECT_GT(twiceAreaOf(*mesh, loops[0]), 0.0);
    EXPECT_EQ(loops[1].vertices.size(), 12U);
    EXPECT_LT(twiceAreaOf(*mesh, loops[1]), 0.0);
}

TEST(BoundaryLoops, AClosedOrEmptyMeshHasNone) {
    EXPECT_TRUE(buildMesh(makeSphere(1))->getBoundaryLoops().empty());
    EXPECT_TRUE(Mesh().getBoundaryLoops().empty());
}

TEST(BoundaryLoops, OfEveryFamilyAreThePlainOnesAndThoseOfTheFlattening) {
    std::size_t loopCount = 0;
    for (NamedSoup const& family : loadableFamilies()) {
        SCOPED_TRACE(family.name);
        auto const mesh = makeMesh(family.soup);
        auto const loops = mesh->getBoundaryLoops();
        auto const expected = plainLoops(openWaysOf(*mesh));
        EXPECT_EQ(verticesOf(loops), expected);
        for (BoundaryLoop const& loop : loops) {
            EXPECT_EQ(loop.length, lengthOf(*mesh, loop.vertices));
        }
        if (!loops.empty()) {
            EXPECT_EQ(classifyVertices(mesh->getConnectivity()).loops, expected);
        }
        loopCount += loops.size();
    }
    EXPECT_GT(loopCount, 40U);
}

TEST(BoundaryLoops, AHoleThatTouchesTheOutlineInAPointIsOneLoopWithIt) {
    Soup soup = makeGridPatch(3, 3);
    // The one face with the vertex 4 of the outline and two inner ones.
    auto const isHole = [](Face const& face) {
        return std::is_permutation(face.begin(), face.end(), std::array{4U, 5U, 9U}.begin());
    };
    ASSERT_EQ(std::erase_if(soup.faces, isHole), 1U);
    auto const mesh = buildMesh(soup);
    auto const loops = mesh->getBoundaryLoops();
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].vertices, (Indices{0, 1, 2, 3, 7, 11, 15, 14, 13, 12, 8, 4, 9, 5, 4}));
    EXPECT_EQ(walkedWaysOf(loops), openWaysOf(*mesh));
}

TEST(BoundaryLoops, ASurfaceThatComesBackToItsOwnVertexMeetsItTwice) {
    Soup const soup{{{0, 0, 0}, {2, 1, 0}, {0, 2, 0}, {2, 3, 0}, {3, 0, 1}},
                    {{0, 1, 2}, {2, 1, 3}, {3, 1, 4}, {4, 0, 3}}};
    auto const mesh = buildMesh(soup);
    auto const loops = mesh->getBoundaryLoops();
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].vertices, (Indices{0, 1, 4, 0, 3, 2}));
}

TEST(BoundaryLoops, ComeInTheOrderOfTheirLowestVerticesAndStartThere) {
    Soup const soup = withShuffledVertices(makeTube(5, 3), 3);
    auto const tube = buildMesh(soup);
    auto const loops = tube->getBoundaryLoops();
    ASSERT_EQ(loops.size(), 2U);
    EXPECT_LT(loops[0].vertices.front(), loops[1].vertices.front());
    for (BoundaryLoop const& loop : loops) {
        EXPECT_EQ(loop.vertices.front(), *std::min_element(loop.vertices.begin(), loop.vertices.end()));
    }
}

TEST(BoundaryLoops, CoverEveryOpenSideOfPinchedSurfacesOnce) {
    int pinchedCount = 0;
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        auto const coordinate = [&] { return static_cast<double>(generator() % 6); };
        Cloud cloud;
        for (int i = 0; i < 150; ++i) {
            double const x = coordinate();
            double const y = coordinate();
            cloud.addPoint(Point(x, y, coordinate()));
        }
        Mesh mesh;
        try {
            mesh.construct(cloud);
        } catch (std::runtime_error const&) {
            continue;
        }
        auto const loops = mesh.getBoundaryLoops();
        auto const walked = walkedWaysOf(loops);
        auto const open = openWaysOf(mesh);
        for (auto const& [way, count] : open) {
            ASSERT_TRUE(walked.contains(way));
            EXPECT_GE(walked.at(way), count);
        }
        Indices all;
        Indices starts;
        for (BoundaryLoop const& loop : loops) {
            all.insert(all.end(), loop.vertices.begin(), loop.vertices.end());
            starts.push_back(loop.vertices.front());
            EXPECT_EQ(starts.back(), *std::min_element(loop.vertices.begin(), loop.vertices.end()));
            EXPECT_EQ(loop.length, lengthOf(mesh, loop.vertices));
        }
        EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
        std::sort(all.begin(), all.end());
        pinchedCount += std::adjacent_find(all.begin(), all.end()) != all.end() ? 1 : 0;
    }
    EXPECT_GT(pinchedCount, 5);
}

} // namespace QELT::Testing
