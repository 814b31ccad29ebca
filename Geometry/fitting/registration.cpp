#include "Geometry/fitting/internal/descent.h"
#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"

#include <array>

// The rigid motion that takes three points closest to three others. The translation is that of the
// centroids; the rotation, as angles about X, Y and Z, is found by gradient descent on the squared norm of R
// A - B, where the columns of A and B are the centred points. (A closed solution by a singular value
// decomposition exists: Arun, Huang and Blostein, "Least-Squares Fitting of Two 3-D Point Sets", 1987. The
// descent is kept for its results.)
//
// - The step is 1e-6 or 1e-9, not scaled by the size of the points. The gradient grows with the square of
//   that size: beyond some 700 units the coarse step overshoots for good, beyond some 20000 the fine one;
//   below 10 and 400 the limit of 1048576 steps comes first.
// - The descent ends when all angles together moved by less than 1e-12 or 1e-14. As a move is the gradient
//   times the step, that is a limit on the gradient, 1e-6 or 1e-5, in squared units of length: of triangles
//   of less than a thousandth of a unit it is met far from the minimum.
//
// Odd on purpose: the offset moves the target's centroid, and not its points, so the rotation answers to it
// too. A step costs fifteen matrices of a sine and a cosine, and their products.
//
// The affine map of four point pairs is exact: the inverse of the matrix of the three source edges, times
// the three target edges. It has no tolerance; points in one plane divide by zero.

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr std::size_t numberOfRigidPairs = 3;
constexpr int maxDescentSteps = 1048576;

constexpr std::array<LinearMap::RotationAxis, 3> eulerAxes{LinearMap::X, LinearMap::Y, LinearMap::Z};

/// How far a step of the descent goes along the gradient, and the change of the angles at which it ends.
struct DescentConstants {
    double step;
    double tolerance;
};

constexpr DescentConstants coarseDescent{1e-06, 1e-12};
constexpr DescentConstants fineDescent{1e-09, 1e-14};

Point getCentroid(Point const* points) {
    Vector sum;
    for (std::size_t i = 0; i < numberOfRigidPairs; ++i) {
        sum += points[i] - Point();
    }
    return Point() + sum / 3.0;
}

/// The points about their centre, as columns.
LinearMap getCentred(Point const* points, Point const& centre) {
    return {points[0] - centre, points[1] - centre, points[2] - centre};
}

/// The derivative of the sum of squares of the entries of R a - b by each Euler angle of R, times `step`.
Vector getScaledGradient(LinearMap const& a, LinearMap const& b, Vector const& angles, double step) {
    LinearMap rotation;
    rotation.setRotation(eulerAxes.data(), angles);
    LinearMap const error = rotation * a - b;
    Vector gradient;
    for (unsigned long k = 0; k < 3; ++k) {
        LinearMap derivative;
        derivative.setRotationDerivative(k, eulerAxes.data(), angles);
        LinearMap const change = derivative * a;
        gradient.set(k, ((error * change.transpose()).trace() + (change * error.transpose()).trace()) * step);
    }
    return gradient;
}

/// Euler angles as the descent moves them.
class RotationDescent {
public:
    RotationDescent(LinearMap const& newSource, LinearMap const& newTarget,
                    DescentConstants const& newConstants)
        : source(newSource), target(newTarget), constants(newConstants) {}

    /// Whether the angles settled.
    bool step() {
        Vector const delta = -getScaledGradient(source, target, angles, constants.step);
        angles = angles + delta;
        return constants.tolerance * constants.tolerance > delta.lSqr();
    }

    bool getIsSame(RotationDescent const& other) const {
        return getIsSameNumber(angles.getdX(), other.angles.getdX()) &&
               getIsSameNumber(angles.getdY(), other.angles.getdY()) &&
               getIsSameNumber(angles.getdZ(), other.angles.getdZ());
    }

    Vector const& getAngles() const { return angles; }

private:
    LinearMap source;
    LinearMap target;
    DescentConstants constants;
    Vector angles;
};

} // namespace

bool Utility::getRigidBodyMap(Point const* sourcePoints, Point const* targetPoints, Vector* eulerAngles,
                              Vector* translation, Point* rotationCentre, Vector* targetOffset,
                              bool doUseCoarseDescent) {
    Point const sourceCentre = getCentroid(sourcePoints);
    Point targetCentre = getCentroid(targetPoints);
    if (targetOffset != nullptr) {
        targetCentre = targetCentre + *targetOffset;
    }
    RotationDescent descent(getCentred(sourcePoints, sourceCentre), getCentred(targetPoints, targetCentre),
                            doUseCoarseDescent ? coarseDescent : fineDescent);
    bool const isConverged = descend(descent, maxDescentSteps);
    *eulerAngles = descent.getAngles();
    *translation = targetCentre - sourceCentre;
    *rotationCentre = sourceCentre;
    return isConverged;
}

AffineMap Utility::getAffineMap(Point const* sourcePoints, Point const* targetPoints) {
    LinearMap sourceRows;
    std::array<Vector, 3> targetEdges;
    for (unsigned long i = 0; i < 3; ++i) {
        Vector const sourceEdge = sourcePoints[i + 1] - sourcePoints[0];
        for (unsigned long k = 0; k < 3; ++k) {
            sourceRows.set(i, k, sourceEdge.get(k));
        }
        targetEdges[i] = targetPoints[i + 1] - targetPoints[0];
    }
    LinearMap const inverse = sourceRows.inverse();
    LinearMap linearMap;
    for (unsigned long i = 0; i < 3; ++i) {
        Vector const coordinates(targetEdges[0].get(i), targetEdges[1].get(i), targetEdges[2].get(i));
        Vector const row = inverse * coordinates;
        for (unsigned long k = 0; k < 3; ++k) {
            linearMap.set(i, k, row.get(k));
        }
    }
    return {linearMap, targetPoints[0] - sourcePoints[0]};
}

} // namespace QELT::Geometry::ThreeDimensional
