#include "Inspection/grids/fileinfo.h"

#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <variant>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(FileInfo, tellsAGridByItsFirstBytes) {
    ScratchDirectory const directory;
    Grid grid;
    grid.setAsPlane({3.0, 2.0}, 1.0, false, 10);
    saveGrid(grid, directory / "grid.quads");
    std::filesystem::rename(directory / "grid.quads", directory / "grid.obj");
    auto const info = std::get<GridFileInfo>(fileInfoOf({directory / "grid.obj"}, nullptr));
    EXPECT_EQ(info.header.extentU, 3U);
    EXPECT_EQ(info.grid.validQuadCount, 6U);
    EXPECT_EQ(info.byteCount, 176U + 12U + 12U * 12U);
}

TEST(FileInfo, tellsAMeshWithAndWithoutFlatCoordinates) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh());
    auto const info = std::get<MeshFileInfo>(fileInfoOf({directory / "patch.obj"}, nullptr));
    EXPECT_EQ(info.mesh.vertexCount, 143U);
    EXPECT_EQ(info.mesh.faceCount, 240U);
    EXPECT_EQ(info.mesh.loops.size(), 1U);
    EXPECT_FALSE(info.flat.has_value());
    writeText(directory / "flat.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 4 0\nvt 0 2\nf 1 2 3\n");
    auto const flat = std::get<MeshFileInfo>(fileInfoOf({directory / "flat.obj"}, nullptr));
    ASSERT_TRUE(flat.flat.has_value());
    EXPECT_EQ(flat.flat->width, 4.0);
}

TEST(FileInfo, refusesAnotherFile) {
    ScratchDirectory const directory;
    writeText(directory / "notes.txt", "Dear reader,\n");
    EXPECT_EQ(messageOf([&] { fileInfoOf({directory / "notes.txt"}, nullptr); }),
              (directory / "notes.txt").string() +
                  ": is no STL, PLY, OFF or OBJ file and no table of points");
}

TEST(FileInfo, tellsOfACloud) {
    ScratchDirectory const directory;
    writeText(directory / "a.csv", "x,y,z,nx,ny,nz\n0,0,0,0,0,1\n3,4,0,0,0,1\n");
    auto const info = std::get<CloudFileInfo>(fileInfoOf({directory / "a.csv"}, nullptr));
    EXPECT_EQ(info.load.pointsOut, 2U);
    EXPECT_EQ(info.load.size, 5.0);
    EXPECT_TRUE(info.hasNormals);
    EXPECT_EQ(info.byteCount, std::filesystem::file_size(directory / "a.csv"));
}

} // namespace
} // namespace QELT::Inspection
