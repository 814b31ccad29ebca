#include "tests/support/loadcomparison.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/randomindex.h"
#include "tests/support/watched.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;

/// Faces of random indices, with no care for repeated vertices, winding or connection.
std::string randomFaces(std::mt19937& generator, std::uint32_t vertices, std::uint32_t faces, bool isProper) {
    std::string text;
    for (std::uint32_t v = 0; v < vertices; ++v) {
        text += "v " + std::to_string(randomBelow(generator, 100)) + " " +
                std::to_string(randomBelow(generator, 100)) + " " +
                std::to_string(randomBelow(generator, 100)) + "\n";
    }
    while (faces > 0) {
        std::uint32_t const a = randomBelow(generator, vertices);
        std::uint32_t const b = randomBelow(generator, vertices);
        std::uint32_t const c = randomBelow(generator, vertices);
        if (!isProper || (a != b && b != c && c != a)) {
            text += "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " + std::to_string(c + 1) +
                    "\n";
            --faces;
        }
    }
    return text;
}

std::vector<std::array<std::uint32_t, 3>> getFaces(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    std::vector<std::array<std::uint32_t, 3>> faces;
    for (; first != last; ++first) {
        faces.push_back((*first)->vertexIndices);
    }
    return faces;
}

} // namespace

TEST(FaceStitcher, EveryFamilyLoadsWithAllItsFaces) {
    for (NamedSoup const& family : loadableFamilies()) {
        std::unique_ptr<Mesh> mesh;
        ASSERT_NO_THROW(mesh = makeMesh(family.soup)) << family.name;
        EXPECT_EQ(getFaces(*mesh).size(), family.soup.faces.size()) << family.name;
    }
}

TEST(FaceStitcher, EveryFamilyIsBuiltAsByPlainRoundsOverTheFaces) {
    for (NamedSoup const& family : loadableFamilies()) {
        EXPECT_TRUE(loadsLikePlainLoader(objText(family.soup))) << family.name;
    }
}

TEST(FaceStitcher, AnyOrderOfFacesIsBuiltAsByPlainRoundsOverTheFaces) {
    Soup const surfaces[] = {makePatchWithManyHoles(10), makeSphere(2), makeTube(9, 5), makePatchWithHole(9),
                             withUnusedVertices(makeCap(4, 11), 6, 3)};
    std::uint32_t seed = 0;
    for (Soup const& surface : surfaces) {
        for (int round = 0; round < 12; ++round) {
            ++seed;
            Soup const soup =
                withShuffledVertices(withRotatedFaceStarts(withShuffledFaces(surface, seed), seed), seed);
            ASSERT_TRUE(loadsLikePlainLoader(objText(soup))) << seed;
        }
    }
}

TEST(FaceStitcher, SoupsThatDoNotJoinFailInTheSameStateAsByPlainRounds) {
    for (NamedSoup const& family : unloadableFamilies()) {
        EXPECT_EQ(getLoadFailure(objText(family.soup)), "Mesh construction failure") << family.name;
        EXPECT_TRUE(loadsLikePlainLoader(objText(family.soup))) << family.name;
        for (std::uint32_t seed = 1; seed < 10; ++seed) {
            Soup const soup = withRotatedFaceStarts(withShuffledFaces(family.soup, seed), seed);
            EXPECT_TRUE(loadsLikePlainLoader(objText(soup))) << family.name << ", seed " << seed;
        }
    }
}

TEST(FaceStitcher, RandomProperFacesAreBuiltAsByPlainRounds) {
    std::mt19937 generator(7);
    for (int round = 0; round < samples(1500, 400); ++round) {
        std::uint32_t const vertices = 3 + randomBelow(generator, 5);
        std::string const text = randomFaces(generator, vertices, 1 + randomBelow(generator, 12), true);
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(FaceStitcher, RandomFacesWithRepeatedVerticesAreBuiltAsByPlainRounds) {
    std::mt19937 generator(8);
    for (int round = 0; round < samples(1500, 400); ++round) {
        std::uint32_t const vertices = 1 + randomBelow(generator, 5);
        std::string const text = randomFaces(generator, vertices, 1 + randomBelow(generator, 6), false);
        EXPECT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(FaceStitcher, TheFaceMovedIntoASlotWaitsForTheNextRound) {
    // A strip of four faces behind face 0. The last face (of slot 3) fills slot 0; slots 0 and 1 then hold
    // {faces 4, 1}. Face 1 joins from slot 1 and face 3 moves there, but slot 2 (face 2) is looked at next.
    Soup const soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 2, 0}, {1, 2, 0}, {0, 3, 0}},
                    {{0, 1, 2}, {2, 1, 3}, {2, 3, 4}, {4, 3, 5}, {4, 5, 6}}};
    std::vector<std::array<std::uint32_t, 3>> const expected{
        {0, 1, 2}, {2, 1, 3}, {2, 3, 4}, {4, 3, 5}, {4, 5, 6}};
    auto const mesh = makeMesh(soup);
    EXPECT_EQ(getFaces(*mesh), expected);
    EXPECT_TRUE(loadsLikePlainLoader(objText(soup)));
}

TEST(FaceStitcher, AFaceJoinsTheFirstOfItsOpenSides) {
    // The fan's last face {2, 3, 4} lies against two open edges, 4-3 and 2-4. Its side from 3 to 4 is the
    // first of the two that it has, so the triangle starts at the origin of 4-3.
    std::string const text = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0.5 0.5 1\n"
                             "f 1 2 5\nf 2 3 5\nf 3 4 5\nf 4 1 5\n";
    EXPECT_TRUE(loadsLikePlainLoader(text));
    TemporaryDirectory const directory;
    writeText(directory.file("a.obj"), text);
    Mesh mesh;
    mesh.load(directory.file("a.obj").c_str());
    std::vector<std::array<std::uint32_t, 3>> const expected{{0, 1, 4}, {0, 4, 3}, {4, 1, 2}, {4, 2, 3}};
    EXPECT_EQ(getFaces(mesh), expected);
}

TEST(FaceStitcher, TrianglesLieInMemoryInTheOrderInWhichTheyWereMade) {
    auto const mesh = makeMesh(makeWavyPatch(20, 20));
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh->getTriangles(list, first, last);
    ASSERT_EQ(last - first, 800);
    for (auto triangle = first + 1; triangle != last; ++triangle) {
        ASSERT_EQ(*triangle - *(triangle - 1), 1);
    }
}

} // namespace QELT::Testing
