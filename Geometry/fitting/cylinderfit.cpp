#include "Geometry/fitting/internal/cylinderfitfunction.h"
#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"

#include <cmath>

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr double descentStep = -0.001;
constexpr double changeTolerance = 1e-11;

Vector getDirection(LinearAlgebra::Vector const& x) {
    return {x.get(3), x.get(4), x.get(5)};
}

void reverseDirection(LinearAlgebra::Vector& x) {
    for (unsigned long k = 3; k < 6; ++k) {
        x.set(k, -x.get(k));
    }
}

/// Descends from a fixed start; whether the value of the function settled.
bool descend(RealValuedVectorFunction& function, Point const* points, std::uint32_t count, int mostSteps,
             LinearAlgebra::Vector& x) {
    x.allOnes();
    double previousValue = 0.0;
    double change = 0.0;
    int step = 0;
    do {
        x = x + descentStep * function.getGradient(x);
        double const value = function.getValue(x);
        change = std::abs(value - previousValue);
        previousValue = value;
        if (count > 1 && getDirection(x).dot(points[1] - points[0]) < 0.0) {
            reverseDirection(x);
        }
        ++step;
    } while (change > changeTolerance && step < mostSteps);
    return changeTolerance > change;
}

double getDistanceFromAxis(Point const& p, Point const& foot, Vector const& unit) {
    return std::sqrt(((foot + (p - foot).dot(unit) * unit) - p).lSqr());
}

} // namespace

bool Utility::getCylinderFit(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                             Point& axisPoint, Vector& axisDirection, double& radius, double* residuals) {
    return fitCylinder(points, normals, numberOfPoints, axisPoint, axisDirection, radius, residuals,
                       mostCylinderSteps);
}

bool Utility::fitCylinder(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                          Point& axisPoint, Vector& axisDirection, double& radius, double* residuals,
                          int mostSteps) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    CylinderFitFunction function(count, points, normals);
    LinearAlgebra::Vector x(6);
    bool const isConverged = descend(function, points, count, mostSteps, x);
    Point const c(x.get(0), x.get(1), x.get(2));
    Vector const d = getDirection(x);
    Vector const unit = d / std::sqrt(d.dot(d));
    axisPoint = count == 0 ? c : c + ((points[0] - c).dot(d) / d.dot(d)) * d;
    double sum = 0.0;
    for (std::uint32_t i = 0; i < count; ++i) {
        sum += getDistanceFromAxis(points[i], axisPoint, unit);
    }
    radius = sum / static_cast<double>(count);
    for (std::uint32_t i = 0; residuals != nullptr && i < count; ++i) {
        residuals[i] = std::abs(radius - getDistanceFromAxis(points[i], axisPoint, unit));
    }
    axisDirection = unit;
    return isConverged;
}

} // namespace QELT::Geometry::ThreeDimensional
