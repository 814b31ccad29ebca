#include "tests/search/searchtwin.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_stripes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Line = std::pair<GridIndex, GridIndex>;
using Node = std::pair<int, int>;
using Nodes = std::set<Node>;
using Cells = std::vector<PlainIndex>;

struct Outcome {
    bool result = false;
    unsigned long passes = 0;
    unsigned long failures = 0;
    std::vector<Line> failedLines;
};

Outcome runStripes(RectMesh& grid, unsigned long tests, double pitch, unsigned long elements) {
    Outcome run;
    run.result = grid.testArrayStripes(tests, pitch, elements, run.passes, run.failures, run.failedLines);
    return run;
}

std::pair<PlainIndex, PlainIndex> plainLine(Line const& line) {
    return {plain(line.first), plain(line.second)};
}

/// The corners of the quads.
void addCorners(Nodes& nodes, PlainIndex const& quad) {
    nodes.insert({{quad.u, quad.v}, {quad.u + 1, quad.v}, {quad.u, quad.v + 1}, {quad.u + 1, quad.v + 1}});
}

/// A grid that is not active, so that every beam fails without a look at the grid: what is read of it is what
/// the stripe test itself reads.
class BlindGrid : public NotingGrid {
public:
    explicit BlindGrid(RectMesh const& source) {
        RectMesh::operator=(source);
        setActivePositionFlags(0);
    }

    Nodes takeNodes() {
        Nodes result;
        for (GridIndex const& node : nodes) {
            result.insert({node.getU(), node.getV()});
        }
        nodes.clear();
        return result;
    }
};

class StripeTest : public SearchTest {
protected:
    StripeTest() { std::srand(12345); }
};

// The raster: the plain version is pinned by hand, the library is compared with it.

TEST(StripeRaster, APointHasNone) {
    EXPECT_TRUE(plainRaster({3, 4}, {3, 4}).empty());
}

TEST(StripeRaster, AxisParallelLines) {
    EXPECT_EQ(plainRaster({1, 2}, {4, 2}), (Cells{{1, 2}, {2, 2}, {3, 2}}));
    EXPECT_EQ(plainRaster({4, 2}, {1, 2}), (Cells{{1, 2}, {2, 2}, {3, 2}}));
    EXPECT_EQ(plainRaster({2, 1}, {2, 4}), (Cells{{2, 1}, {2, 2}, {2, 3}}));
    EXPECT_EQ(plainRaster({2, 4}, {2, 1}), (Cells{{2, 4}, {2, 3}, {2, 2}}));
}

TEST(StripeRaster, Diagonals) {
    EXPECT_EQ(plainRaster({0, 0}, {3, 3}), (Cells{{0, 0}, {1, 1}, {2, 2}}));
    EXPECT_EQ(plainRaster({3, 3}, {0, 0}), (Cells{{0, 0}, {1, 1}, {2, 2}}));
    EXPECT_EQ(plainRaster({0, 3}, {3, 0}), (Cells{{0, 3}, {1, 2}, {2, 1}}));
    EXPECT_EQ(plainRaster({3, 0}, {0, 3}), (Cells{{0, 3}, {1, 2}, {2, 1}}));
}

TEST(StripeRaster, FlatAndSteepLinesOfBothSigns) {
    EXPECT_EQ(plainRaster({0, 0}, {5, 2}), (Cells{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}}));
    EXPECT_EQ(plainRaster({0, 2}, {5, 0}), (Cells{{0, 2}, {1, 2}, {2, 1}, {3, 1}, {4, 0}}));
    EXPECT_EQ(plainRaster({0, 0}, {2, 5}), (Cells{{0, 0}, {0, 1}, {1, 2}, {1, 3}, {2, 4}}));
    EXPECT_EQ(plainRaster({0, 5}, {2, 0}), (Cells{{0, 5}, {0, 4}, {1, 3}, {1, 2}, {2, 1}}));
    // An error of 0 steps across at once.
    EXPECT_EQ(plainRaster({0, 0}, {4, 2}), (Cells{{0, 0}, {1, 1}, {2, 1}, {3, 2}}));
    EXPECT_EQ(plainRaster({0, 0}, {2, 4}), (Cells{{0, 0}, {1, 1}, {1, 2}, {2, 3}}));
}

