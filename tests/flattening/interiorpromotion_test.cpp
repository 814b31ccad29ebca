#include "tests/support/flattening_fixtures.h"

#include "Geometry/trimesh/boundary/internal/sharpestturns.h"

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

namespace QELT::Testing {
namespace {

namespace Plain = PlainFlattening;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Place = std::array<double, 3>;

struct Promotion {
    unsigned long interior = 0;
    unsigned long mainLoop = 0;
};

Promotion promote(TriangleMesh& mesh, bool pinCorners) {
    Promotion result;
    mesh.promoteInterior(pinCorners, result.interior, result.mainLoop);
    return result;
}

Place placeOf(TriangleMesh const& mesh, unsigned long vertex) {
    auto const& p = mesh.getVertex(vertex).getPoint3D();
    return {p.getX(), p.getY(), p.getZ()};
}

Place asFloats(Place const& p) {
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

/// Whether the last `n` vertices follow each other along boundary sides, the last one before the first.
void expectWalkingOrder(TriangleMesh const& mesh, std::uint32_t n) {
    auto const base = static_cast<std::uint32_t>(mesh.getNumberOfVertices()) - n;
    for (std::uint32_t p = 0; p < n; ++p) {
        Edge e;
        ASSERT_TRUE(mesh.getDoesEdgeExist(base + p, base + (p + 1) % n, &e)) << "position " << p;
        EXPECT_TRUE(e.isBoundary()) << "position " << p;
    }
}

/// The points of the main loop in walking order, from a promotion without pins.
std::vector<Place> mainLoopOf(Soup const& soup) {
    MeshPointer const mesh = makeMesh(soup);
    Promotion const counts = promote(*mesh, false);
    std::vector<Place> loop;
    for (unsigned long v = mesh->getNumberOfVertices() - counts.mainLoop; v < mesh->getNumberOfVertices();
         ++v) {
        loop.push_back(placeOf(*mesh, v));
    }
    return loop;
}

std::string messageOfPromotion(TriangleMesh& mesh, bool pinCorners) {
    try {
        promote(mesh, pinCorners);
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

TEST(InteriorPromotion, ADiscHasItsWholeBoundaryLastInWalkingOrder) {
    MeshPointer const mesh = makeMesh(withShuffledVertices(makeDisc(3, 9), 4));
    Promotion const counts = promote(*mesh, false);
    EXPECT_EQ(counts.interior, 19U);
    EXPECT_EQ(counts.mainLoop, 9U);
    expectWalkingOrder(*mesh, 9);
    for (unsigned long v = 0; v < 28; ++v) {
        EXPECT_EQ(mesh->getIsBoundaryVertex(v), v >= 19) << v;
    }
}

TEST(InteriorPromotion, InteriorVerticesKeepTheirRelativeOrder) {
    Soup const soup = withShuffledVertices(makeWavyPatch(6, 5), 8);
    MeshPointer const mesh = makeMesh(soup);
    std::vector<Place> expected;
    for (std::uint32_t v = 0; v < soup.points.size(); ++v) {
        if (!mesh->getIsBoundaryVertex(v)) {
            expected.push_back(asFloats(soup.points[v]));
        }
    }
    Promotion const counts = promote(*mesh, true);
    ASSERT_EQ(counts.interior, expected.size());
    for (std::uint32_t v = 0; v < expected.size(); ++v) {
        EXPECT_EQ(placeOf(*mesh, v), expected[v]) << v;
    }
}

TEST(InteriorPromotion, AHoleComesAfterTheInteriorAndBeforeTheOuterLoop) {
    MeshPointer const mesh = makeMesh(makePatchWithHole(7));
    Promotion const counts = promote(*mesh, false);
    EXPECT_EQ(counts.mainLoop, 28U);
    expectWalkingOrder(*mesh, 28);
    unsigned long const holeStart = counts.interior;
    unsigned long const holeEnd = mesh->getNumberOfVertices() - 28;
    EXPECT_EQ(holeEnd - holeStart, 12U);
    for (unsigned long v = 0; v < holeStart; ++v) {
        EXPECT_FALSE(mesh->getIsBoundaryVertex(v));
    }
    for (unsigned long v = holeStart; v < holeEnd; ++v) {
        Edge e;
        unsigned long const next = v + 1 == holeEnd ? holeStart : v + 1;
        ASSERT_TRUE(mesh->getDoesEdgeExist(v, next, &e));
        EXPECT_TRUE(e.isBoundary());
    }
}

TEST(InteriorPromotion, OfTwoLoopsOfEqualLengthTheEarlierBecomesTheMainLoop) {
    Soup const soup = makeTube(8, 3);
    std::set<Place> const lower{[&] {
        std::set<Place> places;
        for (std::uint32_t v = 0; v < 8; ++v) {
            places.insert(asFloats(soup.points[v]));
        }
        return places;
    }()};
    MeshPointer const mesh = makeMesh(soup);
    ASSERT_TRUE(mesh->getIsBoundaryVertex(0));
    Promotion const counts = promote(*mesh, false);
    ASSERT_EQ(counts.mainLoop, 8U);
    for (unsigned long v = mesh->getNumberOfVertices() - 8; v < mesh->getNumberOfVertices(); ++v) {
        EXPECT_EQ(lower.count(placeOf(*mesh, v)), 1U);
    }
}

TEST(InteriorPromotion, TheMainLoopChangesPlacesWithTheLastOne) {
    // Of five loops the longest is met first; it goes last and the last hole comes to the front.
    Soup const soup = makePatchWithManyHoles(7);
    MeshPointer const mesh = makeMesh(soup);
    PlainMesh plain = plainCopyOf(*mesh);
    Plain::promoteInterior(plain, false);
    Promotion const counts = promote(*mesh, false);
    EXPECT_EQ(counts.mainLoop, 28U);
    EXPECT_EQ(counts.interior, 36U - 16U);
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
    // The last hole of the file stands first.
    Place const highest = placeOf(*mesh, counts.interior);
    Place const lowest = placeOf(*mesh, counts.interior + 4);
    EXPECT_GT(highest[1], lowest[1]);
}

TEST(InteriorPromotion, ACircleHasNoCornersAndIsPinnedAtPositionsZeroAndTwo) {
    Soup const soup = makeDisc(2, 20);
    std::vector<Place> const loop = mainLoopOf(soup);
    MeshPointer const mesh = makeMesh(soup);
    promote(*mesh, true);
    unsigned long const total = mesh->getNumberOfVertices();
    EXPECT_EQ(placeOf(*mesh, total - 2), loop[0]);
    EXPECT_EQ(placeOf(*mesh, total - 1), loop[2]);
    // What stood at the end takes the pins' places.
    EXPECT_EQ(placeOf(*mesh, total - 20), loop[18]);
    EXPECT_EQ(placeOf(*mesh, total - 18), loop[19]);
}

TEST(InteriorPromotion, OneCornerAloneIsNoPair) {
    // A drop: an arc of a circle and the tip of its two end tangents, which meet at a right angle.
    std::vector<Place> outline;
    for (int degrees = -130; degrees <= 130; degrees += 10) {
        double const angle = degrees * 3.141592653589793 / 180.0;
        outline.push_back({std::cos(angle), std::sin(angle), 0.0});
    }
    outline.push_back({-std::sqrt(2.0), 0.0, 0.0});
    Soup const soup = makeFan(outline);
    std::vector<Place> const loop = mainLoopOf(soup);
    MeshPointer const mesh = makeMesh(soup);
    promote(*mesh, true);
    unsigned long const total = mesh->getNumberOfVertices();
    EXPECT_EQ(placeOf(*mesh, total - 2), loop[0]);
    EXPECT_EQ(placeOf(*mesh, total - 1), loop[2]);
}

TEST(InteriorPromotion, ARectangleIsPinnedAtTheEndsOfItsDiagonalWithTiesToTheFirstPairFound) {
    // Both diagonals are equally long. The loop starts at the corner (0, 0), which enters the table of equal
    // keys last and so stands first; from it the first corner at the full distance is (3, 2).
    MeshPointer const mesh = makeMesh(makeGridPatch(6, 4, 3.0, 2.0));
    promote(*mesh, true);
    unsigned long const total = mesh->getNumberOfVertices();
    EXPECT_EQ(placeOf(*mesh, total - 2), (Place{3.0, 2.0, 0.0}));
    EXPECT_EQ(placeOf(*mesh, total - 1), (Place{0.0, 0.0, 0.0}));
}

TEST(InteriorPromotion, AParallelogramIsPinnedAtItsLongDiagonal) {
    Soup soup = makeGridPatch(5, 5, 4.0, 4.0);
    for (auto& p : soup.points) {
        p[0] -= 0.1 * p[1];
    }
    MeshPointer const mesh = makeMesh(withShuffledVertices(soup, 3));
    promote(*mesh, true);
    unsigned long const total = mesh->getNumberOfVertices();
    std::set<Place> const pins{placeOf(*mesh, total - 2), placeOf(*mesh, total - 1)};
    Place const left = asFloats({-0.4, 4.0, 0.0});
    EXPECT_EQ(pins, (std::set<Place>{left, Place{4.0, 0.0, 0.0}}));
}

TEST(InteriorPromotion, ACornerTurnsByMoreThanEightyDegrees) {
    for (double const degrees : {79.9, 80.1}) {
        Soup const soup = makeFan(makeLens(22, degrees));
        std::vector<Place> const loop = mainLoopOf(soup);
        MeshPointer const mesh = makeMesh(soup);
        promote(*mesh, true);
        unsigned long const total = mesh->getNumberOfVertices();
        std::set<Place> const pins{placeOf(*mesh, total - 2), placeOf(*mesh, total - 1)};
        std::set<Place> const tips{asFloats(soup.points[1]), asFloats(soup.points[12])};
        std::set<Place> const defaults{loop[0], loop[2]};
        EXPECT_EQ(pins, degrees > 80.0 ? tips : defaults) << degrees;
    }
}

TEST(InteriorPromotion, TheFirstSwapCanMoveTheSecondPin) {
    // A loop of four with one corner keeps the default positions 0 and 2; 2 is also where the first pin goes.
    // Swapped one after the other, the first pin ends at the very end.
    double const width = 1.6167;
    std::array<double, 4> const headings{0.0, 79.0, 158.0, 237.0};
    std::array<double, 4> const lengths{width, 1.0, 1.0, width};
    Soup soup;
    Place p{};
    for (std::size_t k = 0; k < 4; ++k) {
        soup.points.push_back(p);
        p[0] += lengths[k] * std::cos(headings[k] * 3.141592653589793 / 180.0);
        p[1] += lengths[k] * std::sin(headings[k] * 3.141592653589793 / 180.0);
    }
    soup.faces = {{0, 1, 2}, {0, 2, 3}};
    std::vector<Place> const loop = mainLoopOf(soup);
    ASSERT_EQ(loop.size(), 4U);
    MeshPointer const mesh = makeMesh(soup);
    promote(*mesh, true);
    EXPECT_EQ(placeOf(*mesh, 0), loop[2]);
    EXPECT_EQ(placeOf(*mesh, 1), loop[1]);
    EXPECT_EQ(placeOf(*mesh, 2), loop[3]);
    EXPECT_EQ(placeOf(*mesh, 3), loop[0]);
}

TEST(InteriorPromotion, EveryTriangleKeepsItsPointsAndEveryEdgeItsGeometry) {
    MeshPointer const mesh = makeMesh(withNoise(makePatchWithHole(6), 0.02, 5));
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh->getTriangles(list, first, last);

    struct Corner {
        Place org;
        Place dest;
        Place next;
    };

    auto const readSide = [&](Triangle* triangle, unsigned long side) {
        Edge const e = triangle->getEdge(side);
        auto const place = [](auto const& point) { return Place{point.getX(), point.getY(), point.getZ()}; };
        Edge const onward = e.rot().isBoundary() ? e.rot() : e.rot().sym();
        return std::array<Place, 3>{place(e.vphiorg3()), place(e.vphidest3()), place(onward.vphidest3())};
    };
    std::map<Triangle*, std::array<std::array<Place, 3>, 3>> before;
    for (auto t = first; t != last; ++t) {
        before[*t] = {readSide(*t, 0), readSide(*t, 1), readSide(*t, 2)};
    }
    promote(*mesh, true);
    for (auto const& [triangle, sides] : before) {
        for (std::size_t side = 0; side < 3; ++side) {
            EXPECT_EQ(readSide(triangle, static_cast<unsigned long>(side)), sides[side]);
        }
    }
}

TEST(InteriorPromotion, TrianglesThatNoVertexListsKeepTheirPointsToo) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(withShuffledVertices(makePatchMeetingItself(), 3));
        std::vector<Triangle*> const unlisted = mesh->getUnlistedTriangles();
        ASSERT_EQ(unlisted.size(), 1U);
        std::array<Place, 3> before;
        for (std::size_t k = 0; k < 3; ++k) {
            before[k] = placeOf(*mesh, unlisted[0]->getAdjacentVertexIndex(k));
        }
        PlainMesh expected = plainCopyOf(*mesh);
        Plain::promoteInterior(expected, pinCorners);
        promote(*mesh, pinCorners);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_EQ(placeOf(*mesh, unlisted[0]->getAdjacentVertexIndex(k)), before[k]);
        }
        EXPECT_EQ(mesh->getUnlistedTriangles(), unlisted);
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), expected));
    }
}

