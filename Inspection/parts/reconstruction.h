#pragma once

#include "Inspection/parts/surfacerepair.h"

#include <filesystem>

namespace QELT::Inspection {

/// A surface through the points of a cloud.
struct Reconstruction {
    FaceMesh surface;
    RepairReport repair;
};

/// Builds the surface and makes it fit to be flattened. The library starts at the closest pair of points, on
/// the one side of it that the points' order tells, and fails if no triangle there faces z; then the other
/// side is tried. Failures name the file.
Reconstruction reconstructFrom(std::filesystem::path const& cloud, RepairOptions const& options);

} // namespace QELT::Inspection
