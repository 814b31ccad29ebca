#include "Geometry/trimesh/mesh.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::Face;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Points = std::vector<Point>;

Points pointsOf(Soup const& soup) {
    Points points;
    for (auto const& [x, y, z] : soup.points) {
        points.emplace_back(x, y, z);
    }
    return points;
}

/// The soup that a file of single precision holds.
Soup rounded(Soup soup) {
    for (auto& point : soup.points) {
        for (double& coordinate : point) {
            coordinate = static_cast<double>(static_cast<float>(coordinate));
        }
    }
    return soup;
}

struct Outcome {
    std::string failure;
    std::string state;
    std::vector<std::string> events;
};

/// What the mesh holds but its name, which only a file gives.
std::string stateOf(Mesh& mesh) {
    std::string const name = std::exchange(mesh.fileName, "");
    std::string state = describe(mesh);
    mesh.fileName = name;
    return state;
}

template <class Fill>
Outcome outcomeOf(Mesh& mesh, Fill fill) {
    Outcome outcome;
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    try {
        fill();
    } catch (std::runtime_error const& failure) {
        outcome.failure = failure.what();
    }
    mesh.setProgressListener(nullptr);
    outcome.state = stateOf(mesh);
    outcome.events = listener.events;
    return outcome;
}

/// Builds the mesh from arrays and from a file and compares failures, all that the meshes hold, and what is
/// reported from the first face on. The answer is the failure's text.
std::string expectAsLoaded(Soup const& original) {
    Soup const soup = rounded(original);
    Mesh loaded;
    Outcome const expected = outcomeOf(loaded, [&] { loadSoup(loaded, soup); });
    Mesh mesh;
    Outcome const actual = outcomeOf(mesh, [&] { mesh.construct(pointsOf(soup), soup.faces); });
    EXPECT_EQ(actual.failure, expected.failure);
    if (actual.failure == "Invalid vertex index") {
        EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
        return actual.failure;
    }
    EXPECT_EQ(actual.state, expected.state);
    auto const start =
        std::find(expected.events.begin(), expected.events.end(), "Constructing triangle mesh...");
    EXPECT_NE(start, expected.events.end());
    EXPECT_EQ(actual.events, std::vector<std::string>(start, expected.events.end()));
    return actual.failure;
}

} // namespace

TEST(FaceArrays, EveryFamilyGivesTheMeshOfItsFile) {
    for (NamedSoup const& family : loadableFamilies()) {
        SCOPED_TRACE(family.name);
        EXPECT_EQ(expectAsLoaded(family.soup), "");
        Soup const soup = rounded(family.soup);
        Mesh made(pointsOf(soup), soup.faces);
        Mesh loaded;
        loadSoup(loaded, soup);
        EXPECT_EQ(stateOf(made), stateOf(loaded));
        EXPECT_EQ(made.getFileName(), "");
    }
}

TEST(FaceArrays, FacesThatNoFileCanHoldFailAndLeaveTheMeshOfTheirFile) {
    for (NamedSoup const& family : unloadableFamilies()) {
        SCOPED_TRACE(family.name);
        EXPECT_EQ(expectAsLoaded(family.soup), "Mesh construction failure");
        Soup const soup = rounded(family.soup);
        EXPECT_THROW(Mesh(pointsOf(soup), soup.faces), std::runtime_error);
    }
}

TEST(FaceArrays, DamagedIndicesAreTakenOrRefusedAsInAFile) {
    std::mt19937 generator(31);
    int invalidCount = 0;
    int unjoinedCount = 0;
    int takenCount = 0;
    for (NamedSoup const& family : loadableFamilies()) {
        for (int round = 0; round < 6; ++round) {
            SCOPED_TRACE(family.name + ", round " + std::to_string(round));
            Soup soup = family.soup;
            // Out of range in one round of three, one behind the last among them.
            auto const count = static_cast<std::uint32_t>(soup.points.size());
            std::uint32_t const reach = round % 3 == 0 ? count + 1 : count;
            for (int i = 0; i <= round % 2; ++i) {
                Face& face = soup.faces[generator() % soup.faces.size()];
                face[generator() % 3] = round == 3 ? count : static_cast<std::uint32_t>(generator() % reach);
            }
            std::string const failure = expectAsLoaded(soup);
            invalidCount += failure == "Invalid vertex index" ? 1 : 0;
            unjoinedCount += failure == "Mesh construction failure" ? 1 : 0;
            takenCount += failure.empty() ? 1 : 0;
        }
    }
    EXPECT_GT(invalidCount, 20);
    EXPECT_GT(unjoinedCount, 20);
    EXPECT_GT(takenCount, 0);
}

TEST(FaceArrays, AnIndexOutOfRangeLeavesTheMeshUnchanged) {
    Soup const soup = rounded(makeWavyPatch(3, 4));
    Mesh mesh(pointsOf(soup), soup.faces);
    std::string const before = stateOf(mesh);
    auto const count = static_cast<std::uint32_t>(soup.points.size());
    for (std::uint32_t const index : {count, std::numeric_limits<std::uint32_t>::max()}) {
        for (std::size_t corner = 0; corner < 3; ++corner) {
            std::vector<Face> faces = soup.faces;
            faces.back()[corner] = index;
            RecordingListener listener;
            mesh.setProgressListener(&listener);
            EXPECT_THROW(mesh.construct(pointsOf(soup), faces), std::runtime_error);
            mesh.setProgressListener(nullptr);
            EXPECT_EQ(stateOf(mesh), before);
            EXPECT_TRUE(listener.events.empty());
            EXPECT_THROW(Mesh(pointsOf(soup), faces), std::runtime_error);
        }
    }
}

TEST(FaceArrays, WithoutFacesThereIsNoSurface) {
    for (std::size_t const count : {0U, 3U}) {
        Mesh mesh;
        Points const points(count, Point(1.0, 2.0, 3.0));
        try {
            mesh.construct(points, {});
            ADD_FAILURE() << "nothing was thrown";
        } catch (std::runtime_error const& failure) {
            EXPECT_STREQ(failure.what(), "Mesh construction failure");
        }
        EXPECT_EQ(mesh.getNumberOfVertices(), count);
    }
    EXPECT_THROW(Mesh({}, {Face{0, 0, 0}}), std::runtime_error);
}

TEST(FaceArrays, AnEarlierMeshIsReplacedButForItsNameAndCut) {
    Mesh mesh;
    loadSoup(mesh, makeTube(8, 5));
    std::string const name = mesh.getFileName();
    mesh.cutEdgeIndices.first.push_back({3});
    mesh.cutEdgeIndices.second.push_back({4});
    Soup const soup = rounded(makeGridPatch(2, 2));
    mesh.construct(pointsOf(soup), soup.faces);
    EXPECT_EQ(mesh.getNumberOfVertices(), 9U);
    EXPECT_EQ(mesh.getFileName(), name);
    EXPECT_EQ(mesh.getCutEdgeIndices().first.size(), 1U);
    mesh.cutEdgeIndices = {};
    EXPECT_EQ(stateOf(mesh), stateOf(*std::make_unique<Mesh>(pointsOf(soup), soup.faces)));
}

} // namespace QELT::Testing
