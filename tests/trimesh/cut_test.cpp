#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/mesh.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_corners.h"
#include "tests/support/plain_cut.h"
#include "tests/support/plain_meshcopy.h"
#include "tests/support/plain_objloader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::QuadMesh::RectMesh;
using Geometry::ThreeDimensional::TriMesh::CutMetric;
using Geometry::ThreeDimensional::TriMesh::Maximum;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Minimum;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Flat = Geometry::TwoDimensional::Point<double>;
using Indices = std::vector<std::uint32_t>;

/// A tube of radius 1 and height 2 whose rims lean out at +x, the upper one up and the lower one down, so
/// that a cut along z starts there, where the surface's normal is +x.
Soup makeSlantedTube(std::uint32_t segments, std::uint32_t rings) {
    Soup soup = makeTube(segments, rings);
    for (auto& point : soup.points) {
        point[2] += 0.15 * point[0] * (point[2] - 1.0);
    }
    return soup;
}

/// A quarter bend: the tube with its axis on a circle of that radius, in the plane of x and z.
Soup makeElbow(std::uint32_t segments, std::uint32_t rings, double bendRadius) {
    Soup soup = makeSlantedTube(segments, rings);
    for (auto& point : soup.points) {
        double const angle = point[2] * std::numbers::pi / 4.0;
        double const out = bendRadius + point[0];
        point = {out * std::cos(angle) - bendRadius, point[1], out * std::sin(angle)};
    }
    return soup;
}

/// A curved sheet that meets itself: vertex 3 has two fans that touch in it alone.
Soup makePinchedSheet() {
    Soup soup;
    soup.points = {
        {0.990653, -0.136403, 1.446930}, {-0.087043, 0.996205, 1.002241}, {0.855114, 0.518440, 0.144102},
        {0.995007, 0.099801, 0.999765},  {0.679038, -0.734103, 1.607478}, {0.903561, -0.428460, 1.862412},
        {-0.078984, 0.996876, 0.049798}, {0.459285, 0.888289, 1.096980},  {0.348441, 0.937331, 0.935506},
        {0.807263, 0.590192, 0.409698},  {0.953451, -0.301548, 0.954802}, {0.965240, -0.261365, 0.627989},
        {0.428183, 0.903692, 1.145251},  {0.624184, 0.781277, 0.552098},  {0.865476, 0.500951, 0.905686},
        {-0.204139, 0.978942, 0.740702}, {0.996256, -0.086454, 1.812847}, {-0.311043, 0.950396, 0.844748},
        {-0.057370, 0.998353, 0.829772}};
    soup.faces = {{7, 12, 8},  {8, 12, 1},  {8, 1, 18}, {18, 1, 17}, {18, 17, 15}, {7, 8, 13},
                  {6, 18, 15}, {18, 6, 13}, {4, 5, 0},  {0, 5, 16},  {4, 0, 10},   {10, 0, 3},
                  {10, 3, 11}, {11, 3, 9},  {9, 3, 14}, {14, 13, 9}, {9, 13, 2},   {13, 3, 7},
                  {7, 14, 12}, {6, 2, 13},  {3, 0, 14}, {16, 14, 0}, {14, 16, 12}};
    return soup;
}

Soup makeNoisyTube() {
    return withNoise(makeSlantedTube(16, 12), 0.02, 1);
}

std::vector<NamedSoup> tubes() {
    return {
        {"regular tube", makeTube(12, 8)},
        {"noisy tube", makeNoisyTube()},
        {"noisy tube, shuffled", withShuffledFaces(withShuffledVertices(makeNoisyTube(), 3), 4)},
        {"fine tube", withNoise(makeSlantedTube(30, 20), 0.01, 8)},
        {"very noisy tube", withNoise(makeSlantedTube(14, 12), 0.06, 5)},
        {"elbow", makeElbow(16, 20, 4.0)},
        {"noisy elbow", withNoise(makeElbow(24, 30, 4.0), 0.02, 6)},
        {"noisy elbow, shuffled",
         withRotatedFaceStarts(withShuffledVertices(withNoise(makeElbow(20, 20, 3.0), 0.02, 7), 5), 6)},
        {"inside-out elbow", withReversedWinding(withNoise(makeElbow(20, 20, 3.0), 0.02, 7))},
    };
}