TEST_F(StripeTest, WalksTheRasterOfEverySlopeWithoutItsLastCell) {
    BlindGrid grid(wavyGrid(8, 9, 1.0));
    Nodes slopes;
    bool wasDrawnLeftward = false;
    for (int i = 0; i < 6000; ++i) {
        Outcome const run = runStripes(grid, 1, 0.5, 1);
        Nodes const read = grid.takeNodes();
        if (run.failedLines.empty()) {
            EXPECT_TRUE(read.empty()) << "a line of two cells fires nothing";
            continue;
        }
        auto const [a, b] = plainLine(run.failedLines.front());
        Cells const cells = plainRaster(a, b);
        ASSERT_GE(cells.size(), 3U);
        ASSERT_EQ(run.failures, cells.size() - 2);
        Nodes expected;
        for (std::size_t k = 0; k + 1 < cells.size(); ++k) {
            addCorners(expected, cells[k]);
        }
        ASSERT_EQ(read, expected) << "from " << a.u << ", " << a.v << " to " << b.u << ", " << b.v;
        slopes.insert(Node(b.u - a.u, b.v - a.v));
        wasDrawnLeftward = wasDrawnLeftward || b.u < a.u;
    }
    EXPECT_TRUE(wasDrawnLeftward) << "the failed lines hold the ends as drawn";
    for (int dU = -4; dU <= 4; ++dU) {
        for (int dV = -5; dV <= 5; ++dV) {
            if (std::abs(dU) >= 3 || std::abs(dV) >= 3) {
                EXPECT_TRUE(slopes.contains({dU, dV})) << dU << ", " << dV;
            }
        }
    }
}

// The array

/// What one line along u, drawn to the right or to the left, reads of the grid: the rows of its quads.
std::pair<int, int> rowsBesideLine(unsigned long elements, double pitch, bool isDrawnRightward) {
    BlindGrid grid(flatGrid(9, 13));
    for (int i = 0; i < 20000; ++i) {
        Outcome const run = runStripes(grid, 1, pitch, elements);
        Nodes const read = grid.takeNodes();
        if (run.failedLines.empty()) {
            continue;
        }
        auto const [a, b] = plainLine(run.failedLines.front());
        if (a.v != b.v || (a.u < b.u) != isDrawnRightward) {
            continue;
        }
        int low = 100;
        int high = -100;
        for (Node const& node : read) {
            low = std::min(low, node.second);
            high = std::max(high, node.second);
        }
        return {low - a.v, high - 1 - a.v};
    }
    ADD_FAILURE() << "no such line was drawn";
    return {};
}

TEST_F(StripeTest, OneElementFollowsTheLine) {
    EXPECT_EQ(rowsBesideLine(1, 1.0, true), std::pair(0, 0));
    EXPECT_EQ(rowsBesideLine(1, 7.0, true), std::pair(0, 0));
}

TEST_F(StripeTest, FourElementsReachFromMinusTwoToPlusOne) {
    // Offsets of -10, -5, 0 and 5 fourths of a row, cut toward the line.
    EXPECT_EQ(rowsBesideLine(4, 1.0, true), std::pair(-2, 1));
    EXPECT_EQ(rowsBesideLine(4, 1.0, false), std::pair(-1, 2));
}

TEST_F(StripeTest, OffsetsAreCutTowardTheLine) {
    // A span of one: -2 to 1 fourths.
    EXPECT_EQ(rowsBesideLine(4, 0.0, true), std::pair(0, 0));
    // A span of four (3.96 cut, and one): -2 to 1 rows; just short of it, 3: -6 to 3 fourths.
    EXPECT_EQ(rowsBesideLine(4, 0.99, true), std::pair(-2, 1));
    EXPECT_EQ(rowsBesideLine(4, 0.74, true), std::pair(-1, 0));
}

TEST_F(StripeTest, ThreeElementsStandEvenly) {
    // A span of seven: -7, 0 and 7 thirds.
    EXPECT_EQ(rowsBesideLine(3, 2.0, true), std::pair(-2, 2));
    EXPECT_EQ(rowsBesideLine(3, 2.0, false), std::pair(-2, 2));
}

