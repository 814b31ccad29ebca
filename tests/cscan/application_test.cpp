// Runs the program itself, as a user would.

#include "Inspection/grids/gridfile.h"
#include "simulation/bladepart.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;

constexpr unsigned around = 150;
constexpr unsigned rings = 8;

void makePart(ScratchDirectory const& directory) {
    writeFaces(QELT::Simulation::measuredBlade({around, rings, 0.003, 7}), directory / "part.obj");
}

void makeGrid(ScratchDirectory const& directory) {
    makePart(directory);
    Outcome const outcome =
        run(directory, {"prepare", "part.obj", "part.quads", "--quad-area", "4", "--mode", "pinned"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
}

void expectSolverItems(std::string const& output, std::vector<std::string> const& subjects) {
    std::vector<std::string> items;
    for (std::string const& line : linesOf(output)) {
        if (line.rfind("solver ", 0) == 0) {
            items.push_back(line.substr(line.find_first_not_of(' ', 7)));
        }
    }
    ASSERT_EQ(items.size(), subjects.size()) << output;
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].rfind(subjects[i] + ": ", 0), 0U) << items[i];
        EXPECT_NE(items[i].find(" refinements, residual "), std::string::npos) << items[i];
        EXPECT_NE(items[i].find(", converged"), std::string::npos) << items[i];
    }
}

TEST(Cscan, prepareTellsWhatItFoundOnTheWay) {
    ScratchDirectory const directory;
    makePart(directory);
    Outcome const outcome = run(directory, {"prepare", "part.obj", "part.quads", "--quad-area", "4", "--mode",
                                            "pinned", "--flat", "flat.obj"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "vertices"), std::to_string(around * (rings + 1)));
    EXPECT_EQ(itemIn(outcome.output, "faces"), std::to_string(2 * around * rings));
    EXPECT_EQ(itemIn(outcome.output, "boundary loops"), "2");
    EXPECT_EQ(itemIn(outcome.output, "  loop 1").find("150 edges, length 3"), 0U) << outcome.output;
    EXPECT_EQ(itemIn(outcome.output, "  loop 2").find("150 edges, length 5"), 0U) << outcome.output;
    EXPECT_EQ(itemIn(outcome.output, "flipped triangles"), "0");
    expectSolverItems(outcome.output, {"map"});
    EXPECT_FALSE(itemIn(outcome.output, "quad area").empty());
    EXPECT_TRUE(std::filesystem::exists(directory / "part.quads"));

    std::string const flat = run(directory, {"info", "flat.obj"}).output;
    EXPECT_EQ(itemIn(flat, "flat coordinates"), "yes");
    EXPECT_EQ(itemIn(flat, "vertices"), itemIn(outcome.output, "vertices"));
    EXPECT_EQ(itemIn(flat, "flipped triangles"), "0");
}

