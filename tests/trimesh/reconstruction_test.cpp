#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/internal/trianglearena.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/reconstruction/internal/advancingfront.h"
#include "tests/support/float_bits.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_meshcopy.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/plain_reconstruction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using Geometry::ThreeDimensional::PointCloud::Cloud;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Points = std::vector<Point>;
using Face = std::array<unsigned long, 3>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

struct NamedPoints {
    std::string name;
    Points points;
};

/// In [0, 1], the same on every platform.
double unit(std::mt19937& generator) {
    return static_cast<double>(generator()) / 4294967295.0;
}

Points shuffled(Points points, std::uint32_t seed) {
    std::mt19937 generator(seed);
    for (std::size_t i = points.size(); i > 1; --i) {
        std::swap(points[i - 1], points[generator() % i]);
    }
    return points;
}

/// Columns run fastest.
Points makeGrid(std::uint32_t columns, std::uint32_t rows, double step = 1.0) {
    Points points;
    for (std::uint32_t j = 0; j < rows; ++j) {
        for (std::uint32_t i = 0; i < columns; ++i) {
            points.emplace_back(i * step, j * step, 0.0);
        }
    }
    return points;
}

Points makeHexagonalGrid(std::uint32_t columns, std::uint32_t rows) {
    Points points;
    for (std::uint32_t j = 0; j < rows; ++j) {
        for (std::uint32_t i = 0; i < columns; ++i) {
            points.emplace_back(i + 0.5 * (j % 2), j * std::sqrt(0.75), 0.0);
        }
    }
    return points;
}

/// Random places over the unit square, lifted by `height`.
Points makeRandomSurface(std::uint32_t count, std::uint32_t seed,
                         std::function<double(double, double)> const& height) {
    std::mt19937 generator(seed);
    Points points;
    for (std::uint32_t i = 0; i < count; ++i) {
        double const x = unit(generator);
        double const y = unit(generator);
        points.emplace_back(x, y, height(x, y));
    }
    return points;
}

Points makeRandomPlane(std::uint32_t count, std::uint32_t seed) {
    return makeRandomSurface(count, seed, [](double, double) { return 0.0; });
}

/// The part of the unit sphere from height `lowest` up.
Points makeRandomSphere(std::uint32_t count, std::uint32_t seed, double lowest) {
    std::mt19937 generator(seed);
    Points points;
    for (std::uint32_t i = 0; i < count; ++i) {
        double const z = lowest + (1.0 - lowest) * unit(generator);
        double const angle = 2.0 * std::numbers::pi * unit(generator);
        double const radius = std::sqrt(1.0 - z * z);
        points.emplace_back(radius * std::cos(angle), radius * std::sin(angle), z);
    }
    return points;
}

Points makeSolid(std::uint32_t count, std::uint32_t seed, double resolution) {
    std::mt19937 generator(seed);
    auto const coordinate = [&] { return std::floor(resolution * unit(generator)) / resolution; };
    Points points;
    for (std::uint32_t i = 0; i < count; ++i) {
        double const x = coordinate();
        double const y = coordinate();
        double const z = coordinate();
        points.emplace_back(x, y, z);
    }
    return points;
}

/// A torus on a coarse lattice: its layers meet, and a surface through it has more triangles than others.
Points makeTwistedLayers(std::uint32_t count, std::uint32_t seed) {
    std::mt19937 generator(seed);
    Points points;
    for (std::uint32_t i = 0; i < count; ++i) {
        double const a = 2.0 * std::numbers::pi * std::floor(8.0 * unit(generator)) / 8.0;
        double const b = 2.0 * std::numbers::pi * std::floor(8.0 * unit(generator)) / 8.0;
        double const radius = 2.0 + std::cos(a);
        points.emplace_back(radius * std::cos(b), radius * std::sin(b),
                            std::sin(a) + 0.1 * (unit(generator) - 0.5));
    }
    return points;
}

Points soupPoints(Soup const& soup) {
    Points points;
    for (auto const& [x, y, z] : soup.points) {
        points.emplace_back(x, y, z);
    }
    return points;
}

Points joinedPoints(Points first, Points const& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Points moved(Points points, Vector const& by) {
    for (Point& point : points) {
        point = point + by;
    }
    return points;
}

/// Every third point a second time, at random places of the list.
Points withCoincidentPoints(Points points, std::uint32_t seed) {
    for (std::size_t i = 0, n = points.size(); i < n; i += 3) {
        Point const twin = points[i];
        points.push_back(twin);
    }
    return shuffled(points, seed);
}

/// Turns the plane z = 0 upright.
Points upright(Points points) {
    for (Point& point : points) {
        point.set(static_cast<double>(point.getX()), 0.0, static_cast<double>(point.getY()));
    }
    return points;
}

double saddle(double x, double y) {
    return (x - 0.5) * (x - 0.5) - (y - 0.5) * (y - 0.5);
}

double wave(double x, double y) {
    return 0.1 * std::sin(7.0 * x) * std::cos(5.0 * y);
}

/// The cloud, turned or mirrored if need be so that its closest pair has a partner on its upper side.
Points withUpwardSeed(Points const& original) {
    Points points = original;
    for (unsigned long turn = 1; turn < 6 && !plainConstruct(points).failure.empty(); ++turn) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            Point const& from = original[i];
            double const sign = turn % 2 == 1 ? -1.0 : 1.0;
            points[i].set(sign * static_cast<double>(from.get(turn / 2)),
                          static_cast<double>(from.get(turn / 2 + 1)),
                          static_cast<double>(from.get(turn / 2 + 2)));
        }
    }
    return points;
}

