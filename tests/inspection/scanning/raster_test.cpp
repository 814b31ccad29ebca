#include "Inspection/scanning/raster.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {
namespace {

Point const low(-1.0, 2.0, 3.0);
Point const high(3.5, 4.0, 8.0);

TEST(Raster, coversTheBoxAsSeenAlongTheDirectionCentredOnIt) {
    auto const beams = rasterBeams({1.0, 10.0, Vector(0.0, 0.0, -2.0)}, low, high);
    ASSERT_EQ(beams.size(), 5U * 3U);
    float lowestX = 100.0F;
    float highestX = -100.0F;
    for (Beam const& beam : beams) {
        EXPECT_FLOAT_EQ(beam.origin.getZ(), 18.0F);
        EXPECT_DOUBLE_EQ(beam.direction.getdZ(), -1.0);
        EXPECT_GE(beam.origin.getY(), 2.0F);
        EXPECT_LE(beam.origin.getY(), 4.0F);
        lowestX = std::min(lowestX, beam.origin.getX());
        highestX = std::max(highestX, beam.origin.getX());
    }
    EXPECT_FLOAT_EQ(lowestX, -0.75F);
    EXPECT_FLOAT_EQ(highestX, 3.25F);
}

TEST(Raster, runsToAndFroSoThatNeighboursFollowEachOther) {
    auto const beams = rasterBeams({0.25, 1.0, Vector(1.0, -2.0, 0.5)}, low, high);
    ASSERT_GT(beams.size(), 100U);
    for (std::size_t i = 1; i < beams.size(); ++i) {
        EXPECT_NEAR(std::sqrt((beams[i].origin - beams[i - 1].origin).lSqr()), 0.25, 1e-5) << i;
    }
}

TEST(Raster, firesTheSameBeamsInParts) {
    Raster const raster{0.19, 3.0, Vector(0.3, -2.0, 0.5)};
    auto const all = rasterBeams(raster, low, high);
    ASSERT_EQ(rasterSize(raster, low, high), all.size());
    for (std::uint64_t const count : {1U, 7U, 100U}) {
        std::vector<Beam> joined;
        for (std::uint64_t first = 0; first < all.size(); first += count) {
            auto const part = rasterBeams(raster, low, high, {first, count});
            ASSERT_EQ(part.size(), std::min<std::uint64_t>(count, all.size() - first));
            joined.insert(joined.end(), part.begin(), part.end());
        }
        ASSERT_EQ(joined.size(), all.size());
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(joined[i].origin, all[i].origin) << i;
            EXPECT_EQ((joined[i].direction - all[i].direction).lSqr(), 0.0) << i;
        }
    }
}

TEST(Raster, hasNoBeamsPastItsEnd) {
    Raster const raster{1.0, 10.0, Vector(0.0, 0.0, -2.0)};
    EXPECT_TRUE(rasterBeams(raster, low, high, {15, 1}).empty());
    EXPECT_TRUE(rasterBeams(raster, low, high, {~std::uint64_t{0}, ~std::uint64_t{0}}).empty());
    EXPECT_EQ(rasterBeams(raster, low, high, {14, ~std::uint64_t{0}}).size(), 1U);
    EXPECT_TRUE(rasterBeams(raster, low, high, {3, 0}).empty());
}

TEST(Raster, startsTheStandoffBeforeTheBoxForAnObliqueDirection) {
    Vector const direction(1.0, 1.0, 1.0);
    auto const beams = rasterBeams({0.5, 7.0, direction}, low, high);
    Vector const forward = direction / std::sqrt(3.0);
    double const nearSide = Vector(low.getX(), low.getY(), low.getZ()).dot(forward);
    for (Beam const& beam : beams) {
        Vector const position(beam.origin.getX(), beam.origin.getY(), beam.origin.getZ());
        EXPECT_NEAR(position.dot(forward), nearSide - 7.0, 1e-5);
        EXPECT_NEAR((beam.direction - forward).lSqr(), 0.0, 1e-24);
    }
}

TEST(Raster, firesOnceAtABoxWithoutExtent) {
    auto const beams = rasterBeams({1.0, 2.0, Vector(0.0, 1.0, 0.0)}, low, low);
    ASSERT_EQ(beams.size(), 1U);
    EXPECT_EQ(beams[0].origin, Point(-1.0, 0.0, 3.0));
}

TEST(Raster, refusesAStepThatMakesTooManyBeams) {
    EXPECT_EQ(Testing::messageOf([] {
                  rasterBeams({1e-5, 1.0, Vector(0.0, 0.0, 1.0)}, low, high);
              }),
              "a raster step of 1e-05 makes 9e+10 beams, more than 50000000");
}

} // namespace
} // namespace QELT::Inspection
