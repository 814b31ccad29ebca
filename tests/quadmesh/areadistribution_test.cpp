#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_grid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

struct Distribution {
    std::vector<std::uint32_t> bins;
    std::uint32_t count = 12345;
};

Distribution distributionOf(RectMesh const& grid, double min, double max, std::uint32_t binCount) {
    Distribution distribution{std::vector<std::uint32_t>(binCount, 99U)};
    grid.getQuadAreaDistribution(min, max, binCount, distribution.bins.data(), &distribution.count);
    return distribution;
}

/// Areas above every bin go into the last; areas below the first go into it.
Distribution plainDistribution(RectMesh const& grid, double min, double max, std::uint32_t binCount) {
    PlainGrid const plain = plainGridOf(grid);
    Distribution distribution{std::vector<std::uint32_t>(binCount, 0U), 0};
    for (int v = 0; v < static_cast<int>(plain.highestV); ++v) {
        for (int u = 0; u < static_cast<int>(plain.highestU); ++u) {
            if (!plain.getIsQuadValid({u, v})) {
                continue;
            }
            ++distribution.count;
            double const bin = std::trunc((plain.getQuadArea({u, v}) - min) * binCount / (max - min));
            double const last = static_cast<double>(binCount - 1);
            ++distribution.bins[static_cast<std::size_t>(std::clamp(bin, 0.0, last))];
        }
    }
    return distribution;
}

std::string savedText(RectMesh const& grid) {
    TemporaryDirectory const directory;
    grid.saveQuadAreaDistribution(directory.file("areas.txt"));
    return readText(directory.file("areas.txt"));
}

