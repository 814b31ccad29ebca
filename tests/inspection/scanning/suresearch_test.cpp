#include "Inspection/scanning/suresearch.h"

#include "Inspection/scanning/raster.h"
#include "Inspection/scanning/scanner.h"
#include "tests/inspection/scanning/exhaustivesearch.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/watched.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <numbers>
#include <random>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using QELT::Testing::makeGrid;
using QELT::Testing::punchMany;
using QELT::Testing::samples;

/// A part and the beams that are fired at it.
struct Part {
    std::string name;
    Grid grid;
};

/// An accordion of 6 folds, 3 high, that lean over: most vertical lines meet several of its sheets.
Grid foldedGrid() {
    return makeGrid(72, 24, [](int u, int v) {
        double const fold = u / 12.0;
        double const rise = std::abs(fold - std::floor(fold) - 0.5) * 6.0;
        return Point(0.6 * u / 12.0 + 1.4 * rise + 0.01 * std::sin(1.3 * v), 0.3 * v + 0.02 * std::sin(u),
                     rise + 0.05 * fold + 0.03 * std::cos(0.7 * v));
    });
}

/// A spiral of two and a half turns, seen from outside or inside.
Grid rolledGrid() {
    return makeGrid(120, 10, [](int u, int v) {
        double const angle = u * 5.0 * std::numbers::pi / 120.0;
        double const radius = 5.0 + 0.4 * angle;
        return Point(radius * std::cos(angle), 0.7 * v + 0.1 * std::sin(angle), radius * std::sin(angle));
    });
}

Grid holedGrid() {
    Grid grid = makeGrid(48, 48, [](int u, int v) {
        return Point(0.5 * u, 0.5 * v + 0.1 * std::sin(0.4 * u),
                     2.0 * std::sin(0.2 * u) * std::cos(0.15 * v));
    });
    punchMany(grid);
    return grid;
}

/// 2000 long, 0.6 wide, of quads twenty times as long as wide.
Grid longThinGrid() {
    return makeGrid(1000, 6, [](int u, int v) {
        return Point(2.0 * u, 0.1 * v + 3.0 * std::sin(0.01 * u), 0.5 * std::cos(0.013 * u));
    });
}

/// A blade: u around its section from the trailing edge back to it, v along its span, twisted.
Grid bladeGrid() {
    return makeGrid(90, 40, [](int u, int v) {
        double const around = 2.0 * std::numbers::pi * u / 90.0;
        double const chord = 10.0 * std::cos(around);
        double const thickness =
            1.2 * std::sin(around) * (1.05 + std::cos(around)) * 0.6 + 0.02 * chord * chord;
        double const twist = 0.02 * v;
        return Point(chord * std::cos(twist) - thickness * std::sin(twist),
                     chord * std::sin(twist) + thickness * std::cos(twist), 0.8 * v);
    });
}

std::vector<Part> parts() {
    std::vector<Part> parts{{"folded", foldedGrid()},
                            {"rolled", rolledGrid()},
                            {"holed", holedGrid()},
                            {"long and thin", longThinGrid()},
                            {"blade", bladeGrid()}};
    for (auto const& family : QELT::Testing::gridFamiliesWithQuads(7)) {
        // Its heights are beyond what a ray in floats can be told from.
        if (family.name.find("agnitude") == std::string::npos) {
            parts.push_back({family.name, family.grid});
        }
    }
    return parts;
}

double sizeOf(Grid const& grid) {
    auto const box = grid.getBoundingBoxAA();
    return std::sqrt((box.getp1() - box.getp()).lSqr());
}

/// What rounding to floats may do to a place on the grid, many times over.
double roundingOn(Grid const& grid, Beam const& beam) {
    auto const box = grid.getBoundingBoxAA();
    double const reach = std::sqrt(std::max(box.getp().dSqr(Point()), box.getp1().dSqr(Point())));
    return 0x1p-18 * (reach + sizeOf(grid) + std::sqrt(beam.origin.dSqr(Point())));
}

