#include "tests/support/flattening_fixtures.h"
#include "tests/support/plain_resampling.h"
#include "tests/support/randomindex.h"

#include "Geometry/quadmesh/generation/internal/resampler.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/trimesh/triangle.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>

namespace QELT::Testing {
namespace {

namespace Plain = PlainResampling;
using Geometry::ThreeDimensional::QuadMesh::FlatTriangle;
using Geometry::ThreeDimensional::QuadMesh::RectMesh;
using Geometry::ThreeDimensional::QuadMesh::Resampler;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Geometry::ThreeDimensional::TriMesh::Vertex;
using Node = Geometry::TwoDimensional::Point<int>;
using Flat = PlainFlattening::Flat;

constexpr int validOnly = 1;
constexpr int validInterior = 3;
constexpr int validBoundary = 5;
constexpr int validBoundaryAtCut = 21;

/// Gives every vertex a place in the plane, from its place in space.
void flatten(TriangleMesh& mesh, std::function<Flat(double, double, double)> const& place) {
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        auto const& p = mesh.getVertex(v).getPoint3D();
        Flat const flat = place(p.getX(), p.getY(), p.getZ());
        mesh.getVertex(v).setPoint2D({flat[0], flat[1]});
    }
}

Flat fromAbove(double x, double y, double) {
    return {x, y};
}

MeshPointer makeFlattened(Soup const& soup,
                          std::function<Flat(double, double, double)> const& place = fromAbove) {
    MeshPointer mesh = makeMesh(soup);
    flatten(*mesh, place);
    return mesh;
}

/// The unit square of two triangles, in space and in the plane.
MeshPointer makeUnitSquare() {
    return makeFlattened(makeGridPatch(1, 1));
}

/// The message of what `construct` throws, empty if it does not.
std::string construct(RectMesh& grid, TriangleMesh const& mesh, double quadArea) {
    try {
        grid.construct(mesh, quadArea);
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

int flagsAt(RectMesh const& grid, int u, int v) {
    return static_cast<unsigned char>(grid.getPointFlags({u, v}));
}

testing::AssertionResult sameGrid(RectMesh const& actual, PlainGrid const& expected) {
    if (actual.getExtents().getdU() != expected.highestU ||
        actual.getExtents().getdV() != expected.highestV) {
        return testing::AssertionFailure()
               << "extents (" << actual.getExtents().getdU() << ", " << actual.getExtents().getdV()
               << "), not (" << expected.highestU << ", " << expected.highestV << ")";
    }
    for (std::uint32_t v = 0; !expected.points.empty() && v <= expected.highestV; ++v) {
        for (std::uint32_t u = 0; u <= expected.highestU; ++u) {
            Node const node(static_cast<int>(u), static_cast<int>(v));
            std::size_t const k = expected.getNode({node.getU(), node.getV()});
            int const flags = static_cast<unsigned char>(actual.getPointFlags(node));
            if (flags != expected.flags[k]) {
                return testing::AssertionFailure() << "flags " << flags << ", not " << int{expected.flags[k]}
                                                   << " at (" << u << ", " << v << ")";
            }
            auto const p = actual.getPoint(node);
            PlainFlattening::Place const place{p.getX(), p.getY(), p.getZ()};
            PlainFlattening::Place const expectedPlace{expected.points[k].x, expected.points[k].y,
                                                       expected.points[k].z};
            if (auto r = sameNumbers("node", k, place, expectedPlace); !r) {
                return r;
            }
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult sameStatistics(RectMesh const& actual, Plain::Result const& expected) {
    std::array<double, 3> const areas{actual.getMaxQuadArea(), actual.getMeanQuadArea(),
                                      actual.getMinQuadArea()};
    if (auto r =
            sameNumbers("areas", 0, areas,
                        std::array<double, 3>{expected.areas.max, expected.areas.mean, expected.areas.min});
        !r) {
        return r;
    }
    if (actual.numberOfSearchPointsU != expected.searchPoints.countU ||
        actual.numberOfSearchPointsV != expected.searchPoints.countV ||
        actual.searchPoints.size() != expected.searchPoints.quads.size()) {
        return testing::AssertionFailure() << "different numbers of search points";
    }
    for (std::size_t k = 0; k < actual.searchPoints.size(); ++k) {
        PlainIndex const& quad = expected.searchPoints.quads[k];
        if (actual.searchPoints[k] != Node(quad.u, quad.v)) {
            return testing::AssertionFailure() << "search point " << k;
        }
    }
    return testing::AssertionSuccess();
}

/// Compares everything that one call leaves with the plain version, which is handed out.
Plain::Result expectPlainResult(TriangleMesh const& mesh, double quadArea) {
    Plain::Result const expected = Plain::resample(plainCopyOf(mesh), quadArea);
    RectMesh grid;
    RecordingListener listener;
    grid.setProgressListener(&listener);
    EXPECT_EQ(construct(grid, mesh, quadArea), expected.error);
    EXPECT_TRUE(sameGrid(grid, expected.grid));
    EXPECT_TRUE(sameStatistics(grid, expected));
    EXPECT_EQ(listener.events, expected.events);
    return expected;
}

TEST(Resampling, TheUnitSquareAtAQuarterOfItsAreaHasFourByFourNodesTheLastOnesSpare) {
    RectMesh grid;
    grid.construct(*makeUnitSquare(), 0.25);
    EXPECT_EQ(grid.getExtents().getdU(), 3U);
    EXPECT_EQ(grid.getExtents().getdV(), 3U);
    for (int v = 0; v <= 3; ++v) {
        for (int u = 0; u <= 3; ++u) {
            EXPECT_EQ(grid.getIsPointValid({u, v}), u < 3 && v < 3) << u << ", " << v;
            if (u < 3 && v < 3) {
                EXPECT_EQ(grid.getPoint({u, v}), Geometry::ThreeDimensional::Point(0.5 * u, 0.5 * v, 0.0));
            }
        }
    }
    EXPECT_EQ(grid.getMinQuadArea(), 0.25);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.25);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.25);
}

TEST(Resampling, TheRingOfTheValidNodesIsTheBoundaryAndTheCentreIsInterior) {
    RectMesh grid;
    grid.construct(*makeUnitSquare(), 0.25);
    for (int v = 0; v <= 3; ++v) {
        for (int u = 0; u <= 3; ++u) {
            int const expected = u == 3 || v == 3 ? 0 : (u == 1 && v == 1 ? validInterior : validBoundary);
            EXPECT_EQ(flagsAt(grid, u, v), expected) << u << ", " << v;
        }
    }
}

TEST(Resampling, NodesOnTheSharedDiagonalLieInBothTriangles) {
    Soup const square = makeGridPatch(1, 1);
    for (auto const& face : square.faces) {
        MeshPointer const mesh = buildMesh(Soup{square.points, {face}});
        flatten(*mesh, fromAbove);
        RectMesh grid;
        grid.construct(*mesh, 0.25);
        for (int k = 0; k <= 2; ++k) {
            EXPECT_TRUE(grid.getIsPointValid({k, k})) << k;
        }
        EXPECT_NE(grid.getIsPointValid({2, 0}), grid.getIsPointValid({0, 2}));
    }
}

TEST(Resampling, OfTwoTrianglesOverANodeTheLaterOneStands) {
    // Three faces around vertex 0 that overlap in the plane though each runs counter-clockwise: the turns at
    // vertex 0 add up to more than a full one. Each face has a height of its own in space.
    Soup const soup{{{0, 0, 0}, {4, 0, 1}, {-2, 3, 1}, {-2, -3, 2}, {4, 1, 3}},
                    {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}}};
    MeshPointer const mesh = buildMesh(soup);
    for (unsigned long v = 0; v < 5; ++v) {
        auto const& p = mesh->getVertex(v).getPoint3D();
        mesh->getVertex(v).setPoint2D({p.getX() + 2.0, p.getY() + 3.0});
    }
    Plain::Result const grid = expectPlainResult(*mesh, 0.2);
    EXPECT_GT(grid.repeatedStores, 3U);
}

TEST(Resampling, ANodeExactlyOnAVertexIsValid) {
    // The lone corner of one triangle, away from every other.
    MeshPointer const mesh = makeFlattened(Soup{{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{0, 1, 2}}});
    RectMesh grid;
    grid.construct(*mesh, 1.0);
    EXPECT_TRUE(grid.getIsPointValid({0, 0}));
    EXPECT_TRUE(grid.getIsPointValid({2, 0}));
    EXPECT_TRUE(grid.getIsPointValid({0, 2}));
    EXPECT_TRUE(grid.getIsPointValid({1, 1}));
    EXPECT_FALSE(grid.getIsPointValid({2, 1}));
}

TEST(Resampling, TheSpacingFollowsTheMeanRatioOfTheAreas) {
    // The surface has twice the area of its map: the spacing is sqrt(0.5 / 2).
    MeshPointer const mesh = makeFlattened(makeGridPatch(4, 4, 2.0, 1.0), [](double x, double y, double) {
        return Flat{x / 2.0, y};
    });
    RectMesh grid;
    grid.construct(*mesh, 0.5);
    EXPECT_EQ(grid.getExtents().getdU(), 3U);
    EXPECT_EQ(grid.getExtents().getdV(), 3U);
    EXPECT_EQ(grid.getPoint({1, 1}), Geometry::ThreeDimensional::Point(1.0, 0.5, 0.0));
    EXPECT_EQ(grid.getMeanQuadArea(), 0.5);
}

TEST(Resampling, TheMeanRatioCountsTrianglesNotAreas) {
    // One triangle of ratio 1 and a much larger one of ratio 3: the mean is 2, whatever their sizes.
    MeshPointer const mesh =
        buildMesh(Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {6, 6, 0}}, {{0, 1, 2}, {2, 1, 3}}});
    flatten(*mesh, fromAbove);
    // The second triangle: 11 in space, 11 / 3 in the plane.
    mesh->getVertex(3).setPoint2D({1.0 + 4.0 / 3.0, 1.0 + 4.0 / 3.0});
    Plain::Result const grid = expectPlainResult(*mesh, 0.5);
    EXPECT_NEAR(grid.spacing, 0.5, 1e-12);
}

/// A square of 6 by 6 cells without its cells 2 to 4 by 2 to `lastRow`. On the left side of that gap stands a
/// triangle with a second one folded over it, whose tip lies at (2.5, `tip`): in the map it runs clockwise.
MeshPointer makeSquareWithFold(std::uint32_t lastRow, double tip) {
    Soup soup = makeGridPatch(6, 6, 6.0, 6.0);
    std::erase_if(soup.faces, [&](auto const& face) {
        std::uint32_t const low = std::min({face[0], face[1], face[2]});
        std::uint32_t const u = low % 7;
        std::uint32_t const v = low / 7;
        return u >= 2 && u <= 4 && v >= 2 && v <= lastRow;
    });
    auto const n = static_cast<std::uint32_t>(soup.points.size());
    soup.points.push_back({3.0, 2.75, 0.0});
    soup.points.push_back({2.5, tip, 0.0});
    soup.faces.push_back({16, n, 23});
    soup.faces.push_back({n, 16, n + 1});
    MeshPointer mesh = buildMesh(soup);
    flatten(*mesh, fromAbove);
    return mesh;
}

TEST(Resampling, ATriangleTurnedOverInTheMapLeavesAHoleThatIsNotWalked) {
    MeshPointer const mesh = makeSquareWithFold(4, 3.75);
    RectMesh grid;
    grid.construct(*mesh, 0.0625);
    EXPECT_EQ(flagsAt(grid, 11, 12), 0);
    EXPECT_EQ(flagsAt(grid, 10, 13), 0);
    // The triangle below the fold, and the side on which it stands.
    EXPECT_EQ(flagsAt(grid, 9, 10), validInterior);
    EXPECT_EQ(flagsAt(grid, 8, 14), validInterior);
    EXPECT_EQ(flagsAt(grid, 0, 9), validBoundary);
    expectPlainResult(*mesh, 0.0625);
}

TEST(Resampling, AHoleOfATurnedTriangleThatReachesTheOutlineIsWalked) {
    MeshPointer const mesh = makeSquareWithFold(5, 6.0);
    RectMesh grid;
    grid.construct(*mesh, 0.0625);
    EXPECT_EQ(flagsAt(grid, 11, 12), 0);
    EXPECT_EQ(flagsAt(grid, 10, 24), 0);
    EXPECT_EQ(flagsAt(grid, 9, 10), validBoundary);
    EXPECT_EQ(flagsAt(grid, 8, 14), validBoundary);
    EXPECT_EQ(flagsAt(grid, 8, 24), validBoundary);
    EXPECT_EQ(flagsAt(grid, 7, 14), validInterior);
    expectPlainResult(*mesh, 0.0625);
}

TEST(Resampling, AMapTurnedOverAsAWholeCoversNothing) {
    MeshPointer const mesh = makeFlattened(makeGridPatch(8, 8, 8.0, 8.0), [](double x, double y, double) {
        return Flat{8.0 - x, y};
    });
    RectMesh grid;
    EXPECT_EQ(construct(grid, *mesh, 0.25), "No boundary found");
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            EXPECT_EQ(flagsAt(grid, u, v), 0);
        }
    }
}

