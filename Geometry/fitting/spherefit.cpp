#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"

#include <cmath>

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr double descentStep = 0.001;
constexpr double radiusTolerance = 1e-08;
constexpr double centreToleranceSqr = 1.0000000000000001e-16;
constexpr int mostSweeps = 524288;

double getDistance(Point const& from, Point const& to) {
    return std::sqrt((to - from).lSqr());
}

struct Sphere {
    Point centre;
    double radius = 0.0;
};

/// The centroid and the mean distance from it.
Sphere getStart(Point const* points, std::uint32_t count) {
    Vector sum;
    for (std::uint32_t i = 0; i < count; ++i) {
        sum += points[i] - Point();
    }
    Sphere sphere{Point() + sum / static_cast<double>(count)};
    for (std::uint32_t i = 0; i < count; ++i) {
        sphere.radius += getDistance(sphere.centre, points[i]);
    }
    sphere.radius = sphere.radius / static_cast<double>(count);
    return sphere;
}

/// One step of the descent; whether the gradient was small enough to end it.
bool sweep(Point const* points, std::uint32_t count, Sphere& sphere) {
    double radiusGradient = 0.0;
    Vector centreGradient;
    for (std::uint32_t i = 0; i < count; ++i) {
        double const length = getDistance(sphere.centre, points[i]);
        double const error = length - sphere.radius;
        radiusGradient -= 2.0 * error;
        centreGradient += 2.0 * error * (sphere.centre - points[i]) / length;
    }
    sphere.radius = sphere.radius - radiusGradient * descentStep;
    sphere.centre = sphere.centre - descentStep * centreGradient;
    return std::abs(radiusGradient) < radiusTolerance && centreGradient.lSqr() < centreToleranceSqr;
}

bool getIsSame(Sphere const& a, Sphere const& b) {
    return getIsSameNumber(a.radius, b.radius) && getIsSameNumber(a.centre.getX(), b.centre.getX()) &&
           getIsSameNumber(a.centre.getY(), b.centre.getY()) &&
           getIsSameNumber(a.centre.getZ(), b.centre.getZ());
}

/// A centre of floats comes to rest long before its gradient is small, and NaNs stay what they are: a sweep
/// that changes nothing shows what all the others would do.
void descend(Point const* points, std::uint32_t count, Sphere& sphere) {
    for (int i = 0; i < mostSweeps; ++i) {
        Sphere const before = sphere;
        if (sweep(points, count, sphere) || getIsSame(before, sphere)) {
            return;
        }
    }
}

void writeResiduals(Point const* points, std::uint32_t count, Sphere const& sphere, double* residuals) {
    for (std::uint32_t i = 0; i < count; ++i) {
        Vector const fromCentre = points[i] - sphere.centre;
        Point const projection = sphere.centre + (sphere.radius * fromCentre) / std::sqrt(fromCentre.lSqr());
        residuals[i] = getDistance(points[i], projection);
    }
}

} // namespace

bool Utility::getSphereFit(Point const* points, unsigned long numberOfPoints, Point& centre, double& radius,
                           double* residuals) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    Sphere sphere = getStart(points, count);
    descend(points, count, sphere);
    if (residuals != nullptr) {
        writeResiduals(points, count, sphere, residuals);
    }
    centre = sphere.centre;
    radius = sphere.radius;
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional
