#include "Inspection/parts/surfacerepair.h"

#include "Inspection/import/objfile.h"
#include "Inspection/maps/flattening.h"
#include "Inspection/parts/reconstruction.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <utility>

namespace QELT::Inspection {
namespace {

using namespace Testing;

class EvenNoise {
public:
    explicit EvenNoise(std::uint32_t seed) : generator(seed) {}

    /// Evenly between -1/2 and 1/2.
    double even() { return static_cast<double>(generator()) / 4294967295.0 - 0.5; }

private:
    std::mt19937 generator;
};

/// A sheet of unit squares, two triangles each, from (x, y) on; the squares that `isLeftOut` names are holes.
void addSheet(FaceMesh& mesh, double x, double y, unsigned width, unsigned height,
              std::function<bool(unsigned, unsigned)> const& isLeftOut = nullptr) {
    auto const first = static_cast<unsigned>(mesh.points.size());
    for (unsigned v = 0; v <= height; ++v) {
        for (unsigned u = 0; u <= width; ++u) {
            mesh.points.emplace_back(x + u, y + v, 0.0);
        }
    }
    for (unsigned v = 0; v < height; ++v) {
        for (unsigned u = 0; u < width; ++u) {
            unsigned const a = first + v * (width + 1) + u;
            if (!isLeftOut || !isLeftOut(u, v)) {
                mesh.faces.push_back({a, a + 1, a + width + 2});
                mesh.faces.push_back({a, a + width + 2, a + width + 1});
            }
        }
    }
}

double areaOf(FaceMesh const& mesh) {
    double sum = 0.0;
    for (auto const& [a, b, c] : mesh.faces) {
        Vector const product = (mesh.points[b] - mesh.points[a]).cross(mesh.points[c] - mesh.points[a]);
        sum += 0.5 * std::sqrt(product.lSqr());
    }
    return sum;
}

/// All faces of a flat mesh turn the same way.
bool isWoundUp(FaceMesh const& mesh) {
    return std::all_of(mesh.faces.begin(), mesh.faces.end(), [&](Face const& face) {
        auto const& points = mesh.points;
        return (points[face[1]] - points[face[0]]).cross(points[face[2]] - points[face[0]]).getdZ() > 0.0F;
    });
}

RepairOptions closingUpTo(std::size_t sides) {
    RepairOptions options;
    options.largestHole = sides;
    return options;
}

TEST(SurfaceRepair, leavesASoundSurfaceAsItIs) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 4, 3);
    FaceMesh const before = mesh;
    RepairReport const report = repairSurface(mesh, {});
    EXPECT_EQ(report.droppedCount + report.closedCount + report.handleCount + report.looseCount, 0U);
    EXPECT_EQ(mesh.faces, before.faces);
    EXPECT_EQ(mesh.points.size(), before.points.size());
}

TEST(SurfaceRepair, keepsTheLargestOfSheetsThatTouchInAPoint) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 3, 3);
    mesh.points.emplace_back(4.0, 4.0, 0.0);
    mesh.points.emplace_back(3.0, 4.0, 0.0);
    mesh.faces.push_back({15, 16, 17}); // at the corner (3, 3) alone
    RepairReport const report = repairSurface(mesh, {});
    EXPECT_EQ(report.droppedCount, 1U);
    EXPECT_EQ(report.looseCount, 2U);
    EXPECT_EQ(mesh.faces.size(), 18U);
    EXPECT_EQ(mesh.points.size(), 16U);
}

TEST(SurfaceRepair, keepsTheLargestPieceAndNumbersItsPointsAnew) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 1, 1);
    addSheet(mesh, 10.0, 0.0, 3, 2);
    addSheet(mesh, 20.0, 0.0, 2, 2);
    RepairReport const report = repairSurface(mesh, {});
    EXPECT_EQ(report.droppedCount, 2U + 8U);
    EXPECT_EQ(report.looseCount, 4U + 9U);
    EXPECT_EQ(mesh.faces.size(), 12U);
    ASSERT_EQ(mesh.points.size(), 12U);
    EXPECT_EQ(mesh.points[0].getX(), 10.0F);
    EXPECT_EQ(mesh.faces[0], (Face{0, 1, 5}));
    EXPECT_DOUBLE_EQ(areaOf(mesh), 6.0);
}

