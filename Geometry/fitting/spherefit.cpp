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

} // namespace

bool Utility::getSphereFit(Point const* points, unsigned long numberOfPoints, Point& centre, double& radius,
                           double* residuals) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    Vector sum;
    for (std::uint32_t i = 0; i < count; ++i) {
        sum += points[i] - Point();
    }
    centre = Point() + sum / static_cast<double>(count);
    double sumOfDistances = 0.0;
    for (std::uint32_t i = 0; i < count; ++i) {
        sumOfDistances += getDistance(centre, points[i]);
    }
    radius = sumOfDistances / static_cast<double>(count);

    bool isSettled = false;
    for (int sweep = 0; sweep < mostSweeps && !isSettled; ++sweep) {
        double radiusGradient = 0.0;
        Vector centreGradient;
        for (std::uint32_t i = 0; i < count; ++i) {
            double const length = getDistance(centre, points[i]);
            double const error = length - radius;
            radiusGradient -= 2.0 * error;
            centreGradient += 2.0 * error * (centre - points[i]) / length;
        }
        radius = radius - radiusGradient * descentStep;
        centre = centre - descentStep * centreGradient;
        isSettled = std::abs(radiusGradient) < radiusTolerance && centreGradient.lSqr() < centreToleranceSqr;
    }
    if (residuals != nullptr) {
        for (std::uint32_t i = 0; i < count; ++i) {
            Vector const fromCentre = points[i] - centre;
            Point const projection = centre + (radius * fromCentre) / std::sqrt(fromCentre.lSqr());
            residuals[i] = getDistance(points[i], projection);
        }
    }
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional
