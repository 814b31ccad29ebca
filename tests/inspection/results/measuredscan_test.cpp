#include "Inspection/results/measuredscan.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/records/failure.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace QELT::Inspection {
namespace {

using namespace Testing;

/// 20 by 10 quads of side 1 in the plane z = 0.
void writePlane(std::filesystem::path const& path) {
    Grid grid;
    grid.setAsPlane({20.0, 10.0}, 1.0, false, 10);
    saveGrid(grid, path);
}

/// Where the quads of that grid lie.
Point lowCornerOf(std::filesystem::path const& path) {
    Grid grid;
    loadGrid(grid, path);
    return grid.getPoint(GridIndex(0, 0));
}

void writeText(std::filesystem::path const& path, std::string const& text) {
    std::ofstream(path) << text;
}

/// A shot on the middle of every pixel from `height`, looking down if that is above; a line of text each.
std::string shotsOn(Point const& low, double height) {
    std::ostringstream text;
    text << "ox,oy,oz,dx,dy,dz,amplitude[%FSH],tof[us]\n";
    for (int v = 0; v < 10; ++v) {
        for (int u = 0; u < 20; ++u) {
            text << static_cast<double>(low.getX()) + u + 0.5 << ','
                 << static_cast<double>(low.getY()) + v + 0.4 << ',' << height << ",0,0,"
                 << (height > 0.0 ? -1 : 1) << ',' << 10 + u << ',' << 1 + v << '\n';
        }
    }
    return text.str();
}

class MeasuredScanTest : public testing::Test {
protected:
    MeasuredScanTest() {
        writePlane(folder / "plane.quads");
        writeText(folder / "shots.csv", shotsOn(lowCornerOf(folder / "plane.quads"), 20.0));
        options.grids.push_back({folder / "plane.quads"});
        options.shots.shots = folder / "shots.csv";
        options.result = folder / "r.h5";
        options.unit = "mm";
    }

    std::string complaint() const {
        try {
            measuredScan(options, nullptr);
        } catch (Failure const& failure) {
            return failure.what();
        }
        return "";
    }

