#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace QELT::Testing {

namespace {

double uniform(std::mt19937& random, double low, double high) {
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
}

int uniformInt(std::mt19937& random, int low, int high) {
    auto const count = static_cast<std::uint32_t>(high - low + 1);
    return low + static_cast<int>(random() % count);
}

std::uint32_t bits(std::mt19937& random) {
    return static_cast<std::uint32_t>(random());
}

bool oneIn(std::mt19937& random, unsigned n) {
    return random() % n == 0;
}

SpaceVector randomDirection(std::mt19937& random) {
    return {uniform(random, -1.0, 1.0), uniform(random, -1.0, 1.0), uniform(random, -1.0, 1.0)};
}

SpaceVector between(SpacePoint const& from, SpacePoint const& to) {
    return {double{to.getX()} - double{from.getX()}, double{to.getY()} - double{from.getY()},
            double{to.getZ()} - double{from.getZ()}};
}

/// Beams of every kind at one grid: most of them as a probe fires them, near the one before, the others as
/// nobody should.
class BeamSource {
public:
    BeamSource(RectMesh const& newGrid, std::uint32_t seed) : grid(newGrid), random(seed) {}

    Beam next() {
        moveTarget();
        switch (random() % 16) {
        case 0:
            return random() % 2 == 0 ? fromAnywhere() : throughTwoNodes();
        case 1:
            return alongQuad();
        case 2:
            return onEdge();
        case 3:
            return broken();
        case 4:
            return atDistance(std::exp(uniform(random, 0.0, 12.0)));
        case 5:
            return straightDown();
        default:
            return atDistance(uniform(random, 0.5, 30.0));
        }
    }

private:
    void moveTarget() {
        int const highU = std::max(static_cast<int>(grid.getExtents().getdU()) - 1, 0);
        int const highV = std::max(static_cast<int>(grid.getExtents().getdV()) - 1, 0);
        if (oneIn(random, 6)) {
            quad = {uniformInt(random, 0, highU), uniformInt(random, 0, highV)};
            isBehind = oneIn(random, 4);
        } else {
            quad = {std::clamp(quad.getU() + uniformInt(random, -2, 2), 0, highU),
                    std::clamp(quad.getV() + uniformInt(random, -2, 2), 0, highV)};
        }
    }

    SpacePoint corner(int u, int v) const {
        bool const hasNode = grid.points != nullptr && grid.getIsPointInBounds({u, v});
        return hasNode ? grid.getPoint({u, v}) : SpacePoint(u, v, 0.0);
    }

    SpacePoint pointOnQuad(double a, double b) const {
        SpacePoint const p = corner(quad.getU(), quad.getV());
        SpacePoint const pu = corner(quad.getU() + 1, quad.getV());
        SpacePoint const pv = corner(quad.getU(), quad.getV() + 1);
        SpacePoint const puv = corner(quad.getU() + 1, quad.getV() + 1);
        return p + (1.0 - b) * a * between(p, pu) + (1.0 - a) * b * between(p, pv) + a * b * between(p, puv);
    }

    SpaceVector normal() const {
        SpacePoint const p = corner(quad.getU(), quad.getV());
        SpaceVector const n = between(p, corner(quad.getU() + 1, quad.getV()))
                                  .cross(between(p, corner(quad.getU(), quad.getV() + 1)));
        double const length = std::sqrt(n.lSqr());
        return length > 0.0 && std::isfinite(length) ? n / length : SpaceVector(0.0, 0.0, 1.0);
    }

    /// From so far off towards a point of the quad, within half a right angle of the normal or so.
    Beam atDistance(double distance) {
        SpacePoint const foot = pointOnQuad(uniform(random, 0.0, 1.0), uniform(random, 0.0, 1.0));
        SpaceVector const away =
            (isBehind ? -1.0 : 1.0) * normal() + uniform(random, 0.0, 0.6) * randomDirection(random);
        SpacePoint const origin = foot + distance * away;
        double const scale = oneIn(random, 3) ? std::exp(uniform(random, -3.0, 3.0)) : 1.0;
        SpaceVector const direction = scale * between(origin, foot);
        return {origin, oneIn(random, 12) ? -direction : direction};
    }

