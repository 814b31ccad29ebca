#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/pictures/image.h"

#include <string>

namespace QELT::Inspection {

/// The picture of a flattened mesh: its triangles lightly, those that the map turned over filled in, and its
/// boundary loops, the outline darker than the holes.
QELT_INSPECTION_EXPORT Image flatPictureOf(Mesh const& mesh, std::string const& title);

} // namespace QELT::Inspection