std::vector<NamedPoints> cloudFamilies() {
    std::vector<NamedPoints> families{
        {"grid 9 x 8", makeGrid(9, 8)},
        {"grid 17 x 11", makeGrid(17, 11, 0.1)},
        {"grid 17 x 11, shuffled", shuffled(makeGrid(17, 11, 0.1), 1)},
        {"grid 12 x 12, shuffled", shuffled(makeGrid(12, 12), 2)},
        {"grid far away", moved(makeGrid(10, 10, 0.1), Vector(300000.0, -200000.0, 5.0))},
        {"hexagons", makeHexagonalGrid(12, 9)},
        {"hexagons, shuffled", shuffled(makeHexagonalGrid(12, 9), 3)},
        {"wavy grid", soupPoints(makeWavyPatch(11, 13))},
        {"cap", soupPoints(makeCap(6, 18))},
        {"disc", shuffled(soupPoints(makeDisc(7, 16)), 4)},
        {"tube", soupPoints(makeTube(16, 9))},
        {"closed sphere", soupPoints(makeSphere(3))},
        {"two grids apart", joinedPoints(makeGrid(9, 9), moved(makeGrid(9, 9), Vector(100.0, 0.0, 0.0)))},
        {"two grids above one another",
         joinedPoints(makeGrid(9, 9), moved(makeGrid(9, 9), Vector(0.3, 0.4, 2.5)))},
        {"grid with twins", withCoincidentPoints(makeGrid(10, 9), 5)},
        {"upright grid and a flat one",
         joinedPoints(upright(makeGrid(8, 8, 0.5)), moved(makeGrid(8, 8), Vector(0.0, 30.0, 0.0)))},
        {"lattice in space", makeSolid(150, 6, 5.0)},
        {"coarse lattice in space, many twins", makeSolid(200, 7, 4.0)},
        {"random in space", makeSolid(160, 8, 1e6)},
        {"slivers", soupPoints(makeSliverPatch(9, 9))},
    };
    for (std::uint32_t seed = 10; seed < 14; ++seed) {
        std::string const number = " " + std::to_string(seed);
        families.push_back({"random plane" + number, makeRandomPlane(60 + 35 * (seed - 10), seed)});
        families.push_back({"random saddle" + number, makeRandomSurface(150, seed, saddle)});
        families.push_back({"random wave" + number, makeRandomSurface(180, seed, wave)});
        families.push_back({"random cap" + number, makeRandomSphere(140, seed, 0.3)});
        families.push_back({"random sphere" + number, makeRandomSphere(150, seed, -1.0)});
        families.push_back(
            {"random plane with twins" + number, withCoincidentPoints(makeRandomPlane(90, seed), seed)});
    }
    for (NamedPoints& family : families) {
        family.points = withUpwardSeed(family.points);
    }
    return families;
}

/// Clouds with fewer points than a point may have partners.
std::vector<NamedPoints> smallFamilies() {
    std::vector<NamedPoints> families{
        {"no point", {}},
        {"one point", {Point(1, 2, 3)}},
        {"two points", {Point(0, 0, 0), Point(1, 0, 0)}},
        {"three points", {Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)}},
        {"three points, the other way round", {Point(0, 1, 0), Point(1, 0, 0), Point(0, 0, 0)}},
        {"four points", makeGrid(2, 2)},
        {"a line", makeGrid(40, 1)},
        {"a long line", makeGrid(90, 1, 0.37)},
        {"a line and a point beside it", joinedPoints(makeGrid(70, 1), {Point(35.5, 40.0, 0.0)})},
        {"one place", Points(70, Point(1, 1, 1))},
        {"two places", joinedPoints(Points(40, Point(1, 1, 1)), Points(40, Point(2, 1, 1)))},
        {"three places", joinedPoints(joinedPoints(Points(30, Point(1, 1, 1)), Points(30, Point(2, 1, 1))),
                                      Points(30, Point(1, 2, 1)))},
        {"upright", upright(makeGrid(9, 9))},
        {"upright and shuffled", shuffled(upright(makeGrid(9, 9)), 3)},
    };
    for (std::uint32_t count = 3; count <= 66; count += 7) {
        families.push_back({"plane of " + std::to_string(count), makeRandomPlane(count, count)});
        families.push_back({"cap of " + std::to_string(count), makeRandomSphere(count, count, 0.5)});
        families.push_back({"lattice of " + std::to_string(count), makeSolid(count, count, 3.0)});
    }
    return families;
}

std::string construct(Mesh& mesh, Points const& points) {
    Cloud cloud;
    for (Point const& point : points) {
        cloud.addPoint(point);
    }
    try {
        mesh.construct(cloud);
    } catch (std::exception const& failure) {
        return failure.what();
    }
    return "";
}

/// As the mesh gathers them.
std::vector<Triangle*> allTriangles(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return {first, last};
}

std::vector<Face> facesOf(Mesh const& mesh) {
    std::vector<Face> faces;
    for (Triangle const* const triangle : allTriangles(mesh)) {
        Face face{};
        triangle->getVertexIndices(face[0], face[1], face[2]);
        faces.push_back(face);
    }
    return faces;
}

