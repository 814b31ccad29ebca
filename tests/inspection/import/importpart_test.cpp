#include "Inspection/import/importpart.h"

#include "Inspection/import/internal/triangulation.h"
#include "Inspection/import/internal/welding.h"
#include "Inspection/import/objfile.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <locale>
#include <random>
#include <set>

namespace QELT::Inspection {
namespace {

using namespace Testing;

using SpacePoint = std::array<double, 3>;

/// Triangles as the coordinates of their corners, each beginning with its least, in any order.
std::multiset<std::vector<SpacePoint>> trianglesIn(std::filesystem::path const& path) {
    PartAsRead const part = readPartFile(path);
    std::multiset<std::vector<SpacePoint>> triangles;
    for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
        std::vector<SpacePoint> triangle;
        for (std::uint32_t const corner : part.polygon(i)) {
            triangle.push_back(part.points[corner]);
        }
        EXPECT_EQ(triangle.size(), 3U);
        std::rotate(triangle.begin(), std::min_element(triangle.begin(), triangle.end()), triangle.end());
        triangles.insert(triangle);
    }
    return triangles;
}

ImportResult importText(ScratchDirectory const& directory, Sample const& sample,
                        std::string const& out = "out.obj") {
    writeText(directory / sample.name, sample.content);
    ImportOptions options;
    options.in = directory / sample.name;
    options.out = directory / out;
    return importPart(options);
}

/// Twice the area that the triangles of a flat polygon cover, each with its sign.
std::vector<double> doubleAreas(PolygonTriangles const& cut, std::vector<SpacePoint> const& points) {
    std::vector<double> areas;
    for (auto const& t : cut.triangles) {
        SpacePoint const& a = points[t[0]];
        SpacePoint const& b = points[t[1]];
        SpacePoint const& c = points[t[2]];
        areas.push_back((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]));
    }
    return areas;
}

std::vector<std::uint32_t> countTo(std::size_t count) {
    std::vector<std::uint32_t> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(static_cast<std::uint32_t>(i));
    }
    return numbers;
}

TEST(ImportPart, givesTheSameMeshOfTheCubeInAllFormats) {
    ScratchDirectory const directory;
    std::multiset<std::vector<SpacePoint>> expected;
    for (Sample const& sample : cubeSamples()) {
        SCOPED_TRACE(sample.name);
        ImportResult const result = importText(directory, sample, "out.obj");
        bool const isStl = sample.name.ends_with(".stl");
        EXPECT_TRUE(result.isMesh);
        EXPECT_EQ(result.pointsIn, isStl ? 36U : 8U);
        EXPECT_EQ(result.pointsOut, 8U);
        EXPECT_EQ(result.weldedCount, isStl ? 28U : 0U);
        EXPECT_EQ(result.weldTolerance.has_value(), isStl);
        EXPECT_EQ(result.polygonCount, isStl ? 12U : 6U);
        EXPECT_EQ(result.trianglesIn, 12U);
        EXPECT_EQ(result.trianglesOut, 12U);
        EXPECT_EQ(result.degenerateCount + result.unusedCount + result.crossingCount, 0U);
        EXPECT_FALSE(result.liesFarOut());
        auto const triangles = trianglesIn(directory / "out.obj");
        expected = expected.empty() ? triangles : expected;
        EXPECT_EQ(triangles.size(), 12U);
        EXPECT_EQ(triangles, expected);
    }
}

TEST(ImportPart, losesNoHalfOfQuadsAmongTriangles) {
    ScratchDirectory const directory;
    auto const result = importText(
        directory, {"a.off", "OFF\n5 2 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 0 0\n4 0 1 2 3\n3 1 4 2\n"});
    EXPECT_EQ(result.polygonCount, 2U);
    EXPECT_EQ(result.trianglesIn, 3U);
    EXPECT_EQ(result.trianglesOut, 3U);
    EXPECT_EQ(readText(directory / "out.obj"),
              "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nf 1 2 3\nf 1 3 4\nf 2 5 3\n");
    Mesh mesh;
    loadObj(mesh, directory / "out.obj");
    EXPECT_EQ(mesh.getNumberOfVertices(), 5U);
}