// Results and counters

TEST_F(StripeTest, NoTestReportsWhetherThereWereFailedLines) {
    RectMesh grid = flatGrid(10, 10);
    unsigned long passes = 7;
    unsigned long failures = 9;
    std::vector<Line> failedLines;
    std::srand(4);
    int const next = std::rand();
    std::srand(4);
    EXPECT_TRUE(grid.testArrayStripes(0, 1.0, 4, passes, failures, failedLines));
    failedLines.emplace_back(GridIndex(1, 2), GridIndex(3, 4));
    EXPECT_FALSE(grid.testArrayStripes(0, 1.0, 4, passes, failures, failedLines));
    EXPECT_EQ(passes, 7U);
    EXPECT_EQ(failures, 9U);
    EXPECT_EQ(failedLines.size(), 1U);
    EXPECT_EQ(std::rand(), next) << "nothing was drawn";
}

TEST_F(StripeTest, CountersAndLinesAreAddedTo) {
    RectMesh grid = wavyGrid(30, 30, 1.0);
    unsigned long passes = 1000;
    unsigned long failures = 500;
    std::vector<Line> failedLines{{GridIndex(1, 2), GridIndex(3, 4)}};
    EXPECT_FALSE(grid.testArrayStripes(3, 1.0, 2, passes, failures, failedLines)) << "a line from before";
    EXPECT_GT(passes, 1000U);
    EXPECT_EQ(failures, 500U);
    EXPECT_EQ(failedLines.size(), 1U);
}

TEST_F(StripeTest, OnAWavyGridAllBeamsPass) {
    RectMesh grid = wavyGrid(60, 50, 2.0);
    PlainGrid const before = plainGridOf(grid);
    Outcome const run = runStripes(grid, 50, 1.0, 4);
    EXPECT_TRUE(run.result);
    EXPECT_GT(run.passes, 2000U);
    EXPECT_EQ(run.failures, 0U);
    EXPECT_TRUE(sameNodes(grid, before));
    EXPECT_FALSE(grid.doResetSearch) << "the search is warm afterwards";
}

TEST_F(StripeTest, OnAFlatRegularGridAllBeamsAlongTheAxesPass) {
    // A single row or column of quads leaves no other lines.
    for (RectMesh grid : {flatGrid(60, 1), flatGrid(1, 60), flatGrid(1, 60, 0.3), flatGrid(60, 1, 7.0)}) {
        Outcome const run = runStripes(grid, 40, 1.0, 1);
        EXPECT_TRUE(run.result);
        EXPECT_GT(run.passes, 200U);
        EXPECT_EQ(run.failures, 0U);
        EXPECT_TRUE(run.failedLines.empty());
    }
}

/// Where a line steps along the diagonal of the quads, the quarter of a quad moves the beam along it, and a
/// beam exactly on it is in neither triangle. All other beams of a flat regular grid pass.
TEST_F(StripeTest, OnAFlatRegularGridBeamsFailExactlyOnTheQuadsDiagonals) {
    RectMesh grid = flatGrid(100, 80);
    unsigned long hitOffDiagonal = 0;
    unsigned long missedOnDiagonal = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        PlainSearch search;
        search.grid = plainGridOf(grid);
        std::srand(seed);
        PlainStripeRun const expected =
            plainStripes(search, currentSettings(), grid.getMinQuadArea(), 15, 1.0, 4);
        for (PlainShot const& shot : expected.shots) {
            PlainVector const inQuad = plainDifference(shot.origin, search.grid.getPoint(shot.cell));
            bool const isOnDiagonal = inQuad.x == inQuad.y;
            ASSERT_EQ(shot.didPass, !isOnDiagonal) << shot.cell.u << ", " << shot.cell.v;
            if (isOnDiagonal) {
                ASSERT_EQ(shot.next, (shot.at + PlainIndex{1, 1})) << "only steps along it lead there";
            }
            ++(isOnDiagonal ? missedOnDiagonal : hitOffDiagonal);
        }
        grid.resetQuadIndicesSearch();
        std::srand(seed);
        Outcome const run = runStripes(grid, 15, 1.0, 4);
        EXPECT_EQ(run.passes, expected.numberOfPasses);
        EXPECT_EQ(run.failures, expected.numberOfFailures);
        EXPECT_EQ(run.failedLines.size(), expected.failedLines.size());
        EXPECT_EQ(run.result, expected.failedLines.empty());
    }
    EXPECT_GT(hitOffDiagonal, 5000U);
    EXPECT_GT(missedOnDiagonal, 100U);
}

