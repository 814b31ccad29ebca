#include "Geometry/quadmesh/linearscalerectmesh.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_extension.h"
#include "tests/support/recordinglistener.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::Basic;
using Geometry::ThreeDimensional::QuadMesh::BoundaryExtensionAlgorithm;
using Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh;
using SpaceVector = Geometry::ThreeDimensional::Vector;
using Events = std::vector<std::string>;

constexpr char valid = 1;
constexpr char interior = 2;
constexpr char cutBoundary = 1 | 4 | 16;

char const* const extendingText = "Extending quad-mesh boundary...";

PlainPoint plainSheared(PlainPoint const& p) {
    double const x = p.x;
    double const y = p.y;
    double const z = p.z;
    return {plainNarrowed(1.5 * x + 0.25 * z - 3.0), plainNarrowed(y - 0.5 * x),
            plainNarrowed(0.75 * z + 0.125 * y + 7.0)};
}

testing::AssertionResult samePoint(SpacePoint const& actual, SpacePoint const& expected) {
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "(" << actual.getX() << ", " << actual.getY() << ", " << actual.getZ() << "), not ("
           << expected.getX() << ", " << expected.getY() << ", " << expected.getZ() << ")";
}

void setFlags(RectMesh& grid, std::vector<GridIndex> const& nodes, char flagByte) {
    for (GridIndex const& node : nodes) {
        grid.setPointFlags(node, flagByte);
    }
}

/// A flat grid of which the outermost `rim` nodes on every side are not valid.
RectMesh flatGridWithRim(std::uint32_t extentU, std::uint32_t extentV, int rim) {
    RectMesh grid = flatGrid(extentU, extentV);
    for (int v = 0; v <= static_cast<int>(extentV); ++v) {
        for (int u = 0; u <= static_cast<int>(extentU); ++u) {
            bool const isInside = u >= rim && u <= static_cast<int>(extentU) - rim && v >= rim &&
                                  v <= static_cast<int>(extentV) - rim;
            if (!isInside) {
                grid.setPointFlags({u, v}, 0);
                grid.points[v][static_cast<std::size_t>(u)] = SpacePoint();
            }
        }
    }
    settle(grid);
    return grid;
}

/// Nodes with u < 3 or v < 3 of six by six, at heights that are squares and products, the others never set.
RectMesh lShapedGrid() {
    RectMesh grid;
    grid.init({5, 5});
    for (int v = 0; v <= 5; ++v) {
        for (int u = 0; u <= 5; ++u) {
            if (u < 3 || v < 3) {
                grid.setPoint({u, v}, SpacePoint(u, v, 6.0 * u * u + 12.0 * u * v + 18.0 * v * v * v));
            }
        }
    }
    settle(grid);
    return grid;
}

/// 2a - b of two nodes.
SpaceVector ahead(RectMesh const& grid, GridIndex const& base, GridIndex const& behind) {
    SpaceVector const a = grid.getPoint(base) - SpacePoint();
    SpaceVector const b = grid.getPoint(behind) - SpacePoint();
    return 2.0 * a - b;
}

SpacePoint meanOf(std::vector<SpaceVector> const& values) {
    SpaceVector sum;
    for (SpaceVector const& value : values) {
        sum += value;
    }
    return SpacePoint() + sum / static_cast<double>(values.size());
}

TEST(BoundaryExtension, NoPassReportsTheTextAndAHundredAndChangesNothing) {
    RectMesh grid = wavyGrid(9, 7, 1.0);
    punchMiddle(grid);
    PlainGrid const before = plainGridOf(grid);
    PlainAreas const areas{grid.getMaxQuadArea(), grid.getMeanQuadArea(), grid.getMinQuadArea()};
    grid.doResetSearch = false;
    grid.lastQuadIndices = {1, 2};
    RecordingListener listener;
    grid.setProgressListener(&listener);

    grid.extendBoundary(Basic, 0, 3);

    EXPECT_EQ(listener.events, (Events{extendingText, "100%"}));
    EXPECT_TRUE(sameNodes(grid, before));
    EXPECT_TRUE(sameAreas(grid, areas));
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(1, 2));
}

TEST(BoundaryExtension, NoPassOnAGridWithoutABoundaryIsNoError) {
    RectMesh grid = flatGrid(4, 0);
    EXPECT_NO_THROW(grid.extendBoundary(Basic, 0, 0));
    RectMesh empty;
    EXPECT_NO_THROW(empty.extendBoundary(Basic, 0, 1));
}