TEST(ImportPart, leavesOutAndCountsTrianglesWithAPointTwice) {
    ScratchDirectory const directory;
    auto const result = importText(
        directory, {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 7 7 7\nv 8 8 8\nf 1 2 3\nf 1 1 2\nf 4 4 1\n"});
    EXPECT_EQ(result.trianglesIn, 3U);
    EXPECT_EQ(result.trianglesOut, 1U);
    EXPECT_EQ(result.degenerateCount, 2U);
    EXPECT_EQ(result.unusedCount, 1U);
    EXPECT_EQ(result.pointsOut, 3U);
}

TEST(ImportPart, scalesAndWeldsInTheUnitOfTheResult) {
    ScratchDirectory const directory;
    writeText(directory / "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 0.999 0 0\nf 1 2 3\nf 5 4 3\n");
    ImportOptions options{directory / "a.obj", directory / "out.obj", 0.02, 10.0};
    EXPECT_EQ(importPart(options).weldedCount, 1U);
    EXPECT_EQ(readText(directory / "out.obj"), "v 0 0 0\nv 10 0 0\nv 0 10 0\nv 10 10 0\nf 1 2 3\nf 2 4 3\n");
    options.weldTolerance = 0.009;
    EXPECT_EQ(importPart(options).weldedCount, 0U);
    options.scale = 0.0;
    EXPECT_EQ(messageOf([&] { importPart(options); }), "the scale must be above 0");
    options.scale = 1e300;
    EXPECT_EQ(messageOf([&] { importPart(options); }),
              (directory / "a.obj").string() + ": point 2 lies too far out");
    options.scale = 1.0;
    options.weldTolerance = -1.0;
    EXPECT_EQ(messageOf([&] { importPart(options); }), "the tolerance of welding must be 0 or a length");
}

TEST(ImportPart, writesPointsAsACloud) {
    ScratchDirectory const directory;
    Sample const cloud{"a.off", "OFF\n2 0 0\n0.1 2 3\n4 5 6\n"};
    auto const result = importText(directory, cloud, "out.xyz");
    EXPECT_FALSE(result.isMesh);
    EXPECT_EQ(result.pointsOut, 2U);
    EXPECT_EQ(readText(directory / "out.xyz"), "0.1 2 3\n4 5 6\n");
    EXPECT_EQ(messageOf([&] { importText(directory, cloud, "out.obj"); }),
              (directory / "a.off").string() +
                  ": holds points and no polygons; name an output that ends in .xyz");
}

TEST(ImportPart, writesTheSameUnderALocaleThatGroupsDigits) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }

        char do_decimal_point() const override { return ','; }

        std::string do_grouping() const override { return "\1"; }
    };

    ScratchDirectory const directory;
    auto const before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    importText(directory, {"cube.off", offText()});
    importText(directory,
               {"a.off", "OFF\n12 1 0\n" + cubeRows() + "0.5 0 0\n0 1 0\n1 0 0\n10 0 0\n3 8 9 11\n"},
               "many.obj");
    std::locale::global(before);
    EXPECT_EQ(trianglesIn(directory / "out.obj").size(), 12U);
    EXPECT_EQ(readText(directory / "many.obj"), "v 0.5 0 0\nv 0 1 0\nv 10 0 0\nf 1 2 3\n");
}

TEST(ImportPart, refusesToWriteWhereItWouldDoHarm) {
    ScratchDirectory const directory;
    writeText(directory / "cube.obj", objText());
    ImportOptions options{directory / "cube.obj", directory / "cube.obj", {}, 1.0};
    EXPECT_EQ(messageOf([&] { importPart(options); }), options.out.string() + ": is also the input");
    EXPECT_EQ(readText(directory / "cube.obj"), objText());
    options.out = directory / "cube.stl";
    EXPECT_EQ(messageOf([&] { importPart(options); }),
              options.out.string() + ": the name must end in .obj for a mesh, in .xyz for points");
    options.out = directory / "out.obj";
    writeText(cutFileOf(options.out), "");
    EXPECT_NE(messageOf([&] { importPart(options); }).find("the cut of another mesh lies beside it"),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(options.out));
}

TEST(ImportPart, tellsOfAPartFarFromTheOrigin) {
    ScratchDirectory const directory;
    auto const result =
        importText(directory, {"a.off", "OFF\n3 1 0\n500000 0 0\n500003 0 0\n500000 4 0\n3 0 1 2\n"});
    EXPECT_TRUE(result.liesFarOut());
    EXPECT_EQ(result.reach, 500003.0);
    EXPECT_EQ(result.size, 5.0);
    EXPECT_EQ(result.floatStep, 1.0 / 32.0);
}

TEST(Welding, givesTheLowestNumberAndMovesNoPoint) {
    std::vector<SpacePoint> const points{{1, 0, 0},    {0, 0, 0},    {0.5, 0, 0},
                                         {1.25, 0, 0}, {-0.0, 0, 0}, {2, 0, 0}};
    auto const welded = weld(points, 0.5);
    EXPECT_EQ(welded.points, (std::vector<SpacePoint>{{1, 0, 0}, {0, 0, 0}, {2, 0, 0}}));
    EXPECT_EQ(welded.newIndices, (std::vector<std::uint32_t>{0, 1, 0, 0, 1, 2}));
    EXPECT_EQ(weld(points, 0.0).newIndices, (std::vector<std::uint32_t>{0, 1, 2, 3, 1, 4}));
}