TEST(SurfaceRepair, goesOnUntilNoPointIsShared) {
    // Two squares hang on a corner of the sheet; once the first of them goes, the second is a piece of its
    // own.
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 4, 4);
    auto const hang = [&mesh](unsigned corner, double at) {
        auto const next = static_cast<unsigned>(mesh.points.size());
        mesh.points.emplace_back(at + 1.0, at, 0.0);
        mesh.points.emplace_back(at + 1.0, at + 1.0, 0.0);
        mesh.faces.push_back({corner, next, next + 1});
        return next + 1;
    };
    hang(hang(24, 4.0), 5.0);
    RepairReport const report = repairSurface(mesh, {});
    EXPECT_EQ(report.droppedCount, 2U);
    EXPECT_EQ(mesh.faces.size(), 32U);
}

TEST(SurfaceRepair, leavesOutTrianglesWithASideThatIsTooLong) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 3, 3);
    mesh.points.emplace_back(9.0, 1.0, 0.0);
    mesh.faces.push_back({3, 16, 7});
    RepairOptions options;
    options.longestSide = std::sqrt(2.0) * 1.001;
    FaceMesh copy = mesh;
    EXPECT_EQ(repairSurface(copy, options).droppedCount, 1U);
    EXPECT_EQ(copy.faces.size(), 18U);
    EXPECT_EQ(repairSurface(mesh, {}).droppedCount, 0U);
    options.longestSide = 1.2; // every diagonal
    repairSurface(mesh, options);
    EXPECT_TRUE(mesh.faces.empty());
    EXPECT_TRUE(mesh.points.empty());
}

TEST(SurfaceRepair, ofTrianglesOnOneSideTheFirstStays) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 1, 1);
    mesh.points.emplace_back(0.5, 0.5, 1.0);
    mesh.faces.push_back({0, 1, 4}); // runs from 0 to 1 as the first face does
    mesh.faces.push_back({0, 2, 2});
    EXPECT_EQ(repairSurface(mesh, {}).droppedCount, 2U);
    EXPECT_EQ(mesh.faces, (std::vector<Face>{{0, 1, 3}, {0, 3, 2}}));
}

TEST(SurfaceRepair, neverClosesTheOutline) {
    FaceMesh mesh;
    mesh.points = {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 1.0, 0.0)};
    mesh.faces = {{0, 1, 2}};
    EXPECT_EQ(repairSurface(mesh, closingUpTo(100)).closedCount, 0U);
    EXPECT_EQ(mesh.faces.size(), 1U);
}

/// A sheet of 8 by 3 with holes of three, four and six sides.
FaceMesh sheetWithHoles() {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 8, 3,
             [](unsigned u, unsigned v) { return v == 1 && (u == 1 || u == 3 || u == 4); });
    mesh.faces.erase(std::find(mesh.faces.begin(), mesh.faces.end(), Face{15, 16, 25}));
    return mesh;
}

TEST(SurfaceRepair, closesHolesUpToTheGivenNumberOfSides) {
    std::vector<std::pair<std::size_t, std::size_t>> const closedBySides = {{0, 0}, {2, 0}, {3, 1},   {4, 2},
                                                                            {5, 2}, {6, 3}, {1000, 3}};
    for (auto const& [sides, closed] : closedBySides) {
        FaceMesh mesh = sheetWithHoles();
        RepairReport const report = repairSurface(mesh, closingUpTo(sides));
        EXPECT_EQ(report.closedCount, closed) << sides;
        EXPECT_EQ(report.handleCount, 0U);
        EXPECT_TRUE(isWoundUp(mesh)) << sides;
        std::vector<double> const areas = {20.5, 21.0, 22.0, 24.0};
        EXPECT_DOUBLE_EQ(areaOf(mesh), areas.at(closed)) << sides;
    }
}