std::uint32_t countFloating(PlainMesh const& mesh) {
    std::uint32_t count = 0;
    for (std::uint32_t v = 0; v < mesh.vertices.size(); ++v) {
        count += mesh.isFloating(v) ? 1U : 0U;
    }
    return count;
}

/// Stitches are mutual and run against each other, and no corner occurs twice in a triangle.
void expectSoundConnectivity(PlainMesh const& mesh) {
    for (std::size_t number = 0; number < mesh.triangles.size(); ++number) {
        PlainMesh::PlainTriangle const& triangle = mesh.triangles[number];
        std::set<std::uint32_t> const corners(triangle.vertices.begin(), triangle.vertices.end());
        EXPECT_EQ(corners.size(), 3U) << "triangle " << number;
        for (std::uint32_t side = 0; side < 3; ++side) {
            PlainMesh::PlainEdge const edge{static_cast<int>(number), side};
            PlainMesh::PlainEdge const across = mesh.sym(edge);
            if (across.triangle == PlainMesh::none) {
                EXPECT_EQ(across.side, PlainMesh::noSide);
                continue;
            }
            EXPECT_TRUE(mesh.sym(across) == edge) << "triangle " << number << " side " << side;
            EXPECT_EQ(mesh.org(across), mesh.dest(edge));
            EXPECT_EQ(mesh.dest(across), mesh.org(edge));
        }
    }
}

/// Constructs both ways and compares everything that a mesh holds.
PlainReconstruction expectPlainResult(Points const& points) {
    PlainReconstruction const plain = plainConstruct(points);
    Mesh mesh;
    EXPECT_EQ(construct(mesh, points), plain.failure);
    EXPECT_EQ(describe(mesh), describe(plain.mesh));
    expectSoundConnectivity(plainCopyOf(mesh));
    return plain;
}

/// Links between points in the form in which the mesh keeps them.
struct Links {
    std::vector<std::vector<std::uint32_t>> nearest;
    std::vector<std::uint32_t> counts;
};

} // namespace

TEST(Reconstruction, BuildsTheTrianglesOfThePlainFrontBitForBit) {
    std::uint32_t dropped = 0;
    std::uint32_t withoutCandidate = 0;
    std::uint32_t emptyHeaps = 0;
    for (NamedPoints const& family : cloudFamilies()) {
        SCOPED_TRACE(family.name);
        PlainReconstruction const plain = expectPlainResult(family.points);
        EXPECT_EQ(plain.failure, "");
        EXPECT_GT(plain.mesh.triangles.size(), 3U);
        dropped += plain.candidatesDropped;
        withoutCandidate += plain.sidesWithoutCandidate;
        emptyHeaps += plain.endedByEmptyHeap ? 1U : 0U;
    }
    EXPECT_GT(dropped, 100U);
    EXPECT_GT(withoutCandidate, 10U);
    EXPECT_GT(emptyHeaps, 0U);
}

TEST(Reconstruction, SmallAndDegenerateCloudsGiveThePlainResultToo) {
    for (NamedPoints const& family : smallFamilies()) {
        SCOPED_TRACE(family.name);
        expectPlainResult(family.points);
    }
}

TEST(Reconstruction, CoordinatesThatAreNotFiniteGiveThePlainResultAndEnd) {
    for (double const odd : {notANumber, infinite, -infinite, 3.0e38, 1.0e-42}) {
        for (std::uint32_t seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(odd);
            Points points = makeRandomPlane(80, seed);
            std::mt19937 generator(seed);
            for (int i = 0; i < 6; ++i) {
                points[generator() % points.size()].seti(generator() % 3, odd);
            }
            expectPlainResult(points);
        }
        expectPlainResult(Points(5, Point(odd, odd, odd)));
    }
}

TEST(Reconstruction, ManySmallLatticesWithTiesGiveThePlainResult) {
    for (std::uint32_t seed = 100; seed < 160; ++seed) {
        SCOPED_TRACE(seed);
        expectPlainResult(makeSolid(10 + seed % 50, seed, 2.0 + seed % 4));
        expectPlainResult(shuffled(makeGrid(3 + seed % 5, 3 + seed % 7), seed));
    }
}

TEST(Reconstruction, LargerCloudsWithTiesGiveThePlainResult) {
    std::vector<NamedPoints> const families{
        {"grid 40 x 31", makeGrid(40, 31)},
        {"grid 33 x 33, shuffled", shuffled(makeGrid(33, 33, 0.3), 11)},
        {"hexagons 30 x 30, shuffled", shuffled(makeHexagonalGrid(30, 30), 12)},
        {"grid with twins", withCoincidentPoints(makeGrid(25, 25), 13)},
        {"lattice in space", withUpwardSeed(makeSolid(900, 14, 9.0))},
        {"torus", withUpwardSeed(makeTwistedLayers(700, 15))},
        {"tube", withUpwardSeed(soupPoints(makeTube(40, 25)))},
        {"random wave", makeRandomSurface(1200, 16, wave)},
        {"random wave with twins", withCoincidentPoints(makeRandomSurface(700, 17, wave), 18)},
    };
    for (NamedPoints const& family : families) {
        SCOPED_TRACE(family.name);
        PlainReconstruction const plain = expectPlainResult(family.points);
        EXPECT_GT(plain.mesh.triangles.size(), 300U);
    }
}

