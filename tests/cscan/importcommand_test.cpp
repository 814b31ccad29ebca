// Parts of other programs, through the program.

#include "tests/cscan/program.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;

TEST(ImportCommand, tellsWhatWentInAndCameOut) {
    ScratchDirectory const directory;
    writeText(directory / "cube.stl", stlBinary());
    Outcome const outcome = run(directory, {"import", "cube.stl", "out.obj", "--map", "x,-z,y"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "format"), "STL, binary, a mesh");
    EXPECT_EQ(itemIn(outcome.output, "points"), "36 in, 8 out");
    EXPECT_EQ(itemIn(outcome.output, "welded"), "28 points within 1.73205e-06");
    EXPECT_EQ(itemIn(outcome.output, "triangles"), "12 in, 12 out");
    EXPECT_EQ(itemIn(outcome.output, "left out"), "0 degenerate triangles");
    EXPECT_EQ(itemIn(outcome.output, "note"), "");
}

TEST(ImportCommand, tellsOfAMirrorAndOfAMove) {
    ScratchDirectory const directory;
    writeText(directory / "far.off", "OFF\n3 1 0\n500000 0 0\n500003 0 0\n500000 4 0\n3 0 1 2\n");
    Outcome const outcome = run(directory, {"import", "far.off", "out.obj", "--map", "-x,y,z"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "note"),
              "--map is a mirror; the triangles were turned to face outward as before");
    EXPECT_EQ(itemIn(outcome.output, "moved"),
              "(-500002, 0, 0) was taken off all points; add it to come back to the file's place");
    EXPECT_EQ(readText(directory / "out.obj"), "v 2 0 0\nv -1 0 0\nv 2 4 0\nf 1 3 2\n");
    Outcome const left = run(directory, {"import", "far.off", "left.obj", "--keep-place"});
    EXPECT_EQ(itemIn(left.output, "moved"), "");
    EXPECT_TRUE(itemIn(left.output, "note").starts_with("coordinates go up to 500003")) << left.output;
}

TEST(ImportCommand, prepareAndInfoTakeOtherFormatsAtOnce) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh() + "g end\nvt 0 0\n");
    Outcome const info = run(directory, {"info", "patch.obj"});
    ASSERT_EQ(info.status, 0) << info.errors;
    EXPECT_EQ(itemIn(info.output, "triangles"), "240 in, 240 out");
    writeText(directory / "a.csv", "x;y;z\n0;0;0,5\n3;4;0,5\n");
    Outcome const cloud = run(directory, {"info", "a.csv"});
    EXPECT_EQ(itemIn(cloud.output, "format"), "table, points");
    EXPECT_EQ(itemIn(cloud.output, "extent"), "5 across");
    writeText(directory / "cube.stl", stlText());
    Outcome const closed = run(directory, {"prepare", "cube.stl", "g.quads", "--quad-area", "0.1"});
    EXPECT_EQ(closed.status, 1);
    EXPECT_EQ(itemIn(closed.output, "points"), "36 in, 8 out");
}

TEST(ImportCommand, saysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writeText(directory / "cube.stl", stlText());
    writeText(directory / "part.step", "ISO-10303-21;\n");
    writeText(directory / "grid.obj", "QELTQuad");
    writeText(directory / "empty.ply", "");
    writeText(directory / "cube.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    std::vector<Mistake> const mistakes = {
        {{"import", "cube.stl", "o.obj", "--map", "x,y"},
         "--map: 'x,y' is not of the form x,-z,y: each axis once"},
        {{"import", "cube.stl", "o.obj", "--map", "x,x,z"},
         "--map: 'x,x,z' is not of the form x,-z,y: each axis once"},
        {{"import", "cube.stl", "cube.stl"},
         "cube.stl: the name must end in .obj for a mesh, in .xyz for points"},
        {{"import", "./cube.obj", "cube.obj"}, "cube.obj: is also the input ./cube.obj"},
        {{"import", "part.step", "o.obj"},
         "part.step: is a STEP file; export the part as STL, with a chord deviation under a tenth of a "
         "pixel"},
        {{"prepare", "grid.obj", "g.quads", "--quad-area", "1"},
         "grid.obj: is a grid of quads, no part; scan it, or name the part that it was made of"},
        {{"info", "empty.ply"}, "empty.ply: is empty"},
        {{"reconstruct", "cube.stl", "o.obj"}, "cube.stl: is a mesh already; prepare it as it is"},
        {{"fit", "cylinder", "cube.stl"}, "cube.stl: holds no points with normals; name them nx, ny and nz"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
}

} // namespace
} // namespace cscan
