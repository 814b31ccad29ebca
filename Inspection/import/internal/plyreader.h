#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// The format that the header names. Fails where it names none.
PartFormat plyFormatOf(PartSource const& source);

/// Reads the points of the element "vertex" and the polygons of "face", of which a cloud has none. Other
/// properties and elements are checked and passed over.
PartAsRead readPly(PartSource const& source);

} // namespace QELT::Inspection
