#include "Geometry/trimesh/mesh.h"

#include "tests/support/fulldisk.h"
#include "tests/support/gridchecks.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/recordinglistener.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::TriMesh::CutEdgeIndices;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using IndexPairs = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

constexpr char const* square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\nf 1 3 4\n";

/// A mesh and its cut in a file at a path of its own.
class CutFile : public testing::Test {
protected:
    CutFile() {
        writeText(path("square.obj"), square);
        mesh.load(path("square.obj").c_str());
        std::filesystem::create_directories(path("in/side"));
    }

    std::string path(std::string const& name) const { return directory.file(name); }

    void setCut(IndexPairs const& pairs) {
        mesh.cutEdgeIndices = {};
        for (auto const& [first, second] : pairs) {
            mesh.cutEdgeIndices.first.push_back({first});
            mesh.cutEdgeIndices.second.push_back({second});
        }
    }

    /// Saves to `in/m.v2.obj` and the cut to where it is told.
    void save(std::string const& cutPath) const {
        mesh.save(path("in/m.v2.obj").c_str(), cutPath.c_str(), false, false);
    }

    TemporaryDirectory directory;
    Mesh mesh;
};

IndexPairs cutOf(Mesh const& mesh) {
    CutEdgeIndices const& cut = mesh.getCutEdgeIndices();
    EXPECT_EQ(cut.first.size(), cut.second.size());
    IndexPairs pairs;
    for (std::size_t k = 0; k < cut.first.size(); ++k) {
        pairs.emplace_back(cut.first[k].index, cut.second[k].index);
    }
    return pairs;
}

TEST_F(CutFile, IsWrittenAndReadWhereItsPathSays) {
    setCut({{3, 7}, {4294967295U, 0}});
    save(path("in/side/lips"));
    EXPECT_EQ(readText(path("in/side/lips")), "3, 7\n4294967295, 0\n");
    Mesh loaded;
    EXPECT_TRUE(loaded.load(path("in/m.v2.obj").c_str(), path("in/side/lips").c_str()).getDoesContain3D());
    EXPECT_EQ(cutOf(loaded), (IndexPairs{{3, 7}, {4294967295U, 0}, {0, 0}}));
    EXPECT_EQ(loaded.getNumberOfVertices(), 4UL);
    EXPECT_EQ(loaded.getFileName(), "m.v2") << "slashes separate directories here";
}

TEST_F(CutFile, AtAPathOfItsOwnLeavesNothingAtTheUsualPlaceAndReadsNothingThere) {
    setCut({{3, 7}});
    auto const usual = path("in/m.obj\\m_cut_indices.txt");
    mesh.save(path("in/m.obj").c_str(), path("in/cut").c_str(), false, false);
    EXPECT_FALSE(std::filesystem::exists(usual));
    writeText(usual, "8, 9\n");
    Mesh loaded;
    loaded.load(path("in/m.obj").c_str(), path("in/none").c_str());
    EXPECT_TRUE(cutOf(loaded).empty());
}

TEST_F(CutFile, ComesWithTheSameMeshFileAsWithoutAPath) {
    mesh.conformalMap(true, nullptr, false);
    for (auto const& [flat, asSurface] :
         {std::pair(false, false), std::pair(true, false), std::pair(true, true), std::pair(false, true)}) {
        mesh.save(path("a.obj").c_str(), flat, asSurface);
        mesh.save(path("b.obj").c_str(), path("cut").c_str(), flat, asSurface);
        EXPECT_EQ(readText(path("b.obj")), readText(path("a.obj")));
        EXPECT_GT(readText(path("b.obj")).size(), 60U);
    }
}

TEST_F(CutFile, IsNotWrittenWithoutACutAndAnOldOneStays) {
    save(path("in/new"));
    EXPECT_FALSE(std::filesystem::exists(path("in/new")));
    writeText(path("in/old"), "1, 2\n");
    save(path("in/old"));
    EXPECT_EQ(readText(path("in/old")), "1, 2\n");
    EXPECT_NO_THROW(save(path("none/cut"))) << "nothing is opened";
}