TEST(InteriorPromotion, TheArrayOfVerticesStaysAndReferencesShowWhatComesToTheirPlaces) {
    MeshPointer const mesh = makeMesh(withShuffledVertices(makePatchWithHole(6), 4));
    auto const& reference = mesh->getVertex(3);
    std::vector<Geometry::ThreeDimensional::TriMesh::Vertex const*> addresses;
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        addresses.push_back(&mesh->getVertex(v));
    }
    testing::internal::CaptureStdout();
    mesh->conformalMap(true, nullptr, false);
    testing::internal::GetCapturedStdout();
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        EXPECT_EQ(&mesh->getVertex(v), addresses[v]);
    }
    Place const seen{reference.getPoint3D().getX(), reference.getPoint3D().getY(),
                     reference.getPoint3D().getZ()};
    EXPECT_EQ(seen, placeOf(*mesh, 3));
}

TEST(InteriorPromotion, ThePairOfZerosBehindACutFollowsVertexZero) {
    Soup const soup = withShuffledVertices(makeWavyPatch(4, 4), 6);
    MeshPointer const mesh = makeMesh(soup);
    mesh->cutEdgeIndices = {{{3}, {0}}, {{3}, {0}}};
    Place const before = placeOf(*mesh, 0);
    promote(*mesh, false);
    EXPECT_EQ(mesh->getCutEdgeIndices().first[1].index, mesh->getCutEdgeIndices().second[1].index);
    EXPECT_EQ(placeOf(*mesh, mesh->getCutEdgeIndices().first[1].index), before);
}

