#include "Geometry/quadmesh/internal/quadreader.h"
#include "Geometry/search/internal/beamwalk.h"
#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::BeamWalk;

constexpr double pi = 3.141592653589793;
constexpr double quarterTurn = 1.5707963267948966;

class RaySearch : public SearchTest {};

Beam down(double x, double y, double height = 5.0) {
    return {{x, y, height}, {0.0, 0.0, -1.0}};
}

void warm(RectMesh& grid, GridIndex const& quad) {
    grid.doResetSearch = false;
    grid.lastQuadIndices = quad;
}

QuadIndicesIntersectionStatus ask(RectMesh& grid, Beam const& beam, bool doReset = false) {
    return grid.getIntersectionStatus(beam.origin, beam.direction, doReset);
}

bool hits(RectMesh const& grid, GridIndex const& quad, Beam const& beam) {
    SpacePoint hitPoint;
    return grid.getDoesIntersectQuad(quad, beam.origin, beam.direction, hitPoint, nullptr);
}

/// Two rows of nodes, y = 0 and y = 1, over the heights z at x = 0, 1, 2, ...; a beam along x at
/// (y, z) = (0.3, 0) walks along u alone. NaN stands for a node that is not valid.
RectMesh profileGrid(std::vector<double> const& heights) {
    auto const highest = static_cast<std::uint32_t>(heights.size() - 1);
    RectMesh grid = makeGrid(highest, 1, [&](int u, int v) {
        double const height = heights[static_cast<std::size_t>(u)];
        return SpacePoint(u, v, std::isnan(height) ? 0.0 : height);
    });
    for (int u = 0; u <= static_cast<int>(highest); ++u) {
        if (std::isnan(heights[static_cast<std::size_t>(u)])) {
            punchHole(grid, {u, 0}, {u, 1});
        }
    }
    return grid;
}

Beam alongProfile() {
    return {{-100.0, 0.3, 0.0}, {1.0, 0.0, 0.0}};
}

} // namespace

// The exact test of one quad

/// The differences of the sliver's corners are rounded, and its long edges then open like a wedge: a beam in
/// their line meets it some sixty times its length away. So no box around a grid, with whatever margin, tells
/// which beams miss it.
TEST_F(RaySearch, ASliverIsMetFarBeyondItsCorners) {
    std::array<SpacePoint, 4> const nodes{
        SpacePoint(0x1.56a5b2p-29, 0x1.b9a6dap-32, 0.0), SpacePoint(0x1.33b2a2p-4, 0x1.9d2618p-6, 0.0),
        SpacePoint(0.2, 1.0, 0.0), SpacePoint(0x1.21e8e2p+0, 0x1.8543bap-2, 0.0)};
    RectMesh grid = makeGrid(1, 1, [&](int u, int v) { return nodes[static_cast<std::size_t>(2 * v + u)]; });
    Beam const far = down(0x1.21e8e2p+6, 0x1.8543bap+4);
    ASSERT_TRUE(hits(grid, {0, 0}, far));
    QuadIndicesIntersectionStatus const status = ask(grid, far, true);
    ASSERT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getQuadPoint(), SpacePoint(0x1.21e8e2p+6, 0x1.8543bap+4, 0.0));
    EXPECT_FALSE(hits(grid, {0, 0}, down(0x1.21e8e2p+6, 0x1.8543bap+4 + 0.01)));
}

TEST_F(RaySearch, QuadTestMeasuresAHeadOnHit) {
    RectMesh const grid = flatGrid(4, 4);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 2}, {1.75, 2.25, 5.0}, {0.0, 0.0, -2.0}, hitPoint, &data));
    EXPECT_EQ(hitPoint, SpacePoint(1.75, 2.25, 0.0));
    EXPECT_EQ(data.getDistanceToObject(), 5.0);
    EXPECT_EQ(data.getAngleToObjectNormal(), pi);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), 0.125);
}

TEST_F(RaySearch, QuadTestTriesTheUpperTriangleAfterTheLower) {
    RectMesh const grid = flatGrid(4, 4);
    EXPECT_TRUE(hits(grid, {1, 2}, down(1.75, 2.25)));
    EXPECT_TRUE(hits(grid, {1, 2}, down(1.25, 2.75)));
    EXPECT_FALSE(hits(grid, {1, 2}, down(2.25, 2.75)));
}

TEST_F(RaySearch, QuadTestWithoutDataAnswersAlike) {
    RectMesh const grid = flatGrid(2, 2);
    SpacePoint hitPoint;
    EXPECT_TRUE(grid.getDoesIntersectQuad({0, 0}, {0.5, 0.25, 1.0}, {0.0, 0.0, -1.0}, hitPoint, nullptr));
    EXPECT_EQ(hitPoint, SpacePoint(0.5, 0.25, 0.0));
}

TEST_F(RaySearch, QuadTestMissesExactlyOnTheDiagonalTheEdgesAndTheCorners) {
    RectMesh const grid = flatGrid(6, 6);
    for (GridIndex const& quad : {GridIndex(2, 3), GridIndex(1, 3), GridIndex(2, 2), GridIndex(1, 2)}) {
        EXPECT_FALSE(hits(grid, quad, down(2.5, 3.5)));
        EXPECT_FALSE(hits(grid, quad, down(2.0, 3.5)));
        EXPECT_FALSE(hits(grid, quad, down(2.5, 3.0)));
        EXPECT_FALSE(hits(grid, quad, down(2.0, 3.0)));
    }
}