/// Beams against the normals of quads drawn by chance, at places within them, from either side.
std::vector<Beam> beamsAlongNormals(Grid const& grid, int count, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> share(0.02, 0.98);
    auto const extents = grid.getExtents();
    double const standOff = 0.3 * sizeOf(grid);
    std::vector<Beam> beams;
    for (int i = 0; i < count; ++i) {
        GridIndex const quad(static_cast<int>(random() % extents.getdU()),
                             static_cast<int>(random() % extents.getdV()));
        Vector const normal = grid.getQuadUnitNormalVector(quad, i % 2 == 0);
        auto const [alongU, alongV] = grid.getQuadBasis(quad);
        if (!grid.getIsQuadValid(quad) || !std::isfinite(normal.lSqr())) {
            continue;
        }
        Point const target = grid.getPoint(quad) + share(random) * alongU + share(random) * alongV;
        Vector const way = i % 5 == 0 ? -standOff * normal : standOff * normal;
        beams.push_back({target + way, -way});
    }
    return beams;
}

/// A raster over the grid's box that is seen askew.
std::vector<Beam> rasterOver(Grid const& grid, Vector const& direction, double perSide) {
    auto const box = grid.getBoundingBoxAA();
    double const size = sizeOf(grid);
    return rasterBeams({size / perSide, 0.1 * size, direction}, box.getp(), box.getp1());
}

/// How the answers of a search compare with those of all quads.
struct Agreement {
    std::size_t sameCount = 0; ///< misses too
    std::size_t edgeCount = 0; ///< within rounding of an edge of a quad that is answered
    std::vector<std::string> faults;
};

bool isSameHit(Hit const& hit, FoundQuad const& found) {
    return hit.quad == found.quad + found.grid->getOffset() && hit.point == found.point &&
           (hit.isMeasured ? hit.distance == found.distance && hit.angleToNormal == found.angle
                           : found.distance >= measurementLimit);
}

/// Whether the beam passes within rounding of an edge of the quad that was answered on either side.
bool isByAnEdge(std::vector<Grid const*> const& grids, Beam const& beam, Hit const& hit,
                std::optional<FoundQuad> const& found) {
    for (Grid const* const grid : grids) {
        double const rounding = roundingOn(*grid, beam);
        bool const isHitBy =
            hit.isHit() && distanceToEdges(*grid, hit.quad - grid->getOffset(), beam) <= rounding;
        bool const isFoundBy =
            found && found->grid == grid && distanceToEdges(*grid, found->quad, beam) <= rounding;
        if (isHitBy || isFoundBy) {
            return true;
        }
    }
    return false;
}

std::string textOf(Beam const& beam, Hit const& hit, std::optional<FoundQuad> const& found) {
    std::ostringstream text;
    text << "from " << beam.origin.getX() << ' ' << beam.origin.getY() << ' ' << beam.origin.getZ()
         << ": state " << hit.state << " at " << hit.quad.getU() << ' ' << hit.quad.getV() << " after "
         << hit.distance;
    if (found) {
        text << ", of all quads " << found->quad.getU() << ' ' << found->quad.getV() << " after "
             << found->distance;
    }
    return text.str();
}

Agreement compare(std::vector<Grid const*> const& grids, std::vector<Beam> const& beams) {
    SureSearch const search(grids);
    Agreement agreement;
    for (Beam const& beam : beams) {
        Hit const hit = search.find(beam);
        auto const found = firstOfAllQuads(grids, beam);
        bool const isSame = hit.state == Hit::Miss     ? !found
                            : hit.state == Hit::Inside ? found && isSameHit(hit, *found)
                                                       : false;
        if (isSame) {
            ++agreement.sameCount;
        } else if (isByAnEdge(grids, beam, hit, found)) {
            ++agreement.edgeCount;
        } else {
            agreement.faults.push_back(textOf(beam, hit, found));
        }
    }
    return agreement;
}

void expectNoFault(Agreement const& agreement) {
    for (std::string const& fault : agreement.faults) {
        ADD_FAILURE() << fault;
    }
}

TEST(SureSearch, findsAlongNormalsWhatAllQuadsAnswer) {
    for (Part const& part : parts()) {
        SCOPED_TRACE(part.name);
        auto const beams = beamsAlongNormals(part.grid, samples(500, 200), 11);
        Agreement const agreement = compare({&part.grid}, beams);
        expectNoFault(agreement);
        EXPECT_EQ(agreement.sameCount + agreement.edgeCount, beams.size());
    }
}

