#include "Geometry/fitting/internal/descent.h"
#include "Geometry/fitting/internal/samenumber.h"
#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/quaternion.h"

#include <algorithm>
#include <array>
#include <cmath>

// An elliptic paraboloid of least squared residuals, by block coordinate descent: a pass makes one gradient
// step on the vertex, then one on the frame, then one on the two curvatures. Residuals are measured along
// the axis of the frame, not at right angles to the surface. The frame is a quaternion, which each pass
// brings back to length 1; its derivatives are those of the rotated unit vectors by its four elements.
//
// - The start: the first point as vertex, the identity frame, and twice the way from the first point to the
//   second along the hint, divided by its squared length, for both curvatures.
// - The rate is 1e-12, fixed: neither divided by the number of points nor scaled by their size. The
//   curvatures alone are stable as long as the fourth powers of the points' coordinates in the frame add up
//   to less than 4e12, as of four points 1000 units away; clouds of a few units are hardly moved. A greater
//   rate would lose the large ones.
// - A pass in which nothing moved by 1e-24 ends the fit. The steps of a small cloud are below that before
//   the fit is good: the answer tells that it rests, not that it fits. With a greater tolerance more fits
//   would stop early.
// - 268435456 passes are all that bounds the time: a pass costs three sweeps over the points.
//
// Odd on purpose: the vertex is a point of floats to which each point's share is added by itself, so that
// shares below its rounding vanish; and all three steps of a pass use the axes of its beginning, which are
// also those that come back, so that they lag one turn behind.

namespace QELT::Geometry::ThreeDimensional {

namespace {

/// Twice, from the derivative of a square, times the rate of the descent.
constexpr double rateFactor = 2e-12;
constexpr double changeTolerance = 1e-24;

using Frame = std::array<Vector, 3>;

Vector turn(Quaternion const& q, Vector const& v) {
    return (q * Quaternion(0.0, v) * q.conj()).getbcd();
}

/// A paraboloid as the fit moves it: vertex, frame as a quaternion, and two curvatures. The axes are those at
/// the start of a pass and lag behind the quaternion until the next one.
class Paraboloid {
public:
    Paraboloid(Point const* newPoints, std::uint32_t newCount, Vector const& axisHint)
        : points(newPoints),
          count(newCount),
          q(1.0, 0.0, 0.0, 0.0),
          vertex(newCount > 0 ? newPoints[0] : Point()) {
        Vector const first = count > 1 ? points[1] - points[0] : Vector();
        curvatureU = (2.0 * first.dot(axisHint)) / first.lSqr();
        curvatureV = curvatureU;
    }

    /// One step of each kind; whether none of them changed anything.
    bool step() {
        axes = {turn(q, Vector(0UL, 1.0)), turn(q, Vector(1UL, 1.0)), turn(q, Vector(2UL, 1.0))};
        double const vertexChange = moveVertex();
        double const quaternionChange = turnFrame();
        double const curvatureChange = bend();
        return vertexChange < changeTolerance && quaternionChange < changeTolerance &&
               curvatureChange < changeTolerance;
    }

    /// A point in the frame, and how far it is from the surface along the axis.
    struct Local {
        Vector w;
        double a;
        double b;
        double residual;
    };

    Local getLocal(Point const& p) const {
        Vector const w = p - vertex;
        double const a = w.dot(axes[0]);
        double const b = w.dot(axes[1]);
        double const c = w.dot(axes[2]);
        return {w, a, b, c - (curvatureU * a * a + curvatureV * b * b) * 0.5};
    }

    /// Whether passes from here and from there give the same: in all that a pass reads. The axes are not
    /// among it, since it starts with making them from the quaternion.
    bool getIsSame(Paraboloid const& other) const {
        bool isSame =
            getIsSameNumber(curvatureU, other.curvatureU) && getIsSameNumber(curvatureV, other.curvatureV);
        for (unsigned long k = 0; k < 3 && isSame; ++k) {
            isSame = getIsSameNumber(vertex.get(k), other.vertex.get(k));
        }
        for (unsigned long m = 0; m < 4 && isSame; ++m) {
            isSame = getIsSameNumber(q.get(m), other.q.get(m));
        }
        return isSame;
    }

    Point const& getVertex() const { return vertex; }

