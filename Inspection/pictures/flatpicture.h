#pragma once

#include "Inspection/names.h"
#include "Inspection/pictures/image.h"

#include <string>

namespace QELT::Inspection {

/// The picture of a flattened mesh: its triangles lightly, those that the map turned over filled in, and its
/// boundary loops, the outline darker than the holes.
Image flatPictureOf(Mesh const& mesh, std::string const& title);

} // namespace QELT::Inspection