    Beam straightDown() {
        SpacePoint const foot = pointOnQuad(uniform(random, 0.0, 1.0), uniform(random, 0.0, 1.0));
        return {{foot.getX(), foot.getY(), foot.getZ() + uniform(random, 0.0, 20.0)}, {0.0, 0.0, -1.0}};
    }

    Beam fromAnywhere() {
        SpacePoint const foot = pointOnQuad(uniform(random, -3.0, 4.0), uniform(random, -3.0, 4.0));
        return {foot + uniform(random, 0.0, 60.0) * randomDirection(random), randomDirection(random)};
    }

    Beam throughTwoNodes() {
        SpacePoint const p = corner(uniformInt(random, 0, 40), uniformInt(random, 0, 40));
        return {p + randomDirection(random), between(p, pointOnQuad(0.3, 0.6))};
    }

    Beam alongQuad() {
        SpacePoint const p = corner(quad.getU(), quad.getV());
        SpaceVector const along = oneIn(random, 2) ? between(p, corner(quad.getU() + 1, quad.getV()))
                                                   : between(p, corner(quad.getU() + 1, quad.getV() + 1));
        return {oneIn(random, 2) ? p : p + 2.0 * normal(), along};
    }

    /// At a corner, the middle of an edge or of the diagonal.
    Beam onEdge() {
        double const a = 0.5 * uniformInt(random, 0, 2);
        double const b = oneIn(random, 2) ? a : 0.0;
        SpacePoint const foot = pointOnQuad(a, b);
        return {foot + 4.0 * normal(), -normal()};
    }

    Beam broken() {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        double const values[] = {0.0,   -0.0,   infinity, -infinity, std::nan(""),
                                 1e300, 1e-300, 1e38,     1.0,       -2.0};
        auto const pick = [&] { return values[random() % std::size(values)]; };
        Beam beam = atDistance(5.0);
        if (oneIn(random, 2)) {
            beam.direction = SpaceVector{pick(), pick(), pick()};
        } else if (oneIn(random, 2)) {
            beam.direction = SpaceVector();
        }
        if (oneIn(random, 2)) {
            beam.origin.seti(random() % 3, pick());
        }
        return beam;
    }

