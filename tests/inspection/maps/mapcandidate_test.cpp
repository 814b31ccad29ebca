#include "Inspection/maps/mapcandidate.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;

MapCandidate solvedCandidate(std::size_t turnedCount, double areaSpread) {
    MapCandidate candidate;
    candidate.quality.triangleCount = 10000;
    candidate.quality.turnedCount = turnedCount;
    candidate.quality.areaSpread = areaSpread;
    candidate.quality.areaRatio = 1.0;
    candidate.quality.alikeShare = 1.0;
    return candidate;
}

TEST(MapCandidate, withFewerTurnedTrianglesIsBetter) {
    EXPECT_EQ(bestOf({solvedCandidate(2, 1.0), solvedCandidate(1, 1.5)}), 1U);
    EXPECT_EQ(bestOf({solvedCandidate(1, 1.5), solvedCandidate(2, 1.0)}), 0U);
}

TEST(MapCandidate, truerToAreasIsBetterAmongEquals) {
    EXPECT_EQ(bestOf({solvedCandidate(1, 1.5), solvedCandidate(1, 1.4)}), 1U);
    EXPECT_EQ(bestOf({solvedCandidate(1, 1.5), solvedCandidate(1, 1.5)}), 0U);
}

TEST(MapCandidate, thatIsFitIsBetterThanOneThatIsNot) {
    MapCandidate uneven = solvedCandidate(0, 9.0);
    uneven.quality.alikeShare = 0.5;
    EXPECT_FALSE(uneven.isFit());
    EXPECT_TRUE(solvedCandidate(10, 1.0).isFit());
    EXPECT_FALSE(solvedCandidate(11, 1.0).isFit());
    EXPECT_EQ(bestOf({uneven, solvedCandidate(10, 1.1)}), 1U);
    EXPECT_EQ(bestOf({uneven, solvedCandidate(11, 1.1)}), 0U);
}

TEST(MapCandidate, thatIsNotSolvedOrNotMadeIsTakenLast) {
    MapCandidate unsolved = solvedCandidate(0, 1.0);
    unsolved.flattening.doubt = "it is not";
    MapCandidate refused = solvedCandidate(0, 1.0);
    refused.refusal = "no";
    EXPECT_FALSE(unsolved.isSolved());
    EXPECT_FALSE(refused.isSolved());
    EXPECT_EQ(bestOf({refused, unsolved, solvedCandidate(9000, 50.0)}), 2U);
    EXPECT_EQ(bestOf({refused, unsolved}), 1U);
    EXPECT_EQ(bestOf({refused}), 0U);
}

TEST(MapCandidate, measuresTheMapThatItMakes) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh());
    Mesh mesh;
    loadObj(mesh, directory / "patch.obj");
    MapCandidate const candidate = candidateOf(mesh, {FlatteningMode::Pinned}, nullptr);
    EXPECT_TRUE(candidate.isFit());
    EXPECT_EQ(candidate.quality.triangleCount, 240U);
    EXPECT_GT(candidate.flat.width, 0.0);
    EXPECT_EQ(nameOf(candidate.mode), "pinned");
}

/// A rim of three corners is too short for the stencil of five that rolls it out.
TEST(MapCandidate, saysWhyThereIsNone) {
    Mesh mesh({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)}, {{0, 1, 2}});
    MapCandidate const candidate = candidateOf(mesh, {FlatteningMode::Developable}, nullptr);
    EXPECT_EQ(candidate.refusal, "Boundary flattening internal failure");
    EXPECT_FALSE(candidate.isMade());
}

} // namespace
} // namespace QELT::Inspection
