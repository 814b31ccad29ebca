#pragma once

#include "Inspection/indications/indication.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// The pixel that speaks for a pixel: itself, or where filled ones are used, the one it was filled from.
std::size_t sourceOf(Result const& result, std::size_t pixel, bool doUseFilled);

/// Values such that more of it shows more: the value, or its negative where what lies below shows something.
/// Of a pixel without an echo and a value, the infinity that is below every value of the map (standoffs, for
/// one, need no echo). NaN where nothing is known.
std::vector<double> loudnessOf(Result const& result, ValueMap const& map, IndicationOptions const& options);

} // namespace QELT::Inspection
