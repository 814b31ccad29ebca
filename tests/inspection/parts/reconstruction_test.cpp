#include "Inspection/parts/reconstruction.h"

#include "Inspection/maps/flattening.h"
#include "Inspection/records/numbers.h"
#include "tests/inspection/parts/scannedclouds.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <utility>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(Reconstruct, writesTheSurfaceAndTellsWhatItHolds) {
    ScratchDirectory const directory;
    writeText(directory / "patch.xyz", patchPoints(""));
    QELT::Testing::RecordingListener listener;
    auto const result = reconstruct({directory / "patch.xyz", directory / "patch.obj", {}}, &listener);
    EXPECT_EQ(result.part.vertexCount, 143U);
    EXPECT_GT(result.part.faceCount, 200U);
    EXPECT_EQ(result.repair.looseCount, 0U);
    EXPECT_EQ(listener.messages.front(), "Reconstructing...");
    EXPECT_TRUE(std::filesystem::exists(directory / "patch.obj"));
}

TEST(Reconstruct, refusesAPlaceBesideAnotherCut) {
    ScratchDirectory const directory;
    writeText(directory / "patch.xyz", patchPoints(""));
    writeText(directory / "patch.obj\\patch_cut_indices.txt", "1, 2\n");
    std::string const complaint = messageOf([&] {
        reconstruct({directory / "patch.xyz", directory / "patch.obj", {}}, nullptr);
    });
    EXPECT_NE(complaint.find("the cut of another mesh lies beside it"), std::string::npos) << complaint;
    EXPECT_FALSE(std::filesystem::exists(directory / "patch.obj"));
}

std::string textOf(std::vector<Point> const& points) {
    std::string text;
    for (Point const& point : points) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            text += toExactText(point.get(axis)) + (axis == 2 ? "\n" : " ");
        }
    }
    return text;
}

Reconstruction reconstructionOf(std::vector<Point> const& points, RepairOptions const& options = {}) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", textOf(points));
    return reconstructFrom(directory / "c.xyz", options);
}

double areaOf(FaceMesh const& mesh) {
    double sum = 0.0;
    for (auto const& [a, b, c] : mesh.faces) {
        Vector const product = (mesh.points[b] - mesh.points[a]).cross(mesh.points[c] - mesh.points[a]);
        sum += 0.5 * std::sqrt(product.lSqr());
    }
    return sum;
}

/// Of the triangles, when two points are pinned.
double flippedShareOf(FaceMesh const& surface) {
    Mesh mesh;
    mesh.construct(surface.points, surface.faces);
    flatten(mesh, FlatteningMode::Pinned, nullptr);
    return static_cast<double>(flatSummaryOf(mesh, trianglesOf(mesh)).flippedCount) /
           static_cast<double>(surface.faces.size());
}

std::size_t numberOfRims(FaceMesh const& surface) {
    Mesh mesh;
    mesh.construct(surface.points, surface.faces);
    return meshSummaryOf(mesh).loops.size();
}

/// One sheet with one rim, over the whole of the surface but half a spacing or so along its rim, that can be
/// rolled out.
void expectWhole(std::vector<Point> const& cloud, ScannedSurface const& surface, double flippedLimit) {
    auto const [built, report] = reconstructionOf(cloud);
    EXPECT_EQ(numberOfRims(built), 1U);
    EXPECT_EQ(report.handleCount, 0U);
    EXPECT_GT(areaOf(built), 0.95 * surface.area());
    EXPECT_LT(areaOf(built), 1.05 * surface.area()); // noise makes it longer
    std::size_t const left = cloud.size() - report.cloud->thinnedCount;
    EXPECT_LE(report.looseCount, left / 100);
    EXPECT_LE(flippedShareOf(built), flippedLimit);
}

TEST(LineScans, areReconstructedAsOneSheet) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        for (double const ratio : sampledRatios()) {
            SCOPED_TRACE(surface.name + " " + std::to_string(ratio));
            LineScan scan;
            scan.ratio = ratio;
            expectWhole(lineScanOf(surface, scan), surface, 0.0);
        }
    }
}

TEST(LineScans, areReconstructedWithNoiseOfATenthOfTheirDistance) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        for (double const ratio : sampledRatios()) {
            SCOPED_TRACE(surface.name + " " + std::to_string(ratio));
            LineScan scan;
            scan.ratio = ratio;
            scan.noise = 0.1;
            expectWhole(lineScanOf(surface, scan), surface, 0.01);
        }
    }
}

TEST(LineScans, areReconstructedWithLinesOutOfPlaceAndPointsMissing) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        SCOPED_TRACE(surface.name);
        LineScan jittered;
        jittered.jitter = 0.15;
        expectWhole(lineScanOf(surface, jittered), surface, 0.0);
        LineScan dropped;
        dropped.dropped = 0.1;
        dropped.noise = 0.05;
        expectWhole(lineScanOf(surface, dropped), surface, 0.01);
        LineScan zigzag;
        zigzag.isZigzag = true;
        zigzag.across = 1.8;
        expectWhole(lineScanOf(surface, zigzag), surface, 0.0);
    }
}

TEST(LineScans, areReconstructedWhereTwoPassesOverlap) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        for (double const noise : {0.0, 0.1}) {
            SCOPED_TRACE(surface.name + " " + std::to_string(noise));
            Dice dice(2);
            LineScan scan;
            scan.noise = noise;
            auto cloud = lineScanOf(surface, scan);
            scan.angle += 0.9;
            addLineScan(cloud, surface, scan, dice);
            expectWhole(cloud, surface, 0.01);
        }
    }
}

