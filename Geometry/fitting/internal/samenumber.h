#pragma once

#include <bit>
#include <cstdint>

namespace QELT::Geometry::ThreeDimensional {

/// The same bits: zeros of different signs differ, a NaN is the same as its like.
inline bool getIsSameNumber(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

} // namespace QELT::Geometry::ThreeDimensional
