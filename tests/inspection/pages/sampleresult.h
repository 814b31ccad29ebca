#pragma once

#include "Inspection/results/result.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

/// A measured C-scan of a curved sheet, made by formula.
namespace QELT::Inspection::Testing {

constexpr double sheetRadius = 100.0;

constexpr double noValue = std::numeric_limits<double>::quiet_NaN();

/// Part of a cylinder around z, bulged a little, with pixels of about `pixel`; u goes around, v along z.
inline Patch sheetPatch(std::size_t width, std::size_t height, double pixel) {
    Patch patch;
    patch.name = "sheet.quads";
    patch.width = width;
    patch.height = height;
    for (std::size_t v = 0; v <= height; ++v) {
        for (std::size_t u = 0; u <= width; ++u) {
            double const along = pixel * (static_cast<double>(v) - 0.5 * static_cast<double>(height));
            double const angle = pixel * static_cast<double>(u) / sheetRadius;
            double const radius = sheetRadius + 2.0 * std::cos(0.02 * along);
            patch.nodes.push_back(static_cast<float>(radius * std::sin(angle)));
            patch.nodes.push_back(static_cast<float>(-radius * std::cos(angle)));
            patch.nodes.push_back(static_cast<float>(along));
        }
    }
    return patch;
}

inline std::vector<double> minus(Point const& a, Point const& b) {
    return {a.getX() - b.getX(), a.getY() - b.getY(), a.getZ() - b.getZ()};
}

/// Sets centre, normal and area of a pixel from the nodes of the only patch.
inline void setShape(Result& result, std::size_t u, std::size_t v) {
    Patch const& patch = result.patches.front();
    std::size_t const pixel = result.indexOf(u, v);
    auto const a = minus(patch.nodeAt(u + 1, v + 1), patch.nodeAt(u, v));
    auto const b = minus(patch.nodeAt(u, v + 1), patch.nodeAt(u + 1, v));
    std::vector<double> const normal{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                                     a[0] * b[1] - a[1] * b[0]};
    double const length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    Point const low = patch.nodeAt(u, v);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.normals[3 * pixel + axis] = static_cast<float>(normal[axis] / length);
        double const start = axis == 0 ? low.getX() : axis == 1 ? low.getY() : low.getZ();
        result.points[3 * pixel + axis] = static_cast<float>(start + 0.5 * a[axis]);
    }
    result.areas[pixel] = 0.5 * length;
}

inline ValueMap valueMap(std::string const& quantity, Statistic statistic, std::string const& unit,
                         std::size_t size) {
    ValueMap map;
    map.quantity = quantity;
    map.name = quantity + ":" + nameOf(statistic);
    map.statistic = statistic;
    map.unit = unit;
    map.values.assign(size, noValue);
    return map;
}

/// A sheet on which every pixel is an `Echo` without values.
inline Result sheet(std::size_t width, std::size_t height, double pixel) {
    Result result;
    result.width = width;
    result.height = height;
    result.patches.push_back(sheetPatch(width, height, pixel));
    result.patch.assign(result.size(), 0);
    result.states.assign(result.size(), PixelState::Echo);
    result.counts.assign(result.size(), 1);
    result.refused.assign(result.size(), 0);
    result.areas.assign(result.size(), 0.0);
    result.points.assign(3 * result.size(), 0.0F);
    result.normals.assign(3 * result.size(), 0.0F);
    result.filledFrom.assign(result.size(), Result::none);
    result.unit = "mm";
    for (std::size_t v = 0; v < height; ++v) {
        for (std::size_t u = 0; u < width; ++u) {
            setShape(result, u, v);
        }
    }
    return result;
}

/// Noise that is smooth over a few pixels: waves of short lengths in many directions.
inline double smoothNoise(double u, double v) {
    double sum = 0.0;
    for (int wave = 1; wave <= 5; ++wave) {
        double const turn = 2.4 * wave;
        sum += std::sin((0.11 + 0.05 * wave) * (u * std::cos(turn) + v * std::sin(turn)) + wave);
    }
    return sum / 5.0;
}

