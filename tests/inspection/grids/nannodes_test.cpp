#include "Inspection/grids/gridsummary.h"
#include "Inspection/import/objfile.h"
#include "Inspection/parts/meshsummary.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

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
    double const spacing = 0.5;
    Grid grid;
    grid.construct(mesh, spacing * spacing, spacing);
    NanNodes const nodes = nanNodesIn(grid, mesh, spacing);
    ASSERT_GE(nodes.places.size(), 4U);
    EXPECT_EQ(nodes.triangleCount, 1U);
    for (GridIndex const& node : nodes.places) {
        EXPECT_EQ(node.getU(), node.getV()) << "on the diagonal";
        EXPECT_TRUE(grid.getIsPointValid(node));
        EXPECT_TRUE(std::isnan(grid.getPoint(node).getX()));
    }
}

TEST(NanNodes, areNotFoundWhereThereAreNone) {
    Mesh mesh;
    loadText(mesh, ring);
    Grid grid;
    double const spacing = 0.1;
    grid.construct(mesh, 2.0 * spacing * spacing, spacing);
    EXPECT_TRUE(nanNodesIn(grid, mesh, spacing).places.empty());
    EXPECT_TRUE(nanNodesIn(Grid(), mesh, spacing).places.empty());
    EXPECT_EQ(nanNodesIn(grid, mesh, spacing).triangleCount, 0U);
}

} // namespace
} // namespace QELT::Inspection
