#include "tests/support/plain_fits.h"

#include "Geometry/foundations/linearmap.h"
#include "Geometry/foundations/quaternion.h"

#include <algorithm>
#include <cmath>

namespace QELT::Testing {

using Geometry::ThreeDimensional::LinearMap;
using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Quaternion;
using Geometry::ThreeDimensional::Vector;

namespace {

double lengthOf(Vector const& v) {
    return std::sqrt(v.lSqr());
}

Point centroidOf(SpacePoints const& points) {
    Vector sum;
    for (Point const& p : points) {
        sum = sum + (p - Point());
    }
    return Point() + sum / static_cast<double>(points.size());
}

LinearMap centredColumns(SpacePoints const& points, Point const& centre) {
    LinearMap map;
    for (unsigned long column = 0; column < 3; ++column) {
        Vector const way = points[column] - centre;
        for (unsigned long row = 0; row < 3; ++row) {
            map.set(row, column, way.get(row));
        }
    }
    return map;
}

} // namespace

PlainRigidBody plainRigidBody(SpacePoints const& source, SpacePoints const& target,
                              Vector const& targetOffset, bool isCoarse, std::uint32_t maxIterations) {
    double const step = isCoarse ? 1e-06 : 1e-09;
    double const tolerance = isCoarse ? 1e-12 : 1e-14;
    Point const c1 = centroidOf(source);
    Point const c2 = centroidOf(target) + targetOffset;
    LinearMap const a = centredColumns(source, c1);
    LinearMap const b = centredColumns(target, c2);
    std::array<LinearMap::RotationAxis, 3> const axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
    PlainRigidBody fit;
    fit.translation = c2 - c1;
    fit.rotationCentre = c1;
    while (!fit.isConverged && fit.iterations < maxIterations) {
        LinearMap rotation;
        rotation.setRotation(axes.data(), fit.eulerAngles);
        LinearMap const e = rotation * a - b;
        Vector g;
        for (unsigned long k = 0; k < 3; ++k) {
            LinearMap derivative;
            derivative.setRotationDerivative(k, axes.data(), fit.eulerAngles);
            LinearMap const d = derivative * a;
            g.set(k, ((e * d.transpose()).trace() + (d * e.transpose()).trace()) * step);
        }
        Vector const delta = -g;
        fit.eulerAngles = fit.eulerAngles + delta;
        fit.isConverged = tolerance * tolerance > delta.lSqr();
        ++fit.iterations;
    }
    return fit;
}

PlainAffineFit plainAffineFit(SpacePoints const& source, SpacePoints const& target) {
    LinearMap m;
    std::array<Vector, 3> v;
    for (unsigned long i = 0; i < 3; ++i) {
        Vector const u = source[i + 1] - source[0];
        v[i] = target[i + 1] - target[0];
        for (unsigned long j = 0; j < 3; ++j) {
            m.set(i, j, u.get(j));
        }
    }
    LinearMap const inverse = m.inverse();
    PlainAffineFit fit;
    for (unsigned long i = 0; i < 3; ++i) {
        fit.rows[i] = inverse * Vector(v[0].get(i), v[1].get(i), v[2].get(i));
    }
    fit.translation = target[0] - source[0];
    return fit;
}

PlainSphere plainSphereFit(SpacePoints const& points, std::uint32_t maxSweeps) {
    PlainSphere fit;
    fit.centre = centroidOf(points);
    for (Point const& p : points) {
        fit.radius += lengthOf(p - fit.centre);
    }
    fit.radius = fit.radius / static_cast<double>(points.size());
    bool isSettled = false;
    while (!isSettled && fit.sweeps < maxSweeps) {
        double radiusGradient = 0.0;
        std::array<double, 3> gradient = {0.0, 0.0, 0.0};
        for (Point const& p : points) {
            double const l = lengthOf(p - fit.centre);
            double const e = l - fit.radius;
            radiusGradient -= 2.0 * e;
            for (unsigned long k = 0; k < 3; ++k) {
                double const difference = (fit.centre - p).get(k);
                gradient[k] += 2.0 * e * difference / l;
            }
        }
        Vector const centreGradient(gradient[0], gradient[1], gradient[2]);
        fit.radius = fit.radius - radiusGradient * 0.001;
        fit.centre = fit.centre - 0.001 * centreGradient;
        isSettled = std::abs(radiusGradient) < 1e-08 && centreGradient.lSqr() < 1.0000000000000001e-16;
        ++fit.sweeps;
    }
    for (Point const& p : points) {
        Point const q = fit.centre + (fit.radius * (p - fit.centre)) / lengthOf(p - fit.centre);
        fit.residuals.push_back(lengthOf(q - p));
    }
    return fit;
}

namespace {

struct PlainAxis {
    explicit PlainAxis(SixValues const& x) : c(x[0], x[1], x[2]), d(x[3], x[4], x[5]), dd(d.dot(d)) {}

