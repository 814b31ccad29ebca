#pragma once

#include "Inspection/indications/indication.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// The pixel that speaks for a pixel: itself, or where filled ones are used, the one it was filled from.
std::size_t sourceOf(Result const& result, std::size_t pixel, bool doUseFilled);

/// Values such that more of it shows more: the value, or its negative where what lies below shows something.
/// Of a pixel that a shot met and that has no value, the infinity that is below every value of the map: its
/// echo is lost, be it that another one, such as the flaw's, came back. NaN where nothing is known.
std::vector<double> loudnessOf(Result const& result, ValueMap const& map, IndicationOptions const& options);

} // namespace QELT::Inspection