struct CutCounts {
    std::map<PlainCutOutcome, int> of;
};

/// Walks around a vertex start from the triangle that it is listed with first.
void expectSoundLists(Mesh const& mesh) {
    for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
        Triangle const* const listed = mesh.vertexTriangles[v].front();
        if (listed != nullptr) {
            EXPECT_TRUE(listed->getAdjacentVertexIndex(0) == v || listed->getAdjacentVertexIndex(1) == v ||
                        listed->getAdjacentVertexIndex(2) == v)
                << v;
        }
    }
}

/// Cuts both ways and compares everything that a mesh holds.
PlainCutOutcome expectPlainCut(Mesh& mesh, CutMetric metric, unsigned long axis,
                               unsigned long perpendicular) {
    PlainMesh plain = plainCopyOf(mesh);
    PlainCutOutcome const outcome = plainMakeCut(plain, metric == Maximum, static_cast<std::uint32_t>(axis),
                                                 static_cast<std::uint32_t>(perpendicular));
    EXPECT_EQ(mesh.makeCut(metric, axis, perpendicular), outcome == PlainCutOutcome::cut);
    EXPECT_EQ(describe(mesh), describe(plain));
    expectSoundLists(mesh);
    return outcome;
}

void cutAllWays(Soup const& soup, CutCounts& counts) {
    for (CutMetric const metric : {Minimum, Maximum}) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            for (unsigned long perpendicular : {(axis + 1) % 3, (axis + 2) % 3}) {
                SCOPED_TRACE(testing::Message() << metric << " " << axis << " " << perpendicular);
                ++counts.of[expectPlainCut(*makeMesh(soup), metric, axis, perpendicular)];
            }
        }
    }
}

/// Vertices - edges + triangles, of a mesh without unused vertices.
int eulerCharacteristic(PlainMesh const& mesh) {
    int sides = 0;
    int openSides = 0;
    for (auto const& triangle : mesh.triangles) {
        for (int const neighbour : triangle.neighbours) {
            ++sides;
            openSides += neighbour == PlainMesh::none ? 1 : 0;
        }
    }
    int const edges = (sides + openSides) / 2;
    return static_cast<int>(mesh.vertices.size()) - edges + static_cast<int>(mesh.triangles.size());
}

std::vector<Indices> boundaryLoops(PlainMesh const& mesh) {
    std::vector<Indices> loops;
    std::set<std::uint32_t> seen;
    for (std::uint32_t v = 0; v < mesh.vertices.size(); ++v) {
        if (!mesh.isFloating(v) && mesh.isBoundaryVertex(v) && seen.count(v) == 0) {
            loops.push_back(plainBoundaryLoop(mesh, v));
            seen.insert(loops.back().begin(), loops.back().end());
        }
    }
    return loops;
}

/// Stitches are mutual, and stitched sides run between the same two vertices.
void expectSoundConnectivity(PlainMesh const& mesh) {
    for (std::size_t number = 0; number < mesh.triangles.size(); ++number) {
        for (std::uint32_t side = 0; side < 3; ++side) {
            PlainMesh::PlainEdge const edge{static_cast<int>(number), side};
            PlainMesh::PlainEdge const across = mesh.sym(edge);
            if (across.triangle == PlainMesh::none) {
                EXPECT_EQ(across.side, PlainMesh::noSide);
                continue;
            }
            EXPECT_TRUE(mesh.sym(across) == edge);
            EXPECT_EQ(mesh.org(across), mesh.dest(edge));
            EXPECT_EQ(mesh.dest(across), mesh.org(edge));
        }
    }
    for (std::uint32_t v = 0; v < mesh.vertices.size(); ++v) {
        PlainMesh::PlainEdge const spoke = mesh.arbitraryEdge(v);
        ASSERT_NE(spoke.triangle, PlainMesh::none);
        EXPECT_EQ(mesh.org(spoke), v);
    }
}

/// The tube cut from its upper to its lower rim.
std::unique_ptr<Mesh> makeCutTube(Soup const& soup) {
    auto mesh = makeMesh(soup);
    EXPECT_TRUE(mesh->makeCut(Maximum, 2, 0));
    return mesh;
}

