#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Reads the text of a 3MF model: the triangles of all objects where the build places them, as often as it
/// and other objects name them, and the unit. Failures name the package and the place in its model.
PartAsRead readThreeMfModel(PartSource const& package, std::string_view xml);

} // namespace QELT::Inspection