TEST_F(CutFile, ThatIsNotThereIsNoCutAndThePairsInHandStay) {
    setCut({{3, 7}});
    mesh.load(path("square.obj").c_str(), path("in/none").c_str());
    EXPECT_EQ(cutOf(mesh), (IndexPairs{{3, 7}}));
    writeText(path("in/cut"), "1, 2\n");
    mesh.load(path("square.obj").c_str(), path("in/cut").c_str());
    EXPECT_EQ(cutOf(mesh), (IndexPairs{{3, 7}, {1, 2}, {0, 0}})) << "appended, as beside the mesh";
}

TEST_F(CutFile, ThatCannotBeOpenedIsAFailureAfterTheMeshIsWritten) {
    setCut({{3, 7}});
    EXPECT_EQ(messageOf([&] { save(path("none/cut")); }), "Cannot open cut file");
    EXPECT_EQ(messageOf([&] { save(path("in")); }), "Cannot open cut file");
    Mesh loaded;
    loaded.load(path("in/m.v2.obj").c_str());
    EXPECT_EQ(loaded.getNumberOfVertices(), 4UL);
}

TEST_F(CutFile, ThatCannotBeWrittenIsAFailureAfterTheMeshIsWritten) {
    setCut({{3, 7}});
    ASSERT_TRUE(linkToFullDevice(path("in/full")));
    EXPECT_EQ(messageOf([&] { save(path("in/full")); }), "Cannot write cut file");
    EXPECT_TRUE(std::filesystem::is_symlink(path("in/full")));
    EXPECT_TRUE(getIsFullDeviceWhole());
    Mesh loaded;
    loaded.load(path("in/m.v2.obj").c_str());
    EXPECT_EQ(loaded.getNumberOfVertices(), 4UL);
}

TEST_F(CutFile, AtTheUsualPlaceThatCannotBeWrittenIsAFailureToo) {
    setCut({{3, 7}});
    ASSERT_TRUE(linkToFullDevice(path("x\\m_cut_indices.txt")));
    EXPECT_EQ(messageOf([&] { mesh.save(path("x\\m.obj").c_str(), false, false); }), "Cannot write cut file");
    EXPECT_TRUE(getIsFullDeviceWhole());
}

TEST_F(CutFile, OfManyPairsThatCannotGrowIsAFailureWhereverItEnds) {
    IndexPairs pairs;
    for (std::uint32_t k = 0; k < 20000; ++k) {
        pairs.emplace_back(k, 100000 + k);
    }
    setCut(pairs);
    save(path("in/cut"));
    std::string const whole = readText(path("in/cut"));
    ASSERT_GT(whole.size(), 250000U);
    for (std::size_t size = readText(path("in/m.v2.obj")).size(); size < whole.size(); size += 20011) {
        FileSizeLimit const limit(size);
        ASSERT_EQ(messageOf([&] { save(path("in/cut")); }), "Cannot write cut file");
        ASSERT_EQ(readText(path("in/cut")), whole.substr(0, size));
    }
}

TEST_F(CutFile, AtAPathOfItsOwnFailsAsLoadingDoesWithoutAndTakesTheNameFirst) {
    Mesh loaded;
    writeText(path("in/text.txt"), square);
    auto const message = [&](std::string const& name) {
        return messageOf([&] { loaded.load(path(name).c_str(), path("in/cut").c_str()); });
    };
    EXPECT_EQ(message("in/text.txt"), "Invalid file extension");
    EXPECT_EQ(loaded.getFileName(), "text");
    EXPECT_EQ(message("in/none.obj"), "Cannot open file");
    EXPECT_EQ(loaded.getFileName(), "none");
}

TEST_F(CutFile, AtAPathOfItsOwnLetsTheListenerHearTheNameOfTheMesh) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    setCut({{3, 7}});
    save(path("in/cut"));
    EXPECT_EQ(listener.messages.front(), "Initialising file save: " + path("in/m.v2.obj") + ".");
    listener = {};
    mesh.load(path("in/m.v2.obj").c_str(), path("in/cut").c_str());
    EXPECT_EQ(listener.messages.front(), "Initialising file load: m.v2.obj.");
}

} // namespace
} // namespace QELT::Testing