TEST_F(StripeTest, WithAnOffsetEveryBeamFails) {
    RectMesh grid = wavyGrid(40, 30, 1.0);
    grid.setOffset({1, 0});
    Outcome const run = runStripes(grid, 20, 1.0, 3);
    EXPECT_FALSE(run.result);
    EXPECT_EQ(run.passes, 0U);
    EXPECT_GT(run.failures, 300U);
    EXPECT_GE(run.failedLines.size(), 15U);
}

TEST_F(StripeTest, WithAFlippedAxisEveryBeamFails) {
    // Even extents have no quad that is its own image.
    for (bool const isFlipU : {true, false}) {
        RectMesh grid = wavyGrid(40, 30, 1.0);
        grid.setAxisFlipFlags(isFlipU, !isFlipU);
        Outcome const run = runStripes(grid, 20, 1.0, 3);
        EXPECT_EQ(run.passes, 0U);
        EXPECT_GT(run.failures, 300U);
    }
}

TEST_F(StripeTest, AnInactivePositionFailsEveryBeam) {
    RectMesh grid = wavyGrid(40, 30, 1.0);
    grid.setActivePositionFlags(2);
    Outcome const run = runStripes(grid, 10, 1.0, 2);
    EXPECT_EQ(run.passes, 0U);
    EXPECT_GT(run.failures, 100U);
    EXPECT_TRUE(grid.doResetSearch);
}

TEST_F(StripeTest, LinesOfTwoCellsFireNothingAndCountAsPassed) {
    RectMesh grid = flatGrid(3, 1);
    grid.setOffset({1, 1});
    Outcome const run = runStripes(grid, 50, 1.0, 1);
    EXPECT_TRUE(run.result);
    EXPECT_EQ(run.passes, 0U);
    EXPECT_EQ(run.failures, 0U);
}

TEST_F(StripeTest, WithoutQuadsAlongAnAxisNothingIsTested) {
    for (RectMesh grid : {wavyGrid(12, 0, 1.0), wavyGrid(0, 12, 1.0), flatGrid(0, 0), RectMesh()}) {
        Outcome const run = runStripes(grid, 10, 1.0, 2);
        EXPECT_TRUE(run.result);
        EXPECT_EQ(run.passes, 0U);
        EXPECT_EQ(run.failures, 0U);
    }
}

TEST_F(StripeTest, ACorruptedQuadFailsItsLines) {
    // A spike: the beams that stand beside it are met by its flanks.
    RectMesh grid = wavyGrid(30, 30, 1.0);
    grid.setPoint({15, 15}, SpacePoint(18.0, 17.0, 8.0));
    settle(grid);
    Outcome const run = runStripes(grid, 60, 1.0, 4);
    EXPECT_FALSE(run.result);
    EXPECT_GT(run.failures, 0U);
    EXPECT_GT(run.passes, run.failures);
    EXPECT_LT(run.failedLines.size(), 60U);
    EXPECT_FALSE(run.failedLines.empty());
}

// Against the plain version