    Frame const& getAxes() const { return axes; }

    double getCurvatureU() const { return curvatureU; }

    double getCurvatureV() const { return curvatureV; }

private:
    double moveVertex() {
        Point newVertex = vertex;
        for (std::uint32_t i = 0; i < count; ++i) {
            Local const local = getLocal(points[i]);
            Vector const gradient =
                (-axes[2]) + (curvatureU * local.a) * axes[0] + (curvatureV * local.b) * axes[1];
            newVertex -= local.residual * rateFactor * gradient;
        }
        double const change = (newVertex - vertex).linf();
        vertex = newVertex;
        return change;
    }

    double turnFrame() {
        std::array<Frame, 4> const derivatives = getFrameDerivatives();
        Quaternion newQ = q;
        for (std::uint32_t i = 0; i < count; ++i) {
            Local const local = getLocal(points[i]);
            double const factor = local.residual * rateFactor;
            for (unsigned long m = 0; m < 4; ++m) {
                auto const& [dU, dV, dN] = derivatives[m];
                double const gradient = local.w.dot(dN) - local.w.dot(dU) * (curvatureU * local.a) -
                                        local.w.dot(dV) * (curvatureV * local.b);
                newQ.set(m, newQ.get(m) - gradient * factor);
            }
        }
        double const change = (newQ - q).linf();
        q = newQ / std::sqrt(newQ.normSqr());
        return change;
    }

    /// The derivatives of the three axes by each element of the quaternion.
    std::array<Frame, 4> getFrameDerivatives() const {
        double const a = 2.0 * q.geta();
        double const b = 2.0 * q.getb();
        double const c = 2.0 * q.getc();
        double const d = 2.0 * q.getd();
        return {{{{{a, d, -c}, {-d, a, b}, {c, -b, a}}},
                 {{{b, c, d}, {c, -b, a}, {d, -a, -b}}},
                 {{{-c, b, -a}, {b, c, d}, {a, d, -c}}},
                 {{{-d, a, b}, {-a, -d, c}, {b, c, d}}}}};
    }

    double bend() {
        double newU = curvatureU;
        double newV = curvatureV;
        for (std::uint32_t i = 0; i < count; ++i) {
            Local const local = getLocal(points[i]);
            double const factor = local.residual * rateFactor;
            newU -= (local.a * -0.5 * local.a) * factor;
            newV -= (local.b * -0.5 * local.b) * factor;
        }
        double const change = std::max(std::abs(newU - curvatureU), std::abs(newV - curvatureV));
        curvatureU = newU;
        curvatureV = newV;
        return change;
    }

    Point const* points;
    std::uint32_t count;
    Quaternion q;
    Point vertex;
    Frame axes;
    double curvatureU;
    double curvatureV;
};

} // namespace

bool Utility::getEllipticParaboloidFit(Point const* points, unsigned long numberOfPoints,
                                       Vector const& axisHint, Point& vertex, Vector& axisU, Vector& axisV,
                                       Vector& axisN, double& curvatureU, double& curvatureV,
                                       double* residuals) {
    return fitParaboloid(points, numberOfPoints, axisHint, vertex, axisU, axisV, axisN, curvatureU,
                         curvatureV, residuals, maxParaboloidPasses);
}

bool Utility::fitParaboloid(Point const* points, unsigned long numberOfPoints, Vector const& axisHint,
                            Point& vertex, Vector& axisU, Vector& axisV, Vector& axisN, double& curvatureU,
                            double& curvatureV, double* residuals, int maxPasses) {
    std::uint32_t const count = toUInt32(numberOfPoints);
    Paraboloid paraboloid(points, count, axisHint);
    bool const isConverged = descend(paraboloid, maxPasses);
    vertex = paraboloid.getVertex();
    axisU = paraboloid.getAxes()[0];
    axisV = paraboloid.getAxes()[1];
    axisN = paraboloid.getAxes()[2];
    curvatureU = paraboloid.getCurvatureU();
    curvatureV = paraboloid.getCurvatureV();
    for (std::uint32_t i = 0; residuals != nullptr && i < count; ++i) {
        residuals[i] = std::abs(paraboloid.getLocal(points[i]).residual);
    }
    return isConverged;
}

} // namespace QELT::Geometry::ThreeDimensional