TEST(BoundaryExtension, ReportsTheShareOfPassesBeforeEach) {
    RectMesh grid = flatGridWithRim(8, 8, 2);
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.extendBoundary(Basic, 3, 1);
    EXPECT_EQ(listener.events, (Events{extendingText, "0%", "33%", "66%", "100%"}));

    listener.events.clear();
    grid.extendBoundary(Basic, 1, 0);
    EXPECT_EQ(listener.events, (Events{extendingText, "0%", "100%"}));
}

TEST(BoundaryExtension, ReportsEveryPassAlsoWhenThePercentageStays) {
    RectMesh grid = flatGrid(1, 1);
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.extendBoundary(Basic, 120, 0);
    ASSERT_EQ(listener.percentages.size(), 121U);
    for (unsigned long i = 0; i <= 120; ++i) {
        EXPECT_EQ(listener.percentages[i], 100 * i / 120);
    }
}

TEST(BoundaryExtension, UnknownAlgorithmIsRefusedBeforeAnythingIsReported) {
    RectMesh grid = flatGridWithRim(5, 5, 1);
    PlainGrid const before = plainGridOf(grid);
    RecordingListener listener;
    grid.setProgressListener(&listener);
    for (int const value : {1, -1, 77}) {
        EXPECT_EQ(
            messageOf([&] { grid.extendBoundary(static_cast<BoundaryExtensionAlgorithm>(value), 2, 1); }),
            "Unsupported boundary extension algorithm.");
        EXPECT_EQ(
            messageOf([&] { grid.extendBoundary(static_cast<BoundaryExtensionAlgorithm>(value), 0, 0); }),
            "Unsupported boundary extension algorithm.");
    }
    EXPECT_TRUE(listener.events.empty());
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST(BoundaryExtension, ExtentsGrowByTwoAndOldNodesMoveByOneEachPass) {
    for (GridFamily& family : gridFamiliesWithQuads(11)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 5);
        PlainGrid const before = plainGridOf(family.grid);
        if (!before.getBoundaryEdge()) {
            continue;
        }
        constexpr int passes = 2;
        family.grid.extendBoundary(Basic, passes, 0);
        ASSERT_EQ(family.grid.getExtents().getdU(), before.highestU + 2U * passes);
        ASSERT_EQ(family.grid.getExtents().getdV(), before.highestV + 2U * passes);
        for (int v = 0; v <= static_cast<int>(before.highestV); ++v) {
            for (int u = 0; u <= static_cast<int>(before.highestU); ++u) {
                if (!before.getIsPointValid({u, v})) {
                    continue;
                }
                GridIndex const moved(u + passes, v + passes);
                PlainPoint const point = before.getPoint({u, v});
                EXPECT_EQ(family.grid.getPoint(moved), SpacePoint(point.x, point.y, point.z));
                EXPECT_EQ(static_cast<unsigned char>(family.grid.getPointFlags(moved)),
                          before.flags[before.getNode({u, v})]);
            }
        }
    }
}

TEST(BoundaryExtension, ContinuesAPlaneExactly) {
    RectMesh grid = flatGridWithRim(9, 7, 2);
    grid.extendBoundary(Basic, 1, 0);
    // Valid were 2..7 x 2..5, with the corners of the ring now too, all one step on.
    for (int v = 0; v <= 9; ++v) {
        for (int u = 0; u <= 11; ++u) {
            bool const isExpected = u >= 2 && u <= 9 && v >= 2 && v <= 7;
            ASSERT_EQ(grid.getIsPointValid({u, v}), isExpected) << u << ", " << v;
            if (isExpected) {
                EXPECT_TRUE(samePoint(grid.getPoint({u, v}), SpacePoint(u - 1.0, v - 1.0, 0.0)));
            }
        }
    }
    EXPECT_EQ(grid.getMeanQuadArea(), 1.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 1.0);
}

TEST(BoundaryExtension, KeepsTheMeanAreaOfATiltedPlaneUpToRounding) {
    RectMesh grid = tiltedPlaneGrid(14, 12);
    double const area = grid.getMeanQuadArea();
    grid.extendBoundary(Basic, 4, 3);
    EXPECT_NEAR(grid.getMeanQuadArea(), area, 1e-5);
    EXPECT_NEAR(grid.getMinQuadArea(), area, 1e-5);
    EXPECT_NEAR(grid.getMaxQuadArea(), area, 1e-5);
    EXPECT_TRUE(grid.getIsQuadValid({1, 1}));
}

