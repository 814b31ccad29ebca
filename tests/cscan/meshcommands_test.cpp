// The ways from clouds and tubes to grids, and from grid to grid, through the program.

#include "Inspection/grids/gridfile.h"
#include "Inspection/import/objfile.h"
#include "simulation/randomnoise.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;

/// A gently curved patch of 13 by 11 points, sheared and stretched, so that no two distances are equal.
std::string patchText() {
    std::string text = "# patch\n";
    for (int i = 0; i < 13; ++i) {
        for (int j = 0; j < 11; ++j) {
            double const x = i * (1.0 + 0.02 * i) + 0.5 * std::sin(0.7 * j);
            double const y = j * (1.0 + 0.03 * j) + 0.03 * i * j;
            text += std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(0.02 * x * x) + "\n";
        }
    }
    return text;
}

constexpr int around = 40;
constexpr int rings = 20;

/// A tube of radius 5 around z, open at both ends. Its rims are a little uneven, so that one vertex is
/// highest.
std::string tubeText() {
    std::string text;
    for (int k = 0; k <= rings; ++k) {
        for (int i = 0; i < around; ++i) {
            double const angle = 2.0 * 3.14159265358979 * i / around + 0.03 * (k - rings);
            text += "v " + std::to_string(5.0 * std::cos(angle)) + " " +
                    std::to_string(5.0 * std::sin(angle)) + " " + std::to_string(k + 0.01 * std::cos(angle)) +
                    "\n";
        }
    }
    for (int k = 0; k < rings; ++k) {
        for (int i = 0; i < around; ++i) {
            int const a = k * around + i + 1;
            int const b = k * around + (i + 1) % around + 1;
            text +=
                "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + around) + "\n";
            text += "f " + std::to_string(a) + " " + std::to_string(b + around) + " " +
                    std::to_string(a + around) + "\n";
        }
    }
    return text;
}

TEST(MeshCommands, reconstructBuildsAMeshThatCanBePrepared) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", patchText());
    Outcome const outcome = run(directory, {"reconstruct", "c.xyz", "c.obj"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "vertices"), "143");
    EXPECT_NE(itemIn(outcome.output, "left out").find(" triangles, 0 points"), std::string::npos);
    EXPECT_GT(std::stoul(itemIn(outcome.output, "faces")), 200UL);
    Outcome const prepared =
        run(directory, {"prepare", "c.obj", "c.quads", "--quad-area", "0.25", "--mode", "pinned"});
    EXPECT_EQ(prepared.status, 0) << prepared.errors;
    EXPECT_EQ(itemIn(prepared.output, "vertices"), "143");
}

/// Points of a cube, around which the front meets itself in points.
std::string scatterText() {
    constexpr std::uint32_t seed = 1531292064;
    constexpr int numberOfPoints = 42;
    std::mt19937 random(seed);
    std::string text;
    for (int i = 0; i < 3 * numberOfPoints; ++i) {
        text += std::to_string(static_cast<double>(random() % 1000) / 100) + (i % 3 == 2 ? "\n" : " ");
    }
    return text;
}

TEST(MeshCommands, reconstructTellsOfTrianglesThatTheMeshDoesNotList) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", scatterText());
    Outcome const outcome = run(directory, {"reconstruct", "c.xyz", "c.obj"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemsIn(outcome.output, "unlisted faces"),
              std::vector<std::string>{"1, left out where the surface meets itself in points"});
}

TEST(MeshCommands, infoAndPrepareTellOfTrianglesThatTheMeshDoesNotList) {
    ScratchDirectory const directory;
    writeText(directory / "m.obj",
              "v 0 0 0\nv 37 59 83\nv 74 15 59\nv 10 74 35\nv 47 30 11\nv 84 89 94\nv 20 45 70\n"
              "f 1 2 3\nf 6 1 4\nf 2 1 6\nf 4 5 7\nf 4 7 2\nf 3 5 4\nf 1 3 7\nf 3 2 5\n");
    std::string const told = "1, left out where the surface meets itself in points";
    Outcome const info = run(directory, {"info", "m.obj"});
    EXPECT_EQ(info.status, 0) << info.errors;
    EXPECT_EQ(itemIn(info.output, "faces"), "7");
    EXPECT_EQ(itemIn(info.output, "unlisted faces"), told);
    Outcome const prepared = run(directory, {"prepare", "m.obj", "m.quads", "--quad-area", "1"});
    EXPECT_EQ(itemIn(prepared.output, "unlisted faces"), told);
}