/// Triangles around a vertex at the origin.
Soup makeSpokes(std::vector<std::array<double, 3>> const& rim) {
    Soup soup{{{0.0, 0.0, 0.0}}, {}};
    soup.points.insert(soup.points.end(), rim.begin(), rim.end());
    for (std::uint32_t i = 1; i < rim.size(); ++i) {
        soup.faces.push_back({0, i, i + 1});
    }
    return soup;
}

} // namespace

TEST(Cut, MetricsHaveFixedValues) {
    EXPECT_EQ(static_cast<int>(Minimum), 0);
    EXPECT_EQ(static_cast<int>(Maximum), 1);
}

TEST(Cut, AClosedMeshIsNotCut) {
    auto const mesh = makeMesh(makeSphere(2));
    std::string const before = describe(*mesh);
    EXPECT_EQ(expectPlainCut(*mesh, Maximum, 2, 0), PlainCutOutcome::noBoundary);
    EXPECT_EQ(describe(*mesh), before);
    Mesh empty;
    EXPECT_FALSE(empty.makeCut(Minimum, 0, 1));
}

TEST(Cut, ARegularTubeWithSpokesOnThePlaneIsNotCut) {
    auto const mesh = makeMesh(makeTube(8, 4));
    std::string const before = describe(*mesh);
    EXPECT_EQ(expectPlainCut(*mesh, Maximum, 2, 0), PlainCutOutcome::endsOnPlane);
    EXPECT_EQ(describe(*mesh), before);
    EXPECT_TRUE(mesh->getCutEdgeIndices().first.empty());
    EXPECT_TRUE(mesh->getCutEdgeIndices().second.empty());
}

TEST(Cut, ARegularTubeTurnedOutOfThePlaneIsCut) {
    Soup soup = makeTube(8, 4);
    for (auto& point : soup.points) {
        double const angle = std::atan2(point[1], point[0]) + 0.1 + 0.013 * point[2];
        point = {std::cos(angle), std::sin(angle), point[2]};
    }
    EXPECT_EQ(expectPlainCut(*makeMesh(soup), Maximum, 2, 0), PlainCutOutcome::cut);
}

TEST(Cut, AllWaysToCutGiveThePlainMeshBitForBit) {
    CutCounts counts;
    for (NamedSoup const& tube : tubes()) {
        SCOPED_TRACE(tube.name);
        cutAllWays(tube.soup, counts);
    }
    std::uint32_t seed = 0;
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        cutAllWays(++seed % 2 == 0 ? family.soup : withNoise(family.soup, 0.01, seed), counts);
    }
    EXPECT_GT(counts.of[PlainCutOutcome::cut], 50);
    EXPECT_GT(counts.of[PlainCutOutcome::endsOnPlane], 10);
    EXPECT_GT(counts.of[PlainCutOutcome::noSpoke], 10);
    EXPECT_GT(counts.of[PlainCutOutcome::alongBoundary], 10);
    EXPECT_GT(counts.of[PlainCutOutcome::meetsItself], 0);
}

TEST(Cut, AMeshThatIsNotCutStaysAsItIsAndLosesAnEarlierCut) {
    int notCut = 0;
    for (NamedSoup const& tube : tubes()) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            for (unsigned long perpendicular = 0; perpendicular < 3; ++perpendicular) {
                auto const mesh = makeMesh(tube.soup);
                std::string const before = describe(*mesh);
                mesh->cutEdgeIndices.first = {{3}, {4}};
                mesh->cutEdgeIndices.second = {{5}, {6}};
                if (!mesh->makeCut(Maximum, axis, perpendicular)) {
                    ++notCut;
                    EXPECT_EQ(describe(*mesh), before) << tube.name << " " << axis << " " << perpendicular;
                }
            }
        }
    }
    EXPECT_GT(notCut, 20);
}

TEST(Cut, WithBothAxesTheSameThereIsNoPlane) {
    for (CutMetric const metric : {Minimum, Maximum}) {
        auto const mesh = makeMesh(makeNoisyTube());
        std::string const before = describe(*mesh);
        EXPECT_EQ(expectPlainCut(*mesh, metric, 2, 2), PlainCutOutcome::noSpoke);
        EXPECT_EQ(describe(*mesh), before);
    }
}

