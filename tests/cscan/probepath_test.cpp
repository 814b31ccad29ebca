#include "apps/cscan/demo/probepath.h"

#include "simulation/bladesurface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace cscan {
namespace {

using QELT::Simulation::BladePlace;
using QELT::Simulation::BladeSurface;

TEST(ProbePath, firesMoreThanAHundredThousandBeamsALineAfterTheOther) {
    auto const beams = bladeScanBeams({});
    EXPECT_GE(beams.size(), 100000U);
    for (std::size_t i = 1; i < beams.size(); ++i) {
        ASSERT_LT(std::sqrt((beams[i].origin - beams[i - 1].origin).lSqr()), 1.5) << i;
    }
}

TEST(ProbePath, keepsTheStandoffAndStaysWithinAFewDegreesOfTheNormal) {
    ProbePath const path{4.0, 4.0, 12.0, 0.0};
    auto const beams = bladeScanBeams(path);
    BladeSurface const surface;
    std::size_t next = 0;
    double widest = 0.0;
    for (int line = 0; line <= 15; ++line) {
        for (int firing = 0; firing <= 28; ++firing) {
            int const step = line % 2 == 0 ? firing : 28 - firing;
            BladePlace const place{-30.0 + 4.0 * line, -55.0 + 4.0 * step};
            Beam const& beam = beams.at(next++);
            Vector const toSurface = surface.nominalPoint(place) - beam.origin;
            EXPECT_NEAR(std::sqrt(toSurface.lSqr()), 12.0, 0.31);
            EXPECT_NEAR(toSurface.cross(beam.direction).lSqr(), 0.0, 1e-8);
            double const off = std::acos(-beam.direction.dot(surface.normal(place)));
            widest = std::max(widest, off * 180.0 / 3.141592653589793);
        }
    }
    EXPECT_EQ(next, beams.size());
    EXPECT_GT(widest, 2.0);
    EXPECT_LT(widest, 6.0);
}

} // namespace
} // namespace cscan