TEST(BoundaryExtension, ALoneQuadGrowsStraightOnAndAlongItsDiagonals) {
    RectMesh grid;
    grid.init({3, 3});
    grid.setPoint({1, 1}, SpacePoint(1, 1, 3));
    grid.setPoint({2, 1}, SpacePoint(2, 1, 5));
    grid.setPoint({1, 2}, SpacePoint(1, 2, 11));
    grid.setPoint({2, 2}, SpacePoint(2, 2, 40));
    settle(grid);
    RectMesh const before = grid;
    grid.extendBoundary(Basic, 1, 0);
    auto const expectNode = [&](GridIndex const& node, GridIndex const& base, GridIndex const& behind) {
        GridIndex const moved(node.getU() + 1, node.getV() + 1);
        EXPECT_EQ(grid.getPointFlags(moved), valid);
        EXPECT_TRUE(samePoint(grid.getPoint(moved), meanOf({ahead(before, base, behind)})));
    };
    expectNode({1, 0}, {1, 1}, {1, 2});
    expectNode({2, 0}, {2, 1}, {2, 2});
    expectNode({3, 1}, {2, 1}, {1, 1});
    expectNode({0, 2}, {1, 2}, {2, 2});
    expectNode({0, 0}, {1, 1}, {2, 2});
    expectNode({3, 0}, {2, 1}, {1, 2});
    expectNode({3, 3}, {2, 2}, {1, 1});
    expectNode({0, 3}, {1, 2}, {2, 1});
}

TEST(BoundaryExtension, BesideAStraightBoundaryEachOfTheFourCasesGivesAValue) {
    RectMesh grid;
    grid.init({6, 3});
    for (int v = 1; v <= 3; ++v) {
        for (int u = 0; u <= 6; ++u) {
            grid.setPoint({u, v}, SpacePoint(u, v, 4.0 * u * u * v + 8.0 * v * v));
        }
    }
    settle(grid);
    // Straight on as the end of one edge and the start of the next, then over the corners from either side.
    SpacePoint const expected = meanOf({ahead(grid, {3, 1}, {3, 2}), ahead(grid, {3, 1}, {3, 2}),
                                        ahead(grid, {2, 1}, {1, 2}), ahead(grid, {4, 1}, {5, 2})});
    grid.extendBoundary(Basic, 1, 0);
    EXPECT_EQ(grid.getPointFlags({4, 1}), valid);
    EXPECT_TRUE(samePoint(grid.getPoint({4, 1}), expected));
}

TEST(BoundaryExtension, AnInnerCornerBecomesTheMeanOfAllThatReachIt) {
    RectMesh grid = lShapedGrid();
    // Across from both edges that end and begin at (2, 2), each edge's other neighbour, and over the corner
    // from the edges after those.
    SpacePoint const expected =
        meanOf({ahead(grid, {3, 2}, {3, 1}), ahead(grid, {3, 2}, {3, 1}), ahead(grid, {4, 2}, {5, 1}),
                ahead(grid, {2, 3}, {1, 3}), ahead(grid, {2, 3}, {1, 3}), ahead(grid, {2, 4}, {1, 5})});
    grid.extendBoundary(Basic, 1, 0);
    EXPECT_EQ(grid.getPointFlags({4, 4}), valid);
    EXPECT_TRUE(samePoint(grid.getPoint({4, 4}), expected));
}

TEST(BoundaryExtension, ACutBaseGivesNothing) {
    RectMesh grid = lShapedGrid();
    SpacePoint const expected = meanOf({ahead(grid, {4, 2}, {5, 1}), ahead(grid, {2, 3}, {1, 3}),
                                        ahead(grid, {2, 3}, {1, 3}), ahead(grid, {2, 4}, {1, 5})});
    grid.setPointFlags({3, 2}, cutBoundary);
    grid.extendBoundary(Basic, 1, 0);
    EXPECT_TRUE(samePoint(grid.getPoint({4, 4}), expected));
}

TEST(BoundaryExtension, ACutBesideOrBehindTheBaseDoesNotMatter) {
    RectMesh grid = lShapedGrid();
    RectMesh marked = lShapedGrid();
    // The nodes behind the bases, and the corner itself, from which nothing is grown there.
    setFlags(marked, {{3, 1}, {5, 1}, {1, 3}, {1, 5}, {2, 2}}, cutBoundary);
    grid.extendBoundary(Basic, 1, 0);
    marked.extendBoundary(Basic, 1, 0);
    EXPECT_TRUE(samePoint(marked.getPoint({4, 4}), grid.getPoint({4, 4})));
    EXPECT_EQ(marked.getPointFlags({4, 2}), cutBoundary);
}

