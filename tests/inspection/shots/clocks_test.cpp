// Shots and poses with clocks of their own: where a shot was, and the lag between both.

#include "Inspection/records/numbers.h"
#include "Inspection/shots/shotreader.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::ScratchDirectory;
using Testing::writeText;

ShotOptions optionsIn(ScratchDirectory const& directory) {
    ShotOptions options;
    options.poses = directory / "p.csv";
    options.shots = directory / "s.csv";
    return options;
}

ShotBlock allOf(ShotReader& reader) {
    ShotBlock all;
    reader.read(all, 10000000);
    return all;
}

TEST(Clocks, AShotLiesBetweenThePosesAtItsTime) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv",
              "time[s];x;y;z;a;b;c\n1,0;0;0;0;0;0;0\n1,1;10;0;0;0;90;0\n1,2;10;20;0;0;90;0\n");
    writeText(directory / "s.csv", "time[ms],amp\n990,1\n1000,2\n1025,3\n1100,4\n1150,5\n1200,6\n1201,7\n");
    ShotOptions options = optionsIn(directory);
    options.pose.dialect = PoseDialect::ZyxDegrees;
    ShotReader reader(options);
    ShotBlock const block = allOf(reader);
    ASSERT_EQ(block.size(), 5U);
    EXPECT_EQ(block.values, (std::vector<double>{2.0, 3.0, 4.0, 5.0, 6.0}));
    EXPECT_NEAR(block.beams[1].origin.getX(), 2.5, 1e-6);
    EXPECT_NEAR(block.beams[1].direction.getdX(), std::sin(std::numbers::pi / 8.0),
                1e-9); // a quarter of 90 degrees
    EXPECT_NEAR(block.beams[1].direction.getdZ(), std::cos(std::numbers::pi / 8.0), 1e-9);
    EXPECT_NEAR(block.beams[3].origin.getY(), 10.0, 1e-5);
    EXPECT_EQ(reader.getCounts().outside, 2U);
    EXPECT_EQ(reader.getCounts().read, 7U);
    EXPECT_EQ(reader.getCounts().given, 5U);

    options.lag = 24.0;
    ShotReader later(options);
    ShotBlock const lagged = allOf(later);
    EXPECT_NEAR(lagged.beams[0].origin.getX(), 0.1, 1e-6); // stamped 1025
    EXPECT_EQ(lagged.values[0], 3.0);
}

TEST(Clocks, NothingIsToldAcrossAGap) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv", "t,x,y,z\n0,0,0,0\n0.01,1,0,0\n0.02,2,0,0\n0.08,8,0,0\n0.09,9,0,0\n");
    writeText(directory / "s.csv", "t,amp\n0.005,1\n0.03,2\n0.05,3\n0.085,4\n");
    ShotOptions options = optionsIn(directory);
    ShotReader reader(options); // five usual steps are 50 ms, the gap is 60 ms
    EXPECT_EQ(allOf(reader).values, (std::vector<double>{1.0, 4.0}));
    EXPECT_EQ(reader.getCounts().inGap, 2U);
    options.maxGap = 61.0;
    ShotReader patient(options);
    EXPECT_EQ(allOf(patient).size(), 4U);
}

TEST(Clocks, BadLinesOfBothTablesAreNamedOrCounted) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv", "t,x,y,z\n0,0,0,0\n1,1,,0\n2,2,0,0\n2,2,0,0\n3,oops,0,0\n4,4,0,0\n");
    writeText(directory / "s.csv", "t,amp\n0.5,1\n,2\n1.5,x\n1.0,4\n3,5\n");
    ShotOptions options = optionsIn(directory);
    options.doCheckLag = false;
    options.maxGap = 5000.0;
    std::string const poses = options.poses->string();
    EXPECT_EQ(messageOf([&] { ShotReader reader(options); }), poses + ", line 3: the pose is not complete");
    options.doSkipBad = true;
    ShotReader reader(options);
    ShotBlock const block = allOf(reader);
    ASSERT_EQ(block.size(), 3U);
    EXPECT_EQ(block.isBad, (std::vector<bool>{false, true, false}));
    EXPECT_TRUE(std::isnan(block.values[1]));
    EXPECT_NEAR(block.beams[2].origin.getX(), 3.0, 1e-6);
    auto const& counts = reader.getCounts();
    EXPECT_EQ(counts.bad, 6U);
    ASSERT_EQ(counts.firstBad.size(), 6U);
    EXPECT_EQ(counts.firstBad[1].cause, "the time of the pose is not behind that of the pose before it");
    EXPECT_EQ(counts.firstBad[2].cause, "'oops' in column 'x' is not a number");
    EXPECT_EQ(counts.firstBad[3].file, options.shots.string());
    EXPECT_EQ(counts.firstBad[3].cause, "the shot has no time");
    EXPECT_EQ(counts.firstBad[4].cause, "'x' in column 'amp' is not a number");
    EXPECT_EQ(counts.firstBad[5].cause, "the time of the shot goes back");
}

