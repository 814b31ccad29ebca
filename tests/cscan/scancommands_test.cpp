// The commands that ask several grids and that draw a footprint, through the program.

#include "Inspection/grids/gridfile.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cscan {
namespace {

using namespace Testing;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;

/// Quads of side 1 in the plane z = height, the low corner at (x, 0).
void writePlane(std::filesystem::path const& path, int width, int depth, double x, double height) {
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane(Size(width, depth), 1.0, false, 10));
    for (int v = 0; v <= depth; ++v) {
        for (int u = 0; u <= width; ++u) {
            grid.setPoint(GridIndex(u, v), Point(x + u, v, height));
        }
    }
    saveGrid(grid, path);
}

std::vector<std::string> scanOf(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "scan");
    arguments.insert(arguments.end(), {"--raster", "0.7", "--standoff", "5", "--direction", "0,0,-1", "--csv",
                                       "hits.csv", "--image", "scan"});
    return arguments;
}

TEST(ScanCommands, theProgramScansSeveralGridsAsOne) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    writePlane(directory / "b.quads", 6, 4, 5.0, 1.0);
    Outcome const outcome = run(directory, scanOf({"a.quads", "b.quads", "--offset", "0,0", "--offset", "5,0",
                                                   "--group", "0", "--group", "1"}));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "scan plane"), "11 x 4 quads");
    EXPECT_GT(std::stod(itemIn(outcome.output, "hit rate")), 75.0);
    int greatest = 0;
    auto const lines = linesOf(readText(directory / "hits.csv"));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        auto const fields = fieldsOf(lines[i]);
        greatest = fields.at(7) == "1" ? std::max(greatest, std::stoi(fields.at(0))) : greatest;
    }
    EXPECT_EQ(greatest, 10);
    EXPECT_GT(coloursOf(directory / "scan_distance.png"), 5U);

    Outcome const half = run(directory, scanOf({"a.quads", "b.quads", "--offset", "0,0", "--offset", "5,0",
                                                "--active", "1", "--active", "2", "--position", "1"}));
    ASSERT_EQ(half.status, 0) << half.errors;
    EXPECT_LT(std::stoul(itemIn(half.output, "beams")), std::stoul(itemIn(outcome.output, "beams")));
}

TEST(ScanCommands, theProgramSaysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writePlane(directory / "a.quads", 5, 4, 0.0, 0.0);
    std::vector<Mistake> const mistakes = {
        {scanOf({"a.quads", "a.quads", "--offset", "0,0"}), "--offset: given 1 times for 2 grids"},
        {scanOf({"a.quads", "--group", "0", "--group", "0"}), "--group: given 2 times for 1 grid"},
        {scanOf({"a.quads", "--offset", "-3,0"}), "--offset: '-3,0' is not between 0 and 1000000"},
        {scanOf({"a.quads", "--offset", "3"}), "--offset: '3' is not of the form U,V"},
        {scanOf({"a.quads", "--position", "32"}), "--position: '32' is not between 0 and 31"},
        {scanOf({"a.quads", "--active", "2"}), "a.quads: holds no valid node to lay a raster over"},
        {scanOf({"a.quads", "none.quads"}), "none.quads: cannot be read (No such file or directory)"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
}

/// 60 by 40 quads of side 0.5 in the plane z = 0.
Grid planeGrid() {
    Grid grid;
    grid.setAsPlane(Size(30.0, 20.0), 0.5, false, 10);
    return grid;
}

std::vector<std::string> footprintArguments(std::string const& origin, std::string const& axisB) {
    return {"footprint", "g.quads",     "--origin", origin,       "--axis-a", "2,0,0",   "--axis-b",
            axisB,       "--cotangent", "5",        "--aperture", "1",        "--image", "foot.png"};
}

TEST(ScanCommands, theProgramPrintsAndDrawsAFootprint) {
    ScratchDirectory const directory;
    Grid grid = planeGrid();
    saveGrid(grid, directory / "g.quads");
    Outcome const outcome = run(directory, footprintArguments("15.1,10.2,10", "0,-3,0"));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "quad"), "(30, 20)");
    EXPECT_NEAR(std::stod(itemIn(outcome.output, "half-axis along A").substr(1)), 6.0, 2e-3);
    EXPECT_GT(coloursOf(directory / "foot.png"), 20U);
    expectComplaint(directory,
                    {footprintArguments("50,10,10", "0,-1,0"), "g.quads: the beam's axis meets no quad"});
    expectComplaint(directory, {footprintArguments("15,10,10", "1,-1,0"),
                                "--axis-b: '1,-1,0' is not at a right angle to --axis-a"});
}

} // namespace
} // namespace cscan
