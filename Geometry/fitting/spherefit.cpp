#include "Geometry/fitting/internal/descent.h"
#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"

#include <cmath>

// The sphere of least squared distances, by gradient descent on centre and radius together. The start is the
// centroid and the mean distance from it.
//
// - The step is 0.001, fixed, and not divided by the number of points, as the gradient is not: the effective
//   step grows with their number. The radius alone is stable as long as 0.002 times that number is below 2,
//   which is why fits of a thousand points and some more run away; a smaller step would settle them and
//   change what all other fits give.
// - The descent ends when the gradient by the radius is below 1e-8 and that by the centre, squared, below
//   1.0000000000000001e-16, the double that the square of 1e-8 rounds to; or after 524288 sweeps, which is
//   no failure here: the answer is always true.
//
// Odd on purpose: the centre is a point of floats. It comes to rest where a step is below its rounding, long
// before its gradient is small, so most fits would make all sweeps without a change; `descend` notices
// that. A sweep costs one square root a point.

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr double descentStep = 0.001;
constexpr double radiusTolerance = 1e-08;
constexpr double centreToleranceSqr = 1.0000000000000001e-16;
constexpr int maxSweeps = 524288;

double getDistance(Point const& from, Point const& to) {
    return std::sqrt((to - from).lSqr());
}

/// A sphere as the fit moves it.
class Sphere {
public:
    /// The start: the centroid and the mean distance from it.
    Sphere(Point const* newPoints, std::uint32_t newCount) : points(newPoints), count(newCount) {
        Vector sum;
        for (std::uint32_t i = 0; i < count; ++i) {
            sum += points[i] - Point();
        }
        centre = Point() + sum / static_cast<double>(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            radius += getDistance(centre, points[i]);
        }
        radius = radius / static_cast<double>(count);
    }

    /// Whether the gradient was small enough to end the descent.
    bool step() {
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
        return std::abs(radiusGradient) < radiusTolerance && centreGradient.lSqr() < centreToleranceSqr;
    }

    bool getIsSame(Sphere const& other) const {
        return getIsSameNumber(radius, other.radius) && getIsSameNumber(centre.getX(), other.centre.getX()) &&
               getIsSameNumber(centre.getY(), other.centre.getY()) &&
               getIsSameNumber(centre.getZ(), other.centre.getZ());
    }

    Point const& getCentre() const { return centre; }

    double getRadius() const { return radius; }

private:
    Point const* points;
    std::uint32_t count;
    Point centre;
    double radius = 0.0;
};

void writeResiduals(Point const* points, std::uint32_t count, Sphere const& sphere, double* residuals) {
    for (std::uint32_t i = 0; i < count; ++i) {
        Vector const fromCentre = points[i] - sphere.getCentre();
        Point const projection =
            sphere.getCentre() + (sphere.getRadius() * fromCentre) / std::sqrt(fromCentre.lSqr());
        residuals[i] = getDistance(points[i], projection);
    }
}

} // namespace

bool Utility::getSphereFit(Point const* points, unsigned long numberOfPoints, Point& centre, double& radius,
                           double* residuals) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    Sphere sphere(points, count);
    descend(sphere, maxSweeps);
    if (residuals != nullptr) {
        writeResiduals(points, count, sphere, residuals);
    }
    centre = sphere.getCentre();
    radius = sphere.getRadius();
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional
