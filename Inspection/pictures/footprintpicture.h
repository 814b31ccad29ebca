#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/scanning/footprint.h"

#include <filesystem>
#include <string>

namespace QELT::Inspection {

/// The footprint drawn over the distances of the grid's quads from the beam's origin.
QELT_INSPECTION_EXPORT Image footprintPictureOf(Grid const& grid, SpreadingBeam const& beam,
                                                Footprint const& footprint, std::string const& unit);

/// Which beam to draw on which grid.
struct FootprintOptions {
    std::filesystem::path grid; ///< a .quads file
    SpreadingBeam beam;
    std::filesystem::path image; ///< picture to write, a PNG file
    std::string unit;            ///< the part's unit of length; if empty, what the inputs' records name
    std::optional<std::filesystem::path> frame = {}; ///< takes the beam to the part's coordinates
};

/// Finds the footprint on a grid's file and draws it. Fails if a file cannot be read or written, or if the
/// beam has no footprint there.
QELT_INSPECTION_EXPORT Footprint drawFootprint(FootprintOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
