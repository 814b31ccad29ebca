#include "Inspection/scanning/footprint.h"

#include "tests/inspection/scratchdirectory.h"

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

} // namespace
} // namespace QELT::Inspection