TEST(SureSearch, findsInRastersWhatAllQuadsAnswer) {
    for (Part const& part : parts()) {
        SCOPED_TRACE(part.name);
        for (Vector const& direction : {Vector(0.02, -0.03, -1.0), Vector(0.7, 0.5, -0.4)}) {
            expectNoFault(compare({&part.grid}, rasterOver(part.grid, direction, 17.3)));
        }
    }
}

TEST(SureSearch, meetsAlmostNoEdgeWhereNoneIsAimedAt) {
    for (Grid const& grid : {foldedGrid(), rolledGrid(), bladeGrid()}) {
        auto const beams = beamsAlongNormals(grid, samples(2000, 400), 23);
        Agreement const agreement = compare({&grid}, beams);
        expectNoFault(agreement);
        EXPECT_LE(agreement.edgeCount, 2U);
        EXPECT_GT(20 * agreement.sameCount, 19 * beams.size());
    }
}

/// Two sheets over the same place, the upper one with its normals down.
struct TwoSheets {
    Grid upper = makeGrid(20, 20, [](int u, int v) { return Point(0.5 * (20 - u), 0.5 * v, 3.0 + 0.1 * u); });
    Grid lower = makeGrid(30, 30, [](int u, int v) { return Point(0.5 * u, 0.5 * v, 0.02 * u * v); });

    TwoSheets() {
        upper.setOffset({100, 0});
        lower.setOffset({0, 50});
    }

    std::vector<Grid const*> both() const { return {&upper, &lower}; }
};

TEST(SureSearch, answersWithTheFirstOfSeveralGridsWhicheverSideItShows) {
    TwoSheets const sheets;
    SureSearch const search(sheets.both());
    Hit const above = search.find({Point(2.2, 2.6, 20.0), Vector(0.0, 0.0, -1.0)});
    EXPECT_EQ(above.quad, GridIndex(115, 5));
    EXPECT_GT(above.angleError, std::numbers::pi / 2.0);
    Hit const below = search.find({Point(2.2, 2.6, -20.0), Vector(0.0, 0.0, 1.0)});
    EXPECT_EQ(below.quad, GridIndex(4, 55));
    Hit const between = search.find({Point(2.2, 2.6, 2.0), Vector(0.0, 0.0, -1.0)});
    EXPECT_EQ(between.quad, GridIndex(4, 55));
    EXPECT_LT(between.angleError, std::numbers::pi / 2.0);
    Hit const beside = search.find({Point(12.2, 12.6, 20.0), Vector(0.0, 0.0, -1.0)});
    EXPECT_EQ(beside.quad, GridIndex(24, 75));
    expectNoFault(compare(sheets.both(), rasterOver(sheets.lower, Vector(0.1, 0.2, -1.0), 40.0)));
    expectNoFault(compare(sheets.both(), rasterOver(sheets.upper, Vector(-0.4, 0.1, 1.0), 40.0)));
}

TEST(SureSearch, turnsTheAngleWithFlippedNormals) {
    Grid grid = makeGrid(5, 5, [](int u, int v) { return Point(5 - u, v, 0.0); });
    Beam const beam{Point(2.2, 2.6, 20.0), Vector(0.0, 0.1, -1.0)};
    Beam const ontoEdge{Point(2.0, 2.6, 20.0), Vector(0.0, 0.1, -1.0)};
    SureSearch const search({&grid});
    Hit const before = search.find(beam);
    Hit const edgeBefore = search.find(ontoEdge);
    grid.setDoFlipNormals(true);
    Hit const after = search.find(beam);
    Hit const edgeAfter = search.find(ontoEdge);
    EXPECT_EQ(after.distance, before.distance);
    EXPECT_NEAR(after.angleError, std::numbers::pi - before.angleError, 1e-12);
    ASSERT_EQ(edgeBefore.state, Hit::OnEdge);
    EXPECT_NEAR(edgeAfter.angleError, std::numbers::pi - edgeBefore.angleError, 1e-12);
    EXPECT_GT(edgeBefore.angleError, 2.9);
}

