#pragma once

#include "Inspection/export.h"
#include "Inspection/indications/indication.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// What was found, and what was passed over.
struct IndicationSearch {
    std::vector<Indication> indications;
    std::size_t tooSmall = 0; ///< left out for their area
    std::size_t flanks = 0;   ///< maxima that count as part of a louder one, with peaks of their own only
};

/// Finds the indications. A pixel that no shot met, or whose shots were refused, never shows anything and
/// bounds as unmeasured; one without an echo is below every level. Pixels hang together over sides and
/// corners. Fails if there is no such value, if the threshold cannot apply to it (a level beyond its ceiling,
/// a share that is none, a share of the own peak with `isBelow`), or if a size is negative.
QELT_INSPECTION_EXPORT IndicationSearch searchIndications(Result const& result,
                                                          IndicationOptions const& options);

/// The indications of that search.
QELT_INSPECTION_EXPORT std::vector<Indication> findIndications(Result const& result,
                                                               IndicationOptions const& options);

} // namespace QELT::Inspection