TEST(Reconstruction, ofEvenCloudsUsesAllPoints) {
    Dice dice(3);
    for (ScannedSurface const& surface : scannedSurfaces()) {
        SCOPED_TRACE(surface.name);
        auto const cloud = jitteredCloud(surface, {2.5, 0.5, 0.05}, dice);
        expectWhole(cloud, surface, 0.01);
        EXPECT_EQ(reconstructionOf(cloud).repair.cloud->thinnedTo, 0.0);
    }
}

TEST(Reconstruction, tellsWhatItChose) {
    auto const cloud = lineScanOf(scannedSurfaces()[0], {});
    CloudReport const chosen = *reconstructionOf(cloud).repair.cloud;
    EXPECT_EQ(chosen.pointCount, cloud.size());
    EXPECT_EQ(chosen.thinnedTo, fitSpacing(chosen.spacing));
    EXPECT_GT(chosen.thinnedCount, cloud.size() / 2);
    EXPECT_DOUBLE_EQ(chosen.longestSide.value(), 3.0 * chosen.spacing.across);
    Dice dice(4);
    auto const scattered = scatteredCloud(scannedSurfaces()[0], 2.5, dice);
    CloudReport const wider = *reconstructionOf(scattered).repair.cloud;
    EXPECT_DOUBLE_EQ(wider.longestSide.value(), 4.0 * wider.spacing.across);
}

TEST(Reconstruction, obeysWhatItIsTold) {
    Dice dice(5);
    auto const cloud = jitteredCloud(scannedSurfaces()[1], {2.5, 0.3, 0.0}, dice);
    RepairOptions options;
    options.thinTo = 4.0;
    options.longestSide = std::numeric_limits<double>::infinity();
    auto const [surface, report] = reconstructionOf(cloud, options);
    EXPECT_EQ(report.cloud->thinnedTo, 4.0);
    EXPECT_EQ(surface.points.size() + report.looseCount + report.cloud->thinnedCount, cloud.size());
    for (std::size_t i = 0; i < surface.points.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            ASSERT_GE((surface.points[i] - surface.points[j]).lSqr(), 15.999);
        }
    }
    EXPECT_TRUE(std::isinf(report.cloud->longestSide.value()));
    auto const lines = lineScanOf(scannedSurfaces()[1], {10.0, 4.0});
    options.thinTo = 0.0;
    EXPECT_EQ(reconstructionOf(lines, options).repair.cloud->thinnedCount, 0U);
}

/// A lattice of the plane z = 0, jittered, without the points within `radius` of its middle.
std::vector<Point> plateWithHole(double radius) {
    Dice dice(6);
    std::vector<Point> points;
    for (int i = 0; i < 40; ++i) {
        for (int j = 0; j < 40; ++j) {
            double const x = i - 19.5 + 0.4 * (dice.share() - 0.5);
            double const y = j - 19.5 + 0.4 * (dice.share() - 0.5);
            if (std::hypot(x, y) > radius) {
                points.emplace_back(x, y, 0.0);
            }
        }
    }
    return points;
}

TEST(Reconstruction, leavesAHoleOpenThatIsWiderThanThreeSpacings) {
    EXPECT_EQ(numberOfRims(reconstructionOf(plateWithHole(0.0)).surface), 1U);
    EXPECT_EQ(numberOfRims(reconstructionOf(plateWithHole(1.0)).surface), 1U);
    EXPECT_EQ(numberOfRims(reconstructionOf(plateWithHole(3.0)).surface), 2U);
    EXPECT_EQ(numberOfRims(reconstructionOf(plateWithHole(8.0)).surface), 2U);
    RepairOptions options;
    options.largestHole = 60;
    EXPECT_EQ(numberOfRims(reconstructionOf(plateWithHole(3.0), options).surface), 1U);
}

TEST(Reconstruction, takesAWallThatStandsUpright) {
    Dice dice(7);
    for (unsigned long axis = 0; axis < 2; ++axis) {
        std::vector<Point> wall;
        for (int i = 0; i < 400; ++i) {
            Point point(30.0 * dice.share(), 30.0 * dice.share(), 30.0 * dice.share());
            point.seti(axis, 2.0);
            wall.push_back(point);
        }
        auto const surface = reconstructionOf(wall).surface;
        EXPECT_GT(areaOf(surface), 0.85 * 900.0);
        for (Point const& point : surface.points) {
            ASSERT_NE(std::find(wall.begin(), wall.end(), point), wall.end()) << "a point was moved";
        }
    }
}

TEST(Reconstruction, takesACloudOfFewPlacesThatManyPointsShare) {
    Dice dice(8);
    std::vector<Point> cloud;
    for (int i = 0; i < 20; ++i) {
        cloud.insert(cloud.end(), 30, Point(i % 5 + 0.2 * dice.share(), 0.25 * i + 0.2 * dice.share(), 0.0));
    }
    auto const surface = reconstructionOf(cloud).surface;
    EXPECT_GT(surface.faces.size(), 10U);
    for (Point const& point : surface.points) {
        ASSERT_NE(std::find(cloud.begin(), cloud.end(), point), cloud.end());
    }
}

TEST(Reconstruction, ofPointsInALineSaysWhatIsMissing) {
    std::vector<Point> line;
    for (int i = 0; i < 200; ++i) {
        line.emplace_back(1.0 * i, 2.0 * i, 0.0);
    }
    std::string const complaint = messageOf([&] { reconstructionOf(line); });
    EXPECT_NE(complaint.find("no triangle can be built on the closest two points"), std::string::npos);
}

} // namespace
} // namespace QELT::Inspection
