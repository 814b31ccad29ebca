#include "tests/support/plain_cone.h"

#include <cmath>
#include <limits>

namespace QELT::Testing {

namespace {

/// What a ray takes of the two axes and, last, of the beam's own direction; and how far off it starts.
struct Ray {
    double directionA;
    double directionB;
    double directionC;
    double offsetA;
    double offsetB;
};

PlainPoint crossing(PlainGrid const& grid, PlainCone const& cone, PlainIndex const& quad, Ray const& ray) {
    PlainVector const c = plainCross(cone.axisA, cone.axisB);
    PlainPoint start = plainMoved(cone.origin, plainScaled(ray.offsetA, cone.axisA));
    start = plainMoved(start, plainScaled(ray.offsetB, cone.axisB));
    PlainVector const across =
        plainSum(plainScaled(ray.directionA, cone.axisA), plainScaled(ray.directionB, cone.axisB));
    PlainVector const direction = plainSum(across, plainScaled(ray.directionC, c));
    PlainVector const normal = grid.getTriangleNormal(quad, true);
    double const t =
        plainDot(plainDifference(start, grid.getPoint(quad)), normal) / plainDot(direction, normal);
    PlainVector const way = plainScaled(t, direction);
    return plainMoved(start, {-way.x, -way.y, -way.z});
}

} // namespace

std::int32_t plainTruncated(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    double const whole = std::trunc(value);
    if (whole > 2147483647.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (whole < -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(whole);
}

std::optional<PlainConeCrossings> plainConeCrossings(PlainGrid const& grid, PlainCone const& cone,
                                                     PlainIndex const& quad) {
    if (!grid.getIsQuadValid(quad)) {
        return std::nullopt;
    }
    double const spread = cone.cotangent;
    double const radius = cone.apertureRadius;
    return PlainConeCrossings{crossing(grid, cone, quad, {0.0, 0.0, 1.0, 0.0, 0.0}),
                              crossing(grid, cone, quad, {1.0, 0.0, spread, radius, 0.0}),
                              crossing(grid, cone, quad, {0.0, 1.0, spread, 0.0, radius}),
                              crossing(grid, cone, quad, {-1.0, 0.0, spread, -radius, 0.0}),
                              crossing(grid, cone, quad, {0.0, -1.0, spread, 0.0, -radius})};
}

std::optional<PlainFootprint> plainFootprint(PlainGrid const& grid, PlainCone const& cone,
                                             PlainIndex const& quad, int unity) {
    auto const points = plainConeCrossings(grid, cone, quad);
    if (!points) {
        return std::nullopt;
    }
    PlainVector const u = grid.getEdgeU(quad);
    PlainVector const v = grid.getEdgeV(quad);
    double const uu = plainDot(u, u);
    double const uv = plainDot(u, v);
    double const vv = plainDot(v, v);
    double const determinant = vv * uu - uv * uv;
    PlainVector const dualU =
        plainDivided(plainDifference(plainScaled(vv, u), plainScaled(uv, v)), determinant);
    PlainVector const dualV =
        plainDivided(plainDifference(plainScaled(uu, v), plainScaled(uv, u)), determinant);
    double const magnification = unity;
    auto const steps = [&](PlainPoint const& to, PlainPoint const& from) {
        PlainVector const way = plainDifference(to, from);
        return PlainIndex{plainTruncated(plainDot(way, dualU) * magnification),
                          plainTruncated(plainDot(way, dualV) * magnification)};
    };
    PlainPoint const& centre = (*points)[0];
    PlainIndex const corner{plainWrappedProduct(quad.u, unity), plainWrappedProduct(quad.v, unity)};
    return PlainFootprint{steps(centre, grid.getPoint(quad)) + corner, steps((*points)[1], centre),
                          steps((*points)[2], centre), steps((*points)[3], centre),
                          steps((*points)[4], centre)};
}

} // namespace QELT::Testing
