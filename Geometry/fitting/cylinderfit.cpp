#include "Geometry/fitting/internal/cylinderfitfunction.h"
#include "Geometry/fitting/internal/descent.h"
#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"

#include <algorithm>
#include <cmath>

// The axis of a cylinder through points with normals, by gradient descent on a point of the axis and its
// direction; the function and its gradient are those of `CylinderFitFunction`. The radius is no unknown: it
// is the mean distance from the axis that was found.
//
// - The start, a point and a direction of ones, does not depend on the data, and the step of 0.001 is not
//   scaled by the size or the number of the points: clouds far from the origin or of many units run away to
//   NaN.
// - The descent ends when the value of the function changes by 1e-11 or less, an absolute limit: it means
//   that the value rests, and with clouds of a small size that can be before the axis is right. A change
//   that is NaN ends it too, unsettled. 4194304 steps are the limit, each of one gradient and one value.
//
// Odd on purpose: a direction that points against the way from the first point to the second is turned round
// after the value was taken, which does not tell the two apart; the first change is measured from 0; and the
// direction's length is free, since nothing depends on it but the size of the steps.

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr double descentStep = -0.001;
constexpr double changeTolerance = 1e-11;
constexpr unsigned long numberOfComponents = 6;

Vector getDirection(LinearAlgebra::Vector const& x) {
    return {x.get(3), x.get(4), x.get(5)};
}

void reverseDirection(LinearAlgebra::Vector& x) {
    for (unsigned long k = 3; k < numberOfComponents; ++k) {
        x.set(k, -x.get(k));
    }
}

/// An axis as the fit moves it, from a fixed start.
class CylinderDescent {
public:
    CylinderDescent(CylinderFitFunction const& newFunction, Vector const& newWay)
        : function(newFunction), way(newWay), x(numberOfComponents) {
        x.allOnes();
    }

    /// Whether the value of the function settled, or is no number.
    bool step() {
        x = x + descentStep * function.getGradient(x);
        double const value = function.getValue(x);
        change = std::abs(value - previousValue);
        previousValue = value;
        if (getDirection(x).dot(way) < 0.0) {
            reverseDirection(x);
        }
        return !(change > changeTolerance);
    }

    bool getIsSame(CylinderDescent const& other) const {
        return getIsSameNumber(previousValue, other.previousValue) &&
               std::equal(x.begin(), x.end(), other.x.begin(), getIsSameNumber);
    }

    bool getIsSettled() const { return changeTolerance > change; }

    LinearAlgebra::Vector const& getAxis() const { return x; }

private:
    CylinderFitFunction function;
    Vector way; ///< that the direction shall not point against
    LinearAlgebra::Vector x;
    double previousValue = 0.0;
    double change = 0.0;
};

double getDistanceFromAxis(Point const& p, Point const& foot, Vector const& unit) {
    return std::sqrt(((foot + (p - foot).dot(unit) * unit) - p).lSqr());
}

} // namespace

bool Utility::getCylinderFit(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                             Point& axisPoint, Vector& axisDirection, double& radius, double* residuals) {
    return fitCylinder(points, normals, numberOfPoints, axisPoint, axisDirection, radius, residuals,
                       maxCylinderSteps);
}

bool Utility::fitCylinder(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                          Point& axisPoint, Vector& axisDirection, double& radius, double* residuals,
                          int maxSteps) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    CylinderDescent descent(CylinderFitFunction(count, points, normals),
                            count > 1 ? points[1] - points[0] : Vector());
    descend(descent, maxSteps);
    LinearAlgebra::Vector const& x = descent.getAxis();
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
    return descent.getIsSettled();
}

} // namespace QELT::Geometry::ThreeDimensional
