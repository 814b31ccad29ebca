#include "Inspection/scanning/stripetest.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <random>

namespace QELT::Inspection {
namespace {

using Size = QELT::Geometry::TwoDimensional::Vector<double>;

Grid planeOf(double width, double height) {
    Grid grid;
    grid.setAsPlane(Size(width, height), 1.0, false, 100);
    return grid;
}

TEST(StripeTest, anArrayFindsRoomOnASurfaceThatIsWiderThanItself) {
    Grid const grid = planeOf(60.0, 60.0);
    EXPECT_TRUE(hasRoomFor(grid, {8, 1.0}, 1));
    EXPECT_TRUE(hasRoomFor(grid, {1, 1.0}, 1));
    EXPECT_FALSE(hasRoomFor(grid, {8, 20.0}, 1));
    EXPECT_FALSE(hasRoomFor(grid, {1024, 1e9}, 1));
}

TEST(StripeTest, thereIsNoRoomOnAGridWithoutSurface) {
    EXPECT_FALSE(hasRoomFor(Grid(), {1, 1.0}, 1));
    Grid grid = planeOf(20.0, 20.0);
    for (int v = 0; v <= 20; ++v) {
        for (int u = 0; u <= 20; u += 2) {
            grid.setPointValidity(GridIndex(u, v), false);
        }
    }
    EXPECT_FALSE(hasRoomFor(grid, {1, 0.1}, 1));
    EXPECT_FALSE(hasRoomFor(planeOf(1.0, 1.0), {1, 0.1}, 1));
}

TEST(StripeTest, everyBeamOfTheArrayMeetsItsQuadOnAnUnevenSurface) {
    // On an even plane beams stand exactly on the quads' diagonals, where they miss.
    Grid grid = planeOf(60.0, 60.0);
    std::mt19937 random(3);
    auto const noise = [&] { return 0.02 * static_cast<double>(random()) / 4294967296.0; };
    for (int v = 0; v <= 60; ++v) {
        for (int u = 0; u <= 60; ++u) {
            grid.setPoint(GridIndex(u, v), Point(u + noise(), v + noise(), noise()));
        }
    }
    ASSERT_TRUE(hasRoomFor(grid, {8, 1.0}, 1));
    StripeTestResult const result = testStripes(grid, {8, 1.0}, 20, 1);
    EXPECT_GT(result.passCount, 500U);
    EXPECT_EQ(result.passCount % 8, 0U);
    EXPECT_EQ(result.failureCount, 0U);
    EXPECT_TRUE(result.failedLines.empty());
    EXPECT_EQ(testStripes(grid, {8, 1.0}, 20, 1).passCount, result.passCount);
}

TEST(StripeTest, onAFlatGridLinesFailOnDiagonalsOnly) {
    Grid grid = planeOf(60.0, 60.0);
    StripeArray const array{8, 1.0};
    StripeTestResult const result = testStripes(grid, array, 60, 1);
    EXPECT_GT(result.failedLines.size(), 5U);
    EXPECT_LT(result.failedLines.size(), 60U);
    for (GridLine const& line : result.failedLines) {
        EXPECT_TRUE(failsOnDiagonalsOnly(grid, array, line));
    }
    EXPECT_FALSE(failsOnDiagonalsOnly(grid, array, {GridIndex(20, 30), GridIndex(40, 30)}))
        << "nothing fails";
}

TEST(StripeTest, aLineThatFailsBesideTheDiagonalsTooIsNotExcused) {
    Grid grid = planeOf(60.0, 60.0);
    grid.setAxisFlipFlags(true, false); // reports other quads than those that were aimed at
    StripeTestResult const result = testStripes(grid, {4, 1.0}, 20, 1);
    ASSERT_EQ(result.failedLines.size(), 20U);
    for (GridLine const& line : result.failedLines) {
        EXPECT_FALSE(failsOnDiagonalsOnly(grid, {4, 1.0}, line));
    }
}

TEST(StripeTest, linesOnWhichABeamGoesAstrayAreNamed) {
    Grid grid = planeOf(60.0, 60.0);
    grid.setAxisFlipFlags(true, false); // reports other quads than those that were aimed at
    StripeTestResult const result = testStripes(grid, {4, 1.0}, 5, 1);
    EXPECT_GT(result.failureCount, 0U);
    EXPECT_EQ(result.failedLines.size(), 5U);
}

TEST(Selftest, testsTheGridOfAFile) {
    Testing::ScratchDirectory const directory;
    Grid grid = planeOf(60.0, 60.0);
    saveGrid(grid, directory / "plane.quads");
    SelftestOptions options;
    options.grid = directory / "plane.quads";
    options.lineCount = 3;
    options.elementCount = 2;
    StripeTestResult const result = selftest(options, nullptr);
    EXPECT_GT(result.passCount + result.failureCount, 6U);
    EXPECT_EQ(selftest(options, nullptr).passCount, result.passCount);
    options.pitch = 0.0;
    EXPECT_EQ(Testing::messageOf([&] { selftest(options, nullptr); }),
              options.grid.string() + ": an array of 2 beams at a pitch of 0 tests nothing");
    options.pitch = 90.0;
    options.elementCount = 8;
    EXPECT_EQ(Testing::messageOf([&] { selftest(options, nullptr); }),
              options.grid.string() +
                  ": no line with room for an array of 8 beams at a pitch of 90 was found");
}

} // namespace
} // namespace QELT::Inspection
