#include "apps/cscan/surface/meshsummary.h"

#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/objfile.h"
#include "apps/cscan/grids/gridsummary.h"
#include "apps/cscan/pictures/flatpicture.h"
#include "tests/cscan/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

namespace cscan {
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

TEST(MeshSummary, expectsTheGridThatResamplingMakes) {
    Mesh mesh;
    loadText(mesh, ring);
    auto const triangles = trianglesOf(mesh);
    GridSize const size = expectedGridSize(flatSummaryOf(mesh, triangles), triangles, 0.02);
    EXPECT_DOUBLE_EQ(size.u, 30.0);
    EXPECT_DOUBLE_EQ(size.v, 30.0);
    Grid grid;
    grid.construct(mesh, 0.02);
    EXPECT_NEAR(static_cast<double>(grid.getExtents().getdU()), 31.0, 1.0);
}

/// Three triangles as flat as they stand, and two that the flat map leaves without area: one over the
/// diagonal of a lattice of step 0.5, and one along a side that no place of that lattice lies on.
char const* const withSlits =
    "v 0 0 0\nv 2 0 0\nv 2 2 0\nv 1 1 1\nv 2.75 0.875 0\nv 2.75 1.75 0\nv 2.75 1.25 1\n"
    "vt 0 0\nvt 2 0\nvt 2 2\nvt 1 1\nvt 2.75 0.875\nvt 2.75 1.75\nvt 2.75 1.25\n"
    "f 1 2 3\nf 2 5 3\nf 5 6 3\nf 6 5 7\nf 1 3 4\n";

TEST(NanNodes, areCountedWithTheTrianglesThatMadeThem) {
    Mesh mesh;
    loadText(mesh, withSlits);
    auto const triangles = trianglesOf(mesh);
    EXPECT_EQ(flatSummaryOf(mesh, triangles).degenerateCount, 2U);
    double const quadArea = 0.25;
    EXPECT_EQ(expectedSpacing(triangles, quadArea), 0.5);
    Grid grid;
    grid.construct(mesh, quadArea);
    auto const nodes = nanNodesOf(grid);
    ASSERT_GE(nodes.size(), 4U);
    for (GridIndex const& node : nodes) {
        EXPECT_EQ(node.getU(), node.getV()) << "on the diagonal";
        EXPECT_TRUE(grid.getIsPointValid(node));
        EXPECT_TRUE(std::isnan(grid.getPoint(node).getX()));
    }
    std::ostringstream output;
    printNanNodes(output, nodes, triangles, expectedSpacing(triangles, quadArea));
    EXPECT_EQ(output.str(), "NaN nodes           " + std::to_string(nodes.size()) +
                                " valid nodes are no number, from 1 triangle without flat area\n");
}

TEST(NanNodes, areNotSpokenOfWhereThereAreNone) {
    Mesh mesh;
    loadText(mesh, ring);
    Grid grid;
    grid.construct(mesh, 0.02);
    EXPECT_TRUE(nanNodesOf(grid).empty());
    EXPECT_TRUE(nanNodesOf(Grid()).empty());
    std::ostringstream output;
    printNanNodes(output, nanNodesOf(grid), trianglesOf(mesh), 0.1);
    EXPECT_EQ(output.str(), "");
}

TEST(FlatPicture, drawsOutlineAndHoleInTheirColours) {
    Mesh mesh;
    loadText(mesh, ring);
    Image const image = flatPictureOf(mesh, "Ring");
    std::size_t blue = 0;
    std::size_t red = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            Colour const colour = image.getPixel(x, y);
            blue += colour == Colour{20, 50, 120} ? 1U : 0U;
            red += colour == Colour{190, 30, 50} ? 1U : 0U;
        }
    }
    // Lines of two pixels along squares of about 1200 and 400 pixels.
    EXPECT_GT(blue, 4U * 1100U);
    EXPECT_GT(red, 4U * 300U);
    EXPECT_GT(blue, 2 * red);
}

} // namespace
} // namespace cscan