TEST(Cscan, prepareInDevelopableModeReportsBothSolves) {
    ScratchDirectory const directory;
    makePart(directory);
    Outcome const outcome =
        run(directory, {"prepare", "part.obj", "part.quads", "--quad-area", "4", "--mode", "developable"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    expectSolverItems(outcome.output, {"boundary", "inside"});
    EXPECT_EQ(outcome.output.find("Residual L2 norm"), std::string::npos);
}

TEST(Cscan, printsTheLibrarysMessagesWhereStandardErrorIsNoTerminal) {
    ScratchDirectory const directory;
    makePart(directory);
    Outcome const outcome =
        run(directory, {"prepare", "part.obj", "part.quads", "--quad-area", "4", "--mode", "pinned"});
    std::vector<std::string> const expected = {"Initialising file load: part.obj.",
                                               "Reading 3D coordinates...",
                                               "Reading connectivity information...",
                                               "Constructing triangle mesh...",
                                               "Promoting interior...",
                                               "Constructing order 2696 Laplace-Beltrami matrix...",
                                               "Solving linear system...",
                                               "Starting C-scan orientation calculation...",
                                               "Resampling...",
                                               "Writing point flags...",
                                               "Writing quad points..."};
    EXPECT_EQ(linesOf(outcome.errors), expected);
}

TEST(Cscan, infoTellsWhatAGridHolds) {
    ScratchDirectory const directory;
    makeGrid(directory);
    Outcome const outcome = run(directory, {"info", "part.quads"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(itemIn(outcome.output, "version"), "1");
    EXPECT_EQ(itemIn(outcome.output, "source name"), "part");
    EXPECT_EQ(itemIn(outcome.output, "coordinates"), "32-bit float");
    EXPECT_EQ(itemIn(outcome.output, "  cut boundary"), "0");
    EXPECT_NE(itemIn(outcome.output, "  interior"), "0");
}

TEST(Cscan, scanOfARasterWritesEveryHitAndTheImages) {
    ScratchDirectory const directory;
    makeGrid(directory);
    Outcome const outcome = run(directory, {"scan", "part.quads", "--raster", "1", "--standoff", "5",
                                            "--direction", "0,0,-1", "--csv", "hits.csv", "--image", "scan"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    auto const lines = linesOf(readText(directory / "hits.csv"));
    EXPECT_EQ(lines.at(0), "u,v,x,y,z,distance,angle,valid,state");
    EXPECT_EQ(std::to_string(lines.size() - 1), itemIn(outcome.output, "beams"));
    std::size_t hitCount = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        hitCount += fieldsOf(lines[i]).at(7) == "1" ? 1U : 0U;
    }
    EXPECT_EQ(std::to_string(hitCount), itemIn(outcome.output, "hits"));
    // The patch fills most of its bounding box; its corners and the cut-out are missed.
    EXPECT_GT(hitCount, 80 * lines.size() / 100);
    EXPECT_LT(hitCount, 99 * lines.size() / 100);
    for (char const* name : {"scan_distance.png", "scan_angle.png"}) {
        EXPECT_GT(coloursOf(directory / name), 50U) << name;
    }
    EXPECT_GT(coloursOf(directory / "scan_coverage.png"), 10U);
}

TEST(Cscan, scanOfGivenBeamsMeasuresEachOfThem) {
    ScratchDirectory const directory;
    makeGrid(directory);
    writeText(directory / "beams.csv", "ox,oy,oz,dx,dy,dz\n-10.1,3.2,20,0,0,-1\n5,-14,20,0,0,-1\n"
                                       "-9.7,3.4,20,0.1,0,-2\n-9.7,3.4,-20,0,0,1\n");
    Outcome const outcome = run(directory, {"scan", "part.quads", "--beams", "beams.csv", "--csv", "hits.csv",
                                            "--image", "scan", "--unit", "mm"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    auto const lines = linesOf(readText(directory / "hits.csv"));
    ASSERT_EQ(lines.size(), 5U);
    auto const straight = fieldsOf(lines[1]);
    EXPECT_NEAR(std::stod(straight.at(2)), -10.1, 1e-4);
    EXPECT_NEAR(std::stod(straight.at(3)), 3.2, 1e-4);
    EXPECT_NEAR(std::stod(straight.at(4)) + std::stod(straight.at(5)), 20.0, 1e-4);
    EXPECT_GT(std::stod(straight.at(6)), 2.5);
    EXPECT_EQ(lines[2], ",,,,,,,0,miss") << "over the cut-out";
    auto const oblique = fieldsOf(lines[3]);
    EXPECT_NEAR(std::stod(oblique.at(2)) + 9.7, 0.05 * (20.0 - std::stod(oblique.at(4))), 1e-4);
    auto const fromBelow = fieldsOf(lines[4]);
    EXPECT_EQ(fromBelow.at(7), "1");
    EXPECT_LT(std::stod(fromBelow.at(6)), 0.7);
    EXPECT_EQ(itemIn(outcome.output, "from behind").find("1 hit "), 0U) << outcome.output;
}

TEST(Cscan, selftestFiresTheArrayAndEndsWithoutRoom) {
    ScratchDirectory const directory;
    makeGrid(directory);
    Outcome const outcome =
        run(directory, {"selftest", "part.quads", "--lines", "5", "--elements", "3", "--pitch", "2"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "lines"), "5");
    EXPECT_GT(std::stoul(itemIn(outcome.output, "beams")), 15UL);
    EXPECT_EQ(itemIn(outcome.output, "failed"), "0");
    expectComplaint(directory, {{"selftest", "part.quads", "--elements", "8", "--pitch", "90"},
                                "part.quads: no line with room for an array of 8 beams at a pitch of 90 was "
                                "found"});
    expectComplaint(
        directory, {{"selftest", "part.quads", "--lines", "0"}, "--lines: '0' is not between 1 and 1000000"});
}

TEST(Cscan, selftestDoesNotBlameTheSearchForBeamsOnDiagonals) {
    ScratchDirectory const directory;
    Grid plane;
    plane.setAsPlane({60.0, 60.0}, 1.0, false, 100);
    saveGrid(plane, directory / "plane.quads");
    Outcome const outcome =
        run(directory, {"selftest", "plane.quads", "--lines", "30", "--elements", "8", "--pitch", "1"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(std::stoul(itemIn(outcome.output, "failed")), 0UL);
    EXPECT_NE(itemIn(outcome.output, "note").find("where the two triangles of its quad meet"),
              std::string::npos)
        << outcome.output;
}

TEST(Cscan, demoDoesTheWholeJobAndDrawsIt) {
    ScratchDirectory const directory;
    Outcome const outcome = run(directory, {"demo", "out/demo"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    for (char const* stage : {"make part", "load OBJ", "flatten", "resample", "save and reload", "fire beams",
                              "two grids as one", "draw", "footprint"}) {
        EXPECT_FALSE(itemIn(outcome.output, stage).empty()) << stage;
    }
    EXPECT_NE(itemIn(outcome.output, "load OBJ").find("2 boundary loops"), std::string::npos);
    EXPECT_NE(itemIn(outcome.output, "flatten").find(", 0 flipped triangles"), std::string::npos);
    std::string const beams = itemIn(outcome.output, "fire beams");
    EXPECT_GE(std::stoul(beams.substr(beams.find(" s ") + 3)), 100000UL) << beams;
    // The path covers 64 mm by 114 mm; the patch without its cut-out fills about 84 % of that.
    double const hitRate = std::stod(beams.substr(beams.find("hit rate ") + 9));
    EXPECT_NEAR(hitRate, 84.0, 3.0) << beams;
    EXPECT_TRUE(std::filesystem::exists(directory / "out/demo/blade.obj"));
    EXPECT_TRUE(std::filesystem::exists(directory / "out/demo/blade.quads"));
    for (char const* name : {"distance.png", "angle.png"}) {
        EXPECT_GT(coloursOf(directory / (std::string("out/demo/") + name)), 100U) << name;
    }
    std::string const inTwo = itemIn(outcome.output, "two grids as one");
    auto const number = [](std::string const& text, std::string const& before) {
        return std::stod(text.substr(text.find(before) + before.size()));
    };
    // Next to all beams: at steps of the search from quad to quad the two ways may part.
    EXPECT_GT(number(inTwo, " s "), 0.999 * number(inTwo, " of ")) << inTwo;
    for (char const* name : {"plane_distance.png", "plane_angle.png", "footprint.png"}) {
        EXPECT_GT(coloursOf(directory / (std::string("out/demo/") + name)), 50U) << name;
    }
    EXPECT_GE(coloursOf(directory / "out/demo/coverage.png"), 8U);
    EXPECT_GE(coloursOf(directory / "out/demo/flatmap.png"), 8U);
}

TEST(Cscan, saysInOneLineWhatIsWrongWithThePart) {
    ScratchDirectory const directory;
    makePart(directory);
    writeText(directory / "closed.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                        "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    writeText(directory / "wrong.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 9 1 2\n");
    writeText(directory / "square.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0.5 0.5 0\n"
                                        "f 1 2 5\nf 2 3 5\nf 3 4 5\nf 4 1 5\n");
    std::string const absent = ": cannot be read (No such file or directory)";
    std::vector<Mistake> const mistakes = {
        {{"prepare", "none.obj", "g.quads", "--quad-area", "1"}, "none.obj" + absent},
        {{"prepare", "closed.obj", "g.quads", "--quad-area", "1"},
         "closed.obj: the part is closed, it has no rim (around (0.333333, 0.333333, 0)); remedy: cscan crop "
         "closed.obj closed_face.obj --grow 0.333333,0.333333,0.333333 --crease 30"},
        {{"prepare", "wrong.obj", "g.quads", "--quad-area", "1"},
         "wrong.obj, line 4: there is no point 9: the file holds 3, 3 of them above this line"},
        {{"prepare", "part.obj", "g.grid", "--quad-area", "1"},
         "g.grid: the name of a grid file must end in .quads"},
        {{"prepare", "part.obj", "none/g.quads", "--quad-area", "1"},
         "none/g.quads: cannot be written (No such file or directory)"},
        {{"prepare", "part.obj", "g.quads", "--quad-area", "1", "--flat", "none/f.obj"},
         "none/f.obj: cannot be written (No such file or directory)"},
        {{"prepare", "part.obj", "g.quads", "--quad-area", "1e9", "--mode", "pinned"},
         "part.obj: No boundary found"},
        {{"prepare", "square.obj", "g.quads", "--quad-area", "1e-8", "--mode", "pinned"},
         "square.obj: pixels of 0.0001 make a grid of about 10000 x 10000 quads; --pixel 0.001 makes 1000 on "
         "the longer side"},
        {{"info", "none.obj"}, "none.obj" + absent},
        {{"info", "stdout.txt"}, "stdout.txt: is empty"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
    EXPECT_FALSE(std::filesystem::exists(directory / "g.quads"));
}

TEST(Cscan, saysInOneLineWhatIsWrongWithTheScan) {
    ScratchDirectory const directory;
    makeGrid(directory);
    writeText(directory / "empty.csv", "ox,oy,oz,dx,dy,dz\n");
    writeText(directory / "bad.csv", "ox,oy,oz,dx,dy,dz\n0,0,0,0,0,1\n0,0,zero,0,0,1\n");
    writeText(directory / "short.quads", readText(directory / "part.quads").substr(0, 1000));
    writeText(directory / "text.quads", "text");
    auto const withBeams = [](std::string const& grid, std::string const& beams) {
        return std::vector<std::string>{"scan",  grid,       "--beams", beams,
                                        "--csv", "hits.csv", "--image", "scan"};
    };
    std::vector<Mistake> const mistakes = {
        {withBeams("part.quads", "empty.csv"), "empty.csv: holds no beams"},
        {withBeams("part.quads", "bad.csv"), "bad.csv, line 3: 'zero' is no number for oz"},
        {withBeams("part.quads", "none.csv"), "none.csv: cannot be read (No such file or directory)"},
        {withBeams("none.quads", "bad.csv"), "none.quads: cannot be read (No such file or directory)"},
        {withBeams("text.quads", "bad.csv"), "text.quads: Invalid .quads file."},
        {{"scan", "part.quads", "--raster", "1", "--standoff", "1", "--direction", "0,0,1", "--csv",
          "hits.csv", "--image", "none/scan"},
         "none/scan_distance.png: cannot be written (No such file or directory)"},
        {{"scan", "part.quads", "--raster", "1", "--standoff", "1", "--direction", "0,0,1", "--csv",
          "none/hits.csv", "--image", "scan"},
         "none/hits.csv: cannot be written (No such file or directory)"},
        {{"scan", "part.quads", "--csv", "hits.csv", "--image", "scan"},
         "scan: --beams, --raster or --data is required"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
    Outcome const cutShort = run(directory, withBeams("short.quads", "empty.csv"));
    EXPECT_EQ(cutShort.status, 1);
    EXPECT_EQ(cutShort.errors.rfind("cscan: short.quads: the file is cut short (1000 bytes, ", 0), 0U);
}

TEST(Cscan, reportsAStandardOutputThatIsFull) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    ScratchDirectory const directory;
    std::string const command =
        quoted(CSCAN_BINARY) + " --help > /dev/full 2> " + quoted((directory / "stderr.txt").string());
    int const status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(readText(directory / "stderr.txt"), "cscan: the standard output cannot be written\n");
}

TEST(Cscan, exitsWithTwoWhenItIsWronglyUsed) {
    ScratchDirectory const directory;
    EXPECT_EQ(run(directory, {}).status, 2);
    EXPECT_EQ(run(directory, {"fly"}).status, 2);
    EXPECT_EQ(run(directory, {"info", "none.obj"}).status, 1);
    EXPECT_EQ(run(directory, {"--help"}).status, 0);
}

} // namespace
} // namespace cscan
