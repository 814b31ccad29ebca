#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"

#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

namespace QELT::Testing {

namespace {

class StartSearch : public SearchTest {
protected:
    /// Asks the batch test with the best so far at (9, 9) and `bestDistanceSqr`.
    bool ask(RectMesh const& grid, std::vector<GridIndex> const& samples, SpacePoint const& target,
             unsigned long doNMoreCount = 0) {
        best = {9, 9};
        hasInvalidQuad = !samples.empty();
        return grid.getIsAnyQuadPointCloser(samples.data(), target, best, bestDistanceSqr, hasInvalidQuad,
                                            doNMoreCount, samples.size());
    }

    GridIndex best;
    double bestDistanceSqr = 0.0;
    bool hasInvalidQuad = false;
};

PlainIndex twinStart(RectMesh const& grid, SpacePoint const& target, std::uint32_t* passes = nullptr) {
    PlainSearch twin;
    twin.grid = plainGridOf(grid);
    PlainIndex const start = twin.getStartSearchPoint(currentSettings(), plain(target));
    if (passes != nullptr) {
        *passes = twin.lastPasses;
    }
    return start;
}

} // namespace

TEST_F(StartSearch, StartsWithFourSamplesAndNoExtraPasses) {
    EXPECT_EQ(RectMesh::searchDivideByNTimes, 4U);
    EXPECT_EQ(RectMesh::maxDoNMoreTimes, 0U);
}

TEST_F(StartSearch, ExtraPassesAreSetForAllGridsIn32Bits) {
    RectMesh::setMaxDoNMoreTimes(7);
    EXPECT_EQ(RectMesh::maxDoNMoreTimes, 7U);
    RectMesh grid;
    grid.setMaxDoNMoreTimes(0xFFFFFFFFUL);
    EXPECT_EQ(RectMesh::maxDoNMoreTimes, 0xFFFFFFFFU);
}

// One batch of samples

TEST_F(StartSearch, StrictlyNearerSampleReplacesTheBest) {
    RectMesh const grid = flatGrid(20, 20);
    bestDistanceSqr = 9.0;
    EXPECT_FALSE(ask(grid, {{3, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(9, 9));
    EXPECT_EQ(bestDistanceSqr, 9.0);
    bestDistanceSqr = std::nextafter(9.0, 10.0);
    EXPECT_TRUE(ask(grid, {{3, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(3, 0));
    EXPECT_EQ(bestDistanceSqr, 9.0);
    EXPECT_FALSE(hasInvalidQuad);
}

TEST_F(StartSearch, OfEqualSamplesTheFirstIsKept) {
    RectMesh const grid = flatGrid(20, 20);
    bestDistanceSqr = 100.0;
    EXPECT_TRUE(ask(grid, {{5, 0}, {0, 3}, {3, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(0, 3));
}

TEST_F(StartSearch, SamplesOnNoQuadAreNotedAndPassedOver) {
    RectMesh grid = flatGrid(20, 20);
    grid.setPointValidity({4, 4}, false);
    for (GridIndex const& bad : {GridIndex(3, 3), GridIndex(4, 4), GridIndex(20, 0), GridIndex(-1, 5),
                                 GridIndex(std::numeric_limits<int>::max(), 0)}) {
        bestDistanceSqr = 100.0;
        EXPECT_TRUE(ask(grid, {bad, {2, 0}}, {0.0, 0.0, 0.0}));
        EXPECT_TRUE(hasInvalidQuad);
        EXPECT_EQ(best, GridIndex(2, 0));
    }
}

TEST_F(StartSearch, NoSamplesChangeNothing) {
    RectMesh const grid = flatGrid(20, 20);
    RectMesh::setMaxDoNMoreTimes(5);
    bestDistanceSqr = 1000.0;
    EXPECT_FALSE(ask(grid, {}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(9, 9));
    EXPECT_EQ(bestDistanceSqr, 1000.0);
    EXPECT_FALSE(hasInvalidQuad);
}

TEST_F(StartSearch, EscapeTakesTheBestOfTheBatchThoughItIsWorse) {
    RectMesh const grid = flatGrid(200, 200);
    RectMesh::setMaxDoNMoreTimes(1);
    bestDistanceSqr = 401.0;
    EXPECT_FALSE(ask(grid, {{60, 0}, {50, 0}, {0, 50}, {70, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(50, 0));
    EXPECT_EQ(bestDistanceSqr, 2500.0);
}

TEST_F(StartSearch, NoEscapeWithinTwentyUnits) {
    RectMesh const grid = flatGrid(200, 200);
    RectMesh::setMaxDoNMoreTimes(1);
    bestDistanceSqr = 400.0;
    EXPECT_FALSE(ask(grid, {{60, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(9, 9));
    bestDistanceSqr = std::nextafter(400.0, 401.0);
    EXPECT_FALSE(ask(grid, {{60, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(60, 0));
}

TEST_F(StartSearch, NoEscapeAfterAnImprovement) {
    RectMesh const grid = flatGrid(200, 200);
    RectMesh::setMaxDoNMoreTimes(1);
    bestDistanceSqr = 5000.0;
    EXPECT_TRUE(ask(grid, {{60, 0}, {61, 0}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(60, 0));
    EXPECT_EQ(bestDistanceSqr, 3600.0);
}

TEST_F(StartSearch, NoEscapeOnceTheExtraPassesAreUsedUp) {
    RectMesh const grid = flatGrid(200, 200);
    for (auto const& [most, count, escapes] : std::vector<std::tuple<unsigned long, unsigned long, bool>>{
             {0, 0, false}, {1, 0, true}, {1, 1, false}, {3, 2, true}, {3, 3, false}, {3, 4, false}}) {
        RectMesh::setMaxDoNMoreTimes(most);
        bestDistanceSqr = 500.0;
        EXPECT_FALSE(ask(grid, {{60, 0}}, {0.0, 0.0, 0.0}, count));
        EXPECT_EQ(best, escapes ? GridIndex(60, 0) : GridIndex(9, 9)) << most << " " << count;
    }
}

TEST_F(StartSearch, BatchStartsAtAMillionUnlessItsFirstSampleIsAQuad) {
    RectMesh grid = flatGrid(3, 3, 500.0);
    grid.setPointValidity({3, 3}, false);
    RectMesh::setMaxDoNMoreTimes(1);
    SpacePoint const target(0.0, 0.0, 0.0);
    // (2, 0) lies at exactly a million.
    bestDistanceSqr = 500.0;
    EXPECT_FALSE(ask(grid, {{2, 2}, {2, 0}}, target));
    EXPECT_EQ(best, GridIndex(2, 2)) << "the first sample, which is no quad";
    EXPECT_EQ(bestDistanceSqr, 1000000.0);
    bestDistanceSqr = 500.0;
    EXPECT_FALSE(ask(grid, {{2, 2}, {2, 0}}, {0.1, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(2, 0));
    EXPECT_LT(bestDistanceSqr, 1000000.0);
    bestDistanceSqr = 500.0;
    EXPECT_FALSE(ask(grid, {{2, 1}, {2, 2}}, target));
    EXPECT_EQ(best, GridIndex(2, 1)) << "a first sample that is a quad, however far";
    EXPECT_EQ(bestDistanceSqr, 1250000.0);
}

TEST_F(StartSearch, EscapeCanHandBackASampleOutsideTheGrid) {
    RectMesh const grid = flatGrid(5, 5);
    RectMesh::setMaxDoNMoreTimes(1);
    bestDistanceSqr = 500.0;
    EXPECT_FALSE(ask(grid, {{-7, 300}}, {0.0, 0.0, 0.0}));
    EXPECT_EQ(best, GridIndex(-7, 300));
    EXPECT_EQ(bestDistanceSqr, 1000000.0);
}

TEST_F(StartSearch, DistancesAreOfSinglePrecision) {
    RectMesh const grid = tiltedPlaneGrid(20, 20);
    SpacePoint const target(0.1, 0.2, 0.3);
    bestDistanceSqr = 1e9;
    ASSERT_TRUE(ask(grid, {{7, 8}}, target));
    EXPECT_EQ(bestDistanceSqr, static_cast<double>(static_cast<float>(bestDistanceSqr)));
    EXPECT_EQ(bestDistanceSqr, grid.getPoint({7, 8}).dSqr(target));
}

TEST_F(StartSearch, BatchesAgreeWithTheTwin) {
    std::mt19937 random(77);
    int improved = 0;
    for (GridFamily const& family : gridFamilies(29)) {
        PlainSearch twin;
        twin.grid = plainGridOf(family.grid);
        for (int round = 0; round < 150; ++round) {
            RectMesh::setMaxDoNMoreTimes(random() % 3);
            std::vector<GridIndex> samples(random() % 6);
            std::vector<PlainIndex> plainSamples;
            for (GridIndex& sample : samples) {
                sample = {static_cast<int>(random() % 45) - 3, static_cast<int>(random() % 45) - 3};
                plainSamples.push_back(plain(sample));
            }
            SpacePoint const target{static_cast<double>(random() % 50), static_cast<double>(random() % 50),
                                    static_cast<double>(random() % 40)};
            double expectedDistanceSqr = bestDistanceSqr = static_cast<double>(random() % 1500);
            PlainIndex expectedBest{9, 9};
            bool expectedInvalid = false;
            auto const count = static_cast<std::uint32_t>(random() % 3);
            bool const expected =
                twin.getIsAnyQuadPointCloser(currentSettings(), plainSamples, plain(target), expectedBest,
                                             expectedDistanceSqr, expectedInvalid, count);
            ASSERT_EQ(ask(family.grid, samples, target, count), expected) << family.name;
            ASSERT_EQ(plain(best), expectedBest) << family.name;
            ASSERT_TRUE(sameBits(bestDistanceSqr, expectedDistanceSqr)) << family.name;
            ASSERT_EQ(hasInvalidQuad, expectedInvalid) << family.name;
            improved += expected ? 1 : 0;
        }
    }
    EXPECT_GT(improved, 200);
}

// The descent

TEST_F(StartSearch, DescentOnAFlatGridComesNearer) {
    RectMesh const grid = flatGrid(64, 64);
    for (SpacePoint const& target : {SpacePoint(10.0, 50.0, 3.0), SpacePoint(55.0, 58.0, 3.0),
                                     SpacePoint(60.0, 3.0, 3.0), SpacePoint(1.0, 1.0, 3.0)}) {
        GridIndex const start = grid.getStartSearchPoint(target);
        EXPECT_EQ(plain(start), twinStart(grid, target));
        EXPECT_LT(grid.getPoint(start).dSqr(target), grid.getPoint({32, 32}).dSqr(target));
    }
}

TEST_F(StartSearch, DescentStartsInTheMiddleThoughItIsNoQuad) {
    RectMesh grid = flatGrid(21, 15);
    punchHole(grid, {0, 0}, {21, 15});
    EXPECT_EQ(grid.getStartSearchPoint({3.0, 3.0, 3.0}), GridIndex(10, 7));
}

TEST_F(StartSearch, DescentOnAGridWithoutNodesStaysAtTheOrigin) {
    RectMesh const grid;
    EXPECT_EQ(grid.getStartSearchPoint({3.0, 3.0, 3.0}), GridIndex(0, 0));
}

TEST_F(StartSearch, WithoutSamplesTheDescentStaysInTheMiddle) {
    RectMesh const grid = flatGrid(21, 15);
    RectMesh::searchDivideByNTimes = 0;
    for (unsigned long const more : {0UL, 5UL}) {
        RectMesh::setMaxDoNMoreTimes(more);
        EXPECT_EQ(grid.getStartSearchPoint({300.0, 3.0, 3.0}), GridIndex(10, 7));
    }
}

TEST_F(StartSearch, FirstPassLooksAtTheCentresOfALatticeOfTwoByTwo) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 20);
    grid.nodes.clear();
    // The middle is the best there is, so that one pass is all.
    EXPECT_EQ(grid.getStartSearchPoint({20.0, 10.0, 0.0}), GridIndex(20, 10));
    std::vector<GridIndex> const expected{{20, 10}, {10, 5}, {30, 5}, {10, 15}, {30, 15}};
    EXPECT_EQ(grid.nodes, expected);
}

TEST_F(StartSearch, FiveSamplesAreALatticeOfFourAndTheLowCorner) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 20);
    RectMesh::searchDivideByNTimes = 5;
    grid.nodes.clear();
    EXPECT_EQ(grid.getStartSearchPoint({20.0, 10.0, 0.0}), GridIndex(20, 10));
    std::vector<GridIndex> const expected{{20, 10}, {10, 5}, {30, 5}, {10, 15}, {30, 15}, {0, 0}};
    EXPECT_EQ(grid.nodes, expected);
}

TEST_F(StartSearch, NineSamplesAreALatticeOfThreeByThree) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(36, 18);
    RectMesh::searchDivideByNTimes = 9;
    grid.nodes.clear();
    EXPECT_EQ(grid.getStartSearchPoint({18.0, 9.0, 0.0}), GridIndex(18, 9));
    std::vector<GridIndex> const expected{{18, 9}, {6, 3},  {18, 3}, {30, 3},  {6, 9},
                                          {18, 9}, {30, 9}, {6, 15}, {18, 15}, {30, 15}};
    EXPECT_EQ(grid.nodes, expected);
}

TEST_F(StartSearch, SampleInAHoleGetsFourLooksAroundIt) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    // Only the sample (10, 10) of the first pass falls into the hole.
    punchHole(grid, {9, 9}, {11, 11});
    grid.nodes.clear();
    EXPECT_EQ(grid.getStartSearchPoint({20.0, 20.0, 0.0}), GridIndex(20, 20));
    // The middle, the samples outside the hole, and then the looks around every sample.
    std::vector<GridIndex> const expected{{20, 20}, {30, 10}, {10, 30}, {30, 30}, {5, 5},   {15, 5}, {5, 15},
                                          {15, 15}, {25, 5},  {35, 5},  {25, 15}, {35, 15}, {5, 25}, {15, 25},
                                          {5, 35},  {15, 35}, {25, 25}, {35, 25}, {25, 35}, {35, 35}};
    EXPECT_EQ(grid.nodes, expected);
}

TEST_F(StartSearch, ExtraPassesAreTakenOnlyBeyondTwentyUnits) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    // With one sample, each pass looks at the middle again and finds nothing nearer.
    RectMesh::searchDivideByNTimes = 1;
    for (unsigned long const more : {0UL, 1UL, 3UL}) {
        RectMesh::setMaxDoNMoreTimes(more);
        grid.nodes.clear();
        EXPECT_EQ(grid.getStartSearchPoint({20.0, 20.0, 20.0}), GridIndex(20, 20));
        EXPECT_EQ(grid.nodes, std::vector<GridIndex>(2, {20, 20})) << "a squared distance of 400 is trusted";
        grid.nodes.clear();
        EXPECT_EQ(grid.getStartSearchPoint({20.0, 20.0, 20.001}), GridIndex(20, 20));
        EXPECT_EQ(grid.nodes, std::vector<GridIndex>(2 + more, {20, 20}));
    }
}

TEST_F(StartSearch, DescentsAgreeWithTheTwinForAllSettings) {
    std::mt19937 random(55);
    for (GridFamily const& family : gridFamiliesWithQuads(43)) {
        PlainSearch twin;
        twin.grid = plainGridOf(family.grid);
        for (std::uint32_t const samples : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 16U, 25U, 30U, 100U}) {
            for (std::uint32_t more = 0; more <= 5; ++more) {
                if ((samples == 2 || samples == 3) && more > 0) {
                    continue; // these can go on up to the limit, which has a test of its own
                }
                RectMesh::searchDivideByNTimes = samples;
                RectMesh::setMaxDoNMoreTimes(more);
                for (int i = 0; i < 6; ++i) {
                    SpacePoint const target{static_cast<double>(random() % 120) - 40.0,
                                            static_cast<double>(random() % 120) - 40.0,
                                            static_cast<double>(random() % 90) - 20.0};
                    PlainIndex const expected = twin.getStartSearchPoint(currentSettings(), plain(target));
                    ASSERT_EQ(plain(family.grid.getStartSearchPoint(target)), expected)
                        << family.name << ", " << samples << " samples, " << more;
                }
            }
        }
    }
}

TEST_F(StartSearch, DescentThatRepeatsItselfForEverIsCutOff) {
    // Two or three samples on a grid with holes: some of these targets never let the descent end by itself.
    constexpr std::uint32_t limit = 65536 + 25 + 25;
    RectMesh grid = wavyGrid(25, 25, 3.0);
    punchSpeckles(grid, 0.35, 47);
    std::mt19937 random(91);
    int cutOff = 0;
    for (int i = 0; i < 2000 && cutOff < 3; ++i) {
        RectMesh::searchDivideByNTimes = 2 + static_cast<std::uint32_t>(i) % 2;
        RectMesh::setMaxDoNMoreTimes(1 + random() % 5);
        SpacePoint const target{static_cast<double>(random() % 50) - 10.0,
                                static_cast<double>(random() % 50) - 10.0,
                                static_cast<double>(random() % 20)};
        std::uint32_t passes = 0;
        PlainIndex const expected = twinStart(grid, target, &passes);
        ASSERT_EQ(plain(grid.getStartSearchPoint(target)), expected);
        cutOff += passes == limit ? 1 : 0;
        // The limit is far above what a descent needs that ends by itself.
        ASSERT_TRUE(passes == limit || passes < limit / 100) << passes;
    }
    EXPECT_GT(cutOff, 0);
}

TEST_F(StartSearch, DescentByOneQuadAPassReachesTheEndOfALongGrid) {
    RectMesh const grid = flatGrid(200001, 2, 0.001);
    SpacePoint const target(199.0, 0.0, 0.0);
    for (unsigned long const more : {0UL, 1UL}) {
        RectMesh::searchDivideByNTimes = 1;
        RectMesh::setMaxDoNMoreTimes(more);
        std::uint32_t passes = 0;
        PlainIndex const expected = twinStart(grid, target, &passes);
        EXPECT_GT(passes, 65536U);
        GridIndex const start = grid.getStartSearchPoint(target);
        EXPECT_EQ(plain(start), expected);
        EXPECT_NEAR(start.getU(), 199000, 1);
    }
}

TEST_F(StartSearch, EndlessExtraPassesAreCutOffAfter65536AndOneARowAndColumn) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    RectMesh::setMaxDoNMoreTimes(0xFFFFFFFFUL);
    RectMesh::searchDivideByNTimes = 1;
    SpacePoint const target(20.0, 20.0, 1000.0);
    std::uint32_t passes = 0;
    PlainIndex const expected = twinStart(grid, target, &passes);
    constexpr std::uint32_t limit = 65536 + 40 + 40;
    EXPECT_EQ(passes, limit);
    grid.nodes.clear();
    EXPECT_EQ(plain(grid.getStartSearchPoint(target)), expected);
    // The middle at first, and then once in every pass.
    EXPECT_EQ(grid.nodes.size(), 1U + limit);
}

TEST_F(StartSearch, TargetThatIsNoNumberStaysInTheMiddle) {
    RectMesh const grid = flatGrid(20, 10);
    for (unsigned long const more : {0UL, 5UL}) {
        RectMesh::setMaxDoNMoreTimes(more);
        EXPECT_EQ(grid.getStartSearchPoint({std::nan(""), 0.0, 0.0}), GridIndex(10, 5));
    }
}

TEST_F(StartSearch, ColdQueryFromAStartOutsideTheGridIsWalkedFromTheNearestQuadInside) {
    // All but two quads are missing and the target is far: the escape ends on a sample that is no quad. A
    // few of the targets even end beyond the grid.
    RectMesh grid = flatGrid(9, 7, 30.0);
    punchHole(grid, {1, 0}, {9, 7});
    RectMesh::setMaxDoNMoreTimes(5);
    std::mt19937 random(3);
    SearchTwin pair(grid);
    int outside = 0;
    for (int i = 0; i < 3000; ++i) {
        RectMesh::searchDivideByNTimes = 1 + static_cast<std::uint32_t>(random() % 9);
        if (RectMesh::searchDivideByNTimes == 2 || RectMesh::searchDivideByNTimes == 3) {
            continue;
        }
        Beam const beam{SpacePoint{static_cast<double>(random() % 900) - 300.0,
                                   static_cast<double>(random() % 900) - 300.0, 40.0},
                        SpaceVector(0.0, 0.0, -1.0)};
        PlainIndex const start = pair.twin.getStartSearchPoint(currentSettings(), plain(beam.origin));
        outside += start.u < 0 || start.u >= 9 || start.v < 0 || start.v >= 7 ? 1 : 0;
        ASSERT_EQ(plain(grid.getStartSearchPoint(beam.origin)), start);
        ASSERT_TRUE(pair.agreesOn(beam, Query::StatusReset));
    }
    EXPECT_GT(outside, 0);
}

} // namespace QELT::Testing
