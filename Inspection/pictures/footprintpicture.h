#pragma once

#include "apps/cscan/pictures/image.h"
#include "apps/cscan/scanning/footprint.h"

#include <string>

namespace cscan {

/// The footprint drawn over the distances of the grid's quads from the beam's origin.
Image footprintPictureOf(Grid const& grid, SpreadingBeam const& beam, Footprint const& footprint,
                         std::string const& unit);

} // namespace cscan