TEST(InteriorPromotion, TheCutNamesTheSamePointsOnBothLips) {
    Soup const soup = withShuffledVertices(makeWavyPatch(5, 5), 17);
    MeshPointer const mesh = makeMesh(soup);
    giveCut(*mesh, {3, 14, 0, 35}, {9, 2, 2, 21});
    promote(*mesh, true);
    std::vector<std::uint32_t> const first{3, 14, 0, 35};
    std::vector<std::uint32_t> const second{9, 2, 2, 21};
    for (std::size_t k = 0; k < first.size(); ++k) {
        EXPECT_EQ(placeOf(*mesh, mesh->getCutEdgeIndices().first[k].index), asFloats(soup.points[first[k]]));
        EXPECT_EQ(placeOf(*mesh, mesh->getCutEdgeIndices().second[k].index),
                  asFloats(soup.points[second[k]]));
    }
}

TEST(InteriorPromotion, NormalsAndFlatPlacesMoveWithTheirVertices) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(4, 4));
    std::map<Place, std::pair<double, double>> before;
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        mesh->getVertex(v).setPoint2D({static_cast<double>(v), 0.5});
        before[placeOf(*mesh, v)] = {static_cast<double>(v), mesh->getVertex(v).getNormal3D().getdX()};
    }
    promote(*mesh, true);
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        auto const& [u, normal] = before.at(placeOf(*mesh, v));
        EXPECT_EQ(mesh->getVertex(v).getPoint2D().getU(), u);
        EXPECT_TRUE(sameBits(mesh->getVertex(v).getNormal3D().getdX(), normal));
    }
}

