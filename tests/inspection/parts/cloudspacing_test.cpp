#include "Inspection/parts/cloudspacing.h"

#include "tests/inspection/parts/scannedclouds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>
#include <utility>

namespace QELT::Inspection {
namespace {

using namespace Testing;

void expectNear(double value, double truth, double share, std::string const& what) {
    EXPECT_GT(value, truth * (1.0 - share)) << what;
    EXPECT_LT(value, truth * (1.0 + share)) << what;
}

/// Stretched a little on the cap, squeezed nowhere.
constexpr double stretch = 0.05;

TEST(CloudSpacing, isThatOfALattice) {
    Dice dice(1);
    for (ScannedSurface const& surface : scannedSurfaces()) {
        CloudSpacing const spacing = spacingOf(jitteredCloud(surface, {2.0, 0.0, 0.0}, dice));
        EXPECT_EQ(spacing.form, CloudForm::Even) << surface.name;
        expectNear(spacing.nearest, 2.0, stretch, surface.name);
        expectNear(spacing.along, 2.0, 0.1, surface.name);
        EXPECT_EQ(spacing.across, spacing.along);
        EXPECT_EQ(spacing.ratio(), 1.0);
        EXPECT_EQ(spacing.even, spacing.nearest);
        EXPECT_EQ(fitSpacing(spacing), 0.0);
    }
}

TEST(CloudSpacing, isThatOfJitteredAndScatteredPoints) {
    Dice dice(2);
    for (ScannedSurface const& surface : scannedSurfaces()) {
        CloudSpacing const jittered = spacingOf(jitteredCloud(surface, {2.0, 0.5, 0.2}, dice));
        EXPECT_EQ(jittered.form, CloudForm::Even) << surface.name;
        expectNear(jittered.along, 2.0, 0.1, surface.name);
        CloudSpacing const scattered = spacingOf(scatteredCloud(surface, 2.0, dice));
        EXPECT_EQ(scattered.form, CloudForm::Even) << surface.name;
        expectNear(scattered.along, 2.0, 0.1, surface.name);
        // The median of nearest distances of a Poisson process in the plane.
        expectNear(scattered.nearest, 2.0 * std::sqrt(std::numbers::ln2 / std::numbers::pi), 0.1,
                   surface.name);
        EXPECT_GT(scattered.even, scattered.nearest) << surface.name;
    }
}

/// Of the steps from point to point, as they are on the bent surface.
double medianStep(std::vector<Point> const& lines) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        steps.push_back(std::sqrt((lines[i] - lines[i - 1]).lSqr()));
    }
    std::sort(steps.begin(), steps.end());
    return steps[steps.size() / 2];
}

TEST(CloudSpacing, isMeasuredAlongAndAcrossLines) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        for (double const ratio : {3.0, 5.0, 10.0, 20.0}) {
            LineScan scan;
            scan.ratio = ratio;
            auto const lines = lineScanOf(surface, scan);
            CloudSpacing const spacing = spacingOf(lines);
            std::string const what = surface.name + " " + std::to_string(ratio);
            EXPECT_EQ(spacing.form, CloudForm::Lines) << what;
            expectNear(spacing.across, scan.across, stretch, what);
            expectNear(spacing.along, medianStep(lines), stretch, what);
            expectNear(spacing.nearest, medianStep(lines), stretch, what);
            EXPECT_EQ(spacing.ratio(), spacing.across / spacing.along) << what;
            EXPECT_GT(fitSpacing(spacing), 0.55 * scan.across) << what;
            EXPECT_LT(fitSpacing(spacing), 0.9 * scan.across) << what;
        }
    }
}

TEST(CloudSpacing, isMeasuredOnNoisyLines) {
    for (ScannedSurface const& surface : sampledSurfaces()) {
        for (double const ratio : {5.0, 10.0}) {
            for (auto const& [jitter, dropped] : {std::pair(0.0, 0.0), {0.15, 0.0}, {0.0, 0.1}}) {
                LineScan scan;
                scan.ratio = ratio;
                double const step = medianStep(lineScanOf(surface, scan)) / (1.0 - dropped);
                scan.noise = 0.1;
                scan.jitter = jitter;
                scan.dropped = dropped;
                CloudSpacing const spacing = spacingOf(lineScanOf(surface, scan));
                std::string const what = surface.name + " " + std::to_string(ratio);
                EXPECT_EQ(spacing.form, CloudForm::Lines) << what;
                expectNear(spacing.across, scan.across, 0.15, what);
                expectNear(spacing.along, step, 0.15, what);
            }
        }
    }
}

