#include "Geometry/trimesh/internal/facemates.h"
#include "Geometry/trimesh/internal/facestitcher.h"
#include "Geometry/trimesh/internal/manifoldstitcher.h"
#include "Geometry/trimesh/mesh.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/randomindex.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::Face;
using Geometry::ThreeDimensional::TriMesh::FaceSides;
using Geometry::ThreeDimensional::TriMesh::FaceStitcher;
using Geometry::ThreeDimensional::TriMesh::findMates;
using Geometry::ThreeDimensional::TriMesh::ManifoldStitcher;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::noMate;
using Geometry::ThreeDimensional::TriMesh::Vertex;
using Faces = std::vector<Face>;
using Mates = std::optional<std::vector<FaceSides>>;

/// By looking every side up in both directions.
Mates plainMates(Faces const& faces) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> sides;
    for (std::uint32_t side = 0; side < 3 * faces.size(); ++side) {
        Face const& face = faces[side / 3];
        std::uint32_t const a = face[side % 3];
        std::uint32_t const b = face[(side % 3 + 1) % 3];
        if (a == b || !sides.try_emplace({a, b}, side).second) {
            return std::nullopt;
        }
    }
    std::vector<FaceSides> mates(faces.size());
    for (auto const& [ends, side] : sides) {
        auto const mate = sides.find({ends.second, ends.first});
        mates[side / 3][side % 3] = mate != sides.end() ? mate->second : noMate;
    }
    return mates;
}

/// What a stitcher leaves, and what was heard until then.
struct Outcome {
    std::string failure;
    std::string mesh;
    std::vector<std::string> heard;

    bool operator==(Outcome const&) const = default;
};

template <class Stitch>
Outcome outcomeOf(std::size_t vertexCount, Stitch stitch) {
    Mesh mesh;
    for (std::size_t v = 0; v < vertexCount; ++v) {
        mesh.addVertex(Vertex(Point(static_cast<double>(v), static_cast<double>(v * v % 17), 0.0)));
    }
    RecordingListener listener;
    ProgressListener* const heard = &listener;
    Outcome outcome;
    try {
        stitch(mesh, heard);
    } catch (std::runtime_error const& error) {
        outcome.failure = error.what();
    }
    outcome.mesh = describe(mesh);
    outcome.heard = listener.events;
    return outcome;
}

/// Stitches in both ways; the answer is what came of it, or nothing if the faces are not for the quick one.
std::optional<Outcome> expectSameStitches(Faces const& faces, std::size_t vertexCount) {
    Mates const mates = findMates(faces, static_cast<std::uint32_t>(vertexCount));
    if (!mates) {
        return std::nullopt;
    }
    Outcome const plain = outcomeOf(vertexCount, [&](Mesh& mesh, ProgressListener* const& listener) {
        FaceStitcher(mesh.getBuilder(), faces, listener).run();
    });
    Outcome const quick = outcomeOf(vertexCount, [&](Mesh& mesh, ProgressListener* const& listener) {
        ManifoldStitcher(mesh.getBuilder(), faces, *mates, listener).run();
    });
    EXPECT_EQ(quick, plain);
    return plain;
}

Faces randomFaces(std::mt19937& generator, std::uint32_t vertices, std::uint32_t count) {
    Faces faces;
    for (std::uint32_t f = 0; f < count; ++f) {
        std::uint32_t const a = randomBelow(generator, vertices);
        std::uint32_t const b = randomBelow(generator, vertices);
        faces.push_back({a, b, randomBelow(generator, vertices)});
    }
    return faces;
}

} // namespace

TEST(FaceMates, AreTheSidesThatRunTheOtherWay) {
    for (NamedSoup const& family : loadableFamilies()) {
        Faces const faces = family.soup.faces;
        EXPECT_EQ(findMates(faces, static_cast<std::uint32_t>(family.soup.points.size())), plainMates(faces))
            << family.name;
    }
}