TEST(Cut, AxesWrapModuloThree) {
    auto const mesh = makeMesh(makeNoisyTube());
    auto const wrapped = makeMesh(makeNoisyTube());
    EXPECT_TRUE(mesh->makeCut(Maximum, 2, 0));
    EXPECT_TRUE(wrapped->makeCut(Maximum, 5, 3));
    wrapped->fileName = mesh->fileName;
    EXPECT_EQ(describe(*wrapped), describe(*mesh));
}

TEST(Cut, MaximumStartsAtTheHighestBoundaryVertexAndMinimumAtTheLowest) {
    for (CutMetric const metric : {Minimum, Maximum}) {
        auto const mesh = makeMesh(makeNoisyTube());
        PlainMesh const before = plainCopyOf(*mesh);
        ASSERT_TRUE(mesh->makeCut(metric, 2, 0));
        std::uint32_t const start = mesh->getCutEdgeIndices().first.front().index;
        for (std::uint32_t v = 0; v < before.vertices.size(); ++v) {
            float const z = before.vertices[v].point.getZ();
            float const extreme = before.vertices[start].point.getZ();
            if (before.isBoundaryVertex(v)) {
                EXPECT_TRUE(metric == Maximum ? z <= extreme : z >= extreme);
            }
        }
        EXPECT_TRUE(before.isBoundaryVertex(start));
    }
}

TEST(Cut, OfEquallyHighVerticesTheLowestIndexIsTheStart) {
    // Both rims are level: the twist keeps the spokes off the plane.
    Soup soup = makeTube(10, 5);
    for (auto& point : soup.points) {
        double const angle = std::atan2(point[1], point[0]) + 0.02 * point[2];
        point = {std::cos(angle), std::sin(angle), point[2]};
    }
    auto const mesh = makeMesh(soup);
    ASSERT_TRUE(mesh->makeCut(Minimum, 2, 0));
    EXPECT_EQ(mesh->getCutEdgeIndices().first.front().index, 0U);
    auto const other = makeMesh(soup);
    ASSERT_TRUE(other->makeCut(Maximum, 2, 0));
    EXPECT_EQ(other->getCutEdgeIndices().first.front().index, 50U);
}

TEST(Cut, EveryVertexOfThePathIsSplitAlsoItsStartAndItsEnd) {
    for (NamedSoup const& tube : tubes()) {
        auto const mesh = makeMesh(tube.soup);
        PlainMesh const before = plainCopyOf(*mesh);
        if (!mesh->makeCut(Minimum, 2, 0)) {
            continue;
        }
        SCOPED_TRACE(tube.name);
        auto const& [first, second] = mesh->getCutEdgeIndices();
        auto const numberBefore = static_cast<std::uint32_t>(before.vertices.size());
        ASSERT_EQ(first.size(), second.size());
        EXPECT_EQ(mesh->getNumberOfVertices(), numberBefore + first.size());
        std::set<std::uint32_t> path;
        for (std::uint32_t k = 0; k < first.size(); ++k) {
            EXPECT_TRUE(path.insert(first[k].index).second);
            EXPECT_LT(first[k].index, numberBefore);
            EXPECT_EQ(second[k].index, numberBefore + k);
            EXPECT_EQ(mesh->getVertex(second[k].index).getPoint3D(),
                      mesh->getVertex(first[k].index).getPoint3D());
            bool const isEnd = k == 0 || k + 1 == first.size();
            EXPECT_EQ(before.isBoundaryVertex(first[k].index), isEnd);
            if (k > 0) {
                EXPECT_TRUE(before.doesEdgeExist(first[k - 1].index, first[k].index, nullptr));
            }
        }
    }
}