TEST(Clocks, TablesThatDoNotFitAreRefused) {
    ScratchDirectory const directory;
    ShotOptions const options = optionsIn(directory);
    std::string const poses = options.poses->string();
    std::string const shots = options.shots.string();
    auto const complaint = [&](std::string const& poseText, std::string const& shotText) {
        writeText(poses, poseText);
        writeText(shots, shotText);
        return messageOf([&] { ShotReader reader(options); });
    };
    EXPECT_EQ(
        complaint("x,y,z\n1,2,3\n", "t,amp\n1,2\n"),
        poses + ": no column 'time', which ties shots to poses; tell which it is with --columns time=COLUMN");
    EXPECT_EQ(complaint("t,x,y,z\n0,1,2,3\n1,1,2,3\n", "stamp[fortnight],amp\n1,2\n"),
              shots + ": 'fortnight' of column 'stamp' is no unit of time; write s, ms, us or ns");
    EXPECT_EQ(complaint("t,x,y,z\n0,1,2,3\n", "t,amp\n1,2\n"),
              poses + ": holds fewer than two poses with times");
}

TEST(Clocks, SaysThatBothKnowNothingOfEachOther) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv", "t,x,y,z\n0,0,0,0\n1,1,0,0\n");
    writeText(directory / "s.csv", "t,amp\n1700000000,1\n");
    ShotReader reader(optionsIn(directory));
    EXPECT_EQ(allOf(reader).size(), 0U);
    ASSERT_EQ(reader.getWarnings().size(), 1U);
    EXPECT_EQ(reader.getWarnings()[0].substr(0, 56),
              "every shot lies before the first pose or behind the last");
}

/// A raster there and back over a plate with flaws, by two clocks.
struct Cell {
    double lag = 0.05;          ///< seconds
    double speed = 100.0;       ///< millimetres a second
    double pause = 0.0;         ///< seconds at each end
    double poseStep = 1.0 / 83; ///< seconds
    double jitter = 0.001;      ///< of the poses' clock, seconds
    bool isLost = false;        ///< a flaw takes the echo away in place of weakening it
    bool isCurved = false;      ///< lines are circles about the z axis
    std::size_t lines = 21;
    double length = 100.0;

    double duration() const { return length / speed + pause; }

    /// Along the line and across, at a time.
    std::pair<double, double> placeAt(double time) const {
        double const line = std::clamp(std::floor(time / duration()), 0.0, static_cast<double>(lines) - 1.0);
        double const way = std::clamp((time - line * duration()) * speed, 0.0, length);
        return {std::fmod(line, 2.0) < 0.5 ? way : length - way, line};
    }

    Triple pointAt(double time) const {
        auto const [along, across] = placeAt(time);
        double const radius = 60.0;
        return isCurved ? Triple{radius * std::cos(along / radius), radius * std::sin(along / radius), across}
                        : Triple{along, across, 0.0};
    }

    bool isFlawAt(double time) const {
        auto const [along, across] = placeAt(time);
        return std::hypot(along - 30.0, across - 6.0) < 2.5 || std::hypot(along - 62.0, across - 14.0) < 4.0;
    }
};

void writeCell(ScratchDirectory const& directory, Cell const& cell) {
    std::mt19937 random(5);
    std::normal_distribution<double> noise(0.0, 1.0);
    double const end = cell.duration() * static_cast<double>(cell.lines);
    std::string poses = "time[s],x[mm],y[mm],z[mm]\n";
    for (double time = 0.0; time < end; time += cell.poseStep) {
        Triple const point = cell.pointAt(time);
        double const stamp = time + cell.jitter * std::clamp(noise(random), -2.0, 2.0);
        poses += toFixedText(stamp, 5);
        for (double const coordinate : point) {
            poses += ',' + toFixedText(coordinate + 0.02 * noise(random), 3);
        }
        poses += '\n';
    }
    std::string shots = "time[ms];amp[%FSH];count\n";
    int count = 0;
    for (double time = 0.0; time < end; time += 0.001) {
        bool const isFlaw = cell.isFlawAt(time);
        double const stamp = time + cell.lag + 0.0001 * std::clamp(noise(random), -3.0, 3.0);
        double const value = (isFlaw && !cell.isLost ? 40.0 : 80.0) + 2.0 * noise(random);
        shots += toFixedText(1000.0 * stamp, 3) + ';';
        shots += isFlaw && cell.isLost ? "" : toFixedText(value, 2);
        shots += ';' + std::to_string(++count) + '\n';
    }
    writeText(directory / "p.csv", poses);
    writeText(directory / "s.csv", shots);
}

