#include "Inspection/pictures/internal/figure.h"

#include "Inspection/pictures/internal/colourmap.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace QELT::Inspection {
namespace {

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

TEST(Figure, outlinesAreDrawnWhereTheirQuadsAre) {
    QuadMap map(10, 10);
    FigureStyle style{"t", Scale{}, "n"};
    Image const bare = figureOf(map, style);
    style.outlines = {{FlatPoint(2.0, 3.0), FlatPoint(6.0, 3.0), FlatPoint(6.0, 5.0)}};
    Image const drawn = figureOf(map, style);
    ASSERT_EQ(drawn.getWidth(), bare.getWidth());
    int left = drawn.getWidth();
    int right = 0;
    int top = drawn.getHeight();
    int bottom = 0;
    for (int y = 0; y < drawn.getHeight(); ++y) {
        for (int x = 0; x < drawn.getWidth(); ++x) {
            if (drawn.getPixel(x, y) != bare.getPixel(x, y)) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    // Ten quads take 64 pixels each; lines are three pixels wide.
    EXPECT_NEAR(right - left, 4 * 64, 3);
    EXPECT_NEAR(bottom - top, 2 * 64, 3);
}

} // namespace
} // namespace QELT::Inspection
