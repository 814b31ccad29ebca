#include "Inspection/maps/mapquality.h"

#include "Inspection/parts/meshsummary.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace QELT::Inspection {
namespace {

using Flattening = std::function<FlatPoint(Point const&)>;

/// A sheet of `columns` by `rows` unit squares in the plane z = 0, two triangles each, with flat coordinates.
void makeSheet(Mesh& mesh, int columns, int rows, Flattening const& flat) {
    std::vector<Point> points;
    std::vector<QELT::Geometry::ThreeDimensional::TriMesh::Face> faces;
    for (int v = 0; v <= rows; ++v) {
        for (int u = 0; u <= columns; ++u) {
            points.emplace_back(u, v, 0.0);
        }
    }
    for (int v = 0; v < rows; ++v) {
        for (int u = 0; u < columns; ++u) {
            auto const a = static_cast<std::uint32_t>(v * (columns + 1) + u);
            auto const b = a + static_cast<std::uint32_t>(columns) + 1;
            faces.push_back({a, a + 1, b + 1});
            faces.push_back({a, b + 1, b});
        }
    }
    mesh.construct(points, faces);
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        mesh.getVertex(i).setPoint2D(flat(mesh.getVertex(i).getPoint3D()));
    }
}

MapQuality qualityOf(int columns, int rows, Flattening const& flat) {
    Mesh mesh;
    makeSheet(mesh, columns, rows, flat);
    return mapQualityOf(mesh);
}

TEST(MapQuality, aTurnedAndEnlargedMapDistortsNothing) {
    MapQuality const quality = qualityOf(4, 3, [](Point const& p) {
        return FlatPoint(3.0 * p.getX() - 4.0 * p.getY(), 4.0 * p.getX() + 3.0 * p.getY());
    });
    EXPECT_EQ(quality.triangleCount, 24U);
    EXPECT_EQ(quality.turnedCount, 0U);
    EXPECT_NEAR(quality.surfaceArea, 12.0, 1e-12);
    EXPECT_NEAR(quality.areaRatio, 1.0 / 25.0, 1e-15);
    EXPECT_NEAR(quality.medianAreaRatio, 1.0 / 25.0, 1e-15);
    EXPECT_NEAR(quality.areaSpread, 1.0, 1e-7);
    EXPECT_EQ(quality.alikeShare, 1.0);
    EXPECT_NEAR(quality.highAngleError, 0.0, 1e-7);
}

/// Stretched threefold one way: of the angles 2 asin(1/2) is the most wrong one.
TEST(MapQuality, givesTheLargestErrorOfAnAngle) {
    MapQuality const quality =
        qualityOf(4, 3, [](Point const& p) { return FlatPoint(3.0 * p.getX(), p.getY()); });
    EXPECT_NEAR(quality.meanAngleError, std::numbers::pi / 3.0, 1e-12);
    EXPECT_NEAR(quality.highAngleError, std::numbers::pi / 3.0, 1e-12);
    EXPECT_NEAR(quality.areaRatio, 1.0 / 3.0, 1e-15);
    EXPECT_NEAR(quality.areaSpread, 1.0, 1e-12);
}

/// One column of ten is enlarged in area 25 times, the others are as they are.
TEST(MapQuality, weighsByTheAreaOfTheSurface) {
    MapQuality const quality = qualityOf(10, 1, [](Point const& p) {
        double const x = p.getX();
        return FlatPoint(x <= 9.0 ? x : 9.0 + 25.0 * (x - 9.0), p.getY());
    });
    EXPECT_NEAR(quality.areaRatio, 10.0 / (9.0 + 25.0), 1e-12);
    EXPECT_NEAR(quality.medianAreaRatio, 1.0, 1e-12);
    EXPECT_NEAR(quality.alikeShare, 0.9, 1e-12);
    double const mean = 0.1 * std::log(25.0);
    double const variance = 0.9 * mean * mean + 0.1 * std::pow(std::log(25.0) - mean, 2.0);
    EXPECT_NEAR(quality.areaSpread, std::exp(std::sqrt(variance)), 1e-9);
    EXPECT_NEAR(quality.meanAngleError, 0.1 * 2.0 * std::asin(24.0 / 26.0), 1e-9);
    EXPECT_NEAR(quality.highAngleError, 2.0 * std::asin(24.0 / 26.0), 1e-9);
}

TEST(MapQuality, countsWhatIsTurnedAndFlatlessApart) {
    Mesh mesh;
    makeSheet(mesh, 2, 1, [](Point const& p) { return FlatPoint(p.getX(), p.getY()); });
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        if (mesh.getVertex(i).getPoint3D() == Point(2.0, 0.0, 0.0)) {
            mesh.getVertex(i).setPoint2D(FlatPoint(1.5, 0.5)); // onto the diagonal
        }
        if (mesh.getVertex(i).getPoint3D() == Point(0.0, 1.0, 0.0)) {
            mesh.getVertex(i).setPoint2D(FlatPoint(1.0, 0.5)); // beyond the diagonal
        }
    }
    MapQuality const quality = mapQualityOf(mesh);
    EXPECT_EQ(quality.triangleCount, 4U);
    EXPECT_EQ(quality.turnedCount, 1U);
    EXPECT_EQ(quality.flatlessCount, 1U);
    EXPECT_EQ(quality.turnedShare(), 0.25);
    EXPECT_NEAR(quality.surfaceArea, 1.0, 1e-12);
}

TEST(MapQuality, ofNothingIsNothing) {
    MapQuality const quality = mapQualityOf(Mesh());
    EXPECT_EQ(quality.triangleCount, 0U);
    EXPECT_EQ(quality.areaRatio, 0.0);
    EXPECT_EQ(quality.turnedShare(), 0.0);
}

} // namespace
} // namespace QELT::Inspection
