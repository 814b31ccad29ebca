#pragma once

#include "Geometry/fitting/internal/realvaluedvectorfunction.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>

/// How badly points with surface normals fit a cylinder around an axis. The vector has six components: a
/// point of the axis and its direction, of any length. The value is the sum over the points of |r x n|^2,
/// with r the way from the point to its foot on the axis and n the normal, and of the squared difference of
/// its distance from the axis to that of the next point, the last being followed by the first. The radius
/// plays no part. Points and normals are not owned.
class CylinderFitFunction : public RealValuedVectorFunction {
public:
    using Point = QELT::Geometry::ThreeDimensional::Point;
    using Vector = QELT::Geometry::ThreeDimensional::Vector;

    CylinderFitFunction(std::uint32_t newNumberOfPoints, Point const* newPoints, Vector const* newNormals)
        : numberOfPoints(newNumberOfPoints), points(newPoints), normals(newNormals) {}

    /// \throws std::runtime_error "Invalid number of domain dimensions".
    double getValue(QELT::LinearAlgebra::Vector const& x) override {
        Axis const axis(x);
        double sum = 0.0;
        for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
            Vector const toAxis = axis.getWayFrom(points[i]);
            double const length = std::sqrt(toAxis.lSqr());
            double const nextLength = std::sqrt(axis.getWayFrom(points[getNext(i)]).lSqr());
            double const difference = length - nextLength;
            sum += toAxis.cross(normals[i]).lSqr() + difference * difference;
        }
        return sum;
    }

    /// The exact gradient, by the chain rule. Not finite if a point lies on the axis.
    /// \throws std::runtime_error "Invalid number of domain dimensions".
    QELT::LinearAlgebra::Vector getGradient(QELT::LinearAlgebra::Vector const& x) override {
        Axis const axis(x);
        QELT::LinearAlgebra::Vector gradient(numberOfDimensions);
        gradient.zero();
        for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
            addTerm(axis, i, gradient);
        }
        return gradient;
    }

private:
    static constexpr unsigned long numberOfDimensions = 6;

    struct Axis {
        explicit Axis(QELT::LinearAlgebra::Vector const& x) {
            if (x.getNumberOfValues() != numberOfDimensions) {
                throw std::runtime_error("Invalid number of domain dimensions");
            }
            c = Point(x.get(0), x.get(1), x.get(2));
            d = Vector(x.get(3), x.get(4), x.get(5));
            dd = d.dot(d);
        }

        /// The way from a point to its foot on the axis.
        Vector getWayFrom(Point const& p) const {
            double const t = (p - c).dot(d) / dd;
            return (c + t * d) - p;
        }

        /// The derivative of that way by coordinate k of the axis' point.
        Vector getDerivativeByPoint(unsigned long k) const { return Vector(k, 1.0) - (d.get(k) / dd) * d; }

        /// The derivative of that way by component k of the axis' direction.
        Vector getDerivativeByDirection(Point const& p, unsigned long k) const {
            Vector const u = p - c;
            double const along = u.dot(d);
            return (along * Vector(k, 1.0) + (u.get(k) - 2.0 * d.get(k) * along / dd) * d) / dd;
        }

        Point c;
        Vector d;
        double dd;
    };

    std::uint32_t getNext(std::uint32_t i) const { return (i + 1) % numberOfPoints; }

    void addTerm(Axis const& axis, std::uint32_t i, QELT::LinearAlgebra::Vector& gradient) const {
        Point const& p = points[i];
        Point const& next = points[getNext(i)];
        Vector const r = axis.getWayFrom(p);
        Vector const nextR = axis.getWayFrom(next);
        double const length = std::sqrt(r.lSqr());
        double const nextLength = std::sqrt(nextR.lSqr());
        Vector const w = r.cross(normals[i]);
        for (unsigned long k = 0; k < 3; ++k) {
            Vector const change = axis.getDerivativeByPoint(k);
            gradient.acc(k, 2.0 * w.dot(change.cross(normals[i])) +
                                ((r.get(k) / length) - (nextR.get(k) / nextLength)) * 2.0 *
                                    (length - nextLength));
            Vector const turn = axis.getDerivativeByDirection(p, k);
            Vector const nextTurn = axis.getDerivativeByDirection(next, k);
            gradient.acc(3 + k, 2.0 * w.dot(turn.cross(normals[i])) +
                                    (r.dot(turn) / length - nextR.dot(nextTurn) / nextLength) * 2.0 *
                                        (length - nextLength));
        }
    }

    std::uint32_t numberOfPoints;
    Point const* points;
    Vector const* normals;
};