TEST(MeshCommands, reconstructThinsALineScanAndTellsSo) {
    ScratchDirectory const directory;
    std::string lines;
    for (int line = 0; line < 20; ++line) {
        for (int i = 0; i < 200; ++i) {
            double const x = 2.0 * line;
            double const y = 0.2 * i + 0.01 * line;
            lines += std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(0.01 * x * y) + "\n";
        }
    }
    writeText(directory / "c.xyz", lines);
    Outcome const outcome = run(directory, {"reconstruct", "c.xyz", "c.obj"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "cloud"), "4000 points");
    EXPECT_EQ(itemIn(outcome.output, "spacing").find("0.2"), 0U) << outcome.output;
    EXPECT_NE(itemIn(outcome.output, "spacing").find("along lines, 2"), std::string::npos) << outcome.output;
    EXPECT_NE(itemIn(outcome.output, "thinned to").find(" points left"), std::string::npos) << outcome.output;
    EXPECT_NEAR(std::stod(itemIn(outcome.output, "longest side")), 6.0, 0.3);
    EXPECT_LT(std::stoul(itemIn(outcome.output, "vertices")), 1000UL);
    Outcome const told =
        run(directory, {"reconstruct", "c.xyz", "c.obj", "--thin", "2.5", "--max-side", "none"});
    ASSERT_EQ(told.status, 0) << told.errors;
    EXPECT_EQ(itemIn(told.output, "thinned to").find("2.5, "), 0U) << told.output;
    EXPECT_EQ(told.output.find("longest side"), std::string::npos);
}

TEST(MeshCommands, prepareTakesACloud) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", patchText());
    Outcome const outcome = run(directory, {"prepare", "c.xyz", "c.quads", "--quad-area", "0.25"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "vertices"), "143");
    EXPECT_NEAR(std::stod(itemIn(outcome.output, "valid quads")), 842.0, 60.0);
    EXPECT_EQ(itemIn(run(directory, {"info", "c.quads"}).output, "source name"), "c");
}

TEST(MeshCommands, prepareExtendsTheRim) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", patchText());
    std::vector<std::string> arguments = {"prepare", "c.xyz",  "c.quads", "--quad-area",
                                          "0.25",    "--mode", "pinned"};
    std::string const before = run(directory, arguments).output;
    arguments.insert(arguments.end(), {"--extend", "3", "--smooth", "2"});
    Outcome const after = run(directory, arguments);
    ASSERT_EQ(after.status, 0) << after.errors;
    auto const widthOf = [](std::string const& output) { return std::stoul(itemIn(output, "grid extents")); };
    EXPECT_EQ(widthOf(after.output), widthOf(before) + 6);
    EXPECT_GT(std::stoul(itemIn(after.output, "valid quads")),
              std::stoul(itemIn(before, "valid quads")) + 150);
}

TEST(MeshCommands, aCutTubeIsUnrolledWithItsCutBesideIt) {
    ScratchDirectory const directory;
    writeText(directory / "tube.obj", tubeText());
    std::filesystem::create_directories(directory / "out");
    Outcome const outcome = run(
        directory, {"cut", "tube.obj", "out/slit.obj", "--metric", "max", "--axis", "z", "--across", "x"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "vertices"), std::to_string(around * (rings + 1) + rings + 1));
    EXPECT_EQ(itemIn(outcome.output, "boundary loops"), "1");
    EXPECT_TRUE(std::filesystem::exists(directory / "out/slit.obj\\slit_cut_indices.txt"));
    Outcome const prepared = run(directory, {"prepare", "out/slit.obj", "tube.quads", "--quad-area", "0.25"});
    ASSERT_EQ(prepared.status, 0) << prepared.errors;
    // The developed tube measures 31.4 by 20.
    EXPECT_NEAR(std::stod(itemIn(prepared.output, "valid quads")), 2512.0, 150.0);
    std::string const info = run(directory, {"info", "tube.quads"}).output;
    EXPECT_GT(std::stoul(itemIn(info, "  cut boundary")), 30UL) << info;
}