LagFinding foundIn(ScratchDirectory const& directory, Cell const& cell) {
    writeCell(directory, cell);
    ShotOptions options = optionsIn(directory);
    options.doFindLag = true;
    ShotReader const reader(options);
    EXPECT_EQ(reader.getUsedLag(), reader.getLag()->lag);
    EXPECT_TRUE(reader.getWarnings().empty());
    return *reader.getLag();
}

void expectLag(LagFinding const& lag, double wanted) {
    EXPECT_NEAR(lag.lag, wanted, 2.0);
    EXPECT_LE(std::abs(lag.lag - wanted), lag.uncertainty);
    EXPECT_LT(lag.uncertainty, 2.0);
}

TEST(Lag, IsFoundByLinesThereAndBack) {
    ScratchDirectory const directory;
    LagFinding const lag = foundIn(directory, {});
    expectLag(lag, 50.0);
    EXPECT_EQ(lag.quantity, "amp");
    EXPECT_NEAR(lag.speed, 100.0, 3.0);
    EXPECT_GE(lag.linePairs, 18U);
}

TEST(Lag, IsFoundWithPausesOfEitherSignAndAtOtherSpeedsAndRates) {
    ScratchDirectory const directory;
    Cell pausing;
    pausing.pause = 0.4;
    expectLag(foundIn(directory, pausing), 50.0);
    Cell early;
    early.lag = -0.12;
    expectLag(foundIn(directory, early), -120.0);
    Cell often; // steps of 0.05 mm, noise of 0.02 mm
    often.poseStep = 0.0005;
    often.lines = 11;
    often.jitter = 0.0001;
    expectLag(foundIn(directory, often), 50.0);
    Cell slow;
    slow.speed = 40.0;
    slow.lag = 0.33;
    expectLag(foundIn(directory, slow), 330.0);
}

TEST(Lag, IsFoundOnACylinder) {
    ScratchDirectory const directory;
    Cell cell;
    cell.isCurved = true;
    expectLag(foundIn(directory, cell), 50.0);
}

TEST(Lag, IsFoundByEchoesThatAreLost) {
    ScratchDirectory const directory;
    Cell cell;
    cell.isLost = true;
    LagFinding const lag = foundIn(directory, cell);
    expectLag(lag, 50.0);
    EXPECT_EQ(lag.quantity, "amp, whether there is an echo");
}

TEST(Lag, IsWarnedOfWhereItIsNotTaken) {
    ScratchDirectory const directory;
    writeCell(directory, {});
    ShotOptions options = optionsIn(directory);
    options.pose.partUnit = "mm";
    ShotReader const uncorrected(options);
    EXPECT_EQ(uncorrected.getUsedLag(), 0.0);
    ASSERT_EQ(uncorrected.getWarnings().size(), 1U);
    std::string const& warning = uncorrected.getWarnings()[0];
    std::string const start = "lines there and lines back are set ";
    ASSERT_EQ(warning.substr(0, start.size()), start);
    EXPECT_NEAR(std::stod(warning.substr(start.size())), 10.0, 0.5) << warning; // twice 50 ms at 100 mm/s
    EXPECT_NE(warning.find("and 0 ms is used; try --lag auto"), std::string::npos) << warning;
    options.lag = 50.0;
    EXPECT_TRUE(ShotReader(options).getWarnings().empty());
    options.lag = 0.0;
    options.doCheckLag = false;
    EXPECT_TRUE(ShotReader(options).getWarnings().empty());
}

TEST(Lag, ThatCannotBeFoundIsRefusedWithTheReason) {
    ScratchDirectory const directory;
    ShotOptions options = optionsIn(directory);
    options.doFindLag = true;
    Cell single;
    single.lines = 1;
    writeCell(directory, single);
    EXPECT_EQ(messageOf([&] { ShotReader reader(options); }),
              options.shots.string() +
                  ": no lag can be found: the poses hold 0 pairs of neighbouring lines there "
                  "and back that shots belong to, 3 are needed; give --lag MS");
    Cell blank; // noise alone
    blank.lines = 4;
    writeCell(directory, blank);
    EXPECT_EQ(messageOf([&] { ShotReader reader(options); }),
              options.shots.string() +
                  ": no lag can be found: no measured value agrees between lines there and "
                  "lines back at any lag of less than half a line; give --lag MS");
}

} // namespace
} // namespace QELT::Inspection