    RectMesh const& grid;
    std::mt19937 random;
    GridIndex quad;
    bool isBehind = false;
};

struct Tally {
    int queries = 0;
    int hits = 0;
    int warmStarts = 0;
    int behind = 0;
    int stepped = 0;
    int lateRetreats = 0;
    int inactive = 0;
};

void changeStatics(std::mt19937& random) {
    constexpr int modes[] = {0, 1, 2, 7};
    setQualityMode(modes[random() % std::size(modes)]);
    QuadIntersectionData::isEnableFlipAngle = oneIn(random, 4);
    RectMesh::searchDivideByNTimes = oneIn(random, 2) ? 4U : bits(random) % 10U;
    // Two or three samples with extra passes can go on up to the limit of the descent: only now and then.
    bool const canRepeatItself = RectMesh::searchDivideByNTimes == 2 || RectMesh::searchDivideByNTimes == 3;
    bool const wantsMore = oneIn(random, canRepeatItself ? 40 : 2);
    RectMesh::setMaxDoNMoreTimes(wantsMore ? random() % 6 : 0);
}

void changeSettings(RectMesh& grid, std::mt19937& random) {
    grid.setDoFlipNormals(oneIn(random, 4));
    grid.setDoUseDoubleSided(oneIn(random, 2));
    grid.setAxisFlipFlags(oneIn(random, 3), oneIn(random, 3));
    GridStep offset{uniformInt(random, -500, 500), uniformInt(random, -500, 500)};
    if (oneIn(random, 6)) {
        offset.setdU(oneIn(random, 2) ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min());
    }
    grid.setOffset(offset);
    grid.setPosition(static_cast<unsigned long>(uniformInt(random, 0, 70)));
    grid.setActivePositionFlags(oneIn(random, 3) ? random() : 0xFFFFFFFFUL);
}

/// Something that happens to a grid between two beams; changes the twin alike.
void disturb(SearchTwin& pair, std::mt19937& random) {
    int const highU = static_cast<int>(pair.mesh.getExtents().getdU());
    int const highV = static_cast<int>(pair.mesh.getExtents().getdV());
    GridIndex const node{uniformInt(random, 0, highU), uniformInt(random, 0, highV)};
    switch (random() % 6) {
    case 0:
        pair.mesh.resetQuadIndicesSearch();
        break;
    case 1:
        pair.setMemory(false, {uniformInt(random, -5, highU + 5), uniformInt(random, -5, highV + 5)});
        break;
    case 2:
        pair.setMemory(false, {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()});
        break;
    case 3:
        pair.mesh.setPointValidity(pair.mesh.lastQuadIndices, false);
        break;
    default:
        pair.mesh.setPointValidity(node, !pair.mesh.getIsPointValid(node));
        break;
    }
    pair.adopt();
}

void count(SearchTwin const& pair, bool wasWarm, Query query, Tally& tally) {
    ++tally.queries;
    tally.inactive += pair.expected.hasMesh ? 0 : 1;
    if (!pair.expected.isValid) {
        return;
    }
    ++tally.hits;
    tally.warmStarts += wasWarm && query == Query::Status ? 1 : 0;
    tally.behind += pair.expected.data.distanceToObject < 0.0 ? 1 : 0;
    tally.stepped += pair.twin.lastWalkSteps > 0 ? 1 : 0;
    tally.lateRetreats += pair.twin.didLastWalkLeaveItsHit ? 1 : 0;
}

/// Fires `beamCount` beams, changing settings every now and then. False after the first disagreement.
bool agreeOnBeams(RectMesh& grid, std::string const& name, int beamCount, std::uint32_t seed, Tally& tally) {
    std::mt19937 random(seed);
    SearchTwin pair(grid);
    BeamSource beams(grid, seed + 1);
    for (int i = 0; i < beamCount; ++i) {
        if (i % 16 == 0) {
            changeStatics(random);
            changeSettings(grid, random);
            pair.adopt();
        } else if (oneIn(random, 12)) {
            disturb(pair, random);
        }
        Beam const beam = beams.next();
        auto const query =
            oneIn(random, 3) ? Query::Intersection : (oneIn(random, 6) ? Query::StatusReset : Query::Status);
        bool const wasWarm = !pair.twin.doResetSearch;
        testing::AssertionResult const agreed = pair.agreesOn(beam, query);
        EXPECT_TRUE(agreed) << name << ", beam " << i << ", mode " << currentSettings().qualityMode
                            << ", samples " << RectMesh::searchDivideByNTimes << ", more "
                            << RectMesh::maxDoNMoreTimes;
        if (!agreed) {
            return false;
        }
        count(pair, wasWarm, query, tally);
    }
    return true;
}

/// A derived grid that shows what it stores.
class SameGrid : public RectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override { return RectMesh::getPoint(p); }
};

struct SingleQuadTally {
    int hits = 0;
    int behind = 0;
    int onEdge = 0;
};

/// Whether some triple product of the point with an edge of the quad's triangles is nothing.
bool getIsOnEdge(PlainGrid const& grid, PlainPoint const& point) {
    for (unsigned triangle = 0; triangle < 2; ++triangle) {
        PlainVector const n = grid.getFanNormal({0, 0}, triangle);
        for (int e = 0; e < 3; ++e) {
            PlainPoint const corner = grid.getPoint(grid.getFanCorner({0, 0}, triangle, 1, e));
            PlainPoint const next = grid.getPoint(grid.getFanCorner({0, 0}, triangle, 1, (e + 1) % 3));
            PlainVector const side = plainCross(n, plainDifference(next, corner));
            if (plainDot(side, plainDifference(point, corner)) == 0.0) {
                return true;
            }
        }
    }
    return false;
}

