#include "Inspection/scanning/scan.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace QELT::Inspection {
namespace {

using namespace Testing;

ScanOptions planeOptions(ScratchDirectory const& directory) {
    Grid grid;
    grid.setAsPlane({6.0, 4.0}, 1.0, false, 10);
    saveGrid(grid, directory / "plane.quads");
    ScanOptions options;
    options.grids.push_back({directory / "plane.quads"});
    options.hits = directory / "hits.csv";
    options.raster = Raster{0.7, 5.0, Vector(0.0, 0.0, -1.0)};
    return options;
}

TEST(Scan, firesARasterAndWritesTheTableOfHits) {
    ScratchDirectory const directory;
    QELT::Testing::RecordingListener listener;
    Scan const result = scan(planeOptions(directory), &listener);
    EXPECT_EQ(result.surface.getWidth(), 6U);
    EXPECT_EQ(result.result.hits.size(), 9U * 6U);
    EXPECT_GT(statisticsOf(result.result).hitCount, 40U);
    std::string const table = readText(directory / "hits.csv");
    EXPECT_EQ(table.rfind("u,v,x,y,z,distance,angle,valid,state\n", 0), 0U);
    EXPECT_EQ(static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')), 9U * 6U + 1U);
    EXPECT_EQ(listener.messages.front(), "Setting up the search...");
    EXPECT_EQ(listener.messages.at(1), "Firing beams...");
    EXPECT_EQ(listener.messages.back(), "Writing results...");
}

TEST(Scan, asksGridsOnAPlaneAlike) {
    ScratchDirectory const directory;
    ScanOptions options = planeOptions(directory);
    auto const single = scan(options, nullptr).result.hits;
    options.isOnPlane = true;
    auto const grouped = scan(options, nullptr).result.hits;
    ASSERT_EQ(grouped.size(), single.size());
    for (std::size_t i = 0; i < single.size(); ++i) {
        EXPECT_EQ(grouped[i].state, single[i].state) << i;
    }
}

TEST(Scan, refusesFilesBeforeTheWork) {
    ScratchDirectory const directory;
    ScanOptions options = planeOptions(directory);
    options.hits = directory / "none" / "hits.csv";
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }),
              options.hits.string() + ": cannot be written (No such file or directory)");
    options.grids.front().file = directory / "none.quads";
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }),
              options.grids.front().file.string() + ": cannot be read (No such file or directory)");
}

TEST(Scan, refusesToScanNothingOrWithNothing) {
    ScratchDirectory const directory;
    ScanOptions options = planeOptions(directory);
    options.raster->step = -1.0;
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }), "a raster step of -1 is not above zero");
    options.raster = Raster{1.0, 5.0, Vector(0.0, 0.0, 0.0)};
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }), "the raster's direction has no usable length");
    options.raster.reset();
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }),
              "there are neither beams nor a raster to scan with");
    options.grids.clear();
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }), "there is no grid to scan");
}

} // namespace
} // namespace QELT::Inspection
