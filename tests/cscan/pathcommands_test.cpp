// The commands that plan a path and that simulate a measurement, through the program.

#include "Inspection/grids/gridfile.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

namespace cscan {
namespace {

using namespace Testing;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;

/// Quads of side 1/2 in the plane z = 0 from (0, 0) to (10, 10).
void writePlane(std::filesystem::path const& path) {
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane(Size(10.0, 10.0), 0.5, false, 10));
    for (int v = 0; v <= 20; ++v) {
        for (int u = 0; u <= 20; ++u) {
            grid.setPoint(GridIndex(u, v), Point(0.5 * u, 0.5 * v, 0.0));
        }
    }
    saveGrid(grid, path);
}

TEST(PathCommand, plansAPathAndTellsWhatItCovers) {
    ScratchDirectory const directory;
    writePlane(directory / "plane.quads");
    Outcome const outcome =
        run(directory, {"path", "plane.quads", "path.csv", "--step", "1", "--standoff", "20", "--speed", "10",
                        "--unit", "mm", "--require-coverage", "99"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "lines"), "10 along u in 10 runs, at most 1 mm apart on the surface");
    EXPECT_EQ(itemIn(outcome.output, "length"), "99 mm, 9.9 s");
    EXPECT_EQ(itemIn(outcome.output, "fired back"), "100 shots, 0 missed the part");
    EXPECT_EQ(itemIn(outcome.output, "covered"), "100.00 % of 100 mm2, by footprints of 1.5 mm");
    auto const lines = linesOf(readText(directory / "path.csv"));
    ASSERT_EQ(lines.size(), 101U);
    EXPECT_EQ(lines[0], "line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s,t[s]");
    EXPECT_TRUE(std::filesystem::exists(directory / "path.csv.json"));
}

TEST(PathCommand, drawsThePathIfAsked) {
    ScratchDirectory const directory;
    writePlane(directory / "plane.quads");
    Outcome const outcome =
        run(directory, {"path", "plane.quads", "path.csv", "--step", "3", "--standoff", "20", "--footprint",
                        "1", "--require-coverage", "90", "--picture", "path.png"});
    EXPECT_EQ(outcome.status, 3) << "also where it is not fit: " << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "image"), "path.png");
    EXPECT_EQ(readText(directory / "path.png").substr(1, 3), "PNG");
    EXPECT_NE(readText(directory / "path.png.json").find("\"command\": \"path\""), std::string::npos);
}

TEST(PathCommand, endsWithThreeIfLessIsCoveredThanRequired) {
    ScratchDirectory const directory;
    writePlane(directory / "plane.quads");
    Outcome const outcome = run(directory, {"path", "plane.quads", "path.csv", "--step", "3", "--standoff",
                                            "20", "--footprint", "1", "--require-coverage", "90"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_NE(itemIn(outcome.output, "verdict").find("NOT fit: "), std::string::npos);
    EXPECT_NE(itemIn(outcome.output, "longest gap"), "");
    EXPECT_TRUE(std::filesystem::exists(directory / "path.csv"));
}

TEST(PathCommand, tellsTheLongestGapInThePartsOwnPlace) {
    ScratchDirectory const directory;
    std::string text;
    for (int v = 0; v <= 10; ++v) {
        for (int u = 0; u <= 10; ++u) {
            text += "v " + std::to_string(500000 + u) + " " + std::to_string(v) + " 0\n";
        }
    }
    for (int v = 0; v < 10; ++v) {
        for (int low = 11 * v + 1; low < 11 * v + 11; ++low) {
            text += "f " + std::to_string(low) + " " + std::to_string(low + 1) + " " +
                    std::to_string(low + 12) + " " + std::to_string(low + 11) + "\n";
        }
    }
    writeText(directory / "far.obj", text);
    ASSERT_EQ(run(directory, {"prepare", "far.obj", "far.quads", "--pixel", "0.5"}).status, 0);
    Outcome const outcome = run(
        directory, {"path", "far.quads", "path.csv", "--step", "4", "--standoff", "20", "--footprint", "1"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    std::string const gap = itemIn(outcome.output, "longest gap");
    EXPECT_NE(gap.find("at (50000"), std::string::npos) << gap;
}

TEST(PathCommand, saysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writePlane(directory / "plane.quads");
    expectComplaint(directory,
                    {{"path", "plane.quads", "path.csv", "--standoff", "20"}, "--step is required"});
    expectComplaint(directory, {{"path", "plane.quads", "p.csv", "--step", "1e-4", "--standoff", "20"},
                                "the path would have more than 10 million poses; take a larger step"});
    expectComplaint(directory,
                    {{"path", "plane.quads", "p.csv", "--step", "1", "--standoff", "20", "--picture"},
                     "--picture: 1 required OUT.png missing"});
    expectComplaint(
        directory, {{"path", "plane.quads", "p.csv", "--step", "1", "--standoff", "20", "--picture", "p.csv"},
                    "p.csv: is to be written twice"});
    expectComplaint(directory, {{"path", "plane.quads", "p.csv", "--step", "1", "--standoff", "20",
                                 "--picture", "nowhere/p.png"},
                                "nowhere/p.png: cannot be written (No such file or directory)"});
    EXPECT_FALSE(std::filesystem::exists(directory / "p.csv"));
}

TEST(SimulateCommand, writesPartShotsAndTruth) {
    ScratchDirectory const directory;
    Outcome const outcome =
        run(directory, {"simulate", "cap", "out", "--window", "-8,-8,8,8", "--drop-line", "3", "--pose",
                        "quat-wxyz", "--tool", "0,0,100,0,180,0", "--decimal-commas"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "simulated"), "cap: computed from formulas, nothing was measured");
    EXPECT_EQ(itemIn(outcome.output, "shots"), "272 on 17 lines, 17 lost");
    for (char const* const name : {"part.stl", "part.obj", "shots.csv", "truth.json"}) {
        EXPECT_TRUE(std::filesystem::exists(directory / "out" / name)) << name;
    }
    auto const lines = linesOf(readText(directory / "out/shots.csv"));
    ASSERT_EQ(lines.size(), 274U);
    EXPECT_EQ(lines[1], "x;y;z;qw;qx;qy;qz;front[us];amplitude[%FSH];tof[us];backwall[%FSH]");
}

TEST(SimulateCommand, saysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writePlane(directory / "plane.quads");
    expectComplaint(directory,
                    {{"simulate", "cap", "out", "--drop", "101"}, "--drop: '101' is more than 100 percent"});
    expectComplaint(directory,
                    {{"simulate", "cap", "out", "--path", "path.csv", "--lag", "5"},
                     "--path: a planned path is measured on one clock, without --lag and --jitter"});
    expectComplaint(directory, {{"simulate", "cap", "out", "--tool", "0,0,100,0,180,0"},
                                "a tool's offset needs poses with rotations, such as xyz+zyx-deg"});
    EXPECT_FALSE(std::filesystem::exists(directory / "out"));
}

} // namespace
} // namespace cscan