/// The test of the first quad of a grid beside that of its twin, to the bit.
testing::AssertionResult agreeOnSingleQuad(RectMesh const& grid, Beam const& beam, SingleQuadTally& tally) {
    PlainSearch twin;
    twin.grid = plainGridOf(grid);
    twin.doFlipNormals = grid.doFlipNormals;
    SpacePoint point(7.0, 8.0, 9.0);
    PlainPoint expectedPoint = plain(point);
    QuadIntersectionData data(-5.0, -6.0, -7.0);
    PlainIntersection expected{data.getDistanceToObject(), data.getAngleToObjectNormal(),
                               data.getDistanceSqrToQuadCentre()};
    bool const isHit = twin.getDoesIntersectQuad(currentSettings(), {0, 0}, plain(beam.origin),
                                                 plain(beam.direction), expectedPoint, &expected);
    if (grid.getDoesIntersectQuad({0, 0}, beam.origin, beam.direction, point, &data) != isHit) {
        return testing::AssertionFailure() << "hit expected: " << isHit;
    }
    tally.hits += isHit ? 1 : 0;
    tally.behind += isHit && expected.distanceToObject < 0.0 ? 1 : 0;
    tally.onEdge += getIsOnEdge(twin.grid, expectedPoint) ? 1 : 0;
    for (auto const& same : {sameBits(point.getX(), expectedPoint.x), sameBits(point.getY(), expectedPoint.y),
                             sameBits(point.getZ(), expectedPoint.z),
                             sameBits(data.getDistanceToObject(), expected.distanceToObject),
                             sameBits(data.getAngleToObjectNormal(), expected.angleToObjectNormal),
                             sameBits(data.getDistanceSqrToQuadCentre(), expected.distanceSqrToQuadCentre)}) {
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

class RaySearchDifferential : public SearchTest {};

} // namespace

TEST_F(RaySearchDifferential, AnswersAndMemoryOverAllFamiliesInEverySetting) {
    Tally tally;
    std::uint32_t seed = 100;
    for (GridFamily const& family : gridFamilies(7)) {
        // Disturbances add up to ever more holes, so each family sets out several times.
        for (int round = 0; round < 8; ++round) {
            RectMesh grid;
            grid = family.grid;
            ASSERT_TRUE(agreeOnBeams(grid, family.name, 250, ++seed, tally));
        }
    }
    // The sequences reach what they are meant to reach.
    EXPECT_GT(tally.queries, 50000);
    EXPECT_GT(tally.hits, tally.queries / 3);
    EXPECT_GT(tally.queries - tally.hits, tally.queries / 10);
    EXPECT_GT(tally.warmStarts, 2000);
    EXPECT_GT(tally.behind, 500);
    EXPECT_GT(tally.stepped, 5000);
    EXPECT_GT(tally.lateRetreats, 100);
    EXPECT_GT(tally.inactive, 500);
}

TEST_F(RaySearchDifferential, DerivedGridsAreReadThroughTheirOwnPoints) {
    Tally tally;
    std::uint32_t seed = 900;
    for (GridFamily const& family : gridFamilies(11)) {
        ShearedGrid grid;
        static_cast<RectMesh&>(grid) = family.grid;
        ASSERT_TRUE(agreeOnBeams(grid, family.name, 300, ++seed, tally));
    }
    EXPECT_GT(tally.hits, 1000);
}

TEST_F(RaySearchDifferential, EverySampleCountWithEveryNumberOfExtraPasses) {
    // Far and holed, so that the descent is not content with where it starts.
    std::mt19937 random(31);
    std::vector<RectMesh> grids(3);
    grids[0] = wavyGrid(60, 45, 3.0);
    punchMany(grids[0]);
    grids[1] = makeGrid(40, 50, [](int u, int v) { return SpacePoint(9.0 * u, 7.0 * v, 0.02 * u * v); });
    punchSpeckles(grids[1], 0.2, 5);
    grids[2] =
        makeGrid(33, 33, [](int u, int v) { return SpacePoint(40.0 * u, 35.0 * v, 10.0 * std::sin(u)); });
    punchMiddle(grids[2]);
    for (RectMesh& grid : grids) {
        SearchTwin pair(grid);
        BeamSource beams(grid, bits(random));
        for (std::uint32_t samples = 0; samples <= 9; ++samples) {
            for (std::uint32_t more = 0; more <= 5; ++more) {
                RectMesh::searchDivideByNTimes = samples;
                RectMesh::setMaxDoNMoreTimes(more);
                for (int i = 0; i < 25; ++i) {
                    Beam const beam = beams.next();
                    ASSERT_TRUE(pair.agreesOn(beam, Query::StatusReset)) << samples << " samples, " << more;
                }
            }
        }
    }
}

TEST_F(RaySearchDifferential, GridsWithPointsThatAreNoNumbers) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::mt19937 random(17);
    Tally tally;
    for (std::uint32_t round = 0; round < 8; ++round) {
        RectMesh grid;
        grid = wavyGrid(12, 12, 2.0);
        for (int k = 0; k < 12; ++k) {
            double const values[] = {std::nan(""), infinity, -infinity, 3e38, -3e38, 1e-45};
            SpacePoint point = grid.getPoint({uniformInt(random, 0, 12), uniformInt(random, 0, 12)});
            point.seti(random() % 3, values[random() % std::size(values)]);
            grid.setPoint({uniformInt(random, 0, 12), uniformInt(random, 0, 12)}, point);
        }
        ASSERT_TRUE(agreeOnBeams(grid, "points that are no numbers", 400, 50 + round, tally));
    }
    EXPECT_GT(tally.hits, 100);
}

