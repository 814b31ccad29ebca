// Places on the surface of a result.
//
// A quad's surface is the bilinear one between its four nodes. The foot of a point is found by Newton's steps
// on that surface: each solves the two normal equations for the step in quads and goes on in the quad that it
// leads to, for as long as there is one. Steps are cut to two quads, lest a folded neighbourhood throws the
// search away. It ends at a step below a thousandth of a quad; a foot beside the surface is the nearest point
// tried on its rim. The normal at a place is the bilinear mean of the pixels' normals around it.

#include "Inspection/indications/internal/resultsurface.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr int maxSteps = 60;
constexpr double maxStepLength = 2.0;
constexpr double sufficientStep = 1e-3;

/// Quads of different grids that touch lie no further apart, in sides of the longer.
constexpr double joinedSides = 2.0;

Vector unit(Vector const& vector) {
    double const length = std::sqrt(vector.lSqr());
    return length > 0.0 ? vector / length : vector;
}

/// What lies where in a quad: 0 to 1 in both directions.
struct InQuad {
    double s;
    double t;
};

Vector between(std::array<Vector, 4> const& corners, InQuad const& at) {
    return corners[0] * ((1.0 - at.s) * (1.0 - at.t)) + corners[1] * (at.s * (1.0 - at.t)) +
           corners[2] * ((1.0 - at.s) * at.t) + corners[3] * (at.s * at.t);
}

/// The step in quads that brings the surface's tangent plane under a point.
FlatPoint stepTowards(Vector const& point, std::array<Vector, 4> const& corners, InQuad const& at) {
    Vector const alongU = (corners[1] - corners[0]) * (1.0 - at.t) + (corners[3] - corners[2]) * at.t;
    Vector const alongV = (corners[2] - corners[0]) * (1.0 - at.s) + (corners[3] - corners[1]) * at.s;
    Vector const away = point - between(corners, at);
    double const uu = alongU.lSqr();
    double const uv = alongU.dot(alongV);
    double const vv = alongV.lSqr();
    double const determinant = uu * vv - uv * uv;
    if (!(determinant > 0.0)) {
        return {0.0, 0.0};
    }
    double const du = (vv * away.dot(alongU) - uv * away.dot(alongV)) / determinant;
    double const dv = (uu * away.dot(alongV) - uv * away.dot(alongU)) / determinant;
    return {std::clamp(du, -maxStepLength, maxStepLength), std::clamp(dv, -maxStepLength, maxStepLength)};
}

} // namespace

std::array<Vector, 4> ResultSurface::cornersOf(std::size_t pixel) const {
    Patch const& patch = result.patches[result.patch[pixel]];
    std::size_t const u = pixel % result.width - patch.left;
    std::size_t const v = pixel / result.width - patch.bottom;
    auto const node = [&](std::size_t i, std::size_t j) {
        float const* const c = &patch.nodes[3 * (j * (patch.width + 1) + i)];
        return Vector(c[0], c[1], c[2]);
    };
    return {node(u, v), node(u + 1, v), node(u, v + 1), node(u + 1, v + 1)};
}

Vector ResultSurface::pointAt(std::size_t pixel, FlatPoint const& at) const {
    double const s = at.getU() - static_cast<double>(pixel % result.width);
    std::size_t const row = pixel / result.width;
    double const t = at.getV() - static_cast<double>(row);
    return between(cornersOf(pixel), {s, t});
}

Vector ResultSurface::pointOf(std::size_t pixel) const {
    float const* const point = &result.points[3 * pixel];
    return Vector(point[0], point[1], point[2]);
}

Vector ResultSurface::normalOf(std::size_t pixel) const {
    float const* const normal = &result.normals[3 * pixel];
    return Vector(normal[0], normal[1], normal[2]);
}

FlatPoint ResultSurface::middleOf(std::size_t pixel) const {
    std::size_t const row = pixel / result.width;
    return {static_cast<double>(pixel % result.width) + 0.5, static_cast<double>(row) + 0.5};
}

