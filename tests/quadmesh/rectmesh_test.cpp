#include "Geometry/quadmesh/rectmesh.h"

#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_grid.h"
#include "tests/support/recordinglistener.h"

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

namespace QuadMesh = Geometry::ThreeDimensional::QuadMesh;
using QuadMesh::Edge;
using Extents = Geometry::TwoDimensional::Vector<unsigned long>;
using GridStep = Geometry::TwoDimensional::Vector<int>;

constexpr char const* memoryText = "Insufficient memory to initialise quad-mesh.";

/// Puts the count of grids back.
class Grid : public testing::Test {
protected:
    ~Grid() override { RectMesh::creationCount = creationCount; }

private:
    std::uint32_t creationCount = RectMesh::creationCount;
};

void expectEmpty(RectMesh const& grid) {
    EXPECT_EQ(grid.points, nullptr);
    EXPECT_EQ(grid.flags, nullptr);
    EXPECT_EQ(grid.getExtents(), Extents(0, 0));
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 0.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
    EXPECT_FALSE(grid.getIsPointValid({0, 0}));
    EXPECT_EQ(grid.getPointFlags({0, 0}), 0);
    EXPECT_FALSE(grid.getIsQuadValid({0, 0}));
    EXPECT_FALSE(grid.getIsBoundaryPoint({0, 0}));
    EXPECT_TRUE(grid.doResetSearch);
}

/// Every setting of a grid different from its default.
void fillSettings(RectMesh& grid, ProgressListener* listener) {
    grid.meanQuadArea = 1.25;
    grid.minQuadArea = 1.5;
    grid.maxQuadArea = 1.75;
    grid.doResetSearch = false;
    grid.setDoFlipNormals(true);
    grid.lastQuadIndices = {2, 1};
    grid.quadsPerSearchPoint = 17;
    grid.setOffset({3, 4});
    grid.setAxisFlipFlags(true, true);
    grid.setDoUseDoubleSided(true);
    grid.setFileName("folder\\source.quads");
    grid.sourceName = "source.obj";
    grid.setActivePositionFlags(0xF0UL);
    grid.setPosition(5);
    grid.setProgressListener(listener);
    grid.targetQuadArea = 2.5;
    grid.quadAreaTolerance = 0.25;
    grid.doSnapQuadAreas = true;
}

} // namespace

// Defaults and names

TEST_F(Grid, NewGridIsEmptyWithItsDefaults) {
    RectMesh const grid;
    expectEmpty(grid);
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_FALSE(grid.doFlipNormals);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(0, 0));
    EXPECT_EQ(grid.numberOfSearchPointsU, 1U);
    EXPECT_EQ(grid.numberOfSearchPointsV, 1U);
    EXPECT_EQ(grid.quadsPerSearchPoint, 4096U);
    EXPECT_TRUE(grid.searchPoints.empty());
    EXPECT_EQ(grid.getOffset(), GridStep(0, 0));
    EXPECT_FALSE(grid.doFlipUAxis);
    EXPECT_FALSE(grid.doFlipVAxis);
    EXPECT_FALSE(grid.doUseDoubleSided);
    EXPECT_EQ(grid.sourceName, "");
    EXPECT_EQ(grid.activePositionFlags, 0xFFFFFFFFU);
    EXPECT_EQ(grid.position, 0U);
    EXPECT_EQ(grid.progressListener, nullptr);
    EXPECT_EQ(grid.quadAreaTolerance, 0.1);
    EXPECT_FALSE(grid.doSnapQuadAreas);
    static_assert(std::has_virtual_destructor_v<RectMesh>);
}

TEST_F(Grid, FirstGridIsNumberOneAndTheSecondNumberTwo) {
    RectMesh::creationCount = 0;
    RectMesh const first;
    EXPECT_EQ(RectMesh::creationCount, 1U);
    RectMesh const second;
    EXPECT_EQ(first.fileName, "Unnamed1.quads");
    EXPECT_EQ(second.fileName, "Unnamed2.quads");
    EXPECT_EQ(RectMesh::creationCount, 2U);
}

TEST_F(Grid, NameHasRoomForTheLargestCount) {
    RectMesh::creationCount = 0xFFFFFFFEU;
    EXPECT_EQ(RectMesh().fileName, "Unnamed4294967295.quads");
    EXPECT_EQ(RectMesh::creationCount, 0xFFFFFFFFU);
}

TEST_F(Grid, CopiesAndAssignmentsAreNotCounted) {
    RectMesh const grid;
    RectMesh target;
    std::uint32_t const before = RectMesh::creationCount;
    RectMesh const copy(grid);
    target = grid;
    EXPECT_EQ(RectMesh::creationCount, before);
    EXPECT_EQ(copy.fileName, grid.fileName);
}