/// Beams straight down onto a plane of unit quads, at these shares of a quad.
std::vector<Beam> beamsAtShares(Grid const& grid, std::vector<std::pair<double, double>> const& shares) {
    std::vector<Beam> beams;
    forEachQuad(grid, [&](GridIndex const& quad) {
        for (auto const& [u, v] : shares) {
            auto const [alongU, alongV] = grid.getQuadBasis(quad);
            Point const target = grid.getPoint(quad) + (u * alongU + v * alongV);
            beams.push_back({target + Vector(0.0, 0.0, 7.0), Vector(0.0, 0.0, -1.0)});
        }
    });
    return beams;
}

TEST(SureSearch, tellsTheQuadOnWhoseEdgeABeamIs) {
    Grid const grid = QELT::Testing::flatGrid(6, 5);
    SureSearch const search({&grid});
    std::vector<std::pair<double, double>> const onEdges{{0.0, 0.25}, {0.25, 0.0},  {1.0, 0.5}, {0.5, 1.0},
                                                         {0.5, 0.5},  {0.25, 0.25}, {0.0, 0.0}, {1.0, 1.0}};
    auto const beams = beamsAtShares(grid, onEdges);
    for (Beam const& beam : beams) {
        ASSERT_FALSE(firstOfAllQuads({&grid}, beam)) << "the core lets it pass";
        Hit const hit = search.find(beam);
        ASSERT_EQ(hit.state, Hit::OnEdge) << beam.origin.getX() << ' ' << beam.origin.getY();
        EXPECT_TRUE(grid.getIsQuadValid(hit.quad));
        EXPECT_LT(distanceToEdges(grid, hit.quad, beam), 1e-5);
        EXPECT_LT(hit.point.dSqr(beam.origin - Vector(0.0, 0.0, 7.0)), 1e-12);
        ASSERT_TRUE(hit.isMeasured);
        EXPECT_NEAR(hit.distance, 7.0, 1e-5);
        EXPECT_NEAR(hit.angleToNormal, std::numbers::pi, 1e-12);
        EXPECT_NEAR(hit.angleError, 0.0, 1e-12);
    }
    auto const inside = beamsAtShares(grid, {{0.4, 0.3}, {0.3, 0.4}});
    EXPECT_TRUE(std::all_of(inside.begin(), inside.end(),
                            [&](Beam const& beam) { return search.find(beam).state == Hit::Inside; }));
}

TEST(SureSearch, losesNoBeamAimedAtEdgesDiagonalsAndNodesOfACurvedPart) {
    Grid const grid = makeGrid(40, 30, [](int u, int v) {
        return Point(0.1 * u, 0.13 * v, 0.4 * std::sin(0.3 * u) + 0.3 * std::cos(0.4 * v));
    });
    SureSearch const search({&grid});
    std::size_t edgeCount = 0;
    for (Beam beam : beamsAtShares(grid, {{0.0, 0.0}, {0.0, 0.3}, {0.3, 0.0}})) {
        beam.origin += Vector(0.7, -0.2, 3.0);
        beam.direction = Vector(-0.7, 0.2, -10.0);
        bool const isAtRim = beam.origin.getX() < 0.71 || beam.origin.getY() < -0.19;
        Hit const hit = search.find(beam);
        auto const asked = askQuad(grid, hit.quad, beam);
        edgeCount += hit.state == Hit::OnEdge ? 1U : 0U;
        ASSERT_TRUE(hit.isHit() || isAtRim);
        ASSERT_TRUE(hit.state != Hit::Inside || (asked && isSameHit(hit, *asked)));
        ASSERT_TRUE(!hit.isHit() || distanceToEdges(grid, hit.quad, beam) < 1e-5);
        ASSERT_TRUE(!hit.isHit() || std::abs(hit.distance - std::sqrt(100.53)) < 1e-4) << hit.distance;
    }
    EXPECT_GT(edgeCount, 10U) << "nothing was aimed at";
}

/// A quad, and its neighbour that goes back below it and further.
Grid hairpinGrid() {
    return makeGrid(2, 1, [](int u, int v) {
        constexpr std::array<std::array<double, 2>, 3> profile{{{0.0, 1.0}, {1.0, 1.0}, {-1.0, 0.0}}};
        return Point(profile.at(static_cast<std::size_t>(u))[0], v,
                     profile.at(static_cast<std::size_t>(u))[1]);
    });
}

