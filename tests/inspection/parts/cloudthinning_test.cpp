#include "Inspection/parts/cloudthinning.h"

#include "tests/inspection/parts/scannedclouds.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <limits>

namespace QELT::Inspection {
namespace {

using namespace Testing;

double distanceSqr(Point const& a, Point const& b) {
    double const x = static_cast<double>(a.getX()) - static_cast<double>(b.getX());
    double const y = static_cast<double>(a.getY()) - static_cast<double>(b.getY());
    double const z = static_cast<double>(a.getZ()) - static_cast<double>(b.getZ());
    return x * x + y * y + z * z;
}

/// By holding each point against all that stay.
std::vector<Point> plainlyThinned(std::vector<Point> const& points, double distance) {
    std::vector<Point> kept;
    for (Point const& point : points) {
        bool isCrowded = false;
        for (Point const& other : kept) {
            isCrowded = isCrowded || distanceSqr(point, other) < distance * distance;
        }
        if (!isCrowded) {
            kept.push_back(point);
        }
    }
    return kept;
}

std::vector<Point> randomBox(std::uint32_t seed, std::size_t count, double extent, double offset) {
    Dice dice(seed);
    std::vector<Point> points;
    for (std::size_t i = 0; i < count; ++i) {
        double const x = offset + extent * dice.share();
        double const y = extent * dice.share() - offset;
        points.emplace_back(x, y, 0.1 * extent * dice.share());
    }
    return points;
}

TEST(CloudThinning, keepsThePointsThatAPlainSearchKeeps) {
    for (std::uint32_t seed = 0; seed < 6; ++seed) {
        for (double const offset : {0.0, -50.0, 1e6}) {
            auto points = randomBox(seed, 700, 10.0, offset);
            auto const twice = points;
            points.insert(points.end(), twice.begin(), twice.end());
            for (double const distance : {1e-9, 0.01, 0.3, 1.0, 4.0, 100.0}) {
                EXPECT_EQ(thinned(points, distance), plainlyThinned(points, distance))
                    << seed << ' ' << offset << ' ' << distance;
            }
        }
    }
}

TEST(CloudThinning, keepsThePointsThatAPlainSearchKeepsOnLinesAndLattices) {
    Dice dice(3);
    for (ScannedSurface const& surface : scannedSurfaces()) {
        std::vector<Point> lines;
        LineScan scan;
        scan.across = 8.0;
        addLineScan(lines, surface, scan, dice);
        auto const lattice = jitteredCloud(surface, {4.0, 0.0, 0.0}, dice);
        for (double const distance : {0.5, 1.6, 4.0, 8.0, 9.0}) {
            EXPECT_EQ(thinned(lines, distance), plainlyThinned(lines, distance)) << surface.name << distance;
            EXPECT_EQ(thinned(lattice, distance), plainlyThinned(lattice, distance)) << surface.name;
        }
    }
}

TEST(CloudThinning, leavesALatticeItsOwnSpacing) {
    std::vector<Point> lattice;
    for (int i = 0; i < 400; ++i) {
        lattice.emplace_back(0.25 * (i % 20), 0.25 * (i / 20), 0.0); // NOLINT(bugprone-integer-division)
    }
    EXPECT_EQ(thinned(lattice, 0.25), lattice);
    EXPECT_EQ(thinned(lattice, 0.2500001).size(), 200U);
}

TEST(CloudThinning, takesCloudsOfAllSizes) {
    EXPECT_TRUE(thinned({}, 1.0).empty());
    std::vector<Point> const far = {Point(-3e9, 0.0, 0.0), Point(3e9, 0.0, 0.0), Point(3e9, 1.0, 0.0),
                                    Point(3e9, 1.0, 0.0)};
    EXPECT_EQ(thinned(far, 1e-6).size(), 3U);
    EXPECT_EQ(thinned(far, 2.0).size(), 2U);
    EXPECT_EQ(thinned(far, 1e10).size(), 1U);
}

TEST(CloudThinning, refusesASpacingThatIsNone) {
    for (double const distance :
         {0.0, -1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_NE(messageOf([&] { thinned({Point()}, distance); }).find("is not above zero"),
                  std::string::npos);
    }
}

} // namespace
} // namespace QELT::Inspection