TEST_F(RaySearch, QuadTestOfAQuadThatIsNotValidWritesNothing) {
    RectMesh grid = flatGrid(3, 3);
    grid.setPointValidity({2, 2}, false);
    SpacePoint hitPoint(1.0, 2.0, 3.0);
    QuadIntersectionData data(-4.0, -5.0, -6.0);
    for (GridIndex const& quad : {GridIndex(1, 1), GridIndex(3, 0), GridIndex(0, 3), GridIndex(-1, 0),
                                  GridIndex(0, std::numeric_limits<int>::max())}) {
        EXPECT_FALSE(grid.getDoesIntersectQuad(quad, {1.5, 1.25, 5.0}, {0.0, 0.0, -1.0}, hitPoint, &data));
    }
    EXPECT_EQ(hitPoint, SpacePoint(1.0, 2.0, 3.0));
    EXPECT_EQ(data.getDistanceToObject(), -4.0);
    EXPECT_EQ(data.getAngleToObjectNormal(), -5.0);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), -6.0);
}

TEST_F(RaySearch, QuadTestWritesTheHitPointOfTheLastPlaneOnAMiss) {
    // With (1, 0) at height 1 the lower triangle's plane is z = x - y, the upper one's z = 0.
    RectMesh grid = flatGrid(3, 3);
    grid.setPoint({1, 0}, {1.0, 0.0, 1.0});
    SpacePoint hitPoint;
    QuadIntersectionData data(-4.0, -5.0, -6.0);
    EXPECT_FALSE(grid.getDoesIntersectQuad({0, 0}, {2.5, 1.25, 5.0}, {0.0, 0.0, -1.0}, hitPoint, &data));
    EXPECT_EQ(hitPoint, SpacePoint(2.5, 1.25, 0.0));
    EXPECT_EQ(data.getDistanceToObject(), -4.0);
    EXPECT_EQ(data.getAngleToObjectNormal(), -5.0);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), -6.0);
}

TEST_F(RaySearch, DistanceBehindTheOriginIsNegative) {
    RectMesh const grid = flatGrid(3, 3);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {1.5, 1.25, -3.0}, {0.0, 0.0, -1.0}, hitPoint, &data));
    EXPECT_EQ(data.getDistanceToObject(), -3.0);
}

TEST_F(RaySearch, DistanceAtTheOriginItselfIsMinusZero) {
    RectMesh const grid = flatGrid(3, 3);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {1.5, 1.25, 0.0}, {0.0, 0.0, -1.0}, hitPoint, &data));
    EXPECT_TRUE(sameBits(data.getDistanceToObject(), -0.0));
}

TEST_F(RaySearch, FlippedNormalsTurnTheAngleOver) {
    RectMesh grid = flatGrid(3, 3);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    grid.setDoFlipNormals(true);
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {1.5, 1.25, 5.0}, {0.0, 0.0, -1.0}, hitPoint, &data));
    EXPECT_EQ(data.getAngleToObjectNormal(), 0.0);
}

TEST_F(RaySearch, EnabledFlipAngleTurnsTheMeasuredAngleOver) {
    RectMesh const grid = flatGrid(3, 3);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    SpaceVector const slanted(1.0, 0.0, -1.0);
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {0.5, 1.25, 1.0}, slanted, hitPoint, &data));
    double const angle = data.getAngleToObjectNormal();
    EXPECT_EQ(angle, std::atan2(std::sqrt(1.0), -1.0));
    QuadIntersectionData::isEnableFlipAngle = true;
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {0.5, 1.25, 1.0}, slanted, hitPoint, &data));
    EXPECT_EQ(data.getAngleToObjectNormal(), 3.141592653589793 - angle);
}

TEST_F(RaySearch, DistancesBelowTenThousandAloneAreMeasured) {
    RectMesh const grid = flatGrid(3, 3);
    SpacePoint hitPoint;
    QuadIntersectionData data(-4.0, -5.0, -6.0);
    Beam const atLimit = down(1.5, 1.25, 10000.0);
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, atLimit.origin, atLimit.direction, hitPoint, &data));
    EXPECT_EQ(hitPoint, SpacePoint(1.5, 1.25, 0.0));
    EXPECT_EQ(data.getDistanceToObject(), -4.0);
    EXPECT_EQ(data.getAngleToObjectNormal(), -5.0);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), -6.0);
    Beam const nearer = down(1.5, 1.25, 9999.99);
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, nearer.origin, nearer.direction, hitPoint, &data));
    EXPECT_NEAR(data.getDistanceToObject(), 9999.99, 1e-3);
    EXPECT_LT(data.getDistanceToObject(), 10000.0);
}

TEST_F(RaySearch, DoubleSidedIsNotHeeded) {
    RectMesh grid = flatGrid(3, 3);
    QuadIntersectionData one;
    QuadIntersectionData other;
    SpacePoint hitPoint;
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {1.5, 1.25, -5.0}, {0.0, 0.0, 1.0}, hitPoint, &one));
    grid.setDoUseDoubleSided(true);
    ASSERT_TRUE(grid.getDoesIntersectQuad({1, 1}, {1.5, 1.25, -5.0}, {0.0, 0.0, 1.0}, hitPoint, &other));
    EXPECT_EQ(one.getAngleToObjectNormal(), 0.0);
    EXPECT_EQ(other.getAngleToObjectNormal(), 0.0);
}

// The walk and its memory