std::optional<std::size_t> ResultSurface::neighbourOf(std::size_t pixel, int du, int dv) const {
    auto const u = static_cast<std::ptrdiff_t>(pixel % result.width) + du;
    auto const v = static_cast<std::ptrdiff_t>(pixel / result.width) + dv;
    if (u < 0 || v < 0 || u >= static_cast<std::ptrdiff_t>(result.width) ||
        v >= static_cast<std::ptrdiff_t>(result.height)) {
        return std::nullopt;
    }
    return result.indexOf(static_cast<std::size_t>(u), static_cast<std::size_t>(v));
}

double ResultSurface::longestSideSqrOf(std::size_t pixel) const {
    auto const corners = cornersOf(pixel);
    return std::max({(corners[1] - corners[0]).lSqr(), (corners[3] - corners[2]).lSqr(),
                     (corners[2] - corners[0]).lSqr(), (corners[3] - corners[1]).lSqr()});
}

bool ResultSurface::areJoined(std::size_t pixel, std::size_t other) const {
    if (result.patch[pixel] == result.patch[other]) {
        return true;
    }
    double const side = std::max(longestSideSqrOf(pixel), longestSideSqrOf(other));
    return (pointOf(pixel) - pointOf(other)).lSqr() <= joinedSides * joinedSides * side;
}

Vector ResultSurface::normalAt(std::size_t pixel, FlatPoint const& at) const {
    FlatPoint const middle = middleOf(pixel);
    double const du = at.getU() - middle.getU();
    double const dv = at.getV() - middle.getV();
    Vector sum = normalOf(pixel) * ((1.0 - std::abs(du)) * (1.0 - std::abs(dv)));
    auto const add = [&](int stepU, int stepV, double weight) {
        auto const other = neighbourOf(pixel, stepU, stepV);
        bool const isThere = other && result.hasSurface(*other) && areJoined(pixel, *other);
        sum += normalOf(isThere ? *other : pixel) * weight;
    };
    int const stepU = du < 0.0 ? -1 : 1;
    int const stepV = dv < 0.0 ? -1 : 1;
    add(stepU, 0, std::abs(du) * (1.0 - std::abs(dv)));
    add(0, stepV, (1.0 - std::abs(du)) * std::abs(dv));
    add(stepU, stepV, std::abs(du) * std::abs(dv));
    return unit(sum);
}

SurfacePlace ResultSurface::placeAt(std::size_t pixel, FlatPoint const& at) const {
    Vector const move(result.move.data());
    return {pointAt(pixel, at) - move, normalAt(pixel, at), at};
}

SurfacePlace ResultSurface::placeOf(std::size_t pixel) const {
    Vector const move(result.move.data());
    return {pointOf(pixel) - move, normalOf(pixel), middleOf(pixel)};
}

SurfacePlace ResultSurface::footOf(Vector const& point, std::size_t from) const {
    std::size_t pixel = from;
    FlatPoint at = middleOf(from);
    for (int i = 0; i < maxSteps; ++i) {
        auto const left = static_cast<double>(pixel % result.width);
        std::size_t const row = pixel / result.width;
        auto const bottom = static_cast<double>(row);
        FlatPoint const step = stepTowards(point, cornersOf(pixel), {at.getU() - left, at.getV() - bottom});
        FlatPoint const next(at.getU() + step.getU(), at.getV() + step.getV());
        auto const over = neighbourOf(pixel, static_cast<int>(std::floor(next.getU() - left)),
                                      static_cast<int>(std::floor(next.getV() - bottom)));
        FlatPoint const before = at;
        if (over && result.hasSurface(*over) && areJoined(pixel, *over)) {
            pixel = *over;
            at = next;
        } else {
            at = {std::clamp(next.getU(), left, left + 1.0), std::clamp(next.getV(), bottom, bottom + 1.0)};
        }
        if (std::abs(at.getU() - before.getU()) + std::abs(at.getV() - before.getV()) < sufficientStep) {
            break;
        }
    }
    return placeAt(pixel, at);
}

} // namespace QELT::Inspection
