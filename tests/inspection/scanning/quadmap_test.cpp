#include "Inspection/scanning/quadmap.h"

#include <gtest/gtest.h>

#include <numbers>

namespace QELT::Inspection {
namespace {

/// 3 by 2 quads; the node (3, 2) is missing and with it the quad (2, 1).
void makePlane(Grid& grid) {
    grid.init({3, 2});
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 3; ++u) {
            grid.setPoint(GridIndex(u, v), Point(u, v, 0.0));
        }
    }
    grid.setPointValidity(GridIndex(3, 2), false);
}

Hit hitAt(int u, int v, double distance, double angleError) {
    Hit hit;
    hit.state = Hit::Inside;
    hit.isMeasured = true;
    hit.quad = GridIndex(u, v);
    hit.distance = distance;
    hit.angleError = angleError;
    return hit;
}

TEST(QuadMaps, meanTheHitsOfAQuadAndCountThem) {
    Grid grid;
    makePlane(grid);
    auto const maps = quadMapsOf(
        grid, {hitAt(1, 0, 2.0, 0.0), hitAt(1, 0, 5.0, std::numbers::pi / 2.0), hitAt(0, 1, 7.0, 0.0)});
    EXPECT_EQ(maps.distance.at(1, 0).kind, Cell::Measured);
    EXPECT_DOUBLE_EQ(maps.distance.at(1, 0).value, 3.5);
    EXPECT_DOUBLE_EQ(maps.angleError.at(1, 0).value, 45.0);
    EXPECT_EQ(maps.coverage.at(1, 0).value, 2.0);
    EXPECT_EQ(maps.coverage.at(0, 1).value, 1.0);
}

TEST(QuadMaps, tellSurfaceWithoutAHitFromNoSurface) {
    Grid grid;
    makePlane(grid);
    auto const maps = quadMapsOf(grid, {hitAt(1, 0, 2.0, 0.0)});
    EXPECT_EQ(maps.distance.at(0, 0).kind, Cell::NoValue);
    EXPECT_EQ(maps.distance.at(2, 1).kind, Cell::NoSurface);
    EXPECT_EQ(maps.coverage.at(0, 0).kind, Cell::Measured);
    EXPECT_EQ(maps.coverage.at(0, 0).value, 0.0);
    EXPECT_EQ(maps.coverage.at(2, 1).kind, Cell::NoSurface);
    EXPECT_EQ(maps.distance.values(), std::vector<double>{2.0});
}

TEST(QuadMaps, showTheFrontOfAQuadThatIsHitFromBothSides) {
    Grid grid;
    makePlane(grid);
    double const fromBehind = 0.9 * std::numbers::pi;
    auto const maps = quadMapsOf(grid, {hitAt(1, 0, 55.0, fromBehind), hitAt(1, 0, 15.0, 0.0),
                                        hitAt(1, 0, 55.0, fromBehind), hitAt(0, 1, 55.0, fromBehind)});
    EXPECT_EQ(maps.distance.at(1, 0).value, 15.0);
    EXPECT_EQ(maps.coverage.at(1, 0).value, 1.0);
    EXPECT_EQ(maps.distance.at(0, 1).value, 55.0) << "there is no front to show";
}

TEST(QuadMaps, showAHitOnAnEdgeAsAnyOther) {
    Grid grid;
    makePlane(grid);
    Hit edge = hitAt(1, 0, 4.0, 0.0);
    edge.state = Hit::OnEdge;
    EXPECT_EQ(quadMapsOf(grid, {edge}).distance.at(1, 0).value, 4.0);
    EXPECT_EQ(quadMapsOf(grid, {edge}).coverage.at(1, 0).value, 1.0);
}

TEST(QuadMaps, leaveOutMissesUnmeasuredHitsAndIndicesOutside) {
    Grid grid;
    makePlane(grid);
    Hit miss = hitAt(0, 0, 1.0, 0.0);
    miss.state = Hit::Miss;
    Hit far = hitAt(0, 0, 1.0, 0.0);
    far.isMeasured = false;
    auto const maps = quadMapsOf(grid, {miss, far, hitAt(-1, 0, 1.0, 0.0), hitAt(3, 0, 1.0, 0.0)});
    EXPECT_TRUE(maps.distance.values().empty());
    for (double const count : maps.coverage.values()) {
        EXPECT_EQ(count, 0.0);
    }
}

TEST(QuadMap, averagesTheMeasuredCellsOfABlock) {
    QuadMap map(5, 3);
    map.at(0, 0) = {Cell::Measured, 1.0};
    map.at(1, 1) = {Cell::Measured, 4.0};
    map.at(1, 0) = {Cell::NoValue, 0.0};
    map.at(2, 0) = {Cell::NoValue, 0.0};
    map.at(4, 2) = {Cell::Measured, 8.0};
    QuadMap const averaged = map.averaged(2);
    ASSERT_EQ(averaged.getWidth(), 3U);
    ASSERT_EQ(averaged.getHeight(), 2U);
    EXPECT_EQ(averaged.at(0, 0).kind, Cell::Measured);
    EXPECT_EQ(averaged.at(0, 0).value, 2.5);
    EXPECT_EQ(averaged.at(1, 0).kind, Cell::NoValue);
    EXPECT_EQ(averaged.at(0, 1).kind, Cell::NoSurface);
    EXPECT_EQ(averaged.at(2, 1).value, 8.0);
}

} // namespace
} // namespace QELT::Inspection