TEST_F(Grid, EnumerationsHaveTheirNumbers) {
    EXPECT_EQ(RectMesh::Valid, 0);
    EXPECT_EQ(RectMesh::Interior, 1);
    EXPECT_EQ(RectMesh::Boundary, 2);
    EXPECT_EQ(RectMesh::CutBoundary, 4);
}

TEST_F(Grid, ShortNameKeepsTheLastBackslash) {
    RectMesh grid;
    grid.setFileName("C:\\parts\\blade.quads");
    EXPECT_EQ(grid.getShortFileName(), "\\blade.quads");
    grid.setFileName("blade.quads");
    EXPECT_EQ(grid.getShortFileName(), "blade.quads");
    grid.setFileName("parts/blade.quads");
    EXPECT_EQ(grid.getShortFileName(), "parts/blade.quads");
    grid.setFileName("parts\\");
    EXPECT_EQ(grid.getShortFileName(), "\\");
    grid.setFileName("");
    EXPECT_EQ(grid.getShortFileName(), "");
}

// Storage

TEST_F(Grid, InitMakesInvalidNodesAtTheOrigin) {
    RectMesh grid;
    grid.numberOfSearchPointsU = 7;
    grid.numberOfSearchPointsV = 8;
    grid.init(Extents(4, 2));
    EXPECT_EQ(grid.getExtents(), Extents(4, 2));
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 4; ++u) {
            EXPECT_FALSE(grid.getIsPointValid({u, v}));
            EXPECT_EQ(grid.getPointFlags({u, v}), 0);
            EXPECT_EQ(grid.getPoint({u, v}), SpacePoint());
        }
    }
    EXPECT_EQ(grid.numberOfSearchPointsU, 1U);
    EXPECT_EQ(grid.numberOfSearchPointsV, 1U);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 0.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
}

TEST_F(Grid, InitForgetsTheGridBeforeButNotTheSearch) {
    RectMesh grid = flatGrid(6, 6);
    grid.doResetSearch = false;
    grid.lastQuadIndices = {5, 5};
    grid.init(Extents(2, 2));
    EXPECT_EQ(grid.getExtents(), Extents(2, 2));
    EXPECT_FALSE(grid.getIsPointValid({1, 1}));
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(5, 5));
}

TEST_F(Grid, InitOfOneNodeHasThatNode) {
    RectMesh grid;
    grid.init(Extents(0, 0));
    EXPECT_FALSE(grid.getIsPointValid({0, 0}));
    grid.setPoint({0, 0}, {1.0, 2.0, 3.0});
    EXPECT_TRUE(grid.getIsPointValid({0, 0}));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(1.0, 2.0, 3.0));
}

TEST_F(Grid, AbsurdExtentsGiveTheMemoryMessageAndAnEmptyGrid) {
    constexpr unsigned long most = 0xFFFFFFFFUL;
    for (Extents const& extents :
         {Extents(most, most), Extents(most, 0), Extents(0, most), Extents(most, 3), Extents(3, most),
          Extents(most - 1, most - 1), Extents(0x7FFFFFFFUL, 0x7FFFFFFFUL), Extents(0x80000000UL, 0x100000UL),
          Extents(0x100000UL, 0x80000000UL)}) {
        RectMesh grid = flatGrid(3, 3);
        EXPECT_EQ(messageOf([&] { grid.init(extents); }), memoryText);
        expectEmpty(grid);
        grid.init(Extents(2, 2));
        EXPECT_EQ(grid.getExtents(), Extents(2, 2));
    }
}

TEST_F(Grid, ExtentsAreTakenIn32Bits) {
    RectMesh grid;
    grid.init(Extents(0x100000002UL, 0x100000001UL));
    EXPECT_EQ(grid.getExtents(), Extents(2, 1));
}

TEST_F(Grid, ClearEmptiesAndMayBeRepeated) {
    RectMesh grid = flatGrid(3, 3);
    grid.clear();
    expectEmpty(grid);
    grid.clear();
    expectEmpty(grid);
}

TEST_F(Grid, ClearKeepsTheSearchMemory) {
    for (bool const isCold : {true, false}) {
        RectMesh grid = flatGrid(3, 3);
        grid.doResetSearch = isCold;
        grid.lastQuadIndices = {2, 1};
        grid.clear();
        EXPECT_EQ(grid.doResetSearch, isCold);
        EXPECT_EQ(grid.lastQuadIndices, GridIndex(2, 1));
    }
}