TEST(Cut, NewVerticesHaveAPlaceInSpaceOnly) {
    auto const mesh = makeMesh(makeNoisyTube());
    for (std::uint32_t v = 0; v < mesh->getNumberOfVertices(); ++v) {
        mesh->getVertex(v).setPoint2D(Flat(v, 1.0));
    }
    std::uint32_t const numberBefore = static_cast<std::uint32_t>(mesh->getNumberOfVertices());
    ASSERT_TRUE(mesh->makeCut(Maximum, 2, 0));
    for (std::uint32_t v = 0; v < mesh->getNumberOfVertices(); ++v) {
        bool const isNew = v >= numberBefore;
        EXPECT_EQ(mesh->getVertex(v).getPoint2D() == Flat(), isNew);
        EXPECT_EQ(mesh->getVertex(v).getNormal3D().lSqr() == 0.0, isNew);
    }
}

TEST(Cut, ATubeBecomesADiscWithOneBoundaryLoop) {
    int cuts = 0;
    for (NamedSoup const& tube : tubes()) {
        SCOPED_TRACE(tube.name);
        auto const mesh = makeMesh(tube.soup);
        PlainMesh const before = plainCopyOf(*mesh);
        ASSERT_EQ(eulerCharacteristic(before), 0);
        ASSERT_EQ(boundaryLoops(before).size(), 2U);
        if (!mesh->makeCut(Minimum, 2, 0)) {
            continue;
        }
        ++cuts;
        PlainMesh const after = plainCopyOf(*mesh);
        EXPECT_EQ(after.triangles.size(), before.triangles.size());
        EXPECT_EQ(eulerCharacteristic(after), 1);
        expectSoundConnectivity(after);
        std::vector<Indices> const loops = boundaryLoops(after);
        ASSERT_EQ(loops.size(), 1U);
        std::size_t const rims = boundaryLoops(before)[0].size() + boundaryLoops(before)[1].size();
        EXPECT_EQ(loops[0].size(), rims + 2 * mesh->getCutEdgeIndices().first.size() - 2);
        EXPECT_EQ(after.walkedTriangles().size(), before.triangles.size());
    }
    // All but the two regular ones, whose spokes end on the plane, and the one with its normals inward.
    EXPECT_EQ(cuts, 6);
}

TEST(Cut, TrianglesOnTheRightKeepTheirIndicesAndThoseOnTheLeftTakeTheNewOnes) {
    auto const mesh = makeMesh(makeNoisyTube());
    PlainMesh const before = plainCopyOf(*mesh);
    ASSERT_TRUE(mesh->makeCut(Maximum, 2, 0));
    PlainMesh const after = plainCopyOf(*mesh);
    auto const& [first, second] = mesh->getCutEdgeIndices();
    std::map<std::uint32_t, std::uint32_t> twin;
    for (std::size_t k = 0; k < first.size(); ++k) {
        twin[first[k].index] = second[k].index;
    }
    for (std::size_t number = 0; number < before.triangles.size(); ++number) {
        for (std::size_t i = 0; i < 3; ++i) {
            std::uint32_t const was = before.triangles[number].vertices[i];
            std::uint32_t const is = after.triangles[number].vertices[i];
            EXPECT_TRUE(is == was || (twin.count(was) == 1 && is == twin[was]));
        }
    }
    // The left of an edge of the path is the triangle in which it runs that way.
    for (std::size_t k = 0; k + 1 < first.size(); ++k) {
        PlainMesh::PlainEdge edge;
        ASSERT_TRUE(before.doesEdgeExist(first[k].index, first[k + 1].index, &edge));
        PlainMesh::PlainEdge const across = before.sym(edge);
        EXPECT_EQ(after.org(edge), second[k].index);
        EXPECT_EQ(after.dest(edge), second[k + 1].index);
        EXPECT_EQ(after.org(across), first[k + 1].index);
        EXPECT_EQ(after.dest(across), first[k].index);
        EXPECT_EQ(after.sym(edge).triangle, PlainMesh::none);
        EXPECT_EQ(after.sym(across).triangle, PlainMesh::none);
    }
}

TEST(Cut, APatchCutFromSideToSideFallsInTwo) {
    auto const mesh = makeMesh(withNoise(makeGridPatch(10, 10), 0.02, 4));
    ASSERT_EQ(expectPlainCut(*mesh, Maximum, 1, 2), PlainCutOutcome::cut);
    PlainMesh const after = plainCopyOf(*mesh);
    EXPECT_EQ(eulerCharacteristic(after), 2);
    EXPECT_EQ(boundaryLoops(after).size(), 2U);
    expectSoundConnectivity(after);
}