TEST(Reconstruction, ASecondGrowthWithMoreRoomStartsAfresh) {
    // More than two triangles a point: the first growth fills its room.
    std::size_t numberOfSuch = 0;
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        Points const points = withUpwardSeed(makeTwistedLayers(150, seed));
        PlainReconstruction const plain = plainConstruct(points);
        if (plain.mesh.triangles.size() > 2 * points.size()) {
            expectPlainResult(points);
            ++numberOfSuch;
        }
    }
    EXPECT_GT(numberOfSuch, 0U);
}

TEST(Reconstruction, ASideOfTheFirstTriangleWithoutAnApexWaitsForNothing) {
    // On the rim of such a cloud the first triangle has a side that no point can stand on. If that side
    // waited for the apex of another side, the surface would be another one; over the first two it would end
    // at once.
    for (std::uint32_t const seed : {14U, 236U, 37U, 51U, 373U, 480U}) {
        SCOPED_TRACE(seed);
        Points const points = makeRandomPlane(110, seed);
        PlainReconstruction const plain = expectPlainResult(points);
        EXPECT_EQ(plain.failure, "");
        PlainReconstruction const other = plainConstruct(points, SideWithoutApex::WaitsForLastApex);
        EXPECT_NE(describe(other.mesh), describe(plain.mesh));
        EXPECT_GT(plain.mesh.triangles.size(), 150U);
        if (seed == 14U || seed == 236U) {
            EXPECT_EQ(other.mesh.triangles.size(), 4U);
        }
    }
}

TEST(Reconstruction, ACloudWithoutPointsOrWithTooFewCannotMakeTheFirstTriangle) {
    for (std::uint32_t count = 0; count < 3; ++count) {
        Mesh mesh;
        EXPECT_EQ(construct(mesh, makeGrid(count, 1)), "Cannot add floating triangle");
        EXPECT_EQ(mesh.getNumberOfVertices(), count);
        EXPECT_TRUE(facesOf(mesh).empty());
    }
}

TEST(Reconstruction, PointsOnALineCannotMakeTheFirstTriangle) {
    Mesh mesh;
    EXPECT_EQ(construct(mesh, makeGrid(80, 1)), "Cannot add floating triangle");
    EXPECT_EQ(mesh.getNumberOfVertices(), 80U);
}

TEST(Reconstruction, CoincidentPointsAloneCannotMakeTheFirstTriangle) {
    Mesh mesh;
    EXPECT_EQ(construct(mesh, Points(80, Point(1, 2, 3))), "Cannot add floating triangle");
}

TEST(Reconstruction, ASeedWithNoPartnerOnItsUpperSideCannotMakeTheFirstTriangle) {
    Mesh mesh;
    EXPECT_EQ(construct(mesh, upright(makeGrid(9, 9))), "Cannot add floating triangle");
    // The closest two lie one above the other: seen from above, every triangle on them has no area.
    Points points = makeRandomPlane(70, 3);
    points.emplace_back(points[0] + Vector(0.0, 0.0, 1e-6));
    EXPECT_EQ(construct(mesh, points), "Cannot add floating triangle");
}

TEST(Reconstruction, ThreePointsMakeOneTriangleThatFacesUp) {
    Mesh mesh;
    ASSERT_EQ(construct(mesh, {Point(0, 0, 0), Point(0, 3, 0), Point(1, 0, 0)}), "");
    EXPECT_EQ(facesOf(mesh), (std::vector<Face>{{0, 2, 1}}));
}

TEST(Reconstruction, TheSeedIsTheFirstClosestPairInIndexOrder) {
    // All neighbours of a grid are equally close: the pair found first is that of point 0.
    Mesh mesh;
    ASSERT_EQ(construct(mesh, makeGrid(9, 9)), "");
    PlainMesh plain;
    for (Point const& point : makeGrid(9, 9)) {
        plain.addVertex(point);
    }
    PlainLinks const links = plainLinks(plain);
    EXPECT_EQ(links.first, 0U);
    Face const seed = facesOf(mesh).front();
    EXPECT_EQ(seed[0], links.first);
    EXPECT_EQ(seed[1], links.second);
    EXPECT_EQ(seed[1], 1U);
}

TEST(Reconstruction, ALaterPairThatIsStrictlyCloserIsTheSeed) {
    Points points = makeGrid(9, 9);
    points.emplace_back(4.25, 4.25, 0.0);
    Mesh mesh;
    ASSERT_EQ(construct(mesh, points), "");
    Face const seed = facesOf(mesh).front();
    EXPECT_EQ(seed[0], 40U);
    EXPECT_EQ(seed[1], 81U);
}

TEST(Reconstruction, TheFirstTriangleFacesUp) {
    for (std::uint32_t seed = 1; seed <= 8; ++seed) {
        Mesh mesh;
        ASSERT_EQ(construct(mesh, makeRandomSurface(80, seed, saddle)), "");
        Face const face = facesOf(mesh).front();
        Point const& a = mesh.getVertex(face[0]).getPoint3D();
        Point const& b = mesh.getVertex(face[1]).getPoint3D();
        Point const& c = mesh.getVertex(face[2]).getPoint3D();
        EXPECT_GT((b - a).cross(c - b).getdZ(), 0.0);
    }
}