std::vector<std::string> linesOf(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Columns as wide as 1, 2, 3, ..., so that quad u has the area u + 1.
RectMesh growingColumns(std::uint32_t columns) {
    return makeGrid(columns, 1, [](int u, int v) { return SpacePoint(0.5 * u * (u + 1), v, 0.0); });
}

TEST(AreaDistribution, BinsAreHalfOpenAndAnAreaEqualToTheMaximumFallsIntoTheLast) {
    // Areas 1, 2, 3, 4, 5 in four bins from 1 to 5.
    Distribution const distribution = distributionOf(growingColumns(5), 1.0, 5.0, 4);
    EXPECT_EQ(distribution.bins, (std::vector<std::uint32_t>{1, 1, 1, 2}));
    EXPECT_EQ(distribution.count, 5U);
}

TEST(AreaDistribution, AreasBeyondTheRangeGoIntoTheNearestBinAndCount) {
    Distribution const distribution = distributionOf(growingColumns(6), 2.0, 4.0, 2);
    EXPECT_EQ(distribution.bins, (std::vector<std::uint32_t>{2, 4}));
    EXPECT_EQ(distribution.count, 6U);
}

TEST(AreaDistribution, AllBinsAreZeroedFirst) {
    RectMesh grid = flatGrid(2, 2);
    punchHole(grid, {1, 1}, {1, 1});
    Distribution const distribution = distributionOf(grid, 0.0, 1.0, 3);
    EXPECT_EQ(distribution.bins, (std::vector<std::uint32_t>{0, 0, 0}));
    EXPECT_EQ(distribution.count, 0U);
}

TEST(AreaDistribution, OnlyValidQuadsCount) {
    RectMesh grid = growingColumns(5);
    punchHole(grid, {0, 0}, {0, 0});
    EXPECT_EQ(distributionOf(grid, 0.0, 10.0, 5).count, 4U);
}

TEST(AreaDistribution, ARangeOfNoWidthPutsAllQuadsIntoTheFirstBin) {
    Distribution const distribution = distributionOf(growingColumns(5), 3.0, 3.0, 4);
    EXPECT_EQ(distribution.bins, (std::vector<std::uint32_t>{5, 0, 0, 0}));
}

TEST(AreaDistribution, NoBinsAndNumbersThatAreNoneAreDefined) {
    RectMesh const grid = growingColumns(5);
    EXPECT_EQ(distributionOf(grid, 1.0, 5.0, 0).count, 5U);
    double const notANumber = std::numeric_limits<double>::quiet_NaN();
    double const infinity = std::numeric_limits<double>::infinity();
    for (double const limit : {notANumber, infinity, -infinity}) {
        for (Distribution const& distribution :
             {distributionOf(grid, limit, 5.0, 4), distributionOf(grid, 1.0, limit, 4)}) {
            EXPECT_EQ(std::accumulate(distribution.bins.begin(), distribution.bins.end(), 0U), 5U);
        }
    }
}

TEST(AreaDistribution, EveryFamilyIsCountedAsByThePlainWay) {
    for (GridFamily const& family : gridFamiliesWithQuads(81)) {
        SCOPED_TRACE(family.name);
        double const min = family.grid.getMinQuadArea();
        double const max = family.grid.getMaxQuadArea();
        if (min == max) {
            continue;
        }
        for (std::uint32_t const binCount : {1U, 7U, 1024U}) {
            Distribution const distribution = distributionOf(family.grid, min, max, binCount);
            Distribution const plain = plainDistribution(family.grid, min, max, binCount);
            EXPECT_EQ(distribution.bins, plain.bins);
            EXPECT_EQ(distribution.count, plain.count);
        }
    }
}

TEST(AreaDistribution, TheFileHas1024LinesOfRelativeAreaAndShare) {
    RectMesh grid = growingColumns(4);
    ASSERT_EQ(grid.getMeanQuadArea(), 2.5);
    std::vector<std::string> const lines = linesOf(savedText(grid));
    ASSERT_EQ(lines.size(), 1024U);
    // The middle of the first bin is 1 + 3 * 0.5 / 1024.
    EXPECT_EQ(lines[0], "0.400586 0.25");
    EXPECT_EQ(lines[1], "0.401758 0");
    EXPECT_EQ(lines[341], "0.800195 0.25") << "area 2";
    EXPECT_EQ(lines[682], "1.1998 0.25") << "area 3";
    EXPECT_EQ(lines[1023], "1.59941 0.25");
}

TEST(AreaDistribution, EveryFamilyIsWrittenAsByAStream) {
    for (GridFamily const& family : gridFamiliesWithQuads(82)) {
        SCOPED_TRACE(family.name);
        double const min = family.grid.getMinQuadArea();
        double const max = family.grid.getMaxQuadArea();
        double const mean = family.grid.getMeanQuadArea();
        if (min == max) {
            continue;
        }
        Distribution const plain = plainDistribution(family.grid, min, max, 1024);
        std::ostringstream text;
        text.imbue(std::locale::classic());
        for (std::uint32_t i = 0; i < 1024; ++i) {
            text << ((i + 0.5) / 1024 * (max - min) + min) / mean << " "
                 << static_cast<double>(plain.bins[i]) / plain.count << "\n";
        }
        EXPECT_EQ(savedText(family.grid), text.str());
    }
}

TEST(AreaDistribution, EqualAreasStandInTheFirstLine) {
    std::vector<std::string> const lines = linesOf(savedText(flatGrid(3, 3, 2.0)));
    ASSERT_EQ(lines.size(), 1024U);
    EXPECT_EQ(lines[0], "1 1");
    EXPECT_EQ(lines[1], "1 0");
    EXPECT_EQ(lines[1023], "1 0");
}

TEST(AreaDistribution, AGridWithoutQuadsHas1024LinesToo) {
    std::vector<std::string> const lines = linesOf(savedText(flatGrid(3, 0)));
    ASSERT_EQ(lines.size(), 1024U);
    EXPECT_EQ(lines[0], "inf nan");
    std::vector<std::string> const emptyLines = linesOf(savedText(RectMesh()));
    ASSERT_EQ(emptyLines.size(), 1024U);
    EXPECT_EQ(emptyLines[0], "nan nan") << "no sign, whatever the processor gives";
}

TEST(AreaDistribution, AFileThatCannotBeOpenedGivesTheStreamErrorAndTheTextAlone) {
    TemporaryDirectory const directory;
    RectMesh const grid = flatGrid(2, 2);
    EXPECT_TRUE(failsToOpen([&] { grid.saveQuadAreaDistribution(directory.file("none/areas.txt")); },
                            "Quad area distribution file open failure."));
}

} // namespace
} // namespace QELT::Testing