TEST(Cut, OneEdgeBetweenTwoBoundaryVerticesIsAPathToo) {
    // A square of two triangles: from the upper corner along the diagonal.
    auto const mesh = makeMesh(
        Soup{{{0.0, 0.0, 0.0}, {2.0, 0.1, 0.0}, {0.2, 3.0, 0.0}, {-2.0, 0.2, 0.0}}, {{0, 1, 2}, {0, 2, 3}}});
    ASSERT_EQ(expectPlainCut(*mesh, Maximum, 1, 2), PlainCutOutcome::cut);
    auto const& [first, second] = mesh->getCutEdgeIndices();
    ASSERT_EQ(first.size(), 2U);
    EXPECT_EQ(first[0].index, 2U);
    EXPECT_EQ(first[1].index, 0U);
    EXPECT_EQ(second[0].index, 4U);
    EXPECT_EQ(second[1].index, 5U);
    EXPECT_EQ(boundaryLoops(plainCopyOf(*mesh)).size(), 2U);
}

TEST(Cut, APathThatWouldFollowTheBoundaryIsNone) {
    // From the upper end of the strip's left side, the side itself ends nearest to the plane.
    auto const mesh = makeMesh(
        Soup{{{0.0, 1.0, 0.0}, {0.01, 0.0, 0.0}, {1.0, 0.1, 0.0}, {1.0, 0.8, 0.0}}, {{0, 1, 2}, {0, 2, 3}}});
    std::string const before = describe(*mesh);
    EXPECT_EQ(expectPlainCut(*mesh, Maximum, 1, 2), PlainCutOutcome::alongBoundary);
    EXPECT_EQ(describe(*mesh), before);
}

TEST(Cut, APathThatFindsNoSpokeAheadIsNone) {
    // Turned over, the surface has its normal the other way, and the way on leads up and off the mesh.
    Soup const soup = makeSpokes({{-2.0, -0.5, 0.0}, {-0.5, -1.0, 0.0}, {0.4, -1.0, 0.0}, {2.0, -0.5, 0.0}});
    EXPECT_EQ(expectPlainCut(*makeMesh(soup), Maximum, 1, 2), PlainCutOutcome::cut);
    auto const mesh = makeMesh(withReversedWinding(soup));
    std::string const before = describe(*mesh);
    EXPECT_EQ(expectPlainCut(*mesh, Maximum, 1, 2), PlainCutOutcome::noSpoke);
    EXPECT_EQ(describe(*mesh), before);
}

TEST(Cut, OfSpokesEquallyNearThePlaneTheFirstInTurningOrderIsTaken) {
    // Two inner spokes, a half left and a half right of the plane through the top.
    Soup const soup = makeSpokes({{-2.0, -0.5, 0.0}, {-0.5, -1.0, 0.0}, {0.5, -1.0, 0.0}, {2.0, -0.5, 0.0}});
    auto const mesh = makeMesh(soup);
    ASSERT_EQ(expectPlainCut(*mesh, Maximum, 1, 2), PlainCutOutcome::cut);
    ASSERT_EQ(mesh->getCutEdgeIndices().first.size(), 2U);
    EXPECT_EQ(mesh->getCutEdgeIndices().first[1].index, 2U);
}

TEST(Cut, VerticesThatNoTriangleReachesAreNotTheStart) {
    auto const mesh = makeMesh(makeNoisyTube());
    auto const same = makeMesh(makeNoisyTube());
    mesh->addVertex(Geometry::ThreeDimensional::TriMesh::Vertex(Point(0.0, 0.0, 100.0)));
    ASSERT_EQ(expectPlainCut(*mesh, Maximum, 2, 0), PlainCutOutcome::cut);
    ASSERT_TRUE(same->makeCut(Maximum, 2, 0));
    EXPECT_EQ(mesh->getCutEdgeIndices().first.front().index, same->getCutEdgeIndices().first.front().index);
}