/// Runs both from the same state of `rand` and compares everything they tell, keep and draw.
void expectSameRun(RectMesh& grid, unsigned seed, std::uint32_t tests, double pitch, std::uint32_t elements) {
    SearchTwin twin(grid);
    std::srand(seed);
    PlainStripeRun const expected =
        plainStripes(twin.twin, currentSettings(), grid.getMinQuadArea(), tests, pitch, elements);
    int const expectedNext = std::rand();
    std::srand(seed);
    Outcome const run = runStripes(grid, tests, pitch, elements);
    EXPECT_EQ(std::rand(), expectedNext) << "another number of draws";
    EXPECT_EQ(run.passes, expected.numberOfPasses);
    EXPECT_EQ(run.failures, expected.numberOfFailures);
    EXPECT_EQ(run.result, expected.failedLines.empty());
    ASSERT_EQ(run.failedLines.size(), expected.failedLines.size());
    for (std::size_t i = 0; i < run.failedLines.size(); ++i) {
        EXPECT_EQ(plainLine(run.failedLines[i]), expected.failedLines[i]);
    }
    EXPECT_EQ(grid.doResetSearch, twin.twin.doResetSearch);
    EXPECT_EQ(plain(grid.lastQuadIndices), twin.twin.lastQuadIndices);
}

std::vector<GridFamily> stripeFamilies() {
    std::vector<GridFamily> families = gridFamiliesWithQuads(70);
    // The others have too little room for an array, or quads of no area, which make the array's span endless.
    std::erase_if(families, [](GridFamily& family) {
        auto const extents = family.grid.getExtents();
        return extents.getdU() < 12U || extents.getdV() < 12U || !(family.grid.getMinQuadArea() > 0.0) ||
               family.name == "wavy with dense speckles";
    });
    return families;
}

TEST_F(StripeTest, SameAsThePlainVersionOverFamilies) {
    std::vector<GridFamily> families = stripeFamilies();
    EXPECT_GE(families.size(), 10U);
    for (GridFamily& family : families) {
        double const side = std::sqrt(family.grid.getMinQuadArea());
        for (std::uint32_t elements = 1; elements <= 5; ++elements) {
            for (double const pitch : {0.0, 0.4, 1.0}) {
                SCOPED_TRACE(family.name + ", " + std::to_string(elements) + " at " + std::to_string(pitch));
                expectSameRun(family.grid, 100U + elements, 4, pitch * side, elements);
            }
        }
    }
}

TEST_F(StripeTest, SameAsThePlainVersionWithOtherSettings) {
    RectMesh grid = wavyGrid(50, 41, 6.0);
    for (int mode = 0; mode <= 3; ++mode) {
        setQualityMode(mode);
        expectSameRun(grid, 5, 6, 1.0, 3);
        QuadIntersectionData::isEnableFlipAngle = !QuadIntersectionData::isEnableFlipAngle;
    }
    QuadIntersectionData::isEnableFlipAngle = false;
    setQualityMode(0);
    grid.setDoFlipNormals(true);
    expectSameRun(grid, 6, 6, 1.0, 3);
    grid.setOffset({2, -1});
    grid.setAxisFlipFlags(true, false);
    expectSameRun(grid, 7, 6, 1.0, 3);
}

TEST_F(StripeTest, SameAsThePlainVersionOnAGridThatShowsOtherPoints) {
    ShearedGrid grid;
    grid.RectMesh::operator=(spherePatchGrid(30, 26, 40.0));
    settle(grid);
    expectSameRun(grid, 8, 10, 1.0, 4);
}

TEST_F(StripeTest, SameAsThePlainVersionOnQuadsWithoutArea) {
    RectMesh grid = degenerateGrid(20, 20, 5);
    ASSERT_EQ(grid.getMinQuadArea(), 0.0);
    // One element stays on the line whatever the span.
    expectSameRun(grid, 9, 15, 1.0, 1);
}

TEST_F(StripeTest, ArgumentsAreTakenInThirtyTwoBits) {
    if (sizeof(unsigned long) == 4) {
        GTEST_SKIP() << "there are no more bits here";
    }
    RectMesh grid = wavyGrid(30, 30, 1.0);
    unsigned long const beyond = 1UL << 31U << 1U;
    std::srand(3);
    Outcome const narrow = runStripes(grid, 2, 1.0, 3);
    grid.resetQuadIndicesSearch();
    std::srand(3);
    Outcome const wide = runStripes(grid, beyond + 2, 1.0, beyond + 3);
    EXPECT_EQ(wide.passes, narrow.passes);
    EXPECT_GT(wide.passes, 0U);
}

} // namespace
} // namespace QELT::Testing
