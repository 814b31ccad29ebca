#include "simulation/bladepart.h"

#include "Inspection/import/objfile.h"
#include "Inspection/parts/meshsummary.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <utility>

namespace QELT::Simulation {
namespace {

using DirectedEdges = std::map<std::pair<unsigned, unsigned>, int>;

DirectedEdges directedEdgesOf(PartMesh const& part) {
    DirectedEdges edges;
    for (auto const& face : part.faces) {
        for (std::size_t i = 0; i < 3; ++i) {
            ++edges[{face[i], face[(i + 1) % 3]}];
        }
    }
    return edges;
}

TEST(BladePart, hasAboutTwentyThousandTrianglesByDefault) {
    PartMesh const part = measuredBlade({});
    EXPECT_NEAR(static_cast<double>(part.faces.size()), 20000.0, 1000.0);
}

TEST(BladePart, isWoundCounterClockwiseOnItsOutlineEverywhere) {
    PartMesh const part = measuredBlade({});
    for (auto const& face : part.faces) {
        BladePlace const& a = part.places[face[0]];
        BladePlace const& b = part.places[face[1]];
        BladePlace const& c = part.places[face[2]];
        double const twiceArea =
            (b.chord - a.chord) * (c.span - a.span) - (b.span - a.span) * (c.chord - a.chord);
        EXPECT_GT(twiceArea, 1e-3);
    }
}

TEST(BladePart, usesNoDirectedEdgeTwice) {
    for (auto const& [edge, count] : directedEdgesOf(measuredBlade({}))) {
        ASSERT_EQ(count, 1) << edge.first << " " << edge.second;
    }
}

TEST(BladePart, loadsAsOneOutlineAndOneHole) {
    Inspection::Testing::ScratchDirectory const directory;
    BladeResolution const resolution{150, 10, 0.003, 5};
    Inspection::writeFaces(measuredBlade(resolution), directory / "part.obj");
    Inspection::Mesh mesh;
    Inspection::loadObj(mesh, directory / "part.obj");
    auto const triangles = Inspection::trianglesOf(mesh);
    auto const loops = Inspection::boundaryLoopsOf(mesh);
    EXPECT_EQ(mesh.getNumberOfVertices(), 150U * 11U);
    EXPECT_EQ(triangles.size(), 2U * 150U * 10U);
    ASSERT_EQ(loops.size(), 2U);
    EXPECT_EQ(loops[0].vertices.size(), 150U);
    EXPECT_EQ(loops[1].vertices.size(), 150U);
    EXPECT_GT(loops[0].length, 300.0);
    EXPECT_LT(loops[1].length, 60.0);
}

TEST(BladePart, isTheSameForTheSameSeedAndAnotherForAnother) {
    BladeResolution resolution{20, 3, 0.01, 1};
    PartMesh const first = measuredBlade(resolution);
    PartMesh const again = measuredBlade(resolution);
    resolution.seed = 2;
    PartMesh const other = measuredBlade(resolution);
    EXPECT_EQ(first.points, again.points);
    EXPECT_NE(first.points, other.points);
}

TEST(BladePart, liesOffTheBuiltSurfaceByTheNoiseOnly) {
    BladeResolution const resolution{200, 20, 0.05, 3};
    PartMesh const part = measuredBlade(resolution);
    double sum = 0.0;
    for (std::size_t i = 0; i < part.points.size(); ++i) {
        sum += (part.points[i] - BladeSurface().builtPoint(part.places[i])).lSqr();
    }
    double const deviation = std::sqrt(sum / static_cast<double>(part.points.size()));
    EXPECT_NEAR(deviation, resolution.noise, 0.05 * resolution.noise);
}

TEST(BladeSurface, hasUnitNormalsThatPointUpAndStandOnTheSurface) {
    BladeSurface const surface;
    for (double chord = -28.0; chord <= 28.0; chord += 7.0) {
        for (double span = -50.0; span <= 50.0; span += 10.0) {
            Vector const normal = surface.normal({chord, span});
            Point const here = surface.nominalPoint({chord, span});
            EXPECT_NEAR(normal.lSqr(), 1.0, 1e-12);
            EXPECT_GT(normal.getdZ(), 0.0);
            EXPECT_NEAR((surface.nominalPoint({chord + 0.01, span}) - here).dot(normal), 0.0, 1e-4);
            EXPECT_NEAR((surface.nominalPoint({chord, span + 0.01}) - here).dot(normal), 0.0, 1e-4);
        }
    }
}

} // namespace
} // namespace QELT::Simulation
