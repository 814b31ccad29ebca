#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// The content of the entry of a ZIP archive whose name ends with `ending`, unpacked and checked against its
/// sum; nothing if there is none. Fails where the archive is damaged.
std::optional<std::string> entryOf(PartSource const& archive, std::string_view ending);

} // namespace QELT::Inspection