TEST(Reconstruction, CoincidentPointsAreNeverNeighboursButAllAreVertices) {
    Points points = makeGrid(9, 9);
    points.push_back(points[40]);
    Mesh mesh;
    ASSERT_EQ(construct(mesh, points), "");
    EXPECT_EQ(mesh.getNumberOfVertices(), 82U);
    for (Face const& face : facesOf(mesh)) {
        bool const hasOne = std::find(face.begin(), face.end(), 40U) != face.end();
        bool const hasOther = std::find(face.begin(), face.end(), 81U) != face.end();
        EXPECT_FALSE(hasOne && hasOther);
    }
}

TEST(Reconstruction, EveryPointBecomesTheVertexOfItsIndexAlsoWhenNoTriangleReachesIt) {
    // Two heaps of points too far apart to be among each other's neighbours.
    Points const points =
        joinedPoints(makeRandomPlane(90, 1), moved(makeRandomPlane(90, 2), Vector(50.0, 0.0, 0.0)));
    Mesh mesh;
    ASSERT_EQ(construct(mesh, points), "");
    ASSERT_EQ(mesh.getNumberOfVertices(), 180U);
    for (std::uint32_t v = 0; v < 180; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint3D(), points[v]);
        EXPECT_TRUE(mesh.getVertex(v).getPoint2D() == Geometry::TwoDimensional::Point<double>());
        EXPECT_EQ(mesh.getVertex(v).getNormal3D().lSqr(), 0.0);
    }
    EXPECT_GE(countFloating(plainCopyOf(mesh)), 90U);
    for (Face const& face : facesOf(mesh)) {
        EXPECT_EQ(face[0] < 90, face[1] < 90);
        EXPECT_EQ(face[0] < 90, face[2] < 90);
    }
}

TEST(Reconstruction, AClusterOfExactlySixtyFiveKeepsToItselfAndOneOfSixtyFourDoesNot) {
    auto const spans = [](std::uint32_t count) {
        Mesh mesh;
        EXPECT_EQ(construct(mesh, joinedPoints(makeRandomPlane(count, 4),
                                               moved(makeRandomPlane(count, 5), Vector(20.0, 0.0, 0.0)))),
                  "");
        auto const faces = facesOf(mesh);
        return std::any_of(faces.begin(), faces.end(), [count](Face const& face) {
            return (face[0] < count) != (face[1] < count) || (face[0] < count) != (face[2] < count);
        });
    };
    EXPECT_FALSE(spans(65));
    EXPECT_TRUE(spans(64));
}

TEST(Reconstruction, AnEarlierMeshIsReplacedAndItsNameKept) {
    Mesh mesh;
    loadSoup(mesh, makeTetrahedron());
    std::string const name = mesh.getFileName();
    ASSERT_FALSE(name.empty());
    ASSERT_EQ(construct(mesh, makeGrid(9, 9)), "");
    EXPECT_EQ(mesh.getNumberOfVertices(), 81U);
    EXPECT_EQ(mesh.getFileName(), name);
    PlainReconstruction plain = plainConstruct(makeGrid(9, 9));
    plain.mesh.name = name;
    EXPECT_EQ(describe(mesh), describe(plain.mesh));
}

TEST(Reconstruction, AGridIsCoveredOnce) {
    for (std::uint32_t n : {9U, 12U, 20U}) {
        Mesh mesh;
        ASSERT_EQ(construct(mesh, makeGrid(n, n)), "");
        double area = 0.0;
        for (Face const& face : facesOf(mesh)) {
            Point const& a = mesh.getVertex(face[0]).getPoint3D();
            Point const& b = mesh.getVertex(face[1]).getPoint3D();
            Point const& c = mesh.getVertex(face[2]).getPoint3D();
            double const twoAreas = (b - a).cross(c - b).getdZ();
            EXPECT_GT(twoAreas, 0.0);
            area += 0.5 * twoAreas;
        }
        double const whole = (n - 1.0) * (n - 1.0);
        EXPECT_LE(area, whole);
        EXPECT_GT(area, 0.9 * whole);
        EXPECT_EQ(countFloating(plainCopyOf(mesh)), 0U);
    }
}

TEST(Reconstruction, TrianglesComeInTheOrderInWhichTheyWereBuiltAlsoInLargeMeshes) {
    Points const points = makeRandomSurface(600, 77, wave);
    PlainReconstruction const plain = plainConstruct(points);
    Mesh mesh;
    ASSERT_EQ(construct(mesh, points), "");
    std::vector<Face> const faces = facesOf(mesh);
    std::vector<int> const walked = plain.mesh.walkedTriangles();
    ASSERT_EQ(faces.size(), walked.size());
    ASSERT_GT(faces.size(), 1000U);
    for (std::size_t i = 0; i < faces.size(); ++i) {
        auto const& corners = plain.mesh.triangles[static_cast<std::size_t>(walked[i])].vertices;
        ASSERT_TRUE(std::equal(faces[i].begin(), faces[i].end(), corners.begin())) << "face " << i;
    }
}

