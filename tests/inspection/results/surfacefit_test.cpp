#include "Inspection/results/surfacefit.h"

#include "Inspection/records/failure.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

constexpr double degree = std::numbers::pi / 180.0;

using Surface = std::function<Triple(double u, double v)>;

/// A saddle-like blade of 100 by 60: bent in both directions, so that every motion shows.
Triple blade(double u, double v) {
    double const x = 100.0 * u;
    double const y = 60.0 * v;
    return {x, y,
            15.0 * std::sin(std::numbers::pi * u) * (0.4 + v) + 0.003 * (x - 30.0) * (y - 20.0) +
                0.006 * y * y};
}

/// Half a tube of radius 50 along x.
Triple cylinder(double u, double v) {
    double const angle = std::numbers::pi * (v - 0.5);
    return {120.0 * u, 50.0 * std::sin(angle), 50.0 * std::cos(angle)};
}

Triple plate(double u, double v) {
    return {100.0 * u, 100.0 * v, 0.0};
}

/// A cap of a ball of radius 80, 45 degrees to each side.
Triple cap(double u, double v) {
    double const a = 90.0 * degree * (u - 0.5);
    double const b = 90.0 * degree * (v - 0.5);
    return {80.0 * std::sin(a) * std::cos(b), 80.0 * std::sin(b), 80.0 * std::cos(a) * std::cos(b)};
}

Result resultOn(Surface const& surface) {
    constexpr std::size_t count = 120;
    return surfaceOn(count, count, [&](double u, double v) {
        Triple const node = surface(u / count, v / count);
        return Vector(node[0], node[1], node[2]);
    });
}

/// Points well inside the surface, off it by noise, where a misplaced part would have them.
std::vector<Triple> measured(Surface const& surface, Frame const& misplacement, double noise) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> place(0.08, 0.92);
    std::normal_distribution<double> off(0.0, noise);
    std::vector<Triple> points;
    for (int i = 0; i < 4000; ++i) {
        Triple const point =
            surface(place(random), place(random)) + Triple{off(random), off(random), off(random)};
        points.push_back(misplacement.placeOf(point));
    }
    return points;
}

Frame misplaced(Triple const& shift, Triple const& degrees) {
    Frame frame;
    frame.turn = turnOfDegrees(degrees[0], degrees[1], degrees[2]);
    frame.translation = shift;
    return frame;
}

} // namespace

TEST(SurfaceFit, aMisplacedBladeComesBack) {
    Frame const misplacement = misplaced({1.2, -1.2, 1.0}, {0.6, -0.6, 0.5}); // 2.0 long, 0.98 degrees
    SurfaceFit const fit = fitToSurface(resultOn(blade), measured(blade, misplacement, 0.05));

    EXPECT_TRUE(fit.freeMotions.empty());
    Frame const left = fit.correction * misplacement;
    double const turn = 2.0 * std::acos(std::min(1.0, std::abs(left.turn.w))) / degree;
    EXPECT_LT(turn, 0.05);
    Triple const middle{50.0, 30.0, 10.0};
    EXPECT_LT(lengthOf(left.placeOf(middle) - middle), 0.1);
    EXPECT_GT(fit.before, 0.5);
    EXPECT_LT(fit.after, 0.08);
}

TEST(SurfaceFit, aPartInItsPlaceStaysThere) {
    SurfaceFit const fit = fitToSurface(resultOn(blade), measured(blade, Frame{}, 0.0));

    EXPECT_LT(fit.shift, 0.02);
    EXPECT_LT(fit.turn, 0.02);
}

TEST(SurfaceFit, strayPointsDoNotPull) {
    Frame const misplacement = misplaced({0.5, 0.5, -0.5}, {0.2, 0.2, 0.2});
    auto points = measured(blade, misplacement, 0.02);
    for (std::size_t i = 0; i < points.size(); i += 20) {
        points[i][2] += 9.0;
    }
    SurfaceFit const fit = fitToSurface(resultOn(blade), points);

    Triple const middle{50.0, 30.0, 10.0};
    EXPECT_LT(lengthOf((fit.correction * misplacement).placeOf(middle) - middle), 0.1);
    EXPECT_GE(fit.leftOutCount, 200u);
}

TEST(SurfaceFit, aCylinderLeavesTwoMotionsOpen) {
    SurfaceFit const fit = fitToSurface(
        resultOn(cylinder), measured(cylinder, misplaced({1.0, 0.5, 0.5}, {0.0, 0.3, 0.0}), 0.05));

    ASSERT_EQ(2u, fit.freeMotions.size());
    for (FreeMotion const& motion : fit.freeMotions) {
        EXPECT_NEAR(1.0, std::abs(motion.direction[0]), 1e-3) << "along or about its axis";
        EXPECT_LT(motion.effect, leastEffect);
    }
    EXPECT_NE(fit.freeMotions[0].isTurn, fit.freeMotions[1].isTurn);
    FreeMotion const& turn = fit.freeMotions[fit.freeMotions[0].isTurn ? 0 : 1];
    EXPECT_LT(std::hypot(turn.place[1], turn.place[2]), 0.5) << "the axis of the tube";
    EXPECT_LT(fit.after, 0.07) << "what can be told is corrected";
}

TEST(SurfaceFit, aPlateLeavesThreeMotionsOpen) {
    SurfaceFit const fit =
        fitToSurface(resultOn(plate), measured(plate, misplaced({0.3, 0.0, 1.0}, {0.0, 0.0, 0.4}), 0.02));

    ASSERT_EQ(3u, fit.freeMotions.size());
    int turns = 0;
    for (FreeMotion const& motion : fit.freeMotions) {
        turns += motion.isTurn ? 1 : 0;
        EXPECT_NEAR(motion.isTurn ? 1.0 : 0.0, std::abs(motion.direction[2]), 1e-3);
    }
    EXPECT_EQ(1, turns);
    EXPECT_LT(fit.after, 0.03);
}

TEST(SurfaceFit, aBallLeavesItsTurnsOpen) {
    SurfaceFit const fit =
        fitToSurface(resultOn(cap), measured(cap, misplaced({0.5, -0.5, 0.5}, {0.0, 0.0, 0.0}), 0.02));

    ASSERT_EQ(3u, fit.freeMotions.size());
    for (FreeMotion const& motion : fit.freeMotions) {
        EXPECT_TRUE(motion.isTurn);
        EXPECT_LT(lengthOf(motion.place - dot(motion.place, motion.direction) * motion.direction), 1.0)
            << "the axis goes through the middle of the ball";
    }
}

TEST(SurfaceFit, tooFewPointsAreRefused) {
    EXPECT_THROW(fitToSurface(resultOn(plate), {{1.0, 1.0, 0.0}}), Failure);
    EXPECT_THROW(fitToSurface(resultOn(plate), {}), Failure);
}

TEST(SurfaceFit, aMovedPartIsFittedInItsOwnPlace) {
    Result result = resultOn(blade);
    result.move = {10.0, 0.0, 0.0};
    auto points = measured(blade, Frame{}, 0.0);
    for (Triple& point : points) {
        point[0] -= 10.0;
    }

    EXPECT_LT(fitToSurface(result, points).shift, 0.02);
}