TEST(Welding, endsWhereCellsHaveNoNumbers) {
    std::vector<SpacePoint> const points{{1e38, 0, 0}, {1e38, 1e-294, 0}, {-1e38, 0, 0}};
    EXPECT_EQ(weld(points, 1e-300).newIndices, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(Welding, agreesWithATestOfAllPairs) {
    std::mt19937 random(8);
    auto const below = [&](unsigned count) { return static_cast<double>(random() % count); };
    for (double const offset : {0.0, -7.0, 1e9, 3e38}) {
        for (double const tolerance : {0.0, 1e-50, 0.3, 1.0, 2.5, 40.0}) {
            std::vector<SpacePoint> points;
            for (int i = 0; i < 300; ++i) {
                points.push_back({offset + 0.5 * below(20), 0.5 * below(20), 0.5 * below(4)});
            }
            std::vector<SpacePoint> kept;
            std::vector<std::uint32_t> indices;
            for (SpacePoint const& p : points) {
                std::size_t k = 0;
                while (k < kept.size() &&
                       std::hypot(kept[k][0] - p[0], kept[k][1] - p[1], kept[k][2] - p[2]) > tolerance) {
                    ++k;
                }
                indices.push_back(static_cast<std::uint32_t>(k));
                if (k == kept.size()) {
                    kept.push_back(p);
                }
            }
            auto const welded = weld(points, tolerance);
            EXPECT_EQ(welded.points, kept) << offset << ' ' << tolerance;
            EXPECT_EQ(welded.newIndices, indices) << offset << ' ' << tolerance;
        }
    }
}

TEST(Triangulation, cutsAConcavePolygonWithoutOverlapFromAnySide) {
    // An L: a fan around its first corner would leave it.
    std::vector<SpacePoint> const points{{2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 0}};
    for (std::size_t shift = 0; shift < points.size(); ++shift) {
        auto polygon = countTo(points.size());
        std::rotate(polygon.begin(), polygon.begin() + static_cast<std::ptrdiff_t>(shift), polygon.end());
        for (double const sign : {1.0, -1.0}) {
            auto const cut = triangulate(polygon, points);
            ASSERT_EQ(cut.triangles.size(), 4U);
            EXPECT_TRUE(cut.isSimple);
            double sum = 0.0;
            for (double const area : doubleAreas(cut, points)) {
                EXPECT_GT(area * sign, 0.0);
                sum += area;
            }
            EXPECT_EQ(sum, 6.0 * sign);
            std::reverse(polygon.begin(), polygon.end());
        }
    }
}

TEST(Triangulation, cutsStarsAndCombsInAnyPlane) {
    std::mt19937 random(3);
    for (int round = 0; round < 50; ++round) {
        std::size_t const count = 5 + random() % 60;
        std::vector<SpacePoint> flat;
        double expected = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            double const angle = 6.283185307179586 * static_cast<double>(i) / static_cast<double>(count);
            double const radius = 1.0 + 0.01 * static_cast<double>(random() % 1000);
            flat.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
        }
        for (std::size_t i = 0; i < count; ++i) {
            SpacePoint const& a = flat[i];
            SpacePoint const& b = flat[(i + 1) % count];
            expected += a[0] * b[1] - a[1] * b[0];
        }
        std::vector<SpacePoint> tilted;
        for (SpacePoint const& p : flat) {
            tilted.push_back({p[1], 0.3 * p[0] - 0.2 * p[1], p[0]});
        }
        auto const cut = triangulate(countTo(count), tilted);
        ASSERT_EQ(cut.triangles.size(), count - 2);
        EXPECT_TRUE(cut.isSimple);
        double sum = 0.0;
        for (double const area : doubleAreas(cut, flat)) {
            EXPECT_GT(area, 0.0);
            sum += area;
        }
        EXPECT_NEAR(sum, expected, 1e-12 * expected);
    }
}

TEST(Triangulation, givesTrianglesAreaWhereCornersStandInALine) {
    std::vector<SpacePoint> const points{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {0, 1, 0}};
    for (double const area : doubleAreas(triangulate(countTo(6), points), points)) {
        EXPECT_GT(area, 0.0);
    }
}

TEST(Triangulation, losesNoTriangleOfAPolygonThatCrossesItself) {
    std::vector<SpacePoint> const points{{0, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0, 2, 0}, {1, 5, 0}};
    auto const cut = triangulate(std::vector<std::uint32_t>{0, 1, 2, 3}, points);
    EXPECT_EQ(cut.triangles.size(), 2U);
    auto const line = triangulate(std::vector<std::uint32_t>{0, 0, 0, 0, 0}, points);
    EXPECT_EQ(line.triangles.size(), 3U);
}

} // namespace
} // namespace QELT::Inspection
