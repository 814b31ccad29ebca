#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether a line of an OBJ file may begin with this word.
bool isObjKeyword(std::string_view word);

/// Reads points and polygons; texture coordinates, normals, names and groups are checked and passed over. A
/// file without polygons fails: it cannot be told from one that was cut off.
PartAsRead readObj(PartSource const& source);

} // namespace QELT::Inspection
