#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether the first line of data looks like that of a table of points: numbers, or a heading with x, y and
/// z.
bool isPointTable(PartSource const& source);

/// What is wanted of a table besides points.
enum class TableNormals : std::uint8_t {
    Taken,   ///< where a heading names them
    Required ///< with a usable length; without a heading they follow the points
};

/// Reads a point a line, as the source tells at length.
PartAsRead readPointTable(PartSource const& source, TableNormals normals);

} // namespace QELT::Inspection