TEST_F(RaySearch, RepeatedQueryIsAnsweredAtTheRememberedQuadWithoutAStep) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = wavyGrid(60, 60, 1.0);
    Beam const beam = down(41.3, 17.6);
    QuadIndicesIntersectionStatus const first = ask(grid, beam);
    ASSERT_TRUE(first.getIsValid());
    ASSERT_FALSE(grid.doResetSearch);
    grid.nodes.clear();
    QuadIndicesIntersectionStatus const second = ask(grid, beam);
    EXPECT_TRUE(second.getIsValid());
    EXPECT_EQ(second.getIndices(), first.getIndices());
    EXPECT_EQ(second.getQuadPoint(), first.getQuadPoint());
    // Neither a start was looked for nor another quad visited: only the quad's own corners were read.
    ASSERT_FALSE(grid.nodes.empty());
    for (GridIndex const& node : grid.nodes) {
        GridStep const fromLow = node - first.getIndices();
        EXPECT_TRUE(fromLow.getdU() == 0 || fromLow.getdU() == 1);
        EXPECT_TRUE(fromLow.getdV() == 0 || fromLow.getdV() == 1);
    }
}

TEST_F(RaySearch, BeamOnTheDiagonalOrACommonEdgeIsAMiss) {
    RectMesh grid = flatGrid(10, 10);
    for (Beam const& beam : {down(2.5, 3.5), down(7.0, 3.5), down(2.5, 6.0), down(4.0, 4.0)}) {
        EXPECT_FALSE(ask(grid, beam).getIsValid());
        EXPECT_TRUE(grid.doResetSearch);
        EXPECT_FALSE(grid.getIntersection(beam.origin, beam.direction).getIsValid());
    }
    EXPECT_TRUE(ask(grid, down(2.51, 3.5)).getIsValid());
}

TEST_F(RaySearch, WalkEndsAtAStepOfZero) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(10, 10);
    SearchTwin pair(grid);
    pair.setMemory(false, {2, 3});
    grid.nodes.clear();
    EXPECT_TRUE(pair.agreesOn(down(2.5, 3.5), Query::Status));
    EXPECT_FALSE(pair.actual.getIsValid());
    EXPECT_EQ(pair.twin.lastWalkSteps, 1);
    // The quad's four corners, once for its test and the step. The quad is not tested twice.
    EXPECT_EQ(grid.nodes.size(), 4U);
    EXPECT_FALSE(grid.getWasRead({5, 5})) << "the middle, where a cold search would look first";
}

TEST_F(RaySearch, StepAcrossAHoleOntoTheFarSideHits) {
    RectMesh grid = flatGrid(30, 10);
    punchHole(grid, {10, 0}, {19, 10});
    warm(grid, {3, 5});
    QuadIndicesIntersectionStatus const status = ask(grid, down(25.6, 5.3));
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(25, 5));
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(25, 5));
}

TEST_F(RaySearch, FootInAHoleIsGivenUpAndTheNextSearchIsCold) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(30, 10);
    punchHole(grid, {10, 0}, {19, 10});
    warm(grid, {3, 5});
    grid.nodes.clear();
    QuadIndicesIntersectionStatus const status = ask(grid, down(15.6, 5.3));
    EXPECT_FALSE(status.getIsValid());
    EXPECT_EQ(status.getQuadPoint(), SpacePoint());
    EXPECT_EQ(status.getIndices(), GridIndex(0, 0));
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(3, 5));
    // It came back to the rim and looked from there.
    EXPECT_TRUE(grid.getWasRead({9, 5}));
    EXPECT_FALSE(grid.getWasRead({10, 5}));
}

TEST_F(RaySearch, StepIntoAHoleRetreatsToItsRimAndGoesOnFromThere) {
    // Quad 0 throws the walk 10 quads on, into the hole; its rim, quad 3, throws it 17 on to the quad that
    // the beam meets.
    double const none = std::nan("");
    std::vector<double> heights(22, none);
    heights[0] = 10.5;
    heights[1] = 9.5;
    heights[2] = 10.0;
    heights[3] = 17.5;
    heights[4] = 16.5;
    heights[20] = 1.0;
    heights[21] = -1.0;
    RectMesh grid = profileGrid(heights);
    warm(grid, {0, 0});
    QuadIndicesIntersectionStatus const status = ask(grid, alongProfile());
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(20, 0));
}

TEST_F(RaySearch, ThreeLandingsOffTheGridInARowAreSurvivedAndTheFourthIsNot) {
    // A chain of islands, each of which throws the walk over a hole: from 0 towards 10, back to 3, towards
    // 20, back to 12, towards 40, back to 27, and then either onto the quad that is hit or into a fourth
    // hole.
    double const none = std::nan("");
    std::vector<double> heights(50, none);
    for (auto const& [u, height] : std::vector<std::pair<std::size_t, double>>{{0, 10.5},
                                                                               {1, 9.5},
                                                                               {2, 10.0},
                                                                               {3, 17.5},
                                                                               {4, 16.5},
                                                                               {11, 20.0},
                                                                               {12, 28.5},
                                                                               {13, 27.5},
                                                                               {26, 20.0},
                                                                               {48, 1.0},
                                                                               {49, -1.0}}) {
        heights[u] = height;
    }
    heights[27] = 21.5;
    heights[28] = 20.5;
    RectMesh survived = profileGrid(heights);
    warm(survived, {0, 0});
    QuadIndicesIntersectionStatus const status = ask(survived, alongProfile());
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(48, 0));

    // From 27 to 70: the way back from there would end on the quad that is hit.
    heights[27] = 43.5;
    heights[28] = 42.5;
    RectMesh givenUp = profileGrid(heights);
    EXPECT_EQ(BeamWalk::getRetreat(givenUp.getQuadReader(), {27, 0}, {70, 0}), GridIndex(48, 0));
    warm(givenUp, {0, 0});
    EXPECT_FALSE(ask(givenUp, alongProfile()).getIsValid());
}