constexpr double bendRadius = 60.0;
constexpr double tubeRadius = 20.0;
constexpr double quarterTurn = 0.5 * std::numbers::pi;

/// Of a quarter of a ring: `along` from 0 to 1 from rim to rim, `angle` from 0 on the outside of the bend.
Point onElbow(double along, double angle, double radius) {
    double const reach = bendRadius + radius * std::cos(angle);
    return {bendRadius - reach * std::cos(quarterTurn * along), radius * std::sin(angle),
            reach * std::sin(quarterTurn * along)};
}

/// A measured elbow of 10,000 triangles, open at both ends. Its first rim is a little oblique, so that it is
/// lowest on the inside of the bend, where the normal points along x.
std::string elbowText() {
    constexpr int side = 100;
    constexpr int steps = 50;
    QELT::Simulation::RandomNoise noise(5);
    std::string text;
    for (int k = 0; k <= steps; ++k) {
        for (int i = 0; i < side; ++i) {
            double const angle = 2.0 * std::numbers::pi * (i + 0.3 * (k % 2) + 0.4 * noise.even()) / side;
            double const moved = k == 0 || k == steps ? 0.0 : 0.4 * noise.even();
            Point const point = onElbow((k + moved) / steps, angle, tubeRadius + 0.01 * noise.bell());
            double const tilt = k == 0 ? -0.02 * point.getX() : 0.0;
            text += "v " + std::to_string(point.getX()) + " " + std::to_string(point.getY()) + " " +
                    std::to_string(point.getZ() + tilt) + "\n";
        }
    }
    for (int k = 0; k < steps; ++k) {
        for (int i = 0; i < side; ++i) {
            int const a = k * side + i + 1;
            int const b = k * side + (i + 1) % side + 1;
            text +=
                "f " + std::to_string(a) + " " + std::to_string(b + side) + " " + std::to_string(b) + "\n";
            text += "f " + std::to_string(a) + " " + std::to_string(a + side) + " " +
                    std::to_string(b + side) + "\n";
        }
    }
    return text;
}

/// Beams straight down on the elbow from 15 above it, back and forth around the tube.
std::string beamsOnElbow() {
    std::string text = "ox,oy,oz,dx,dy,dz\n";
    for (int k = 0; k < 100; ++k) {
        for (int i = 0; i < 200; ++i) {
            double const angle = 2.0 * std::numbers::pi * ((k % 2 == 0 ? i : 199 - i) + 0.37) / 200.0;
            double const along = (k + 0.5) / 100.0;
            Point const origin = onElbow(along, angle, tubeRadius + 15.0);
            Vector const down = onElbow(along, angle, tubeRadius) - origin;
            for (double const value : std::initializer_list<double>{
                     origin.getX(), origin.getY(), origin.getZ(), down.getdX(), down.getdY()}) {
                text += std::to_string(value) + ",";
            }
            text += std::to_string(down.getdZ()) + "\n";
        }
    }
    return text;
}

/// The sure search finds what the walk does and, through the slit, which is up to a pixel wide, the wall on
/// the other side.
void expectWallsBehindTheSlitAlone(ScratchDirectory const& directory, std::vector<std::string> const& scan,
                                   double walkHitCount) {
    Outcome const scanned = run(directory, scan);
    ASSERT_EQ(scanned.status, 0) << scanned.errors;
    double const behindCount = std::stod(itemIn(scanned.output, "from behind"));
    EXPECT_LT(behindCount, 20000.0 / (2.0 * std::numbers::pi * tubeRadius)) << "a pixel of each line around";
    EXPECT_GE(std::stod(itemIn(scanned.output, "hits")), walkHitCount);
    auto const lines = linesOf(readText(directory / "hits.csv"));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        auto const fields = fieldsOf(lines[i]);
        if (fields.at(7) == "1") {
            bool const isBehind = std::stod(fields.at(6)) < quarterTurn;
            EXPECT_NEAR(std::stod(fields.at(5)), isBehind ? 15.0 + 2.0 * tubeRadius : 15.0, 1.0) << lines[i];
        }
    }
}

