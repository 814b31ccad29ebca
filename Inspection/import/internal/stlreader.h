#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether the file is as long as its count of triangles says.
bool hasSizeOfBinaryStl(std::string_view bytes);

/// Whether the file is a binary one, by its size or by what no text holds, where it begins with "solid" too.
bool isBinaryStl(std::string_view bytes);

/// Reads triangles of three points of their own. The text form has a statement a line and one solid or
/// several.
PartAsRead readStlText(PartSource const& source);
PartAsRead readStlBinary(PartSource const& source);

} // namespace QELT::Inspection
