#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace QELT::Inspection {

/// A connected piece of surface that no shot reached where its neighbourhood was.
struct UnreachedPatch {
    double area = 0.0; ///< true, in the square of the part's unit
    double gap = 0.0;  ///< the longest within it
    std::size_t pixelCount = 0;
    std::size_t u = 0; ///< the pixel in it that lies nearest to its middle
    std::size_t v = 0;
    std::array<double, 3> place{}; ///< of that pixel's centre, in the part's own place
};

/// How much of the surface was reached, in true areas of quads.
struct Coverage {
    double surfaceArea = 0.0;                    ///< all of it, in the square of the part's unit
    std::array<double, pixelStateCount> areas{}; ///< by the pixels' states
    std::array<std::size_t, pixelStateCount> pixels{};
    double reachedArea = 0.0; ///< with a shot that was not refused
    double typicalGap = 0.0;  ///< the median of the pixels' gaps over the surface: 0 where most were reached
    double longestGap = 0.0;  ///< in the part's unit
    std::size_t gapU = 0;     ///< a pixel in the middle of the longest gap
    std::size_t gapV = 0;
    std::array<double, 3> gapPlace{};
    double patchGap = 0.0;               ///< from which gap on a pixel belongs to a patch that is told
    std::vector<UnreachedPatch> patches; ///< the largest first, at most `mostPatches`
    std::size_t patchCount = 0;          ///< of all

    /// 0 to 1 of the surface, by area.
    double reachedShare() const { return surfaceArea > 0.0 ? reachedArea / surfaceArea : 0.0; }
};

constexpr std::size_t mostPatches = 10;

/// The gap at a pixel that was not reached is the shorter of two ways along the surface, along u and along v,
/// from the last pixel reached to the next, centre to centre, or to the rim, and no longer than what fits
/// between the pixels reached around it. A raster that is coarser than the pixels leaves gaps everywhere:
/// what is told as a patch are gaps of more than one and a half times the typical one, or than `requiredGap`
/// if that is given.
QELT_INSPECTION_EXPORT Coverage coverageOf(Result const& result, std::optional<double> requiredGap = {});

/// The share of the measured pixels beside which surface was not: small where whole patches are missing, and
/// near 1 where a raster is coarser than the pixels, so that each of its lines stands alone. Pixels that show
/// others' values count as measured if `areFilledTaken`. 0 if nothing was measured.
QELT_INSPECTION_EXPORT double tornShare(Result const& result, bool areFilledTaken);

/// From which share on what is found on a result falls to pieces.
constexpr double tornLimit = 0.25;

/// Lets pixels that no shot met show the values of the nearest that one did, along the surface within
/// `distance`. They stay what they are.
QELT_INSPECTION_EXPORT void fill(Result& result, double distance);

} // namespace QELT::Inspection
