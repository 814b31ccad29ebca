#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"

#include <filesystem>

namespace QELT::Inspection {

/// Writes the picture as a PNG file of 8 bits a colour. Throws a `Failure` that names the file when it can't
/// be opened or not be written to its end.
QELT_INSPECTION_EXPORT void writePng(std::filesystem::path const& path, Image const& image);

} // namespace QELT::Inspection