TEST(BoundaryExtension, NothingGrowsFromARegionWhoseRimIsCut) {
    RectMesh grid = flatGridWithRim(7, 7, 2);
    for (int i = 2; i <= 5; ++i) {
        setFlags(grid, {{i, 2}, {i, 5}, {2, i}, {5, i}}, cutBoundary);
    }
    PlainGrid const before = plainGridOf(grid);
    grid.extendBoundary(Basic, 1, 0);
    for (int v = 0; v <= 9; ++v) {
        for (int u = 0; u <= 9; ++u) {
            EXPECT_EQ(grid.getIsPointValid({u, v}), before.getIsPointValid({u - 1, v - 1}));
        }
    }
}

TEST(BoundaryExtension, TheNewRimBesideACutGrowsInTheNextPass) {
    RectMesh grid = flatGridWithRim(9, 9, 3);
    // One node of the lower rim is on a cut: the first pass reaches past it from its neighbours.
    grid.setPointFlags({4, 3}, cutBoundary);
    grid.extendBoundary(Basic, 2, 0);
    EXPECT_EQ(grid.getPointFlags({6, 5}), cutBoundary);
    EXPECT_EQ(grid.getPointFlags({6, 4}), valid);
    EXPECT_EQ(grid.getPointFlags({6, 3}), valid);
    EXPECT_TRUE(samePoint(grid.getPoint({6, 3}), SpacePoint(4.0, 1.0, 0.0)));
}

TEST(BoundaryExtension, AFullGridGainsAnEmptyMarginThatTheSecondPassFills) {
    RectMesh grid = flatGrid(4, 3);
    grid.extendBoundary(Basic, 1, 0);
    for (int v = 0; v <= 5; ++v) {
        for (int u = 0; u <= 6; ++u) {
            EXPECT_EQ(grid.getIsPointValid({u, v}), u >= 1 && u <= 5 && v >= 1 && v <= 4);
        }
    }
    grid.extendBoundary(Basic, 1, 0);
    for (int v = 0; v <= 7; ++v) {
        for (int u = 0; u <= 8; ++u) {
            bool const isExpected = u >= 1 && u <= 7 && v >= 1 && v <= 6;
            ASSERT_EQ(grid.getIsPointValid({u, v}), isExpected);
            if (isExpected) {
                EXPECT_TRUE(samePoint(grid.getPoint({u, v}), SpacePoint(u - 2.0, v - 2.0, 0.0)));
            }
        }
    }
}

TEST(BoundaryExtension, InventedNodesAreValidAndNothingElse) {
    RectMesh grid = wavyGrid(12, 12, 1.0);
    punchHole(grid, {0, 0}, {3, 12});
    for (int v = 0; v <= 12; ++v) {
        for (int u = 4; u <= 12; ++u) {
            grid.setPointFlags({u, v}, static_cast<char>(valid | interior));
        }
    }
    grid.extendBoundary(Basic, 3, 2);
    int invented = 0;
    for (int v = 0; v <= 18; ++v) {
        for (int u = 0; u <= 18; ++u) {
            bool const isOld = u >= 7 && u <= 15 && v >= 3 && v <= 15;
            if (isOld) {
                EXPECT_TRUE(grid.getIsInteriorNonExtendedPoint({u, v}));
            } else if (grid.getIsPointValid({u, v})) {
                EXPECT_EQ(grid.getPointFlags({u, v}), valid);
                EXPECT_FALSE(grid.getIsInteriorNonExtendedPoint({u, v}));
                ++invented;
            }
        }
    }
    // Three steps to the left of the old region, two of the margin on the other sides.
    EXPECT_EQ(invented, (3 + 9 + 2) * (2 + 13 + 2) - 9 * 13);
}

