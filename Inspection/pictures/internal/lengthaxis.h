#pragma once

#include "Inspection/results/result.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// Lengths on the surface along a row or column of pixels.
struct LengthAxis {
    std::size_t line = 0;        ///< which row or column it is, the one with most surface
    std::vector<double> lengths; ///< at the pixels' rims, from the first; one more than there are pixels

    double length() const { return lengths.empty() ? 0.0 : lengths.back(); }

    /// Where a length is, in pixels.
    double placeOf(double length) const;
};

LengthAxis axisAlongU(Result const& result);
LengthAxis axisAlongV(Result const& result);

} // namespace QELT::Inspection