TEST(SurfaceRepair, closesHolesThatAreNarrowBesideTheLongestSide) {
    // A hole of 3 by 3 squares needs a triangle around its middle, none of whose corners is nearer to that
    // than 1.5: it has a side of at least 2.6. One of 1 by 5 is closed with diagonals of squares.
    FaceMesh sheet;
    addSheet(sheet, 0.0, 0.0, 12, 9, [](unsigned u, unsigned v) {
        bool const isWide = u >= 2 && u < 5 && v >= 2 && v < 5;
        bool const isNarrow = u >= 6 && u < 11 && v == 7;
        return isWide || isNarrow;
    });
    std::vector<std::pair<double, std::size_t>> const closedBySide = {{1.415, 1}, {2.59, 1}, {4.3, 2}};
    for (auto const& [side, closed] : closedBySide) {
        RepairOptions options;
        options.longestSide = side;
        FaceMesh mesh = sheet;
        EXPECT_EQ(repairSurface(mesh, options).closedCount, closed) << side;
        EXPECT_TRUE(isWoundUp(mesh));
        options.largestHole = 12; // a number of sides that is given decides alone
        mesh = sheet;
        EXPECT_EQ(repairSurface(mesh, options).closedCount, 2U) << side;
        options.largestHole = 11;
        mesh = sheet;
        EXPECT_EQ(repairSurface(mesh, options).closedCount, 0U) << side;
    }
    RepairOptions options;
    options.longestSide = std::numeric_limits<double>::infinity();
    EXPECT_EQ(repairSurface(sheet, options).closedCount, 0U);
}

TEST(SurfaceRepair, takesOutTrianglesOverOthersOfTheSheet) {
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 6, 6);
    FaceMesh const sound = mesh;
    auto const next = static_cast<unsigned>(mesh.points.size());
    mesh.points.emplace_back(3.2, 3.4, 0.2);
    mesh.faces.push_back({8, 10, next}); // larger than those that it lies over
    RepairOptions options;
    options.overlapReach = 0.5;
    RepairReport const report = repairSurface(mesh, options);
    EXPECT_EQ(report.overlapCount, 1U);
    EXPECT_EQ(report.looseCount, 1U);
    EXPECT_EQ(mesh.faces, sound.faces);
}

TEST(SurfaceRepair, leavesSheetsThatAreFartherApartAndThoseThatFaceAway) {
    RepairOptions options;
    options.overlapReach = 0.5;
    FaceMesh mesh;
    addSheet(mesh, 0.0, 0.0, 4, 4);
    addSheet(mesh, 0.3, 0.4, 4, 4);
    for (std::size_t i = 25; i < 50; ++i) {
        mesh.points[i] = mesh.points[i] + Vector(0.0, 0.0, 0.6);
    }
    FaceMesh near = mesh;
    EXPECT_EQ(repairSurface(mesh, options).overlapCount, 0U);
    for (std::size_t i = 25; i < 50; ++i) {
        near.points[i] = near.points[i] + Vector(0.0, 0.0, -0.2);
    }
    FaceMesh facingAway = near;
    EXPECT_GT(repairSurface(near, options).overlapCount, 10U);
    for (std::size_t i = 32; i < facingAway.faces.size(); ++i) {
        std::swap(facingAway.faces[i][0], facingAway.faces[i][1]);
    }
    EXPECT_EQ(repairSurface(facingAway, options).overlapCount, 0U);
}

TEST(SurfaceRepair, closesHolesOfThreeSidesUnlessToldOtherwise) {
    FaceMesh mesh = sheetWithHoles();
    EXPECT_EQ(repairSurface(mesh, {}).closedCount, 1U);
}

/// The area of the smallest cover of a polygon, by trying them all.
double smallestCover(std::vector<Point> const& polygon) {
    std::size_t const count = polygon.size();
    if (count < 3) {
        return 0.0;
    }
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t apex = 1; apex + 1 < count; ++apex) {
        std::vector<Point> const left(polygon.begin(), polygon.begin() + static_cast<long>(apex) + 1);
        std::vector<Point> const right(polygon.begin() + static_cast<long>(apex), polygon.end());
        Vector const product = (polygon[apex] - polygon.front()).cross(polygon.back() - polygon.front());
        best = std::min(best, 0.5 * std::sqrt(product.lSqr()) + smallestCover(left) + smallestCover(right));
    }
    return best;
}

