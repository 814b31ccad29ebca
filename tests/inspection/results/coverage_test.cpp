#include "Inspection/results/coverage.h"

#include "Inspection/records/failure.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

void reach(Result& result, std::size_t u, std::size_t v) {
    result.states[result.indexOf(u, v)] = PixelState::Echo;
}

/// A plane of which lines along u, every third, were shot.
Result linesApart() {
    Result result = surfaceOn(40, 40, flat(0.5));
    for (std::size_t v = 0; v < 40; v += 3) {
        for (std::size_t u = 0; u < 40; ++u) {
            reach(result, u, v);
        }
    }
    return result;
}

/// A plane that was shot everywhere but in a rectangle.
Result allBut(std::size_t left, std::size_t bottom, std::size_t width, std::size_t height) {
    Result result = surfaceOn(40, 30, flat(0.5));
    for (std::size_t v = 0; v < 30; ++v) {
        for (std::size_t u = 0; u < 40; ++u) {
            if (u < left || u >= left + width || v < bottom || v >= bottom + height) {
                reach(result, u, v);
            }
        }
    }
    return result;
}

} // namespace

TEST(Coverage, areasAreThoseOfTheQuads) {
    // Columns twice as wide as the one before.
    Result result = surfaceOn(3, 1, [](double u, double v) { return Vector(std::exp2(u) - 1.0, v, 0.0); });
    reach(result, 2, 0);
    result.states[1] = PixelState::NoEcho;

    Coverage const coverage = coverageOf(result);

    EXPECT_DOUBLE_EQ(7.0, coverage.surfaceArea);
    EXPECT_DOUBLE_EQ(6.0, coverage.reachedArea);
    EXPECT_DOUBLE_EQ(6.0 / 7.0, coverage.reachedShare());
    EXPECT_DOUBLE_EQ(2.0, coverage.areas[static_cast<std::size_t>(PixelState::NoEcho)]);
    EXPECT_EQ(1u, coverage.pixels[static_cast<std::size_t>(PixelState::Echo)]);
}

TEST(Coverage, refusedPixelsAreNotReached) {
    Result result = surfaceOn(2, 1, flat(1.0));
    reach(result, 0, 0);
    result.states[1] = PixelState::Refused;

    EXPECT_DOUBLE_EQ(0.5, coverageOf(result).reachedShare());
}

TEST(Coverage, theGapOfARasterOfLinesIsTheirDistance) {
    Coverage const coverage = coverageOf(linesApart());

    EXPECT_NEAR(1.5, coverage.typicalGap, 1e-6);
    EXPECT_NEAR(1.5, coverage.longestGap, 1e-6);
    EXPECT_EQ(0u, coverage.patchCount);
}

TEST(Coverage, twoLinesLeftOutAreNamedAtTheirPlace) {
    Result result = linesApart();
    for (std::size_t u = 0; u < 40; ++u) {
        result.states[result.indexOf(u, 18)] = PixelState::NotReached;
        result.states[result.indexOf(u, 21)] = PixelState::NotReached;
    }
    result.move = {100.0, 0.0, 0.0};

    Coverage const coverage = coverageOf(result);

    EXPECT_NEAR(4.5, coverage.longestGap, 1e-6);
    ASSERT_EQ(1u, coverage.patchCount);
    EXPECT_EQ(8u * 40u, coverage.patches[0].pixelCount);
    EXPECT_NEAR(8.0 * 40.0 * 0.25, coverage.patches[0].area, 1e-6);
    EXPECT_NEAR(19.5, static_cast<double>(coverage.patches[0].v), 0.51);
    EXPECT_NEAR(0.5 * (static_cast<double>(coverage.patches[0].u) + 0.5) - 100.0,
                coverage.patches[0].place[0], 1e-5);
}

TEST(Coverage, aPatchThatWasNotReachedIsNamedAtItsPlace) {
    Coverage const coverage = coverageOf(allBut(10, 5, 10, 10));

    EXPECT_EQ(0.0, coverage.typicalGap);
    EXPECT_NEAR(5.5, coverage.longestGap, 1e-6) << "from centre to centre of the pixels around";
    ASSERT_EQ(1u, coverage.patchCount);
    EXPECT_NEAR(25.0, coverage.patches[0].area, 1e-6);
    EXPECT_NEAR(14.5, static_cast<double>(coverage.patches[0].u), 0.51);
    EXPECT_NEAR(9.5, static_cast<double>(coverage.patches[0].v), 0.51);
}

