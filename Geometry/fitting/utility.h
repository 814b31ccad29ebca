#pragma once

#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/angles.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional {

/// Measures of triangles, weighted sums of points, conversions of angles, registration of points and fits of
/// surfaces. It has no state and no objects.
class QELT_EXPORT Utility {
public:
    Utility() = delete;

    /// \name Measures of triangles and angles
    /// As in `TriangleMeasures` and `Angles`.
    ///@{

    /// As `TriangleMeasures::twoATN`.
    static Vector twoATN(Point const& a, Point const& b, Point const& c) {
        return TriangleMeasures::twoATN(a, b, c);
    }

    /// As `TriangleMeasures::twoAT`.
    static double twoAT(Point const& a, Point const& b, Point const& c) {
        return TriangleMeasures::twoAT(a, b, c);
    }

    /// As `TriangleMeasures::ATSqr`.
    static double ATSqr(Point const& a, Point const& b, Point const& c) {
        return TriangleMeasures::ATSqr(a, b, c);
    }

    /// As `TriangleMeasures::rTSqr`.
    static double rTSqr(Point const& a, Point const& b, Point const& c) {
        return TriangleMeasures::rTSqr(a, b, c);
    }

    /// As `TriangleMeasures::rT`.
    static double rT(Point const& a, Point const& b, Point const& c) { return TriangleMeasures::rT(a, b, c); }

    /// As `TriangleMeasures::riT`.
    static double riT(Point const& a, Point const& b, Point const& c) {
        return TriangleMeasures::riT(a, b, c);
    }

    /// As `TriangleMeasures::bary` of two points.
    static Point bary(Point const& a, Point const& b, double wa, double wb) {
        return TriangleMeasures::bary(a, b, wa, wb);
    }

    /// As `TriangleMeasures::bary` of three points.
    static Point bary(Point const& a, Point const& b, Point const& c, double wa, double wb, double wc) {
        return TriangleMeasures::bary(a, b, c, wa, wb, wc);
    }

    /// As `TriangleMeasures::isAbove`.
    static bool isAbove(Point const& p, Point const& q, Vector const& n) {
        return TriangleMeasures::isAbove(p, q, n);
    }

    /// In radians, as `Angles::degToRad`.
    static double degToRad(double degrees) { return Angles::degToRad(degrees); }

    /// In degrees, as `Angles::radToDeg`.
    static double radToDeg(double radians) { return Angles::radToDeg(radians); }

    /// A full turn in radians, 2 pi.
    static constexpr double twopi() { return Angles::fullTurn; }

    ///@}

    /// The rigid motion that takes three points closest to three others, by gradient descent on the Euler
    /// angles with a fixed step: x goes to R (x - rotationCentre) + rotationCentre + translation, R being
    /// `LinearMap::setRotation` about X, Y, Z by `eulerAngles`. The step is not scaled by the size of the
    /// points. `targetOffset` (may be null) is added to the target's centroid alone. The outputs are written
    /// in any case; the result is whether the descent settled within 1048576 steps. The coarse descent takes
    /// steps of 1e-6 of the gradient down to changes of 1e-12, the fine one of 1e-9 down to 1e-14. Triangles
    /// that are not slender settle if their longest side is about 10 to 700 (coarse) or 400 to 20000 (fine);
    /// smaller ones run out of steps, larger ones overshoot for good.
    static bool getRigidBodyMap(Point const* sourcePoints, Point const* targetPoints, Vector* eulerAngles,
                                Vector* translation, Point* rotationCentre, Vector* targetOffset,
                                bool doUseCoarseDescent);

    /// The affine map about `sourcePoints[0]` that takes four points to four others: x goes to
    /// `targetPoints[0]` + L (x - `sourcePoints[0]`), the translation of the result being the way from the
    /// first source point to its target. Points in one plane give infinities or NaNs.
    static AffineMap getAffineMap(Point const* sourcePoints, Point const* targetPoints);

    /// The sphere of least squared distances through points, by gradient descent from their centroid with a
    /// step of 0.001 that is not divided by their number, for at most 524288 sweeps. Always true. `residuals`
    /// (may be null) receives each point's distance from the sphere. Without points, or with one at the
    /// centre, the outputs are NaN. So they are with 1010 points and more, since the descent then diverges;
    /// on a cap it does so with fewer, on a narrow one from 500 on, and may end far off instead of at NaN.
    static bool getSphereFit(Point const* points, unsigned long numberOfPoints, Point& centre, double& radius,
                             double* residuals);

    /// The axis of a cylinder through points with surface normals of any length, by gradient descent from a
    /// fixed start with a step of 0.001, for at most 4194304 steps: normals should meet the axis and
    /// distances from it should be equal. `axisPoint` is the first point's foot on the axis, `axisDirection`
    /// a unit vector that does not point against the way from the first point to the second, `radius` the
    /// mean distance; `residuals` (may be null) receives each point's difference from it, unsigned. The
    /// result is whether the descent settled. At least two points are asked for; with fewer the outputs are
    /// NaN or without meaning.
    static bool getCylinderFit(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                               Point& axisPoint, Vector& axisDirection, double& radius, double* residuals);

    /// The elliptic paraboloid of least squared residuals through at least two points, by gradient steps with
    /// a fixed rate: c = (curvatureU a^2 + curvatureV b^2) / 2 in the frame of the three axes. The start is
    /// the first point as vertex, the identity frame, and for both curvatures that of the circle through the
    /// first two points to which `axisHint`, of unit length, is normal at the first. `residuals` (may be
    /// null) receives the magnitudes.
    ///
    /// The result is whether all steps of a pass were below 1e-24, within 268435456 passes: that nothing
    /// moves any more, not that the fit is good. A fit that comes back to an earlier state ends soon after,
    /// with what the last pass would have left. One that does neither makes all passes, and cannot be
    /// stopped: a quarter to half a minute for each point, an hour for some hundreds.
    static bool getEllipticParaboloidFit(Point const* points, unsigned long numberOfPoints,
                                         Vector const& axisHint, Point& vertex, Vector& axisU, Vector& axisV,
                                         Vector& axisN, double& curvatureU, double& curvatureV,
                                         double* residuals);

private:
    static constexpr int maxCylinderSteps = 4194304;
    static constexpr int maxParaboloidPasses = 268435456;

    /// The fits with limits of any size, at least 1.
    static bool fitCylinder(Point const* points, Vector const* normals, unsigned long numberOfPoints,
                            Point& axisPoint, Vector& axisDirection, double& radius, double* residuals,
                            int maxSteps);
    static bool fitParaboloid(Point const* points, unsigned long numberOfPoints, Vector const& axisHint,
                              Point& vertex, Vector& axisU, Vector& axisV, Vector& axisN, double& curvatureU,
                              double& curvatureV, double* residuals, int maxPasses);
};

} // namespace QELT::Geometry::ThreeDimensional
