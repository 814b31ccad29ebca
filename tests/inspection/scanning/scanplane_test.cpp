#include "Inspection/scanning/scanplane.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/scanning/scanner.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;

/// Quads of side 1 in the plane z = height, the low corner at (x, 0).
void writePlane(std::filesystem::path const& path, int width, int depth, double x, double height) {
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane(Size(width, depth), 1.0, false, 10));
    for (int v = 0; v <= depth; ++v) {
        for (int u = 0; u <= width; ++u) {
            grid.setPoint(GridIndex(u, v), Point(x + u, v, height));
        }
    }
    saveGrid(grid, path);
}

Beam downAt(double x, double y) {
    return {Point(x, y, 20.0), Vector(0.0, 0.0, -1.0)};
}

TEST(ScanPlane, gridsAnswerInTheIndicesOfThePlane) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    writePlane(directory / "b.quads", 6, 4, 5.0, 1.0);
    std::vector<PlacedGrid> const grids = {{directory / "a.quads", {0, 1}, 7},
                                           {directory / "b.quads", {8, 0}, 3}};
    ScanPlane const plane = loadScanPlane(grids, 0, false);
    EXPECT_EQ(plane.surface.getWidth(), 14U);
    EXPECT_EQ(plane.surface.getHeight(), 5U);
    EXPECT_EQ(plane.surface.at(0, 0).kind, Cell::NoSurface);
    EXPECT_EQ(plane.surface.at(0, 1).kind, Cell::NoValue);
    EXPECT_EQ(plane.surface.at(6, 1).kind, Cell::NoSurface);
    EXPECT_EQ(plane.surface.at(13, 3).kind, Cell::NoValue);
    EXPECT_EQ(plane.low, Point(0.0, 0.0, 0.0));
    EXPECT_EQ(plane.high, Point(11.0, 4.0, 1.0));
    GridGroups groups = loadGroups(grids, 0, false);
    auto const hits = fireBeams(groups, {downAt(2.3, 1.6), downAt(7.3, 1.6), downAt(30.0, 1.6)}).hits;
    ASSERT_TRUE(hits[0].isHit() && hits[1].isHit());
    EXPECT_EQ(hits[0].quad, GridIndex(2, 2));
    EXPECT_EQ(hits[1].quad, GridIndex(10, 1));
    EXPECT_NEAR(hits[0].distance, 20.0, 1e-6);
    EXPECT_NEAR(hits[1].distance, 19.0, 1e-6);
    EXPECT_FALSE(hits[2].isHit());
}

TEST(ScanPlane, oneGroupAnswersAsGroupsOfItAloneDo) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    writePlane(directory / "b.quads", 6, 4, 3.0, 1.0);
    std::vector<PlacedGrid> const grids = {{directory / "a.quads", {0, 1}, 0},
                                           {directory / "b.quads", {8, 0}, 0}};
    ScanPlane const plane = loadScanPlane(grids, 0, false);
    QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup group;
    for (auto const& grid : plane.grids) {
        group.addQuadMesh(grid.get());
    }
    GridGroups groups = loadGroups(grids, 0, false);
    std::vector<Beam> beams;
    for (int i = 0; i < 40; ++i) {
        beams.push_back(downAt(0.31 * i - 1.0, 1.6));
    }
    auto const ours = fireBeams(group, beams).hits;
    auto const theirs = fireBeams(groups, beams).hits;
    int hitCount = 0;
    for (std::size_t i = 0; i < beams.size(); ++i) {
        EXPECT_EQ(ours[i].state, theirs[i].state) << i;
        EXPECT_EQ(ours[i].quad, theirs[i].quad) << i;
        EXPECT_EQ(ours[i].distance, theirs[i].distance) << i;
        hitCount += ours[i].isHit() ? 1 : 0;
    }
    EXPECT_GT(hitCount, 20);
    EXPECT_LT(hitCount, 40);
}

TEST(ScanPlane, gridsAnswerOnlyWhileTheirPositionIsActive) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    std::vector<PlacedGrid> const grids = {{directory / "a.quads", {0, 0}, 0, 4}};
    ScanPlane const active = loadScanPlane(grids, 2, false);
    GridGroups activeGroups = loadGroups(grids, 2, false);
    EXPECT_TRUE(fireBeams(activeGroups, {downAt(2.3, 1.6)}).hits[0].isHit());
    EXPECT_EQ(active.grids.size(), 1U);
    EXPECT_FALSE(active.isEmpty);
    ScanPlane const inactive = loadScanPlane(grids, 0, false);
    GridGroups inactiveGroups = loadGroups(grids, 0, false);
    EXPECT_FALSE(fireBeams(inactiveGroups, {downAt(2.3, 1.6)}).hits[0].isHit());
    EXPECT_TRUE(inactive.grids.empty());
    EXPECT_TRUE(inactive.isEmpty);
    EXPECT_EQ(inactive.surface.at(0, 0).kind, Cell::NoSurface);
}

TEST(ScanPlane, normalsAreFlippedInEveryGrid) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    GridGroups plain = loadGroups({{directory / "a.quads"}}, 0, false);
    GridGroups flipped = loadGroups({{directory / "a.quads"}}, 0, true);
    EXPECT_NEAR(fireBeams(plain, {downAt(2.3, 1.6)}).hits[0].angleError, 0.0, 1e-6);
    EXPECT_GT(fireBeams(flipped, {downAt(2.3, 1.6)}).hits[0].angleError, 3.1);
}

TEST(ScanPlane, refusesAPlaneBeyondAllMeasure) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    EXPECT_EQ(messageOf([&] {
                  loadScanPlane({{directory / "a.quads", {1000000, 999996}}}, 0, false);
              }),
              "the scan plane of 1000005 x 1000000 quads is too large; check the offsets");
}

} // namespace
} // namespace QELT::Inspection