TEST_F(Grid, AnInvalidatedNodeKeepsItsPointAndItsOtherFlags) {
    RectMesh grid = flatGrid(3, 3);
    grid.setPointFlag({1, 2}, RectMesh::Interior, true);
    grid.setPointValidity({1, 2}, false);
    EXPECT_FALSE(grid.getIsPointValid({1, 2}));
    EXPECT_EQ(grid.getPointFlags({1, 2}), 1 << RectMesh::Interior);
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(1.0, 2.0, 0.0));
}

TEST_F(Grid, EmptyGridIgnoresWritesToTheNodeItAdmits) {
    RectMesh grid;
    EXPECT_TRUE(grid.getIsPointInBounds({0, 0}));
    grid.setPointFlags({0, 0}, 7);
    grid.setPointValidity({0, 0}, true);
    EXPECT_EQ(grid.getPointFlags({0, 0}), 0);
}

// Copies

TEST_F(Grid, CopyConstructorSharesTheRows) {
    RectMesh grid = flatGrid(3, 3);
    RectMesh copy(grid);
    copy.setPoint({1, 1}, {7.0, 8.0, 9.0});
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint(7.0, 8.0, 9.0));
    grid.setPointValidity({2, 2}, false);
    EXPECT_FALSE(copy.getIsPointValid({2, 2}));
}

TEST_F(Grid, CopyConstructorTakesEveryField) {
    RecordingListener listener;
    RectMesh grid = flatGrid(4, 3);
    fillSettings(grid, &listener);
    RectMesh const copy(grid);
    EXPECT_EQ(copy.getExtents(), grid.getExtents());
    EXPECT_EQ(copy.getMeanQuadArea(), 1.25);
    EXPECT_EQ(copy.getMinQuadArea(), 1.5);
    EXPECT_EQ(copy.getMaxQuadArea(), 1.75);
    EXPECT_FALSE(copy.doResetSearch);
    EXPECT_TRUE(copy.doFlipNormals);
    EXPECT_EQ(copy.lastQuadIndices, GridIndex(2, 1));
    EXPECT_EQ(copy.quadsPerSearchPoint, 17U);
    EXPECT_EQ(copy.searchPoints, grid.searchPoints);
    EXPECT_EQ(copy.getOffset(), GridStep(3, 4));
    EXPECT_TRUE(copy.doFlipUAxis);
    EXPECT_TRUE(copy.doFlipVAxis);
    EXPECT_TRUE(copy.doUseDoubleSided);
    EXPECT_EQ(copy.fileName, "folder\\source.quads");
    EXPECT_EQ(copy.sourceName, "source.obj");
    EXPECT_EQ(copy.activePositionFlags, 0xF0U);
    EXPECT_EQ(copy.position, 5U);
    EXPECT_EQ(copy.progressListener, &listener);
    EXPECT_EQ(copy.targetQuadArea, 2.5);
    EXPECT_EQ(copy.quadAreaTolerance, 0.25);
    EXPECT_TRUE(copy.doSnapQuadAreas);
}

TEST_F(Grid, CopiesCanBeDestroyedInAnyOrder) {
    for (bool const isSourceFirst : {true, false}) {
        auto source = std::make_unique<RectMesh>(flatGrid(3, 3));
        auto copy = std::make_unique<RectMesh>(*source);
        std::unique_ptr<RectMesh>& left = isSourceFirst ? copy : source;
        (isSourceFirst ? source : copy).reset();
        EXPECT_EQ(left->getPoint({2, 1}), SpacePoint(2.0, 1.0, 0.0));
        left->setPoint({2, 1}, {5.0, 5.0, 5.0});
        EXPECT_EQ(left->getPoint({2, 1}), SpacePoint(5.0, 5.0, 5.0));
        EXPECT_TRUE(left->getIsQuadValid({2, 2}));
    }
}

TEST_F(Grid, CopyKeepsItsRowsWhenTheSourceIsReplaced) {
    RectMesh source = flatGrid(5, 5);
    RectMesh const first(source);
    source.clear();
    EXPECT_EQ(first.getPoint({4, 4}), SpacePoint(4.0, 4.0, 0.0));
    source = flatGrid(2, 2, 3.0);
    EXPECT_EQ(first.getPoint({4, 4}), SpacePoint(4.0, 4.0, 0.0));
    EXPECT_EQ(source.getPoint({2, 2}), SpacePoint(6.0, 6.0, 0.0));
    RectMesh const second(source);
    source.init(Extents(1, 1));
    EXPECT_TRUE(second.getIsPointValid({2, 2}));
}

