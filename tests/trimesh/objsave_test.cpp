#include "Geometry/trimesh/mesh.h"

#include "tests/support/fulldisk.h"
#include "tests/support/gridchecks.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/recordinglistener.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::TriMesh::Mesh;

constexpr char const* writeFailureText = "Cannot write mesh file";

/// `saveFlat` and `saveFlatAs3D`.
constexpr std::pair<bool, bool> flagPairs[] = {{false, false}, {true, false}, {true, true}, {false, true}};

class MeshOnAFullDisk : public testing::Test {
protected:
    std::string path(std::string const& name) const { return directory.file(name); }

    TemporaryDirectory directory;
};

TEST_F(MeshOnAFullDisk, IsAFailureForEveryMeshAndKindOfFileAndLeavesTheDevice) {
    ASSERT_TRUE(linkToFullDevice(path("full.obj")));
    for (NamedSoup const& family : loadableFamilies()) {
        SCOPED_TRACE(family.name);
        auto const mesh = makeMesh(family.soup);
        std::string const name = mesh->getFileName();
        for (auto const& [flat, asSurface] : flagPairs) {
            ASSERT_EQ(messageOf([&, f = flat, s = asSurface] { mesh->save(path("full.obj").c_str(), f, s); }),
                      writeFailureText);
        }
        ASSERT_EQ(mesh->getFileName(), name);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(path("full.obj")));
    EXPECT_TRUE(getIsFullDeviceWhole());
}

TEST_F(MeshOnAFullDisk, KeepsWhatFitsAndIsAFailureWhereverItEnds) {
    auto const mesh = makeMesh(makeGridPatch(40, 40));
    for (auto const& [flat, asSurface] : flagPairs) {
        mesh->save(path("m.obj").c_str(), flat, asSurface);
        std::string const whole = readText(path("m.obj"));
        for (std::size_t size = 0; size < whole.size(); size += whole.size() / 61U + 1U) {
            FileSizeLimit const limit(size);
            ASSERT_EQ(messageOf([&, f = flat, s = asSurface] { mesh->save(path("m.obj").c_str(), f, s); }),
                      writeFailureText);
            ASSERT_EQ(readText(path("m.obj")), whole.substr(0, size));
        }
        FileSizeLimit const limit(whole.size());
        ASSERT_NO_THROW(mesh->save(path("m.obj").c_str(), flat, asSurface));
    }
}

TEST_F(MeshOnAFullDisk, FailsOnASmallDiskWithRoomForHalfOfIt) {
    auto const disk = SmallDisk::mount(path("disk"), std::size_t{1} << 14U);
    if (!disk) {
        GTEST_SKIP() << "no right to mount a disk";
    }
    auto const mesh = makeMesh(makeGridPatch(40, 40));
    mesh->save(path("m.obj").c_str(), false, false);
    ASSERT_GT(std::filesystem::file_size(path("m.obj")), std::uintmax_t{1} << 15U);
    EXPECT_EQ(messageOf([&] { mesh->save(path("disk/m.obj").c_str(), false, false); }), writeFailureText);
}

TEST_F(MeshOnAFullDisk, LetsTheListenerHearAllOfASmallMeshAndWritesElsewhereAfterwards) {
    writeText(path("one.obj"), "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    Mesh mesh;
    mesh.load(path("one.obj").c_str());
    RecordingListener onFull;
    RecordingListener onDisk;
    ASSERT_TRUE(linkToFullDevice(path("full.obj")));
    mesh.setProgressListener(&onFull);
    EXPECT_EQ(messageOf([&] { mesh.save(path("full.obj").c_str(), true, false); }), writeFailureText);
    mesh.setProgressListener(&onDisk);
    mesh.save(path("disk.obj").c_str(), true, false);
    EXPECT_EQ(onFull.events.size(), onDisk.events.size()) << "a file this small fails on closing";
    EXPECT_EQ(onFull.percentages, onDisk.percentages);
    EXPECT_EQ(readText(path("disk.obj")).substr(readText(path("disk.obj")).size() - 17),
              "\ng Faces\nf 1 2 3\n");
}

} // namespace
} // namespace QELT::Testing
