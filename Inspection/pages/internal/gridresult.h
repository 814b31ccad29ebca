#pragma once

#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <string>

namespace QELT::Inspection {

/// A grid as a C-scan of its own shape: every quad is an `Echo`, and its values are its area, how long it is
/// along u and v, its side beside the median's ("local scale") and how far its normal leans from the mean
/// one. Lengths are in `unit`. The grid keeps its nodes where they are; `Result::move` is left at zero.
Result shapeOf(Grid const& grid, std::string const& name, std::string const& unit);

/// The normal of a patch's quad from its diagonals, of unit length; NaN where they have none.
std::array<double, 3> diagonalNormalOf(Patch const& patch, std::size_t u, std::size_t v);

} // namespace QELT::Inspection