TEST(SureSearch, neverAnswersWithANeighbourBehindTheEdge) {
    Grid const grid = hairpinGrid();
    Beam const atItsRim{Point(0.0, 0.3, 5.0), Vector(0.0, 0.0, -1.0)};
    auto const found = firstOfAllQuads({&grid}, atItsRim);
    ASSERT_TRUE(found && found->quad == GridIndex(1, 0)) << "the core alone answers with the sheet behind";
    Hit const hit = SureSearch({&grid}).find(atItsRim);
    EXPECT_EQ(hit.state, Hit::OnEdge);
    EXPECT_EQ(hit.quad, GridIndex(0, 0));
    EXPECT_NEAR(hit.distance, 4.0, 1e-6);
}

TEST(SureSearch, looksOnlyInFrontOfTheOrigin) {
    Grid const grid = hairpinGrid();
    SureSearch const search({&grid});
    Beam beam{Point(0.4, 0.3, 5.0), Vector(0.0, 0.0, -1.0)};
    EXPECT_EQ(search.find(beam).quad, GridIndex(0, 0));
    for (double const height : {0.999, 1.0, 0.75}) {
        beam.origin = Point(0.4, 0.3, height);
        Hit const hit = search.find(beam);
        EXPECT_EQ(hit.quad, GridIndex(1, 0)) << height;
        EXPECT_NEAR(hit.distance, height - 0.7, 1e-6);
    }
    beam.origin = Point(0.4, 0.3, -1.0);
    EXPECT_FALSE(search.find(beam).isHit());
    beam.origin = Point(0.0, 0.3, 0.75);
    EXPECT_EQ(search.find(beam).quad, GridIndex(1, 0)) << "the edge lies behind";
}

TEST(SureSearch, agreesWithAllQuadsForBeamsThatStartOnTheSurface) {
    Grid const grid = foldedGrid();
    std::vector<Beam> beams;
    auto const outside = beamsAlongNormals(grid, samples(1500, 400), 5);
    for (Beam const& beam : outside) {
        if (auto const found = firstOfAllQuads({&grid}, beam)) {
            beams.push_back({found->point, beam.direction});
        }
    }
    EXPECT_GT(3 * beams.size(), 2 * outside.size());
    expectNoFault(compare({&grid}, beams));
}

TEST(SureSearch, leavesUnmeasuredWhatTheCoreDoes) {
    Grid const grid = makeGrid(4, 4, [](int u, int v) { return Point(3000.0 * u, 3000.0 * v, 10.0 * u); });
    SureSearch const search({&grid});
    Vector const down(0.0, 0.0, -1.0);
    Hit const near = search.find({Point(4000.0, 5000.0, 10000.0), down});
    ASSERT_EQ(near.state, Hit::Inside);
    EXPECT_TRUE(near.isMeasured);
    Hit const far = search.find({Point(4000.0, 5000.0, 10020.0), down});
    EXPECT_EQ(far.state, Hit::Inside);
    EXPECT_FALSE(far.isMeasured);
    EXPECT_EQ(far.quad, near.quad);
    EXPECT_EQ(far.point, near.point);
    EXPECT_FALSE(search.find({Point(4000.0, 5000.0, -10020.0), down}).isHit());
    Hit const farEdge = search.find({Point(3000.0, 5000.0, 20000.0), down});
    EXPECT_EQ(farEdge.state, Hit::OnEdge);
    EXPECT_FALSE(farEdge.isMeasured);
    expectNoFault(compare({&grid}, rasterOver(grid, Vector(0.1, 0.05, -1.0), 30.0)));
}

TEST(SureSearch, keepsItsPrecisionFromAfar) {
    Grid const grid = QELT::Testing::wavyGrid(30, 30, 0.4);
    for (double const standOff : {1e2, 1e4, 1e6, 1e9}) {
        Hit const hit =
            SureSearch({&grid}).find({Point(12.3, 17.6, standOff), Vector(0.0, 0.0, -1e-3 * standOff)});
        EXPECT_EQ(hit.state, Hit::Inside) << standOff;
        EXPECT_EQ(hit.quad, GridIndex(12, 17)) << standOff;
        EXPECT_EQ(hit.isMeasured, standOff < measurementLimit);
    }
}

