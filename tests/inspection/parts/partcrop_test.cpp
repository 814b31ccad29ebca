#include "Inspection/parts/partcrop.h"

#include "Inspection/maps/flattening.h"
#include "tests/inspection/parts/partshapes.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <random>

namespace QELT::Inspection {
namespace {

using namespace Testing;

constexpr double degree = fullTurn / 360.0;

/// What was cut out can be loaded and flattened.
void expectPreparable(FaceMesh const& mesh) {
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_FALSE(isAnyInTheWay(faultsOf(mesh, analysis, "part.obj")));
    Mesh built(mesh.points, mesh.faces);
    flatten(built, FlatteningMode::Pinned, nullptr);
    EXPECT_EQ(built.getNumberOfVertices(), mesh.points.size());
}

TEST(PartCrop, KeepsWhatLiesInABox) {
    FaceMesh mesh = flatSheet(6, 6);
    CropChoice choice;
    choice.boxes.push_back({{0.5, 1.0, -1.0}, {4.5, 3.0, 1.0}});
    CropReport const report = cropFaces(mesh, choice);
    EXPECT_EQ(report.keptCount, 2U * 3U * 2U);
    EXPECT_EQ(report.unwantedCount, 72U - 12U);
    EXPECT_EQ(mesh.points.size(), 4U * 3U);
    EXPECT_EQ(mesh.points.front(), Point(1.0, 1.0, 0.0));
    expectPreparable(mesh);
}

TEST(PartCrop, KeepsTheSideOfAPlane) {
    FaceMesh mesh = sphere(19, 24);
    CropChoice choice;
    choice.planes.push_back({{0.0, 0.0, -1e-3}, {0.0, 0.0, 2.0}});
    cropFaces(mesh, choice);
    EXPECT_EQ(mesh.faces.size(), 9U * 48U + 24U);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_EQ(analysis.rims[0].points.size(), 24U);
    expectPreparable(mesh);
    choice.planes.push_back({{0.0, 0.0, 5.0}, {0.0, 0.0, -1.0}});
    choice.planes.push_back({{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}});
    cropFaces(mesh, choice);
    expectPreparable(mesh);
}

TEST(PartCrop, KeepsWhatFacesThatWay) {
    FaceMesh mesh = sphere(35, 36);
    CropChoice choice;
    choice.facing = CropFacing{{0.0, 0.0, 3.0}, 60.0 * degree};
    cropFaces(mesh, choice);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_NEAR(analysis.low.getZ(), 10.0 * std::cos(60.0 * degree), 1.0);
    EXPECT_EQ(analysis.rims.size(), 1U);
    expectPreparable(mesh);
}

TEST(PartCrop, GrowsUpToCreases) {
    for (double const x : {-1.0, 4.0, 9.0}) {
        FaceMesh mesh = box(8.0, 8.0, 8.0);
        CropChoice choice;
        choice.growth = CropGrowth{{x, 3.0, x < 0.0 || x > 8.0 ? 4.0 : 10.0}, 30.0 * degree};
        EXPECT_EQ(cropFaces(mesh, choice).keptCount, 2U);
        Point const expected(x < 0.0 ? 0.0 : 8.0, 8.0, 8.0);
        EXPECT_EQ(analysePart(mesh).high, expected);
        EXPECT_DOUBLE_EQ(analysePart(mesh).area, 64.0);
    }
}

TEST(PartCrop, KeepsTheSheetOfThePlaceAndElseTheLargest) {
    FaceMesh both = flatSheet(5, 5);
    append(both, flatSheet(3, 3), {20.0, 0.0, 0.0});
    CropChoice choice;
    choice.facing = CropFacing{{0.0, 0.0, 1.0}, 10.0 * degree};
    FaceMesh largest = both;
    CropReport const report = cropFaces(largest, choice);
    EXPECT_EQ(report.keptCount, 50U);
    EXPECT_EQ(report.sheetCount, 1U);
    EXPECT_EQ(report.sheetFaceCount, 18U);
    choice.growth = CropGrowth{{21.0, 1.0, 4.0}, 10.0 * degree};
    EXPECT_EQ(cropFaces(both, choice).keptCount, 18U);
}

TEST(PartCrop, KeepsIslandsIfAsked) {
    FaceMesh mesh = flatSheet(10, 10);
    mesh.points[5 * 11 + 5] = Point(5.0, 5.0, 3.0); // its six faces stand too steep
    FaceMesh other = mesh;
    CropChoice choice;
    choice.facing = CropFacing{{0.0, 0.0, 1.0}, 30.0 * degree};
    EXPECT_EQ(cropFaces(mesh, choice).unwantedCount, 6U);
    EXPECT_EQ(analysePart(mesh).rims.size(), 2U);
    choice.islandShare = 0.2;
    CropReport const report = cropFaces(other, choice);
    EXPECT_EQ(report.islandFaceCount, 6U);
    EXPECT_EQ(report.unwantedCount, 0U);
    EXPECT_EQ(analysePart(other).rims.size(), 1U);
}

TEST(PartCrop, TakesSheetsThatMeetInAPointApart) {
    FaceMesh mesh = flatSheet(4, 4);
    mesh.faces.erase(mesh.faces.begin() + 2 * 14, mesh.faces.begin() + 2 * 15);
    mesh.faces.erase(mesh.faces.begin() + 2 * 11, mesh.faces.begin() + 2 * 12);
    CropChoice choice;
    choice.planes.push_back({{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}});
    CropReport const report = cropFaces(mesh, choice);
    EXPECT_EQ(report.sheetCount, 1U);
    EXPECT_EQ(report.sheetFaceCount + report.pinchedCount, 2U);
    EXPECT_EQ(report.keptCount, 26U);
    expectPreparable(mesh);
}

TEST(PartCrop, SaysWhatIsWrongWithTheChoice) {
    FaceMesh mesh = sphere(5, 8);
    CropChoice choice;
    choice.planes.push_back({{0.0, 0.0, 99.0}, {0.0, 0.0, 1.0}});
    FaceMesh copy = mesh;
    EXPECT_EQ(messageOf([&] { cropFaces(copy, choice); }),
              "no face fits what is to be kept; cscan check tells the part's size");
    choice.planes[0].place = Point(0.0, 0.0, -99.0);
    EXPECT_EQ(messageOf([&] { cropFaces(mesh, choice); }),
              "nothing is cut off, what is kept is still closed; narrow the choice, as with --facing and "
              "--angle");
}

TEST(PartCrop, LeavesAManifoldOfARoughPart) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 60; ++trial) {
        FaceMesh mesh = sphere(14, 20);
        for (Point& point : mesh.points) {
            double const noise = 0.08 * (static_cast<double>(random() % 1000) / 500.0 - 1.0);
            point = Point() + (point - Point()) * (1.0 + noise);
        }
        CropChoice choice;
        choice.facing = CropFacing{{1.0, 0.3 * trial, 0.5}, (30.0 + trial) * degree};
        choice.islandShare = trial % 2 == 0 ? 0.01 : 0.0;
        if (trial % 3 == 0) {
            choice.growth = CropGrowth{{10.0, 0.0, 0.0}, 40.0 * degree};
        }
        cropFaces(mesh, choice);
        expectPreparable(mesh);
    }
}

TEST(PartCrop, WritesWhatItCutsOutAndTellsWhatIsNext) {
    ScratchDirectory const directory;
    writeFaces(sphere(19, 24), directory / "ball.obj");
    CropOptions options{directory / "ball.obj", directory / "face.obj", {}};
    options.choice.facing = CropFacing{{0.0, 0.0, 1.0}, 60.0 * degree};
    CropResult const result = cropPart(options, nullptr);
    EXPECT_TRUE(result.canBePrepared());
    ASSERT_EQ(result.nextCommands.size(), 1U);
    EXPECT_EQ(result.nextCommands[0].rfind("cscan prepare " + (directory / "face.obj").string() + " ", 0), 0U)
        << result.nextCommands[0];
    Mesh mesh;
    mesh.load((directory / "face.obj").c_str());
    EXPECT_EQ(mesh.getNumberOfVertices(), result.analysis.pointCount);
    options.result = options.part.file;
    EXPECT_EQ(messageOf([&] { cropPart(options, nullptr); }), options.part.string() + ": is also the input");
}

} // namespace
} // namespace QELT::Inspection
