#pragma once

#include "Inspection/indications/indication.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// The pixel that speaks for a pixel: itself, or where filled ones are used, the one it was filled from.
std::size_t sourceOf(Result const& result, std::size_t pixel, bool doUseFilled);

/// Values such that more of it shows more: the value, or its negative where what lies below shows something.
/// Of a pixel whose shots found no such value, because this echo was lost though others may be there, the
/// infinity that is below every value of the map. NaN where nothing is known.
std::vector<double> loudnessOf(Result const& result, ValueMap const& map, IndicationOptions const& options);

} // namespace QELT::Inspection