TEST(Reconstruction, TrianglesLieInOneRunOfMemoryAlsoWhenTheSurfaceRunsIntoItself) {
    std::size_t mostPerPoint = 0;
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        Points const points = withUpwardSeed(makeTwistedLayers(150, seed));
        Mesh mesh;
        if (!construct(mesh, points).empty()) {
            continue;
        }
        PlainMesh const copy = plainCopyOf(mesh);
        mostPerPoint = std::max(mostPerPoint, 10 * copy.triangles.size() / points.size());
        auto const& run = mesh.triangles->runs.back();
        for (Triangle const* const triangle : allTriangles(mesh)) {
            ASSERT_TRUE(run.triangles <= triangle && triangle < run.triangles + run.size);
        }
    }
    EXPECT_GT(mostPerPoint, 20U);
}

TEST(Reconstruction, TheMeshCanBeSavedAndHoldsTheSameFacesInTheFile) {
    TemporaryDirectory const directory;
    for (NamedPoints const& family : {NamedPoints{"wave", makeRandomSurface(150, 3, wave)},
                                      NamedPoints{"lattice", withUpwardSeed(makeSolid(150, 4, 4.0))}}) {
        SCOPED_TRACE(family.name);
        Mesh mesh;
        ASSERT_EQ(construct(mesh, family.points), "");
        std::string const path = directory.file(family.name + ".obj");
        mesh.save(path.c_str(), false, false);
        std::string expected;
        for (Face const& face : facesOf(mesh)) {
            expected += "f";
            for (unsigned long const v : face) {
                expected += " " + std::to_string(v + 1);
            }
            expected += "\n";
        }
        std::string const text = readText(path);
        std::string faceLines;
        for (std::size_t at = text.find("\nf "); at != std::string::npos; at = text.find("\nf ", at + 1)) {
            faceLines += text.substr(at + 1, text.find('\n', at + 1) - at);
        }
        EXPECT_EQ(faceLines, expected);
    }
}

TEST(Reconstruction, ASmoothSurfaceCanBeSavedLoadedAndFlattened) {
    Mesh mesh;
    ASSERT_EQ(construct(mesh, soupPoints(makeWavyPatch(11, 11))), "");
    TemporaryDirectory const directory;
    std::string const path = directory.file("patch.obj");
    mesh.save(path.c_str(), false, false);
    Mesh loaded;
    ASSERT_NO_THROW(loaded.load(path.c_str()));
    EXPECT_EQ(loaded.getNumberOfVertices(), mesh.getNumberOfVertices());
    EXPECT_EQ(facesOf(loaded).size(), facesOf(mesh).size());
    ASSERT_NO_THROW(loaded.conformalMap(true, nullptr, false));
}

TEST(Reconstruction, EveryWalkOverTheMeshEndsAndAgreesWithThePlainOne) {
    for (NamedPoints const& family : cloudFamilies()) {
        SCOPED_TRACE(family.name);
        Mesh mesh;
        ASSERT_EQ(construct(mesh, family.points), "");
        PlainMesh const plain = plainCopyOf(mesh);
        auto const count = static_cast<std::uint32_t>(mesh.getNumberOfVertices());
        for (std::uint32_t v = 0; v < count; ++v) {
            ASSERT_EQ(mesh.getIsBoundaryVertex(v), plain.isBoundaryVertex(v));
            ASSERT_EQ(mesh.getIsVertexFloating(v), plain.isFloating(v));
            for (std::uint32_t w = 0; w < count; w += 1 + v % 5) {
                ASSERT_EQ(mesh.getDoesEdgeExist(v, w, nullptr), plain.doesEdgeExist(v, w, nullptr));
            }
            if (!plain.isFloating(v)) {
                for (unsigned long axis = 0; axis < 3; ++axis) {
                    EXPECT_TRUE(sameBits(mesh.getVertexNormal(v).get(axis), plain.normal(v).get(axis)));
                }
            }
        }
    }
}

namespace {

/// Asks a front that knows the triangles of the mesh.
bool isReady(Mesh& mesh, Edge const& edge, std::uint32_t apex) {
    using namespace Geometry::ThreeDimensional::TriMesh;
    CloudOrder const order(mesh.getConnectivity());
    NeighbourLinks const links(order);
    AdvancingFront front(mesh.getBuilder(), order, links);
    for (Face const& face : facesOf(mesh)) {
        front.sides.addTriangle(order.rankOf[face[0]], order.rankOf[face[1]], order.rankOf[face[2]]);
    }
    return front.getIsReady(edge, apex);
}

} // namespace

TEST(Reconstruction, AWaitingTriangleIsDroppedWhenItsPlaceHasBeenTaken) {
    using Geometry::ThreeDimensional::TriMesh::Vertex;
    Mesh mesh;
    for (Point const& point : makeGrid(3, 3)) {
        mesh.addVertex(Vertex(point));
    }
    ASSERT_TRUE(mesh.addFloatingTriangle({0, 1, 4}));
    Edge const upper = mesh.getVertexArbitraryEdge(4);
    ASSERT_EQ(upper.dest(), 0U);
    EXPECT_TRUE(isReady(mesh, upper, 3));
    ASSERT_TRUE(mesh.addBoundaryTriangle(upper, 3));
    Edge const left = upper.sym().rot();
    ASSERT_EQ(left.org(), 4U);
    ASSERT_EQ(left.dest(), 3U);
    EXPECT_FALSE(isReady(mesh, left, 0)) << "the side 4 to 0 exists, of the first triangle";
    Edge const low = left.rot();
    ASSERT_EQ(low.dest(), 0U);
    EXPECT_FALSE(isReady(mesh, low, 4)) << "the side 4 to 0 exists";
    EXPECT_TRUE(isReady(mesh, low, 6));
    EXPECT_FALSE(isReady(mesh, upper, 3)) << "the edge is closed";
    EXPECT_FALSE(isReady(mesh, upper, 6)) << "the edge is closed";
    Triangle* const across = upper.sym().getTriangle();
    upper.makeBoundary();
    EXPECT_TRUE(isReady(mesh, upper, 6));
    mesh.vertexTriangles[0].push_back(across);
    EXPECT_FALSE(isReady(mesh, upper, 6)) << "another triangle lies against the edge, unstitched";
}