TEST(Cut, ASecondCutReplacesTheFirstAndGoesThroughTheCutMesh) {
    auto const mesh = makeCutTube(makeNoisyTube());
    std::size_t const numberAfterFirst = mesh->getNumberOfVertices();
    PlainCutOutcome const outcome = expectPlainCut(*mesh, Minimum, 2, 1);
    std::size_t const added = mesh->getCutEdgeIndices().first.size();
    EXPECT_EQ(outcome == PlainCutOutcome::cut, added > 0);
    EXPECT_EQ(mesh->getNumberOfVertices(), numberAfterFirst + added);
}

TEST(Cut, IsSavedBesideTheMeshAndLoadedWithIt) {
    auto const mesh = makeCutTube(makeNoisyTube());
    TemporaryDirectory const directory;
    std::string const path = directory.file("part\\tube.obj");
    mesh->save(path.c_str(), false, false);
    std::string expected;
    auto const& [first, second] = mesh->getCutEdgeIndices();
    for (std::size_t k = 0; k < first.size(); ++k) {
        expected += std::to_string(first[k].index) + ", " + std::to_string(second[k].index) + "\n";
    }
    EXPECT_EQ(readText(directory.file("part\\tube_cut_indices.txt")), expected);
    Mesh loaded;
    loaded.load(path.c_str());
    ASSERT_EQ(loaded.getNumberOfVertices(), mesh->getNumberOfVertices());
    auto const& loadedCut = loaded.getCutEdgeIndices();
    ASSERT_EQ(loadedCut.first.size(), first.size() + 1);
    for (std::size_t k = 0; k < first.size(); ++k) {
        EXPECT_EQ(loadedCut.first[k].index, first[k].index);
        EXPECT_EQ(loadedCut.second[k].index, second[k].index);
    }
    EXPECT_EQ(loadedCut.first.back().index, 0U);
    EXPECT_EQ(loadedCut.second.back().index, 0U);
    std::vector<Indices> const loops = boundaryLoops(plainCopyOf(loaded));
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].size(), boundaryLoops(plainCopyOf(*mesh))[0].size());
}

namespace {

double distance(Flat const& p, Flat const& a, Flat const& b) {
    auto const along = b - a;
    double const t = std::clamp((p - a).dot(along) / along.lSqr(), 0.0, 1.0);
    return std::sqrt(p.dSqr(a + along * t));
}

double distanceToLip(Mesh const& mesh, Flat const& p,
                     std::vector<Geometry::ThreeDimensional::TriMesh::CutEdgeIndex> const& lip) {
    double nearest = 1e300;
    for (std::size_t k = 0; k + 1 < lip.size(); ++k) {
        nearest = std::min(nearest, distance(p, mesh.getVertex(lip[k].index).getPoint2D(),
                                             mesh.getVertex(lip[k + 1].index).getPoint2D()));
    }
    return nearest;
}

/// The grid's step in the flat map.
double spacingOf(Mesh const& mesh, double quadArea) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    double sum = 0.0;
    auto const count = static_cast<double>(last - first);
    for (; first != last; ++first) {
        auto const edge = (*first)->getEdge(0);
        double const flat = std::abs(edge.vphi2().det(edge.rot().vphi2()));
        sum += std::sqrt(edge.vphi3().cross(edge.rot().vphi3()).lSqr()) / flat;
    }
    return std::sqrt(quadArea / (sum / count));
}

/// Flattens and resamples, and looks for marks along both lips and nowhere else.
void expectMarksOnBothLips(Mesh& mesh, bool doPinExtremeCorners) {
    testing::internal::CaptureStdout();
    mesh.conformalMap(doPinExtremeCorners, nullptr, false);
    testing::internal::GetCapturedStdout();
    double const quadArea = 0.01;
    double const step = spacingOf(mesh, quadArea);
    RectMesh grid;
    grid.construct(mesh, quadArea);
    auto const& [first, second] = mesh.getCutEdgeIndices();
    std::array<int, 2> marked{};
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            if (!grid.getPointFlag({u, v}, RectMesh::CutBoundary)) {
                continue;
            }
            Flat const place(u * step, v * step);
            double const toFirst = distanceToLip(mesh, place, first);
            double const toSecond = distanceToLip(mesh, place, second);
            EXPECT_LE(std::min(toFirst, toSecond), 1.0001 * step);
            ++marked[toFirst < toSecond ? 0 : 1];
            EXPECT_TRUE(grid.getPointFlag({u, v}, RectMesh::Boundary));
        }
    }
    // The tube is 2 high and a quad about 0.1: twenty nodes fit along a lip.
    EXPECT_GT(marked[0], 12);
    EXPECT_GT(marked[1], 12);
    EXPECT_LT(marked[0], 60);
    EXPECT_LT(marked[1], 60);
}

} // namespace

