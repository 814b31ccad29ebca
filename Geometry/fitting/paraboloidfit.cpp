#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/quaternion.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace QELT::Geometry::ThreeDimensional {

namespace {

/// Twice, from the derivative of a square, times the rate of the descent.
constexpr double rateFactor = 2e-12;
constexpr double changeTolerance = 1e-24;
constexpr int mostPasses = 268435456;

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
    bool pass() {
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

    /// Whether the next pass and all after it give NaNs again: with points, a NaN in the curvatures and in
    /// the axes is in every residual and by it in all that is fitted, and without points nothing moves.
    bool getIsLost() const {
        bool const isBent = std::isnan(curvatureU) && std::isnan(curvatureV);
        return isBent && (count == 0 || (getIsNaN(axes[0]) && getIsNaN(axes[1]) && getIsNaN(axes[2]) &&
                                         getIsNaN(vertex - Point())));
    }

    Point const& getVertex() const { return vertex; }

    Frame const& getAxes() const { return axes; }

    double getCurvatureU() const { return curvatureU; }

    double getCurvatureV() const { return curvatureV; }

private:
    static bool getIsNaN(Vector const& v) {
        return std::isnan(v.getdX()) && std::isnan(v.getdY()) && std::isnan(v.getdZ());
    }

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
    std::uint32_t const count = toUInt32(numberOfPoints);
    Paraboloid paraboloid(points, count, axisHint);
    bool isConverged = false;
    int passes = 0;
    do {
        isConverged = paraboloid.pass();
        ++passes;
    } while (!isConverged && passes < mostPasses && !paraboloid.getIsLost());
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
