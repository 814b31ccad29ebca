#pragma once

#include "Inspection/export.h"

#include <string_view>

namespace QELT::Inspection {

/// Whether values of the unit are decibels.
QELT_INSPECTION_EXPORT bool isDecibel(std::string_view unit);

/// Whether they are shares of the full height of the instrument's screen, which ends at 100.
QELT_INSPECTION_EXPORT bool isFullScreenHeight(std::string_view unit);

} // namespace QELT::Inspection