/// A ring of triangles around a hole of `count` sides whose points are moved at random.
FaceMesh ringAround(unsigned count, EvenNoise& noise) {
    FaceMesh mesh;
    for (double const radius : {1.0, 10.0}) {
        for (unsigned i = 0; i < count; ++i) {
            double const angle = 2.0 * std::numbers::pi * i / count;
            mesh.points.emplace_back(radius * std::cos(angle) + 0.8 * noise.even(),
                                     radius * std::sin(angle) + 0.8 * noise.even(), 2.0 * noise.even());
        }
    }
    for (unsigned i = 0; i < count; ++i) {
        unsigned const next = (i + 1) % count;
        mesh.faces.push_back({i, count + i, count + next});
        mesh.faces.push_back({i, count + next, next});
    }
    return mesh;
}

TEST(SurfaceRepair, coversAHoleWithTheLeastArea) {
    EvenNoise noise(42);
    for (unsigned count = 3; count < 10; ++count) {
        for (int repeat = 0; repeat < 20; ++repeat) {
            FaceMesh mesh = ringAround(count, noise);
            double const before = areaOf(mesh);
            std::vector<Point> hole(mesh.points.begin(), mesh.points.begin() + count);
            ASSERT_EQ(repairSurface(mesh, closingUpTo(count)).closedCount, 1U);
            EXPECT_EQ(mesh.faces.size(), 2 * count + count - 2);
            EXPECT_NEAR(areaOf(mesh) - before, smallestCover(hole), 1e-4);
        }
    }
}

TEST(SurfaceRepair, takesNoSideForAHoleThatIsTakenAlready) {
    // A hole of three sides, over one of which a triangle stands upright. The hole of four sides that is left
    // would be covered with the least area by doubling that triangle.
    EvenNoise noise(3);
    FaceMesh mesh = ringAround(3, noise);
    Vector const half = (mesh.points[1] - mesh.points[0]) * 0.5;
    mesh.points.push_back(mesh.points[0] + half + Vector(0.0, 0.0, 4.0));
    mesh.faces.push_back({0, 1, 6});
    std::vector<Point> const hole = {mesh.points[0], mesh.points[6], mesh.points[1], mesh.points[2]};
    double const before = areaOf(mesh);
    ASSERT_EQ(repairSurface(mesh, closingUpTo(4)).closedCount, 1U);
    EXPECT_GT(areaOf(mesh) - before, smallestCover(hole) + 0.1);
    std::set<std::pair<unsigned, unsigned>> sides;
    for (auto const& [a, b, c] : mesh.faces) {
        EXPECT_TRUE(sides.emplace(a, b).second);
        EXPECT_TRUE(sides.emplace(b, c).second);
        EXPECT_TRUE(sides.emplace(c, a).second);
    }
}

TEST(SurfaceRepair, leavesAHoleOpenThatHasNoArea) {
    EvenNoise noise(1);
    FaceMesh mesh = ringAround(3, noise);
    mesh.points[0] = Point(0.0, 0.0, 0.0);
    mesh.points[1] = Point(1.0, 0.0, 0.0);
    mesh.points[2] = Point(2.0, 0.0, 0.0);
    EXPECT_EQ(repairSurface(mesh, closingUpTo(3)).closedCount, 0U);
    EXPECT_EQ(mesh.faces.size(), 6U);
}