TEST_F(RaySearch, ValidLandingStartsTheCountOfLandingsOffTheGridAnew) {
    // Three landings off the grid, one on it, three off again, then the hit.
    double const none = std::nan("");
    std::vector<double> heights(120, none);
    for (auto const& [u, height] : std::vector<std::pair<std::size_t, double>>{{0, 10.5},
                                                                               {1, 9.5},
                                                                               {2, 10.0},
                                                                               {3, 17.5},
                                                                               {4, 16.5},
                                                                               {11, 20.0},
                                                                               {12, 28.5},
                                                                               {13, 27.5},
                                                                               {26, 20.0},
                                                                               {27, 33.5},
                                                                               {28, 32.5}}) {
        heights[u] = height;
        // The same chain again, 60 quads on, where quad 27 lands.
        heights[u + 60] = height;
    }
    heights[87] = 21.5;
    heights[88] = 20.5;
    heights[108] = 1.0;
    heights[109] = -1.0;
    RectMesh grid = profileGrid(heights);
    warm(grid, {0, 0});
    SearchTwin pair(grid);
    EXPECT_TRUE(pair.agreesOn(alongProfile(), Query::Status));
    EXPECT_EQ(pair.twin.lastWalkSteps, 8);
    EXPECT_EQ(pair.actual.getIndices(), GridIndex(108, 0));
}

TEST_F(RaySearch, HitAfterARetreatIsReportedAndRememberedOneQuadShort) {
    // A floor that turns into a wall at u = 4. The floor's plane throws the walk far past the wall, the first
    // retreat ends on the quad that the beam meets, and the second one moves back from it.
    RectMesh grid =
        makeGrid(8, 1, [](int u, int v) { return SpacePoint(u < 4 ? u : 4, v, u < 4 ? 0 : u - 4); });
    Beam const beam{{0.5, 0.3, 3.9}, {1.0, 0.0, -0.1}};
    EXPECT_TRUE(hits(grid, {7, 0}, beam));
    EXPECT_FALSE(hits(grid, {6, 0}, beam));
    warm(grid, {0, 0});
    QuadIndicesIntersectionStatus const status = ask(grid, beam);
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(6, 0));
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(6, 0));
    EXPECT_FALSE(grid.doResetSearch);
    // The point and the measurements are those of the quad that was hit.
    SpacePoint hitPoint;
    QuadIntersectionData data;
    ASSERT_TRUE(grid.getDoesIntersectQuad({7, 0}, beam.origin, beam.direction, hitPoint, &data));
    EXPECT_EQ(status.getQuadPoint(), hitPoint);
    EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), data.getDistanceSqrToQuadCentre());
}

TEST_F(RaySearch, WalkHitsAfterThirtyTwoStepsAndStopsBeforeTheThirtyThird) {
    // Heights that grow threefold from quad to quad: each quad's plane throws the walk one quad back.
    std::vector<double> heights{-1.0};
    for (int u = 1; u <= 35; ++u) {
        heights.push_back(std::pow(3.0, u - 1));
    }
    RectMesh grid = profileGrid(heights);
    setQualityMode(1);
    warm(grid, {32, 0});
    QuadIndicesIntersectionStatus const status = ask(grid, alongProfile());
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(0, 0));
    warm(grid, {33, 0});
    EXPECT_FALSE(ask(grid, alongProfile()).getIsValid());
    // What the walk did, told by its twin.
    SearchTwin pair(grid);
    pair.setMemory(false, {32, 0});
    EXPECT_TRUE(pair.agreesOn(alongProfile(), Query::Status));
    EXPECT_EQ(pair.twin.lastWalkSteps, 32);
}

TEST_F(RaySearch, WalkThatGoesBackAndForthEnds) {
    // Under the bottom of a valley the beam meets either side's plane only beyond the other side.
    RectMesh grid = makeGrid(20, 4, [](int u, int v) { return SpacePoint(u - 10, v, std::abs(u - 10)); });
    SearchTwin pair(grid);
    pair.setMemory(false, {6, 2});
    EXPECT_TRUE(pair.agreesOn({{-50.0, 2.3, -3.2}, {1.0, 0.0, 0.0}}, Query::Status));
    EXPECT_FALSE(pair.actual.getIsValid());
    EXPECT_EQ(pair.twin.lastWalkSteps, 32);
}

TEST_F(RaySearch, RetreatEndsOnTheLastQuadBeforeTheRim) {
    RectMesh grid = flatGrid(30, 30);
    EXPECT_EQ(BeamWalk::getRetreat(grid.getQuadReader(), {3, 4}, {1000, 4}), GridIndex(29, 4));
    EXPECT_EQ(BeamWalk::getRetreat(grid.getQuadReader(), {3, 4}, {-1000, 4}), GridIndex(0, 4));
    EXPECT_EQ(BeamWalk::getRetreat(grid.getQuadReader(), {3, 4}, {3, 4}), GridIndex(3, 4));
    EXPECT_EQ(BeamWalk::getRetreat(grid.getQuadReader(), {3, 4}, {4, 4}), GridIndex(3, 4));
    EXPECT_EQ(BeamWalk::getRetreat(grid.getQuadReader(), {10, 10}, {110, 60}), GridIndex(29, 19));
}

