#include "Inspection/parts/partrepair.h"

#include "Inspection/parts/partanalysis.h"
#include "tests/inspection/parts/partshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace QELT::Inspection {
namespace {

using namespace Testing;

/// All that a repair tells to have changed.
std::size_t changesOf(PartRepairReport const& r) {
    return r.weldedCount + r.strayCount + r.collapsedCount + r.duplicateCount + r.flatCount + r.crowdedCount +
           r.lesserCount + r.turnedCount + r.splitCount + r.closedCount + r.unusedCount;
}

bool isAmong(Point const& point, std::vector<Point> const& points) {
    return std::find(points.begin(), points.end(), point) != points.end();
}

TEST(PartRepair, LeavesASoundPartAsItIs) {
    for (FaceMesh const& before : {flatSheet(4, 3), sphere(6, 9), torus(7, 9), tube(4, 9)}) {
        FaceMesh mesh = before;
        EXPECT_EQ(changesOf(repairPart(mesh, {})), 0U);
        EXPECT_EQ(mesh.faces, before.faces);
        EXPECT_EQ(mesh.points, before.points);
    }
}

TEST(PartRepair, WeldsWithinAMillionthOfTheSizeUnlessTold) {
    FaceMesh mesh = flatSheet(2, 2);
    append(mesh, flatSheet(2, 2), {2.0 + 1e-6, 0.0, 0.0});
    FaceMesh asTold = mesh;
    PartRepairReport const report = repairPart(mesh, {});
    EXPECT_NEAR(report.weldTolerance, std::sqrt(20.0) * 1e-6, 1e-11);
    EXPECT_EQ(report.weldedCount, 3U);
    EXPECT_EQ(analysePart(mesh).pieces.size(), 1U);
    PartRepairOptions exact;
    exact.weldTolerance = 0.0;
    EXPECT_EQ(repairPart(asTold, exact).weldedCount, 0U);
}

TEST(PartRepair, LeavesFaultyFacesOut) {
    FaceMesh mesh = flatSheet(3, 3);
    auto const sound = mesh.faces;
    mesh.faces.push_back({0, 1, 99});
    mesh.faces.push_back({2, 2, 3});
    mesh.faces.push_back(mesh.faces[4]);
    mesh.points.emplace_back(1.0, 1.0, 5.0);
    PartRepairReport const report = repairPart(mesh, {});
    EXPECT_EQ(report.strayCount, 1U);
    EXPECT_EQ(report.collapsedCount, 1U);
    EXPECT_EQ(report.duplicateCount, 1U);
    EXPECT_EQ(report.unusedCount, 1U);
    EXPECT_EQ(mesh.faces, sound);
}

TEST(PartRepair, DividesTheNeighbourOfAFaceWithoutArea) {
    FaceMesh mesh;
    mesh.points = {{0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, {1.0, 2.0, 0.0}, {1.0, 0.0, 0.0}, {1.0, -1.0, 0.0}};
    mesh.faces = {{0, 1, 2}, {0, 3, 1}, {0, 4, 3}, {3, 4, 1}}; // the second lies on the side of the first
    PartRepairReport const report = repairPart(mesh, {});
    EXPECT_EQ(report.flatCount, 1U);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.faceCount, 4U);
    EXPECT_EQ(analysis.flatFaces.count, 0U);
    EXPECT_EQ(analysis.turnedFaces.count, 0U);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_EQ(analysis.rims[0].points.size(), 4U);
    EXPECT_DOUBLE_EQ(analysis.area, 3.0);
}

TEST(PartRepair, DividesThroughSeveralFacesWithoutAreaSideBySide) {
    FaceMesh mesh;
    mesh.points = {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {1.0, 2.0, 0.0}, {1.0, 0.0, 0.0},
                   {2.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, {2.0, -1.0, 0.0}};
    mesh.faces = {{0, 1, 2}, {0, 3, 1}, {3, 4, 1}, {4, 5, 1}, {0, 6, 3}, {3, 6, 4}, {4, 6, 5}, {5, 6, 1}};
    EXPECT_EQ(repairPart(mesh, {}).flatCount, 3U);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.flatFaces.count, 0U);
    EXPECT_EQ(analysis.crowdedSides.count, 0U);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_DOUBLE_EQ(analysis.area, 6.0);
}

TEST(PartRepair, LeavesAFaceWithoutAreaOutAtARim) {
    FaceMesh mesh;
    mesh.points = {{0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.5, 1.0, 0.0}};
    mesh.faces = {{0, 1, 2}, {0, 2, 3}};
    EXPECT_EQ(repairPart(mesh, {}).flatCount, 1U);
    EXPECT_EQ(mesh.faces.size(), 1U);
    EXPECT_EQ(mesh.points.size(), 3U);
}

TEST(PartRepair, KeepsWhatGoesOnSmoothlyAtCrowdedSides) {
    FaceMesh mesh = flatSheet(2, 1);
    mesh.points.emplace_back(1.0, 0.5, 1.0);
    mesh.faces.insert(mesh.faces.begin(), {1, 4, 6}); // stands up from the middle
    PartRepairReport const report = repairPart(mesh, {});
    EXPECT_EQ(report.crowdedCount, 1U);
    EXPECT_EQ(report.unusedCount, 1U);
    EXPECT_EQ(mesh.faces, flatSheet(2, 1).faces);
}

TEST(PartRepair, TurnsTheLesserPartOfEachPiece) {
    FaceMesh mesh = flatSheet(4, 4);
    append(mesh, sphere(5, 8), {30.0, 0.0, 0.0});
    FaceMesh const sound = mesh;
    std::mt19937 random(7);
    std::size_t turned = 0;
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (random() % 5 == 0) {
            std::swap(mesh.faces[i][1], mesh.faces[i][2]);
            ++turned;
        }
    }
    EXPECT_EQ(repairPart(mesh, {}).turnedCount, turned);
    EXPECT_EQ(mesh.faces, sound.faces);
}