TEST(InteriorPromotion, AClosedMeshIsRefusedUnchanged) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(makeSphere(1));
        giveCut(*mesh, {1}, {2});
        PlainMesh const before = plainCopyOf(*mesh);
        EXPECT_EQ(messageOfPromotion(*mesh, pinCorners), "Mesh has no boundary");
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
    }
}

/// A chain of triangles that comes back to its first vertex without sharing a side there.
Soup makePinchedChain() {
    return Soup{{{0, 0, 0}, {2, 1, 0}, {0, 2, 0}, {2, 3, 0}, {3, 0, 1}},
                {{0, 1, 2}, {2, 1, 3}, {3, 1, 4}, {4, 0, 3}}};
}

/// A closed fan around vertex 0, and a chain of triangles from its rim back to vertex 0.
Soup makeFanPiercedByTheBoundary() {
    return Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}, {2, 2, 0}, {2, 0, 2}},
                {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}, {2, 1, 5}, {5, 1, 6}, {6, 0, 5}}};
}

TEST(InteriorPromotion, ABoundaryThatMeetsItselfInAVertexIsRefusedUnchanged) {
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        MeshPointer const mesh = buildMesh(withShuffledVertices(makePinchedChain(), seed));
        PlainMesh const before = plainCopyOf(*mesh);
        EXPECT_EQ(messageOfPromotion(*mesh, seed % 2 == 0), "Mesh boundary is not manifold") << seed;
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
    }
}