TEST_F(RaySearch, RetreatWrapsAroundAndEndsForEveryIndex) {
    RectMesh grid = flatGrid(30, 30);
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    for (GridIndex const& bad : {GridIndex(lowest, lowest), GridIndex(highest, lowest), GridIndex(lowest, 5),
                                 GridIndex(7, highest)}) {
        EXPECT_TRUE(grid.getIsQuadValid(BeamWalk::getRetreat(grid.getQuadReader(), {5, 5}, bad)));
    }
}

TEST_F(RaySearch, BeamParallelToTheSurfaceMisses) {
    RectMesh grid = flatGrid(10, 10);
    EXPECT_FALSE(hits(grid, {5, 5}, {{5.3, 5.6, 1.0}, {1.0, 0.0, 0.0}}));
    EXPECT_FALSE(hits(grid, {5, 5}, {{4.3, 5.6, 0.0}, {1.0, 0.0, 0.0}}));
    EXPECT_FALSE(ask(grid, {{5.3, 5.6, 1.0}, {1.0, 0.0, 0.0}}).getIsValid());
    EXPECT_FALSE(ask(grid, {{4.3, 5.6, 0.0}, {1.0, 1.0, 0.0}}).getIsValid());
    EXPECT_TRUE(grid.doResetSearch);
}

TEST_F(RaySearch, ZeroAndNonFiniteBeamsMiss) {
    RectMesh grid = flatGrid(10, 10);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    SpacePoint const origin(5.3, 5.6, 4.0);
    for (SpaceVector const& direction :
         {SpaceVector(), SpaceVector(std::nan(""), 0.0, 0.0), SpaceVector(0.0, 0.0, -infinity),
          SpaceVector(infinity, -infinity, infinity)}) {
        EXPECT_FALSE(grid.getIntersection(origin, direction).getIsValid());
    }
    for (SpacePoint const& bad : {SpacePoint(std::nan(""), 0.0, 0.0), SpacePoint(0.0, infinity, 1.0),
                                  SpacePoint(5.3, 5.6, infinity)}) {
        EXPECT_FALSE(grid.getIntersection(bad, {0.0, 0.0, -1.0}).getIsValid());
    }
}

// What is remembered

TEST_F(RaySearch, RememberedHitMakesTheNextSearchWarm) {
    RectMesh grid = flatGrid(10, 10);
    EXPECT_TRUE(grid.doResetSearch);
    ASSERT_TRUE(ask(grid, down(7.3, 2.6)).getIsValid());
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(7, 2));
    ASSERT_TRUE(ask(grid, down(3.3, 8.6)).getIsValid());
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(3, 8));
}

TEST_F(RaySearch, MissMakesTheNextSearchColdAndKeepsTheQuad) {
    RectMesh grid = flatGrid(10, 10);
    ask(grid, down(7.3, 2.6));
    EXPECT_FALSE(ask(grid, down(70.3, 2.6)).getIsValid());
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(7, 2));
}

TEST_F(RaySearch, ResetMakesTheNextSearchCold) {
    RectMesh grid = flatGrid(10, 10);
    ask(grid, down(7.3, 2.6));
    grid.resetQuadIndicesSearch();
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(7, 2));
}

TEST_F(RaySearch, ResettingQueryLooksForAStartAnew) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    ask(grid, down(7.3, 2.6));
    grid.nodes.clear();
    ASSERT_TRUE(ask(grid, down(7.3, 2.6), true).getIsValid());
    EXPECT_TRUE(grid.getWasRead({20, 20}));
    EXPECT_FALSE(grid.doResetSearch);
}

TEST_F(RaySearch, BackSideHitIsRememberedByDistanceAlone) {
    for (auto const& [mode, isRemembered] :
         std::vector<std::pair<int, bool>>{{0, false}, {1, true}, {2, false}, {3, false}, {-1, false}}) {
        RectMesh grid = flatGrid(10, 10);
        setQualityMode(mode);
        ASSERT_TRUE(ask(grid, {{7.3, 2.6, -5.0}, {0.0, 0.0, 1.0}}).getIsValid());
        EXPECT_EQ(grid.doResetSearch, !isRemembered) << mode;
        EXPECT_EQ(grid.lastQuadIndices, isRemembered ? GridIndex(7, 2) : GridIndex(0, 0)) << mode;
    }
}

TEST_F(RaySearch, FarHitIsRememberedByAngleAlone) {
    for (auto const& [mode, isRemembered] :
         std::vector<std::pair<int, bool>>{{0, false}, {1, false}, {2, true}, {3, false}}) {
        RectMesh grid = flatGrid(10, 10);
        setQualityMode(mode);
        ASSERT_TRUE(ask(grid, down(7.3, 2.6, 1500.0)).getIsValid());
        EXPECT_EQ(grid.doResetSearch, !isRemembered) << mode;
    }
}

TEST_F(RaySearch, NothingIsRememberedInAnUnknownMode) {
    RectMesh grid = flatGrid(10, 10);
    setQualityMode(3);
    ASSERT_TRUE(ask(grid, down(7.3, 2.6)).getIsValid());
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(0, 0));
}

TEST_F(RaySearch, DistanceOfExactlyAThousandIsNotRemembered) {
    for (int const mode : {0, 1}) {
        setQualityMode(mode);
        RectMesh atLimit = flatGrid(10, 10);
        ASSERT_TRUE(ask(atLimit, down(7.3, 2.6, 1000.0)).getIsValid());
        EXPECT_TRUE(atLimit.doResetSearch);
        RectMesh nearer = flatGrid(10, 10);
        ASSERT_TRUE(ask(nearer, down(7.3, 2.6, 999.999)).getIsValid());
        EXPECT_FALSE(nearer.doResetSearch);
    }
}

