#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Reads points, with normals (NOFF) or colours (COFF) that are passed over, and polygons.
PartAsRead readOff(PartSource const& source);

} // namespace QELT::Inspection
