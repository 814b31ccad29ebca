#include "Inspection/fits/surfacefits.h"

#include "Inspection/import/part.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::Utility;

/// So many points the fixed steps bear with room to spare: they are not divided by the number of points.
constexpr std::size_t maxSpherePoints = 100;
constexpr std::size_t maxCylinderPoints = 100;
constexpr std::size_t maxParaboloidPoints = 16; // of scattered data its limit of steps takes minutes

/// The paraboloid's curvature gains the share `paraboloidRate` times the sum of a^4 of its error in a step, a
/// being a distance from the vertex; this is the sum to bring a cloud to.
constexpr double paraboloidRate = 5e-13;
constexpr double paraboloidShare = 0.5;

/// Where the paraboloid's vertex starts, on all axes: the vertex moves in tiny steps, and this far from the
/// origin the spacing of floats swallows them, so that the fit can come to rest.
constexpr double paraboloidPlace = 1024.0;

/// The way from a cloud's coordinates to those of the fit and back.
struct UnitFrame {
    Point origin;
    double scale = 1.0;
    Point fitOrigin{};

    Point toFit(Point const& point) const { return fitOrigin + scale * (point - origin); }

    Point toCloud(Point const& point) const { return origin + (point - fitOrigin) / scale; }
};

Point centroidOf(std::vector<Point> const& points) {
    Vector sum;
    for (Point const& point : points) {
        sum += point - Point();
    }
    return Point() + sum / static_cast<double>(points.size());
}

/// The frame about `origin` in which distances to it have the root mean square 1.
UnitFrame unitFrame(std::vector<Point> const& points, Point const& origin) {
    double sum = 0.0;
    for (Point const& point : points) {
        sum += (point - origin).lSqr();
    }
    double const scale = std::sqrt(static_cast<double>(points.size()) / sum);
    if (!std::isfinite(scale)) {
        throw std::runtime_error("all points coincide");
    }
    return {origin, scale};
}

/// Evenly spread entries of a list, the first among them; all of them if there are no more than `most`.
template <class T>
std::vector<T> thinned(std::vector<T> const& list, std::size_t most) {
    std::size_t const count = std::min(list.size(), most);
    std::vector<T> result;
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        result.push_back(list[i * list.size() / count]);
    }
    return result;
}

std::vector<Point> toFit(UnitFrame const& frame, std::vector<Point> points) {
    std::transform(points.begin(), points.end(), points.begin(),
                   [&](Point const& point) { return frame.toFit(point); });
    return points;
}

void requireCount(std::size_t count, std::size_t least) {
    if (count < least) {
        throw std::runtime_error("at least " + std::to_string(least) + " points are needed, " +
                                 std::to_string(count) + " found");
    }
}

void requireResult(double figure) {
    if (!std::isfinite(figure)) {
        throw std::runtime_error("the fit came to no result");
    }
}

template <class Residual>
void measure(std::vector<Point> const& points, FitQuality& quality, Residual residual) {
    double sum = 0.0;
    for (Point const& point : points) {
        double const size = std::abs(residual(point));
        sum += size;
        quality.maxResidual = std::max(quality.maxResidual, size);
    }
    quality.meanResidual = sum / static_cast<double>(points.size());
    requireResult(quality.meanResidual);
}

} // namespace

SphereFit fitSphere(std::vector<Point> const& points) {
    requireCount(points.size(), 4);
    UnitFrame const frame = unitFrame(points, centroidOf(points));
    auto const used = toFit(frame, thinned(points, maxSpherePoints));
    SphereFit fit;
    Point centre;
    fit.quality.isSettled = Utility::getSphereFit(used.data(), used.size(), centre, fit.radius, nullptr);
    fit.quality.usedCount = used.size();
    fit.centre = frame.toCloud(centre);
    fit.radius /= frame.scale;
    measure(points, fit.quality,
            [&](Point const& point) { return std::sqrt((point - fit.centre).lSqr()) - fit.radius; });
    return fit;
}

CylinderFit fitCylinder(OrientedCloud const& cloud) {
    requireCount(cloud.points.size(), 3);
    UnitFrame const frame = unitFrame(cloud.points, centroidOf(cloud.points));
    auto const used = toFit(frame, thinned(cloud.points, maxCylinderPoints));
    auto normals = thinned(cloud.normals, maxCylinderPoints);
    for (Vector& normal : normals) {
        normal = normal / std::sqrt(normal.lSqr());
    }
    CylinderFit fit;
    Point axisPoint;
    fit.quality.isSettled = Utility::getCylinderFit(used.data(), normals.data(), used.size(), axisPoint,
                                                    fit.axisDirection, fit.radius, nullptr);
    fit.quality.usedCount = used.size();
    fit.axisPoint = frame.toCloud(axisPoint);
    fit.radius /= frame.scale;
    measure(cloud.points, fit.quality, [&](Point const& point) {
        return std::sqrt((point - fit.axisPoint).cross(fit.axisDirection).lSqr()) - fit.radius;
    });
    return fit;
}

ParaboloidFit fitParaboloid(std::vector<Point> const& points) {
    requireCount(points.size(), 3);
    UnitFrame frame = unitFrame(points, points.front());
    auto const chosen = thinned(points, maxParaboloidPoints);
    double sum = 0.0;
    for (Point const& point : toFit(frame, chosen)) {
        sum += (point - Point()).lSqr() * (point - Point()).lSqr();
    }
    frame.scale *= std::pow(paraboloidShare / (paraboloidRate * sum), 0.25);
    frame.fitOrigin = Point(paraboloidPlace, paraboloidPlace, paraboloidPlace);
    auto const used = toFit(frame, chosen);
    ParaboloidFit fit;
    Point vertex;
    fit.quality.isSettled =
        Utility::getEllipticParaboloidFit(used.data(), used.size(), Vector(0.0, 0.0, 1.0), vertex, fit.axisU,
                                          fit.axisV, fit.axisN, fit.curvatureU, fit.curvatureV, nullptr);
    fit.quality.usedCount = used.size();
    fit.vertex = frame.toCloud(vertex);
    fit.curvatureU *= frame.scale;
    fit.curvatureV *= frame.scale;
    measure(points, fit.quality, [&](Point const& point) {
        Vector const way = point - fit.vertex;
        double const u = way.dot(fit.axisU);
        double const v = way.dot(fit.axisV);
        return way.dot(fit.axisN) - 0.5 * (fit.curvatureU * u * u + fit.curvatureV * v * v);
    });
    return fit;
}

FitResult fit(FitOptions const& options, ProgressListener* listener) {
    announce(listener, "Fitting...");
    auto const fitted = [&](auto const& cloud, auto fitTo) {
        return naming(options.cloud.string(), [&] { return FitResult(fitTo(cloud)); });
    };
    switch (options.surface) {
    case FitSurface::Sphere:
        return fitted(loadPoints(options.cloud), fitSphere);
    case FitSurface::Cylinder:
        return fitted(loadOrientedPoints(options.cloud), fitCylinder);
    case FitSurface::Paraboloid:
        break;
    }
    return fitted(loadPoints(options.cloud), fitParaboloid);
}

} // namespace QELT::Inspection