TEST(BoundaryExtension, OnlyTheLoopOfTheFirstBoundaryEdgeIsWalked) {
    RectMesh grid = flatGridWithRim(20, 10, 1);
    punchHole(grid, {9, 1}, {11, 9}); // two regions
    punchHole(grid, {4, 4}, {5, 5});  // a hole in the first
    PlainGrid const before = plainGridOf(grid);
    grid.extendBoundary(Basic, 1, 1);
    EXPECT_TRUE(grid.getIsPointValid({1, 5})) << "left of the first region";
    EXPECT_TRUE(grid.getIsPointValid({10, 5})) << "right of the first region";
    EXPECT_FALSE(grid.getIsPointValid({12, 5})) << "left of the second region";
    EXPECT_FALSE(grid.getIsPointValid({21, 5})) << "right of the second region";
    EXPECT_FALSE(grid.getIsPointValid({5, 5})) << "in the hole";
    for (int v = 1; v <= 9; ++v) {
        for (int u = 12; u <= 19; ++u) {
            PlainPoint const point = before.getPoint({u, v});
            EXPECT_TRUE(samePoint(grid.getPoint({u + 1, v + 1}), SpacePoint(point.x, point.y, point.z)));
        }
    }
}

TEST(BoundaryExtension, StalePointsOfInvalidNodesEnterTheSum) {
    RectMesh clean = flatGridWithRim(7, 7, 2);
    RectMesh stale = flatGridWithRim(7, 7, 2);
    // Straight below the region: reached by three candidates.
    stale.points[1][3] = SpacePoint(300.0, -30.0, 3.0);
    clean.extendBoundary(Basic, 1, 0);
    stale.extendBoundary(Basic, 1, 0);
    EXPECT_TRUE(samePoint(clean.getPoint({4, 2}), SpacePoint(3.0, 1.0, 0.0)));
    SpaceVector const shift = stale.getPoint({4, 2}) - clean.getPoint({4, 2});
    EXPECT_EQ(shift.getdX(), 100.0);
    EXPECT_EQ(shift.getdY(), -10.0);
    EXPECT_EQ(shift.getdZ(), 1.0);
}

TEST(BoundaryExtension, StalePointsOutOfReachStayAsTheyAre) {
    RectMesh grid = flatGridWithRim(9, 9, 3);
    grid.points[0][1] = SpacePoint(5.0, 6.0, 7.0);
    grid.extendBoundary(Basic, 1, 0);
    EXPECT_FALSE(grid.getIsPointValid({2, 1}));
    EXPECT_TRUE(samePoint(grid.getPoint({2, 1}), SpacePoint(5.0, 6.0, 7.0)));
}

TEST(BoundaryExtension, ANodeWithAFlagOtherThanValidCountsOnceAndStaysInvalid) {
    RectMesh grid = flatGridWithRim(7, 7, 2);
    grid.setPointFlags({3, 1}, interior);
    grid.points[1][3] = SpacePoint(7.0, 1.0, 8.0);
    grid.extendBoundary(Basic, 1, 0);
    // Itself and three candidates at (3, 1, 0).
    EXPECT_EQ(grid.getPointFlags({4, 2}), interior);
    EXPECT_FALSE(grid.getIsPointValid({4, 2}));
    EXPECT_TRUE(samePoint(grid.getPoint({4, 2}), SpacePoint(4.0, 1.0, 2.0)));
}

TEST(BoundaryExtension, SmoothingMovesStraightNodesToTheMiddleOfTheirNeighbours) {
    RectMesh grid = flatGrid(4, 4);
    grid.setPoint({1, 0}, SpacePoint(1.0, 0.5, 8.0));
    grid.setPoint({2, 0}, SpacePoint(2.0, -0.5, 16.0));
    grid.setPoint({2, 2}, SpacePoint(2.0, 2.0, 100.0));
    grid.extendBoundary(Basic, 1, 1);
    // All moves start from the points before the pass; corners of the region and its inside stay.
    EXPECT_TRUE(samePoint(grid.getPoint({1, 1}), SpacePoint(0.0, 0.0, 0.0)));
    EXPECT_TRUE(samePoint(grid.getPoint({2, 1}), SpacePoint(1.0, -0.25, 8.0)));
    EXPECT_TRUE(samePoint(grid.getPoint({3, 1}), SpacePoint(2.0, 0.25, 4.0)));
    EXPECT_TRUE(samePoint(grid.getPoint({4, 1}), SpacePoint(3.0, -0.25, 8.0)));
    EXPECT_TRUE(samePoint(grid.getPoint({5, 1}), SpacePoint(4.0, 0.0, 0.0)));
    EXPECT_TRUE(samePoint(grid.getPoint({3, 3}), SpacePoint(2.0, 2.0, 100.0)));
}

TEST(BoundaryExtension, SmoothingKeepsFlags) {
    RectMesh grid = flatGrid(4, 4);
    grid.setPointFlags({2, 0}, cutBoundary);
    grid.extendBoundary(Basic, 1, 2);
    EXPECT_EQ(grid.getPointFlags({3, 1}), cutBoundary);
}

