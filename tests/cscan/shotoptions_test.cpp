// What the command line tells of a table of shots.

#include "apps/cscan/commandline/shotoptions.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include <algorithm>

namespace cscan {
namespace {

/// The options as they are read; the complaint goes to `complaint`.
struct Parsed {
    ShotOptions options;
    std::string complaint;
};

Parsed parsedShots(std::vector<std::string> arguments) {
    Parsed result;
    CLI::App app;
    addShotOptions(app, result.options);
    std::reverse(arguments.begin(), arguments.end()); // as CLI11 takes them
    try {
        app.parse(arguments);
    } catch (CLI::ParseError const& error) {
        result.complaint = error.what();
    }
    return result;
}

TEST(ShotOptions, AreReadFromTheCommandLine) {
    Parsed const one =
        parsedShots({"--data", "s.csv", "--columns", "ox=X,amp[%]=7", "--pose", "xyz+zyx-deg", "--pose-unit",
                     "m", "--beam-axis", "-z", "--tool", "1,2,3,90,0,0", "--frame", "f.json", "--skip-bad"});
    EXPECT_EQ(one.complaint, "");
    EXPECT_EQ(one.options.shots, "s.csv");
    EXPECT_FALSE(one.options.poses.has_value());
    ASSERT_EQ(one.options.columns.entries.size(), 2U);
    EXPECT_EQ(one.options.columns.entries[1].unit, "%");
    EXPECT_EQ(one.options.pose.dialect, PoseDialect::ZyxDegrees);
    EXPECT_EQ(one.options.pose.unit, "m");
    EXPECT_EQ(one.options.pose.beamAxis, (Triple{0.0, 0.0, -1.0}));
    EXPECT_EQ(one.options.pose.tool->translation, (Triple{1.0, 2.0, 3.0}));
    EXPECT_NEAR(lengthOf(one.options.pose.tool->turn * Triple{1.0, 0.0, 0.0} - Triple{0.0, 1.0, 0.0}), 0.0,
                1e-15);
    EXPECT_EQ(one.options.frame, "f.json");
    EXPECT_TRUE(one.options.doSkipBad);

    Parsed const two =
        parsedShots({"--shots", "s.csv", "--poses", "p.csv", "--lag", "-12.5", "--max-gap", "40"});
    EXPECT_EQ(two.complaint, "");
    EXPECT_EQ(two.options.poses, "p.csv");
    EXPECT_EQ(two.options.lag, -12.5);
    EXPECT_FALSE(two.options.doFindLag);
    EXPECT_EQ(two.options.maxGap, 40.0);
    EXPECT_TRUE(parsedShots({"--shots", "s.csv", "--poses", "p.csv", "--lag", "auto"}).options.doFindLag);
}

TEST(ShotOptions, ThatMakeNoSenseAreRefused) {
    EXPECT_EQ(parsedShots({"--data", "s.csv", "--lag", "5"}).complaint, "--lag requires --poses");
    EXPECT_EQ(parsedShots({"--poses", "p.csv"}).complaint, "--poses requires --shots");
    EXPECT_EQ(parsedShots({"--shots", "s.csv"}).complaint, "--shots requires --poses");
    EXPECT_NE(
        parsedShots({"--shots", "s.csv", "--poses", "p.csv", "--data", "d.csv"}).complaint.find("excludes"),
        std::string::npos);
    EXPECT_EQ(parsedShots({"--pose", "euler"}).complaint,
              "--pose: 'euler' is no form of poses; there are 'origin+direction', 'xyz', 'xyz+zyx-deg', "
              "'xyz+xyz-deg', 'rotvec', 'quat-wxyz' and 'quat-xyzw'");
    EXPECT_EQ(parsedShots({"--tool", "1,2,3"}).complaint, "--tool: '1,2,3' is not of the form X,Y,Z,A,B,C");
    EXPECT_EQ(parsedShots({"--beam-axis", "w"}).complaint,
              "--beam-axis: 'w' is no axis; write x, y, z, -x, -y, -z or X,Y,Z");
    EXPECT_EQ(parsedShots({"--columns", "a=1,b"}).complaint,
              "--columns: 'a=1,b' names some columns and counts "
              "others; write NAME=COLUMN for each, or names alone");
    EXPECT_EQ(parsedShots({"--lag", "soon"}).complaint, "--lag: 'soon' is not a number");
}

} // namespace
} // namespace cscan
