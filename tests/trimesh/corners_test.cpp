#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/mesh.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_corners.h"
#include "tests/support/plain_meshcopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <set>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Corners = std::array<Point, 4>;

Corners cornersOf(Mesh const& mesh) {
    Corners corners;
    mesh.getCorners(corners.data());
    return corners;
}

/// The points at these positions of the loop.
Corners pointsAt(PlainMesh const& mesh, std::vector<std::uint32_t> const& loop,
                 std::array<std::uint32_t, 4> const& positions) {
    Corners points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = mesh.vertices[loop[positions[i] % loop.size()]].point;
    }
    return points;
}

void expectPlainCorners(Mesh const& mesh) {
    PlainMesh const plain = plainCopyOf(mesh);
    std::vector<std::uint32_t> const loop = plainLongestLoop(plain);
    ASSERT_FALSE(loop.empty());
    EXPECT_EQ(cornersOf(mesh), pointsAt(plain, loop, plainCornerPositions(plain, loop)));
}

struct Extremes {
    bool isFound = false;
    unsigned long first = 77;
    unsigned long second = 78;
};

Extremes extremesOf(Mesh const& mesh) {
    Extremes extremes;
    extremes.isFound = mesh.getExtremeBoundaryVertexIndices(&extremes.first, &extremes.second);
    return extremes;
}

/// A fan around the last of the points: the others are the boundary, counter-clockwise.
Soup makeFan(std::vector<std::array<double, 3>> const& outline, std::array<double, 3> const& apex) {
    Soup soup{outline, {}};
    auto const length = static_cast<std::uint32_t>(outline.size());
    soup.points.push_back(apex);
    for (std::uint32_t i = 0; i < length; ++i) {
        soup.faces.push_back({length, i, (i + 1) % length});
    }
    return soup;
}

/// A fan whose outline is a bow of points without a kink, and a zigzag of points back to its start.
Soup makeBow(std::uint32_t bow, std::uint32_t zigzag) {
    std::vector<std::array<double, 3>> outline;
    for (std::uint32_t i = 0; i < bow; ++i) {
        double const angle = 4.0 * i * std::numbers::pi / 180.0;
        outline.push_back({10.0 * std::cos(angle), 10.0 * std::sin(angle), 0.0});
    }
    for (std::uint32_t i = 0; i < zigzag; ++i) {
        outline.push_back({i % 2 == 0 ? 4.0 : 3.0, 6.0 * (zigzag - i) / zigzag, 0.0});
    }
    return makeFan(outline, {7.0, 2.5, 0.0});
}

/// A strip with a row of teeth, each of a height of its own: twice as many sharp turns as teeth.
Soup makeComb(std::uint32_t teeth, std::uint32_t seed) {
    std::mt19937 generator(seed);
    Soup soup = makeStrip(teeth);
    std::uint32_t const row = teeth + 1;
    for (std::uint32_t i = 0; i < teeth; ++i) {
        double const height = 3.0 + static_cast<double>(generator() % 64) / 16.0;
        soup.points.push_back({i + 0.5, height, 0.0});
        soup.faces.push_back({row + i, row + i + 1, 2 * row + i});
    }
    return soup;
}

/// A flat band between an outer loop of that many vertices and a circle inside.
Soup makeBand(std::uint32_t outer, std::uint32_t inner, double innerRadius) {
    Soup soup;
    auto const addCircle = [&](std::uint32_t count, double radius) {
        for (std::uint32_t i = 0; i < count; ++i) {
            double const angle = 2.0 * std::numbers::pi * i / count;
            soup.points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
        }
    };
    addCircle(outer, 4.0);
    addCircle(inner, innerRadius);
    std::uint32_t o = 0;
    std::uint32_t i = 0;
    while (o < outer || i < inner) {
        bool const doAdvanceOuter = i == inner || (o < outer && o * inner <= i * outer);
        std::uint32_t const atOuter = o % outer;
        std::uint32_t const atInner = outer + i % inner;
        if (doAdvanceOuter) {
            soup.faces.push_back({atOuter, ++o % outer, atInner});
        } else {
            soup.faces.push_back({atInner, atOuter, outer + ++i % inner});
        }
    }
    return soup;
}

} // namespace

TEST(Corners, OfASquareAreItsCornersWithTheDiagonalFirstAndThird) {
    for (std::uint32_t n : {1U, 2U, 7U}) {
        Corners const corners = cornersOf(*makeMesh(makeGridPatch(n, n)));
        std::set<std::pair<float, float>> found;
        for (Point const& corner : corners) {
            found.emplace(corner.getX(), corner.getY());
        }
        EXPECT_EQ(found, (std::set<std::pair<float, float>>{
                             {0.0F, 0.0F}, {0.0F, 1.0F}, {1.0F, 0.0F}, {1.0F, 1.0F}}));
        EXPECT_EQ((corners[0] - corners[2]).lSqr(), 2.0);
        EXPECT_EQ((corners[1] - corners[3]).lSqr(), 2.0);
    }
}

