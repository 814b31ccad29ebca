// The commands that work on measured C-scans, through the program.

#include "Inspection/results/coverage.h"
#include "Inspection/results/resultfile.h"
#include "tests/cscan/program.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <cmath>

namespace cscan {
namespace {

using namespace Testing;

/// Two round flaws on a plate of pixels of 0.5, one of 90 and one of 40 %FSH. The first one's level of -6 dB
/// is half-way to what is around, so that its rim is the disc's.
void writePlate(std::filesystem::path const& path) {
    Result result = resultOn(60, 40, flat(0.5));
    measure(result, [](Vector const& point) {
        double const first = std::hypot(point.getdX() - 8.13, point.getdY() - 10.07);
        double const second = std::hypot(point.getdX() - 22.0, point.getdY() - 11.0);
        return first < 4.0 ? 90.0 : (second < 2.0 ? 40.0 : 0.2);
    });
    writeResult(path, result);
}

std::vector<std::string> indicationsOf(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"indications", "plate.h5", "found.csv", "--value", "amplitude"});
    return arguments;
}

TEST(ResultCommands, TheProgramFindsIndicationsFromTheirPeaks) {
    ScratchDirectory const directory;
    writePlate(directory / "plate.h5");
    Outcome const outcome =
        run(directory, indicationsOf({"--threshold", "-6dB", "--from", "peak", "--min-peak", "20",
                                      "--min-area", "1", "--merge", "1", "--beam", "3", "--image",
                                      "found.png", "--poses", "poses.csv", "--standoff", "20"}));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "indications"), "2");
    auto const lines = linesOf(readText(directory / "found.csv"));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_NEAR(std::stod(fieldsOf(lines[1]).at(22)), 3.14159 * 16.0, 0.03 * 50.0);
    EXPECT_NEAR(std::stod(fieldsOf(lines[2]).at(3)), 40.0 * std::pow(10.0, -0.3), 1e-6);
    EXPECT_EQ(linesOf(readText(directory / "poses.csv")).size(), 3U);
    EXPECT_GT(coloursOf(directory / "found.png"), 5U);
}

/// Of the plate every third row is measured.
void writeLines(std::filesystem::path const& path, bool isFilled) {
    writePlate(path);
    Result result = readResult(path);
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (pixel / result.width % 3 != 1 && result.hasSurface(pixel)) {
            result.states[pixel] = PixelState::NotReached;
            result.counts[pixel] = 0;
            for (ValueMap& map : result.values) {
                map.values[pixel] = NAN;
            }
        }
    }
    if (isFilled) {
        fill(result, 10.0);
    }
    writeResult(path, result);
}

TEST(ResultCommands, WhatFallsToPiecesBetweenLinesOfShotsIsNotFit) {
    ScratchDirectory const directory;
    std::vector<std::string> const arguments{"--threshold", "60"};
    auto const remedyOf = [&] {
        Outcome const outcome = run(directory, indicationsOf(arguments));
        EXPECT_EQ(outcome.status, 3) << outcome.errors;
        EXPECT_GT(std::stoi(itemIn(outcome.output, "indications")), 1);
        return itemIn(outcome.output, "  remedy");
    };
    writeLines(directory / "plate.h5", false);
    EXPECT_TRUE(remedyOf().starts_with("scan with --fill"));
    writeLines(directory / "plate.h5", true);
    EXPECT_TRUE(remedyOf().starts_with("give --filled"));
    Outcome const outcome = run(directory, indicationsOf({"--threshold", "60", "--filled"}));
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(itemIn(outcome.output, "indications"), "1");
}

TEST(ResultCommands, TheProgramTakesPercentAndLevelsToo) {
    ScratchDirectory const directory;
    writePlate(directory / "plate.h5");
    auto const count = [&](std::vector<std::string> const& arguments) {
        Outcome const outcome = run(directory, indicationsOf(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        return itemIn(outcome.output, "indications");
    };
    EXPECT_EQ(count({"--threshold", "50%", "--from", "100"}), "1");
    EXPECT_EQ(count({"--threshold", "-12dB", "--from", "100"}), "2");
    EXPECT_EQ(count({"--threshold", "60"}), "1");
    EXPECT_EQ(count({"--threshold", "5", "--below"}), "1");
}

TEST(ResultCommands, TheProgramExportsByTheNamesEnd) {
    ScratchDirectory const directory;
    writePlate(directory / "plate.h5");
    for (char const* name : {"plate.vts", "plate.vtm", "plate.ply", "plate.npz", "plate.tif"}) {
        Outcome const outcome = run(directory, {"export", "plate.h5", name});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(itemIn(outcome.output, "quads"), "2400");
        EXPECT_EQ(itemIn(outcome.output, "value"), "amplitude:max");
        EXPECT_EQ(itemsIn(outcome.output, "file").at(0), name);
    }
    EXPECT_TRUE(std::filesystem::exists(directory / "plate_0.vts"));
    EXPECT_EQ(run(directory, {"export", "plate.h5", "limited.ply", "--limits", "0,50"}).status, 0);
    EXPECT_NE(readText(directory / "limited.ply").find(" to 50 %FSH "), std::string::npos);
}

TEST(ResultCommands, TheProgramSaysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writePlate(directory / "plate.h5");
    writeText(directory / "table.csv", "ox\n");

    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string part;
    };

    for (Case const& one : {
             Case{indicationsOf({"--threshold", "much"}), 2, "'much' is not a number"},
             Case{indicationsOf({"--threshold", "-6dB", "--below"}), 2,
                  "--below: what lies below has no peak"},
             Case{indicationsOf({"--threshold", "20", "--from", "50"}), 2,
                  "--from: needs a threshold in % or dB"},
             Case{indicationsOf({"--threshold", "3dB"}), 2, "less than 100% or 0dB"},
             Case{indicationsOf({"--threshold", "20", "--poses", "p.csv"}), 2, "--standoff"},
             Case{indicationsOf({"--threshold", "200"}), 1, "lies above the ceiling of amplitude:max, 100"},
             Case{{"indications", "plate.h5", "found.csv", "--value", "tof", "--threshold", "2"},
                  1,
                  "plate.h5: there is no value 'tof'"},
             Case{{"indications", "table.csv", "found.csv", "--value", "tof", "--threshold", "2"},
                  1,
                  "table.csv"},
             Case{{"indications", "plate.h5", "plate.h5", "--value", "amplitude", "--threshold", "2"},
                  1,
                  "plate.h5"},
             Case{{"export", "plate.h5", "plate.stl"}, 1, "plate.stl: results are exported to .vts"},
             Case{{"export", "plate.h5", "plate.ply", "--limits", "5,1"}, 2, "'5,1' is not from low to high"},
             Case{{"export", "missing.h5", "plate.ply"}, 1, "missing.h5"},
         }) {
        Outcome const outcome = run(directory, one.arguments);
        EXPECT_EQ(outcome.status, one.status) << outcome.errors;
        EXPECT_EQ(complaintsIn(outcome.errors).size(), 1U) << outcome.errors;
        EXPECT_NE(outcome.errors.find(one.part), std::string::npos) << outcome.errors;
        EXPECT_FALSE(std::filesystem::exists(directory / "found.csv"));
    }
}

} // namespace
} // namespace cscan