TEST(Resampling, AHoleIsNotWalkedAndItsRimIsInterior) {
    Soup soup = makePatchWithHole(9);
    for (auto& p : soup.points) {
        p = {std::round(p[0] * 9.0), std::round(p[1] * 9.0), 0.0};
    }
    MeshPointer const mesh = makeFlattened(soup);
    RectMesh grid;
    grid.construct(*mesh, 0.25);
    // The hole is (3, 6) x (3, 6), half a unit a node.
    EXPECT_FALSE(grid.getIsPointValid({9, 9}));
    EXPECT_EQ(flagsAt(grid, 6, 9), validInterior);
    EXPECT_EQ(flagsAt(grid, 12, 12), validInterior);
    EXPECT_EQ(flagsAt(grid, 0, 9), validBoundary);
    EXPECT_EQ(flagsAt(grid, 18, 18), validBoundary);
    expectPlainResult(*mesh, 0.25);
}

/// Half of the square is shrunk tenfold in one direction of the map, which moves the mean
/// ratio.
TEST(Resampling, AGivenSpacingIsKeptWhateverTheRatiosAre) {
    auto const mesh = makeFlattened(makeGridPatch(4, 1), [](double x, double y, double) {
        return Flat{x < 0.5 ? x : 0.5 + 0.1 * (x - 0.5), y};
    });
    RectMesh grid;
    grid.construct(*mesh, 7.0, 0.125);
    EXPECT_EQ(grid.getExtents().getdU(), 5U);
    EXPECT_EQ(grid.getExtents().getdV(), 9U);
    EXPECT_EQ(grid.getPoint(Node(2, 4)).getX(), 0.25F);
    EXPECT_EQ(grid.getPoint(Node(2, 4)).getY(), 0.5F);
    EXPECT_EQ(grid.targetQuadArea, 7.0);
}