TEST_F(RaySearchDifferential, QuadsOfNoAreaAtAll) {
    Tally tally;
    RectMesh onePoint;
    onePoint = makeGrid(5, 5, [](int, int) { return SpacePoint(1.0, 2.0, 3.0); });
    ASSERT_TRUE(agreeOnBeams(onePoint, "all nodes in one point", 300, 60, tally));
    RectMesh line;
    line = makeGrid(7, 4, [](int u, int v) { return SpacePoint(u + v, 0.0, 0.0); });
    ASSERT_TRUE(agreeOnBeams(line, "all nodes on a line", 300, 61, tally));
    EXPECT_GT(tally.queries, 0);
}

TEST_F(RaySearchDifferential, SingleQuadsWithAllTheirHits) {
    std::mt19937 random(23);
    int hits = 0;
    for (int round = 0; round < 3000; ++round) {
        RectMesh grid = noisyGrid(1, 1, 0.4, bits(random));
        grid.setDoFlipNormals(oneIn(random, 2));
        QuadIntersectionData::isEnableFlipAngle = oneIn(random, 2);
        SearchTwin pair(grid);
        SpacePoint const origin{uniform(random, -1.0, 2.0), uniform(random, -1.0, 2.0),
                                uniform(random, -4.0, 4.0)};
        SpacePoint const aim{uniform(random, -0.2, 1.2), uniform(random, -0.2, 1.2), 0.0};
        SpaceVector const direction = (oneIn(random, 2) ? 0.3 : -2.0) * between(origin, aim);
        GridIndex const quad(oneIn(random, 8) ? 1 : 0, 0);
        SpacePoint hitPoint(7.0, 8.0, 9.0);
        PlainPoint plainHitPoint{7.0F, 8.0F, 9.0F};
        QuadIntersectionData data(-5.0, -6.0, -7.0);
        PlainIntersection plainData{data.getDistanceToObject(), data.getAngleToObjectNormal(), -7.0};
        bool const wantsData = !oneIn(random, 4);
        bool const expected =
            pair.twin.getDoesIntersectQuad(currentSettings(), plain(quad), plain(origin), plain(direction),
                                           plainHitPoint, wantsData ? &plainData : nullptr);
        ASSERT_EQ(grid.getDoesIntersectQuad(quad, origin, direction, hitPoint, wantsData ? &data : nullptr),
                  expected);
        hits += expected ? 1 : 0;
        // The point is written at every plane that was tried, the data on a hit alone.
        EXPECT_TRUE(sameBits(hitPoint.getX(), plainHitPoint.x));
        EXPECT_TRUE(sameBits(hitPoint.getY(), plainHitPoint.y));
        EXPECT_TRUE(sameBits(hitPoint.getZ(), plainHitPoint.z));
        EXPECT_TRUE(sameBits(data.getDistanceToObject(), plainData.distanceToObject));
        EXPECT_TRUE(sameBits(data.getAngleToObjectNormal(), plainData.angleToObjectNormal));
        EXPECT_TRUE(sameBits(data.getDistanceSqrToQuadCentre(), plainData.distanceSqrToQuadCentre));
    }
    EXPECT_GT(hits, 1000);
}

