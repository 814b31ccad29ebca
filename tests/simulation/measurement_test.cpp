#include "simulation/measurement.h"

#include "Inspection/records/failure.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Simulation {
namespace {

using Inspection::Testing::messageOf;

/// The unrolled cylinder between two corners, without noise.
Case window(Place const& from, Place const& to) {
    Case setup = caseOf("cylinder");
    setup.sweep.from = from;
    setup.sweep.to = to;
    return setup;
}

double distanceBetween(Pose const& a, Pose const& b) {
    return std::sqrt((a.probe.shift - b.probe.shift).lSqr());
}

TEST(Sweep, ShootsOnALatticeOfTheSurface) {
    Case const setup = window({-5.0, -2.0}, {5.0, 2.0});
    auto const poses = ProbeMotion(*setup.shape, setup.sweep).lattice();
    ASSERT_EQ(5U * 11U, poses.size());
    for (std::size_t i = 0; i < poses.size(); ++i) {
        EXPECT_EQ(i / 11, poses[i].line);
        Vector const foot = poses[i].probe.shift + poses[i].beam() * 20.0;
        double const arc = 100.0 * std::atan2(foot.getdY(), foot.getdX());
        double const along = static_cast<double>(i % 11);
        EXPECT_NEAR(poses[i].line % 2 == 0 ? -5.0 + along : 5.0 - along, arc, 1e-9);
        EXPECT_NEAR(-2.0 + static_cast<double>(poses[i].line), foot.getdZ(), 1e-12);
        EXPECT_NEAR(120.0, std::hypot(poses[i].probe.shift.getdX(), poses[i].probe.shift.getdY()), 1e-9);
    }
}

TEST(Sweep, TakesTheTimeOfItsWay) {
    Case setup = window({-5.0, -2.0}, {5.0, 2.0});
    setup.sweep.speed = 4.0;
    ProbeMotion const motion(*setup.shape, setup.sweep);
    EXPECT_NEAR((5 * 10.0 + 4 * 1.0) / 4.0, motion.duration(), 1e-12);
    auto const poses = motion.lattice();
    EXPECT_NEAR(motion.duration(), poses.back().time, 1e-12);
    for (Pose const& pose : poses) {
        EXPECT_NEAR(0.0, distanceBetween(pose, motion.at(pose.time)), 1e-9);
    }
}

TEST(Sweep, MovesWithoutJumps) {
    Case const setup = window({-5.0, -2.0}, {5.0, 2.0});
    ProbeMotion const motion(*setup.shape, setup.sweep);
    constexpr double tick = 1e-3;
    for (double time = 0.0; time < motion.duration(); time += tick) {
        // The probe is farther out than the surface, and as much faster.
        EXPECT_LE(distanceBetween(motion.at(time), motion.at(time + tick)), 1.2 * 100.0 * tick + 1e-9);
    }
}

TEST(Sweep, SwingsUpToItsAngle) {
    Case setup = window({-50.0, -2.0}, {50.0, 2.0});
    setup.sweep.wobble = 3.0;
    double widest = 0.0;
    for (Pose const& pose : ProbeMotion(*setup.shape, setup.sweep).lattice()) {
        auto const contact = setup.shape->meet(pose.probe.shift, pose.beam());
        ASSERT_TRUE(contact);
        EXPECT_NEAR(20.0, contact->distance, 1e-9);
        widest = std::max(widest, std::acos(-pose.beam().dot(contact->normal)));
    }
    EXPECT_NEAR(3.0, widest * 180.0 / std::numbers::pi, 0.02);
}

TEST(Measurement, OverAFlawsCentreIsWhatTheBeamHasWithinIt) {
    Case setup = window({-5.0, -5.0}, {5.0, 5.0});
    setup.instrument.gateTo = 8.0;
    Measurement const measurement = measure(setup);
    double loudest = 0.0;
    for (Shot const& shot : measurement.shots) {
        loudest = std::max(loudest, shot.reading.amplitude.value_or(0.0));
    }
    EXPECT_NEAR(90.0 * (1.0 - std::exp(-4.0 * std::numbers::ln2 * 16.0 / 9.0)), loudest, 1e-6);
}

TEST(Measurement, IsTheSameForTheSameSeedAndAnotherForAnother) {
    Case setup = window({-5.0, -5.0}, {5.0, 5.0});
    setup.instrument.noise = 1.0;
    Measurement const first = measure(setup);
    Measurement const again = measure(setup);
    setup.seed = 7;
    Measurement const other = measure(setup);
    ASSERT_EQ(first.shots.size(), again.shots.size());
    std::size_t sameCount = 0;
    for (std::size_t i = 0; i < first.shots.size(); ++i) {
        EXPECT_EQ(first.shots[i].reading.amplitude, again.shots[i].reading.amplitude);
        sameCount += first.shots[i].reading.amplitude == other.shots[i].reading.amplitude ? 1U : 0U;
    }
    EXPECT_EQ(0U, sameCount);
}

TEST(Measurement, LosesItsLinesAndItsPatchAndNothingElse) {
    Case setup = window({-10.0, -10.0}, {10.0, 10.0});
    setup.instrument.noise = 1.0;
    Measurement const whole = measure(setup);
    setup.dropouts.lines = {3, 4};
    setup.dropouts.patch = {{2.0, 3.0}, 2.5};
    Measurement const lossy = measure(setup);
    ASSERT_EQ(21U * 21U, whole.shots.size());
    // A circle of radius 2.5 about a point of the lattice holds 21 of its points.
    EXPECT_EQ(2U * 21U + 21U, lossy.droppedCount);
    EXPECT_EQ(whole.shots.size() - lossy.droppedCount, lossy.shots.size());
    for (Shot const& shot : lossy.shots) {
        EXPECT_TRUE(shot.pose.line != 3 && shot.pose.line != 4);
        auto const same = std::find_if(whole.shots.begin(), whole.shots.end(),
                                       [&](Shot const& other) { return other.pose.time == shot.pose.time; });
        ASSERT_NE(whole.shots.end(), same);
        EXPECT_EQ(same->reading.amplitude, shot.reading.amplitude);
    }
}

TEST(Measurement, LosesAboutTheShareAskedFor) {
    Case setup = window({-50.0, -10.0}, {50.0, 10.0});
    setup.dropouts.share = 0.25;
    Measurement const measurement = measure(setup);
    EXPECT_NEAR(0.25 * 101.0 * 21.0, static_cast<double>(measurement.droppedCount), 60.0);
}

TEST(Measurement, StampsShotsLaterByTheLag) {
    Case setup = window({-10.0, -2.0}, {10.0, 2.0});
    setup.clocks = Clocks{83.0, 1000.0, 50.0, 2.0};
    Measurement const measurement = measure(setup);
    double const duration = (5 * 20.0 + 4.0) / 100.0;
    EXPECT_EQ(static_cast<std::size_t>(duration * 1000.0) + 1, measurement.shots.size());
    EXPECT_EQ(static_cast<std::size_t>(duration * 83.0) + 1, measurement.poses.size());
    for (Shot const& shot : measurement.shots) {
        EXPECT_NEAR(0.05, shot.stamp - shot.pose.time, 1e-12);
    }
    ProbeMotion const motion(*setup.shape, setup.sweep);
    double widest = 0.0;
    for (std::size_t i = 0; i < measurement.poses.size(); ++i) {
        double const instant = static_cast<double>(i) / 83.0;
        EXPECT_NEAR(0.0, distanceBetween(measurement.poses[i], motion.at(instant)), 1e-9);
        widest = std::max(widest, std::abs(measurement.poses[i].time - instant));
        EXPECT_TRUE(i == 0 || measurement.poses[i - 1].time < measurement.poses[i].time);
    }
    EXPECT_GT(widest, 0.002);
    EXPECT_LE(widest, 0.45 / 83.0 + 1e-12);
}

TEST(Measurement, FiresAtGivenPoses) {
    Case const setup = caseOf("blade");
    SurfacePoint const under = setup.shape->at({-14.0, -5.0});
    Pose const pose{0.0, 0, {rotationTo(-under.normal, under.alongU), under.point + under.normal * 15.0}};
    Measurement const measurement = measureAt(setup, {pose});
    ASSERT_EQ(1U, measurement.shots.size());
    EXPECT_NEAR(2.0 * 15.0 / 1.48, measurement.shots[0].reading.front.value(), 1e-6);
    EXPECT_NEAR(2.0 * 2.0 / 2.9, measurement.shots[0].reading.tof.value(), 1e-9);
    auto const beam = beamOf(measurement.shots[0]);
    EXPECT_NEAR(0.0, (beam.direction + under.normal).lSqr(), 1e-20);
}

TEST(Cases, AreNamedAndTheirFlawsLieOnThem) {
    for (std::string const& name : caseNames()) {
        Case const setup = caseOf(name);
        EXPECT_EQ(name, setup.name);
        EXPECT_GE(setup.flaws.size(), 3U);
        for (Flaw const& flaw : setup.flaws) {
            SurfacePoint const under = setup.shape->at(flaw.centre);
            EXPECT_TRUE(setup.shape->meet(under.point + under.normal * 5.0, -under.normal)) << flaw.name;
            EXPECT_LT(flaw.depth, setup.instrument.thickness);
        }
    }
    EXPECT_EQ("there is no simulated case 'wing'; there are cylinder, cap and blade",
              messageOf([] { caseOf("wing"); }));
}

} // namespace
} // namespace QELT::Simulation
