#pragma once

#include "apps/cscan/names.h"
#include "apps/cscan/pictures/image.h"

#include <string>

namespace cscan {

/// The picture of a flattened mesh: its triangles lightly, those that the map turned over filled in, and its
/// boundary loops, the outline darker than the holes.
Image flatPictureOf(Mesh const& mesh, std::string const& title);

} // namespace cscan