TEST_F(Grid, AssignmentCopiesNodeByNodeWithThePointsOfInvalidNodes) {
    RectMesh source = wavyGrid(5, 4, 2.0);
    scatterFlags(source, 3);
    source.setPointFlags({2, 2}, 0);
    RectMesh target = flatGrid(9, 9);
    target = source;
    EXPECT_TRUE(sameNodes(target, plainGridOf(source)));
    target.setPoint({1, 1}, {7.0, 8.0, 9.0});
    EXPECT_NE(source.getPoint({1, 1}), SpacePoint(7.0, 8.0, 9.0));
    source.setPointValidity({3, 3}, false);
    EXPECT_TRUE(target.getIsPointValid({3, 3}));
}

TEST_F(Grid, AssignmentTakesAreasSearchMemoryFlipsAndFileName) {
    RecordingListener listener;
    RectMesh source = flatGrid(4, 3);
    fillSettings(source, &listener);
    RectMesh target;
    target = source;
    EXPECT_EQ(target.getMeanQuadArea(), 1.25);
    EXPECT_EQ(target.getMinQuadArea(), 1.5);
    EXPECT_EQ(target.getMaxQuadArea(), 1.75);
    EXPECT_FALSE(target.doResetSearch);
    EXPECT_TRUE(target.doFlipNormals);
    EXPECT_TRUE(target.doFlipUAxis);
    EXPECT_TRUE(target.doFlipVAxis);
    EXPECT_EQ(target.lastQuadIndices, GridIndex(2, 1));
    EXPECT_EQ(target.fileName, "folder\\source.quads");
}

TEST_F(Grid, AssignmentLeavesTheTargetsOtherSettings) {
    RecordingListener listener;
    RectMesh source = flatGrid(4, 3);
    fillSettings(source, &listener);
    RectMesh target;
    target.targetQuadArea = 0.125;
    target = source;
    EXPECT_EQ(target.getOffset(), GridStep(0, 0));
    EXPECT_FALSE(target.doUseDoubleSided);
    EXPECT_EQ(target.sourceName, "");
    EXPECT_EQ(target.activePositionFlags, 0xFFFFFFFFU);
    EXPECT_EQ(target.position, 0U);
    EXPECT_EQ(target.progressListener, nullptr);
    EXPECT_EQ(target.targetQuadArea, 0.125);
    EXPECT_EQ(target.quadAreaTolerance, 0.1);
    EXPECT_FALSE(target.doSnapQuadAreas);
    EXPECT_EQ(target.quadsPerSearchPoint, 4096U);
}

TEST_F(Grid, AssignmentRebuildsTheSearchPointsByTheTargetsDivisor) {
    RectMesh source = flatGrid(40, 30);
    source.numberOfSearchPointsU = 99;
    source.numberOfSearchPointsV = 98;
    RectMesh target;
    target.quadsPerSearchPoint = 20;
    target = source;
    EXPECT_TRUE(sameSearchPoints(target, plainGridOf(source)));
    EXPECT_GT(target.searchPoints.size(), source.searchPoints.size());
}

TEST_F(Grid, SelfAssignmentIsHarmless) {
    RectMesh grid = wavyGrid(5, 4, 2.0);
    grid.doResetSearch = false;
    grid.lastQuadIndices = {3, 2};
    PlainGrid const before = plainGridOf(grid);
    RectMesh const& self = grid;
    grid = self;
    EXPECT_TRUE(sameNodes(grid, before));
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(3, 2));
    EXPECT_GT(grid.getMeanQuadArea(), 0.0);
}

TEST_F(Grid, AssignmentBetweenGridsThatShareRowsSeparatesThem) {
    RectMesh grid = wavyGrid(5, 4, 2.0);
    RectMesh copy(grid);
    PlainGrid const before = plainGridOf(grid);
    copy = grid;
    EXPECT_TRUE(sameNodes(copy, before));
    copy.setPoint({1, 1}, {7.0, 8.0, 9.0});
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST_F(Grid, AssignmentFromAnEmptyGridEmpties) {
    RectMesh const empty;
    RectMesh grid = flatGrid(4, 3);
    grid = empty;
    expectEmpty(grid);
    EXPECT_EQ(grid.fileName, empty.fileName);
    EXPECT_TRUE(grid.searchPoints.empty());
    RectMesh other;
    other = empty;
    expectEmpty(other);
}

// Nodes and flags

TEST_F(Grid, BoundsIncludeTheExtentsAndNothingBeyond) {
    RectMesh const grid = flatGrid(4, 3);
    EXPECT_TRUE(grid.getIsPointInBounds({0, 0}));
    EXPECT_TRUE(grid.getIsPointInBounds({4, 3}));
    EXPECT_FALSE(grid.getIsPointInBounds({5, 3}));
    EXPECT_FALSE(grid.getIsPointInBounds({4, 4}));
    EXPECT_FALSE(grid.getIsPointInBounds({-1, 0}));
    EXPECT_FALSE(grid.getIsPointInBounds({0, -1}));
    EXPECT_FALSE(grid.getIsPointInBounds({std::numeric_limits<int>::min(), 0}));
    EXPECT_FALSE(grid.getIsPointInBounds({0, std::numeric_limits<int>::max()}));
}

TEST_F(Grid, SetPointMakesValidAndClearingLeavesThePoint) {
    RectMesh grid;
    grid.init(Extents(2, 2));
    grid.setPoint({1, 2}, {3.0, 4.0, 5.0});
    EXPECT_TRUE(grid.getIsPointValid({1, 2}));
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(3.0, 4.0, 5.0));
    EXPECT_FALSE(grid.getIsPointValid({2, 1}));
    grid.setPointValidity({1, 2}, false);
    EXPECT_FALSE(grid.getIsPointValid({1, 2}));
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(3.0, 4.0, 5.0));
}

TEST_F(Grid, SetPointKeepsTheOtherFlags) {
    RectMesh grid = flatGrid(2, 2);
    grid.setPointFlags({1, 1}, 4);
    grid.setPoint({1, 1}, {3.0, 4.0, 5.0});
    EXPECT_EQ(grid.getPointFlags({1, 1}), 5);
}

TEST_F(Grid, FlagsAreTheBitsOfTheByte) {
    RectMesh grid = flatGrid(2, 2);
    for (auto const& [id, mask] : {std::pair{RectMesh::Valid, 1}, std::pair{RectMesh::Interior, 2},
                                   std::pair{RectMesh::Boundary, 4}, std::pair{RectMesh::CutBoundary, 16}}) {
        grid.setPointFlags({1, 1}, 0);
        grid.setPointFlag({1, 1}, id, true);
        EXPECT_EQ(grid.getPointFlags({1, 1}), mask);
        EXPECT_TRUE(grid.getPointFlag({1, 1}, id));
        grid.setPointFlags({1, 1}, 23);
        grid.setPointFlag({1, 1}, id, false);
        EXPECT_EQ(grid.getPointFlags({1, 1}), 23 - mask);
        EXPECT_FALSE(grid.getPointFlag({1, 1}, id));
    }
}

TEST_F(Grid, FlagLogicOnAByteInHand) {
    RectMesh const grid;
    EXPECT_EQ(grid.setFlag(0, RectMesh::Boundary, true), 4);
    EXPECT_EQ(grid.setFlag(21, RectMesh::Boundary, false), 17);
    EXPECT_EQ(grid.setFlag(21, RectMesh::Boundary, true), 21);
    EXPECT_TRUE(grid.getFlag(21, RectMesh::CutBoundary));
    EXPECT_FALSE(grid.getFlag(21, RectMesh::Interior));
    // The top bit of a byte survives, whether char is signed or not.
    char const top = static_cast<char>(0x80);
    EXPECT_EQ(grid.setFlag(top, RectMesh::Valid, true), static_cast<char>(0x81));
    EXPECT_EQ(grid.setFlag(static_cast<char>(0xFF), RectMesh::Valid, false), static_cast<char>(0xFE));
    EXPECT_FALSE(grid.getFlag(top, RectMesh::CutBoundary));
}

TEST_F(Grid, FlagsOutOfRangeReadAsZeroAndAreNotWritten) {
    RectMesh grid = flatGrid(2, 2);
    for (GridIndex const& p : {GridIndex(3, 0), GridIndex(0, 3), GridIndex(-1, 0), GridIndex(0, -1),
                               GridIndex(std::numeric_limits<int>::min(), std::numeric_limits<int>::max())}) {
        grid.setPointFlags(p, 23);
        grid.setPointFlag(p, RectMesh::Boundary, true);
        grid.setPointValidity(p, true);
        EXPECT_EQ(grid.getPointFlags(p), 0);
        EXPECT_FALSE(grid.getPointFlag(p, RectMesh::Valid));
        EXPECT_FALSE(grid.getIsPointValid(p));
        EXPECT_FALSE(grid.getPointValidity(p));
    }
    EXPECT_TRUE(sameNodes(grid, plainGridOf(flatGrid(2, 2))));
}

TEST_F(Grid, QuadNeedsItsFourCorners) {
    for (GridIndex const& missing : {GridIndex(1, 1), GridIndex(2, 1), GridIndex(1, 2), GridIndex(2, 2)}) {
        RectMesh grid = flatGrid(4, 3);
        EXPECT_TRUE(grid.getIsQuadValid({1, 1}));
        grid.setPointFlags(missing, 22);
        EXPECT_FALSE(grid.getIsQuadValid({1, 1}));
    }
}

TEST_F(Grid, QuadsEndOneBeforeTheExtents) {
    RectMesh const grid = flatGrid(4, 3);
    EXPECT_TRUE(grid.getIsQuadValid({3, 2}));
    EXPECT_FALSE(grid.getIsQuadValid({4, 2}));
    EXPECT_FALSE(grid.getIsQuadValid({3, 3}));
    EXPECT_FALSE(grid.getIsQuadValid({-1, 0}));
    EXPECT_FALSE(grid.getIsQuadValid({0, -1}));
    EXPECT_FALSE(grid.getIsQuadValid({std::numeric_limits<int>::max(), 0}));
    EXPECT_FALSE(grid.getIsQuadValid({0, std::numeric_limits<int>::max()}));
    EXPECT_FALSE(grid.getIsQuadValid({std::numeric_limits<int>::min(), 0}));
}

TEST_F(Grid, BoundaryPointIsAValidNodeBesideAMissingOne) {
    RectMesh grid = flatGrid(2, 2);
    for (int v = 0; v <= 2; ++v) {
        for (int u = 0; u <= 2; ++u) {
            EXPECT_FALSE(grid.getIsBoundaryPoint({u, v})) << "the rim of the grid does not count";
        }
    }
    grid.setPointValidity({1, 1}, false);
    for (GridIndex const& neighbour : {GridIndex(0, 1), GridIndex(2, 1), GridIndex(1, 0), GridIndex(1, 2)}) {
        EXPECT_TRUE(grid.getIsBoundaryPoint(neighbour));
    }
    for (GridIndex const& corner : {GridIndex(0, 0), GridIndex(2, 0), GridIndex(0, 2), GridIndex(2, 2)}) {
        EXPECT_FALSE(grid.getIsBoundaryPoint(corner));
    }
    EXPECT_FALSE(grid.getIsBoundaryPoint({1, 1}));
    EXPECT_FALSE(grid.getIsBoundaryPoint({3, 1}));
}

TEST_F(Grid, NonExtendedPointHasInteriorOrBoundarySet) {
    RectMesh grid = flatGrid(2, 2);
    for (auto const& [flags, expected] : std::vector<std::pair<char, bool>>{
             {1, false}, {3, true}, {5, true}, {7, true}, {17, false}, {2, false}, {4, false}, {21, true}}) {
        grid.setPointFlags({1, 1}, flags);
        EXPECT_EQ(grid.getIsInteriorNonExtendedPoint({1, 1}), expected) << int{flags};
    }
    EXPECT_FALSE(grid.getIsInteriorNonExtendedPoint({3, 1}));
}

TEST_F(Grid, NodesAgreeWithThePlainGridOverAllFamilies) {
    for (GridFamily& family : gridFamilies(71)) {
        scatterFlags(family.grid, 5);
        PlainGrid const plain = plainGridOf(family.grid);
        for (int v = -1; v <= static_cast<int>(plain.highestV) + 1; ++v) {
            for (int u = -1; u <= static_cast<int>(plain.highestU) + 1; ++u) {
                ASSERT_EQ(family.grid.getIsPointInBounds({u, v}), plain.getIsInBounds({u, v}));
                ASSERT_EQ(family.grid.getIsPointValid({u, v}), plain.getIsPointValid({u, v}));
                ASSERT_EQ(family.grid.getIsQuadValid({u, v}), plain.getIsQuadValid({u, v}));
                ASSERT_EQ(family.grid.getIsBoundaryPoint({u, v}), plain.getIsBoundaryPoint({u, v}));
                ASSERT_EQ(family.grid.getIsInteriorNonExtendedPoint({u, v}),
                          plain.getIsInteriorNonExtendedPoint({u, v}));
            }
        }
    }
}

// Settings

TEST_F(Grid, SettersStore) {
    RecordingListener listener;
    RectMesh grid;
    grid.setOffset({-3, 4});
    EXPECT_EQ(grid.getOffset(), GridStep(-3, 4));
    grid.setAxisFlipFlags(false, true);
    EXPECT_FALSE(grid.doFlipUAxis);
    EXPECT_TRUE(grid.doFlipVAxis);
    grid.setDoFlipNormals(true);
    EXPECT_TRUE(grid.doFlipNormals);
    grid.setDoUseDoubleSided(true);
    EXPECT_TRUE(grid.doUseDoubleSided);
    grid.setProgressListener(&listener);
    EXPECT_EQ(grid.progressListener, &listener);
    grid.setActivePositionFlags(0x100000005UL);
    EXPECT_EQ(grid.activePositionFlags, 5U);
    grid.setPosition(0x100000007UL);
    EXPECT_EQ(grid.position, 7U);
}

