#include "Inspection/grids/internal/verdict.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QELT::Inspection {
namespace {

MapCandidate candidateWith(std::size_t turnedCount, std::string const& doubt) {
    MapCandidate candidate;
    candidate.quality.triangleCount = 10000;
    candidate.quality.turnedCount = turnedCount;
    candidate.flattening.doubt = doubt;
    return candidate;
}

std::string crop() {
    return "crop";
}

TEST(Verdict, aMapIsBearableUpToAThousandthOfTurnedTriangles) {
    EXPECT_TRUE(shortcomingsOf({candidateWith(10, "")}, 0, crop).empty());
    auto const found = shortcomingsOf({candidateWith(11, "")}, 0, crop);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].what, "0.11 % of the triangles are turned over in the flat map and leave holes");
}

TEST(Verdict, aMapThatIsNotSolvedIsNotTrusted) {
    auto const found = shortcomingsOf({candidateWith(0, ""), candidateWith(0, "lost")}, 1, crop);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].what, "the flat map cannot be trusted: lost");
    EXPECT_FALSE(candidateWith(0, "lost").isSolved());
}

TEST(Verdict, theOtherModeIsARemedyWhereItWasNotTried) {
    auto const remedyOf = [](std::vector<MapCandidate> const& maps) {
        return shortcomingsOf(maps, 0, crop).at(0).remedy;
    };
    EXPECT_EQ(remedyOf({candidateWith(500, "")}), "leave --mode out, which tries both; else crop");
    EXPECT_EQ(remedyOf({candidateWith(500, ""), candidateWith(900, "")}), "crop");
}

TEST(Verdict, nineTenthsOfTheQuadsMustBeAlike) {
    QuadSizes sizes;
    sizes.quadCount = 1000;
    sizes.counts = {40, 100, 700, 100, 60};
    EXPECT_TRUE(shortcomingsOf(sizes, {}, crop).empty());
    sizes.counts = {41, 100, 699, 100, 60};
    auto const found = shortcomingsOf(sizes, {}, crop);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].what, "only 89.9 % of the quads are within a factor of 4 of their median area");
}

TEST(Verdict, noNodeMayBeWithoutAPlace) {
    QuadSizes sizes;
    sizes.quadCount = 10;
    sizes.counts = {0, 0, 10, 0, 0};
    auto const found = shortcomingsOf(sizes, {{GridIndex(1, 1)}, 1}, crop);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].what, "there are nodes without a place (1), from triangles without flat area (1)");
}

} // namespace
} // namespace QELT::Inspection