/// Gives each pixel of the sheet an amplitude and a time, with smooth noise.
inline void addSmoothValues(Result& result) {
    ValueMap amplitude = valueMap("amplitude", Statistic::Max, "%FSH", result.size());
    ValueMap time = valueMap("tof", Statistic::Min, "us", result.size());
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        auto const u = static_cast<double>(pixel % result.width);
        auto const v = static_cast<double>(pixel / result.width);
        amplitude.values[pixel] = 55.0 + 12.0 * std::sin(0.004 * u) + 3.0 * smoothNoise(u, v);
        time.values[pixel] = 3.4 + 0.001 * u + 0.02 * smoothNoise(v, u);
    }
    result.values = {amplitude, time};
}

inline bool isInDisc(std::size_t u, std::size_t v, double centreU, double centreV, double radius) {
    return std::hypot(static_cast<double>(u) + 0.5 - centreU, static_cast<double>(v) + 0.5 - centreV) <
           radius;
}

inline void setPixelState(Result& result, std::size_t pixel, PixelState state) {
    result.states[pixel] = state;
    if (state == PixelState::NoSurface) {
        result.areas[pixel] = 0.0;
    }
    result.counts[pixel] = result.isReached(pixel) ? 1 : 0;
    result.refused[pixel] = state == PixelState::Refused ? 1 : 0;
    for (ValueMap& map : result.values) {
        map.values[pixel] = noValue;
    }
}

/// The nodes that no pixel with surface has.
inline void clearUnusedNodes(Result& result) {
    Patch& patch = result.patches.front();
    std::vector<bool> isUsed((patch.width + 1) * (patch.height + 1), false);
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            std::size_t const low = pixel / patch.width * (patch.width + 1) + pixel % patch.width;
            for (std::size_t const node : {low, low + 1, low + patch.width + 1, low + patch.width + 2}) {
                isUsed[node] = true;
            }
        }
    }
    for (std::size_t i = 0; i < patch.nodes.size(); ++i) {
        patch.nodes[i] = isUsed[i / 3] ? patch.nodes[i] : std::numeric_limits<float>::quiet_NaN();
    }
}

/// A sheet of 240 by 160 pixels of half a millimetre with every state: a hole and a cut corner, flaws that
/// lower the echo, one without an echo, a patch that no shot met and is filled in part, saturated and refused
/// pixels.
inline Result measuredSheet() {
    Result result = sheet(240, 160, 0.5);
    addSmoothValues(result);
    result.values[0].ceiling = 100.0;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        std::size_t const u = pixel % result.width;
        std::size_t const v = pixel / result.width;
        if (isInDisc(u, v, 170, 110, 18) || u + v < 40) {
            setPixelState(result, pixel, PixelState::NoSurface);
        } else if (isInDisc(u, v, 60, 50, 8)) {
            setPixelState(result, pixel, PixelState::NoEcho);
        } else if (u >= 100 && u < 130 && v >= 20 && v < 30) {
            setPixelState(result, pixel, PixelState::NotReached);
            result.filledFrom[pixel] = u < 104 ? static_cast<std::uint32_t>(pixel - (u - 99)) : Result::none;
        } else if (u >= 200 && u < 225 && v >= 30 && v < 36) {
            setPixelState(result, pixel, PixelState::Refused);
        } else if (isInDisc(u, v, 120, 110, 6)) {
            result.states[pixel] = PixelState::Saturated;
            result.values[0].values[pixel] = 100.0;
        } else if (isInDisc(u, v, 60, 120, 10) || isInDisc(u, v, 140, 60, 7)) {
            result.values[0].values[pixel] -= 35.0;
            result.values[1].values[pixel] -= 0.9;
        }
    }
    clearUnusedNodes(result);
    result.record = R"({"command":"scan","settings":{"gate":"tof:2.1..8.4"}})";
    return result;
}

} // namespace QELT::Inspection::Testing