TEST(Corners, OfARectangleFollowTheFirstOfTheTwoDiagonalsInCandidateOrder) {
    // Loop 0 1 2 5 4 3. All four turns are equal, so the candidates stand in reverse: positions 0, 5, 3, 2.
    // The first pair of a full diagonal is (0, 3); of equal sums the corner at 5 comes before that at 2.
    Corners const corners = cornersOf(*makeMesh(makeGridPatch(2, 1, 2.0, 1.0)));
    EXPECT_EQ(corners, (Corners{Point(2, 1, 0), Point(0, 1, 0), Point(0, 0, 0), Point(2, 0, 0)}));
}

TEST(Corners, OfACircleAreTheFirstFourOfTheLoop) {
    Soup const disc = makeDisc(2, 24);
    auto const mesh = makeMesh(disc);
    Corners const corners = cornersOf(*mesh);
    std::vector<std::uint32_t> const loop = plainLongestLoop(plainCopyOf(*mesh));
    ASSERT_EQ(loop.size(), 24U);
    EXPECT_EQ(loop.front(), 25U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(corners[i], mesh->getVertex(25 + i).getPoint3D()) << i;
    }
}

TEST(Corners, OfOneSharpPlaceAloneAreThatAndTheFirstOfTheLoop) {
    // A drop: a circle with one point of it drawn out far.
    std::vector<std::array<double, 3>> outline;
    for (int i = 0; i < 20; ++i) {
        double const angle = 2.0 * std::numbers::pi * i / 20.0;
        double const radius = i == 7 ? 12.0 : 1.0;
        outline.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
    }
    auto const mesh = makeMesh(makeFan(outline, {0.0, 0.0, 0.0}));
    Corners const corners = cornersOf(*mesh);
    Point const tip = mesh->getVertex(7).getPoint3D();
    EXPECT_EQ(corners[0], mesh->getVertex(0).getPoint3D());
    EXPECT_EQ(corners[1], tip);
    EXPECT_EQ(corners[2], mesh->getVertex(2).getPoint3D());
    EXPECT_EQ(corners[3], tip);
}

TEST(Corners, OnlyTheLongestLoopCountsAlsoWhenAHoleIsSharper) {
    // A round outline of 40 vertices with a triangular hole.
    auto const mesh = makeMesh(makeBand(40, 3, 1.0));
    Corners const corners = cornersOf(*mesh);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(corners[i], mesh->getVertex(i).getPoint3D());
    }
}

TEST(Corners, TheLongestLoopIsTheOneOfMostVerticesNotOfMostLength) {
    auto const mesh = makeMesh(makeBand(4, 40, 0.5));
    Corners const corners = cornersOf(*mesh);
    for (Point const& corner : corners) {
        EXPECT_LT((corner - Point(0, 0, 0)).lSqr(), 0.3);
    }
    expectPlainCorners(*mesh);
}

TEST(Corners, OfLoopsOfEqualLengthTheFirstIsTaken) {
    // Both rims of a tube have eight vertices with turns of 45 degrees.
    auto const mesh = makeMesh(makeTube(8, 3));
    std::uint32_t first = 0;
    while (!mesh->getIsBoundaryVertex(first)) {
        ++first;
    }
    float const height = mesh->getVertex(first).getPoint3D().getZ();
    Corners const corners = cornersOf(*mesh);
    for (Point const& corner : corners) {
        EXPECT_EQ(corner.getZ(), height);
    }
    EXPECT_EQ(corners[0], mesh->getVertex(first).getPoint3D());
}

TEST(Corners, OfMoreThanOneThousandSharpPlacesTheSharpestCount) {
    auto const mesh = makeMesh(makeComb(700, 3));
    PlainMesh const plain = plainCopyOf(*mesh);
    ASSERT_GT(plainLongestLoop(plain).size(), 2000U);
    expectPlainCorners(*mesh);
    expectPlainCorners(*makeMesh(withShuffledVertices(makeComb(600, 4), 5)));
}

