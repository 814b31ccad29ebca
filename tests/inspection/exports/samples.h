#pragma once

#include "tests/inspection/sampleresults.h"

namespace QELT::Inspection::Testing {

/// A result with a hole and a pixel of every state, whose every number is a short binary fraction. What reads
/// the exports knows these formulas: the node (u, v) is at (2 u, 3 v, u v / 8) in the part, which was moved;
/// node (3, 2) is not there, and with it four quads; the amplitude is 10 u + v, the depth u / 4.
inline Result exportSample() {
    Vector const move(1000.0, -50.0, 7.0);
    Result result = resultOn(7, 5, [&](double u, double v) {
        double const nan = std::numeric_limits<double>::quiet_NaN();
        return u == 3.0 && v == 2.0 ? Vector(nan, nan, nan) : Vector(2.0 * u, 3.0 * v, u * v / 8.0) + move;
    });
    result.move = {move.getdX(), move.getdY(), move.getdZ()};
    ValueMap depth = result.values[0];
    depth.name = "depth:mean";
    depth.quantity = "depth";
    depth.statistic = Statistic::Mean;
    depth.unit = "mm";
    depth.ceiling.reset();
    result.values.push_back(depth);
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            auto const u = static_cast<double>(pixel % result.width);
            setEcho(result, pixel, 10.0 * u + static_cast<double>(pixel / result.width));
            result.values[1].values[pixel] = u / 4.0;
        }
    }
    std::size_t pixel = 0;
    for (PixelState const state : {PixelState::NoEcho, PixelState::Refused, PixelState::NotReached}) {
        setState(result, pixel, state);
        result.values[1].values[pixel++] = std::numeric_limits<double>::quiet_NaN();
    }
    result.refused[1] = 3;
    result.states[3] = PixelState::Saturated;
    return result;
}

/// Two grids side by side, three quads by two each, the second a hundred further along x; the amplitude is u.
inline Result exportSampleOfTwo() {
    Result result = emptyResult(6, 2);
    result.values = resultOn(6, 2, flat(1.0)).values;
    addPatch(result, 0, 0, 3, 2, flat(1.0));
    addPatch(result, 3, 0, 3, 2, [](double u, double v) { return Vector(100.0 + u, v, 0.0); });
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        setEcho(result, pixel, static_cast<double>(pixel % result.width));
    }
    return result;
}

} // namespace QELT::Inspection::Testing
