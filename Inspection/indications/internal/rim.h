#pragma once

#include "Inspection/indications/internal/regions.h"
#include "Inspection/indications/internal/resultsurface.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// A piece of a rim, on one pixel, with the inside on its left; in quads.
struct RimPiece {
    std::uint32_t pixel = 0;
    FlatPoint from;
    FlatPoint to;
};

/// What lies within the interpolated rim of a region.
struct Extent {
    double area = 0.0;           ///< on the surface
    Vector moment;               ///< the integral of the place over the area, in the space of the grids
    std::vector<RimPiece> rim{}; ///< pieces of a length, in no order
};

Extent extentOf(Result const& result, ResultSurface const& surface, std::vector<double> const& loudness,
                Regions const& regions, std::uint32_t number);

/// Closed lines of the pieces, in quads.
std::vector<std::vector<FlatPoint>> chained(std::vector<RimPiece> const& pieces);

} // namespace QELT::Inspection