TEST_F(RaySearchDifferential, SingleQuadsOfFewNumbersOnEdgesBrokenAndWithoutArea) {
    std::mt19937 random(29);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    SingleQuadTally tally;
    for (int round = 0; round < 40000; ++round) {
        bool const isBroken = oneIn(random, 10);
        auto const number = [&] {
            double const values[] = {std::nan(""), infinity, -infinity, 3e38, 1e-45};
            bool const isOdd = isBroken && oneIn(random, 6);
            return isOdd ? values[random() % std::size(values)] : 0.5 * uniformInt(random, -2, 2);
        };
        RectMesh plainOne;
        plainOne = makeGrid(1, 1, [&](int u, int v) {
            bool const isFlat = oneIn(random, 4);
            return SpacePoint(u + 0.5 * number(), v + 0.5 * number(), isFlat ? 0.0 : number());
        });
        plainOne.setDoFlipNormals(oneIn(random, 2));
        SameGrid same;
        static_cast<RectMesh&>(same) = plainOne;
        ShearedGrid sheared;
        static_cast<RectMesh&>(sheared) = plainOne;
        Beam beam{{number(), number(), 3.0 * number()}, {number(), number(), 2.0 * number()}};
        if (!oneIn(random, 4)) {
            SpacePoint const aim(0.25 * uniformInt(random, 0, 4), 0.25 * uniformInt(random, 0, 4), 0.0);
            beam.direction = (oneIn(random, 3) ? -0.5 : 1.0) * between(beam.origin, aim);
        }
        for (RectMesh const* const grid :
             {static_cast<RectMesh const*>(&plainOne), static_cast<RectMesh const*>(&same),
              static_cast<RectMesh const*>(&sheared)}) {
            ASSERT_TRUE(agreeOnSingleQuad(*grid, beam, tally)) << "round " << round;
        }
    }
    EXPECT_GT(tally.hits, 10000);
    EXPECT_GT(tally.behind, 2000);
    EXPECT_GT(tally.onEdge, 2000);
}

TEST_F(RaySearchDifferential, SmallerGridLoadedWhileTheSearchIsWarm) {
    std::string const path = testing::TempDir() + "loadedwhilewarm.quads";
    RectMesh small = flatGrid(3, 2, 4.0);
    small.save(path.c_str());
    RectMesh grid = flatGrid(30, 30);
    ASSERT_TRUE(grid.getIntersection({28.3, 27.6, 5.0}, {0.0, 0.0, -1.0}).getIsValid());
    ASSERT_FALSE(grid.doResetSearch);
    grid.load(path.c_str());
    std::remove(path.c_str());
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(28, 27));
    ASSERT_EQ(grid.getExtents(), GridExtents(3, 2));
    SearchTwin pair(grid);
    EXPECT_TRUE(pair.agreesOn({{5.3, 6.6, 5.0}, {0.0, 0.0, -1.0}}, Query::Status));
    EXPECT_EQ(pair.actual.getIndices(), GridIndex(1, 1));
    EXPECT_TRUE(pair.agreesOn({{28.3, 27.6, 5.0}, {0.0, 0.0, -1.0}}, Query::Intersection));
    EXPECT_FALSE(pair.actual.getIsValid());
}

TEST_F(RaySearchDifferential, GridsReplacedWhileTheSearchIsWarm) {
    std::mt19937 random(41);
    std::vector<GridFamily> families = gridFamilies(3);
    RectMesh grid;
    SearchTwin pair(grid);
    int startsOutside = 0;
    for (int round = 0; round < 300; ++round) {
        bool const wasCold = grid.doResetSearch;
        GridIndex const remembered = grid.lastQuadIndices;
        switch (random() % 6) {
        case 0:
            grid.clear();
            break;
        case 1:
            grid.init(GridExtents(random() % 4, random() % 4));
            break;
        case 2:
            grid = families[random() % families.size()].grid;
            grid.doResetSearch = wasCold;
            grid.lastQuadIndices = remembered;
            break;
        default:
            families[random() % families.size()].grid.getSubSampled(RectMesh::Factor, 1 + random() % 8, grid);
            break;
        }
        EXPECT_EQ(grid.doResetSearch, wasCold);
        EXPECT_EQ(grid.lastQuadIndices, remembered);
        startsOutside += !wasCold && !grid.getIsPointInBounds(remembered) ? 1 : 0;
        pair.adopt();
        BeamSource beams(grid, bits(random));
        for (int i = 0; i < 12; ++i) {
            auto const query = oneIn(random, 2) ? Query::Intersection : Query::Status;
            ASSERT_TRUE(pair.agreesOn(beams.next(), query)) << "round " << round;
        }
    }
    EXPECT_GT(startsOutside, 30);
}

} // namespace QELT::Testing