TEST(MeshCommands, anElbowIsCutUnrolledExtendedAndScannedAllAround) {
    ScratchDirectory const directory;
    writeText(directory / "elbow.obj", elbowText());
    writeText(directory / "beams.csv", beamsOnElbow());
    Outcome const cut =
        run(directory, {"cut", "elbow.obj", "slit.obj", "--metric", "min", "--axis", "z", "--across", "x"});
    ASSERT_EQ(cut.status, 0) << cut.errors;
    EXPECT_EQ(itemIn(cut.output, "faces"), "10000");
    EXPECT_EQ(itemIn(cut.output, "boundary loops"), "1");
    EXPECT_EQ(itemIn(cut.output, "cut entries"), "51");
    Outcome const prepared = run(directory, {"prepare", "slit.obj", "elbow.quads", "--quad-area", "1",
                                             "--extend", "5", "--smooth", "3"});
    ASSERT_EQ(prepared.status, 0) << prepared.errors;
    EXPECT_EQ(itemIn(prepared.output, "flipped triangles"), "0");
    // The elbow's surface measures 2 pi 20 by a quarter of 2 pi 60, and five quads more at each rim.
    EXPECT_NEAR(std::stod(itemIn(prepared.output, "valid quads")), 11844.0 + 2.0 * 5.0 * 126.0, 1200.0);
    std::vector<std::string> const scan{"scan",  "elbow.quads", "--beams", "beams.csv",
                                        "--csv", "hits.csv",    "--image", "elbow"};
    auto walk = scan;
    walk.insert(walk.end(), {"--search", "walk"});
    Outcome const scanned = run(directory, walk);
    ASSERT_EQ(scanned.status, 0) << scanned.errors;
    EXPECT_GT(std::stod(itemIn(scanned.output, "hit rate")), 98.0);
    EXPECT_EQ(itemIn(scanned.output, "from behind"), "");
    std::string const distances = itemIn(scanned.output, "distance");
    EXPECT_NEAR(std::stod(distances.substr(distances.find("mean ") + 5)), 15.0, 0.05) << distances;
    expectWallsBehindTheSlitAlone(directory, scan, std::stod(itemIn(scanned.output, "hits")));
}

/// A regular tube along z, straight and with flat rims. Its first point, where the cut starts, lies at this
/// angle.
std::string regularTubeText(double firstAngle) {
    std::string text;
    for (int k = 0; k <= 10; ++k) {
        for (int i = 0; i < 24; ++i) {
            double const angle = firstAngle + 2.0 * std::numbers::pi * i / 24;
            text += "v " + std::to_string(5.0 * std::cos(angle)) + " " +
                    std::to_string(5.0 * std::sin(angle)) + " " + std::to_string(k) + "\n";
        }
    }
    for (int k = 0; k < 10; ++k) {
        for (int i = 0; i < 24; ++i) {
            int const a = k * 24 + i + 1;
            int const b = k * 24 + (i + 1) % 24 + 1;
            text += "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + 24) + "\n";
            text +=
                "f " + std::to_string(a) + " " + std::to_string(b + 24) + " " + std::to_string(a + 24) + "\n";
        }
    }
    return text;
}

/// Turns each ring of the tube a little farther than the one below.
std::string withTwist(std::string const& tube) {
    std::string text;
    for (std::string const& line : linesOf(tube)) {
        std::istringstream fields(line);
        std::string kind;
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        if (fields >> kind >> x >> y >> z && kind == "v") {
            double const angle = 0.01 * z;
            text += "v " + std::to_string(x * std::cos(angle) - y * std::sin(angle)) + " " +
                    std::to_string(x * std::sin(angle) + y * std::cos(angle)) + " " + std::to_string(z) +
                    "\n";
        } else {
            text += line + "\n";
        }
    }
    return text;
}

