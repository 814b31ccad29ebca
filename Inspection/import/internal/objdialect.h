#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether the core's loader finds in an OBJ file just the triangles that its lines state: faces
/// are three bare numbers, no comment or name looks like a record, and of flat coordinates there are none or
/// one pair for each point. To be asked of a file that `readObj` reads.
bool isPlainObj(PartSource const& source);

} // namespace QELT::Inspection
