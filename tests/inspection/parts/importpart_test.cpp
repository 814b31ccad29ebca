#include "Inspection/parts/importpart.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <locale>
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
    ImportOptions options{directory / "a.obj", directory / "out.obj", 0.02, 10.0, sameAxes, false};
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
    ImportOptions options{directory / "cube.obj", directory / "cube.obj", {}, 1.0, sameAxes, false};
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

TEST(ImportPart, movesAPartNearTheOriginUnlessItIsToStay) {
    ScratchDirectory const directory;
    Sample const far{"a.off", "OFF\n3 1 0\n500000 0 0\n500003 0 0\n500000 4 0\n3 0 1 2\n"};
    auto const result = importText(directory, far);
    EXPECT_TRUE(result.liesFarOut());
    EXPECT_EQ(result.reach, 500003.0);
    EXPECT_EQ(result.size, 5.0);
    EXPECT_EQ(result.floatStep, 1.0 / 32.0);
    EXPECT_EQ(result.offset, (SpacePoint{500002.0, 0.0, 0.0}));
    EXPECT_EQ(readText(directory / "out.obj"), "v -2 0 0\nv 1 0 0\nv -2 4 0\nf 1 2 3\n");
    ImportOptions options{directory / "a.off", directory / "out.obj", {}, 1.0, sameAxes, true};
    EXPECT_FALSE(importPart(options).isMoved());
    EXPECT_EQ(readText(directory / "out.obj"), "v 5e+05 0 0\nv 500003 0 0\nv 5e+05 4 0\nf 1 2 3\n");
}

TEST(ImportPart, mapsAxesAndTurnsTrianglesOfAMirror) {
    ScratchDirectory const directory;
    writeText(directory / "a.off", "OFF\n3 1 0\n0 0 1\n2 0 1\n0 3 1\n3 0 1 2\n");
    ImportOptions options{
        directory / "a.off", directory / "out.obj", {}, 1.0, *parseAxisMap("x,-z,y"), false};
    importPart(options);
    EXPECT_EQ(readText(directory / "out.obj"), "v 0 -1 0\nv 2 -1 0\nv 0 -1 3\nf 1 2 3\n");
    options.axes = *parseAxisMap("-x,y,z");
    EXPECT_TRUE(importPart(options).isMirrored);
    EXPECT_EQ(readText(directory / "out.obj"), "v 0 0 1\nv -2 0 1\nv 0 3 1\nf 1 3 2\n");
}

TEST(ImportPart, keepsTheNormalsOfACloudBehindItsPoints) {
    ScratchDirectory const directory;
    importText(directory, {"a.csv", "nz;x;y;z;nx;ny\n1;2,5;3;4;0;0\n"}, "out.xyz");
    EXPECT_EQ(readText(directory / "out.xyz"), "2.5 3 4 0 0 1\n");
}

TEST(ImportPart, writesThePointsOfAMeshAsACloudIfAsked) {
    ScratchDirectory const directory;
    auto const result = importText(directory, {"cube.stl", stlText()}, "out.xyz");
    EXPECT_TRUE(result.isMesh);
    EXPECT_EQ(result.pointsIn, 36U);
    EXPECT_EQ(result.pointsOut, 8U);
}

} // namespace
} // namespace QELT::Inspection