TEST(BoundaryExtension, WithoutABoundaryItThrowsBeforeAnyChange) {
    for (GridFamily& family : gridFamilies(3)) {
        PlainGrid const before = plainGridOf(family.grid);
        if (before.getBoundaryEdge()) {
            continue;
        }
        SCOPED_TRACE(family.name);
        family.grid.doResetSearch = false;
        RecordingListener listener;
        family.grid.setProgressListener(&listener);
        PlainAreas const areas{family.grid.getMaxQuadArea(), family.grid.getMeanQuadArea(),
                               family.grid.getMinQuadArea()};
        EXPECT_EQ(messageOf([&] { family.grid.extendBoundary(Basic, 2, 1); }), "No boundary found");
        EXPECT_EQ(listener.events, (Events{extendingText, "0%"}));
        EXPECT_TRUE(sameNodes(family.grid, before));
        EXPECT_TRUE(sameAreas(family.grid, areas));
        EXPECT_FALSE(family.grid.doResetSearch);
    }
}

TEST(BoundaryExtension, AnInvalidatedNodeWithOtherFlagsIsNotGrownInto) {
    for (bool const isMarked : {true, false}) {
        RectMesh grid = flatGridWithRim(8, 8, 2);
        GridIndex const node(4, 1);
        ASSERT_FALSE(grid.getIsPointValid(node));
        grid.setPointFlag(node, RectMesh::Interior, isMarked);
        grid.extendBoundary(Basic, 1, 0);
        EXPECT_EQ(grid.getIsPointValid({5, 2}), !isMarked);
        EXPECT_TRUE(grid.getIsPointValid({6, 2})) << "its neighbour";
    }
}

TEST(BoundaryExtension, EveryPassIsReportedEvenWithThePercentageBefore) {
    RectMesh grid = flatGridWithRim(3, 3, 1);
    RecordingListener listener;
    grid.setProgressListener(&listener);
    grid.extendBoundary(Basic, 150, 0);
    ASSERT_EQ(listener.percentages.size(), 151U);
    EXPECT_EQ(listener.percentages[0], 0U);
    EXPECT_EQ(listener.percentages[1], 0U);
    EXPECT_EQ(listener.percentages[2], 1U);
    EXPECT_EQ(listener.percentages[150], 100U);
}

TEST(BoundaryExtension, ATallGridWithQuadsOnlyAboveItsWidthHasNoBoundary) {
    RectMesh grid = flatGrid(3, 12);
    punchHole(grid, {0, 0}, {3, 4});
    PlainGrid const before = plainGridOf(grid);
    EXPECT_EQ(messageOf([&] { grid.extendBoundary(Basic, 1, 0); }), "No boundary found");
    EXPECT_TRUE(sameNodes(grid, before));
    // One row lower it is found.
    RectMesh lower = flatGrid(3, 12);
    punchHole(lower, {0, 0}, {3, 2});
    EXPECT_EQ(messageOf([&] { lower.extendBoundary(Basic, 1, 0); }), "nothing thrown");
}

TEST(BoundaryExtension, PassesBeyondAnyMemoryAreRefusedAndChangeNothing) {
    RectMesh grid = flatGrid(3, 2);
    PlainGrid const before = plainGridOf(grid);
    for (unsigned long const passes : {0x7FFFFFFFUL, 0x80000000UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(messageOf([&] { grid.extendBoundary(Basic, passes, 0); }),
                  "Insufficient memory to initialise quad-mesh.");
        EXPECT_TRUE(sameNodes(grid, before));
        EXPECT_EQ(grid.getMeanQuadArea(), 1.0);
    }
}

TEST(BoundaryExtension, TheSearchStaysWarmAndFindsInventedQuads) {
    RectMesh grid = flatGridWithRim(8, 8, 2);
    SpaceVector const down(0.0, 0.0, -1.0);
    ASSERT_TRUE(grid.getIntersection(SpacePoint(5.6, 5.3, 4.0), down).getIsValid());
    ASSERT_FALSE(grid.doResetSearch);
    EXPECT_FALSE(grid.getIntersection(SpacePoint(1.6, 4.3, 4.0), down).getIsValid());
    ASSERT_TRUE(grid.getIntersection(SpacePoint(5.6, 5.3, 4.0), down).getIsValid());

    grid.extendBoundary(Basic, 1, 0);
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(5, 5));
    auto const status = grid.getIntersection(SpacePoint(1.6, 4.3, 4.0), down);
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(2, 5));
}

