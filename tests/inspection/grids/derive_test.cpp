#include "Inspection/grids/derive.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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

TEST(Derive, refusesWhatLeavesNoGrid) {
    ScratchDirectory const directory;
    Grid grid;
    grid.setAsPlane(Size(4.0, 4.0), 1.0, false, 10);
    auto const source = directory / "in.quads";
    saveGrid(grid, source);
    auto const complaintOn = [&](Derivation const& derivation) {
        return messageOf([&] { derive({source, directory / "out.quads", derivation}, nullptr); });
    };
    std::string const none = source.string() + ": there is no grid of ";
    EXPECT_EQ(complaintOn(NormaliseGrid{0.0}), none + "a size that is not above zero");
    EXPECT_EQ(complaintOn(ThinOutGrid{true, 0}), none + "no node or no quad");
    EXPECT_EQ(complaintOn(RestrictGrid{GridIndex(1, 1), GridIndex(1, 3)}), none + "a box without extent");
    EXPECT_EQ(complaintOn(ScaleGrid{0.0}), none + "a scale that leaves no surface");
    EXPECT_FALSE(std::filesystem::exists(directory / "out.quads"));
}

} // namespace
} // namespace QELT::Inspection