TEST(Resampling, WithoutASpacingItIsTheOneOfTheArea) {
    auto const mesh = makeUnitSquare();
    RectMesh plain;
    plain.construct(*mesh, 0.01);
    RectMesh other;
    other.construct(*mesh, 0.01, std::nullopt);
    RectMesh given;
    given.construct(*mesh, 0.01, std::sqrt(0.01));
    for (RectMesh const* const grid : {&other, &given}) {
        ASSERT_EQ(grid->getExtents(), plain.getExtents());
        for (int v = 0; v <= static_cast<int>(plain.getExtents().getdV()); ++v) {
            for (int u = 0; u <= static_cast<int>(plain.getExtents().getdU()); ++u) {
                ASSERT_EQ(grid->getPointFlags(Node(u, v)), plain.getPointFlags(Node(u, v)));
                ASSERT_EQ(grid->getPoint(Node(u, v)), plain.getPoint(Node(u, v)));
            }
        }
    }
}

TEST(Resampling, ASpacingOfNothingEndsWithAMessage) {
    auto const mesh = makeUnitSquare();
    for (double const spacing : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        RectMesh grid;
        EXPECT_THROW(grid.construct(*mesh, 1.0, spacing), std::runtime_error) << spacing;
    }
}

TEST(Resampling, TakesOverTheNamesAndTheArea) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("part.obj");
    writeObj(path, makeGridPatch(2, 2));
    TriangleMesh mesh;
    mesh.load(path.c_str());
    flatten(mesh, fromAbove);
    RectMesh grid;
    grid.construct(mesh, 0.0625);
    EXPECT_EQ(grid.fileName, mesh.getFileName());
    EXPECT_EQ(grid.sourceName, mesh.getFileName());
    EXPECT_EQ(grid.targetQuadArea, 0.0625);
}

