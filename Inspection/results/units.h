#pragma once

#include "Inspection/export.h"

#include <optional>
#include <string>

/// What the names of units stand for.
namespace QELT::Inspection {

/// Metres in a unit of length such as "mm", "in" or "um"; nothing for a name that is none.
QELT_INSPECTION_EXPORT std::optional<double> metresIn(std::string const& unit);

/// Seconds in a unit of time such as "us".
QELT_INSPECTION_EXPORT std::optional<double> secondsIn(std::string const& unit);

/// Whether values of the unit are decibels.
QELT_INSPECTION_EXPORT bool isDecibel(std::string const& unit);

/// Whether they are shares of the full height of the instrument's screen, which end at 100.
QELT_INSPECTION_EXPORT bool isFullScreenHeight(std::string const& unit);

} // namespace QELT::Inspection
