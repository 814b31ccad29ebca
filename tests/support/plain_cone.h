#pragma once

#include "tests/support/plain_grid.h"

#include <array>
#include <cstdint>
#include <optional>

namespace QELT::Testing {

/// A spreading beam: the axis is `axisA` x `axisB`, rim rays start `apertureRadius` off `origin`.
struct PlainCone {
    PlainPoint origin;
    PlainVector axisA;
    PlainVector axisB;
    double cotangent = 0.0;
    double apertureRadius = 0.0;
};

/// Where the axis and the four rim rays cross the plane of a quad: centre, A1, B1, A2, B2.
using PlainConeCrossings = std::array<PlainPoint, 5>;

struct PlainFootprint {
    PlainIndex centre;
    PlainIndex axisA1;
    PlainIndex axisB1;
    PlainIndex axisA2;
    PlainIndex axisB2;
};

/// Without its fraction; beyond the range its end, NaN 0.
std::int32_t plainTruncated(double value);

/// Nothing if the quad does not exist.
std::optional<PlainConeCrossings> plainConeCrossings(PlainGrid const& grid, PlainCone const& cone,
                                                     PlainIndex const& quad);

/// The crossings in steps of 1 / `unity` quads.
std::optional<PlainFootprint> plainFootprint(PlainGrid const& grid, PlainCone const& cone,
                                             PlainIndex const& quad, int unity);

} // namespace QELT::Testing