TEST(MeshCommands, cutTurnsThePlaneOrMakesItLeanWhereThereIsNoWayInItAndMovesNoPoint) {
    ScratchDirectory const directory;

    struct Try {
        std::string tube;
        std::string across;
        std::vector<std::string> notes;
    };

    std::string const leans = "points lie exactly in the plane of the cut; it was made to lean by 0.001";
    std::string const pointsBack = "the normal at the start points along -x";
    std::vector<Try> const tries = {
        {regularTubeText(0.0), "x", {leans}},
        {regularTubeText(std::numbers::pi), "x", {pointsBack, leans}},
        {regularTubeText(0.5 * std::numbers::pi), "y", {leans}},
        {withTwist(regularTubeText(0.0)), "x", {}},
        {withTwist(regularTubeText(std::numbers::pi)), "x", {pointsBack}},
    };
    for (Try const& attempt : tries) {
        writeText(directory / "tube.obj", attempt.tube);
        Outcome const outcome = run(directory, {"cut", "tube.obj", "slit.obj", "--metric", "min", "--axis",
                                                "z", "--across", attempt.across});
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(itemsIn(outcome.output, "note"), attempt.notes);
        EXPECT_EQ(itemIn(outcome.output, "boundary loops"), "1");
        EXPECT_EQ(itemIn(outcome.output, "cut entries"), "11");
        Mesh before;
        Mesh after;
        loadObj(before, directory / "tube.obj");
        loadObj(after, directory / "slit.obj");
        ASSERT_EQ(after.getNumberOfVertices(), before.getNumberOfVertices() + 11);
        for (unsigned long i = 0; i < before.getNumberOfVertices(); ++i) {
            ASSERT_TRUE(after.getVertex(i).getPoint3D() == before.getVertex(i).getPoint3D()) << i;
        }
        auto const& [first, second] = after.getCutEdgeIndices();
        for (std::size_t k = 0; k < 11; ++k) {
            ASSERT_TRUE(after.getVertex(first[k].index).getPoint3D() ==
                        after.getVertex(second[k].index).getPoint3D());
        }
    }
}

/// A ball, closed at the bottom, with a small opening at the top.
std::string bottleText() {
    constexpr int side = 16;
    constexpr int steps = 12;
    std::string text = "v 0 0 -5\n";
    for (int k = 1; k <= steps; ++k) {
        double const down = 0.9 * std::numbers::pi * k / steps;
        for (int i = 0; i < side; ++i) {
            double const angle = 2.0 * std::numbers::pi * i / side;
            text += "v " + std::to_string(5.0 * std::sin(down) * std::cos(angle)) + " " +
                    std::to_string(5.0 * std::sin(down) * std::sin(angle)) + " " +
                    std::to_string(-5.0 * std::cos(down)) + "\n";
        }
    }
    for (int i = 0; i < side; ++i) {
        text += "f 1 " + std::to_string(2 + (i + 1) % side) + " " + std::to_string(2 + i) + "\n";
    }
    for (int k = 0; k + 1 < steps; ++k) {
        for (int i = 0; i < side; ++i) {
            int const a = 2 + k * side + i;
            int const b = 2 + k * side + (i + 1) % side;
            text +=
                "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + side) + "\n";
            text += "f " + std::to_string(a) + " " + std::to_string(b + side) + " " +
                    std::to_string(a + side) + "\n";
        }
    }
    return text;
}

