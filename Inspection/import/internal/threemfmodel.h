#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// What the text of a 3MF model states of the whole of it.
struct ThreeMfModel {
    std::string unit;              ///< of lengths
    std::size_t triangleCount = 0; ///< of all objects, as often as the build and other objects name them
};

/// Reads it off the model's tags. Fails where objects are named that are not there or hold themselves.
ThreeMfModel threeMfModelIn(PartSource const& package, std::string_view xml);

} // namespace QELT::Inspection
