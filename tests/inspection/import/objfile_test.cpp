#include "Inspection/import/objfile.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;

/// Two triangles of a unit square.
char const* const square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\nf 1 3 4\n";

TEST(ObjFile, findsAndKeepsTheCutFileBesideIt) {
    ScratchDirectory const directory;
    writeText(directory / "part.obj", square);
    writeText(directory / "part.obj\\part_cut_indices.txt", "1, 2\n");
    Mesh mesh;
    EXPECT_FALSE(loadObj(mesh, directory / "part.obj").hasFlatCoordinates);
    ASSERT_EQ(mesh.getCutEdgeIndices().first.size(), 2U);
    EXPECT_EQ(mesh.getCutEdgeIndices().first[0].index, 1U);
    EXPECT_EQ(mesh.getCutEdgeIndices().second[0].index, 2U);

    saveFlatObj(mesh, directory / "flat.obj");
    Mesh again;
    EXPECT_TRUE(loadObj(again, directory / "flat.obj").hasFlatCoordinates);
    ASSERT_EQ(again.getCutEdgeIndices().first.size(), 3U);
    EXPECT_EQ(again.getCutEdgeIndices().first[0].index, 1U);
    EXPECT_EQ(again.getCutEdgeIndices().second[0].index, 2U);
}

TEST(ObjFile, leavesTheWorkingDirectoryAloneAndFindsFilesAsTheLibraryLeavesThem) {
    ScratchDirectory const directory;
    auto const before = std::filesystem::current_path();
    writeText(directory / "part.v2.obj", square);
    writeText(directory / "part.v2.obj\\part.v2_cut_indices.txt", "1, 2\n");
    Mesh mesh;
    loadObj(mesh, directory / "part.v2.obj");
    EXPECT_EQ(mesh.getFileName(), "part.v2");
    EXPECT_EQ(mesh.getCutEdgeIndices().first.size(), 2U);
    std::filesystem::create_directories(directory / "out");
    saveObj(mesh, directory / "out/cut.obj");
    EXPECT_EQ(readText(directory / "out/cut.obj\\cut_cut_indices.txt"), "1, 2\n0, 0\n");
    EXPECT_EQ(std::filesystem::current_path(), before);

    std::filesystem::current_path(directory / "out");
    Mesh again;
    again.load("cut.obj");
    std::filesystem::current_path(before);
    EXPECT_EQ(again.getCutEdgeIndices().first.size(), 3U);
}

TEST(ObjFile, namesTheFileInTheLibrarysComplaint) {
    ScratchDirectory const directory;
    writeText(directory / "empty.obj", "# nothing\n");
    writeText(directory / "part.txt", square);
    Mesh mesh;
    EXPECT_EQ(messageOf([&] { loadObj(mesh, directory / "empty.obj"); }),
              (directory / "empty.obj").string() + ": File does not contain 3D data");
    EXPECT_EQ(messageOf([&] { loadObj(mesh, directory / "part.txt"); }),
              (directory / "part.txt").string() + ": Invalid file extension");
}

} // namespace
} // namespace QELT::Inspection