TEST(Resampling, ReplacesTheWholeContent) {
    RectMesh grid;
    grid.construct(*makeFlattened(makeGridPatch(6, 6, 6.0, 6.0)), 0.25);
    MeshPointer const mesh = makeUnitSquare();
    grid.construct(*mesh, 0.25);
    Plain::Result const expected = Plain::resample(plainCopyOf(*mesh), 0.25);
    EXPECT_TRUE(sameGrid(grid, expected.grid));
    EXPECT_TRUE(sameStatistics(grid, expected));
}

TEST(Resampling, TheLastPercentageIsOneBeyondTheHundred) {
    RectMesh grid;
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.construct(*makeUnitSquare(), 0.25);
    EXPECT_EQ(listener.events, (std::vector<std::string>{"51%", "101%"}));
}

TEST(Resampling, TrianglesWithoutFlatAreaCountInTheProgressButNotInItsDivisor) {
    MeshPointer const mesh = makeUnitSquare();
    // A third triangle whose place in the plane has no area.
    MeshPointer const larger = buildMesh(
        Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0, 0}}, {{0, 1, 2}, {1, 3, 2}, {1, 4, 3}}});
    flatten(*larger, fromAbove);
    larger->getVertex(4).setPoint2D({1.0, 0.5});
    RectMesh grid;
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.construct(*larger, 0.25);
    EXPECT_EQ(listener.events, (std::vector<std::string>{"51%", "101%", "151%"}));
    expectPlainResult(*larger, 0.25);
}

TEST(Resampling, SaysNothingButPercentages) {
    RectMesh grid;
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.construct(*makeFlattened(makeWavyPatch(12, 12)), 0.01);
    EXPECT_TRUE(listener.messages.empty());
    EXPECT_GT(listener.events.size(), 90U);
}

TEST(Resampling, AVertexWithoutATriangleStretchesTheGrid) {
    Soup soup = makeGridPatch(2, 2);
    soup.points.push_back({4.0, 2.0, 0.0});
    MeshPointer const mesh = buildMesh(soup);
    flatten(*mesh, fromAbove);
    RectMesh grid;
    grid.construct(*mesh, 0.25);
    EXPECT_EQ(grid.getExtents().getdU(), 9U);
    EXPECT_EQ(grid.getExtents().getdV(), 5U);
    expectPlainResult(*mesh, 0.25);
}

TEST(Resampling, ABoundaryAboveASquareOfTheUExtentIsNotFound) {
    // The scan for the first boundary edge covers as many rows as there are columns; the quads lie above.
    Soup soup = makeGridPatch(1, 1);
    soup.points.push_back({0.0, -10.0, 0.0});
    MeshPointer const mesh = buildMesh(soup);
    flatten(*mesh, [](double x, double y, double) { return Flat{x, y + 10.0}; });
    RectMesh grid;
    EXPECT_EQ(construct(grid, *mesh, 0.25), "No boundary found");
    EXPECT_EQ(grid.getExtents().getdU(), 3U);
    EXPECT_EQ(grid.getExtents().getdV(), 23U);
    EXPECT_EQ(flagsAt(grid, 1, 21), validOnly);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 0.0);
    expectPlainResult(*mesh, 0.25);
}

TEST(Resampling, AGridTooCoarseForOneQuadHasNoBoundaryAndKeepsItsNodes) {
    RectMesh grid;
    EXPECT_EQ(construct(grid, *makeUnitSquare(), 100.0), "No boundary found");
    EXPECT_EQ(flagsAt(grid, 0, 0), validOnly);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 0.0);
    expectPlainResult(*makeUnitSquare(), 100.0);
}

TEST(Resampling, WithoutACutNoNodeIsMarkedForOne) {
    RectMesh grid;
    grid.construct(*makeFlattened(makeWavyPatch(5, 5)), 0.005);
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            EXPECT_FALSE(grid.getPointFlag({u, v}, RectMesh::CutBoundary));
        }
    }
}

/// Hangs places of the plane on new vertices that no triangle uses, whose indices are handed out.
std::vector<std::uint32_t> addPlaces(Soup& soup, std::vector<Flat> const& places) {
    std::vector<std::uint32_t> indices;
    for (Flat const& p : places) {
        indices.push_back(static_cast<std::uint32_t>(soup.points.size()));
        soup.points.push_back({p[0], p[1], 9.0});
    }
    return indices;
}

/// A square of 4 by 4 unit faces, its low corner at a given place, with a cut through others.
MeshPointer makeSquareWithCut(std::vector<Flat> const& first, std::vector<Flat> const& second,
                              Flat const& corner = {0.0, 0.0}) {
    Soup soup = translated(makeGridPatch(4, 4, 4.0, 4.0), corner[0], corner[1], 0.0);
    std::vector<std::uint32_t> const firstIndices = addPlaces(soup, first);
    std::vector<std::uint32_t> const secondIndices = addPlaces(soup, second);
    MeshPointer mesh = buildMesh(soup);
    flatten(*mesh, fromAbove);
    giveCut(*mesh, firstIndices, secondIndices);
    return mesh;
}

/// The nodes with a mark, as text "(u, v)".
std::string markedNodes(RectMesh const& grid) {
    std::string text;
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            if (grid.getPointFlag({u, v}, RectMesh::CutBoundary)) {
                text += "(" + std::to_string(u) + ", " + std::to_string(v) + ")";
            }
        }
    }
    return text;
}

