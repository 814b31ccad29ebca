// The commands on clouds and the grid's self-test, through the program.

#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace cscan {
namespace {

using namespace Testing;

TEST(CloudCommands, fitPrintsTheSurface) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "3 0 0\n-1 0 0\n1 2 0\n1,-2,0\n1 0 2\n1 0 -2 # six points\n");
    Outcome const sphere = run(directory, {"fit", "sphere", "c.xyz"});
    ASSERT_EQ(sphere.status, 0) << sphere.errors;
    EXPECT_EQ(itemIn(sphere.output, "centre"), "(1, 0, 0)");
    EXPECT_EQ(itemIn(sphere.output, "radius"), "2");
    EXPECT_EQ(itemIn(sphere.output, "points used"), "6");

    writeText(directory / "p.xyz", "0 0 0\n1 0 .1\n-1 0 .1\n0 1 .3\n0 -1 .3\n");
    Outcome const paraboloid = run(directory, {"fit", "paraboloid", "p.xyz"});
    ASSERT_EQ(paraboloid.status, 0) << paraboloid.errors;
    EXPECT_NEAR(std::stod(itemIn(paraboloid.output, "curvature u")), 0.2, 1e-5);
    EXPECT_NEAR(std::stod(itemIn(paraboloid.output, "curvature v")), 0.6, 1e-5);

    std::string cylinder;
    for (int i = 0; i < 12; ++i) {
        double const angle = 0.5 * i;
        std::string const normal = std::to_string(std::cos(angle)) + " " + std::to_string(std::sin(angle));
        cylinder += normal + " " + std::to_string(0.1 * (i * i % 7)) + " " + normal + " 0\n";
    }
    writeText(directory / "cyl.xyz", cylinder);
    Outcome const tube = run(directory, {"fit", "cylinder", "cyl.xyz"});
    ASSERT_EQ(tube.status, 0) << tube.errors;
    EXPECT_NEAR(std::stod(itemIn(tube.output, "radius")), 1.0, 1e-3);
}

TEST(CloudCommands, registerPrintsTheMap) {
    ScratchDirectory const directory;
    std::string const three = "sx,sy,sz,tx,ty,tz\n0,0,0,5,0,0\n1,0,0,5,1,0\n0,1,0,4,0,0\n";
    writeText(directory / "three.csv", three);
    Outcome const rigid = run(directory, {"register", "three.csv"});
    ASSERT_EQ(rigid.status, 0) << rigid.errors;
    EXPECT_EQ(itemIn(rigid.output, "map"), "rigid");
    EXPECT_LT(std::stod(itemIn(rigid.output, "largest miss")), 1e-5);
    writeText(directory / "four.csv", three + "0,0,1,5,0,2\n");
    Outcome const affine = run(directory, {"register", "four.csv"});
    ASSERT_EQ(affine.status, 0) << affine.errors;
    EXPECT_EQ(itemIn(affine.output, "map"), "affine");
    EXPECT_EQ(itemIn(affine.output, "matrix row 1"), "(0, -1, 0)");
    EXPECT_EQ(itemIn(affine.output, "matrix row 3"), "(0, 0, 2)");
    EXPECT_EQ(itemIn(affine.output, "translation"), "(5, 0, 0)");
}

TEST(CloudCommands, registerWritesAFrameAndTellsItsResiduals) {
    ScratchDirectory const directory;
    std::string pairs = "sx;sy;sz;tx;ty;tz\n";
    for (int i = 0; i < 40; ++i) {
        int const x = 10 * (i % 8);
        int const y = 10 * (i / 8);
        int const z = i * i % 7;
        int const miss = i == 6 ? 2 : 0;
        pairs += std::to_string(x) + ';' + std::to_string(y) + ';' + std::to_string(z) + ",0;" +
                 std::to_string(5 - y) + ';' + std::to_string(x + miss) + ';' + std::to_string(z) + ",0\n";
    }
    writeText(directory / "pairs.csv", pairs);
    Outcome const outcome = run(directory, {"register", "pairs.csv", "--out", "frame.json", "--unit", "mm"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "map"), "rigid");
    EXPECT_EQ(itemIn(outcome.output, "pairs"), "40");
    EXPECT_EQ(itemIn(outcome.output, "frame"), "frame.json");
    EXPECT_NEAR(std::stod(itemIn(outcome.output, "residual rms")), 2.0 / std::sqrt(40.0), 0.05);
    EXPECT_NE(itemIn(outcome.output, "worst residual").find(", pair 7 of line 8"), std::string::npos);
    EXPECT_EQ(itemsIn(outcome.output, "outlier").size(), 1U);
    EXPECT_NE(readText(directory / "frame.json").find("\"rigid frame\""), std::string::npos);
    EXPECT_EQ(run(directory, {"register", "pairs.csv"}).status, 0);
    EXPECT_EQ(itemIn(run(directory, {"register", "pairs.csv"}).output, "frame"), "");
}

TEST(CloudCommands, neighboursComeNearestFirst) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "0 0 0\n10 0 0\n3 0 0\n-5 0 0\n");
    Outcome const outcome = run(directory, {"neighbours", "c.xyz", "--at", "2.5,0,0", "-k", "3"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    auto const lines = linesOf(outcome.output);
    ASSERT_EQ(lines.size(), 5U) << outcome.output;
    EXPECT_EQ(lines[2], "3      3   0  0  0.5");
    EXPECT_EQ(lines[3], "1      0   0  0  2.5");
    EXPECT_EQ(lines[4].substr(0, 2) == "2 " || lines[4].substr(0, 2) == "4 ", true) << lines[4];
}

TEST(CloudCommands, sayInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "0 0 0\n1 0\n");
    writeText(directory / "one.xyz", "0 0 0\n");
    writeText(directory / "same.xyz", "1 1 1\n1 1 1\n1 1 1\n1 1 1\n");
    writeText(directory / "two.csv", "sx,sy,sz,tx,ty,tz\n0,0,0,0,0,0\n1,0,0,1,0,0\n");
    std::vector<Mistake> const mistakes = {
        {{"fit", "sphere", "none.xyz"}, "none.xyz: cannot be read (No such file or directory)"},
        {{"fit", "sphere", "c.xyz"}, "c.xyz, line 2: 3 numbers expected, 2 found"},
        {{"fit", "cylinder", "one.xyz"}, "one.xyz, line 1: 6 numbers expected, 3 found"},
        {{"fit", "sphere", "same.xyz"}, "same.xyz: all points coincide"},
        {{"fit", "paraboloid", "one.xyz"}, "one.xyz: at least 3 points are needed, 1 found"},
        {{"register", "two.csv"}, "two.csv: 3 to 1000 pairs of points expected, 2 found"},
        {{"register", "two.csv", "--affine", "--out", "f.json"}, "--out excludes --affine"},
        {{"register", "two.csv", "--unit", "mm"}, "--unit requires --out"},
        {{"neighbours", "one.xyz", "--at", "0,0"}, "--at: '0,0' is not of the form X,Y,Z"},
        {{"neighbours", "one.xyz", "--at", "0,0,0", "-k", "0"}, "-k: '0' is not between 1 and 4294967295"},
        {{"neighbours", "one.xyz", "--at", "0,0,0", "-k", "x"}, "-k: 'x' is not a whole number"},
        {{"neighbours", "one.xyz", "--at", "0,0,0", "-k", "2"}, "one.xyz: holds 1 point, 2 asked for"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
}

} // namespace
} // namespace cscan
