#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/records/outputs.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// Writes the picture as a PNG file of 8 bits a colour. Throws a `Failure` that names the file when it can't
/// be opened or not be written to its end.
QELT_INSPECTION_EXPORT void writePng(Destination const& to, Image const& image);

/// The same file in memory. Throws a `Failure` if libpng cannot make it.
QELT_INSPECTION_EXPORT std::vector<std::uint8_t> pngBytesOf(Image const& image);

} // namespace QELT::Inspection
