#include "Inspection/import/internal/objdialect.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/partfile.h"
#include "Inspection/parts/meshsummary.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace QELT::Inspection {
namespace {

using Testing::ScratchDirectory;
using Testing::writeText;

bool isPlain(std::string const& text) {
    std::string const name = "a.obj";
    return isPlainObj({name, text});
}

std::string const points = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n";

TEST(ObjDialect, isPlainWhereEachFaceIsThreeBareNumbers) {
    EXPECT_TRUE(isPlain(points + "f 1 2 3\nf 2 4 3\n"));
    EXPECT_TRUE(isPlain("# made by hand\no part\n" + points + "g sides\nusemtl steel\ns 1\nf 1 2 3\r\n"));
    EXPECT_TRUE(isPlain("v 0 0 0 1 # weight\nv 1 0 0 0.5 0.5 0.5\nv -1e-3 +1 .5\nvn 0 0 1\nf 1 2 3\n"));
    EXPECT_FALSE(isPlain(points + "f 1 2 4 3\n"));
    EXPECT_FALSE(isPlain(points + "f 1/1 2/1 3/1\n"));
    EXPECT_FALSE(isPlain(points + "f -1 -2 -3\n"));
    EXPECT_FALSE(isPlain(points + "fo 1 2 3\n"));
    EXPECT_FALSE(isPlain(points + "f 1 2 \\\n3\n"));
}

TEST(ObjDialect, isPlainWithFlatCoordinatesForAllPointsOrNone) {
    EXPECT_TRUE(isPlain(points + "vt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\nf 1 2 3\n"));
    EXPECT_FALSE(isPlain(points + "vt 0 0\nvt 1 0\nvt 0 1\nf 1 2 3\n"));
    EXPECT_FALSE(isPlain("v 0 0 0\nvt 0\nf 1 1 1\n"));
}

TEST(ObjDialect, isNotPlainWhereACommentOrANameLooksLikeARecord) {
    std::string const face = "f 1 2 3\n";
    EXPECT_FALSE(isPlain("# v 1 2 3\n" + points + face));
    EXPECT_FALSE(isPlain(points + face + "# half 1 2 3\n"));
    EXPECT_FALSE(isPlain("o model_v1.2.3.4\n" + points + face));
    EXPECT_FALSE(isPlain("g surf-1-2-3\n" + points + face));
    EXPECT_FALSE(isPlain("# vt 1 2\n" + points + face));
    EXPECT_FALSE(isPlain("v 0 0 0 # f 1 2 3\nv 1 0 0\nv 0 1 0\n" + face));
    EXPECT_TRUE(isPlain("# v 1 2, faces: 4 f 5 6\no model_v1.2\n" + points + face));
    EXPECT_FALSE(isPlain("# vertices 4 of 12 13 14\n" + points + face));
}

/// A text of lines that the core's loader may read in another way than they are meant.
std::string randomObj(std::mt19937& random) {
    std::vector<std::string> const others{"# made by hand", "usemtl steel",  "s off",      "# 12 v 3 of 4",
                                          "# v 1 2 3",      "g part f 2",    "o v2.5",     "# surf 1 2 3",
                                          "vn 0 0 1",       "vn nan 0 1",    "# v1.5.5.5", "# inf vinf 1 2",
                                          "# vt 0.5 .5",    "vt 0.5 0.25",   "g f-1+2-3",  "f 1/1 2/1 3/1",
                                          "f 1 2 4 3",      "v 0 0 0 1 # f", "# f 1 2 9"};
    std::string text = "vt 0.5 0.25\n" + points + others[random() % others.size()] + "\nf 1 2 3\n" +
                       others[random() % others.size()] + "\nf 2 4 3\n";
    return random() % 4 != 0 ? text.substr(text.find('\n') + 1) : text;
}

/// The points that polygons have, in the order of the file: the others the core leaves out.
std::vector<Point> usedPointsOf(PartAsRead const& part) {
    std::vector<bool> isUsed(part.points.size(), false);
    for (std::uint32_t const corner : part.corners) {
        isUsed[corner] = true;
    }
    std::vector<Point> used;
    for (std::size_t i = 0; i < part.points.size(); ++i) {
        if (isUsed[i]) {
            used.emplace_back(part.points[i][0], part.points[i][1], part.points[i][2]);
        }
    }
    return used;
}

/// Whether the core makes of the file the points and triangles that it is read to hold.
bool isReadAlike(PartAsRead const& part, std::filesystem::path const& path) {
    Mesh mesh;
    loadObj(mesh, path);
    auto const used = usedPointsOf(part);
    bool isAlike =
        mesh.getNumberOfVertices() == used.size() && trianglesOf(mesh).size() == part.polygonEnds.size();
    for (std::size_t i = 0; isAlike && i < used.size(); ++i) {
        isAlike = mesh.getVertex(i).getPoint3D() == used[i];
    }
    return isAlike;
}

TEST(ObjDialect, whatIsPlainTheCoreReadsAlike) {
    ScratchDirectory const directory;
    std::mt19937 random(5);
    int plain = 0;
    int others = 0;
    for (int round = 0; round < 600; ++round) {
        std::string const text = randomObj(random);
        writeText(directory / "a.obj", text);
        PartAsRead part;
        try {
            part = readPart("a.obj", text);
        } catch (std::exception const&) {
            continue;
        }
        if (part.isPlainObj) {
            EXPECT_TRUE(isReadAlike(part, directory / "a.obj")) << text;
        }
        ++(part.isPlainObj ? plain : others);
    }
    EXPECT_GT(plain, 50);
    EXPECT_GT(others, 50);
}

} // namespace
} // namespace QELT::Inspection