std::string markedNodesOf(TriangleMesh const& mesh) {
    RectMesh grid;
    grid.construct(mesh, 1.0);
    expectPlainResult(mesh, 1.0);
    return markedNodes(grid);
}

TEST(Resampling, ACutAlongTheOutlineMarksTheBoundaryNodesOfTheGridEdgesThatItCrosses) {
    // The left side lies half way between the columns 0 and 1; column 0 is outside. The rows at its ends are
    // not looked at.
    Soup soup = makeGridPatch(4, 4, 4.0, 4.0);
    for (auto& p : soup.points) {
        p[0] = p[0] == 0.0 ? 0.5 : p[0];
    }
    MeshPointer const mesh = makeFlattened(soup);
    giveCut(*mesh, {0, 20}, {});
    EXPECT_EQ(markedNodesOf(*mesh), "(1, 1)(1, 2)(1, 3)");
}

TEST(Resampling, ASegmentMarksBothEndsOfACrossedEdgeIfTheyAreOnTheBoundary) {
    // From (0.5, 0.5) to (0.5, 2.5) crosses the u-edges of rows 1 and 2 between the columns 0 and 1; column 0
    // is on the boundary, column 1 is not.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 0.5}, {0.5, 2.5}}, {})), "(0, 1)(0, 2)");
    // Along v-edges of columns 1 and 2, between the rows 3 and 4.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 3.5}, {2.5, 3.5}}, {})), "(1, 4)(2, 4)");
}

TEST(Resampling, RowsAndColumnsAtTheEndsOfTheSegmentsBoxAreLeftOut) {
    // Exactly from row 1 to row 3: only row 2 lies inside.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 1.0}, {0.5, 3.0}}, {})), "(0, 2)");
    // Within one cell there is nothing to cross.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.25, 1.25}, {0.75, 1.75}}, {})), "");
    // A segment along a row of nodes has no row inside its box.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 4.0}, {2.5, 4.0}}, {})), "");
}

TEST(Resampling, TheCrossingTestTakesEndsOfEdgesIn) {
    // Through the nodes (1, 1), (2, 2), (3, 3) of the diagonal and out at the corner: edges are met at ends.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{2.5, 2.5}, {4.0, 4.0}}, {})), "(4, 3)(3, 4)");
}

TEST(Resampling, AGridEdgeIsCrossedThoughItsOtherEndLiesOutsideTheGrid) {
    // Left of the grid and below it.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{-0.5, 0.5}, {-0.5, 2.5}}, {})), "(0, 1)(0, 2)");
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, -0.5}, {2.5, -0.5}}, {})), "(1, 0)(2, 0)");
    // A map that starts at 2 is cut at the grid's last column or row, 5.
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{5.5, 0.5}, {5.5, 2.5}}, {}, {2.0, 0.0})), "(5, 1)(5, 2)");
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 5.5}, {2.5, 5.5}}, {}, {0.0, 2.0})), "(1, 5)(2, 5)");
}

TEST(Resampling, TheLastColumnAndRowOfTheGridAreCrossedToo) {
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{4.5, 0.5}, {5.5, 0.5}}, {}, {2.0, 0.0})), "(5, 0)(5, 1)");
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 4.5}, {0.5, 5.5}}, {}, {0.0, 2.0})), "(0, 5)(1, 5)");
}

TEST(Resampling, BothLipsAreMarkedPairByPairInEitherDirection) {
    EXPECT_EQ(
        markedNodesOf(*makeSquareWithCut({{0.5, 0.5}, {0.5, 1.5}, {0.5, 2.5}}, {{3.5, 2.5}, {3.5, 0.5}})),
        "(0, 1)(4, 1)(0, 2)(4, 2)");
}

TEST(Resampling, ThePairOfZerosThatReadingACutAppendsMarksTheWayToVertexZero) {
    // Vertex 0 is the corner (0, 0). The way there leads from the end of either lip, along the left side and
    // below the lower one.
    MeshPointer const mesh = makeSquareWithCut({{0.5, 2.5}, {0.5, 3.5}}, {{2.5, -0.25}, {3.5, -0.25}});
    EXPECT_EQ(markedNodesOf(*mesh), "(3, 0)(0, 3)");
    auto const& [first, second] = mesh->getCutEdgeIndices();
    TemporaryDirectory const directory;
    writeText(directory.file("cut.txt"),
              std::to_string(first[0].index) + ", " + std::to_string(second[0].index) + "\n" +
                  std::to_string(first[1].index) + ", " + std::to_string(second[1].index) + "\n");
    Geometry::ThreeDimensional::TriMesh::CutEdgeIndices read;
    mesh->loadCutEdgeIndices(directory.file("cut.txt"), read);
    ASSERT_EQ(read.first.size(), 3U);
    mesh->cutEdgeIndices = read;
    EXPECT_EQ(markedNodesOf(*mesh), "(1, 0)(2, 0)(3, 0)(0, 1)(0, 2)(0, 3)");
}

TEST(Resampling, TheSecondLipAloneIsNotLookedAt) {
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({}, {{3.5, 2.5}, {3.5, 0.5}})), "");
}

TEST(Resampling, OneIndexIsNoSegment) {
    EXPECT_EQ(markedNodesOf(*makeSquareWithCut({{0.5, 0.5}}, {{3.5, 2.5}, {3.5, 0.5}})), "(4, 1)(4, 2)");
}

