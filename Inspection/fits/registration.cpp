#include "Inspection/fits/registration.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::Utility;

/// The core's coarse descent multiplies the gradient by 1e-6 whatever the size of the points. Brought to
/// this sum of squared distances from the centroid they turn by about half of what is left in a step.
constexpr double bestSumOfSquares = 2.5e5;

Point centroidOf(std::array<Point, 3> const& points) {
    return Point() + ((points[0] - Point()) + (points[1] - Point()) + (points[2] - Point())) / 3.0;
}

double sumOfSquares(std::array<Point, 3> const& points) {
    Point const centre = centroidOf(points);
    double sum = 0.0;
    for (Point const& point : points) {
        sum += (point - centre).lSqr();
    }
    return sum;
}

std::array<Point, 3> scaled(std::array<Point, 3> const& points, Point const& centre, double scale) {
    std::array<Point, 3> result;
    std::transform(points.begin(), points.end(), result.begin(),
                   [&](Point const& point) { return Point() + scale * (point - centre); });
    return result;
}

bool isLine(std::array<Point, 3> const& points) {
    Vector const first = points[1] - points[0];
    Vector const second = points[2] - points[0];
    constexpr double smallestSine = 1e-6;
    double const area = std::sqrt(first.cross(second).lSqr());
    return !(area > smallestSine * std::sqrt(first.lSqr() * second.lSqr()));
}

bool isFinite(LinearMap const& map) {
    bool areFinite = true;
    for (unsigned long i = 0; i < 9; ++i) {
        areFinite = areFinite && std::isfinite(map.get(i / 3, i % 3));
    }
    return areFinite;
}

} // namespace

Registration rigidRegistration(std::vector<PointPair> const& pairs) {
    std::array<Point, 3> const sources{pairs.at(0).source, pairs.at(1).source, pairs.at(2).source};
    std::array<Point, 3> const targets{pairs.at(0).target, pairs.at(1).target, pairs.at(2).target};
    if (isLine(sources) || isLine(targets)) {
        throw std::runtime_error("three points on a line leave the motion open");
    }
    Point const sourceCentre = centroidOf(sources);
    Point const targetCentre = centroidOf(targets);
    double const scale = std::sqrt(bestSumOfSquares / std::max(sumOfSquares(sources), sumOfSquares(targets)));
    auto const from = scaled(sources, sourceCentre, scale);
    auto const to = scaled(targets, targetCentre, scale);
    Vector angles;
    Vector translation;
    Point centre;
    Registration result;
    result.isSettled =
        Utility::getRigidBodyMap(from.data(), to.data(), &angles, &translation, &centre, nullptr, true);
    constexpr std::array axes{LinearMap::X, LinearMap::Y, LinearMap::Z};
    result.map = LinearMap(axes.data(), angles);
    result.source = sourceCentre;
    result.target = targetCentre;
    if (!isFinite(result.map)) {
        throw std::runtime_error("the registration came to no result");
    }
    return result;
}

Registration affineRegistration(std::vector<PointPair> const& pairs) {
    std::array<Point, 4> sources;
    std::array<Point, 4> targets;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources[i] = pairs.at(i).source;
        targets[i] = pairs.at(i).target;
    }
    Registration result;
    result.map = Utility::getAffineMap(sources.data(), targets.data()).getLinearMap();
    result.source = sources[0];
    result.target = targets[0];
    if (!isFinite(result.map)) {
        throw std::runtime_error("four source points in a plane leave the map open");
    }
    return result;
}

double largestMiss(Registration const& registration, std::vector<PointPair> const& pairs) {
    double miss = 0.0;
    for (PointPair const& pair : pairs) {
        miss = std::max(miss, std::sqrt((registration(pair.source) - pair.target).lSqr()));
    }
    return miss;
}

} // namespace QELT::Inspection