TEST_F(RaySearch, AngleOfExactlyAQuarterTurnIsNotRememberedButConvinces) {
    // So flat a beam that its angle rounds to a quarter turn, though it does meet the plane.
    Beam const grazing{{6.3, 2.6, 1e-20}, {1.0, 0.0, -1e-20}};
    for (int const mode : {0, 2}) {
        setQualityMode(mode);
        RectMesh grid = flatGrid(10, 10);
        QuadIndicesIntersectionStatus const status = ask(grid, grazing);
        ASSERT_TRUE(status.getIsValid());
        ASSERT_EQ(status.getIntersectionData().getAngleToObjectNormal(), quarterTurn);
        EXPECT_TRUE(grid.doResetSearch);
    }
    // A search that is not tried again does not look for a start anew.
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    warm(grid, {7, 2});
    EXPECT_TRUE(grid.getIntersection(grazing.origin, grazing.direction).getIsValid());
    EXPECT_FALSE(grid.getWasRead({20, 20}));
}

TEST_F(RaySearch, HitBehindTheOriginIsNearEnoughHoweverFar) {
    RectMesh grid = flatGrid(10, 10);
    setQualityMode(1);
    QuadIndicesIntersectionStatus const status = ask(grid, {{7.3, 2.6, 5000.0}, {0.0, 0.0, 1.0}});
    ASSERT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), -5000.0);
    EXPECT_FALSE(grid.doResetSearch);
}

TEST_F(RaySearch, HitBeyondTenThousandIsRememberedByDistanceAlone) {
    for (auto const& [mode, isRemembered] :
         std::vector<std::pair<int, bool>>{{0, false}, {1, true}, {2, false}, {3, false}}) {
        RectMesh grid = flatGrid(10, 10);
        setQualityMode(mode);
        ASSERT_TRUE(ask(grid, down(7.3, 2.6, 12000.0)).getIsValid());
        EXPECT_EQ(grid.doResetSearch, !isRemembered) << mode;
    }
}

TEST_F(RaySearch, HitBeyondTenThousandIsValidWithMeasurementsOfZero) {
    RectMesh grid = flatGrid(10, 10);
    QuadIndicesIntersectionStatus const status = ask(grid, down(7.3, 2.6, 12000.0));
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(7, 2));
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 0.0);
    EXPECT_EQ(status.getIntersectionData().getAngleToObjectNormal(), 0.0);
    EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), 0.0);
    EXPECT_TRUE(grid.doResetSearch);
    setQualityMode(1);
    ask(grid, down(7.3, 2.6, 12000.0));
    EXPECT_FALSE(grid.doResetSearch);
}

// The retry

TEST_F(RaySearch, ConvincingWarmHitIsReturnedWithoutARetry) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    warm(grid, {7, 2});
    Beam const beam = down(7.3, 2.6);
    EXPECT_TRUE(grid.getIntersection(beam.origin, beam.direction).getIsValid());
    EXPECT_FALSE(grid.getWasRead({20, 20}));
}

TEST_F(RaySearch, BackSideHitIsRetriedFromAFreshStart) {
    NotingGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(40, 40);
    warm(grid, {7, 2});
    EXPECT_TRUE(grid.getIntersection({7.3, 2.6, -5.0}, {0.0, 0.0, 1.0}).getIsValid());
    EXPECT_TRUE(grid.getWasRead({20, 20}));
}

TEST_F(RaySearch, ValidWarmHitIsGivenUpForARetryThatMisses) {
    // Quads of u >= 6 hang behind a hole; the beam meets them from behind. A fresh start near the beam's
    // origin stands on the left part, from which every step lands in the hole.
    double const none = std::nan("");
    std::vector<double> heights{10.0, 9.0, none, none, none, none, none, none, none, none, -1.0, 1.0};
    RectMesh grid = profileGrid(heights);
    Beam const beam{{0.0, 0.3, 0.0}, {1.0, 0.0, 0.0}};
    setQualityMode(1);
    grid.setDoFlipNormals(true);
    warm(grid, {10, 0});
    QuadIndicesIntersectionStatus const first = ask(grid, beam);
    ASSERT_TRUE(first.getIsValid());
    ASSERT_LT(first.getIntersectionData().getAngleToObjectNormal(), quarterTurn);
    // The cold search alone misses: its start is the middle of the grid, in the hole.
    RectMesh cold = profileGrid(heights);
    cold.setDoFlipNormals(true);
    ASSERT_FALSE(ask(cold, beam, true).getIsValid());
    warm(grid, {10, 0});
    EXPECT_FALSE(grid.getIntersection(beam.origin, beam.direction).getIsValid());
    EXPECT_TRUE(grid.doResetSearch);
}

TEST_F(RaySearch, HitWhoseAngleIsNoNumberConvincesButIsNotRemembered) {
    // So long a direction that its inner product with the normal is infinite, which leaves the hit at the
    // beam's origin, and that their cross product takes infinities from each other.
    NotingGrid grid;
    static_cast<RectMesh&>(grid) =
        makeGrid(20, 20, [](int u, int v) { return SpacePoint(1000.0 * u, 1000.0 * v, 50.0 * v); });
    warm(grid, {1, 1});
    grid.nodes.clear();
    SpacePoint const centroid(5000.0 / 3.0, 4000.0 / 3.0, 200.0 / 3.0);
    QuadIndicesIntersectionStatus const status = grid.getIntersection(centroid, {1e305, 1e305, -1e305});
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(1, 1));
    EXPECT_TRUE(std::isnan(status.getIntersectionData().getAngleToObjectNormal()));
    EXPECT_FALSE(grid.getWasRead({10, 10})) << "the middle, where a cold search would look first";
    EXPECT_TRUE(grid.doResetSearch);
}

