#pragma once

#include "Inspection/export.h"

#include <optional>
#include <string_view>

/// Units as headings and users name them, in capitals or not. Nothing for a name that is not known.
namespace QELT::Inspection {

/// How many metres the unit of length is: 0.001 for "mm", "millimetre" and "millimeters".
QELT_INSPECTION_EXPORT std::optional<double> metresIn(std::string_view unit);

/// How many seconds the unit of time is: 1e-6 for "us", "µs" and "microseconds".
QELT_INSPECTION_EXPORT std::optional<double> secondsIn(std::string_view unit);

/// How many radians the unit of angle is: pi / 180 for "deg".
QELT_INSPECTION_EXPORT std::optional<double> radiansIn(std::string_view unit);

} // namespace QELT::Inspection
