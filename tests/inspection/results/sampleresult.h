#pragma once

#include "Inspection/results/result.h"

#include <cmath>
#include <functional>
#include <limits>

/// Results on surfaces that are known in closed form.
namespace SampleResult {

using QELT::Inspection::Patch;
using QELT::Inspection::PixelState;
using QELT::Inspection::Point;
using QELT::Inspection::Result;
using QELT::Inspection::Vector;

/// One patch with the nodes of `surface`, which gets their indices; a pixel has surface where its four nodes
/// are numbers. Nothing was reached.
inline Result on(std::size_t width, std::size_t height,
                 std::function<Point(std::size_t u, std::size_t v)> const& surface) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    Result result;
    result.width = width;
    result.height = height;
    Patch patch;
    patch.name = "sample.quads";
    patch.width = width;
    patch.height = height;
    for (std::size_t v = 0; v <= height; ++v) {
        for (std::size_t u = 0; u <= width; ++u) {
            Point const node = surface(u, v);
            patch.nodes.insert(patch.nodes.end(), {node.getX(), node.getY(), node.getZ()});
        }
    }
    result.patches.push_back(patch);
    result.patch.assign(result.size(), 0);
    result.states.assign(result.size(), PixelState::NoSurface);
    result.counts.assign(result.size(), 0);
    result.refused.assign(result.size(), 0);
    result.areas.assign(result.size(), 0.0);
    result.points.assign(3 * result.size(), nan);
    result.normals.assign(3 * result.size(), nan);
    result.filledFrom.assign(result.size(), Result::none);
    for (std::size_t v = 0; v < height; ++v) {
        for (std::size_t u = 0; u < width; ++u) {
            Point const low = patch.nodeAt(u, v);
            Vector const along = patch.nodeAt(u + 1, v) - low;
            Vector const across = patch.nodeAt(u + 1, v + 1) - low;
            Vector const up = patch.nodeAt(u, v + 1) - low;
            Vector const lower = along.cross(across);
            Vector const upper = across.cross(up);
            double const area = 0.5 * (std::sqrt(lower.lSqr()) + std::sqrt(upper.lSqr()));
            if (!std::isfinite(area)) {
                continue;
            }
            std::size_t const pixel = result.indexOf(u, v);
            Vector normal = lower + upper;
            normal = normal / std::sqrt(normal.lSqr());
            Vector const centre = (along + across + up) / 4.0;
            result.states[pixel] = PixelState::NotReached;
            result.areas[pixel] = area;
            result.points[3 * pixel] = (low + centre).getX();
            result.points[3 * pixel + 1] = (low + centre).getY();
            result.points[3 * pixel + 2] = (low + centre).getZ();
            result.normals[3 * pixel] = static_cast<float>(normal.getdX());
            result.normals[3 * pixel + 1] = static_cast<float>(normal.getdY());
            result.normals[3 * pixel + 2] = static_cast<float>(normal.getdZ());
        }
    }
    return result;
}

/// Squares of side `step` in the plane z = 0.
inline Result plane(std::size_t width, std::size_t height, double step = 1.0) {
    return on(width, height, [step](std::size_t u, std::size_t v) {
        return Point(static_cast<float>(static_cast<double>(u) * step),
                     static_cast<float>(static_cast<double>(v) * step), 0.0F);
    });
}

} // namespace SampleResult