TEST(BoundaryExtension, OffsetAndSearchPointsStayUntilRebuilt) {
    RectMesh grid = wavyGrid(12, 10, 1.0);
    grid.setOffset({7, -3});
    PlainGrid const before = plainGridOf(grid);
    ASSERT_TRUE(sameSearchPoints(grid, before));
    auto const offset = grid.getOffset();
    grid.extendBoundary(Basic, 2, 1);
    EXPECT_EQ(grid.getOffset(), offset);
    EXPECT_TRUE(sameSearchPoints(grid, before));

    PlainSearchPoints const expected = plainGridOf(grid).getSearchPoints(grid.quadsPerSearchPoint);
    grid.setNumberOfSearchPoints(1, 1);
    ASSERT_EQ(grid.searchPoints.size(), expected.quads.size());
    for (std::size_t i = 0; i < expected.quads.size(); ++i) {
        EXPECT_EQ(grid.searchPoints[i], GridIndex(expected.quads[i].u, expected.quads[i].v));
    }
}

TEST(BoundaryExtension, MakesNoNumberedGrid) {
    RectMesh grid = flatGrid(4, 4);
    std::uint32_t const count = RectMesh::creationCount;
    std::string const name = grid.fileName;
    grid.extendBoundary(Basic, 3, 1);
    EXPECT_EQ(RectMesh::creationCount, count);
    EXPECT_EQ(grid.fileName, name);
}

TEST(BoundaryExtension, ACopyThatSharesRowsLeavesItsSourceAlone) {
    RectMesh source = flatGridWithRim(6, 6, 1);
    PlainGrid const before = plainGridOf(source);
    RectMesh copy(source);
    copy.extendBoundary(Basic, 2, 1);
    EXPECT_TRUE(sameNodes(source, before));
    EXPECT_EQ(copy.getExtents().getdU(), 10U);
}

/// Points in nodes that are not valid, and some nodes with flags but without `Valid`.
void addRubbish(RectMesh& grid, std::uint32_t seed) {
    std::mt19937 random(seed);
    auto const [extentU, extentV] = std::pair(grid.getExtents().getdU(), grid.getExtents().getdV());
    for (int v = 0; v <= static_cast<int>(extentV); ++v) {
        for (int u = 0; u <= static_cast<int>(extentU); ++u) {
            if (grid.getIsPointValid({u, v}) || random() % 3U != 0U) {
                continue;
            }
            grid.points[v][static_cast<std::size_t>(u)] =
                SpacePoint(randomSpread(random, 6), randomSpread(random, 6), randomSpread(random, 6));
            grid.setPointFlags({u, v}, random() % 4U == 0U ? interior : char{0});
        }
    }
}

template <class Grid>
testing::AssertionResult extendsAsThePlainVersion(RectMesh const& source, Grid& grid, PlainView const& view,
                                                  std::uint32_t passes, std::uint32_t smoothingPasses) {
    static_cast<RectMesh&>(grid).RectMesh::operator=(source);
    PlainGrid expected = plainStoredGridOf(grid);
    if (!plainExtendBoundary(expected, passes, smoothingPasses, view)) {
        return testing::AssertionFailure() << "no boundary in the plain version";
    }
    grid.extendBoundary(Basic, passes, smoothingPasses);
    testing::AssertionResult const nodes = sameStored(grid, expected);
    if (!nodes || passes == 0) {
        return nodes;
    }
    return sameAreas(grid, plainShown(expected, view).getAreas());
}

class ExtensionDifferential : public testing::TestWithParam<std::uint32_t> {};

