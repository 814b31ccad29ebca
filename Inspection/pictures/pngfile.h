#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/records/outputs.h"

namespace QELT::Inspection {

/// Writes the picture as a PNG file of 8 bits a colour. Throws a `Failure` that names the file when it can't
/// be opened or not be written to its end.
QELT_INSPECTION_EXPORT void writePng(Destination const& to, Image const& image);

} // namespace QELT::Inspection