TEST(FaceMates, OfFacesThatAreNotForThemAreNone) {
    EXPECT_FALSE(findMates({{0, 1, 1}}, 2)) << "a vertex twice";
    EXPECT_FALSE(findMates({{0, 1, 2}, {0, 1, 3}}, 4)) << "a side twice";
    EXPECT_FALSE(findMates({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}, 5)) << "three on one edge";
    EXPECT_TRUE(findMates({{0, 1, 2}, {1, 0, 3}}, 4));
    EXPECT_TRUE(findMates({}, 0));
}

TEST(FaceMates, OfRandomFacesAreThoseOfASearch) {
    std::mt19937 generator(21);
    std::uint32_t numberOfSuch = 0;
    for (int round = 0; round < 4000; ++round) {
        std::uint32_t const vertices = 3 + randomBelow(generator, 9);
        Faces const faces = randomFaces(generator, vertices, 1 + randomBelow(generator, 6));
        Mates const mates = findMates(faces, vertices);
        ASSERT_EQ(mates, plainMates(faces)) << round;
        numberOfSuch += mates ? 1U : 0U;
    }
    EXPECT_GT(numberOfSuch, 500U);
    EXPECT_LT(numberOfSuch, 3500U);
}

TEST(ManifoldStitcher, BuildsWhatTheRecordsOfOpenEdgesDo) {
    std::uint32_t built = 0;
    for (NamedSoup const& family : loadableFamilies()) {
        for (std::uint32_t seed = 0; seed < 6; ++seed) {
            SCOPED_TRACE(family.name + ", seed " + std::to_string(seed));
            Soup const soup =
                seed == 0 ? family.soup : withRotatedFaceStarts(withShuffledFaces(family.soup, seed), seed);
            auto const outcome = expectSameStitches(soup.faces, soup.points.size());
            built += outcome && outcome->failure.empty() ? 1U : 0U;
        }
    }
    EXPECT_GT(built, 60U);
}

TEST(ManifoldStitcher, FailsInTheSameStateAsTheRecordsOfOpenEdges) {
    std::uint32_t failed = 0;
    for (NamedSoup const& family : unloadableFamilies()) {
        for (std::uint32_t seed = 1; seed < 6; ++seed) {
            SCOPED_TRACE(family.name + ", seed " + std::to_string(seed));
            Soup const soup = withRotatedFaceStarts(withShuffledFaces(family.soup, seed), seed);
            if (!soup.faces.empty()) {
                auto const outcome = expectSameStitches(soup.faces, soup.points.size());
                failed += outcome && !outcome->failure.empty() ? 1U : 0U;
            }
        }
    }
    EXPECT_GT(failed, 5U);
}

TEST(ManifoldStitcher, BuildsOrRefusesRandomFacesAsTheRecordsOfOpenEdgesDo) {
    std::mt19937 generator(22);
    std::uint32_t built = 0;
    std::uint32_t failed = 0;
    for (int round = 0; round < 20000; ++round) {
        std::uint32_t const vertices = 3 + randomBelow(generator, 4);
        Faces const faces = randomFaces(generator, vertices, 1 + randomBelow(generator, 6));
        auto const outcome = expectSameStitches(faces, vertices);
        built += outcome && outcome->failure.empty() && faces.size() > 1 ? 1U : 0U;
        failed += outcome && !outcome->failure.empty() ? 1U : 0U;
        ASSERT_FALSE(HasFailure()) << round;
    }
    EXPECT_GT(built, 100U);
    EXPECT_GT(failed, 100U);
}

TEST(ManifoldStitcher, BuildsLargerSurfacesInAnyOrderOfFaces) {
    Soup const surfaces[] = {makeWavyPatch(60, 50), makeSphere(5), makeTube(70, 40),
                             makePatchWithManyHoles(40)};
    for (Soup const& surface : surfaces) {
        Soup reversed = surface;
        std::reverse(reversed.faces.begin(), reversed.faces.end());
        Soup const shuffled =
            withShuffledVertices(withRotatedFaceStarts(withShuffledFaces(surface, 5), 6), 7);
        for (Soup const& soup : {surface, reversed, shuffled}) {
            auto const outcome = expectSameStitches(soup.faces, soup.points.size());
            ASSERT_TRUE(outcome);
            EXPECT_EQ(outcome->failure, "");
            EXPECT_GT(outcome->heard.size(), 90U);
        }
    }
}

} // namespace QELT::Testing
