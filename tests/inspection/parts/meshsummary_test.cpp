#include "Inspection/parts/meshsummary.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

namespace QELT::Inspection {
namespace {

using Testing::ScratchDirectory;
using Testing::writeText;

/// A square ring of sides 3 outside and 1 inside, flat as it stands; twice as wide on the surface.
char const* const ring = "v 0 0 0\nv 6 0 0\nv 6 3 0\nv 0 3 0\nv 2 1 0\nv 4 1 0\nv 4 2 0\nv 2 2 0\n"
                         "vt 0 0\nvt 3 0\nvt 3 3\nvt 0 3\nvt 1 1\nvt 2 1\nvt 2 2\nvt 1 2\n"
                         "f 1 2 6\nf 1 6 5\nf 2 3 7\nf 2 7 6\nf 3 4 8\nf 3 8 7\nf 4 1 5\nf 4 5 8\n";

void loadText(Mesh& mesh, std::string const& text) {
    ScratchDirectory const directory;
    writeText(directory / "mesh.obj", text);
    loadObj(mesh, directory / "mesh.obj");
}

TEST(MeshSummary, walksOutlineAndHoleWithTheirLengthsOnTheSurface) {
    Mesh mesh;
    loadText(mesh, ring);
    auto const loops = boundaryLoopsOf(mesh);
    ASSERT_EQ(loops.size(), 2U);
    EXPECT_EQ(loops[0].vertices.size(), 4U);
    EXPECT_EQ(loops[0].length, 18.0);
    EXPECT_EQ(loops[1].vertices.size(), 4U);
    EXPECT_EQ(loops[1].length, 6.0);
}

TEST(MeshSummary, findsNoLoopOnAClosedMesh) {
    Mesh mesh;
    loadText(mesh, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    EXPECT_EQ(trianglesOf(mesh).size(), 4U);
    EXPECT_TRUE(boundaryLoopsOf(mesh).empty());
}

TEST(MeshSummary, measuresTheBoxAndTheArea) {
    Mesh mesh;
    loadText(mesh, ring);
    MeshSummary const summary = meshSummaryOf(mesh);
    EXPECT_EQ(summary.low, Point(0.0, 0.0, 0.0));
    EXPECT_EQ(summary.high, Point(6.0, 3.0, 0.0));
    EXPECT_EQ(summary.area, 16.0);
    Mesh low;
    loadText(low, "v -1 -2 -3\nv -1 -2 -5\nv -1 -6 -3\nf 1 2 3\n");
    EXPECT_EQ(meshSummaryOf(low).low, Point(-1.0, -6.0, -5.0));
    EXPECT_EQ(meshSummaryOf(low).high, Point(-1.0, -2.0, -3.0));
}

TEST(MeshSummary, measuresTheFlatMap) {
    Mesh mesh;
    loadText(mesh, ring);
    FlatSummary const flat = flatSummaryOf(mesh, trianglesOf(mesh));
    EXPECT_EQ(flat.width, 3.0);
    EXPECT_EQ(flat.height, 3.0);
    EXPECT_EQ(flat.flippedCount, 0U);
    EXPECT_EQ(flat.degenerateCount, 0U);
}

TEST(MeshSummary, countsTrianglesThatAreTurnedOverOrHaveNoFlatArea) {
    Mesh mesh;
    loadText(mesh, ring);
    // Vertex 4, the inner low corner, is dragged across the ring onto its outer low side.
    mesh.getVertex(4).setPoint2D(FlatPoint(1.0, 0.0));
    FlatSummary const flat = flatSummaryOf(mesh, trianglesOf(mesh));
    EXPECT_EQ(flat.flippedCount, 1U);
    mesh.getVertex(4).setPoint2D(FlatPoint(0.0, 0.0));
    EXPECT_EQ(flatSummaryOf(mesh, trianglesOf(mesh)).degenerateCount, 2U);
}

} // namespace
} // namespace QELT::Inspection
