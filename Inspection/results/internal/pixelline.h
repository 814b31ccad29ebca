#pragma once

#include "Inspection/results/result.h"

#include <cmath>
#include <cstddef>

namespace QELT::Inspection {

/// Pixels in a row or a column.
struct PixelLine {
    std::size_t first;
    std::size_t stride;
    std::size_t count;

    std::size_t at(std::size_t i) const { return first + i * stride; }
};

inline PixelLine rowOfPixels(Result const& result, std::size_t v) {
    return {v * result.width, 1, result.width};
}

inline PixelLine columnOfPixels(Result const& result, std::size_t u) {
    return {u, result.width, result.height};
}

/// Between the centres of two pixels, as `Point::dSqr` has it; 0 where one has no surface.
inline double distanceBetween(Result const& result, std::size_t a, std::size_t b) {
    auto const centreOf = [&](std::size_t pixel) {
        float const* const place = &result.points[3 * pixel];
        return Point(place[0], place[1], place[2]);
    };
    double const distance = std::sqrt(centreOf(a).dSqr(centreOf(b)));
    return std::isfinite(distance) ? distance : 0.0;
}

} // namespace QELT::Inspection