TEST(Resampling, AMarkAtACutKeepsTheOtherFlags) {
    RectMesh grid;
    grid.construct(*makeSquareWithCut({{0.5, 0.5}, {0.5, 2.5}}, {}), 1.0);
    EXPECT_EQ(flagsAt(grid, 0, 1), validBoundaryAtCut);
    EXPECT_EQ(flagsAt(grid, 1, 1), validInterior);
}

double surfaceAreaOf(TriangleMesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    double area = 0.0;
    for (auto t = first; t != last; ++t) {
        auto const e = (*t)->getEdge(0);
        area += 0.5 * std::sqrt(e.vphi3().cross(e.rot().vphi3()).lSqr());
    }
    return area;
}

TEST(Resampling, GivesThePlainVersionsGridOnFlattenedFamilies) {
    bool doPin = true;
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        MeshPointer const mesh = makeMesh(family.soup);
        testing::internal::CaptureStdout();
        mesh->conformalMap(doPin, nullptr, false);
        testing::internal::GetCapturedStdout();
        giveCut(*mesh, {0, 1, 2, 5}, {5, 4, 3, 0});
        double const surface = surfaceAreaOf(*mesh);
        expectPlainResult(*mesh, surface / 700.0);
        expectPlainResult(*mesh, surface / 23.0);
        doPin = !doPin;
    }
}

/// A square of n by n unit faces whose first column and first row begin at `low`, with a cut through places
/// at multiples of a half on it and up to one beyond.
MeshPointer makeSquareWithScatteredCut(std::uint32_t n, double low, std::mt19937& generator) {
    Soup soup = makeGridPatch(n, n, n, n);
    for (auto& p : soup.points) {
        p = {p[0] == 0.0 ? low : p[0], p[1] == 0.0 ? low : p[1], 0.0};
    }
    auto const draw = [&] { return randomBelow(generator, 2 * n + 5) / 2.0 - 1.0; };
    std::vector<Flat> places(48);
    for (Flat& place : places) {
        place = {draw(), draw()};
    }
    std::vector<std::uint32_t> const indices = addPlaces(soup, places);
    MeshPointer mesh = buildMesh(soup);
    giveCut(*mesh, {indices.begin(), indices.begin() + 24}, {indices.begin() + 24, indices.end()});
    return mesh;
}

TEST(Resampling, GivesThePlainVersionsGridWhereNodesMeetSidesAndCutsToTheLastBit) {
    // Sides and cuts at multiples of a step that no double holds, nodes at multiples of a fraction of it:
    // whether a node lies on a side or beside it, and on which side of a cut, is decided by the rounding of
    // its place, uStart + i * h. In the second maps uStart is negative for the first column, and not where
    // the column starts.
    std::mt19937 generator(17);
    for (double const step : {0.1, 0.07, 1.0 / 3.0, 0.3, 1.1}) {
        for (std::uint32_t const n : {3U, 5U, 6U, 7U, 9U, 11U}) {
            for (double const low : {0.0, -2.3125}) {
                SCOPED_TRACE(std::to_string(step) + ", " + std::to_string(n) + ", " + std::to_string(low));
                MeshPointer const mesh = makeSquareWithScatteredCut(n, low, generator);
                flatten(*mesh, [&](double x, double y, double) { return Flat{x * step, y * step}; });
                for (double const parts : {1.0, 2.0, 3.0, 5.0}) {
                    expectPlainResult(*mesh, 1.0 / (parts * parts));
                }
            }
        }
    }
}

TEST(Resampling, GivesThePlainVersionsGridOnWildMaps) {
    // Random places in the plane: overlaps, turned triangles, touching outlines, holes, cuts across.
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> uniform(0.0, 10.0);
    std::uint32_t overlaps = 0;
    for (int round = 0; round < 30; ++round) {
        SCOPED_TRACE(round);
        MeshPointer const mesh = makeMesh(withShuffledVertices(makeWavyPatch(5, 5), 3));
        for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
            double const u = uniform(generator);
            double const w = uniform(generator);
            bool const isOnLattice = round % 3 == 0;
            mesh->getVertex(v).setPoint2D({isOnLattice ? std::round(u) : u, isOnLattice ? std::round(w) : w});
        }
        mesh->getVertex(0).setPoint2D({0.0, 0.0});
        giveCut(*mesh, {0, 9, 17, 30}, {1, 2, 33, 4});
        double const ratio = Plain::resample(plainCopyOf(*mesh), 1.0).spacing;
        overlaps += expectPlainResult(*mesh, 0.25 / (ratio * ratio)).repeatedStores;
    }
    EXPECT_GT(overlaps, 1000U);
}

