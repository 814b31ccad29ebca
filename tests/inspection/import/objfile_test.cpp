#include "Inspection/import/objfile.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
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