TEST(CloudSpacing, tellsThatNoiseOrCrossingLinesCrowdThePoints) {
    Dice dice(5);
    for (ScannedSurface const& surface : sampledSurfaces()) {
        CloudSpacing const rough = spacingOf(jitteredCloud(surface, {0.8, 0.5, 0.4}, dice));
        EXPECT_EQ(rough.form, CloudForm::Crowded) << surface.name;
        expectNear(rough.across, 0.8, 0.15, surface.name);
        EXPECT_GT(fitSpacing(rough), 4.0 * 0.4) << surface.name;

        LineScan scan;
        auto cloud = lineScanOf(surface, scan);
        scan.angle += 1.0;
        addLineScan(cloud, surface, scan, dice);
        CloudSpacing const crossed = spacingOf(cloud);
        EXPECT_NE(crossed.form, CloudForm::Even) << surface.name;
        EXPECT_GT(fitSpacing(crossed), 0.25 * scan.across) << surface.name;
        EXPECT_LT(fitSpacing(crossed), scan.across) << surface.name;
    }
}

TEST(CloudSpacing, isNotLedAstrayByHolesDuplicatesAndASecondSheet) {
    ScannedSurface const plane = scannedSurfaces()[0];
    LineScan scan;
    auto const whole = lineScanOf(plane, scan);
    std::vector<Point> cloud;
    for (Point const& point : whole) {
        auto const x = static_cast<double>(point.getX());
        bool const isInHole = x > 20.0 && x < 35.0;
        if (!isInHole) {
            cloud.push_back(point);
            cloud.push_back(point);
            cloud.push_back(point + Vector(0.0, 0.0, 30.0));
        }
    }
    CloudSpacing const spacing = spacingOf(cloud);
    EXPECT_EQ(spacing.form, CloudForm::Lines);
    expectNear(spacing.across, scan.across, 0.05, "across");
    expectNear(spacing.nearest, scan.across / scan.ratio, 0.05, "nearest");
}

TEST(CloudSpacing, isTheSameInEveryUnitAndOfTheSamePoints) {
    auto const surface = scannedSurfaces()[3];
    auto cloud = lineScanOf(surface, {});
    CloudSpacing const once = spacingOf(cloud);
    CloudSpacing const again = spacingOf(cloud);
    EXPECT_EQ(once.across, again.across);
    EXPECT_EQ(once.even, again.even);
    for (Point& point : cloud) {
        point = Point() + 1024.0 * (point - Point()); // a power of two rounds nothing
    }
    CloudSpacing const scaled = spacingOf(cloud);
    EXPECT_EQ(scaled.form, once.form);
    EXPECT_DOUBLE_EQ(scaled.across, 1024.0 * once.across);
    EXPECT_DOUBLE_EQ(scaled.along, 1024.0 * once.along);
    EXPECT_DOUBLE_EQ(scaled.even, 1024.0 * once.even);
}

TEST(CloudSpacing, takesCloudsOfFewPlaces) {
    EXPECT_EQ(spacingOf({}).nearest, 0.0);
    for (int count = 1; count <= 10; ++count) {
        std::vector<Point> line;
        for (int i = 0; i < count; ++i) {
            line.emplace_back(2.0 * i, 0.0, 0.0);
        }
        CloudSpacing const spacing = spacingOf(line);
        EXPECT_EQ(spacing.form, CloudForm::Even);
        EXPECT_EQ(spacing.nearest, count > 1 ? 2.0 : 0.0);
        EXPECT_EQ(spacing.even, 0.0);
        EXPECT_EQ(fitSpacing(spacing), 0.0);
        EXPECT_TRUE(std::isfinite(spacing.along));
    }
    std::vector<Point> const same(100, Point(1.0, 2.0, 3.0));
    EXPECT_EQ(spacingOf(same).nearest, 0.0);
    EXPECT_EQ(spacingOf(same).ratio(), 1.0);
}

TEST(CloudSpacing, ofASingleLineTellsNoSurface) {
    std::vector<Point> line;
    for (int i = 0; i < 1000; ++i) {
        line.emplace_back(0.5 * i, 0.25 * i, 0.0);
    }
    CloudSpacing const spacing = spacingOf(line);
    EXPECT_EQ(spacing.form, CloudForm::Even);
    EXPECT_EQ(spacing.even, 0.0);
    EXPECT_NEAR(spacing.nearest, std::sqrt(0.3125), 1e-4);
    EXPECT_EQ(fitSpacing(spacing), 0.0);
}

} // namespace
} // namespace QELT::Inspection