    ScratchDirectory const folder;
    MeasuredScanOptions options;
};

TEST_F(MeasuredScanTest, everyShotComesToItsPixel) {
    options.quantities.depth = DepthOptions{"tof", 2900.0, {}, {}};
    MeasuredScan const scan = measuredScan(options, nullptr);
    Result const read = readResult(options.result);

    EXPECT_EQ(200u, scan.figures.shotCount);
    EXPECT_EQ(200u, scan.figures.echoCount);
    EXPECT_EQ(1.0, scan.coverage.reachedShare());
    EXPECT_EQ("mm", read.unit);
    EXPECT_EQ(20u, read.width);
    for (std::size_t v = 0; v < 10; ++v) {
        for (std::size_t u = 0; u < 20; ++u) {
            std::size_t const pixel = read.indexOf(u, v);
            EXPECT_EQ(10.0 + static_cast<double>(u), valueMapOf(read, "amplitude").values[pixel]);
            EXPECT_NEAR(1.45 * static_cast<double>(1 + v), valueMapOf(read, "depth").values[pixel], 1e-12);
            EXPECT_EQ(20.0, valueMapOf(read, "standoff").values[pixel]);
        }
    }
}

TEST_F(MeasuredScanTest, theSameRunWritesTheSameBytes) {
    measuredScan(options, nullptr);
    std::string const first = readText(options.result);
    std::string const record = readText(recordFileOf(options.result));
    measuredScan(options, nullptr);

    EXPECT_EQ(first, readText(options.result));
    EXPECT_EQ(record, readText(recordFileOf(options.result)));
    EXPECT_NE(std::string::npos, readResult(options.result).record.find("\"shots.csv\""));
}

TEST_F(MeasuredScanTest, theProbeStandsOutsideUnlessItIsTold) {
    writeText(folder / "shots.csv", shotsOn(lowCornerOf(folder / "plane.quads"), -20.0));
    MeasuredScan const found = measuredScan(options, nullptr);
    EXPECT_TRUE(found.hasFlippedNormals);
    EXPECT_EQ(200u, found.figures.echoCount);
    EXPECT_EQ(-1.0F, found.result.normals[2]);
    EXPECT_EQ(1u, found.notes.size());

    options.doFlipNormals = false;
    MeasuredScan const told = measuredScan(options, nullptr);
    EXPECT_EQ(200u, told.figures.angleCount);
    EXPECT_LT(told.countedShare(), leastCountedShare);
    EXPECT_EQ("100 % of the shots meet the surface from behind or at more than 90 degrees: check --pose, "
              "--beam-axis and --frame",
              told.notes.at(0));
}

TEST_F(MeasuredScanTest, whatIsRequiredIsJudged) {
    options.requiredCoverage = 1.0;
    options.requiredGap = 1.0;
    EXPECT_TRUE(measuredScan(options, nullptr).isCoverageReached);
    std::string text = readText(folder / "shots.csv");
    text.erase(text.rfind('\n', text.size() - 2) + 1);
    writeText(folder / "shots.csv", text);
    MeasuredScan const scan = measuredScan(options, nullptr);

    EXPECT_FALSE(scan.isCoverageReached);
    EXPECT_FALSE(scan.isGapKept);
    EXPECT_EQ(19u, scan.coverage.gapU);
    EXPECT_EQ(9u, scan.coverage.gapV);
}

TEST_F(MeasuredScanTest, aBadLineIsNamedAndNothingIsWritten) {
    writeText(folder / "shots.csv", readText(folder / "shots.csv") + "1,2,3,0,0,-1,loud,1\n");

    EXPECT_NE(std::string::npos, complaint().find("shots.csv, line 202")) << complaint();
    EXPECT_FALSE(std::filesystem::exists(options.result));
    options.shots.doSkipBad = true;
    EXPECT_EQ(1u, measuredScan(options, nullptr).counts.bad);
}

TEST_F(MeasuredScanTest, shotsElsewhereAreToldOf) {
    writeText(folder / "shots.csv", "ox,oy,oz,dx,dy,dz,a\n900,900,20,0,0,-1,1\n");

    MeasuredScan const scan = measuredScan(options, nullptr);

    EXPECT_EQ(1u, scan.figures.missedCount);
    EXPECT_EQ("100 % of the shots miss the surface: check --pose, --pose-unit, --beam-axis and --frame",
              scan.notes.at(0));
}

TEST_F(MeasuredScanTest, aGateThatNothingPassesIsToldOf) {
    options.quantities.gates = {gateIn("tof:50..60")};
    MeasuredScan const scan = measuredScan(options, nullptr);

    EXPECT_EQ(200u, scan.figures.noEchoCount);
    EXPECT_EQ("no shot has an echo within gates and conditions: compare these with the columns' units",
              scan.notes.at(0));
}

TEST_F(MeasuredScanTest, depthsAboveTheSurfaceAreToldOf) {
    options.quantities.depth = DepthOptions{"tof", 2900.0, 5.0, {}};
    MeasuredScan const scan = measuredScan(options, nullptr);

    ASSERT_EQ(1u, scan.notes.size());
    EXPECT_EQ("some depths are below 0: if times count from the surface already give --zero 0, else --zero "
              "or --front "
              "do not fit",
              scan.notes.at(0));
    options.quantities.depth->zero = 0.0;
    EXPECT_TRUE(measuredScan(options, nullptr).notes.empty());
}

TEST_F(MeasuredScanTest, theResultMayBeNoInput) {
    options.result = options.shots.shots;

    EXPECT_NE("", complaint());
    EXPECT_NE(std::string::npos, readText(folder / "shots.csv").find("amplitude"));
}

} // namespace
} // namespace QELT::Inspection
