#include "Inspection/grids/gridfile.h"

#include "Inspection/grids/gridsummary.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;

/// A plane grid of 4 by 3 nodes with one node missing.
void makePlane(Grid& grid) {
    grid.init({3, 2});
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 3; ++u) {
            grid.setPoint(GridIndex(u, v), Point(0.5 * u, 0.25 * v, 1.0));
            grid.setPointFlag(GridIndex(u, v), u == 0 ? Grid::Boundary : Grid::Interior, true);
        }
    }
    grid.setPointFlags(GridIndex(3, 2), 0);
    grid.setPointFlags(GridIndex(2, 0), 1);
}

TEST(GridSummary, countsNodesFlagsAndQuads) {
    Grid grid;
    makePlane(grid);
    GridSummary const summary = gridSummaryOf(grid);
    EXPECT_EQ(summary.extentU, 3U);
    EXPECT_EQ(summary.extentV, 2U);
    EXPECT_EQ(summary.nodeCount, 12U);
    EXPECT_EQ(summary.validNodeCount, 11U);
    EXPECT_EQ(summary.boundaryCount, 3U);
    EXPECT_EQ(summary.interiorCount, 7U);
    EXPECT_EQ(summary.extendedCount, 1U);
    EXPECT_EQ(summary.cutBoundaryCount, 0U);
    EXPECT_EQ(summary.validQuadCount, 5U);
    EXPECT_EQ(summary.low, Point(0.0, 0.0, 1.0));
    EXPECT_EQ(summary.high, Point(1.5, 0.5, 1.0));
}

TEST(GridFile, comesBackWithTheSameSurfaceAndHeader) {
    ScratchDirectory const directory;
    Grid grid;
    makePlane(grid);
    saveGrid(grid, directory / "plane.quads");
    Grid read;
    loadGrid(read, directory / "plane.quads");
    EXPECT_TRUE(haveSameSurface(grid, read));
    read.setPoint(GridIndex(1, 1), Point(9.0, 9.0, 9.0));
    EXPECT_FALSE(haveSameSurface(grid, read));
    GridFileHeader const header = readGridFileHeader(directory / "plane.quads");
    EXPECT_EQ(header.version, 1U);
    EXPECT_EQ(header.extentU, 3U);
    EXPECT_EQ(header.extentV, 2U);
    EXPECT_EQ(header.coordinateDataType, 0U);
    EXPECT_EQ(header.name, "");
    EXPECT_TRUE(isGridFile(directory / "plane.quads"));
}

TEST(GridFile, isRefusedWhenItIsCutShortAnywhere) {
    ScratchDirectory const directory;
    Grid grid;
    makePlane(grid);
    saveGrid(grid, directory / "plane.quads");
    std::string const whole = readText(directory / "plane.quads");
    ASSERT_EQ(whole.size(), 176U + 12U + 11U * 12U);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        writeText(directory / "short.quads", whole.substr(0, length));
        Grid read;
        std::string const message = messageOf([&] { loadGrid(read, directory / "short.quads"); });
        EXPECT_EQ(message.find((directory / "short.quads").string() + ": "), 0U) << length;
    }
}

TEST(GridFile, refusesExtentsThatTheFileCannotHoldBeforeItSizesTheGrid) {
    ScratchDirectory const directory;
    Grid grid;
    makePlane(grid);
    saveGrid(grid, directory / "plane.quads");
    std::string bytes = readText(directory / "plane.quads");
    bytes.replace(140, 8, std::string("\x00\x00\x01\x00\x00\x00\x01\x00", 8));
    writeText(directory / "huge.quads", bytes);
    Grid read;
    EXPECT_EQ(messageOf([&] { loadGrid(read, directory / "huge.quads"); }),
              (directory / "huge.quads").string() +
                  ": the file is cut short (320 bytes, at least 4295098545 expected)");
}

TEST(GridFile, namesTheFileInTheLibrarysComplaint) {
    ScratchDirectory const directory;
    writeText(directory / "text.quads", "no grid at all");
    Grid grid;
    EXPECT_EQ(messageOf([&] { loadGrid(grid, directory / "text.quads"); }),
              (directory / "text.quads").string() + ": Invalid .quads file.");
    EXPECT_FALSE(isGridFile(directory / "text.quads"));
}

TEST(GridFile, isSavedUnderItsOwnExtensionOnly) {
    ScratchDirectory const directory;
    Grid grid;
    makePlane(grid);
    auto const path = directory / "x.quads.obj";
    EXPECT_EQ(messageOf([&] { saveGrid(grid, path); }),
              path.string() + ": the name of a grid file must end in .quads");
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
} // namespace QELT::Inspection
