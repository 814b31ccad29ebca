#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/beam.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// A raster of parallel beams over a part.
struct Raster {
    double step = 1.0;     ///< spacing of the beams in both directions, above 0
    double standoff = 0.0; ///< from the plane of the probe to the near side of the part's bounding box
    Vector direction;      ///< of the beams; any length but 0
};

/// More beams than this are taken for a mistake in the step.
constexpr double largestRaster = 50e6;

/// Beams that follow each other among all, which are counted from 0.
struct BeamRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0; ///< fewer where the beams end before
};

/// How many beams the raster has over the box. Fails as `rasterBeams` does.
QELT_INSPECTION_EXPORT std::uint64_t rasterSize(Raster const& raster, Point const& low, Point const& high);

/// The raster's beams over the box from `low` to `high`, as it is seen along the direction. The rows are run
/// in turns to and fro, so that each beam is a neighbour of the one before it. The raster is centred on the
/// box. Fails if it would hold more than `largestRaster` beams.
QELT_INSPECTION_EXPORT std::vector<Beam> rasterBeams(Raster const& raster, Point const& low,
                                                     Point const& high);

/// Those of a range alone, with the same bits, in the memory that they take.
QELT_INSPECTION_EXPORT std::vector<Beam> rasterBeams(Raster const& raster, Point const& low,
                                                     Point const& high, BeamRange const& range);

} // namespace QELT::Inspection
