#include "tests/support/plain_analytic.h"

#include <cmath>

namespace QELT::Testing {

namespace {

constexpr unsigned char validFlag = 1;

/// A count of steps: the fraction dropped, NaN and negative numbers 0, at most what 32 bits hold.
std::uint32_t steps(double value) {
    if (std::isnan(value) || value < 1.0) {
        return 0;
    }
    if (value >= 4294967295.0) {
        return 4294967295U;
    }
    return static_cast<std::uint32_t>(std::floor(value));
}

/// The quotient of the node count by the nodes of a megabyte. Where a count or the product has no 32-bit
/// value the grid is too large for any limit.
bool isTooLarge(double nodesU, double nodesV, std::uint32_t maxMB) {
    constexpr double most = 4294967295.0;
    if (nodesU > most || nodesV > most || nodesU * nodesV > most) {
        return true;
    }
    return static_cast<std::uint32_t>(nodesU * nodesV) / 41943U > maxMB;
}

PlainSurface blank(std::uint32_t extentU, std::uint32_t extentV) {
    PlainSurface surface;
    surface.isAccepted = true;
    surface.grid.highestU = extentU;
    surface.grid.highestV = extentV;
    std::size_t const count = (std::size_t{extentU} + 1) * (std::size_t{extentV} + 1);
    surface.grid.points.resize(count);
    surface.grid.flags.resize(count, 0);
    return surface;
}

PlainPoint rounded(double x, double y, double z) {
    return {plainNarrowed(x), plainNarrowed(y), plainNarrowed(z)};
}

void set(PlainSurface& surface, std::uint32_t u, std::uint32_t v, PlainPoint const& point) {
    std::size_t const node = std::size_t{v} * (std::size_t{surface.grid.highestU} + 1) + u;
    surface.grid.points[node] = point;
    surface.grid.flags[node] = validFlag;
}

} // namespace

PlainSurface plainPlane(double sizeU, double sizeV, double spacing, bool centred, std::uint32_t maxMB) {
    if (sizeU < 0.0 || sizeV < 0.0 || spacing < 0.0) {
        return {};
    }
    std::uint32_t const nU = steps(sizeU / spacing);
    std::uint32_t const nV = steps(sizeV / spacing);
    if (isTooLarge(nU + 2.0, nV + 2.0, maxMB)) {
        return {};
    }
    double uMin = 0.0;
    double vMin = 0.0;
    double uMax = nU * spacing;
    double vMax = nV * spacing;
    if (centred) {
        uMax = nU * 0.5 * spacing;
        uMin = -uMax;
        vMax = nV * 0.5 * spacing;
        vMin = -vMax;
    }
    PlainSurface surface = blank(nU, nV);
    for (std::uint32_t v = 0; v <= nV; ++v) {
        for (std::uint32_t u = 0; u <= nU; ++u) {
            set(surface, u, v, rounded(u * (uMax - uMin) / nU + uMin, v * (vMax - vMin) / nV + vMin, 0.0));
        }
    }
    surface.areas = {spacing * spacing, spacing * spacing, spacing * spacing};
    return surface;
}

PlainSurface plainQuadPlane(std::uint32_t extentU, std::uint32_t extentV, double spacing,
                            PlainPoint const& origin, PlainVector const& stepU, PlainVector const& stepV,
                            std::function<bool(int u, int v)> const& isQuad) {
    PlainSurface surface = blank(extentU, extentV);
    for (std::uint32_t v = 0; v <= extentV; ++v) {
        for (std::uint32_t u = 0; u <= extentU; ++u) {
            PlainVector const way = plainSum(plainScaled(u, stepU), plainScaled(v, stepV));
            set(surface, u, v, plainMoved(origin, plainScaled(spacing, way)));
        }
    }
    for (unsigned char& flagByte : surface.grid.flags) {
        flagByte = 0;
    }
    for (std::uint32_t v = 0; v < extentV; ++v) {
        for (std::uint32_t u = 0; u < extentU; ++u) {
            if (isQuad(static_cast<int>(u), static_cast<int>(v))) {
                std::size_t const low = std::size_t{v} * (std::size_t{extentU} + 1) + u;
                std::size_t const high = low + extentU + 1;
                surface.grid.flags[low] = validFlag;
                surface.grid.flags[low + 1] = validFlag;
                surface.grid.flags[high] = validFlag;
                surface.grid.flags[high + 1] = validFlag;
            }
        }
    }
    surface.areas = surface.grid.getAreas();
    return surface;
}

PlainSurface plainCylinderArc(double radius, double arcAngle, double length, double spacing,
                              std::uint32_t maxMB) {
    double const dTheta = 2.0 * std::asin(0.5 * spacing / radius);
    std::uint32_t const nA = steps(arcAngle / dTheta);
    std::uint32_t const nL = steps(length / spacing);
    if (isTooLarge(nA + 1.0, nL + 1.0, maxMB)) {
        return {};
    }
    PlainSurface surface = blank(nL, nA);
    for (std::uint32_t r = 0; r <= nA; ++r) {
        double const theta = r * dTheta - 0.5 * arcAngle;
        for (std::uint32_t u = 0; u <= nL; ++u) {
            double const half = std::floor(nL / 2.0);
            set(surface, u, nA - r,
                rounded(radius * std::cos(theta), radius * std::sin(theta), ((u - half) / nL) * length));
        }
    }
    surface.areas = {spacing * spacing, spacing * spacing, spacing * spacing};
    return surface;
}

PlainSurface plainParaboloid(PlainPoint const& apex, PlainVector const& axisU, PlainVector const& axisV,
                             double curvatureU, double curvatureV, double height, double spacing,
                             std::uint32_t maxMB) {
    double const sizeU = (4.0 / 3.0) * 2.0 * std::sqrt(2.0 * height / curvatureU);
    double const sizeV = (4.0 / 3.0) * 2.0 * std::sqrt(2.0 * height / curvatureV);
    std::uint32_t const nU = steps(sizeU / spacing);
    std::uint32_t const nV = steps(sizeV / spacing);
    if (isTooLarge(nU + 1.0, nV + 1.0, maxMB)) {
        return {};
    }
    PlainSurface surface = blank(nU, nV);
    PlainVector const normal = plainCross(axisU, axisV);
    PlainPoint const eye = plainMoved(apex, plainScaled(4.0 * height, normal));
    for (std::uint32_t j = 0; j < nV; ++j) {
        for (std::uint32_t i = 0; i < nU; ++i) {
            double const hU = std::floor(nU / 2.0);
            double const hV = std::floor(nV / 2.0);
            double const offU = ((i - hU) * 0.5 * sizeU) / hU;
            double const offV = ((j - hV) * 0.5 * sizeV) / hV;
            PlainPoint const flat =
                plainMoved(plainMoved(apex, plainScaled(offU, axisU)), plainScaled(offV, axisV));
            double const a = plainDot(plainDifference(flat, apex), axisU);
            double const b = plainDot(plainDifference(flat, apex), axisV);
            double const A = -0.5 * (curvatureU * (a * a) + curvatureV * (b * b));
            double const B = -4.0 * height;
            double const C = 4.0 * height;
            if (B * B - 4.0 * A * C < 0.0) {
                continue;
            }
            double const s = std::sqrt(B * B - 4.0 * A * C);
            double const t1 = 0.5 * (s - B) / A;
            double const t2 = 0.5 * (-B - s) / A;
            double t = 0.0;
            if (t1 >= 0.0 && t1 <= 1.0) {
                t = t1;
            } else if (t2 >= 0.0 && t2 <= 1.0) {
                t = t2;
            } else {
                continue;
            }
            PlainPoint const place = plainMoved(eye, plainScaled(t, plainDifference(flat, eye)));
            if (plainDot(plainDifference(place, apex), normal) <= height) {
                set(surface, i, j, place);
            }
        }
    }
    surface.areas = surface.grid.getAreas();
    return surface;
}

PlainSurface plainSphereArc(double radius, double halfAngle, double spacing, std::uint32_t maxMB) {
    PlainPoint const C = rounded(0.0, 0.0, radius);
    PlainPoint const Q = rounded(0.0, 0.0, 2.0 * radius);
    PlainPoint const E = plainMoved(C, plainScaled(radius, {std::sin(halfAngle), 0.0, -std::cos(halfAngle)}));
    PlainVector const ray = plainDifference(E, Q);
    PlainPoint const X = plainMoved(Q, plainScaled(-static_cast<double>(Q.z) / ray.z, ray));
    std::uint32_t const n = steps(2.0 * plainDifference(X, Q).x / spacing);
    if (isTooLarge(n + 1.0, n + 1.0, maxMB)) {
        return {};
    }
    PlainSurface surface = blank(n, n);
    for (std::uint32_t v = 0; v <= n; ++v) {
        for (std::uint32_t u = 0; u <= n; ++u) {
            double const h = std::floor(n / 2.0);
            PlainPoint const P = rounded(spacing * (u - h), spacing * (v - h), 0.0);
            PlainVector const d = plainDifference(P, Q);
            PlainVector const fromCentre = plainDifference(Q, C);
            double const a = plainDot(d, d);
            double const b = 2.0 * plainDot(d, fromCentre);
            double const c = plainDot(fromCentre, fromCentre) - radius * radius;
            double t = 0.0;
            if (!(b * b - 4.0 * a * c < 0.0)) {
                double const s = std::sqrt(b * b - 4.0 * a * c);
                double const t1 = 0.5 * (s - b) / a;
                double const t2 = 0.5 * (-s - b) / a;
                t = t1 > t2 ? t1 : t2;
            }
            PlainPoint const S = plainMoved(Q, plainScaled(t, d));
            if (plainDifference(C, S).z >= radius * std::cos(halfAngle)) {
                PlainVector const R = plainDifference(S, C);
                set(surface, u, v, rounded(R.x, R.y, -R.z));
            }
        }
    }
    surface.areas = surface.grid.getAreas();
    return surface;
}

PlainSurface plainHeightField() {
    PlainSurface surface = blank(128, 128);
    for (std::uint32_t v = 0; v <= 128; ++v) {
        for (std::uint32_t u = 0; u <= 128; ++u) {
            double const s = u * 2.0 * (1.0 / 128.0) - 1.0;
            double const w = v * 2.0 * (1.0 / 128.0) - 1.0;
            double const z = 500.0 * std::cos(4.0 * s * 6.283185307179586 * 0.5) * 0.5 * 0.5 / 3.0;
            set(surface, u, v, rounded(500.0 * s, 500.0 * w, z));
        }
    }
    surface.areas = surface.grid.getAreas();
    return surface;
}

} // namespace QELT::Testing