TEST_F(Grid, MegabytesAreTheWholeQuotientOfTheNodes) {
    EXPECT_EQ(RectMesh::getNumberOfMBs(204, 204), 1U);
    EXPECT_EQ(RectMesh::getNumberOfMBs(203, 203), 0U);
    EXPECT_EQ(RectMesh::getNumberOfMBs(41942, 0), 1U);
    EXPECT_EQ(RectMesh::getNumberOfMBs(41941, 0), 0U);
    // The product wraps around in 32 bits.
    EXPECT_EQ(RectMesh::getNumberOfMBs(0xFFFF, 0xFFFF), 0U);
    EXPECT_EQ(RectMesh::getNumberOfMBs(0xFFFFFFFFUL, 12), 0U);
}

// Search points

TEST_F(Grid, SearchPointsAgreeWithThePlainGridOverAllFamilies) {
    for (GridFamily const& family : gridFamiliesWithQuads(73)) {
        for (std::uint32_t const divisor : {4096U, 64U, 7U, 1U}) {
            RectMesh grid;
            grid.quadsPerSearchPoint = divisor;
            grid = family.grid;
            EXPECT_TRUE(sameSearchPoints(grid, plainGridOf(grid))) << family.name << " " << divisor;
        }
    }
}

TEST_F(Grid, AtLeastEightSearchPointsAreAimedAtInTheGridsAspect) {
    RectMesh const square = flatGrid(20, 20);
    EXPECT_EQ(square.numberOfSearchPointsU, 2U);
    EXPECT_EQ(square.numberOfSearchPointsV, 2U);
    std::vector<GridIndex> const expected{{6, 6}, {13, 6}, {6, 13}, {13, 13}};
    EXPECT_EQ(square.searchPoints, expected);
    RectMesh const wide = flatGrid(64, 2);
    EXPECT_EQ(wide.numberOfSearchPointsU, 16U);
    EXPECT_EQ(wide.numberOfSearchPointsV, 1U);
}

TEST_F(Grid, CountsOfSearchPointsAgreeWithThePlainGridForAllSmallExtents) {
    for (std::uint32_t const divisor : {4096U, 1U}) {
        for (std::uint32_t u = 1; u < 20; ++u) {
            for (std::uint32_t v = 1; v < 20; ++v) {
                RectMesh grid;
                grid.quadsPerSearchPoint = divisor;
                grid.init(Extents(u, v));
                settle(grid);
                ASSERT_TRUE(sameSearchPoints(grid, plainGridOf(grid))) << u << " " << v;
            }
        }
    }
}

TEST_F(Grid, LowerQuadIsTakenWhenBothAreEquallyNear) {
    // Base (6, 6) lies in a hole; quads (6, 4) and (6, 8) are the nearest in its column.
    RectMesh grid = flatGrid(20, 20);
    punchHole(grid, {5, 6}, {8, 7});
    EXPECT_EQ(grid.searchPoints.front(), GridIndex(6, 4));
    punchHole(grid, {5, 5}, {8, 5});
    EXPECT_EQ(grid.searchPoints.front(), GridIndex(6, 8));
}

TEST_F(Grid, ColumnWithoutQuadsGivesNoSearchPoint) {
    RectMesh grid = flatGrid(20, 20);
    punchHole(grid, {6, 0}, {6, 20});
    std::vector<GridIndex> const expected{{13, 6}, {13, 13}};
    EXPECT_EQ(grid.searchPoints, expected);
}

TEST_F(Grid, SearchPointsOfAGridWithoutQuadsAreNone) {
    for (GridFamily const& family : gridFamilies(79)) {
        if (family.grid.getExtents().getdU() != 0 && family.grid.getExtents().getdV() != 0) {
            continue;
        }
        RectMesh grid;
        grid = family.grid;
        EXPECT_EQ(grid.numberOfSearchPointsU, 1U) << family.name;
        EXPECT_EQ(grid.numberOfSearchPointsV, 1U) << family.name;
        EXPECT_TRUE(grid.searchPoints.empty()) << family.name;
    }
}

TEST_F(Grid, NumbersOfSearchPointsAreStoredAndDoNotShapeTheLattice) {
    RectMesh grid = flatGrid(20, 20);
    std::vector<GridIndex> const before = grid.searchPoints;
    grid.searchPoints.clear();
    grid.setNumberOfSearchPoints(3, 5);
    EXPECT_EQ(grid.numberOfSearchPointsU, 3U);
    EXPECT_EQ(grid.numberOfSearchPointsV, 5U);
    EXPECT_EQ(grid.searchPoints, before);
}

// Boundary edges