TEST(Corners, TheLeastSharpOfOneThousandAndTwentyFivePlacesIsLost) {
    // A star of 512 rays, the first of which ends far out and broad: two turns of about a right angle, the
    // least sharp ones, where all others nearly turn back.
    std::vector<std::array<double, 3>> outline{{100.0, -0.5, 0.0}, {100.0, 0.6, 0.0}};
    for (int i = 1; i < 1024; ++i) {
        double const angle = 2.0 * std::numbers::pi * i / 1024.0;
        double const radius = i % 2 == 0 ? 10.0 : 9.0;
        outline.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
    }
    auto const mesh = makeMesh(makeFan(outline, {0.0, 0.0, 0.0}));
    Corners const corners = cornersOf(*mesh);
    EXPECT_EQ(std::count(corners.begin(), corners.end(), mesh->getVertex(0).getPoint3D()), 0);
    EXPECT_GT(std::count(corners.begin(), corners.end(), mesh->getVertex(1).getPoint3D()), 0);
    expectPlainCorners(*mesh);
}

TEST(Corners, AreThePlainOnesOnAllFamilies) {
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        expectPlainCorners(*makeMesh(family.soup));
        expectPlainCorners(*makeMesh(withNoise(family.soup, 0.03, 7)));
    }
    for (std::uint32_t n = 1; n < 8; ++n) {
        expectPlainCorners(*makeMesh(makeGridPatch(n, 8 - n, n, 3.0)));
        expectPlainCorners(*makeMesh(makeComb(3 * n, n)));
    }
}

/// A patch of a few squares in its plane, turned by any angle: its diagonals are equal but for rounding.
Soup makeTurnedPatch(std::uint32_t seed) {
    std::mt19937 generator(seed);
    auto const draw = [&](std::uint32_t count) { return static_cast<std::uint32_t>(generator() % count); };
    double const angle = 2.0 * std::numbers::pi * draw(1000000) / 1e6;
    std::uint32_t const columns = 1 + draw(3);
    std::uint32_t const rows = 1 + draw(3);
    double const width = 1.0 + 0.7 * draw(5);
    Soup soup = makeGridPatch(columns, rows, width, 1.0 + 0.9 * draw(5));
    for (auto& point : soup.points) {
        point = {point[0] * std::cos(angle) - point[1] * std::sin(angle),
                 point[0] * std::sin(angle) + point[1] * std::cos(angle), 0.0};
    }
    return soup;
}

TEST(Corners, OfPatchesTurnedByAnyAngleAreThePlainOnesToTheLastBitOfTheDiagonals) {
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        expectPlainCorners(*makeMesh(makeTurnedPatch(seed)));
    }
}

TEST(Corners, ATriangleAloneGivesFourPointsOfIt) {
    auto const mesh = makeMesh(Soup{{{0, 0, 0}, {2, 0, 1}, {0, 3, 0}}, {{0, 1, 2}}});
    expectPlainCorners(*mesh);
}

TEST(Corners, WithoutBoundaryThePointsStayAsTheyAre) {
    auto const mesh = makeMesh(makeSphere(1));
    Corners corners{Point(1, 2, 3), Point(4, 5, 6), Point(7, 8, 9), Point(10, 11, 12)};
    Corners const before = corners;
    mesh->getCorners(corners.data());
    EXPECT_EQ(corners, before);
    Mesh const empty;
    empty.getCorners(corners.data());
    EXPECT_EQ(corners, before);
}

TEST(Corners, VerticesThatNoTriangleReachesAreNoBoundary) {
    // The first point lies too far off to be a neighbour of any other.
    Cloud cloud;
    cloud.addPoint(Point(500.0, 500.0, 0.0));
    for (std::uint32_t i = 0; i < 100; ++i) {
        cloud.addPoint(Point(i % 10, 0.9 * (i / 10), 0.0));
    }
    // Mirrored, so that the closest pair on the rim has the surface on its left.
    Mesh mesh;
    try {
        mesh.construct(cloud);
    } catch (std::runtime_error const&) {
        Cloud mirrored;
        for (std::uint32_t i = 0; i < cloud.getNumberOfPoints(); ++i) {
            Point const& point = cloud.getPoint(i);
            mirrored.addPoint(
                Point(-static_cast<double>(point.getX()), static_cast<double>(point.getY()), 0.0));
        }
        mesh.construct(mirrored);
    }
    ASSERT_TRUE(mesh.getIsVertexFloating(0));
    expectPlainCorners(mesh);
    Extremes const extremes = extremesOf(mesh);
    PlainExtremes const plain = plainExtremePositions(plainCopyOf(mesh));
    EXPECT_TRUE(extremes.isFound);
    EXPECT_EQ(extremes.first, plain.first);
    EXPECT_EQ(extremes.second, plain.second);
}

TEST(ExtremeBoundaryVertices, ASmoothCircleHasNoKinkAndGivesZeros) {
    Extremes const extremes = extremesOf(*makeMesh(makeDisc(2, 90)));
    EXPECT_TRUE(extremes.isFound);
    EXPECT_EQ(extremes.first, 0U);
    EXPECT_EQ(extremes.second, 0U);
}

