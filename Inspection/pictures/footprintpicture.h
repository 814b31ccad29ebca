#pragma once

#include "Inspection/pictures/image.h"
#include "Inspection/scanning/footprint.h"

#include <string>

namespace QELT::Inspection {

/// The footprint drawn over the distances of the grid's quads from the beam's origin.
Image footprintPictureOf(Grid const& grid, SpreadingBeam const& beam, Footprint const& footprint,
                         std::string const& unit);

} // namespace QELT::Inspection
