#pragma once

#include "Inspection/frames/frame.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace QELT::Inspection {

/// A place in one frame and the same place in the other.
struct FramePair {
    Triple source{};
    Triple target{};
    std::uint64_t line = 0; ///< of the table that tells it
};

constexpr std::size_t minFramePairs = 3;
constexpr std::size_t maxFramePairs = 1000;

/// Reads a table with the columns sx, sy, sz, tx, ty and tz, in any order; others are passed over. Fails if
/// one of them is missing, or a line does not hold them.
QELT_INSPECTION_EXPORT std::vector<FramePair> readFramePairs(std::filesystem::path const& file);

/// The rigid motion that takes sources to their targets with the least sum of squared distances, and what
/// speaks for and against it.
struct FrameFit {
    Frame frame;
    std::vector<double> residuals; ///< a distance each pair
    double rms = 0.0;              ///< root of their mean square
    std::size_t worst = 0;         ///< the pair with the largest residual
    double scale = 1.0;            ///< how many times as far apart the targets are, as well as that fits
    double width = 0.0;            ///< of the sources off their best line, root of the mean square
    double length = 0.0;           ///< the same along the line
    bool isMirrored = false;       ///< a reflection would fit, and no rotation does

    /// So nearly on a line that the turn about it is hardly known.
    QELT_INSPECTION_EXPORT bool isNearLine() const;

    /// The pairs whose residual is more than three times the root mean square.
    QELT_INSPECTION_EXPORT std::vector<std::size_t> getOutliers() const;
};

/// Of three pairs or more; a `std::runtime_error` if there are fewer, or if the sources or the targets lie on
/// a line, which leaves the motion open.
QELT_INSPECTION_EXPORT FrameFit fitFrame(std::vector<FramePair> const& pairs);

} // namespace QELT::Inspection
