#include "Inspection/parts/partanalysis.h"

#include "tests/inspection/parts/partshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

namespace QELT::Inspection {
namespace {

using namespace Testing;

std::size_t countFaults(PartAnalysis const& a) {
    return a.strayFaces.count + a.collapsedFaces.count + a.duplicateFaces.count + a.flatFaces.count +
           a.turnedFaces.count + a.oneSidedFaces.count + a.crowdedSides.count + a.misdirectedSides.count +
           a.pinchedPoints.count + a.unusedPoints.count + a.coincidentPoints.count;
}

TEST(PartAnalysis, OfASheetHasOneRimAndNoFault) {
    PartAnalysis const analysis = analysePart(flatSheet(4, 3));
    EXPECT_EQ(analysis.pointCount, 20U);
    EXPECT_EQ(analysis.faceCount, 24U);
    EXPECT_EQ(countFaults(analysis), 0U);
    ASSERT_EQ(analysis.pieces.size(), 1U);
    EXPECT_EQ(analysis.pieces[0].handleCount, 0U);
    EXPECT_DOUBLE_EQ(analysis.area, 12.0);
    ASSERT_EQ(analysis.rims.size(), 1U);
    EXPECT_TRUE(analysis.rims[0].isClosed);
    EXPECT_EQ(analysis.rims[0].points.size(), 14U);
    EXPECT_DOUBLE_EQ(analysis.rims[0].length, 14.0);
    EXPECT_NEAR(analysis.rims[0].turning, fullTurn, 1e-12);
    EXPECT_NEAR(analysis.pieces[0].curvature, 0.0, 1e-12);
    EXPECT_EQ(analysis.rims[0].middle, Point(2.0, 1.5, 0.0));
    EXPECT_EQ(analysis.high, Point(4.0, 3.0, 0.0));
    EXPECT_DOUBLE_EQ(analysis.size(), 5.0);
    EXPECT_DOUBLE_EQ(analysis.largestJump.angle, 0.0);
}

TEST(PartAnalysis, TellsTheHolesOfASheet) {
    FaceMesh mesh = flatSheet(6, 6);
    auto const hole = static_cast<std::ptrdiff_t>(2 * (2 * 6 + 2));
    mesh.faces.erase(mesh.faces.begin() + hole, mesh.faces.begin() + hole + 2);
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.rims.size(), 2U);
    EXPECT_EQ(analysis.rims[0].points.size(), 24U);
    EXPECT_EQ(analysis.rims[1].points.size(), 4U);
    EXPECT_DOUBLE_EQ(analysis.rims[1].length, 4.0);
    EXPECT_NEAR(analysis.rims[1].turning, -fullTurn, 1e-12);
    EXPECT_EQ(analysis.pieces[0].rims, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(analysis.pieces[0].handleCount, 0U);
    EXPECT_FALSE(analysis.isTube());
    EXPECT_EQ(countFaults(analysis), 0U);
}

TEST(PartAnalysis, OfASphereIsClosedAndFullyCurved) {
    PartAnalysis const analysis = analysePart(sphere(15, 24));
    ASSERT_EQ(analysis.pieces.size(), 1U);
    EXPECT_TRUE(analysis.pieces[0].isClosed());
    EXPECT_EQ(analysis.pieces[0].handleCount, 0U);
    EXPECT_NEAR(analysis.pieces[0].curvature, 2.0 * fullTurn, 1e-9);
    EXPECT_GT(analysis.pieces[0].volume, 0.9 * 4000.0 * std::numbers::pi / 3.0);
    EXPECT_LT(analysis.pieces[0].volume, 4000.0 * std::numbers::pi / 3.0);
    EXPECT_TRUE(analysis.rims.empty());
    EXPECT_EQ(countFaults(analysis), 0U);
}

TEST(PartAnalysis, CountsHandles) {
    FaceMesh mesh = torus(12, 20);
    EXPECT_EQ(analysePart(mesh).pieces.at(0).handleCount, 1U);
    EXPECT_TRUE(analysePart(mesh).pieces[0].isClosed());
    EXPECT_GT(analysePart(mesh).pieces[0].volume, 0.0);
    mesh.faces.resize(mesh.faces.size() - 2);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.pieces.at(0).handleCount, 1U);
    ASSERT_EQ(analysis.rims.size(), 1U);
    EXPECT_EQ(analysis.rims[0].points.size(), 4U);
    EXPECT_EQ(countFaults(analysis), 0U);
}

TEST(PartAnalysis, TellsATubeFromAFlatRing) {
    PartAnalysis const round = analysePart(tube(6, 20));
    EXPECT_TRUE(round.isTube());
    ASSERT_EQ(round.rims.size(), 2U);
    EXPECT_NEAR(round.pieces[0].curvature, 0.0, 0.05);
    FaceMesh const ring = ringsOf(3, 20, false, [](unsigned k, unsigned j) {
        double const angle = fullTurn * j / 20.0;
        return Point((8.0 - k) * std::cos(angle), (8.0 - k) * std::sin(angle), 0.0);
    });
    PartAnalysis const flat = analysePart(ring);
    EXPECT_EQ(flat.rims.size(), 2U);
    EXPECT_NEAR(flat.rims[0].turning, fullTurn, 1e-9);
    EXPECT_FALSE(flat.isTube());
    FaceMesh slit = tube(6, 20);
    slit.faces.erase(slit.faces.begin()); // a hole in the rim is no slit
    EXPECT_TRUE(analysePart(slit).isTube());
}

TEST(PartAnalysis, TellsPiecesTheLargestFirst) {
    FaceMesh mesh = flatSheet(1, 1);
    append(mesh, flatSheet(3, 3), {10.0, 0.0, 0.0});
    append(mesh, flatSheet(2, 2), {20.0, 0.0, 0.0});
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.pieces.size(), 3U);
    EXPECT_EQ(analysis.pieces[0].faceCount, 18U);
    EXPECT_EQ(analysis.pieces[0].firstFace, 2U);
    EXPECT_EQ(analysis.pieces[1].faceCount, 8U);
    EXPECT_EQ(analysis.pieces[2].faceCount, 2U);
    EXPECT_EQ(analysis.lesserFaceCount, 10U);
    ASSERT_EQ(analysis.rims.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(analysis.rims[i].piece, i);
        EXPECT_EQ(analysis.pieces[i].rims, std::vector<std::size_t>{i});
    }
    EXPECT_EQ(countFaults(analysis), 0U);
}

