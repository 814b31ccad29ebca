#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace QELT::Geometry::ThreeDimensional {

/// The same bits, or a NaN of any kind in both: what is computed from either differs in the kinds of NaNs at
/// most.
inline bool getIsSameNumber(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

} // namespace QELT::Geometry::ThreeDimensional
