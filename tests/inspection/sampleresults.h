#pragma once

#include "Inspection/results/result.h"

#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

/// Results on surfaces given by formulas.
namespace QELT::Inspection::Testing {

/// The surface's point over a place in quads.
using SurfaceFormula = std::function<Vector(double u, double v)>;

inline void fillPatch(Patch& patch, SurfaceFormula const& formula) {
    for (std::size_t v = 0; v <= patch.height; ++v) {
        for (std::size_t u = 0; u <= patch.width; ++u) {
            Vector const point = formula(static_cast<double>(u), static_cast<double>(v));
            for (double const c : {point.getdX(), point.getdY(), point.getdZ()}) {
                patch.nodes.push_back(static_cast<float>(c));
            }
        }
    }
}

inline void setVector(std::vector<float>& all, std::size_t pixel, Vector const& vector) {
    all[3 * pixel] = static_cast<float>(vector.getdX());
    all[3 * pixel + 1] = static_cast<float>(vector.getdY());
    all[3 * pixel + 2] = static_cast<float>(vector.getdZ());
}

inline Vector nodeOf(Patch const& patch, std::size_t u, std::size_t v) {
    float const* const c = &patch.nodes[3 * (v * (patch.width + 1) + u)];
    return Vector(c[0], c[1], c[2]);
}

/// Centre, normal and area of a quad with all its nodes.
inline void setQuad(Result& result, Patch const& patch, std::size_t u, std::size_t v) {
    Vector const a = nodeOf(patch, u, v);
    Vector const b = nodeOf(patch, u + 1, v);
    Vector const c = nodeOf(patch, u + 1, v + 1);
    Vector const d = nodeOf(patch, u, v + 1);
    Vector const middle = (a + b + c + d) / 4.0;
    Vector const normal = (c - a).cross(d - b);
    if (!middle.getIsReal()) {
        return;
    }
    std::size_t const pixel = result.indexOf(patch.left + u, patch.bottom + v);
    result.states[pixel] = PixelState::NotReached;
    result.areas[pixel] =
        0.5 * (std::sqrt((b - a).cross(c - a).lSqr()) + std::sqrt((c - a).cross(d - a).lSqr()));
    setVector(result.points, pixel, middle);
    setVector(result.normals, pixel, normal / std::sqrt(normal.lSqr()));
}

inline Result emptyResult(std::size_t width, std::size_t height) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    Result result;
    result.width = width;
    result.height = height;
    result.patch.assign(result.size(), 0);
    result.states.assign(result.size(), PixelState::NoSurface);
    result.counts.assign(result.size(), 0);
    result.refused.assign(result.size(), 0);
    result.areas.assign(result.size(), 0.0);
    result.points.assign(3 * result.size(), nan);
    result.normals.assign(3 * result.size(), nan);
    result.filledFrom.assign(result.size(), Result::none);
    result.unit = "mm";
    return result;
}

/// Puts a grid into the scan plane, over what lies there.
inline void addPatch(Result& result, std::size_t left, std::size_t bottom, std::size_t width,
                     std::size_t height, SurfaceFormula const& formula) {
    Patch patch{
        "grid" + std::to_string(result.patches.size() + 1) + ".quads", left, bottom, width, height, {}};
    fillPatch(patch, formula);
    for (std::size_t v = 0; v < height; ++v) {
        for (std::size_t u = 0; u < width; ++u) {
            result.patch[result.indexOf(left + u, bottom + v)] =
                static_cast<std::uint16_t>(result.patches.size());
            setQuad(result, patch, u, v);
        }
    }
    result.patches.push_back(patch);
}

/// One grid, not reached anywhere, without values.
inline Result surfaceOn(std::size_t width, std::size_t height, SurfaceFormula const& formula) {
    Result result = emptyResult(width, height);
    addPatch(result, 0, 0, width, height, formula);
    return result;
}

/// The same with a map "amplitude:max" in %FSH.
inline Result resultOn(std::size_t width, std::size_t height, SurfaceFormula const& formula) {
    Result result = surfaceOn(width, height, formula);
    ValueMap map;
    map.name = "amplitude:max";
    map.quantity = "amplitude";
    map.unit = "%FSH";
    map.ceiling = 100.0;
    map.values.assign(result.size(), std::numeric_limits<double>::quiet_NaN());
    result.values.push_back(map);
    return result;
}

/// A flat part of square pixels, seen from above.
inline SurfaceFormula flat(double side) {
    return [side](double u, double v) { return Vector(side * u, side * v, 0.0); };
}

/// A shot on the pixel, and what came of it.
inline void setEcho(Result& result, std::size_t pixel, double value) {
    result.states[pixel] = PixelState::Echo;
    result.counts[pixel] = 1;
    result.values[0].values[pixel] = value;
}

inline void setState(Result& result, std::size_t pixel, PixelState state) {
    result.states[pixel] = state;
    result.counts[pixel] = result.isReached(pixel) ? 1 : 0;
    result.values[0].values[pixel] = std::numeric_limits<double>::quiet_NaN();
}

/// An echo on every pixel, of what `amplitude` gives for its centre.
inline void measure(Result& result, std::function<double(Vector const&)> const& amplitude) {
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            float const* const c = &result.points[3 * pixel];
            setEcho(result, pixel, amplitude(Vector(c[0], c[1], c[2])));
        }
    }
}

} // namespace QELT::Inspection::Testing
