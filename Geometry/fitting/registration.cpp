#include "Geometry/fitting/internal/descent.h"
#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"

#include <array>
#include <cmath>

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
// too. A step costs three sines and cosines and eleven products of matrices: the rotation and its derivatives
// share them, each multiplied as `LinearMap` would. Of the gradient's two traces, that of a product and that
// of its transpose, one is formed, as their terms are the same in the same order.
//
// The affine map of four point pairs is exact: the inverse of the matrix of the three source edges, times
// the three target edges. It has no tolerance; points in one plane divide by zero.

namespace QELT::Geometry::ThreeDimensional {

namespace {

constexpr std::size_t numberOfRigidPairs = 3;
constexpr int maxDescentSteps = 1048576;

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

/// A matrix of space by rows, whose products have the order of evaluation of `LinearMap`'s.
struct Matrix {
    std::array<double, 9> m;

    Matrix operator*(Matrix const& right) const {
        Matrix product;
        for (std::size_t i = 0; i < 9; i += 3) {
            for (std::size_t j = 0; j < 3; ++j) {
                product.m[i + j] = m[i] * right.m[j] + m[i + 1] * right.m[3 + j] + m[i + 2] * right.m[6 + j];
            }
        }
        return product;
    }

    Matrix operator-(Matrix const& other) const {
        Matrix difference;
        for (std::size_t i = 0; i < 9; ++i) {
            difference.m[i] = m[i] - other.m[i];
        }
        return difference;
    }

    /// The trace of this matrix times the transpose of the other one.
    double getTraceWithTransposeOf(Matrix const& other) const {
        std::array<double, 3> diagonal;
        for (std::size_t i = 0; i < 3; ++i) {
            diagonal[i] = m[3 * i] * other.m[3 * i] + m[3 * i + 1] * other.m[3 * i + 1] +
                          m[3 * i + 2] * other.m[3 * i + 2];
        }
        return diagonal[0] + diagonal[1] + diagonal[2];
    }
};

/// The points about their centre, as columns.
Matrix getCentred(Point const* points, Point const& centre) {
    Matrix centred;
    for (std::size_t j = 0; j < numberOfRigidPairs; ++j) {
        Vector const fromCentre = points[j] - centre;
        centred.m[j] = fromCentre.getdX();
        centred.m[3 + j] = fromCentre.getdY();
        centred.m[6 + j] = fromCentre.getdZ();
    }
    return centred;
}

/// The cosine and the sine of an angle.
struct Turn {
    explicit Turn(double angle) : c(std::cos(angle)), s(std::sin(angle)) {}

    double c;
    double s;
};

/// The rotations about X, Y and Z in succession, and their derivatives by each of the angles.
struct EulerRotation {
    explicit EulerRotation(Vector const& angles) {
        auto const [cX, sX] = Turn(angles.getdX());
        auto const [cY, sY] = Turn(angles.getdY());
        auto const [cZ, sZ] = Turn(angles.getdZ());
        Matrix const x{{1.0, 0.0, 0.0, 0.0, cX, -sX, 0.0, sX, cX}};
        Matrix const y{{cY, 0.0, sY, 0.0, 1.0, 0.0, -sY, 0.0, cY}};
        Matrix const z{{cZ, -sZ, 0.0, sZ, cZ, 0.0, 0.0, 0.0, 1.0}};
        Matrix const byX{{0.0, 0.0, 0.0, 0.0, -sX, -cX, 0.0, cX, -sX}};
        Matrix const byY{{-sY, 0.0, cY, 0.0, 0.0, 0.0, -cY, 0.0, -sY}};
        Matrix const byZ{{-sZ, -cZ, 0.0, cZ, -sZ, 0.0, 0.0, 0.0, 0.0}};
        Matrix const zy = z * y;
        rotation = zy * x;
        derivatives = {zy * byX, z * byY * x, byZ * y * x};
    }

    Matrix rotation;
    std::array<Matrix, 3> derivatives;
};

/// The derivative of the sum of squares of the entries of R a - b by each Euler angle of R, times `step`.
Vector getScaledGradient(Matrix const& a, Matrix const& b, Vector const& angles, double step) {
    EulerRotation const euler(angles);
    Matrix const error = euler.rotation * a - b;
    Vector gradient;
    for (unsigned long k = 0; k < 3; ++k) {
        double const trace = error.getTraceWithTransposeOf(euler.derivatives[k] * a);
        gradient.set(k, (trace + trace) * step);
    }
    return gradient;
}

/// Euler angles as the descent moves them.
class RotationDescent {
public:
    RotationDescent(Matrix const& newSource, Matrix const& newTarget, DescentConstants const& newConstants)
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
    Matrix source;
    Matrix target;
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
