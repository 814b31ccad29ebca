#pragma once

#include "Inspection/scanning/quadmap.h"
#include "Inspection/scanning/scanner.h"

#include <filesystem>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// The three images' names: the prefix followed by "distance.png", "angle.png" and "coverage.png". A prefix
/// that names a file and doesn't end in a separator gets an underscore between.
std::vector<std::filesystem::path> imagePaths(std::string const& prefix);

/// Writes the C-scan images, on the quads of `surface`, of distance, angle error and coverage and returns
/// their names.
std::vector<std::filesystem::path> writeScanImages(std::string const& prefix, QuadMap const& surface,
                                                   std::vector<Hit> const& hits, std::string const& unit);

} // namespace QELT::Inspection