TEST(Resampling, GivesThePlainVersionsGridOnLongLinesOfTheLattice) {
    // Lines of up to 160 nodes in a triangle, with corners on the lattice, between its nodes, and on lines
    // that are almost, or wholly, along the rows; places beyond all measure and undefined ones among them.
    std::mt19937 generator(6);
    for (std::uint32_t round = 0; round < 36; ++round) {
        SCOPED_TRACE(round);
        MeshPointer const mesh = makeMesh(withShuffledVertices(makeWavyPatch(3, 3), 3));
        double const grain = round % 3 == 0 ? 0.0625 : (round % 3 == 1 ? 0.03125 : 1e-9);
        for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
            double const u = randomBelow(generator, 1001) * 0.01;
            double const w =
                round % 2 == 0 ? randomBelow(generator, 1001) * 0.01 : randomBelow(generator, 9) * 1.25;
            mesh->getVertex(v).setPoint2D({std::round(u / grain) * grain, std::round(w / grain) * grain});
        }
        mesh->getVertex(0).setPoint2D({0.0, 0.0});
        double const ratio = Plain::resample(plainCopyOf(*mesh), 1.0).spacing;
        double const area = 0.0625 * 0.0625 / (ratio * ratio);
        if (round >= 24) {
            std::array<double, 4> const strange{1e99, -1e101, 1e160,
                                                std::numeric_limits<double>::quiet_NaN()};
            mesh->getVertex(1 + round % 14U)
                .setPoint2D({strange[round % 4U], randomBelow(generator, 10) * 1.0});
        }
        if (round < 24) {
            expectPlainResult(*mesh, area);
            continue;
        }
        // Such a map has no extent that a grid could have: its triangles are stored in a grid that is there.
        RectMesh grid;
        grid.init({170, 170});
        PlainGrid expected = plainGridOf(grid);
        Resampler const resampler(grid.getNodes(), 0.0625);
        std::vector<Triangle*> list;
        std::vector<Triangle*>::iterator first;
        std::vector<Triangle*>::iterator last;
        mesh->getTriangles(list, first, last);
        for (auto triangle = first; triangle != last; ++triangle) {
            resampler.rasterise(FlatTriangle(*mesh, **triangle));
        }
        Plain::storeTriangles(expected, plainCopyOf(*mesh), 0.0625);
        EXPECT_TRUE(sameGrid(grid, expected));
    }
}

TEST(Resampling, AMapThatDoesNotStartAtTheOriginIsCutAtTheGrid) {
    std::uint32_t cutOff = 0;
    for (Flat const& shift : std::vector<Flat>{{0.3, 0.0},
                                               {0.0, 0.3},
                                               {-0.45, 0.0},
                                               {0.0, -0.45},
                                               {0.0, -0.4},
                                               {-0.4, -0.3},
                                               {2.0, 1.0},
                                               {-5.0, 0.0},
                                               {1e3, 1e3},
                                               {1e7, -1e7},
                                               {1e12, 0.0},
                                               {-1e12, -1e300},
                                               {1e300, 1e300}}) {
        SCOPED_TRACE(std::to_string(shift[0]) + ", " + std::to_string(shift[1]));
        MeshPointer const mesh = makeFlattened(makeGridPatch(4, 4), [&](double x, double y, double) {
            return Flat{x + shift[0], y + shift[1]};
        });
        // Along both diagonals, a row and a column.
        giveCut(*mesh, {0, 6, 12, 18, 24, 10, 11, 12, 13, 14}, {4, 8, 12, 16, 20, 2, 7, 12, 17, 22});
        cutOff += expectPlainResult(*mesh, 0.01).storesOutside;
    }
    EXPECT_GT(cutOff, 0U);
}

TEST(Resampling, AreasThatGiveNoSpacingEndWithAMessage) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    MeshPointer const mesh = makeUnitSquare();
    giveCut(*mesh, {0, 1}, {2, 3});
    std::string const memory = "Insufficient memory to initialise quad-mesh.";
    std::string const boundary = "No boundary found";
    std::vector<std::pair<double, std::string>> const cases{
        {0.0, memory}, {1e-40, memory}, {nan, boundary}, {-1.0, boundary}, {inf, boundary}, {-inf, boundary}};
    for (auto const& [area, message] : cases) {
        RectMesh grid;
        EXPECT_EQ(construct(grid, *mesh, area), message) << area;
        expectPlainResult(*mesh, area);
    }
}

TEST(Resampling, AFailureForMemoryLeavesAnEmptyGrid) {
    RectMesh grid;
    grid.construct(*makeUnitSquare(), 0.25);
    EXPECT_EQ(construct(grid, *makeUnitSquare(), 0.0), "Insufficient memory to initialise quad-mesh.");
    EXPECT_EQ(grid.getExtents().getdU(), 0U);
    EXPECT_EQ(grid.getExtents().getdV(), 0U);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_FALSE(grid.getIsPointValid({0, 0}));
}

TEST(Resampling, CutIndicesOutOfRangeWrapLikeEveryVertexIndex) {
    MeshPointer const mesh = makeFlattened(makeGridPatch(4, 4, 4.0, 4.0));
    giveCut(*mesh, {25, 4294967295U, 7}, {1000000007U, 24});
    expectPlainResult(*mesh, 0.25);
}

TEST(Resampling, AnEmptyMeshHasNoBoundary) {
    TriangleMesh const mesh;
    RectMesh grid;
    EXPECT_EQ(construct(grid, mesh, 1.0), "No boundary found");
    TriangleMesh withCut;
    giveCut(withCut, {0, 1}, {2, 3});
    EXPECT_EQ(construct(grid, withCut, 1.0), "No boundary found");
}

TEST(Resampling, AMeshThatWasNotFlattenedEndsWithAMessage) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(3, 3));
    RecordingListener listener;
    RectMesh grid;
    grid.setProgressListener(&listener);
    EXPECT_EQ(construct(grid, *mesh, 1.0), "No boundary found");
    EXPECT_TRUE(listener.events.empty()) << "no triangle counts, so there is nothing to measure progress by";
}

TEST(Resampling, DegenerateFlatTrianglesStoreWhatTheArithmeticGives) {
    // The last triangle lies on the line u = 1 of the map: on its three nodes, already taken by others, it
    // divides zero by zero.
    MeshPointer const mesh = buildMesh(
        Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0, 0}}, {{0, 1, 2}, {1, 3, 2}, {1, 4, 3}}});
    flatten(*mesh, fromAbove);
    mesh->getVertex(4).setPoint2D({1.0, 0.5});
    Plain::Result const expected = expectPlainResult(*mesh, 0.25);
    std::size_t undefined = 0;
    for (PlainPoint const& point : expected.grid.points) {
        undefined += std::isnan(point.x) ? 1U : 0U;
    }
    EXPECT_EQ(undefined, 3U);
}