    Vector radial(Point const& p) const {
        double const t = ((p - c).dot(d)) / dd;
        return (c + t * d) - p;
    }

    Vector radialByPoint(unsigned long k) const {
        Vector const unit(k, 1.0);
        return unit - (d.get(k) / dd) * d;
    }

    Vector radialByDirection(Point const& p, unsigned long k) const {
        Vector const unit(k, 1.0);
        Vector const u = p - c;
        double const factor = u.get(k) - 2.0 * d.get(k) * u.dot(d) / dd;
        return (u.dot(d) * unit + factor * d) / dd;
    }

    Point c;
    Vector d;
    double dd;
};

} // namespace

double plainCylinderValue(SpacePoints const& points, SpaceVectors const& normals, SixValues const& x) {
    PlainAxis const axis(x);
    double sum = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::size_t const j = (i + 1) % points.size();
        double const tilt = axis.radial(points[i]).cross(normals[i]).lSqr();
        double const step = lengthOf(axis.radial(points[i])) - lengthOf(axis.radial(points[j]));
        sum += tilt + step * step;
    }
    return sum;
}

SixValues plainCylinderGradient(SpacePoints const& points, SpaceVectors const& normals, SixValues const& x) {
    PlainAxis const axis(x);
    SixValues gradient{};
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::size_t const j = (i + 1) % points.size();
        Vector const ri = axis.radial(points[i]);
        Vector const rj = axis.radial(points[j]);
        double const li = lengthOf(ri);
        double const lj = lengthOf(rj);
        Vector const w = ri.cross(normals[i]);
        for (unsigned long k = 0; k < 3; ++k) {
            Vector const byPoint = axis.radialByPoint(k);
            gradient[k] += 2.0 * (w.dot(byPoint.cross(normals[i]))) +
                           ((ri.get(k) / li) - (rj.get(k) / lj)) * 2.0 * (li - lj);
            Vector const iByDirection = axis.radialByDirection(points[i], k);
            Vector const jByDirection = axis.radialByDirection(points[j], k);
            gradient[3 + k] += 2.0 * (w.dot(iByDirection.cross(normals[i]))) +
                               ((ri.dot(iByDirection)) / li - (rj.dot(jByDirection)) / lj) * 2.0 * (li - lj);
        }
    }
    return gradient;
}

PlainCylinder plainCylinderFit(SpacePoints const& points, SpaceVectors const& normals,
                               std::uint32_t maxIterations) {
    SixValues x = {1.0, 1.0, 1.0, 1.0, 1.0, 1.0};
    double previousValue = 0.0;
    double change = 0.0;
    bool isGoingOn = true;
    PlainCylinder fit;
    while (isGoingOn && fit.iterations < maxIterations) {
        SixValues const g = plainCylinderGradient(points, normals, x);
        for (std::size_t k = 0; k < 6; ++k) {
            x[k] = x[k] + -0.001 * g[k];
        }
        double const value = plainCylinderValue(points, normals, x);
        change = std::abs(value - previousValue);
        previousValue = value;
        if (Vector(x[3], x[4], x[5]).dot(points[1] - points[0]) < 0.0) {
            x[3] = -x[3];
            x[4] = -x[4];
            x[5] = -x[5];
        }
        isGoingOn = change > 1e-11;
        ++fit.iterations;
    }
    Point const c(x[0], x[1], x[2]);
    Vector const d(x[3], x[4], x[5]);
    Vector const unit = d / std::sqrt(d.dot(d));
    Point const b = c + (((points[0] - c).dot(d)) / (d.dot(d))) * d;
    std::vector<double> distances;
    double sum = 0.0;
    for (Point const& p : points) {
        distances.push_back(lengthOf((b + ((p - b).dot(unit)) * unit) - p));
        sum += distances.back();
    }
    fit.axisPoint = b;
    fit.axisDirection = unit;
    fit.radius = sum / static_cast<double>(points.size());
    for (double const distance : distances) {
        fit.residuals.push_back(std::abs(fit.radius - distance));
    }
    fit.isConverged = 1e-11 > change;
    return fit;
}