TEST(PartAnalysis, TellsSidesOfMoreThanTwoFaces) {
    FaceMesh mesh = flatSheet(2, 1); // points 1 and 4 are the side between the squares
    mesh.points.emplace_back(1.0, 0.5, 1.0);
    mesh.faces.push_back({1, 4, 6});
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.crowdedSides.count, 1U);
    EXPECT_EQ(analysis.crowdedSides.first[0], (SideEnds{1, 4}));
    EXPECT_EQ(analysis.crowdedSides.place, Point(1.0, 0.5, 0.0));
    EXPECT_EQ(analysis.pieces.size(), 1U);
    EXPECT_FALSE(analysis.pieces[0].handleCount.has_value());
    EXPECT_EQ(countFaults(analysis), 1U);
    ASSERT_EQ(analysis.rims.size(), 3U); // from one end of that side to the other
    for (PartRim const& rim : analysis.rims) {
        EXPECT_FALSE(rim.isClosed);
    }
    EXPECT_DOUBLE_EQ(analysis.rims[0].length + analysis.rims[1].length, 6.0);
}

TEST(PartAnalysis, TellsPointsInWhichTheRimMeetsItself) {
    FaceMesh mesh = flatSheet(2, 2);
    mesh.faces.erase(mesh.faces.begin() + 6, mesh.faces.end());   // the upper right square
    mesh.faces.erase(mesh.faces.begin(), mesh.faces.begin() + 2); // the lower left one
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.pinchedPoints.count, 1U);
    EXPECT_EQ(analysis.pinchedPoints.first[0], 4U);
    EXPECT_EQ(analysis.pinchedPoints.place, Point(1.0, 1.0, 0.0));
    EXPECT_EQ(analysis.pieces.size(), 2U);
    ASSERT_EQ(analysis.rims.size(), 2U);
    EXPECT_DOUBLE_EQ(analysis.rims[0].length, 4.0);
    EXPECT_EQ(analysis.pieces[0].handleCount, 0U);
    EXPECT_EQ(analysis.unusedPoints.count, 2U);
}

TEST(PartAnalysis, TellsFacesThatRunTheWrongWay) {
    FaceMesh mesh = flatSheet(4, 4);
    std::swap(mesh.faces[13][0], mesh.faces[13][1]);
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.turnedFaces.count, 1U);
    EXPECT_EQ(analysis.turnedFaces.first[0], 13U);
    EXPECT_EQ(analysis.misdirectedSides.count, 3U);
    EXPECT_EQ(analysis.oneSidedFaces.count, 0U);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_DOUBLE_EQ(analysis.rims[0].length, 16.0);
    EXPECT_EQ(analysis.pieces[0].handleCount, 0U);
}