TEST_F(Grid, BoundaryEdgeIsTheFirstOfTheScanAfterOneTurn) {
    RectMesh grid = flatGrid(4, 4);
    // From node (0, 0): the walk starts with the turned edge, so the edge at the bottom comes last. Of the
    // four, (0, 1) down to (0, 0) is the first on the boundary.
    Edge const edge = grid.getBoundaryEdge();
    EXPECT_EQ(edge, Edge(&grid, {0, 1}, Edge::NegativeV));
    EXPECT_TRUE(edge.isBoundary());
}

TEST_F(Grid, BoundaryEdgeOfOneQuadStartsOneCornerOn) {
    RectMesh grid = flatGrid(1, 1);
    EXPECT_EQ(grid.getBoundaryEdge(), Edge(&grid, {1, 0}, Edge::PositiveV));
}

TEST_F(Grid, ScanForABoundaryEndsAtTheExtentAlongU) {
    RectMesh tall = flatGrid(3, 12);
    punchHole(tall, {0, 0}, {3, 3});
    // Row 4 has quads, but the scan ends with row 3.
    EXPECT_TRUE(tall.getIsQuadValid({0, 4}));
    EXPECT_EQ(messageOf([&] { tall.getBoundaryEdge(); }), "No boundary found");
    RectMesh reached = flatGrid(3, 12);
    punchHole(reached, {0, 0}, {3, 2});
    EXPECT_EQ(reached.getBoundaryEdge().org(), GridIndex(0, 4));
}

TEST_F(Grid, NoBoundaryWithoutQuads) {
    RectMesh none = flatGrid(3, 3);
    punchHole(none, {0, 0}, {3, 3});
    EXPECT_EQ(messageOf([&] { none.getBoundaryEdge(); }), "No boundary found");
    RectMesh row = flatGrid(5, 0);
    EXPECT_EQ(messageOf([&] { row.getBoundaryEdge(); }), "No boundary found");
    RectMesh empty;
    EXPECT_EQ(messageOf([&] { empty.getBoundaryEdge(); }), "No boundary found");
}

TEST_F(Grid, BoundaryEdgesAgreeWithThePlainGridOverAllFamilies) {
    int found = 0;
    for (GridFamily& family : gridFamilies(83)) {
        PlainGrid const plain = plainGridOf(family.grid);
        std::optional<PlainEdge> const expected = plain.getBoundaryEdge();
        if (!expected) {
            EXPECT_EQ(messageOf([&] { family.grid.getBoundaryEdge(); }), "No boundary found") << family.name;
            continue;
        }
        Edge const edge = family.grid.getBoundaryEdge();
        EXPECT_EQ(edge.org(), GridIndex(expected->origin.u, expected->origin.v)) << family.name;
        EXPECT_EQ(edge.orientation, expected->orientation) << family.name;
        ++found;
    }
    EXPECT_GT(found, 15);
}

TEST_F(Grid, RowsAreSharedAndNotCopied) {
    RectMesh grid = flatGrid(3, 2);
    std::shared_ptr<SpacePoint const> const row = grid.getRow(2);
    ASSERT_NE(row, nullptr);
    for (int u = 0; u <= 3; ++u) {
        EXPECT_EQ(row.get()[u], grid.getPoint({u, 2})) << u;
    }
    grid.setPoint({1, 2}, SpacePoint(7.0, 8.0, 9.0));
    EXPECT_EQ(row.get()[1], SpacePoint(7.0, 8.0, 9.0));
    EXPECT_EQ(RectMesh(grid).getRow(2), row);
}

TEST_F(Grid, ARowOutlivesItsGrid) {
    auto grid = std::make_unique<RectMesh>(flatGrid(3, 2));
    SpacePoint const last = grid->getPoint({3, 1});
    std::shared_ptr<SpacePoint const> const row = grid->getRow(1);
    *grid = flatGrid(1, 1);
    EXPECT_NE(grid->getRow(1), row);
    grid.reset();
    EXPECT_EQ(row.get()[3], last);
}

TEST_F(Grid, ARowThatIsNotThereIsNull) {
    EXPECT_EQ(RectMesh().getRow(0), nullptr);
    RectMesh const grid = flatGrid(3, 2);
    EXPECT_EQ(grid.getRow(3), nullptr);
    EXPECT_EQ(grid.getRow(0x100000000UL), grid.getRow(0));
}

TEST_F(Grid, ArbitraryEdgeOfANodePointsAlongU) {
    RectMesh grid = flatGrid(3, 3);
    EXPECT_EQ(grid.getVertexArbitraryEdge({2, 1}), Edge(&grid, {2, 1}, Edge::PositiveU));
}

} // namespace QELT::Testing
