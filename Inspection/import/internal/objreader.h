#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether a line of an OBJ file may begin with this word.
bool isObjKeyword(std::string_view word);

/// Reads points and polygons; texture coordinates, normals, names and groups are checked and passed over. A
/// file without polygons is a cloud, unless texture coordinates or materials show that it was to have some.
PartAsRead readObj(PartSource const& source);

} // namespace QELT::Inspection
