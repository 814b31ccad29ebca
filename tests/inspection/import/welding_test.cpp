#include "Inspection/import/internal/welding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace QELT::Inspection {
namespace {

using SpacePoint = std::array<double, 3>;

TEST(Welding, givesTheLowestNumberAndMovesNoPoint) {
    std::vector<SpacePoint> const points{{1, 0, 0},    {0, 0, 0},    {0.5, 0, 0},
                                         {1.25, 0, 0}, {-0.0, 0, 0}, {2, 0, 0}};
    auto const welded = weld(points, 0.5);
    EXPECT_EQ(welded.points, (std::vector<SpacePoint>{{1, 0, 0}, {0, 0, 0}, {2, 0, 0}}));
    EXPECT_EQ(welded.newIndices, (std::vector<std::uint32_t>{0, 1, 0, 0, 1, 2}));
    EXPECT_EQ(weld(points, 0.0).newIndices, (std::vector<std::uint32_t>{0, 1, 2, 3, 1, 4}));
}

TEST(Welding, endsWhereCellsHaveNoNumbers) {
    std::vector<SpacePoint> const points{{1e38, 0, 0}, {1e38, 1e-294, 0}, {-1e38, 0, 0}};
    EXPECT_EQ(weld(points, 1e-300).newIndices, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(Welding, agreesWithATestOfAllPairs) {
    std::mt19937 random(8);
    auto const below = [&](unsigned count) { return static_cast<double>(random() % count); };
    for (double const offset : {0.0, -7.0, 1e9, 3e38}) {
        for (double const tolerance : {0.0, 1e-50, 0.3, 1.0, 2.5, 40.0}) {
            std::vector<SpacePoint> points;
            for (int i = 0; i < 300; ++i) {
                points.push_back({offset + 0.5 * below(20), 0.5 * below(20), 0.5 * below(4)});
            }
            std::vector<SpacePoint> kept;
            std::vector<std::uint32_t> indices;
            for (SpacePoint const& p : points) {
                std::size_t k = 0;
                while (k < kept.size() &&
                       std::hypot(kept[k][0] - p[0], kept[k][1] - p[1], kept[k][2] - p[2]) > tolerance) {
                    ++k;
                }
                indices.push_back(static_cast<std::uint32_t>(k));
                if (k == kept.size()) {
                    kept.push_back(p);
                }
            }
            auto const welded = weld(points, tolerance);
            EXPECT_EQ(welded.points, kept) << offset << ' ' << tolerance;
            EXPECT_EQ(welded.newIndices, indices) << offset << ' ' << tolerance;
        }
    }
}

} // namespace
} // namespace QELT::Inspection