namespace {

/// The state of a paraboloid fit between two steps, and what it says about a point.
struct PlainParaboloidState {
    struct Place {
        Vector w;
        double a;
        double b;
        double res;
        double f;
    };

    Place getPlace(Point const& p) const {
        Vector const w = p - vertex;
        double const a = w.dot(axisU);
        double const b = w.dot(axisV);
        double const c = w.dot(axisN);
        double const res = c - (curvatureU * a * a + curvatureV * b * b) * 0.5;
        return {w, a, b, res, res * 2e-12};
    }

    void setAxes() {
        auto const turned = [this](Vector const& e) { return (q * Quaternion(0.0, e) * q.conj()).getbcd(); };
        axisU = turned({1.0, 0.0, 0.0});
        axisV = turned({0.0, 1.0, 0.0});
        axisN = turned({0.0, 0.0, 1.0});
    }

    double stepVertex(SpacePoints const& points) {
        Point newVertex = vertex;
        for (Point const& p : points) {
            Place const at = getPlace(p);
            Vector const g = (-axisN) + (curvatureU * at.a) * axisU + (curvatureV * at.b) * axisV;
            newVertex -= at.f * g;
        }
        double const change = (newVertex - vertex).linf();
        vertex = newVertex;
        return change;
    }

    double stepQuaternion(SpacePoints const& points) {
        double const qa = 2.0 * q.geta();
        double const qb = 2.0 * q.getb();
        double const qc = 2.0 * q.getc();
        double const qd = 2.0 * q.getd();
        std::array<Vector, 4> const byU = {Vector(qa, qd, -qc), Vector(qb, qc, qd), Vector(-qc, qb, -qa),
                                           Vector(-qd, qa, qb)};
        std::array<Vector, 4> const byV = {Vector(-qd, qa, qb), Vector(qc, -qb, qa), Vector(qb, qc, qd),
                                           Vector(-qa, -qd, qc)};
        std::array<Vector, 4> const byN = {Vector(qc, -qb, qa), Vector(qd, -qa, -qb), Vector(qa, qd, -qc),
                                           Vector(qb, qc, qd)};
        Quaternion newQ = q;
        for (Point const& p : points) {
            Place const at = getPlace(p);
            for (unsigned long m = 0; m < 4; ++m) {
                double const g = (at.w.dot(byN[m])) - (at.w.dot(byU[m])) * (curvatureU * at.a) -
                                 (at.w.dot(byV[m])) * (curvatureV * at.b);
                newQ.set(m, newQ.get(m) - g * at.f);
            }
        }
        double const change = (newQ - q).linf();
        q = newQ / std::sqrt(newQ.normSqr());
        return change;
    }

    double stepCurvatures(SpacePoints const& points) {
        double newU = curvatureU;
        double newV = curvatureV;
        for (Point const& p : points) {
            Place const at = getPlace(p);
            newU -= (at.a * -0.5 * at.a) * at.f;
            newV -= (at.b * -0.5 * at.b) * at.f;
        }
        double const change = std::max(std::abs(newU - curvatureU), std::abs(newV - curvatureV));
        curvatureU = newU;
        curvatureV = newV;
        return change;
    }

    Quaternion q{1.0, 0.0, 0.0, 0.0};
    Point vertex;
    Vector axisU;
    Vector axisV;
    Vector axisN;
    double curvatureU = 0.0;
    double curvatureV = 0.0;
};

} // namespace

PlainParaboloid plainParaboloidFit(SpacePoints const& points, Vector const& axisHint,
                                   std::uint32_t maxPasses) {
    PlainParaboloidState state;
    state.vertex = points[0];
    Vector const dv = points[1] - points[0];
    state.curvatureU = state.curvatureV = (2.0 * (dv.dot(axisHint))) / dv.lSqr();
    PlainParaboloid fit;
    while (!fit.isConverged && fit.passes < maxPasses) {
        state.setAxes();
        double const vertexChange = state.stepVertex(points);
        double const quaternionChange = state.stepQuaternion(points);
        double const curvatureChange = state.stepCurvatures(points);
        fit.isConverged = vertexChange < 1e-24 && quaternionChange < 1e-24 && curvatureChange < 1e-24;
        ++fit.passes;
    }
    fit.vertex = state.vertex;
    fit.axisU = state.axisU;
    fit.axisV = state.axisV;
    fit.axisN = state.axisN;
    fit.curvatureU = state.curvatureU;
    fit.curvatureV = state.curvatureV;
    for (Point const& p : points) {
        fit.residuals.push_back(std::abs(state.getPlace(p).res));
    }
    return fit;
}

} // namespace QELT::Testing