TEST(Resampling, UndefinedAndInfiniteFlatPlacesStayWithinTheGrid) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    for (Flat const& wild :
         std::vector<Flat>{{nan, nan}, {nan, 1.0}, {inf, 1.0}, {-inf, -inf}, {1e308, -1e308}}) {
        for (unsigned long const v : {0UL, 12UL, 24UL}) {
            SCOPED_TRACE(std::to_string(wild[0]) + ", " + std::to_string(wild[1]) + " at " +
                         std::to_string(v));
            MeshPointer const mesh = makeFlattened(makeGridPatch(4, 4, 4.0, 4.0));
            mesh->getVertex(v).setPoint2D({wild[0], wild[1]});
            giveCut(*mesh, {11, 12, 24}, {0, 1, 2});
            expectPlainResult(*mesh, 0.25);
        }
    }
}

TEST(Resampling, TheSearchStartsInsideTheNewGridWhenItIsSmaller) {
    RectMesh grid;
    grid.construct(*makeFlattened(makeGridPatch(6, 6, 6.0, 6.0)), 0.25);
    auto const hit = grid.getIntersection({5.3, 5.2, 1.0}, {0.0, 0.0, -1.0});
    EXPECT_TRUE(hit.getIsValid());
    Node const remembered = grid.lastQuadIndices;
    grid.construct(*makeUnitSquare(), 0.25);
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, remembered);
    // The corner quad where the walk starts does not exist here, so that the search is tried afresh.
    auto const next = grid.getIntersection({0.3, 0.1, 1.0}, {0.0, 0.0, -1.0});
    EXPECT_TRUE(next.getIsValid());
    EXPECT_EQ(next.getIndices(), Node(0, 0));
}

TEST(Resampling, AFlatTriangleWithoutAreaLeavesValidNodesOfNaNs) {
    MeshPointer const mesh = makeFlattened(makeGridPatch(4, 4, 4.0, 4.0));
    // A triangle that is a line in the flat map, given last so that no other covers its nodes again.
    for (int const place : {1, 2, 3}) {
        mesh->addVertex(Vertex(Geometry::ThreeDimensional::Point(place, place, 7.0 + place % 2)));
        mesh->getVertex(mesh->getNumberOfVertices() - 1).setPoint2D({1.0 * place, 2.0});
    }
    unsigned long const first = mesh->getNumberOfVertices() - 3;
    mesh->addFloatingTriangle({first, first + 1, first + 2});
    RectMesh grid;
    grid.construct(*mesh, 0.25);
    ASSERT_TRUE(grid.getIsPointValid({4, 4}));
    EXPECT_TRUE(std::isnan(grid.getPoint({4, 4}).getX()));
    EXPECT_FALSE(std::isnan(grid.getPoint({4, 5}).getX()));
    EXPECT_TRUE(std::isnan(grid.getMeanQuadArea()));
}

TEST(Resampling, ASpherePatchLiesOnTheSphereToTheErrorOfItsFacets) {
    // A node lies on a facet with corners on the sphere. No point of a facet is farther inside than the
    // centre of the smallest circle around it, of radius r: R - sqrt(R^2 - r^2), h^2 / (8 R) for a facet of
    // longest side h without an acute-angled rest. Rounding of corners and node to floats adds their half
    // units, 2^-24 each for coordinates below 1: twice sqrt(3) of that.
    Soup soup = makeGridPatch(12, 12);
    for (auto& p : soup.points) {
        p = {p[0] - 0.5, p[1] - 0.5, 0.0};
        p[2] = std::sqrt(1.0 - p[0] * p[0] - p[1] * p[1]);
    }
    MeshPointer const mesh = makeMesh(soup);
    testing::internal::CaptureStdout();
    mesh->conformalMap(true, nullptr, false);
    testing::internal::GetCapturedStdout();
    double greatest = 0.0;
    for (auto const& face : soup.faces) {
        std::array<double, 3> squares{};
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                double const side = soup.points[face[k]][axis] - soup.points[face[(k + 1) % 3]][axis];
                squares[k] += side * side;
            }
        }
        std::sort(squares.begin(), squares.end());
        auto const [a, b, c] = squares;
        double const sixteenAreas = 2.0 * (a * b + b * c + c * a) - (a * a + b * b + c * c);
        greatest = std::max(greatest, c >= a + b ? c / 4.0 : a * b * c / sixteenAreas);
    }
    double const sag = 1.0 - std::sqrt(1.0 - greatest);
    double const rounding = 2.0 * std::sqrt(3.0) * std::ldexp(1.0, -24);
    RectMesh grid;
    grid.construct(*mesh, 0.0009);
    std::size_t count = 0;
    double deepest = 0.0;
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            if (!grid.getIsPointValid({u, v})) {
                continue;
            }
            ++count;
            auto const p = grid.getPoint({u, v}) - Geometry::ThreeDimensional::Point();
            double const depth = 1.0 - std::sqrt(p.lSqr());
            EXPECT_LT(depth, sag + rounding);
            EXPECT_GT(depth, -rounding);
            deepest = std::max(deepest, depth);
        }
    }
    EXPECT_GT(count, 1000U);
    // The bound is met nearly, so it is not empty.
    EXPECT_GT(deepest, 0.8 * sag);
    EXPECT_NEAR(grid.getMeanQuadArea(), 0.0009, 0.03 * 0.0009);
}

} // namespace
} // namespace QELT::Testing