TEST(PartRepair, LeavesASurfaceOfOneSideAsItIs) {
    FaceMesh mesh = twistedBand(20);
    FaceMesh const before = mesh;
    PartRepairOptions options;
    options.largestHole = 100;
    EXPECT_EQ(changesOf(repairPart(mesh, options)), 0U);
    EXPECT_EQ(mesh.faces, before.faces);
}

TEST(PartRepair, SplitsPointsInWhichSheetsMeet) {
    FaceMesh mesh = flatSheet(2, 2);
    mesh.faces.erase(mesh.faces.begin() + 6, mesh.faces.end());
    mesh.faces.erase(mesh.faces.begin(), mesh.faces.begin() + 2);
    PartRepairReport const report = repairPart(mesh, {});
    EXPECT_EQ(report.splitCount, 1U);
    EXPECT_EQ(report.unusedCount, 2U);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.pinchedPoints.count, 0U);
    EXPECT_EQ(analysis.coincidentPoints.count, 1U);
    EXPECT_DOUBLE_EQ(analysis.area, 2.0);
}

TEST(PartRepair, KeepsTheLargestPieceInAreaIfAsked) {
    FaceMesh mesh = sphere(20, 30, 1.0);
    append(mesh, flatSheet(10, 10), {30.0, 0.0, 0.0});
    FaceMesh both = mesh;
    EXPECT_EQ(repairPart(both, {}).lesserCount, 0U);
    EXPECT_EQ(analysePart(both).pieces.size(), 2U);
    PartRepairOptions options;
    options.doKeepLargest = true;
    PartRepairReport const report = repairPart(mesh, options);
    EXPECT_EQ(report.lesserCount, sphere(20, 30).faces.size());
    EXPECT_EQ(report.unusedCount, 20U * 30U + 2U);
    EXPECT_EQ(mesh.faces, flatSheet(10, 10).faces);
}

TEST(PartRepair, ClosesHolesUpToSoManySides) {
    FaceMesh mesh = flatSheet(8, 8);
    auto const leaveOut = [&](std::ptrdiff_t square, std::ptrdiff_t count) {
        mesh.faces.erase(mesh.faces.begin() + 2 * square, mesh.faces.begin() + 2 * (square + count));
    };
    leaveOut(8 * 5 + 2, 3); // 8 sides
    leaveOut(8 * 2 + 2, 1); // 4 sides
    FaceMesh other = mesh;
    PartRepairOptions options;
    options.largestHole = 4;
    PartRepairReport const report = repairPart(mesh, options);
    EXPECT_EQ(report.closedCount, 1U);
    EXPECT_EQ(report.addedCount, 2U);
    EXPECT_EQ(analysePart(mesh).rims.size(), 2U);
    options.largestHole = 8;
    EXPECT_EQ(repairPart(other, options).closedCount, 2U);
    EXPECT_DOUBLE_EQ(analysePart(other).area, 64.0);
    EXPECT_EQ(analysePart(other).turnedFaces.count, 0U);
}

/// Of random faces: what is left has none of the faults that a repair mends, and no point that was not there.
TEST(PartRepair, LeavesNoneOfItsFaultsInRandomFaces) {
    std::mt19937 random(19);
    for (int trial = 0; trial < 400; ++trial) {
        FaceMesh mesh;
        for (unsigned i = 0; i < 9; ++i) {
            mesh.points.emplace_back(random() % 4, random() % 4, random() % 3);
        }
        std::size_t const count = random() % 20;
        for (std::size_t i = 0; i < count; ++i) {
            mesh.faces.push_back({static_cast<unsigned>(random() % 10), static_cast<unsigned>(random() % 9),
                                  static_cast<unsigned>(random() % 9)});
        }
        auto const before = mesh.points;
        PartRepairOptions options;
        options.doKeepLargest = trial % 2 == 0;
        options.largestHole = trial % 3 == 0 ? 6 : 0;
        repairPart(mesh, options);
        PartAnalysis const after = analysePart(mesh);
        EXPECT_EQ(after.strayFaces.count + after.collapsedFaces.count + after.duplicateFaces.count, 0U);
        EXPECT_EQ(after.crowdedSides.count + after.pinchedPoints.count + after.unusedPoints.count, 0U);
        EXPECT_EQ(after.turnedFaces.count, 0U);
        EXPECT_TRUE(!options.doKeepLargest || after.pieces.size() <= 1);
        for (Point const& point : mesh.points) {
            EXPECT_TRUE(isAmong(point, before));
        }
    }
}

} // namespace
} // namespace QELT::Inspection
