#include "Inspection/scanning/scan.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

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

/// A cloth of four folds; beams from above meet up to nine sheets.
ScanOptions foldedOptions(ScratchDirectory const& directory) {
    ScanOptions options = planeOptions(directory);
    Grid grid;
    grid.init({120, 20});
    for (int v = 0; v <= 20; ++v) {
        for (int u = 0; u <= 120; ++u) {
            double const angle = 0.2 * u;
            grid.setPoint(GridIndex(u, v), Point(0.05 * u + 3.0 * std::sin(angle), 0.4 * v, 0.1 * u));
        }
    }
    saveGrid(grid, directory / "folded.quads");
    options.grids.front().file = directory / "folded.quads";
    options.raster->step = 0.21;
    return options;
}

TEST(Scan, tellsHowTheWalkAloneDoes) {
    ScratchDirectory const directory;
    ScanOptions options = foldedOptions(directory);
    EXPECT_FALSE(scan(options, nullptr).comparison.has_value());
    options.doCompare = true;
    Scan const sure = scan(options, nullptr);
    EXPECT_GT(sure.searchMemory, 120U * 20U * 28U);
    ASSERT_TRUE(sure.comparison.has_value());
    WalkComparison const& counts = *sure.comparison;
    EXPECT_EQ(counts.sameCount + counts.neighbourCount + counts.elsewhereCount + counts.missedCount,
              statisticsOf(sure.result).hitCount);
    EXPECT_EQ(counts.bothMissCount + counts.surplusCount,
              sure.result.hits.size() - statisticsOf(sure.result).hitCount);
    EXPECT_GT(counts.sameCount, 100U);
    EXPECT_GT(counts.elsewhereCount + counts.missedCount, 0U);
    options.search = BeamSearch::Walk;
    Scan const walk = scan(options, nullptr);
    EXPECT_EQ(walk.comparison->sameCount, counts.sameCount);
    EXPECT_EQ(statisticsOf(walk.result).hitCount + counts.missedCount,
              statisticsOf(sure.result).hitCount + counts.surplusCount);
    options.doCompare = false;
    EXPECT_FALSE(scan(options, nullptr).comparison.has_value());
}

TEST(Scan, comparesOnAPlaneToo) {
    ScratchDirectory const directory;
    ScanOptions options = planeOptions(directory);
    options.isOnPlane = true;
    options.doCompare = true;
    WalkComparison const counts = *scan(options, nullptr).comparison;
    EXPECT_GT(counts.sameCount, 40U);
    EXPECT_EQ(counts.elsewhereCount, 0U);
}

TEST(CompareWithWalk, countsEachPairOnce) {
    auto const hitAt = [](int u, int v) {
        Hit hit;
        hit.state = Hit::Inside;
        hit.quad = GridIndex(u, v);
        return hit;
    };
    ScanResult const sure{{hitAt(3, 3), hitAt(3, 3), hitAt(3, 3), hitAt(3, 3), Hit(), Hit()}};
    ScanResult const walk{{hitAt(3, 3), hitAt(2, 4), hitAt(3, 5), Hit(), hitAt(9, 9), Hit()}};
    WalkComparison const counts = comparisonOf(sure, walk);
    EXPECT_EQ(counts.sameCount, 1U);
    EXPECT_EQ(counts.neighbourCount, 1U);
    EXPECT_EQ(counts.elsewhereCount, 1U);
    EXPECT_EQ(counts.missedCount, 1U);
    EXPECT_EQ(counts.surplusCount, 1U);
    EXPECT_EQ(counts.bothMissCount, 1U);
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

TEST(Scan, writesTheSameTableInParts) {
    ScratchDirectory const directory;
    ScanOptions options = foldedOptions(directory);
    for (bool const isOnPlane : {false, true}) {
        options.isOnPlane = isOnPlane;
        options.range.reset();
        std::size_t const beamCount = scan(options, nullptr).result.hits.size();
        ASSERT_EQ(countBeams(options, nullptr), beamCount);
        std::string const whole = readText(options.hits);
        std::size_t const headingLength = whole.find('\n') + 1;
        std::string joined = whole.substr(0, headingLength);
        std::size_t const inPart = beamCount / 3 + 1;
        for (std::size_t first = 0; first < beamCount; first += inPart) {
            options.range = BeamRange{first, inPart};
            EXPECT_EQ(scan(options, nullptr).result.hits.size(), std::min(inPart, beamCount - first));
            joined += readText(options.hits).substr(headingLength);
        }
        EXPECT_EQ(joined, whole);
    }
}

TEST(Scan, countsTheBeamsOfATable) {
    ScratchDirectory const directory;
    ScanOptions options = planeOptions(directory);
    options.beams = directory / "beams.csv";
    std::ofstream(*options.beams) << "ox,oy,oz,dx,dy,dz\n1,1,9,0,0,-1\n\n2,1,9,0,0,-1\n";
    EXPECT_EQ(countBeams(options, nullptr), 2U);
    options.range = BeamRange{0, 1};
    EXPECT_EQ(messageOf([&] { scan(options, nullptr); }),
              "a range of beams goes with a raster, not with a table");
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