TEST(ExtremeBoundaryVertices, ATurnJustBelowFiveDegreesIsNoKinkAndOneJustAboveIs) {
    EXPECT_EQ(extremesOf(*makeMesh(makeDisc(1, 73))).second, 0U);
    // Turns of 360 / 71 degrees: every vertex is a kink, no stretch is longer than 1.
    auto const mesh = makeMesh(makeDisc(1, 71));
    PlainExtremes const plain = plainExtremePositions(plainCopyOf(*mesh));
    EXPECT_GT(plain.second, 0U);
    EXPECT_EQ(extremesOf(*mesh).first, plain.first);
    EXPECT_EQ(extremesOf(*mesh).second, plain.second);
}

TEST(ExtremeBoundaryVertices, ATurnIsAKinkFromFiveDegreesOn) {
    for (double const beyond : {-1e-3, 1e-3}) {
        double const turn = (5.0 + beyond) * std::numbers::pi / 180.0;
        // The turn lies between the second and the fourth vertex, which are sharp.
        auto const mesh = makeMesh(makeFan({{0.0, 2.0, 0.0},
                                            {-1.0, 0.0, 0.0},
                                            {0.0, 0.0, 0.0},
                                            {std::cos(turn), std::sin(turn), 0.0},
                                            {1.0, 2.0, 0.0}},
                                           {0.0, 1.0, 0.0}));
        Extremes const extremes = extremesOf(*mesh);
        EXPECT_TRUE(extremes.isFound);
        EXPECT_EQ(extremes.first, beyond < 0.0 ? 1U : 0xFFFFFFFFU);
        EXPECT_EQ(extremes.second, beyond < 0.0 ? 3U : 1U);
    }
}

TEST(ExtremeBoundaryVertices, OfASquareAreTheFirstSideBetweenTwoKinks) {
    // Kinks at 4, 8, 12 and 0 of 16: the first to be followed by another, and the stretch home is not joined.
    Extremes const extremes = extremesOf(*makeMesh(makeGridPatch(4, 4)));
    EXPECT_TRUE(extremes.isFound);
    EXPECT_EQ(extremes.first, 4U);
    EXPECT_EQ(extremes.second, 8U);
}

TEST(ExtremeBoundaryVertices, TheLongestSideOfARectangleIsTaken) {
    // Loop of 14: kinks at 2, 7, 9 and 0; from 2 to 7 is the longest that counts.
    Extremes const extremes = extremesOf(*makeMesh(makeGridPatch(2, 5, 2.0, 5.0)));
    EXPECT_EQ(extremes.first, 2U);
    EXPECT_EQ(extremes.second, 7U);
}

TEST(ExtremeBoundaryVertices, TheStretchToTheFirstKinkStartsAtNoPosition) {
    // Fifteen divides the position that stands for none, so that the comparison comes out in its favour.
    Extremes const extremes = extremesOf(*makeMesh(makeBow(10, 5)));
    EXPECT_TRUE(extremes.isFound);
    EXPECT_EQ(extremes.first, 0xFFFFFFFFU);
    EXPECT_EQ(extremes.second, 9U);
}

TEST(ExtremeBoundaryVertices, WithoutBoundaryThereAreNone) {
    Extremes const closed = extremesOf(*makeMesh(makeSphere(1)));
    EXPECT_FALSE(closed.isFound);
    EXPECT_EQ(closed.first, 77U);
    EXPECT_EQ(closed.second, 78U);
    EXPECT_FALSE(extremesOf(Mesh()).isFound);
}

TEST(ExtremeBoundaryVertices, AreThePlainOnesOnAllFamilies) {
    std::set<unsigned long> firsts;
    auto const compare = [&](Soup const& soup) {
        auto const mesh = makeMesh(soup);
        Extremes const extremes = extremesOf(*mesh);
        PlainExtremes const plain = plainExtremePositions(plainCopyOf(*mesh));
        EXPECT_EQ(extremes.isFound, plain.isFound);
        EXPECT_EQ(extremes.first, plain.first);
        EXPECT_EQ(extremes.second, plain.second);
        firsts.insert(extremes.first);
    };
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        compare(family.soup);
        compare(withNoise(family.soup, 0.01, 3));
    }
    for (std::uint32_t columns = 1; columns < 9; ++columns) {
        for (std::uint32_t rows = 1; rows < 9; ++rows) {
            compare(makeGridPatch(columns, rows));
        }
    }
    for (std::uint32_t bow = 3; bow < 14; ++bow) {
        compare(makeBow(bow, 15 - bow));
        compare(makeBow(bow, 17 - bow));
        compare(makeBow(bow, 20 - bow));
    }
    EXPECT_GT(firsts.size(), 8U);
    EXPECT_TRUE(firsts.count(0xFFFFFFFFU) == 1);
}

} // namespace QELT::Testing