TEST(Cut, ACutTubeCanBeFlattenedInBothModesAndItsLipsAreMarkedInTheGrid) {
    for (bool const doPin : {false, true}) {
        SCOPED_TRACE(doPin ? "free outline" : "rolled out");
        expectMarksOnBothLips(*makeCutTube(makeNoisyTube()), doPin);
        expectMarksOnBothLips(*makeCutTube(withNoise(makeSlantedTube(28, 18), 0.01, 3)), doPin);
    }
}

TEST(Cut, ACutTubeThatWasSavedAndLoadedIsMarkedAlike) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("part\\tube.obj");
    makeCutTube(makeNoisyTube())->save(path.c_str(), false, false);
    for (bool const doPin : {false, true}) {
        Mesh loaded;
        loaded.load(path.c_str());
        // The pair that the end of the file adds would count as one more step of each lip.
        loaded.cutEdgeIndices.first.pop_back();
        loaded.cutEdgeIndices.second.pop_back();
        expectMarksOnBothLips(loaded, doPin);
    }
}

TEST(Cut, APathThatEndsInAFanWhichTouchesTheRestInAPointAloneIsNone) {
    auto const mesh = makeMesh(makePinchedSheet());
    std::string const before = describe(*mesh);
    EXPECT_EQ(expectPlainCut(*mesh, Maximum, 0, 2), PlainCutOutcome::entersOtherFan);
    EXPECT_EQ(describe(*mesh), before);
    std::array<Point, 4> corners;
    mesh->getCorners(corners.data());
}

/// Scattered points of a bent sheet; a front that advances over them meets itself here and there.
Cloud makeScatteredBend(std::uint32_t seed) {
    std::mt19937 generator(seed);
    auto const draw = [&] { return static_cast<double>(generator()) / 4294967296.0; };
    Cloud cloud;
    for (int i = 0; i < 60; ++i) {
        double const angle = 2.0 * draw();
        double const radius = 1.0 + 0.05 * draw();
        cloud.addPoint(Point(radius * std::cos(angle), 1.5 * draw(), radius * std::sin(angle)));
    }
    return cloud;
}

TEST(Cut, SurfacesThatMeetThemselvesAreCutLikeThePlainOnesOrNotAtAll) {
    CutCounts counts;
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        Cloud const cloud = makeScatteredBend(seed);
        for (unsigned long axis = 0; axis < 3; ++axis) {
            for (CutMetric const metric : {Minimum, Maximum}) {
                SCOPED_TRACE(testing::Message() << seed << " " << axis << " " << metric);
                Mesh mesh;
                mesh.construct(cloud);
                ++counts.of[expectPlainCut(mesh, metric, axis, (axis + 2) % 3)];
                std::array<Point, 4> corners;
                mesh.getCorners(corners.data());
            }
        }
    }
    EXPECT_GT(counts.of[PlainCutOutcome::cut], 20);
    EXPECT_GT(counts.of[PlainCutOutcome::entersOtherFan], 0);
}

TEST(Cut, SurfacesFromCloudsAreCutLikeThePlainOnes) {
    Cloud cloud;
    Soup const tube = withNoise(makeTube(18, 14), 0.02, 12);
    for (auto const& [x, y, z] : tube.points) {
        cloud.addPoint(Point(x, z, y));
    }
    for (unsigned long axis = 0; axis < 3; ++axis) {
        for (unsigned long perpendicular = 0; perpendicular < 3; ++perpendicular) {
            Mesh mesh;
            ASSERT_NO_THROW(mesh.construct(cloud));
            expectPlainCut(mesh, Maximum, axis, perpendicular);
        }
    }
}

} // namespace QELT::Testing