TEST_P(ExtensionDifferential, SameBitsAsThePlainVersionOverFamilies) {
    std::uint32_t const seed = GetParam();
    int compared = 0;
    for (GridFamily& family : gridFamiliesWithQuads(seed)) {
        scatterFlags(family.grid, seed + 7);
        addRubbish(family.grid, seed + 8);
        if (!plainGridOf(family.grid).getBoundaryEdge()) {
            continue;
        }
        for (std::uint32_t passes = 0; passes <= 4; ++passes) {
            for (std::uint32_t smoothing = 0; smoothing <= 3; ++smoothing) {
                RectMesh grid;
                ASSERT_TRUE(extendsAsThePlainVersion(family.grid, grid, plainAsStored, passes, smoothing))
                    << family.name << ", " << passes << " passes, " << smoothing << " smoothings";
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 300);
}

TEST_P(ExtensionDifferential, SameBitsOnSparseGridsOfAnyAspectOverManyPasses) {
    std::mt19937 random(GetParam() + 30);
    int compared = 0;
    for (int i = 0; i < 120; ++i) {
        std::uint32_t const extentU = 1U + random() % 14U;
        std::uint32_t const extentV = 1U + random() % 14U;
        RectMesh source = wavyGrid(extentU, extentV, 1.0);
        std::uint32_t const gap = 2U + random() % 5U;
        for (int v = 0; v <= static_cast<int>(extentV); ++v) {
            for (int u = 0; u <= static_cast<int>(extentU); ++u) {
                source.setPointFlags({u, v}, random() % gap == 0U ? char{0} : valid);
            }
        }
        settle(source);
        addRubbish(source, random());
        if (!plainGridOf(source).getBoundaryEdge()) {
            continue;
        }
        RectMesh grid;
        std::uint32_t const passes = 1U + random() % 9U;
        ASSERT_TRUE(extendsAsThePlainVersion(source, grid, plainAsStored, passes, random() % 3U)) << i;
        ++compared;
    }
    EXPECT_GT(compared, 60);
}

TEST_P(ExtensionDifferential, SameBitsOnGridsThatShowOtherPoints) {
    std::uint32_t const seed = GetParam();
    for (GridFamily& family : gridFamiliesWithQuads(seed + 50)) {
        scatterFlags(family.grid, seed + 9);
        addRubbish(family.grid, seed + 10);
        if (!plainGridOf(family.grid).getBoundaryEdge()) {
            continue;
        }
        SCOPED_TRACE(family.name);
        ShearedGrid sheared;
        ASSERT_TRUE(extendsAsThePlainVersion(family.grid, sheared, plainSheared, 3, 2));
        LinearScaleRectMesh scaled;
        double const scale = 0.75;
        scaled.setScale(scale);
        auto const view = [=](PlainPoint const& p) {
            return plainMoved({}, plainScaled(scale, plainDifference(p, PlainPoint{})));
        };
        ASSERT_TRUE(extendsAsThePlainVersion(family.grid, scaled, view, 2, 1));
    }
}

TEST_P(ExtensionDifferential, WhetherSomebodyListensMakesNoDifference) {
    for (GridFamily& family : gridFamiliesWithQuads(GetParam() + 70)) {
        scatterFlags(family.grid, GetParam() + 11);
        addRubbish(family.grid, GetParam() + 12);
        if (!plainGridOf(family.grid).getBoundaryEdge()) {
            continue;
        }
        SCOPED_TRACE(family.name);
        RectMesh alone;
        alone = family.grid;
        alone.extendBoundary(Basic, 3, 1);
        RectMesh watched;
        watched = family.grid;
        RecordingListener listener;
        watched.setProgressListener(&listener);
        watched.extendBoundary(Basic, 3, 1);
        EXPECT_TRUE(sameNodes(alone, plainGridOf(watched)));
        EXPECT_TRUE(sameAreas(alone, plainGridOf(watched).getAreas()));
        EXPECT_TRUE(sameAreas(watched, plainGridOf(watched).getAreas()));
    }
}

/// Looks at a grid whenever it is told of a pass.
class LookingListener : public RecordingListener {
public:
    explicit LookingListener(RectMesh const& newGrid) : grid(newGrid) {}

    void setPercentage(unsigned long percent) override {
        RecordingListener::setPercentage(percent);
        areas.push_back(grid.getMeanQuadArea());
    }

    std::vector<double> areas;

private:
    RectMesh const& grid;
};

TEST(BoundaryExtension, AListenerSeesTheAreasOfThePassesBefore) {
    RectMesh grid = wavyGrid(12, 12, 2.0);
    punchHole(grid, {0, 0}, {12, 2});
    LookingListener listener(grid);
    grid.setProgressListener(&listener);
    RectMesh reference;
    reference = grid;
    std::vector<double> expected{reference.getMeanQuadArea()};
    for (int pass = 0; pass < 3; ++pass) {
        reference.extendBoundary(Basic, 1, 0);
        expected.push_back(reference.getMeanQuadArea());
    }
    grid.extendBoundary(Basic, 3, 0);
    EXPECT_EQ(listener.areas, expected);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ExtensionDifferential, testing::Values(1U, 20U));

} // namespace
} // namespace QELT::Testing
