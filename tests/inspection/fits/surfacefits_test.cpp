#include "Inspection/fits/surfacefits.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace QELT::Inspection {
namespace {

constexpr double turn = 6.283185307179586;

std::vector<Point> spherePoints(Point const& centre, double radius, std::size_t count) {
    std::mt19937 random(5);
    auto const draw = [&] { return static_cast<double>(random()) / 4294967296.0; };
    std::vector<Point> points;
    for (std::size_t i = 0; i < count; ++i) {
        double const height = 2.0 * draw() - 1.0;
        double const angle = turn * draw();
        double const reach = std::sqrt(1.0 - height * height);
        points.push_back(centre + radius * Vector(reach * std::cos(angle), reach * std::sin(angle), height));
    }
    return points;
}

TEST(SurfaceFits, findASphereOfAnySizeAnywhere) {
    for (double const radius : {0.01, 3.0, 4000.0}) {
        Point const centre(20.0 * radius, -7.0 * radius, radius);
        for (std::size_t const count : {8U, 2000U}) {
            SphereFit const fit = fitSphere(spherePoints(centre, radius, count));
            EXPECT_NEAR(fit.radius, radius, 1e-4 * radius) << count;
            EXPECT_NEAR(std::sqrt((fit.centre - centre).lSqr()), 0.0, 1e-4 * radius) << count;
            EXPECT_LT(fit.quality.maxResidual, 1e-4 * radius);
            EXPECT_LE(fit.quality.meanResidual, fit.quality.maxResidual);
            EXPECT_EQ(fit.quality.usedCount, std::min<std::size_t>(count, 100U));
        }
    }
}

TEST(SurfaceFits, theResidualIsThatOfAllPoints) {
    auto points = spherePoints(Point(), 2.0, 1001);
    points.back() = Point(0.0, 0.0, 5.0); // not among the points that are used
    EXPECT_NEAR(fitSphere(points).quality.maxResidual, 3.0, 1e-3);
}

OrientedCloud cylinderCloud(double radius, std::size_t count) {
    std::mt19937 random(6);
    OrientedCloud cloud;
    for (std::size_t i = 0; i < count; ++i) {
        double const angle = turn * static_cast<double>(random()) / 4294967296.0;
        double const along = 4.0 * radius * static_cast<double>(random()) / 4294967296.0;
        Vector const out(std::cos(angle), std::sin(angle), 0.0);
        // The axis leans towards (1, 0, 1).
        double const half = std::sqrt(0.5);
        auto const leaned = [half](Vector const& v) {
            return Vector(half * v.getdX() + half * v.getdZ(), v.getdY(),
                          half * v.getdZ() - half * v.getdX());
        };
        cloud.points.push_back(Point(30.0 * radius, 2.0 * radius, -9.0 * radius) +
                               leaned(radius * out + Vector(0.0, 0.0, along)));
        cloud.normals.push_back(3.0 * leaned(out));
    }
    return cloud;
}

TEST(SurfaceFits, findACylinderOfAnySizeAnywhere) {
    for (double const radius : {0.05, 2.0, 700.0}) {
        for (std::size_t const count : {20U, 3000U}) {
            CylinderFit const fit = fitCylinder(cylinderCloud(radius, count));
            EXPECT_TRUE(fit.quality.isSettled);
            EXPECT_NEAR(fit.radius, radius, 1e-3 * radius);
            double const half = std::sqrt(0.5);
            EXPECT_NEAR(std::abs(fit.axisDirection.dot(Vector(half, 0.0, half))), 1.0, 1e-5);
            EXPECT_LT(fit.quality.maxResidual, 1e-2 * radius);
        }
    }
}

TEST(SurfaceFits, findTheCurvaturesOfAParaboloidAroundItsVertex) {
    for (double const size : {0.25, 64.0}) {
        Point const vertex(3.0 * size, -size, 2.0 * size);
        std::vector<Point> points{vertex};
        for (double const side : {-size, size}) {
            points.push_back(vertex + Vector(side, 0.0, 0.3 * size));
            points.push_back(vertex + Vector(0.0, side, -0.1 * size));
        }
        ParaboloidFit const fit = fitParaboloid(points);
        EXPECT_TRUE(fit.quality.isSettled);
        EXPECT_NEAR(fit.curvatureU * size, 0.6, 1e-4);
        EXPECT_NEAR(fit.curvatureV * size, -0.2, 1e-4);
        EXPECT_LT(fit.quality.maxResidual, 1e-4 * size);
    }
}

TEST(SurfaceFits, refuseCloudsWithoutASurface) {
    std::vector<Point> const same(5, Point(1.0, 2.0, 3.0));
    EXPECT_EQ(Testing::messageOf([&] { fitSphere(same); }), "all points coincide");
    EXPECT_EQ(Testing::messageOf([&] { fitParaboloid(same); }), "all points coincide");
    EXPECT_EQ(Testing::messageOf([&] { fitSphere({same[0]}); }), "at least 4 points are needed, 1 found");
    EXPECT_EQ(Testing::messageOf([&] { fitCylinder({}); }), "at least 3 points are needed, 0 found");
}

TEST(Fit, takesTheSurfaceThatIsAskedForFromAFile) {
    Testing::ScratchDirectory const directory;
    Testing::writeText(directory / "c.xyz", "3 0 0\n-1 0 0\n1 2 0\n1,-2,0\n1 0 2\n1 0 -2 # six points\n");
    FitResult const result = fit({FitSurface::Sphere, directory / "c.xyz"}, nullptr);
    EXPECT_NEAR(std::get<SphereFit>(result).radius, 2.0, 1e-4);
    EXPECT_EQ(Testing::messageOf([&] {
                  fit({FitSurface::Cylinder, directory / "c.xyz"}, nullptr);
              }),
              (directory / "c.xyz").string() + ", line 1: 6 numbers expected, 3 found");
    Testing::writeText(directory / "few.xyz", "3 0 0\n-1 0 0\n");
    EXPECT_EQ(Testing::messageOf([&] {
                  fit({FitSurface::Sphere, directory / "few.xyz"}, nullptr);
              }),
              (directory / "few.xyz").string() + ": at least 4 points are needed, 2 found");
}

} // namespace
} // namespace QELT::Inspection
