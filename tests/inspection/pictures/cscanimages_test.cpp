#include "Inspection/pictures/cscanimages.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(DrawScan, writesTheTableAndThreeImages) {
    ScratchDirectory const directory;
    Grid grid;
    grid.setAsPlane({6.0, 4.0}, 1.0, false, 10);
    saveGrid(grid, directory / "plane.quads");
    DrawnScanOptions options;
    options.scan.grids.push_back({directory / "plane.quads"});
    options.scan.hits = directory / "hits.csv";
    options.scan.raster = Raster{0.7, 5.0, Vector(0.0, 0.0, -1.0)};
    options.imagePrefix = (directory / "scan").string();
    options.unit = "mm";
    DrawnScan const drawn = drawScan(options, nullptr);
    EXPECT_EQ(drawn.images, imagePaths(options.imagePrefix));
    for (auto const& image : drawn.images) {
        EXPECT_GT(std::filesystem::file_size(image), 1000U) << image;
    }
    EXPECT_FALSE(readText(directory / "hits.csv").empty());

    options.imagePrefix = (directory / "none" / "scan").string();
    std::filesystem::remove(directory / "hits.csv");
    EXPECT_EQ(messageOf([&] { drawScan(options, nullptr); }),
              options.imagePrefix + "_distance.png: cannot be written (No such file or directory)");
    EXPECT_FALSE(std::filesystem::exists(directory / "hits.csv"));
}

TEST(CscanImages, areNamedAfterThePrefix) {
    EXPECT_EQ(imagePaths("out/part")[0], "out/part_distance.png");
    EXPECT_EQ(imagePaths("out/")[1], "out/angle.png");
    EXPECT_EQ(imagePaths("")[2], "coverage.png");
}

} // namespace
} // namespace QELT::Inspection