TEST(Reconstruction, UsedLinksAreErasedOnceAndOnlyAmongTheLiveOnes) {
    Links links{{{5, 3, 5, 9}, {}}, {3, 0}};
    Mesh::removeEdgeFromIndices(0, 9, links.nearest, links.counts);
    EXPECT_EQ(links.nearest[0], (std::vector<std::uint32_t>{5, 3, 5, 9}));
    EXPECT_EQ(links.counts[0], 3U);
    Mesh::removeEdgeFromIndices(0, 5, links.nearest, links.counts);
    EXPECT_EQ(links.nearest[0], (std::vector<std::uint32_t>{3, 5, 9}));
    EXPECT_EQ(links.counts[0], 2U);
    Mesh::removeEdgeFromIndices(1, 5, links.nearest, links.counts);
    EXPECT_EQ(links.counts[1], 0U);
    Mesh::removeEdgeFromIndices(0, 7, links.nearest, links.counts);
    EXPECT_EQ(links.counts[0], 2U);
}

namespace {

/// A mesh of floating vertices and full links between all of them, in index order.
struct FloatingSetting {
    explicit FloatingSetting(Points const& points) {
        for (std::uint32_t i = 0; i < points.size(); ++i) {
            mesh.addVertex(Geometry::ThreeDimensional::TriMesh::Vertex(points[i]));
            links.nearest.emplace_back();
            for (std::uint32_t j = 0; j < points.size(); ++j) {
                if (j != i) {
                    links.nearest.back().push_back(j);
                }
            }
            links.counts.push_back(static_cast<std::uint32_t>(points.size()) - 1);
        }
    }

    bool find(unsigned long a, unsigned long b, Vector const& normal) {
        return mesh.getMinrTSqr(a, b, links.nearest, links.counts, normal, &apex, &rTSqr, &wasFloating);
    }

    Mesh mesh;
    Links links;
    unsigned long apex = 77;
    double rTSqr = -1.0;
    bool wasFloating = false;
};

Vector const up(0.0, 0.0, 1.0);
Vector const down(0.0, 0.0, -1.0);

} // namespace

TEST(MinimumCircumradius, TakesTheSmallestOnTheSideOfTheNormal) {
    FloatingSetting setting(
        {Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0), Point(0.5, -0.5, 0), Point(0, 3, 0)});
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.apex, 2U);
    EXPECT_EQ(setting.rTSqr, 0.125);
    EXPECT_TRUE(setting.wasFloating);
    ASSERT_TRUE(setting.find(0, 1, down));
    EXPECT_EQ(setting.apex, 3U);
}

TEST(MinimumCircumradius, TheEarliestOfEqualsWins) {
    Points const points{Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0)};
    FloatingSetting setting(points);
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.apex, 2U);
    FloatingSetting turned(points);
    turned.links.nearest[0] = {1, 3, 2};
    ASSERT_TRUE(turned.find(0, 1, up));
    EXPECT_EQ(turned.apex, 3U);
}

TEST(MinimumCircumradius, UsesUpTheLinksToTheSecondCornerAndOnToTheApexButNotBack) {
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)});
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.links.nearest, (std::vector<std::vector<std::uint32_t>>{{2}, {0}, {0, 1}}));
    EXPECT_EQ(setting.links.counts, (std::vector<std::uint32_t>{1, 1, 2}));
    // The link from the first corner to the second need not be there.
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.links.counts, (std::vector<std::uint32_t>{1, 1, 2}));
}

TEST(MinimumCircumradius, WithoutAnApexNothingChanges) {
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0), Point(2, 0, 0)});
    Links const before = setting.links;
    EXPECT_FALSE(setting.find(0, 1, down));
    EXPECT_FALSE(setting.find(0, 1, Vector(1.0, 0.0, 0.0)));
    EXPECT_EQ(setting.links.nearest, before.nearest);
    EXPECT_EQ(setting.links.counts, before.counts);
    EXPECT_EQ(setting.apex, 77U);
    EXPECT_EQ(setting.rTSqr, -1.0);
    setting.links.counts[0] = 0;
    EXPECT_FALSE(setting.find(0, 1, up));
}

TEST(MinimumCircumradius, OnlyLiveLinksCount) {
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0.5, 2, 0), Point(0.5, 1, 0)});
    setting.links.counts[0] = 2;
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.apex, 2U);
}

TEST(MinimumCircumradius, TheFlagMayBeNull) {
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)});
    EXPECT_TRUE(setting.mesh.getMinrTSqr(0, 1, setting.links.nearest, setting.links.counts, up, &setting.apex,
                                         &setting.rTSqr, nullptr));
    EXPECT_EQ(setting.apex, 2U);
}