TEST(SureSearch, losesToAMissingNodeOnlyItsTriangles) {
    double const none = std::numeric_limits<double>::quiet_NaN();
    for (double const value : {none, std::numeric_limits<double>::infinity(), 3e18}) {
        Grid grid = makeGrid(3, 3, [](int u, int v) { return Point(u, v, 0.0); });
        grid.setPoint(GridIndex(1, 1), Point(value, value, value));
        SureSearch const search({&grid});
        auto const beams = beamsAtShares(QELT::Testing::flatGrid(3, 3), {{0.6, 0.3}, {0.3, 0.6}});
        std::size_t hitCount = 0;
        for (Beam const& beam : beams) {
            Hit const hit = search.find(beam);
            auto const found = firstOfAllQuads({&grid}, beam);
            EXPECT_EQ(hit.isHit(), found.has_value()) << beam.origin.getX() << ' ' << beam.origin.getY();
            EXPECT_TRUE(!hit.isHit() || hit.quad == found->quad);
            hitCount += hit.isHit() ? 1U : 0U;
        }
        EXPECT_EQ(hitCount, beams.size() - 6) << "six triangles meet in a node";
    }
}

TEST(SureSearch, seesNoQuadThatDoesNotExist) {
    Grid grid = QELT::Testing::flatGrid(3, 3);
    grid.setPointValidity(GridIndex(1, 1), false);
    SureSearch const search({&grid});
    for (Beam const& beam : beamsAtShares(grid, {{0.6, 0.3}, {0.3, 0.6}, {0.5, 0.5}})) {
        bool const isGone = beam.origin.getX() < 2.0 && beam.origin.getY() < 2.0;
        EXPECT_EQ(search.find(beam).isHit(), !isGone);
    }
}

TEST(SureSearch, servesOneQuadAndNone) {
    Grid const one = QELT::Testing::flatGrid(1, 1);
    Grid const none;
    Beam const beam{Point(0.6, 0.3, 2.0), Vector(0.0, 0.0, -2.0)};
    EXPECT_EQ(SureSearch({&one}).find(beam).quad, GridIndex(0, 0));
    EXPECT_EQ(SureSearch({&one}).find(beam).distance, 2.0);
    EXPECT_EQ(SureSearch({&none, &one}).find(beam).quad, GridIndex(0, 0));
    EXPECT_FALSE(SureSearch({&one}).find({Point(1.6, 0.3, 2.0), Vector(0.0, 0.0, -2.0)}).isHit());
    EXPECT_FALSE(SureSearch({&none}).find(beam).isHit());
    EXPECT_FALSE(SureSearch({}).find(beam).isHit());
}

TEST(SureSearch, missesWithABeamThatIsNone) {
    Grid const grid = QELT::Testing::flatGrid(3, 3);
    SureSearch const search({&grid});
    double const none = std::numeric_limits<double>::quiet_NaN();
    double const infinity = std::numeric_limits<double>::infinity();
    Point const above(1.6, 1.3, 2.0);
    for (Vector const& direction : {Vector(0.0, 0.0, 0.0), Vector(0.0, none, -1.0),
                                    Vector(0.0, 0.0, -infinity), Vector(none, none, none)}) {
        EXPECT_FALSE(search.find({above, direction}).isHit());
    }
    EXPECT_FALSE(search.find({Point(none, 1.3, 2.0), Vector(0.0, 0.0, -1.0)}).isHit());
    EXPECT_FALSE(search.find({Point(1.6, 1.3, infinity), Vector(0.0, 0.0, -1.0)}).isHit());
    for (double const length : {1e-30, 1e-3, 1e3, 1e30}) {
        EXPECT_EQ(search.find({above, Vector(0.0, 0.0, -length)}).quad, GridIndex(1, 1)) << length;
    }
}

TEST(SureSearch, readsTheNodesThatADerivedGridShows) {
    QELT::Testing::ShearedGrid grid;
    static_cast<Grid&>(grid) = QELT::Testing::wavyGrid(12, 12, 0.5);
    expectNoFault(compare({&grid}, rasterOver(grid, Vector(0.1, 0.2, -1.0), 25.0)));
    EXPECT_GT(compare({&grid}, beamsAlongNormals(grid, 200, 3)).sameCount, 150U);
}

