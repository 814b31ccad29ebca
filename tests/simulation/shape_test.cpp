#include "simulation/shape.h"

#include "simulation/rigidmotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

namespace QELT::Simulation {
namespace {

constexpr double pi = std::numbers::pi;

std::vector<std::unique_ptr<Shape const>> allShapes() {
    std::vector<std::unique_ptr<Shape const>> shapes;
    shapes.push_back(makeCylinder({}));
    shapes.push_back(makeCap({}));
    shapes.push_back(makeBlade());
    return shapes;
}

std::vector<Place> const places{{-20.0, 30.0}, {13.0, -21.0}, {-3.0, 4.0}};

TEST(Shape, IsMetAgainFromAStandoffAlongItsNormal) {
    for (auto const& shape : allShapes()) {
        for (Place const& place : places) {
            SurfacePoint const under = shape->at(place);
            auto const contact = shape->meet(under.point + under.normal * 12.0, -under.normal);
            ASSERT_TRUE(contact);
            EXPECT_NEAR(12.0, contact->distance, 1e-9);
            EXPECT_NEAR(0.0, (contact->point - under.point).lSqr(), 1e-18);
            EXPECT_NEAR(1.0, contact->normal.dot(under.normal), 1e-12);
        }
    }
}

TEST(Shape, IsMetWhereATiltedBeamPassesThroughIt) {
    for (auto const& shape : allShapes()) {
        for (Place const& place : places) {
            SurfacePoint const under = shape->at(place);
            Vector const direction = unitOf(-under.normal + 0.3 * under.alongU);
            auto const contact = shape->meet(under.point - direction * 9.0, direction);
            ASSERT_TRUE(contact);
            EXPECT_NEAR(9.0, contact->distance, 1e-9);
        }
    }
}

TEST(Shape, HasTangentsAlongItsFirstCoordinate) {
    constexpr double h = 1e-4;
    for (auto const& shape : allShapes()) {
        for (Place const& place : places) {
            SurfacePoint const here = shape->at(place);
            Vector const along =
                shape->at({place.u + h, place.v}).point - shape->at({place.u - h, place.v}).point;
            EXPECT_NEAR(1.0, unitOf(along).dot(here.alongU), 1e-7);
            EXPECT_NEAR(0.0, here.alongU.dot(here.normal), 1e-7);
        }
    }
}

TEST(Shape, IsMissedBesideItsRim) {
    auto const shapes = allShapes();
    for (auto const& shape : shapes) {
        SurfacePoint const beyond = shape->at({shape->high().u + 2.0, 0.0});
        EXPECT_FALSE(shape->meet(beyond.point + beyond.normal * 5.0, -beyond.normal));
    }
    SurfacePoint const hole = shapes[2]->at({5.0, -14.0});
    EXPECT_FALSE(shapes[2]->meet(hole.point + hole.normal * 5.0, -hole.normal));
}

TEST(Shape, IsNotMetFromWithin) {
    EXPECT_FALSE(makeCylinder({})->meet(Vector(0.0, 0.0, 0.0), Vector(1.0, 0.0, 0.0)));
    EXPECT_FALSE(makeCap({})->meet(Vector(0.0, 0.0, 0.0), Vector(0.0, 0.0, 1.0)));
    EXPECT_FALSE(makeBlade()->meet(Vector(0.0, 0.0, -9.0), Vector(0.0, 0.0, 1.0)));
}

TEST(Cylinder, IsIsometricToItsCoordinates) {
    auto const cylinder = makeCylinder({});
    Vector const way = cylinder->way(cylinder->at({10.0, 5.0}), cylinder->at({13.0, 9.0}).point);
    EXPECT_NEAR(5.0, std::sqrt(way.lSqr()), 1e-12);
    EXPECT_NEAR(3.0, way.dot(cylinder->at({10.0, 5.0}).alongU), 1e-12);
}

TEST(Cap, MeasuresWaysAlongGreatCircles) {
    auto const cap = makeCap({});
    SurfacePoint const pole = cap->at({0.0, 0.0});
    EXPECT_NEAR(25.0, std::sqrt(cap->way(pole, cap->at({15.0, 20.0}).point).lSqr()), 1e-12);
    // An eighth of the sphere: three right angles, three ways of a quarter of the circle.
    double const quarter = 50.0 * pi / 2.0;
    auto const way = cap->way(cap->at({quarter, 0.0}), cap->at({0.0, quarter}).point);
    EXPECT_NEAR(quarter, std::sqrt(way.lSqr()), 1e-9);
}

TEST(Cap, KnowsTheAreaOfADiscOnTheSphere) {
    auto const cap = makeCap({});
    EXPECT_NEAR(2.0 * pi * 2500.0 * (1.0 - std::cos(0.2)), cap->areaOfEllipse(10.0, 10.0), 1e-9);
    // A narrow ellipse is nearly flat.
    EXPECT_NEAR(pi * 2.0 * 0.5, cap->areaOfEllipse(2.0, 0.5), 1e-3);
}

double areaOf(FaceMesh const& mesh) {
    double area = 0.0;
    for (Face const& face : mesh.faces) {
        Point const& a = mesh.points[face[0]];
        area += 0.5 * std::sqrt((mesh.points[face[1]] - a).cross(mesh.points[face[2]] - a).lSqr());
    }
    return area;
}

/// Sides that belong to one triangle only, after making sure that none belongs to two in the same direction.
std::size_t rimSidesOf(FaceMesh const& mesh) {
    std::map<std::pair<unsigned, unsigned>, int> sides;
    for (Face const& face : mesh.faces) {
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(1, ++sides[std::pair(face[i], face[(i + 1) % 3])]);
        }
    }
    std::size_t count = 0;
    for (auto const& [side, uses] : sides) {
        count += sides.contains({side.second, side.first}) ? 0U : 1U;
    }
    return count;
}

TEST(Cap, HasAMeshOfItsAreaWithOneRim) {
    FaceMesh const mesh = makeCap({})->mesh(1.0);
    double const area = 2.0 * pi * 2500.0 * 0.5;
    EXPECT_NEAR(area, areaOf(mesh), 1e-3 * area);
    EXPECT_EQ(6U * 53U, rimSidesOf(mesh));
}

TEST(Cylinder, HasAMeshOfItsAreaWithOneRim) {
    FaceMesh const mesh = makeCylinder({})->mesh(4.0);
    double const arc = 2.0 * 100.0 * 175.0 * pi / 180.0;
    EXPECT_NEAR(arc * 80.0, areaOf(mesh), 1e-3 * arc * 80.0);
    EXPECT_EQ(2U * (153U + 20U), rimSidesOf(mesh));
}

TEST(Shape, HasMeshesWoundSoThatNormalsPointOutwards) {
    for (auto const& shape : allShapes()) {
        FaceMesh const mesh = shape->mesh(3.0);
        for (Face const& face : mesh.faces) {
            Point const& a = mesh.points[face[0]];
            Vector const normal = (mesh.points[face[1]] - a).cross(mesh.points[face[2]] - a);
            Vector const outside = Vector(a.getX(), a.getY(), a.getZ()) + unitOf(normal) * 5.0;
            auto const contact = shape->meet(outside, -unitOf(normal));
            if (contact) {
                ASSERT_NEAR(5.0, contact->distance, 0.2);
            }
        }
    }
}

} // namespace
} // namespace QELT::Simulation
