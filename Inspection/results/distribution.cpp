#include "Inspection/results/distribution.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

// A histogram over the upper bits of numbers in single precision: sign, exponent and 11 bits of the fraction.
// The bits of floats above zero are in the order of the floats, so a bin is 1 + 2^-11 wide in proportion,
// whatever the scale. Numbers below zero are mirrored.

namespace QELT::Inspection {

namespace {

constexpr unsigned droppedBits = 12;
constexpr std::uint32_t signBit = 0x80000000U;
constexpr std::size_t binCount = std::size_t{1} << (32U - droppedBits);

/// In the order of the numbers.
std::uint32_t orderedBitsOf(float number) {
    auto const bits = std::bit_cast<std::uint32_t>(number);
    return (bits & signBit) != 0 ? ~bits : bits | signBit;
}

float numberOf(std::uint32_t ordered) {
    return std::bit_cast<float>((ordered & signBit) != 0 ? ordered & ~signBit : ~ordered);
}

/// The middle of a bin.
double numberIn(std::size_t bin) {
    auto const first = static_cast<std::uint32_t>(bin) << droppedBits;
    return static_cast<double>(numberOf(first + (1U << (droppedBits - 1))));
}

} // namespace

void Distribution::add(double number) {
    if (std::isnan(number)) {
        return;
    }
    if (bins.empty()) {
        bins.assign(binCount, 0);
        low = number;
        high = number;
    }
    ++bins[orderedBitsOf(static_cast<float>(number)) >> droppedBits];
    ++count;
    low = std::min(low, number);
    high = std::max(high, number);
}

double Distribution::quantile(double share) const {
    if (count == 0) {
        return 0.0;
    }
    auto const wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(count)));
    std::uint64_t below = 0;
    std::size_t bin = 0;
    while (bin < binCount - 1 && below + bins[bin] < std::max<std::uint64_t>(wanted, 1)) {
        below += bins[bin];
        ++bin;
    }
    return std::clamp(numberIn(bin), low, high);
}

} // namespace QELT::Inspection
