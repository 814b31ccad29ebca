// A sphere through measured points, and where a part lies in its cell by three marks.

#include "Geometry/geometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <vector>

using namespace QELT::Geometry::ThreeDimensional;

namespace {

/// Points of a sphere of radius 25 about (1, 2, 3), in all directions.
std::vector<Point> pointsOnSphere() {
    std::vector<Point> points;
    for (int ring = 1; ring < 10; ++ring) {
        for (int place = 0; place < 20; ++place) {
            double const latitude = 0.314 * ring - 1.57;
            double const longitude = 0.314 * place;
            points.emplace_back(1.0 + 25.0 * std::cos(latitude) * std::cos(longitude),
                                2.0 + 25.0 * std::cos(latitude) * std::sin(longitude),
                                3.0 + 25.0 * std::sin(latitude));
        }
    }
    return points;
}

void fitSphere() {
    std::vector<Point> const points = pointsOnSphere();
    std::vector<double> residuals(points.size());
    Point centre;
    double radius = 0.0;
    Utility::getSphereFit(points.data(), points.size(), centre, radius, residuals.data());
    double largest = 0.0;
    for (double const residual : residuals) {
        largest = std::max(largest, std::abs(residual));
    }
    std::cout << "sphere of radius " << radius << " about " << centre.getX() << ' ' << centre.getY() << ' '
              << centre.getZ() << ", points within " << (largest < 1e-4 ? "0.0001" : "more") << '\n';
}

void registerMarks() {
    // A quarter turn about the vertical axis and a move by (100, 50, 10).
    std::array<Point, 3> const onPart = {Point(0.0, 0.0, 0.0), Point(40.0, 0.0, 0.0), Point(0.0, 30.0, 5.0)};
    std::array<Point, 3> const inCell = {Point(100.0, 50.0, 10.0), Point(100.0, 90.0, 10.0),
                                         Point(70.0, 50.0, 15.0)};
    Vector angles;
    Vector translation;
    Point centre;
    bool const isSettled =
        Utility::getRigidBodyMap(onPart.data(), inCell.data(), &angles, &translation, &centre, nullptr, true);
    std::cout << (isSettled ? "registered" : "not settled") << ", turned about z by "
              << std::round(Utility::radToDeg(angles.getdZ()) * 100.0) / 100.0 << " degrees\n";
}

} // namespace

int main() {
    fitSphere();
    registerMarks();
}