TEST(InteriorPromotion, ABoundaryThatMeetsAnInteriorVertexIsRefusedUnchanged) {
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        MeshPointer const mesh = buildMesh(withShuffledVertices(makeFanPiercedByTheBoundary(), seed));
        PlainMesh const before = plainCopyOf(*mesh);
        EXPECT_EQ(messageOfPromotion(*mesh, seed % 2 == 0), "Mesh boundary is not manifold") << seed;
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
    }
}

TEST(InteriorPromotion, AVertexWithoutATriangleIsRefusedUnchanged) {
    Soup soup = makeGridPatch(2, 2);
    soup.points.push_back({5.0, 5.0, 0.0});
    MeshPointer const mesh = buildMesh(soup);
    PlainMesh const before = plainCopyOf(*mesh);
    EXPECT_EQ(messageOfPromotion(*mesh, true), "Mesh has a vertex without a triangle");
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
}

TEST(InteriorPromotion, GivesThePlainVersionsOrderOnAllFamilies) {
    for (NamedSoup const& family : openFamilies()) {
        for (bool const pinCorners : {false, true}) {
            SCOPED_TRACE(family.name + (pinCorners ? ", pinned" : ", not pinned"));
            MeshPointer const mesh = makeMesh(family.soup);
            giveCut(*mesh, {0, 3, 2, 1}, {4, 1, 1, 0});
            PlainMesh plain = plainCopyOf(*mesh);
            Plain::Counts const expected = Plain::promoteInterior(plain, pinCorners);
            Promotion const counts = promote(*mesh, pinCorners);
            EXPECT_EQ(counts.interior, expected.interior);
            EXPECT_EQ(counts.mainLoop, expected.mainLoop);
            EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
        }
    }
}

TEST(InteriorPromotion, ChoosesThePlainVersionsPinsOnJaggedOutlines) {
    // Steep noise in all directions makes many corners; coarse coordinates make equal keys and distances.
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Soup soup = withNoise(makeGridPatch(9, 7, 9.0, 7.0), 0.9, seed);
        for (auto& p : soup.points) {
            for (double& coordinate : p) {
                coordinate = std::round(coordinate * 4.0) / 4.0;
            }
        }
        MeshPointer const mesh = makeMesh(withShuffledVertices(soup, seed));
        PlainMesh plain = plainCopyOf(*mesh);
        Plain::promoteInterior(plain, true);
        promote(*mesh, true);
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
    }
}

