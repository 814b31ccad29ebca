#include "Inspection/parts/facemesh.h"
#include "simulation/bladepart.h"
#include "tests/cscan/program.h"
#include "tests/support/fulldisk.h"

#include <gtest/gtest.h>

#include <cmath>

// What the program says when there is no room for its results.

namespace cscan {
namespace {

using namespace Testing;
using QELT::Testing::getIsFullDeviceWhole;
using QELT::Testing::linkToFullDevice;

constexpr int around = 24;
constexpr int rings = 12;

/// A tube of radius 5 around z whose upper rim is uneven, so that one vertex is highest.
std::string tubeText() {
    std::string text;
    for (int k = 0; k <= rings; ++k) {
        for (int i = 0; i < around; ++i) {
            double const angle = 6.2831853 * i / around + 0.03 * (k - rings);
            text += "v " + std::to_string(5.0 * std::cos(angle)) + " " +
                    std::to_string(5.0 * std::sin(angle)) + " " + std::to_string(k + 0.01 * std::cos(angle)) +
                    "\n";
        }
    }
    for (int k = 0; k < rings; ++k) {
        for (int i = 0; i < around; ++i) {
            int const a = k * around + i + 1;
            int const b = k * around + (i + 1) % around + 1;
            text += "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + around) +
                    "\nf " + std::to_string(a) + " " + std::to_string(b + around) + " " +
                    std::to_string(a + around) + "\n";
        }
    }
    return text;
}

/// Runs the program with `target` a link to the full device: one line says that it could not be written, and
/// it is not said that there is a result.
void expectNoRoom(ScratchDirectory const& directory, std::string const& target,
                  std::vector<std::string> const& arguments, std::string const& complaint) {
    SCOPED_TRACE(arguments.front() + " into " + target);
    ASSERT_TRUE(linkToFullDevice((directory / target).string()));
    Outcome const outcome = run(directory, arguments);
    EXPECT_EQ(outcome.status, 1);
    ASSERT_FALSE(linesOf(outcome.errors).empty());
    EXPECT_EQ(linesOf(outcome.errors).back(), "cscan: " + complaint);
    EXPECT_EQ(itemIn(outcome.output, "written to"), "");
    EXPECT_EQ(itemIn(outcome.output, "verdict"), "");
    EXPECT_EQ(itemIn(outcome.output, "cut file"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(directory / target));
    EXPECT_TRUE(getIsFullDeviceWhole());
    std::filesystem::remove(directory / target);
}

TEST(FullDisk, endsPrepareWithOneLine) {
    ScratchDirectory const directory;
    writeFaces(QELT::Simulation::measuredBlade({60, 8, 0.003, 7}), directory / "part.obj");
    expectNoRoom(directory, "out.quads",
                 {"prepare", "part.obj", "out.quads", "--quad-area", "4", "--mode", "pinned"},
                 "out.quads: Quad-mesh file write failure.");
    expectNoRoom(
        directory, "flat.obj",
        {"prepare", "part.obj", "out.quads", "--quad-area", "4", "--mode", "pinned", "--flat", "flat.obj"},
        "flat.obj: Cannot write mesh file");
    EXPECT_FALSE(std::filesystem::exists(directory / "out.quads"));
}

TEST(FullDisk, endsCutWithOneLine) {
    ScratchDirectory const directory;
    writeText(directory / "tube.obj", tubeText());
    std::vector<std::string> const cut = {"cut",    "tube.obj", "slit.obj", "--metric", "max",
                                          "--axis", "z",        "--across", "x"};
    ASSERT_EQ(run(directory, cut).status, 0);
    std::filesystem::remove(directory / "slit.obj");
    expectNoRoom(directory, "slit.obj", cut, "slit.obj: Cannot write mesh file");
    std::filesystem::remove(directory / "slit.obj\\slit_cut_indices.txt");
    expectNoRoom(directory, "slit.obj\\slit_cut_indices.txt", cut, "slit.obj: Cannot write cut file");
}

TEST(FullDisk, endsDeriveWithOneLine) {
    ScratchDirectory const directory;
    Grid grid;
    ASSERT_TRUE(grid.setAsHeightField());
    grid.save((directory / "in.quads").c_str());
    for (char const* const how : {"--flatten", "--mirror=yz", "--factor=9"}) {
        expectNoRoom(directory, "out.quads", {"derive", "in.quads", "out.quads", how},
                     "out.quads: Quad-mesh file write failure.");
    }
}

TEST(FullDisk, endsReconstructWithOneLine) {
    ScratchDirectory const directory;
    std::string points;
    for (int i = 0; i < 60; ++i) {
        points += std::to_string(i % 8 + 0.01 * i) + " " + std::to_string(i / 8 + 0.002 * i * i) + " 0\n";
    }
    writeText(directory / "cloud.xyz", points);
    ASSERT_EQ(run(directory, {"reconstruct", "cloud.xyz", "good.obj"}).status, 0);
    expectNoRoom(directory, "out.obj", {"reconstruct", "cloud.xyz", "out.obj"}, "out.obj: cannot be written");
}

TEST(FullDisk, endsScanAndFootprintWithOneLine) {
    ScratchDirectory const directory;
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane({20.0, 20.0}, 0.5, false, 10));
    grid.save((directory / "in.quads").c_str());
    std::vector<std::string> const scan = {"scan",       "in.quads", "--raster",    "1",
                                           "--standoff", "5",        "--direction", "0,0,-1",
                                           "--csv",      "hits.csv", "--image",     "s"};
    expectNoRoom(directory, "hits.csv", scan, "hits.csv: cannot be written");
    for (char const* const image : {"s_distance.png", "s_coverage.png"}) {
        expectNoRoom(directory, image, scan,
                     std::string(image) + ": the image cannot be written (Write Error)");
    }
    expectNoRoom(directory, "foot.png",
                 {"footprint", "in.quads", "--origin", "10.1,10.2,5", "--axis-a", "1,0,0", "--axis-b",
                  "0,-1,0", "--cotangent", "5", "--aperture", "1", "--image", "foot.png"},
                 "foot.png: the image cannot be written (Write Error)");
    EXPECT_FALSE(std::filesystem::exists(directory / "hits.csv"));
    EXPECT_FALSE(std::filesystem::exists(directory / "s_angle.png"));
}

TEST(FullDisk, endsImportWithOneLine) {
    ScratchDirectory const directory;
    writeText(directory / "part.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    for (char const* const out : {"out.obj", "out.xyz"}) {
        expectNoRoom(directory, out, {"import", "part.off", out},
                     std::string(out) + ": cannot be written to its end");
    }
}

TEST(FullDisk, leavesNoResultWithoutItsRecord) {
    ScratchDirectory const directory;
    Grid grid;
    ASSERT_TRUE(grid.setAsHeightField());
    grid.save((directory / "in.quads").c_str());
    expectNoRoom(directory, "out.quads.json", {"derive", "in.quads", "out.quads", "--flatten"},
                 "out.quads.json: cannot be written to its end");
    EXPECT_FALSE(std::filesystem::exists(directory / "out.quads"));
    EXPECT_FALSE(std::filesystem::exists(directory / "out.quads.unfinished"));
}

} // namespace
} // namespace cscan