TEST(SurfaceRepair, countsTheHandlesThatAreLeft) {
    // A ring of rings with one square left out: a sheet that passes over itself once.
    FaceMesh mesh;
    unsigned const around = 6;
    for (unsigned i = 0; i < around; ++i) {
        for (unsigned j = 0; j < around; ++j) {
            double const a = 2.0 * std::numbers::pi * i / around;
            double const b = 2.0 * std::numbers::pi * j / around;
            mesh.points.emplace_back((5.0 + std::cos(b)) * std::cos(a), (5.0 + std::cos(b)) * std::sin(a),
                                     std::sin(b));
        }
    }
    auto const at = [](unsigned i, unsigned j) { return i % around * around + j % around; };
    for (unsigned i = 0; i < around; ++i) {
        for (unsigned j = 0; j < around; ++j) {
            mesh.faces.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            mesh.faces.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
    FaceMesh closed = mesh;
    EXPECT_EQ(repairSurface(closed, {}).handleCount, 1U);
    mesh.faces.resize(mesh.faces.size() - 2);
    EXPECT_EQ(repairSurface(mesh, {}).handleCount, 1U);
    EXPECT_EQ(mesh.faces.size(), 70U);
}

/// Points of a bumpy sheet, at random places.
std::string bumpyCloud(std::uint32_t seed, int count) {
    EvenNoise noise(seed);
    std::string text;
    for (int i = 0; i < count; ++i) {
        double const x = 20.0 * noise.even();
        double const y = 20.0 * noise.even();
        text += std::to_string(x) + " " + std::to_string(y) + " " +
                std::to_string(2.0 * std::sin(0.5 * x) * std::cos(0.4 * y)) + "\n";
    }
    return text;
}

std::string flatteningComplaint(ScratchDirectory const& directory, FaceMesh const& surface) {
    writeFaces(surface, directory / "surface.obj");
    Mesh mesh;
    loadObj(mesh, directory / "surface.obj");
    return messageOf([&] { flatten(mesh, FlatteningMode::Pinned, nullptr); });
}

TEST(Reconstruction, ofScatteredPointsCanBeFlattened) {
    ScratchDirectory const directory;
    int refusedCount = 0;
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        writeText(directory / "c.xyz", bumpyCloud(seed, 400));
        auto const [surface, report] = reconstructFrom(directory / "c.xyz", closingUpTo(8));
        EXPECT_EQ(flatteningComplaint(directory, surface), "") << seed;
        EXPECT_GT(surface.faces.size(), 600U) << seed;

        QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
        for (Point const& point : surface.points) {
            cloud.addPoint(point);
        }
        Mesh untouched;
        untouched.construct(cloud);
        refusedCount += flatteningComplaint(directory, faceMeshOf(untouched)).empty() ? 0 : 1;
    }
    EXPECT_GT(refusedCount, 0) << "these clouds need no repair: the test shows nothing";
}

TEST(Reconstruction, startsOnTheOtherSideOfTheClosestPairIfItMust) {
    // The first two points are the closest, and the third lies on their right as seen from above.
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "0 0 0\n1 0 0\n0.5 -2 0\n");
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    cloud.addPoint(Point(0.0, 0.0, 0.0));
    cloud.addPoint(Point(1.0, 0.0, 0.0));
    cloud.addPoint(Point(0.5, -2.0, 0.0));
    Mesh mesh;
    EXPECT_EQ(messageOf([&] { mesh.construct(cloud); }), "Cannot add floating triangle");
    auto const surface = reconstructFrom(directory / "c.xyz", {}).surface;
    EXPECT_EQ(surface.faces.size(), 1U);
    EXPECT_TRUE(isWoundUp(surface));
}

TEST(Reconstruction, tellsThatNoTriangleIsLeft) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "0 0 0\n1 0 0\n0.5 2 0\n");
    RepairOptions options;
    options.longestSide = 1.5;
    EXPECT_EQ(messageOf([&] { reconstructFrom(directory / "c.xyz", options); }),
              (directory / "c.xyz").string() + ": no triangle's sides are all that short");
}

/// Each face from its least point on, in one order for all.
std::vector<Face> orderedFaces(FaceMesh const& mesh) {
    std::vector<Face> faces = mesh.faces;
    for (Face& face : faces) {
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    }
    std::sort(faces.begin(), faces.end());
    return faces;
}

TEST(FaceMesh, readsBackAsTheSamePointsAndFaces) {
    ScratchDirectory const directory;
    EvenNoise noise(7);
    FaceMesh const written = ringAround(5, noise);
    writeFaces(written, directory / "ring.obj");
    Mesh mesh;
    loadObj(mesh, directory / "ring.obj");
    FaceMesh const read = faceMeshOf(mesh);
    EXPECT_EQ(orderedFaces(read), orderedFaces(written));
    ASSERT_EQ(read.points.size(), written.points.size());
    for (std::size_t i = 0; i < read.points.size(); ++i) {
        EXPECT_TRUE(read.points[i] == written.points[i]) << i;
    }
}

} // namespace
} // namespace QELT::Inspection