/// Bits of an answer.
auto bitsOf(Hit const& hit) {
    return std::array<std::uint64_t, 9>{
        static_cast<std::uint64_t>(hit.state),          hit.isMeasured ? 1U : 0U,
        static_cast<std::uint64_t>(hit.quad.getU()),    static_cast<std::uint64_t>(hit.quad.getV()),
        std::bit_cast<std::uint32_t>(hit.point.getX()), std::bit_cast<std::uint32_t>(hit.point.getY()),
        std::bit_cast<std::uint32_t>(hit.point.getZ()), std::bit_cast<std::uint64_t>(hit.distance),
        std::bit_cast<std::uint64_t>(hit.angleError)};
}

TEST(SureSearch, givesTheSameBitsInAnyOrderAndFromAnySearch) {
    Grid const grid = foldedGrid();
    auto const beams = rasterOver(grid, Vector(0.0, 0.0, -1.0), 80.0);
    SureSearch const search({&grid});
    auto const hits = fireBeams(search, beams).hits;
    std::vector<std::size_t> order(beams.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    SureSearch const another({&grid});
    for (std::size_t const i : order) {
        EXPECT_EQ(bitsOf(search.find(beams[i])), bitsOf(hits[i])) << i;
        EXPECT_EQ(bitsOf(another.find(beams[i])), bitsOf(hits[i])) << i;
    }
    EXPECT_GT(statisticsOf({hits, 0.0}).hitCount, 1000U);
}

TEST(SureSearch, canBeMoved) {
    Grid const grid = QELT::Testing::flatGrid(3, 3);
    SureSearch first({&grid});
    std::size_t const memory = first.getMemory();
    SureSearch second(std::move(first));
    EXPECT_EQ(second.getMemory(), memory);
    second = SureSearch({&grid});
    EXPECT_EQ(second.find({Point(1.6, 1.3, 2.0), Vector(0.0, 0.0, -1.0)}).quad, GridIndex(1, 1));
}

TEST(SureSearch, takesTheMemoryItSays) {
    Grid const grid = QELT::Testing::wavyGrid(400, 400, 0.5);
    double const perQuad = static_cast<double>(SureSearch({&grid}).getMemory()) / (400.0 * 400.0);
    EXPECT_GT(perQuad, 28.0) << "corners and indices alone";
    EXPECT_LT(perQuad, 120.0);
}

/// Whether arithmetic keeps the numbers below the smallest normal one.
bool keepsSmallNumbers() {
    float const volatile smallest = std::numeric_limits<float>::min();
    float const volatile half = smallest / 2.0F;
    float const volatile back = half * 2.0F;
    return half > 0.0F && back == smallest;
}

TEST(SureSearch, leavesArithmeticAsItIs) {
    Grid const grid = QELT::Testing::wavyGrid(200, 200, 0.5);
    int const before = std::fegetround();
    ASSERT_TRUE(keepsSmallNumbers());
    {
        SureSearch const search({&grid});
        EXPECT_TRUE(keepsSmallNumbers());
        EXPECT_EQ(std::fegetround(), before);
        EXPECT_TRUE(search.find({Point(60.3, 70.4, 5.0), Vector(0.0, 0.1, -1.0)}).isHit());
        EXPECT_TRUE(keepsSmallNumbers());
        EXPECT_EQ(std::fegetround(), before);
    }
    EXPECT_TRUE(keepsSmallNumbers());
    EXPECT_EQ(std::fegetround(), before);
}

#if defined(__linux__)
TEST(SureSearch, startsNoThread) {
    auto const threadCount = [] {
        std::filesystem::directory_iterator const tasks("/proc/self/task");
        return std::distance(begin(tasks), end(tasks));
    };
    auto const before = threadCount();
    Grid const grid = QELT::Testing::wavyGrid(300, 300, 0.5);
    {
        SureSearch const search({&grid});
        EXPECT_EQ(threadCount(), before);
    }
    EXPECT_EQ(threadCount(), before);
}
#endif

} // namespace
} // namespace QELT::Inspection
