#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace QELT::Testing {

/// A whole number from 0 to `bound` - 1. The standard's distributions differ between libraries, this does
/// not.
inline std::uint32_t randomBelow(std::mt19937& generator, std::size_t bound) {
    return static_cast<std::uint32_t>(generator() % bound);
}

} // namespace QELT::Testing
