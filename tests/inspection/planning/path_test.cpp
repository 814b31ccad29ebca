#include "Inspection/planning/path.h"

#include "tests/inspection/planning/samplegrids.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace QELT::Inspection {
namespace {

using namespace Testing;

PathSettings steps(double step, double standoff = 20.0) {
    PathSettings settings;
    settings.step = step;
    settings.standoff = standoff;
    return settings;
}

double cosineOf(Turn const& a, Turn const& b) {
    return a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
}

TEST(Path, OverAPlaneIsTheRasterOneWouldDraw) {
    Path const path = pathOver(plane(), steps(1.0));
    EXPECT_EQ(10U, path.lineCount);
    EXPECT_EQ(10U, path.runCount);
    ASSERT_EQ(100U, path.poses.size());
    EXPECT_NEAR(1.0, path.widestStep, 1e-5);
    EXPECT_NEAR(1.0, path.widestSpacing, 1e-5);
    EXPECT_NEAR(10 * 9.0 + 9 * 1.0, path.length, 1e-4);
    for (std::size_t i = 0; i < path.poses.size(); ++i) {
        PathPose const& pose = path.poses[i];
        std::size_t const line = i / 10;
        double const along = static_cast<double>(line % 2 == 0 ? i % 10 : 9 - i % 10);
        EXPECT_EQ(line, pose.line);
        EXPECT_EQ(line, pose.run);
        EXPECT_EQ(PathPose::Scan, pose.kind);
        EXPECT_LT(lengthOf(pose.foot - Vector(0.5 + along, 0.5 + static_cast<double>(line), 0.0)), 1e-4);
        EXPECT_LT(lengthOf(pose.position - pose.foot - Vector(0.0, 0.0, 20.0)), 1e-12);
        EXPECT_LT(lengthOf(pose.direction - Vector(0.0, 0.0, -1.0)), 1e-12);
        EXPECT_NEAR(static_cast<double>(i), pose.way, 1e-4);
        EXPECT_EQ(static_cast<std::size_t>(2.0 * pose.foot.getdX() + 1e-3), pose.u);
        EXPECT_EQ(static_cast<std::size_t>(2.0 * pose.foot.getdY() + 1e-3), pose.v);
        EXPECT_NEAR(2.0 * pose.foot.getdX(), pose.at.getU(), 1e-4);
        EXPECT_NEAR(2.0 * pose.foot.getdY(), pose.at.getV(), 1e-4);
    }
}

TEST(Path, TurnsTheProbeSoThatItsAxesFollowBeamAndGrid) {
    for (PathPose const& pose : pathOver(plane(), steps(1.0)).poses) {
        Triple const z = pose.turn * Triple{0.0, 0.0, 1.0};
        Triple const x = pose.turn * Triple{1.0, 0.0, 0.0};
        EXPECT_NEAR(-1.0, z[2], 1e-12);
        EXPECT_NEAR(1.0, x[0], 1e-12);
    }
}

TEST(Path, BeginsAtTheRimWithoutAMargin) {
    PathSettings settings = steps(1.0);
    settings.margin = 0.0;
    Path const path = pathOver(plane(), settings);
    EXPECT_EQ(11U, path.lineCount);
    EXPECT_EQ(121U, path.poses.size());
    EXPECT_LT(lengthOf(path.poses.front().foot), 1e-9);
    EXPECT_LT(lengthOf(path.poses.back().foot - Vector(10.0, 10.0, 0.0)), 1e-5);
}

TEST(Path, IsEvenWhereTheStepDoesNotFit) {
    Path const path = pathOver(plane(), steps(3.0)); // 7 between margins of 1.5: three steps of 7/3
    EXPECT_EQ(4U, path.lineCount);
    EXPECT_EQ(16U, path.poses.size());
    EXPECT_NEAR(7.0 / 3.0, path.widestStep, 1e-6);
    EXPECT_NEAR(7.0 / 3.0, path.widestSpacing, 1e-5);
    EXPECT_NEAR(1.5 + 7.0 / 3.0, path.poses[4].foot.getdY(), 1e-5);
}

TEST(Path, RunsAlongEitherAxis) {
    PathSettings settings = steps(1.0);
    settings.along = PathAxis::AlongV;
    Path const path = pathOver(plane(), settings);
    ASSERT_EQ(100U, path.poses.size());
    EXPECT_LT(lengthOf(path.poses[1].foot - path.poses[0].foot - Vector(0.0, 1.0, 0.0)), 1e-5);
    EXPECT_LT(lengthOf(path.poses[10].foot - path.poses[9].foot - Vector(1.0, 0.0, 0.0)), 1e-5);
    Triple const x = path.poses[15].turn * Triple{1.0, 0.0, 0.0};
    EXPECT_NEAR(1.0, x[1], 1e-9); // along the line's axis, also on the way back
    EXPECT_LT(path.poses[5].direction.getdZ(), -0.999);
}

TEST(Path, SpacesLinesByTheOverlapOfFootprints) {
    PathSettings settings = steps(1.0);
    settings.footprint = 4.0;
    settings.overlap = 0.5;
    Path const path = pathOver(plane(), settings); // lines 2 apart from 1 to 9
    EXPECT_EQ(5U, path.lineCount);
    EXPECT_EQ(5U * 9U, path.poses.size());
    EXPECT_NEAR(2.0, path.widestSpacing, 1e-5);
}

TEST(Path, GoesOnPastTheRim) {
    PathSettings settings = steps(1.0);
    settings.overshoot = 2.0;
    Path const path = pathOver(plane(), settings);
    ASSERT_EQ(10U * 15U, path.poses.size());
    EXPECT_EQ(PathPose::Overshoot, path.poses[0].kind);
    EXPECT_EQ(PathPose::Overshoot, path.poses[1].kind);
    EXPECT_EQ(PathPose::Scan, path.poses[2].kind);
    EXPECT_EQ(PathPose::Scan, path.poses[12].kind);
    EXPECT_EQ(PathPose::Overshoot, path.poses[13].kind);
    EXPECT_LT(lengthOf(path.poses[0].foot - Vector(-2.0, 0.5, 0.0)), 1e-5);
    EXPECT_NEAR(-4.0, path.poses[0].at.getU(), 1e-4);
    EXPECT_NEAR(1.0, path.poses[0].at.getV(), 1e-4);
    EXPECT_LT(lengthOf(path.poses[14].foot - Vector(12.0, 0.5, 0.0)), 1e-5);
    EXPECT_LT(lengthOf(path.poses[15].foot - Vector(12.0, 1.5, 0.0)), 1e-5);
}

TEST(Path, MeasuresItsStepOnTheSurface) {
    // An arc of 20 on a radius of 10: from -9.5 to 9.5 in steps of 1.
    Path const path = pathOver(arch(10.0, 20.0), steps(1.0, 5.0));
    EXPECT_EQ(6U, path.lineCount);
    ASSERT_EQ(6U * 20U, path.poses.size());
    for (std::size_t i = 0; i < 20; ++i) {
        PathPose const& pose = path.poses[i];
        double const arc = 10.0 * std::atan2(pose.foot.getdX(), pose.foot.getdZ());
        EXPECT_NEAR(-9.5 + static_cast<double>(i), arc, 2e-3);
        EXPECT_NEAR(15.0, std::hypot(pose.position.getdX(), pose.position.getdZ()), 1e-3);
        // A footprint that the rim cuts off has its middle elsewhere.
        bool const isAtRim = i == 0 || i == 19;
        EXPECT_NEAR(arc / 10.0, std::atan2(-pose.direction.getdX(), -pose.direction.getdZ()),
                    isAtRim ? 0.01 : 1e-3);
    }
}

TEST(Path, SpacesLinesOnTheSurfaceWhereTheGridIsUneven) {
    // Rows grow with v: 10 in all, the first 0.1 wide and the last ten times that.
    Grid const grid = makeGrid(10, 40, [](int u, int v) { return Point(u, v * v / 160.0, 0.0); });
    Path const path = pathOver(grid, steps(1.0));
    EXPECT_EQ(10U, path.lineCount);
    for (std::size_t i = 10; i < path.poses.size(); i += 10) {
        EXPECT_NEAR(1.0, path.poses[i].foot.getdY() - path.poses[i - 1].foot.getdY(), 1e-4);
    }
}

TEST(Path, IsNowhereWiderThanItsSpacingWhereLinesSpread) {
    // 10 wide at u = 0, 20 at u = 20: nineteen spaces of 1 there between margins of one half.
    Grid const grid =
        makeGrid(40, 40, [](int u, int v) { return Point(0.5 * u, 0.25 * v * (1.0 + u / 40.0), 0.0); });
    Path const path = pathOver(grid, steps(1.0));
    EXPECT_EQ(20U, path.lineCount);
    EXPECT_LE(path.widestSpacing, 1.0 + 1e-5);
    EXPECT_GT(path.widestSpacing, 0.999);
    EXPECT_LE(path.widestStep, 1.0 + 1e-5);
}

TEST(Path, IsSplitAtAHole) {
    Grid grid = plane();
    for (int v = 7; v <= 13; ++v) { // takes the quads from 6 to 13, 3 to 7 in length
        for (int u = 7; u <= 13; ++u) {
            grid.setPointFlags({u, v}, 0);
        }
    }
    Path const path = pathOver(grid, steps(1.0));
    EXPECT_EQ(10U, path.lineCount);
    EXPECT_EQ(14U, path.runCount); // lines at 3.5, 4.5, 5.5 and 6.5 are cut
    std::size_t cutCount = 0;
    for (std::size_t i = 0; i < path.poses.size(); ++i) {
        PathPose const& pose = path.poses[i];
        Vector const& foot = pose.foot;
        bool const isInHole =
            foot.getdX() > 3.4 && foot.getdX() < 6.6 && foot.getdY() > 3.0 && foot.getdY() < 7.0;
        EXPECT_FALSE(isInHole) << foot.getdX() << ' ' << foot.getdY();
        cutCount +=
            i > 0 && path.poses[i - 1].line == pose.line && path.poses[i - 1].run != pose.run ? 1U : 0U;
    }
    EXPECT_EQ(4U, cutCount);
}

TEST(Path, LiftsTheProbeOverAHoleIfAsked) {
    Grid grid = plane();
    for (int v = 7; v <= 13; ++v) {
        for (int u = 7; u <= 13; ++u) {
            grid.setPointFlags({u, v}, 0);
        }
    }
    PathSettings settings = steps(1.0);
    settings.lift = 5.0;
    Path const path = pathOver(grid, settings);
    std::size_t liftCount = 0;
    for (std::size_t i = 0; i < path.poses.size(); ++i) {
        if (path.poses[i].kind == PathPose::Lift) {
            ++liftCount;
            EXPECT_NEAR(25.0, path.poses[i].position.getdZ(), 1e-9);
            bool const goesUp = path.poses[i - 1].kind == PathPose::Scan;
            double const across = std::abs(path.poses[i].foot.getdX() - path.poses[i - 1].foot.getdX());
            EXPECT_NEAR(goesUp ? 5.0 : across, path.poses[i].way - path.poses[i - 1].way, 1e-4);
            EXPECT_TRUE(goesUp || across > 4.0 - 1e-4);
        }
    }
    EXPECT_EQ(8U, liftCount);
}

TEST(Path, TakesNodesWithoutNumbersForAHole) {
    Grid grid = plane();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    grid.setPoint({10, 10}, Point(nan, nan, nan));
    Path const path = pathOver(grid, steps(1.0));
    EXPECT_EQ(11U, path.runCount); // the line at 4.5 is cut; the one at 5.5 is beyond
    for (PathPose const& pose : path.poses) {
        EXPECT_TRUE(std::isfinite(pose.position.lSqr()) && std::isfinite(pose.direction.lSqr()));
        EXPECT_TRUE(std::isfinite(pose.turn.w + pose.turn.x + pose.turn.y + pose.turn.z));
    }
}

TEST(Path, NeverTurnsTheProbeOver) {
    PathSettings settings = steps(0.5, 5.0);
    settings.overshoot = 1.0;
    Path const path = pathOver(arch(10.0, 40.0), settings); // far round, where quaternions change their sign
    for (std::size_t i = 1; i < path.poses.size(); ++i) {
        EXPECT_GT(cosineOf(path.poses[i - 1].turn, path.poses[i].turn), 0.99) << i;
    }
}

TEST(Path, SmoothsNormalsOverTheFootprint) {
    // A washboard: the sheets stand 45 degrees off the mean plane.
    Grid const grid =
        makeGrid(100, 40, [](int u, int v) { return Point(0.1 * u, 0.1 * v, u % 2 == 0 ? 0.0 : 0.1); });
    PathSettings settings = steps(1.0);
    settings.footprint = 3.0;
    for (PathPose const& pose : pathOver(grid, settings).poses) {
        EXPECT_LT(pose.direction.getdZ(), -std::cos(3.0 * std::numbers::pi / 180.0));
    }
    settings.footprint = 0.05;
    for (PathPose const& pose : pathOver(grid, settings).poses) {
        EXPECT_NEAR(-std::sqrt(0.5), pose.direction.getdZ(), 1e-3);
    }
}

TEST(Path, NamesSharpEdges) {
    // Two planes at a right angle; the edge is at x = 5.
    Grid const grid = makeGrid(100, 60, [](int u, int v) {
        return u <= 50 ? Point(0.1 * u, 0.1 * v, 0.0) : Point(5.0, 0.1 * v, -0.1 * (u - 50.0));
    });
    PathSettings settings = steps(0.5, 5.0);
    settings.footprint = 2.0;
    Path const path = pathOver(grid, settings);
    ASSERT_EQ(12U, path.sharpPlaces.size()); // once a line
    for (SharpPlace const& sharp : path.sharpPlaces) {
        EXPECT_NEAR(90.0, sharp.angle, 10.0);
        EXPECT_NEAR(5.0, sharp.place.getdX(), 0.4);
        EXPECT_GT(sharp.place.getdZ(), -0.4);
    }
    EXPECT_TRUE(pathOver(plane(), steps(0.5)).sharpPlaces.empty());
    EXPECT_TRUE(pathOver(arch(10.0, 20.0), steps(0.5, 5.0)).sharpPlaces.empty());
}

TEST(Path, LooksFromTheOtherSideIfAsked) {
    PathSettings settings = steps(1.0);
    settings.doFlipNormals = true;
    for (PathPose const& pose : pathOver(plane(), settings).poses) {
        EXPECT_NEAR(-20.0, pose.position.getdZ(), 1e-9);
        EXPECT_NEAR(1.0, pose.direction.getdZ(), 1e-12);
    }
}

TEST(Path, PutsOneShotOnWhatIsSmallerThanItsMargins) {
    Path const path = pathOver(plane(), steps(30.0));
    ASSERT_EQ(1U, path.poses.size());
    EXPECT_LT(lengthOf(path.poses[0].foot - Vector(5.0, 5.0, 0.0)), 1e-5);
    EXPECT_EQ(0.0, path.length);
}

TEST(Path, RefusesWhatMakesNoSense) {
    auto const messageFor = [](auto change) {
        PathSettings settings = steps(1.0);
        change(settings);
        return messageOf([&] { pathOver(plane(), settings); });
    };
    EXPECT_EQ("a path needs a step above 0", messageFor([](PathSettings& s) { s.step = 0.0; }));
    EXPECT_EQ("a path needs a standoff above 0", messageFor([](PathSettings& s) { s.standoff = -1.0; }));
    EXPECT_EQ("a footprint needs a diameter above 0", messageFor([](PathSettings& s) { s.footprint = 0.0; }));
    EXPECT_EQ("footprints overlap by a share from 0 to below 1",
              messageFor([](PathSettings& s) { s.overlap = 1.0; }));
    EXPECT_EQ("an overshoot is not negative", messageFor([](PathSettings& s) { s.overshoot = -1.0; }));
    EXPECT_EQ("a margin is not negative", messageFor([](PathSettings& s) { s.margin = -1.0; }));
    EXPECT_EQ("a lift is above 0", messageFor([](PathSettings& s) { s.lift = 0.0; }));
    EXPECT_EQ("a speed is above 0", messageFor([](PathSettings& s) { s.speed = 0.0; }));
    EXPECT_EQ("the path would have more than 10 million poses; take a larger step",
              messageFor([](PathSettings& s) { s.step = 1e-3; }));
    Grid empty = plane();
    for (int u = 0; u <= 20; ++u) {
        for (int v = 0; v <= 20; ++v) {
            empty.setPointFlags({u, v}, 0);
        }
    }
    EXPECT_EQ("the grid has no quads to lay a path over", messageOf([&] { pathOver(empty, steps(1.0)); }));
    Grid placed = plane();
    placed.setOffset({3, 0});
    EXPECT_EQ("a path is laid over a grid without an offset",
              messageOf([&] { pathOver(placed, steps(1.0)); }));
}

TEST(PathCheck, FindsTheWholePlaneCovered) {
    PathSettings const settings = steps(1.0);
    PathCheck const check = checkPath(plane(), pathOver(plane(), settings), settings);
    EXPECT_EQ(100U, check.shotCount);
    EXPECT_EQ(0U, check.missedCount);
    EXPECT_EQ(0U, check.blockedCount);
    EXPECT_NEAR(100.0, check.coverage.surfaceArea, 1e-4);
    EXPECT_NEAR(1.0, check.coverage.reachedShare(), 1e-9);
    EXPECT_EQ(0.0, check.coverage.longestGap);
    EXPECT_NEAR(0.0, check.largestAngle, 1e-3);
    EXPECT_EQ(std::vector<PoseFate>(100, PoseFate::Met), check.fates);
    for (std::size_t pixel = 0; pixel < check.pixels.size(); ++pixel) {
        EXPECT_TRUE(check.pixels.isReached(pixel)) << pixel;
    }
}

TEST(PathCheck, MeasuresWhatDiscsThatOnlyTouchLeaveOpen) {
    Grid const grid = plane(200);
    PathSettings settings = steps(1.0);
    settings.footprint = 1.0;
    PathCheck const check = checkPath(grid, pathOver(grid, settings), settings);
    EXPECT_NEAR(std::numbers::pi / 4.0, check.coverage.reachedShare(), 0.01);
    // The largest disc that fits between four that touch.
    EXPECT_NEAR(std::sqrt(2.0) - 1.0, check.coverage.longestGap, 0.1);
}

TEST(PathCheck, TellsShotsThatMiss) {
    PathSettings const settings = steps(1.0);
    Path path = pathOver(plane(), settings);
    path.poses[7].position += Vector(0.0, -3.0, 0.0);
    PathCheck const check = checkPath(plane(), path, settings);
    EXPECT_EQ(1U, check.missedCount);
    EXPECT_LT(lengthOf(check.firstMissed - Vector(7.5, 0.5, 0.0)), 1e-4);
    EXPECT_EQ(PoseFate::Missed, check.fates[7]);
}

TEST(PathCheck, TellsWhereThePartIsInTheWay) {
    // From within a cylinder that is nearly closed, a probe farther off than its diameter is behind the other
    // wall.
    Grid const grid = arch(5.0, 28.0);
    PathSettings settings = steps(1.0, 4.0);
    settings.doFlipNormals = true;
    PathCheck const free = checkPath(grid, pathOver(grid, settings), settings);
    EXPECT_EQ(0U, free.blockedCount);
    EXPECT_EQ(0U, free.missedCount);
    settings.standoff = 12.0;
    PathCheck const blocked = checkPath(grid, pathOver(grid, settings), settings);
    EXPECT_GT(blocked.blockedCount, blocked.shotCount / 2);
    EXPECT_NEAR(5.0, std::hypot(blocked.firstBlocked.getdX(), blocked.firstBlocked.getdZ()), 0.01);
}

TEST(PathCheck, MeasuresTheLargestAngle) {
    // A ridge with slopes of 1:10, over which the smoothed normal is upright: atan(0.1) off.
    Grid const grid = makeGrid(
        100, 40, [](int u, int v) { return Point(0.1 * u, 0.1 * v, -0.1 * std::abs(0.1 * u - 5.0)); });
    PathSettings settings = steps(1.01, 5.0); // eight to a line of 10.05 between margins: one is on the ridge
    settings.margin = 1.0;
    settings.footprint = 1.8;
    Path const path = pathOver(grid, settings);
    PathCheck const check = checkPath(grid, path, settings);
    EXPECT_NEAR(std::atan(0.1) * 180.0 / std::numbers::pi, check.largestAngle, 0.35);
    EXPECT_NEAR(5.0, check.largestAnglePlace.getdX(), 0.1);
    EXPECT_NEAR(50.0, path.poses[check.largestAnglePose].at.getU(), 1.0);
}

TEST(PathCheck, DoesNotCoverAnotherFaceThatIsNear) {
    // Two sheets 0.2 apart, joined only at x = 10 by one row of quads.
    Grid const grid = makeGrid(205, 20, [](int u, int v) {
        return u <= 100 ? Point(0.1 * u, 0.1 * v, 0.2) : Point(0.1 * (205.0 - u) - 0.5 + 0.05, 0.1 * v, 0.0);
    });
    PathSettings settings = steps(0.5, 5.0);
    Path path = pathOver(grid, settings);
    std::erase_if(path.poses, [](PathPose const& pose) { return pose.u > 90; });
    PathCheck const check = checkPath(grid, path, settings);
    EXPECT_LT(check.coverage.reachedShare(), 0.47);
    EXPECT_GT(check.coverage.reachedShare(), 0.43);
}

} // namespace
} // namespace QELT::Inspection