TEST(PartAnalysis, TellsTheLesserPartAsTurnedWhicheverComesFirst) {
    FaceMesh mesh = flatSheet(4, 4);
    std::swap(mesh.faces[0][0], mesh.faces[0][1]);
    PartAnalysis const analysis = analysePart(mesh);
    ASSERT_EQ(analysis.turnedFaces.count, 1U);
    EXPECT_EQ(analysis.turnedFaces.first[0], 0U);
}

TEST(PartAnalysis, TellsASurfaceOfOneSide) {
    PartAnalysis const analysis = analysePart(twistedBand(30));
    EXPECT_EQ(analysis.oneSidedFaces.count, 60U);
    EXPECT_EQ(analysis.turnedFaces.count, 0U);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_EQ(analysis.rims[0].points.size(), 60U);
    EXPECT_FALSE(analysis.pieces[0].isOrientable);
    EXPECT_FALSE(analysis.pieces[0].handleCount.has_value());
}

TEST(PartAnalysis, TellsFaultyFacesAndGoesOnWithoutThem) {
    FaceMesh mesh = flatSheet(3, 3);
    mesh.faces.push_back({0, 1, 99});
    mesh.faces.push_back({2, 2, 3});
    mesh.faces.push_back(mesh.faces[4]);
    mesh.faces.push_back({mesh.faces[5][1], mesh.faces[5][0], mesh.faces[5][2]});
    mesh.points.emplace_back(1.0, 1.0, 5.0);
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.strayFaces.first, std::vector<std::uint32_t>{18});
    EXPECT_EQ(analysis.collapsedFaces.first, std::vector<std::uint32_t>{19});
    EXPECT_EQ(analysis.duplicateFaces.first, (std::vector<std::uint32_t>{20, 21}));
    EXPECT_EQ(analysis.unusedPoints.first, std::vector<std::uint32_t>{16});
    EXPECT_EQ(countFaults(analysis), 5U);
    EXPECT_EQ(analysis.pieces.size(), 1U);
    EXPECT_EQ(analysis.rims.size(), 1U);
    EXPECT_EQ(analysis.high, Point(3.0, 3.0, 0.0));
}