TEST(MeshCommands, prepareRefusesAMapThatCameOutTurnedOver) {
    ScratchDirectory const directory;
    writeText(directory / "bottle.obj", bottleText());
    auto const prepare = [&](std::vector<std::string> const& more) {
        std::vector<std::string> arguments = {"prepare", "bottle.obj", "bottle.quads", "--quad-area", "20"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(directory, arguments);
    };
    Outcome const rolledOut = prepare({"--mode", "developable"});
    EXPECT_EQ(rolledOut.status, 1) << "such a map leaves no quad at all";
    EXPECT_EQ(linesOf(rolledOut.errors).back(),
              "cscan: bottle.obj: the flat map has no triangle with an area that is not turned over");
    Outcome const pinned = prepare({"--mode", "pinned"});
    EXPECT_EQ(itemIn(pinned.output, "flipped triangles"), "0");
    Outcome const both = prepare({});
    EXPECT_NE(both.output.find("Flattened, developable (not taken)"), std::string::npos) << both.output;
    EXPECT_EQ(both.status, pinned.status);
}

TEST(MeshCommands, prepareSaysInItsStatusWhetherTheGridIsFit) {
    ScratchDirectory const directory;
    writeText(directory / "bottle.obj", bottleText());
    std::vector<std::string> arguments = {"prepare", "bottle.obj", "bottle.quads", "--pixel", "0.2"};
    Outcome const refused = run(directory, arguments);
    EXPECT_EQ(refused.status, 3) << refused.output << refused.errors;
    EXPECT_EQ(itemIn(refused.output, "verdict"),
              "NOT fit for inspection, not written (--accept writes it all the same)");
    EXPECT_FALSE(itemIn(refused.output, "  because").empty());
    EXPECT_FALSE(itemIn(refused.output, "  remedy").empty());
    EXPECT_FALSE(std::filesystem::exists(directory / "bottle.quads"));
    arguments.push_back("--accept");
    Outcome const accepted = run(directory, arguments);
    EXPECT_EQ(accepted.status, 0) << accepted.errors;
    EXPECT_EQ(itemIn(accepted.output, "verdict"), "NOT fit for inspection, written since --accept was given");
    EXPECT_TRUE(std::filesystem::exists(directory / "bottle.quads"));
}

/// A part a million from the origin keeps its shape, and beams and hits are told in its own place.
TEST(MeshCommands, aPartThatLiesFarOutIsMovedAndItsHitsAreMovedBack) {
    ScratchDirectory const directory;
    std::string text;
    for (int v = 0; v <= 20; ++v) {
        for (int u = 0; u <= 30; ++u) {
            text += "v " + std::to_string(1000000.0 + 0.1 * u) + " " + std::to_string(0.1 * v) + " " +
                    std::to_string(0.02 * u * u / 100.0) + "\n";
        }
    }
    for (int v = 0; v < 20; ++v) {
        for (int u = 0; u < 30; ++u) {
            int const a = 31 * v + u + 1;
            text += "f " + std::to_string(a) + " " + std::to_string(a + 1) + " " + std::to_string(a + 32) +
                    "\nf " + std::to_string(a) + " " + std::to_string(a + 32) + " " + std::to_string(a + 31) +
                    "\n";
        }
    }
    writeText(directory / "far.obj", text);
    Outcome const prepared =
        run(directory, {"prepare", "far.obj", "far.quads", "--pixel", "0.05", "--unit", "inch"});
    ASSERT_EQ(prepared.status, 0) << prepared.output << prepared.errors;
    EXPECT_FALSE(itemIn(prepared.output, "moved").empty());
    writeText(directory / "beams.csv", "ox,oy,oz,dx,dy,dz\n1000001.234,0.777,5,0,0,-1\n");
    Outcome const scanned =
        run(directory, {"scan", "far.quads", "--beams", "beams.csv", "--csv", "h.csv", "--image", "far"});
    ASSERT_EQ(scanned.status, 0) << scanned.output << scanned.errors;
    auto const fields = fieldsOf(linesOf(readText(directory / "h.csv")).at(1));
    EXPECT_NEAR(std::stod(fields.at(2)), 1000001.234, 1e-5);
    EXPECT_NEAR(std::stod(fields.at(3)), 0.777, 1e-5);
    std::string const record = run(directory, {"info", "h.csv"}).output;
    EXPECT_EQ(itemIn(record, "  unit"), "length inch") << record;
}

TEST(MeshCommands, prepareDrawsItsMapAndPixels) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", patchText());
    Outcome const outcome =
        run(directory, {"prepare", "c.xyz", "c.quads", "--pixel", "0.25", "--unit", "mm", "--image", "c"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemsIn(outcome.output, "image"), (std::vector<std::string>{"c_map.png", "c_pixels.png"}));
    EXPECT_EQ(itemIn(outcome.output, "verdict"), "fit for inspection");
    for (char const* const name : {"c_map.png", "c_pixels.png"}) {
        EXPECT_GT(std::filesystem::file_size(directory / name), 1000U);
    }
}

/// A sheet of six by two squares with one rim, its first column a little to one side.
std::string squaresText() {
    std::string text;
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 6; ++u) {
            text += "v " + std::to_string(u - (u == 0 && v == 1 ? 0.1 : 0.0)) + " " +
                    std::to_string(v + 0.01 * u) + " 0\n";
        }
    }
    for (int v = 0; v < 2; ++v) {
        for (int u = 0; u < 6; ++u) {
            int const a = 7 * v + u + 1;
            text += "f " + std::to_string(a) + " " + std::to_string(a + 1) + " " + std::to_string(a + 8) +
                    "\nf " + std::to_string(a) + " " + std::to_string(a + 8) + " " + std::to_string(a + 7) +
                    "\n";
        }
    }
    return text;
}