TEST(InteriorPromotion, DistancesOfCornersAreComparedInSinglePrecision) {
    // Rectangles whose diagonals differ by about the last bit of a float: in double precision other pairs
    // would win.
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        MeshPointer const mesh = makeMesh(withNoise(makeGridPatch(2, 2, 3.1, 2.3), 3e-7, seed));
        PlainMesh plain = plainCopyOf(*mesh);
        Plain::promoteInterior(plain, true);
        promote(*mesh, true);
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
    }
}

TEST(InteriorPromotion, CutEntriesThatNameNoVertexStay) {
    MeshPointer const mesh = makeMesh(withShuffledVertices(makeWavyPatch(3, 3), 6));
    giveCut(*mesh, {0, 16, 4294967295U}, {1000000, 1, 2});
    promote(*mesh, true);
    EXPECT_EQ(mesh->getCutEdgeIndices().first[1].index, 16U);
    EXPECT_EQ(mesh->getCutEdgeIndices().first[2].index, 4294967295U);
    EXPECT_EQ(mesh->getCutEdgeIndices().second[0].index, 1000000U);
    EXPECT_LT(mesh->getCutEdgeIndices().first[0].index, 16U);
}

/// The corner table spelled out: all places full of the largest double from the start, sorted by insertion.
std::vector<std::uint32_t> plainCorners(std::vector<double> const& cosines, std::size_t capacity) {
    std::vector<std::pair<double, std::uint32_t>> table(capacity, {1.7976931348623157e308, 0});
    for (std::uint32_t position = 0; position < cosines.size(); ++position) {
        double const cosine = cosines[position];
        if (cosine < table.back().first) {
            std::size_t place = 0;
            while (table[place].first < cosine) {
                ++place;
            }
            table.insert(table.begin() + static_cast<std::ptrdiff_t>(place), {cosine, position});
            table.pop_back();
        }
    }
    std::vector<std::uint32_t> corners;
    for (auto const& [cosine, position] : table) {
        if (cosine < 0.17364817766693036) {
            corners.push_back(position);
        }
    }
    return corners;
}

std::vector<std::uint32_t> sharpestTurns(std::vector<double> const& cosines, std::size_t capacity) {
    Geometry::ThreeDimensional::TriMesh::SharpestTurns turns(capacity);
    for (std::uint32_t position = 0; position < cosines.size(); ++position) {
        turns.offer(cosines[position], position);
    }
    return turns.getPositions();
}

TEST(InteriorPromotion, TheCornerTableIsSortedWithTheNewestOfEqualsFirstAndLosesTheLeastSharp) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const limit = 0.17364817766693036;
    using Positions = std::vector<std::uint32_t>;
    EXPECT_EQ(sharpestTurns({0.1, -1.0, 0.1, -0.5}, 8), (Positions{1, 3, 2, 0}));
    EXPECT_EQ(sharpestTurns({0.1, -1.0, 0.1, -0.5}, 3), (Positions{1, 3, 2}));
    // Equal to the last of a full table is not below it.
    EXPECT_EQ(sharpestTurns({0.0, 0.0, 0.0, 0.0}, 3), (Positions{2, 1, 0}));
    EXPECT_EQ(sharpestTurns({nan, limit, std::nextafter(limit, 0.0), 1.0}, 3), (Positions{2}));
}

TEST(InteriorPromotion, TheCornerTableIsThePlainOneForRandomTurns) {
    std::mt19937 generator(7);
    for (int round = 0; round < 50; ++round) {
        std::vector<double> cosines;
        for (int k = 0; k < 60; ++k) {
            // Coarse values, so that many are equal.
            cosines.push_back(static_cast<double>(generator() % 17) / 8.0 - 1.0);
        }
        for (std::size_t const capacity :
             {std::size_t{1}, std::size_t{5}, std::size_t{20}, std::size_t{60}}) {
            EXPECT_EQ(sharpestTurns(cosines, capacity), plainCorners(cosines, capacity)) << capacity;
        }
    }
}

TEST(InteriorPromotion, ASecondPromotionIsLegal) {
    MeshPointer const mesh = makeMesh(makePatchWithHole(6));
    promote(*mesh, true);
    PlainMesh plain = plainCopyOf(*mesh);
    Plain::promoteInterior(plain, false);
    promote(*mesh, false);
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
    expectWalkingOrder(*mesh, 24);
}

} // namespace
} // namespace QELT::Testing