TEST(MinimumCircumradius, ANormalThatIsNoNumberHasNoUpperSide) {
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)});
    EXPECT_FALSE(setting.find(0, 1, Vector(0.0, 0.0, notANumber)));
}

TEST(MinimumCircumradius, AnApexOnTheLineIsNotTaken) {
    FloatingSetting setting(
        {Point(0, 0, 0), Point(1, 0, 0), Point(2, 0, 0), Point(0.5, 0, 0), Point(0, 9, 0)});
    ASSERT_TRUE(setting.find(0, 1, up));
    EXPECT_EQ(setting.apex, 4U);
}

TEST(MinimumCircumradius, AnAttachedApexMustLieBesideTheFront) {
    // Two triangles on one side each of the corner 1, and an open notch between them.
    FloatingSetting setting({Point(0, 0, 0), Point(1, 0, 0), Point(0.5, -1, 0), Point(1.2, 1, 0),
                             Point(2, 0, 0), Point(0.4, 3, 0)});
    ASSERT_TRUE(setting.mesh.addFloatingTriangle({1, 0, 2}));
    Edge const shared = setting.mesh.getVertexArbitraryEdge(1);
    ASSERT_EQ(shared.dest(), 0U);
    PlainMesh plain = plainCopyOf(setting.mesh);
    for (std::uint32_t a = 0; a < 3; ++a) {
        for (std::uint32_t b = 0; b < 3; ++b) {
            if (a != b) {
                FloatingSetting fresh({Point(0, 0, 0), Point(1, 0, 0), Point(0.5, -1, 0), Point(1.2, 1, 0),
                                       Point(2, 0, 0), Point(0.4, 3, 0)});
                ASSERT_TRUE(fresh.mesh.addFloatingTriangle({1, 0, 2}));
                fresh.links.nearest[a] = {0, 1, 2};
                fresh.links.counts[a] = 3;
                PlainLinks links{fresh.links.nearest, fresh.links.counts, false, 0, 0};
                for (Vector const& normal : {up, down}) {
                    PlainApex const expected = plainMinrTSqr(plain, a, b, links, normal);
                    // The triangle's sides run from 1 to 0, 0 to 2 and 2 to 1, seen from below.
                    bool const isSide = b == (a + 1) % 3;
                    EXPECT_EQ(expected.isFound, isSide && normal.getdZ() < 0.0) << a << " " << b;
                    EXPECT_EQ(fresh.find(a, b, normal), expected.isFound) << a << " " << b;
                    if (expected.isFound) {
                        EXPECT_EQ(fresh.apex, expected.vertex);
                        EXPECT_FALSE(fresh.wasFloating);
                    }
                    EXPECT_EQ(fresh.links.nearest, links.nearest);
                    EXPECT_EQ(fresh.links.counts, links.counts);
                }
            }
        }
    }
}

TEST(MinimumCircumradius, TheLastSpokeOfAClosedFanIsTheOneBeforeItsStart) {
    auto const mesh = makeMesh(makeTetrahedron());
    for (std::uint32_t v = 0; v < 4; ++v) {
        EXPECT_EQ(getEndOfLastSpoke(mesh->getConnectivity(), v), mesh->getVertexArbitraryEdge(v).dest());
    }
}

TEST(MinimumCircumradius, AgreesWithThePlainSearchOnGrownMeshes) {
    std::uint32_t found = 0;
    std::uint32_t attachedApexes = 0;
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        Points const points = makeRandomSurface(120, seed, wave);
        FloatingSetting setting(points);
        // A first part of the surface only, so that both kinds of apex occur.
        Mesh whole;
        Points part = points;
        part.resize(70);
        ASSERT_EQ(construct(whole, part), "");
        for (std::uint32_t v = 70; v < 120; ++v) {
            whole.addVertex(Geometry::ThreeDimensional::TriMesh::Vertex(points[v]));
        }
        PlainMesh const plain = plainCopyOf(whole);
        PlainLinks links{setting.links.nearest, setting.links.counts, false, 0, 0};
        for (std::size_t number = 0; number < plain.triangles.size(); ++number) {
            for (std::uint32_t side = 0; side < 3; ++side) {
                PlainMesh::PlainEdge const e{static_cast<int>(number), side};
                std::uint32_t const a = plain.dest(e);
                std::uint32_t const b = plain.org(e);
                if (plain.sym(e).triangle != PlainMesh::none || !plain.isBoundaryVertex(a) ||
                    !plain.isBoundaryVertex(b)) {
                    continue;
                }
                PlainApex const expected = plainMinrTSqr(plain, a, b, links, up);
                unsigned long apex = 0;
                double rTSqr = 0.0;
                bool wasFloating = false;
                bool const isFound = whole.getMinrTSqr(a, b, setting.links.nearest, setting.links.counts, up,
                                                       &apex, &rTSqr, &wasFloating);
                ASSERT_EQ(isFound, expected.isFound);
                ASSERT_EQ(setting.links.nearest, links.nearest);
                if (isFound) {
                    ASSERT_EQ(apex, expected.vertex);
                    ASSERT_TRUE(sameBits(rTSqr, expected.rTSqr));
                    ASSERT_EQ(wasFloating, expected.wasFloating);
                    ++found;
                    attachedApexes += wasFloating ? 0U : 1U;
                }
            }
        }
    }
    EXPECT_GT(found, 50U);
    EXPECT_GT(attachedApexes, 5U);
}

} // namespace QELT::Testing