TEST(MeshCommands, sayInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    writeText(directory / "line.xyz", "0 0 0\n1 0 0\n");
    writeText(directory / "triangle.xyz", "0 0 0\n1 0 0\n0 1 0\n");
    writeText(directory / "tube.obj", tubeText());
    writeText(directory / "patch.obj", squaresText());
    writeText(directory / "old.obj\\old_cut_indices.txt", "1 2\n");
    writeText(directory / "closed.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                        "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    std::vector<Mistake> const mistakes = {
        {{"reconstruct", "line.xyz", "o.obj"},
         "line.xyz: no triangle can be built on the closest two points; a surface needs points that surround "
         "each other, not all in one line"},
        {{"reconstruct", "line.xyz", "o.off"}, "o.off: the name of a mesh file must end in .obj"},
        {{"reconstruct", "line.xyz", "old.obj"},
         "old.obj: the cut of another mesh lies beside it (old.obj\\old_cut_indices.txt); remove it first"},
        {{"prepare", "line.xyz", "o.quads", "--quad-area", "1"},
         "line.xyz: no triangle can be built on the closest two points; a surface needs points that surround "
         "each other, not all in one line"},
        {{"prepare", "tube.obj", "o.quads", "--quad-area", "1", "--extend", "-1"},
         "--extend: '-1' is not a whole number"},
        {{"cut", "closed.obj", "o.obj", "--metric", "min", "--axis", "x", "--across", "y"},
         "closed.obj: the mesh is closed; a cut leads from rim to rim; remedy: cscan crop closed.obj "
         "closed_face.obj --grow 0.333333,0.333333,0.333333 --crease 30"},
        {{"cut", "tube.obj", "o.obj", "--metric", "max", "--axis", "z", "--across", "z"},
         "tube.obj: no way for a cut from the greatest z with the surface's normal along z there; remedy: "
         "cscan cut tube.obj tube_slit.obj --metric max --axis z --across x"},
        {{"cut", "patch.obj", "o.obj", "--metric", "min", "--axis", "x", "--across", "z"},
         "patch.obj: the cut from the least x leads back to its own rim; remedy: none needed, the mesh is no "
         "tube"},
        {{"reconstruct", "line.xyz", "o.obj", "--max-side", "0"}, "--max-side: '0' is not above zero"},
        {{"reconstruct", "line.xyz", "o.obj", "--thin", "-1"}, "--thin: '-1' is not above zero"},
        {{"reconstruct", "line.xyz", "o.obj", "--thin", "fine"}, "--thin: 'fine' is not a number"},
        {{"reconstruct", "line.xyz", "o.obj", "--fill-holes", "1001"},
         "--fill-holes: '1001' is not between 0 and 1000"},
        {{"reconstruct", "triangle.xyz", "o.obj", "--max-side", "1.2"},
         "triangle.xyz: no triangle's sides are all that short"},
        {{"prepare", "tube.obj", "o.quads", "--quad-area", "1", "--fill-holes", "4"},
         "prepare: --thin, --max-side and --fill-holes are for clouds"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
    EXPECT_FALSE(std::filesystem::exists(directory / "o.obj"));
}

/// A grid of 12 by 8 quads of side 2, the corner of which lies at (2, 4, 6).
void writeSlab(ScratchDirectory const& directory) {
    Grid grid;
    using Size = QELT::Geometry::TwoDimensional::Vector<double>;
    ASSERT_TRUE(grid.setAsPlane(Size(24.0, 16.0), 2.0, false, 10));
    for (int v = 0; v <= 8; ++v) {
        for (int u = 0; u <= 12; ++u) {
            grid.setPoint(GridIndex(u, v), Point(2.0 + 2.0 * u, 4.0 + 2.0 * v, 6.0));
        }
    }
    saveGrid(grid, directory / "in.quads");
}

Outcome derive(ScratchDirectory const& directory, std::vector<std::string> const& how) {
    std::vector<std::string> arguments = {"derive", "in.quads", "out.quads"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    return run(directory, arguments);
}

struct Case {
    std::vector<std::string> how;
    std::string extents;
    std::string box;
    double area;
};

TEST(MeshCommands, deriveMakesEachKindOfGrid) {
    ScratchDirectory const directory;
    writeSlab(directory);
    std::vector<Case> const cases = {
        {{"--flatten"}, "12 x 8 quads", "(0, 0, 0) to (24, 16, 0)", 4.0},
        {{"--normalise", "6"}, "12 x 8 quads", "(-3, -2, 0) to (3, 2, 0)", 0.25},
        {{"--subsample", "30"}, "6 x 4 quads", "(2, 4, 6) to (26, 20, 6)", 16.0},
        {{"--factor", "4"}, "3 x 2 quads", "(2, 4, 6) to (26, 20, 6)", 64.0},
        {{"--restrict", "1,2,4,7"}, "3 x 5 quads", "(4, 8, 6) to (10, 18, 6)", 4.0},
        {{"--mirror", "yz"}, "12 x 8 quads", "(-26, 4, 6) to (-2, 20, 6)", 4.0},
        {{"--mirror", "xy", "--along", "v"}, "12 x 8 quads", "(2, 4, -6) to (26, 20, -6)", 4.0},
        {{"--scale", "0.5"}, "12 x 8 quads", "(1, 2, 3) to (13, 10, 3)", 1.0},
    };
    for (Case const& expected : cases) {
        Outcome const outcome = derive(directory, expected.how);
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        std::string const info = run(directory, {"info", "out.quads"}).output;
        EXPECT_EQ(itemIn(info, "grid extents"), expected.extents) << expected.how[0];
        EXPECT_EQ(itemIn(info, "bounding box"), expected.box) << expected.how[0];
        std::string const area = itemIn(info, "quad area");
        EXPECT_NEAR(std::stod(area.substr(area.find("mean ") + 5)), expected.area, 1e-5) << expected.how[0];
    }
}

TEST(MeshCommands, deriveDoesNotReplaceItsSource) {
    ScratchDirectory const directory;
    writeSlab(directory);
    expectComplaint(directory,
                    {{"derive", "in.quads", "in.quads", "--factor", "2"}, "in.quads: is also the input"});
    EXPECT_EQ(itemIn(run(directory, {"info", "in.quads"}).output, "grid extents"), "12 x 8 quads");
}

TEST(MeshCommands, deriveIsToldExactlyOneThingToDo) {
    ScratchDirectory const directory;
    writeSlab(directory);
    std::string const one =
        "derive: exactly one of --flatten, --normalise, --subsample, --factor, --restrict, "
        "--mirror and --scale is required";
    std::vector<Mistake> const mistakes = {
        {{"derive", "in.quads", "o.quads"}, one},
        {{"derive", "in.quads", "o.quads", "--flatten", "--scale", "2"}, one},
        {{"derive", "in.quads", "o.quads", "--scale", "0"}, "--scale: '0' leaves no surface"},
        {{"derive", "in.quads", "o.quads", "--restrict", "3,0,3,4"},
         "--restrict: '3,0,3,4' is a box without extent"},
        {{"derive", "in.quads", "o.quads", "--restrict", "0,0,4"},
         "--restrict: '0,0,4' is not of the form U0,V0,U1,V1"},
        {{"derive", "in.quads", "o.obj", "--flatten"}, "o.obj: the name of a grid file must end in .quads"},
        {{"derive", "none.quads", "o.quads", "--flatten"},
         "none.quads: cannot be read (No such file or directory)"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
}

} // namespace
} // namespace cscan
