#include "Inspection/grids/derive.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;

/// What comes of 12 by 8 quads of side 2 in the plane z = 0.
GridSummary derivedBy(Derivation const& derivation) {
    ScratchDirectory const directory;
    Grid grid;
    grid.setAsPlane(Size(24.0, 16.0), 2.0, false, 10);
    saveGrid(grid, directory / "in.quads");
    GridSummary const summary =
        derive({directory / "in.quads", directory / "out.quads", derivation}, nullptr);
    Grid result;
    loadGrid(result, directory / "out.quads");
    EXPECT_EQ(gridSummaryOf(result).high, summary.high);
    return summary;
}

TEST(Derive, makesEachKindOfGrid) {
    EXPECT_EQ(derivedBy(ScaleGrid{0.5}).meanQuadArea, 1.0);
    EXPECT_EQ(derivedBy(ThinOutGrid{true, 2}).extentU, 6U);
    EXPECT_LE(derivedBy(ThinOutGrid{false, 30}).validQuadCount, 30U);
    EXPECT_EQ(derivedBy(RestrictGrid{GridIndex(2, 3), GridIndex(6, 5)}).extentV, 2U);
    EXPECT_EQ(derivedBy(FlattenGrid{}).validQuadCount, 96U);
    GridSummary const normalised = derivedBy(NormaliseGrid{3.0});
    EXPECT_NEAR(normalised.high.getX() - normalised.low.getX(), 3.0, 1e-6);
    using QELT::Geometry::ThreeDimensional::QuadMesh::AxisU;
    using QELT::Geometry::ThreeDimensional::QuadMesh::PlaneYZ;
    EXPECT_EQ(derivedBy(MirrorGrid{PlaneYZ, AxisU}).low.getX(), -24.0F);
}

TEST(Derive, namesTheFileThatIsMissing) {
    ScratchDirectory const directory;
    auto const source = directory / "none.quads";
    EXPECT_EQ(messageOf([&] {
                  derive({source, directory / "out.quads", FlattenGrid{}}, nullptr);
              }),
              source.string() + ": cannot be read (No such file or directory)");
}

} // namespace
} // namespace QELT::Inspection
