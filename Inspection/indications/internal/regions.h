#pragma once

#include "Inspection/indications/internal/resultsurface.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace QELT::Inspection {

/// Pixels that hang together and are at least as loud as a level.
struct Region {
    double level = 0.0;
    std::uint32_t peak = 0;            ///< the loudest, the first of several
    std::vector<std::uint32_t> pixels; ///< ascending
};

/// Regions of a picture, none of which touches another.
struct Regions {
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    std::vector<Region> list;
    std::vector<std::uint32_t> labels; ///< for each pixel the number of its region in the list, or `none`
    std::size_t flanks = 0;            ///< maxima beside all regions that did not make one of their own
};

/// Those of one level.
Regions regionsAbove(ResultSurface const& surface, std::vector<double> const& loudness, double level);

/// Those of the maxima from which nothing louder, or as loud, can be reached without going below the level
/// that `levelOf` gives for their peak, down to that level. Maxima below `minPeak` are none.
Regions regionsOfPeaks(ResultSurface const& surface, std::vector<double> const& loudness,
                       std::function<double(double)> const& levelOf, double minPeak);

} // namespace QELT::Inspection
