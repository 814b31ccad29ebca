#include "Inspection/grids/quadsizes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace QELT::Inspection {
namespace {

/// A row of quads of height 1 and these widths.
void makeRow(Grid& grid, std::vector<double> const& widths) {
    grid.init({static_cast<unsigned int>(widths.size()), 1U});
    double x = 0.0;
    for (std::size_t u = 0; u <= widths.size(); ++u) {
        for (int v = 0; v <= 1; ++v) {
            GridIndex const node(static_cast<int>(u), v);
            grid.setPoint(node, Point(x, v, 0.0));
            grid.setPointFlag(node, Grid::Interior, true);
        }
        x += u < widths.size() ? widths[u] : 0.0;
    }
}

TEST(QuadSizes, areCountedBesideTheMedian) {
    Grid grid;
    makeRow(grid, {1.0, 0.125, 0.375, 1.0, 3.0, 8.0, 1.0, 2.0, 0.5});
    QuadSizes const sizes = quadSizesOf(grid);
    EXPECT_EQ(sizes.quadCount, 9U);
    EXPECT_EQ(sizes.nanCount, 0U);
    EXPECT_EQ(sizes.median, 1.0);
    EXPECT_EQ(sizes.counts, (std::array<std::size_t, 5>{1, 2, 4, 1, 1}));
    EXPECT_NEAR(sizes.mean, 17.0 / 9.0, 1e-6);
    EXPECT_NEAR(sizes.alikeShare(), 7.0 / 9.0, 1e-15);
}

TEST(QuadSizes, areTheCoresOwn) {
    Grid grid;
    grid.setAsCylinderArc(10.0, 1.0, 8.0, 0.5, 10);
    ASSERT_GT(quadSizesOf(grid).quadCount, 100U);
    EXPECT_NEAR(quadSizesOf(grid).mean, grid.getMeanQuadArea(), 1e-6 * grid.getMeanQuadArea());
}

TEST(QuadSizes, leaveOutWhatIsNoNumber) {
    Grid grid;
    makeRow(grid, {1.0, 1.0, 1.0, 1.0});
    float const nan = std::numeric_limits<float>::quiet_NaN();
    grid.setPoint(GridIndex(4, 0), Point(nan, nan, nan));
    QuadSizes const sizes = quadSizesOf(grid);
    EXPECT_EQ(sizes.quadCount, 4U);
    EXPECT_EQ(sizes.nanCount, 1U);
    EXPECT_EQ(sizes.mean, 1.0);
    EXPECT_EQ(sizes.alikeShare(), 0.75);
    EXPECT_EQ(quadSizesOf(Grid()).quadCount, 0U);
    EXPECT_EQ(quadSizesOf(Grid()).alikeShare(), 0.0);
}

TEST(GridSpacing, followsFromTheRatioOfTheWholeAreas) {
    MapQuality quality;
    quality.areaRatio = 16.0;
    GridSpacing const byPixel = spacingFor({std::nullopt, 2.0, std::nullopt}, quality, 100.0);
    EXPECT_EQ(byPixel.spacing, 0.5);
    EXPECT_EQ(byPixel.quadArea, 4.0);
    GridSpacing const byArea = spacingFor({1.0, std::nullopt, std::nullopt}, quality, 100.0);
    EXPECT_EQ(byArea.spacing, 0.25);
    EXPECT_EQ(byArea.quadArea, 1.0);
    GridSpacing const byWidth = spacingFor({std::nullopt, std::nullopt, 50}, quality, 99.0);
    EXPECT_EQ(byWidth.spacing, 2.0);
    EXPECT_EQ(byWidth.quadArea, 64.0);
}

} // namespace
} // namespace QELT::Inspection