TEST(Coverage, aGapAtTheRimEndsThere) {
    Coverage const coverage = coverageOf(allBut(36, 0, 4, 30));

    EXPECT_NEAR(0.25 + 2.0, coverage.longestGap, 1e-6);
}

TEST(Coverage, aHoleIsNoGap) {
    Result result = allBut(10, 5, 10, 10);
    for (PixelState& state : result.states) {
        state = state == PixelState::NotReached ? PixelState::NoSurface : state;
    }

    EXPECT_EQ(0.0, coverageOf(result).longestGap);
    EXPECT_DOUBLE_EQ(1.0, coverageOf(result).reachedShare());
}

TEST(Coverage, onlyGapsOverTheOneRequiredArePatches) {
    EXPECT_EQ(1u, coverageOf(allBut(10, 5, 10, 10), 5.0).patchCount);
    EXPECT_EQ(0u, coverageOf(allBut(10, 5, 10, 10), 5.6).patchCount);
}

TEST(Coverage, nothingReachedIsOnePatch) {
    Coverage const coverage = coverageOf(surfaceOn(4, 3, flat(1.0)));

    EXPECT_EQ(0.0, coverage.reachedShare());
    EXPECT_NEAR(3.0, coverage.longestGap, 1e-6) << "from rim to rim, the shorter way";
    EXPECT_EQ(0u, coverageOf(surfaceOn(0, 0, flat(1.0))).patchCount);
}

TEST(TornShare, isOneForLinesApartAndNothingOnceTheyAreFilled) {
    Result result = linesApart();
    EXPECT_EQ(1.0, tornShare(result, false));
    EXPECT_EQ(1.0, tornShare(result, true));
    fill(result, 1.5);
    EXPECT_EQ(1.0, tornShare(result, false));
    EXPECT_EQ(0.0, tornShare(result, true));
}

TEST(TornShare, countsThePixelsAroundAPatchAlone) {
    Result const result = allBut(10, 10, 5, 4);
    EXPECT_EQ(18.0 / (40.0 * 30.0 - 20.0), tornShare(result, true));
}

TEST(TornShare, isNothingWhereNothingWasMeasured) {
    EXPECT_EQ(0.0, tornShare(surfaceOn(5, 4, flat(1.0)), false));
}

TEST(Fill, eachPixelTakesTheNearestThatWasReached) {
    Result result = surfaceOn(9, 1, flat(1.0));
    reach(result, 0, 0);
    reach(result, 6, 0);

    fill(result, 2.0);

    std::uint32_t const none = Result::none;
    EXPECT_EQ((std::vector<std::uint32_t>{none, 0, 0, none, 6, 6, none, 6, 6}), result.filledFrom);
    EXPECT_EQ(PixelState::NotReached, result.states[1]) << "it stays what it is";
}

TEST(Fill, runsAlongTheSurfaceAndNotThroughHoles) {
    Result result = surfaceOn(5, 1, flat(1.0));
    reach(result, 0, 0);
    result.states[2] = PixelState::NoSurface;

    fill(result, 100.0);

    EXPECT_EQ(0u, result.filledFrom[1]);
    EXPECT_EQ(Result::none, result.filledFrom[3]);
}

TEST(Fill, aDistanceThatIsNoneIsRefused) {
    Result result = surfaceOn(5, 1, flat(1.0));

    EXPECT_THROW(fill(result, 0.0), Failure);
    EXPECT_THROW(fill(result, std::numeric_limits<double>::quiet_NaN()), Failure);
}

TEST(Coverage, aMissedColumnThatCrossesMissedLinesMakesThemNoLonger) {
    Result result = linesApart();
    for (std::size_t i = 0; i < 40; ++i) {
        result.states[result.indexOf(i, 18)] = PixelState::NotReached;
        result.states[result.indexOf(20, i)] = PixelState::NotReached;
    }

    Coverage const coverage = coverageOf(result);

    // Along the column nothing was reached for 20; what fits between the lines at the crossing is 3.2 across.
    EXPECT_GE(coverage.longestGap, 3.0);
    EXPECT_LT(coverage.longestGap, 4.0);
    ASSERT_EQ(1u, coverage.patchCount);
    EXPECT_EQ(coverage.longestGap, coverage.patches[0].gap);
}
