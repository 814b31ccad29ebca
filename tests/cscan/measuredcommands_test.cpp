// Measured shots, through the program.

#include "Inspection/grids/gridfile.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

namespace cscan {
namespace {

using namespace Testing;

/// Five pixels in a row, the low corner at the origin, and two lines of shots there and back.
void writeExample(ScratchDirectory const& directory) {
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane({5.0, 2.0}, 1.0, false, 10));
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 5; ++u) {
            grid.setPoint(GridIndex(u, v), Point(static_cast<float>(u), static_cast<float>(v), 0.0F));
        }
    }
    saveGrid(grid, directory / "g.quads");
    std::ofstream shots(directory / "shots.csv");
    shots << "# by hand\nox;oy;oz;dx;dy;dz;amplitude [%FSH];tof [us]\n";
    for (char const* const line :
         {"0,5;0,4;20;0;0;-1;40;2,0", "1,5;0,4;20;0;0;-1;80;2,0", "2,5;0,4;20;0;0;-1;;",
          "3,5;0,4;20;0;0;-1;100;2,0", "3,5;1,4;20;0;0;-1;70;2,0", "2,5;1,4;20;0;0;-1;70;2,0",
          "1,5;1,4;20;0;0;-1;70;2,0", "0,5;1,4;20;0;0;-1;70;2,0"}) {
        shots << line << '\n';
    }
}

std::vector<std::string> scanWith(std::vector<std::string> const& more) {
    std::vector<std::string> arguments{"scan",     "g.quads", "--data", "shots.csv",
                                       "--result", "r.h5",    "--unit", "mm"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

TEST(MeasuredCommands, theProgramPlacesATableOfShots) {
    ScratchDirectory const directory;
    writeExample(directory);
    Outcome const outcome =
        run(directory, scanWith({"--depth", "tof", "--speed", "2900", "--reference", "80"}));

    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "shots"), "8, 0 beside the surface");
    EXPECT_EQ(itemIn(outcome.output, "echoes"), "7, 1 of them saturated; 1 shots without");
    EXPECT_EQ(itemIn(outcome.output, "reached"), "80.00 % of 10 mm^2, by true area");
    EXPECT_EQ(itemIn(outcome.output, "  amplitude:max"), "-6.021 to 1.938 dB on 7 pixels");
    EXPECT_EQ(itemIn(outcome.output, "  depth:min"), "2.9 to 2.9 mm on 7 pixels");
    EXPECT_EQ(itemIn(outcome.output, "not reached"), "1 patch with gaps over 0 mm");

    Outcome const info = run(directory, {"info", "r.h5"});
    ASSERT_EQ(info.status, 0) << info.errors;
    EXPECT_EQ(itemIn(info.output, "pixels"), "5 x 2");
    EXPECT_EQ(itemIn(info.output, "  fits"), "yes");
}

TEST(MeasuredCommands, theProgramDrawsAValueOfAResult) {
    ScratchDirectory const directory;
    writeExample(directory);
    ASSERT_EQ(run(directory, scanWith({})).status, 0);
    for (auto const& style : std::vector<std::vector<std::string>>{
             {"--value", "amplitude"},
             {"--value", "amplitude:max", "--limits", "0,100", "--map", "grey"},
             {"--value", "tof", "--bands", "0,1,2,4"},
             {"--value", "amplitude", "--spot", "3", "--map", "diverging"},
             {}}) {
        std::vector<std::string> arguments{"picture", "r.h5", "p.png"};
        arguments.insert(arguments.end(), style.begin(), style.end());
        Outcome const outcome = run(directory, arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_GT(coloursOf(directory / "p.png"), 3U);
    }
    for (Mistake const& mistake :
         std::vector<Mistake>{{{"picture", "r.h5", "p.png", "--value", "depth"},
                               "there is no value 'depth'; the result has amplitude:max, tof:min, "
                               "standoff:mean, incidence:max"},
                              {{"picture", "r.h5", "p.png", "--value", "tof", "--limits", "2,1"},
                               "--limits: '2,1' does not rise"},
                              {{"picture", "r.h5", "p.png", "--value", "tof", "--bands", "2"},
                               "--bands: '2' is not two numbers or more that rise"},
                              {{"picture", "g.quads", "p.png"},
                               "g.quads: is no result of a scan; 'cscan scan --data' writes one"}}) {
        expectComplaint(directory, mistake);
    }
}

TEST(MeasuredCommands, whatIsRequiredAndNotMetEndsWithStatus3) {
    ScratchDirectory const directory;
    writeExample(directory);

    EXPECT_EQ(run(directory, scanWith({"--require-coverage", "80"})).status, 0);
    Outcome const outcome = run(directory, scanWith({"--require-coverage", "81"}));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(itemIn(outcome.output, "verdict"), "NOT fit: less of the surface was reached than is required");
    EXPECT_EQ(itemIn(run(directory, scanWith({"--require-gap", "0.5"})).output, "verdict"),
              "NOT fit: a gap is longer than is allowed");
}

TEST(MeasuredCommands, theProgramSaysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writeExample(directory);
    std::vector<Mistake> const mistakes = {
        {{"scan", "g.quads", "--data", "shots.csv"}, "scan: --result is required with a table of shots"},
        {scanWith({"--raster", "1", "--standoff", "5", "--direction", "0,0,-1"}),
         "scan: --raster does not go with a table of shots"},
        {scanWith({"--standoff", "20"}),
         "scan: --standoff and --standoff-tolerance go together with a table of shots"},
        {scanWith({"--value", "amplitude:best"}),
         "--value: 'amplitude:best' is not of the form NAME:min, max, mean, median, last or count"},
        {scanWith({"--value", "height:max"}), "there is no column 'height'; the table has amplitude, tof"},
        {scanWith({"--gate", "tof:2"}), "--gate: 'tof:2' is not of the form NAME:FROM..TO"},
        {scanWith({"--max-angle", "91"}), "--max-angle: '91' is more than 90 degrees off head-on"},
        {scanWith({"--require-coverage", "101"}), "--require-coverage: '101' is more than 100 percent"},
        {scanWith({"--front", "tof"}), "scan: --front goes with --depth, --couplant-speed or both"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
}

} // namespace
} // namespace cscan