TEST_F(RaySearch, MissIsRetriedFromAFreshStart) {
    RectMesh grid = flatGrid(20, 20);
    warm(grid, {0, 0});
    // From a corner whose quad has no area no step leads anywhere.
    grid.setPoint({1, 0}, {0.0, 0.0, 0.0});
    Beam const beam = down(12.3, 11.6);
    EXPECT_FALSE(ask(grid, beam).getIsValid());
    warm(grid, {0, 0});
    EXPECT_TRUE(grid.getIntersection(beam.origin, beam.direction).getIsValid());
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(12, 11));
}

// What is reported

TEST_F(RaySearch, StatusNamesTheMeshAndItsFile) {
    RectMesh grid = flatGrid(10, 10);
    std::string const fileName = "parts\\part.quads";
    grid.setFileName(fileName);
    ASSERT_NE(grid.getShortFileName(), fileName);
    QuadIndicesIntersectionStatus const hit = ask(grid, down(7.3, 2.6));
    EXPECT_EQ(&hit.getQuadMesh(), &grid);
    EXPECT_EQ(hit.getFileName(), fileName);
    EXPECT_EQ(hit.getQuadPoint(), SpacePoint(7.3, 2.6, 0.0));
    QuadIndicesIntersectionStatus const miss = ask(grid, down(70.3, 2.6));
    EXPECT_EQ(&miss.getQuadMesh(), &grid);
    EXPECT_EQ(miss.getFileName(), fileName);
    EXPECT_EQ(miss.getQuadPoint(), SpacePoint());
}

TEST_F(RaySearch, FlippedAxesCountFromTheFarEndAndTheOffsetIsAdded) {
    RectMesh grid = flatGrid(10, 8);
    grid.setOffset({100, -200});
    EXPECT_EQ(ask(grid, down(0.3, 2.6)).getIndices(), GridIndex(100, -198));
    grid.setAxisFlipFlags(true, false);
    EXPECT_EQ(ask(grid, down(0.3, 2.6)).getIndices(), GridIndex(109, -198));
    grid.setAxisFlipFlags(false, true);
    EXPECT_EQ(ask(grid, down(0.3, 2.6)).getIndices(), GridIndex(100, -195));
    grid.setAxisFlipFlags(true, true);
    EXPECT_EQ(ask(grid, down(0.3, 2.6)).getIndices(), GridIndex(109, -195));
    // What is remembered is the grid's own quad.
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(0, 2));
}

TEST_F(RaySearch, MissReportsTheFlippedLowCornerPlusTheOffset) {
    RectMesh grid = flatGrid(10, 8);
    grid.setOffset({100, -200});
    grid.setAxisFlipFlags(true, false);
    QuadIndicesIntersectionStatus const miss = ask(grid, down(70.3, 2.6));
    EXPECT_FALSE(miss.getIsValid());
    EXPECT_EQ(miss.getIndices(), GridIndex(109, -200));
}

TEST_F(RaySearch, OffsetWrapsAround) {
    RectMesh grid = flatGrid(10, 8);
    grid.setOffset({std::numeric_limits<int>::max(), 0});
    EXPECT_EQ(ask(grid, down(2.3, 2.6)).getIndices(), GridIndex(std::numeric_limits<int>::min() + 1, 2));
}

TEST_F(RaySearch, InactivePositionAnswersAtOnceAndLeavesTheMemoryAlone) {
    RectMesh grid = flatGrid(10, 10);
    grid.setFileName("parts\\part.quads");
    grid.setOffset({100, 200});
    grid.setAxisFlipFlags(true, true);
    ask(grid, down(7.3, 2.6));
    grid.setActivePositionFlags(0xFFFFFFFBUL);
    grid.setPosition(2);
    for (bool const doReset : {false, true}) {
        QuadIndicesIntersectionStatus const status = ask(grid, down(3.3, 8.6), doReset);
        EXPECT_FALSE(status.getIsValid());
        EXPECT_EQ(status.quadMesh, nullptr);
        EXPECT_EQ(status.getQuadPoint(), SpacePoint());
        EXPECT_EQ(status.getIndices(), GridIndex(-1, -1));
        EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), -1.0);
        EXPECT_EQ(status.getIntersectionData().getAngleToObjectNormal(), -1.0);
        EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), -1.0);
        EXPECT_EQ(status.getFileName(), "parts\\part.quads");
        EXPECT_FALSE(grid.doResetSearch);
        EXPECT_EQ(grid.lastQuadIndices, GridIndex(7, 2));
    }
}

TEST_F(RaySearch, InactivePositionTurnsItsAngleOverToo) {
    RectMesh grid = flatGrid(10, 10);
    grid.setActivePositionFlags(0);
    QuadIntersectionData::isEnableFlipAngle = true;
    EXPECT_EQ(ask(grid, down(3.3, 8.6)).getIntersectionData().getAngleToObjectNormal(), 4.141592653589793);
}

TEST_F(RaySearch, PositionsCountModuloThirtyTwo) {
    RectMesh grid = flatGrid(10, 10);
    grid.setActivePositionFlags(0x80000002UL);
    for (unsigned long const position : {1UL, 31UL, 33UL, 63UL, 0xFFFFFFFFUL}) {
        grid.setPosition(position);
        EXPECT_TRUE(ask(grid, down(3.3, 8.6)).getIsValid()) << position;
    }
    for (unsigned long const position : {0UL, 2UL, 32UL, 30UL, 0xFFFFFFFEUL}) {
        grid.setPosition(position);
        EXPECT_FALSE(ask(grid, down(3.3, 8.6)).getIsValid()) << position;
    }
}

