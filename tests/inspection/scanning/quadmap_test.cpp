#include "Inspection/scanning/quadmap.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/internal/figure.h"

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
    hit.isValid = true;
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

TEST(QuadMaps, leaveOutMissesUnmeasuredHitsAndIndicesOutside) {
    Grid grid;
    makePlane(grid);
    Hit miss = hitAt(0, 0, 1.0, 0.0);
    miss.isValid = false;
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

/// Top left pixel of the map in a figure: the first one of the given colour.
bool findColour(Image const& image, Colour colour, int& foundX, int& foundY) {
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            if (image.getPixel(x, y) == colour) {
                foundX = x;
                foundY = y;
                return true;
            }
        }
    }
    return false;
}

TEST(Figure, showsVUpwardsMagnifiedByAWholeFactor) {
    QuadMap map(100, 50);
    map.at(0, 49) = {Cell::Measured, 1.0};
    map.at(0, 0) = {Cell::NoValue, 0.0};
    Image const image = figureOf(map, {"T", Scale{0.0, 2.0, 1.0}, "note"});
    int left = 0;
    int top = 0;
    ASSERT_TRUE(findColour(image, noSurfaceColour, left, top));
    // The first grey pixel is right of the measured quad in the top row, nine pixels to the quad.
    Colour const middle = colourOfShare(0.5);
    EXPECT_EQ(image.getPixel(left - 1, top), middle);
    EXPECT_EQ(image.getPixel(left - 9, top + 8), middle);
    EXPECT_NE(image.getPixel(left - 10, top), middle);
    EXPECT_EQ(image.getPixel(left - 1, top + 9), noSurfaceColour);
    EXPECT_EQ(image.getPixel(left - 9, top + 49 * 9), noValueColour);
    EXPECT_EQ(image.getPixel(left - 1, top + 50 * 9 - 1), noValueColour);
}

TEST(Figure, holdsItsColourBarFromLowToHigh) {
    QuadMap map(30, 30);
    Image const image = figureOf(map, {"T", Scale{0.0, 2.0, 1.0}, ""});
    int x = 0;
    int highY = 0;
    int lowY = 0;
    ASSERT_TRUE(findColour(image, colourOfShare(1.0), x, highY));
    ASSERT_TRUE(findColour(image, colourOfShare(0.0), x, lowY));
    EXPECT_LT(highY, lowY);
}

TEST(Figure, averagesLargeMapsDown) {
    QuadMap map(4000, 10);
    Image const image = figureOf(map, {"T", Scale{}, ""});
    EXPECT_LT(image.getWidth(), 1800);
    EXPECT_GT(image.getWidth(), 1333);
}

TEST(CscanImages, areNamedAfterThePrefix) {
    EXPECT_EQ(imagePaths("out/part")[0], "out/part_distance.png");
    EXPECT_EQ(imagePaths("out/")[1], "out/angle.png");
    EXPECT_EQ(imagePaths("")[2], "coverage.png");
}

} // namespace
} // namespace QELT::Inspection