TEST(PartAnalysis, TellsFacesWithoutAreaAndPointsInOnePlace) {
    FaceMesh mesh;
    mesh.points = {{0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, {1.0, 1.0, 0.0}, {1.0, 0.0, 0.0}, {2.0, 0.0, 0.0}};
    mesh.faces = {{0, 1, 2}, {0, 3, 1}, {3, 4, 1}};
    PartAnalysis const analysis = analysePart(mesh);
    EXPECT_EQ(analysis.flatFaces.first, (std::vector<std::uint32_t>{1, 2}));
    EXPECT_EQ(analysis.coincidentPoints.first, std::vector<std::uint32_t>{4});
}

TEST(PartAnalysis, TellsHowNormalsJumpOnABox) {
    PartAnalysis const analysis = analysePart(box(10.0, 20.0, 30.0));
    EXPECT_NEAR(analysis.largestJump.angle, std::numbers::pi / 2.0, 1e-12);
    EXPECT_EQ(analysis.facetSides.count, 12U);
    EXPECT_DOUBLE_EQ(analysis.area, 2200.0);
    EXPECT_DOUBLE_EQ(analysis.pieces[0].volume, 6000.0);
    EXPECT_DOUBLE_EQ(analysis.facingArea[0], 600.0);
    EXPECT_DOUBLE_EQ(analysis.facingArea[3], 300.0);
    EXPECT_DOUBLE_EQ(analysis.facingArea[4], 200.0);
    // Wider than these faces is no pixel that would see facets.
    EXPECT_EQ(analysePart(box(10.0, 20.0, 30.0), 50.0).facetSides.count, 0U);
    EXPECT_EQ(analysePart(sphere(40, 60), 5.0).facetSides.count, 0U);
    EXPECT_GT(analysePart(sphere(9, 12), 0.1).facetSides.count, 100U);
}

TEST(PartAnalysis, TellsByHowMuchTheRimMissesItsStart) {
    EXPECT_EQ(analysePart(sphere(9, 12)).outline(), nullptr);
    EXPECT_DOUBLE_EQ(analysePart(sphere(9, 12)).rollingGap(), 0.0);
    PartAnalysis const sheet = analysePart(flatSheet(5, 5));
    EXPECT_EQ(sheet.outline(), &sheet.rims[0]);
    EXPECT_NEAR(sheet.rollingGap(), 0.0, 1e-12);
    FaceMesh cap = sphere(19, 40); // the equator is its tenth ring
    cap.faces.erase(std::remove_if(cap.faces.begin(), cap.faces.end(),
                                   [&](Face const& face) {
                                       return std::any_of(face.begin(), face.end(), [&](unsigned i) {
                                           return cap.points[i].getZ() < -1e-3F;
                                       });
                                   }),
                    cap.faces.end());
    PartAnalysis const analysis = analysePart(cap);
    // What the sphere bends above half a ring's height, as points on the rim bend to neither side.
    EXPECT_NEAR(analysis.rollingGap(), fullTurn * (1.0 - std::sin(fullTurn / 80.0)), 0.01);
    EXPECT_NEAR(analysis.rollingGap(), analysis.pieces[0].curvature, 1e-9);
}

TEST(PartAnalysis, SuggestsAPixelOfTwoFacesWithinLimits) {
    EXPECT_DOUBLE_EQ(suggestedPixel(100000.0, 200000), 1.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(400000.0, 200000), 2.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(4e4, 12), 1.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(1e4, 12), 0.5);
    EXPECT_DOUBLE_EQ(suggestedPixel(1e6, 50000000), 1.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(0.81e6, 50000000), 1.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(0.0, 5), 0.0);
    EXPECT_DOUBLE_EQ(suggestedPixel(std::numeric_limits<double>::quiet_NaN(), 5), 0.0);
}

TEST(PartAnalysis, TakesAnEmptyPartAndACloud) {
    EXPECT_EQ(analysePart({}).pieces.size(), 0U);
    PartAnalysis const cloud = analysePart({{{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}}, {}});
    EXPECT_EQ(cloud.unusedPoints.count, 0U);
    EXPECT_EQ(cloud.low, Point(1.0, 2.0, 3.0));
    EXPECT_EQ(cloud.high, Point(4.0, 5.0, 6.0));
}

/// Independent of what the analysis uses: every quantity from its definition, with plain searches.
struct PlainCounts {
    std::size_t crowded = 0;
    std::size_t openSides = 0;
    std::size_t sides = 0;
};

PlainCounts countPlainly(FaceMesh const& mesh) {
    PlainCounts counts;
    auto const n = static_cast<std::uint32_t>(mesh.points.size());
    for (std::uint32_t a = 0; a < n; ++a) {
        for (std::uint32_t b = a + 1; b < n; ++b) {
            auto const has = [&](Face const& face, std::uint32_t point) {
                return std::find(face.begin(), face.end(), point) != face.end();
            };
            auto const faces = std::count_if(mesh.faces.begin(), mesh.faces.end(),
                                             [&](Face const& face) { return has(face, a) && has(face, b); });
            counts.crowded += faces > 2 ? 1U : 0U;
            counts.openSides += faces == 1 ? 1U : 0U;
            counts.sides += faces > 0 ? 1U : 0U;
        }
    }
    return counts;
}

TEST(PartAnalysis, AgreesWithPlainCountsOnRandomFaces) {
    std::mt19937 random(20261122);
    for (int trial = 0; trial < 500; ++trial) {
        FaceMesh mesh;
        for (unsigned i = 0; i < 8; ++i) {
            mesh.points.emplace_back(random() % 1000, random() % 1000, random() % 1000);
        }
        std::size_t const wanted = 1 + random() % 14;
        while (mesh.faces.size() < wanted) {
            unsigned const a = random() % 8;
            unsigned const b = random() % 8;
            unsigned const c = random() % 8;
            bool const isNew = std::none_of(mesh.faces.begin(), mesh.faces.end(), [&](Face const& face) {
                return std::is_permutation(face.begin(), face.end(), std::array{a, b, c}.begin());
            });
            if (a != b && b != c && c != a && isNew) {
                mesh.faces.push_back({a, b, c});
            }
        }
        PartAnalysis const analysis = analysePart(mesh);
        PlainCounts const plain = countPlainly(mesh);
        EXPECT_EQ(analysis.crowdedSides.count, plain.crowded);
        std::size_t rimSides = 0;
        for (PartRim const& rim : analysis.rims) {
            rimSides += rim.points.size() - (rim.isClosed ? 0U : 1U);
        }
        EXPECT_EQ(rimSides, plain.openSides);
        std::size_t faces = 0;
        for (PartPiece const& piece : analysis.pieces) {
            faces += piece.faceCount;
        }
        EXPECT_EQ(faces, mesh.faces.size());
    }
}

} // namespace
} // namespace QELT::Inspection