// Starts outside and grids without quads

TEST_F(RaySearch, RememberedQuadOutsideTheGridIsWalkedFromTheNearestInside) {
    RectMesh grid = flatGrid(10, 8);
    for (GridIndex const& last : {GridIndex(10, 3), GridIndex(-1, 3), GridIndex(1000000, -1000000),
                                  GridIndex(std::numeric_limits<int>::min(), 0)}) {
        warm(grid, last);
        QuadIndicesIntersectionStatus const status = ask(grid, down(3.3, 2.6));
        EXPECT_TRUE(status.getIsValid());
        EXPECT_EQ(status.getIndices(), GridIndex(3, 2));
    }
}

TEST_F(RaySearch, GridsWithoutQuadsMiss) {
    std::vector<RectMesh> grids(4);
    grids[1] = flatGrid(12, 0);
    grids[2] = flatGrid(0, 12);
    grids[3] = flatGrid(0, 0);
    for (RectMesh& grid : grids) {
        warm(grid, {3, 0});
        Beam const beam = down(0.25, 0.3);
        EXPECT_FALSE(ask(grid, beam).getIsValid());
        EXPECT_TRUE(grid.doResetSearch);
        EXPECT_EQ(grid.lastQuadIndices, GridIndex(3, 0));
        EXPECT_FALSE(ask(grid, beam, true).getIsValid());
        EXPECT_FALSE(grid.getIntersection(beam.origin, beam.direction).getIsValid());
        EXPECT_FALSE(hits(grid, {0, 0}, beam));
    }
}

TEST_F(RaySearch, GridOfOneQuadIsHit) {
    RectMesh grid = flatGrid(1, 1);
    EXPECT_TRUE(ask(grid, down(0.3, 0.6)).getIsValid());
    EXPECT_FALSE(ask(grid, down(1.3, 0.6)).getIsValid());
}

TEST_F(RaySearch, WalkFromAQuadThatIsNotValidUsesThePointsItHas) {
    RectMesh grid = flatGrid(10, 10);
    grid.setPointValidity({5, 5}, false);
    warm(grid, {5, 5});
    EXPECT_EQ(ask(grid, down(8.3, 1.6)).getIndices(), GridIndex(8, 1));
}

// The exhaustive search

TEST_F(RaySearch, NearestPointIsTheNearestLowCornerOfAQuad) {
    RectMesh grid = flatGrid(10, 10);
    double distance = 0.0;
    EXPECT_EQ(grid.getNearestPoint2D({3.2, 6.9, 2.0}, distance), GridIndex(3, 7));
    EXPECT_EQ(distance, std::sqrt(SpacePoint(3.0, 7.0, 0.0).dSqr({3.2, 6.9, 2.0})));
    // Nodes on the far rim are no low corners of quads.
    EXPECT_EQ(grid.getNearestPoint2D({20.0, 20.0, 0.0}, distance), GridIndex(9, 9));
    grid.setPointValidity({4, 7}, false);
    EXPECT_EQ(grid.getNearestPoint2D({3.2, 6.9, 2.0}, distance), GridIndex(3, 8));
}

TEST_F(RaySearch, NearestPointOfEqualsIsTheFirstRowByRow) {
    RectMesh const grid = flatGrid(10, 10);
    double distance = 0.0;
    EXPECT_EQ(grid.getNearestPoint2D({3.5, 6.5, 0.0}, distance), GridIndex(3, 6));
    EXPECT_EQ(grid.getNearestPoint2D({3.5, 6.0, 0.0}, distance), GridIndex(3, 6));
}

TEST_F(RaySearch, NearestPointWithoutQuadsIsTheOriginAtTheRootOfTheLargestDouble) {
    RectMesh const grid;
    double distance = 0.0;
    EXPECT_EQ(grid.getNearestPoint2D({3.5, 6.5, 0.0}, distance), GridIndex(0, 0));
    EXPECT_EQ(distance, std::sqrt(1.7976931348623157e308));
}

TEST_F(RaySearch, NearestPointKeepsNoSearchState) {
    RectMesh grid = flatGrid(10, 10);
    warm(grid, {2, 3});
    double distance = 0.0;
    grid.getNearestPoint2D({7.0, 7.0, 0.0}, distance);
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(2, 3));
}

TEST_F(RaySearch, NearestPointIsReadThroughTheVirtualPoint) {
    ShearedGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(10, 10);
    double distance = 1.0;
    EXPECT_EQ(grid.getNearestPoint2D(grid.getPoint({7, 4}), distance), GridIndex(7, 4));
    EXPECT_EQ(distance, 0.0);
}

TEST_F(RaySearch, NearestPointAgreesWithTheTwinOverAllFamilies) {
    for (GridFamily const& family : gridFamilies(19)) {
        PlainSearch twin;
        twin.grid = plainGridOf(family.grid);
        for (int i = 0; i < 12; ++i) {
            SpacePoint const target(3.7 * i - 5.0, 41.0 - 4.3 * i, 0.6 * i);
            double distance = 0.0;
            double expectedDistance = 0.0;
            PlainIndex const expected = twin.getNearestPoint2D(plain(target), expectedDistance);
            EXPECT_EQ(plain(family.grid.getNearestPoint2D(target, distance)), expected) << family.name;
            EXPECT_TRUE(sameBits(distance, expectedDistance)) << family.name;
        }
    }
}

} // namespace QELT::Testing
