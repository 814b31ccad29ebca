#include "Geometry/fitting/utility.h"

#include <array>

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr std::size_t numberOfRigidPairs = 3;
constexpr int mostDescentSteps = 1048576;

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

} // namespace

bool Utility::getRigidBodyMap(Point const* sourcePoints, Point const* targetPoints, Vector* eulerAngles,
                              Vector* translation, Point* rotationCentre, Vector* targetOffset,
                              bool doUseCoarseDescent) {
    DescentConstants const constants = doUseCoarseDescent ? coarseDescent : fineDescent;
    double const toleranceSqr = constants.tolerance * constants.tolerance;
    Point const sourceCentre = getCentroid(sourcePoints);
    Point targetCentre = getCentroid(targetPoints);
    if (targetOffset != nullptr) {
        targetCentre = targetCentre + *targetOffset;
    }
    LinearMap const a = getCentred(sourcePoints, sourceCentre);
    LinearMap const b = getCentred(targetPoints, targetCentre);
    Vector angles;
    bool isConverged = false;
    for (int i = 0; i < mostDescentSteps && !isConverged; ++i) {
        Vector const delta = -getScaledGradient(a, b, angles, constants.step);
        angles = angles + delta;
        isConverged = toleranceSqr > delta.lSqr();
    }
    *eulerAngles = angles;
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
