#include "Inspection/pictures/footprintpicture.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/pictures/internal/figure.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;

/// 60 by 40 quads of side 0.5 in the plane z = 0.
Grid planeGrid() {
    Grid grid;
    grid.setAsPlane(Size(30.0, 20.0), 0.5, false, 10);
    return grid;
}

/// Straight down from 10 above, spreading by a fifth, 1 wide at its start.
SpreadingBeam beamAt(double x, double y) {
    return {Point(x, y, 10.0), Vector(1.0, 0.0, 0.0), Vector(0.0, -1.0, 0.0), 5.0, 1.0};
}

TEST(Footprint, isACircleUnderAnUprightBeam) {
    Grid grid = planeGrid();
    Footprint const footprint = footprintOf(grid, beamAt(15.1, 10.2));
    EXPECT_EQ(footprint.quad, GridIndex(30, 20));
    EXPECT_NEAR(footprint.centre.getU(), 30.2, 2e-3);
    EXPECT_NEAR(footprint.centre.getV(), 20.4, 2e-3);
    auto const outline = outlineOf(footprint);
    ASSERT_GE(outline.size(), 64U);
    for (FlatPoint const& point : outline) {
        auto const way = point - footprint.centre;
        EXPECT_NEAR(std::hypot(way.getdU(), way.getdV()), 6.0, 1e-2) << "radius 1 + 10 / 5 in quads";
    }
}

TEST(Footprint, isLongerOnTheFarSideOfAnObliqueBeam) {
    Grid grid = planeGrid();
    SpreadingBeam beam = beamAt(5.1, 10.2);
    beam.axisA = Vector(0.8, 0.0, 0.6);
    Footprint const footprint = footprintOf(grid, beam);
    double const farSide = footprint.ends[0].getU() - footprint.centre.getU();
    double const nearSide = footprint.centre.getU() - footprint.ends[2].getU();
    EXPECT_GT(farSide, nearSide + 1.0);
    EXPECT_GT(nearSide, 6.0);
}

TEST(Footprint, refusesABeamThatMissesOrRunsAlongTheSurface) {
    Grid grid = planeGrid();
    EXPECT_EQ(messageOf([&] { footprintOf(grid, beamAt(50.0, 10.0)); }), "the beam's axis meets no quad");
    // At 45 degrees to the surface, spreading by 45 degrees and by more.
    SpreadingBeam beam = beamAt(5.1, 10.2);
    beam.axisA = Vector(std::sqrt(0.5), 0.0, std::sqrt(0.5));
    for (double const cotangent : {1.0, 0.7}) {
        beam.cotangent = cotangent;
        EXPECT_EQ(messageOf([&] { footprintOf(grid, beam); }),
                  "a ray at the beam's rim does not meet the surface");
    }
    beam.cotangent = 1.3;
    EXPECT_EQ(messageOf([&] { footprintOf(grid, beam); }), "");
}

TEST(Footprint, outlinesAreDrawnWhereTheirQuadsAre) {
    QuadMap map(10, 10);
    FigureStyle style{"t", Scale{}, "n"};
    Image const bare = figureOf(map, style);
    style.outlines = {{FlatPoint(2.0, 3.0), FlatPoint(6.0, 3.0), FlatPoint(6.0, 5.0)}};
    Image const drawn = figureOf(map, style);
    ASSERT_EQ(drawn.getWidth(), bare.getWidth());
    int left = drawn.getWidth();
    int right = 0;
    int top = drawn.getHeight();
    int bottom = 0;
    for (int y = 0; y < drawn.getHeight(); ++y) {
        for (int x = 0; x < drawn.getWidth(); ++x) {
            if (drawn.getPixel(x, y) != bare.getPixel(x, y)) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    // Ten quads take 64 pixels each; lines are three pixels wide.
    EXPECT_NEAR(right - left, 4 * 64, 3);
    EXPECT_NEAR(bottom - top, 2 * 64, 3);
}

std::vector<std::string> footprintArguments(std::string const& origin, std::string const& axisB) {
    return {"footprint", "g.quads",     "--origin", origin,       "--axis-a", "2,0,0",   "--axis-b",
            axisB,       "--cotangent", "5",        "--aperture", "1",        "--image", "foot.png"};
}

TEST(Footprint, theProgramPrintsAndDrawsIt) {
    ScratchDirectory const directory;
    Grid grid = planeGrid();
    saveGrid(grid, directory / "g.quads");
    Outcome const outcome = run(directory, footprintArguments("15.1,10.2,10", "0,-3,0"));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "quad"), "(30, 20)");
    EXPECT_NEAR(std::stod(itemIn(outcome.output, "half-axis along A").substr(1)), 6.0, 2e-3);
    EXPECT_GT(coloursOf(directory / "foot.png"), 20U);
    expectComplaint(directory,
                    {footprintArguments("50,10,10", "0,-1,0"), "g.quads: the beam's axis meets no quad"});
    expectComplaint(directory, {footprintArguments("15,10,10", "1,-1,0"),
                                "--axis-b: '1,-1,0' is not at a right angle to --axis-a"});
}

} // namespace
} // namespace QELT::Inspection
