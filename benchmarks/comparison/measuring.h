#pragma once

#include "benchmarks/comparison/contest.h"

#include <optional>
#include <string>
#include <vector>

namespace Comparison {

/// The middle of a list of numbers and its quartiles.
struct Spread {
    double low = 0.0;
    double middle = 0.0;
    double high = 0.0;
};

Spread spreadOf(std::vector<double> values);

/// The exponent of growth: the slope of the least-squares line through the logarithms.
double growthOf(std::vector<double> const& counts, std::vector<double> const& seconds);

/// What came of a task at one size.
struct Measurement {
    double count = 0.0;
    std::size_t pairs = 0;
    double ours = 0.0; ///< seconds of the processor, the median
    double peer = 0.0;
    Spread ratio; ///< of ours to the peer's, over the pairs of neighbouring turns
    double ourBytes = 0.0;
    double peerBytes = 0.0;
    std::string failure; ///< why there are no numbers; empty if there are
    bool hasPeer = false;
};

struct Effort {
    std::size_t leastPairs = 3;
    std::size_t mostPairs = 11;
    double seconds = 0.4;   ///< of the processor, for a size; more only for the least pairs
    double patience = 30.0; ///< from so many on one pair is enough
    bool takesMemory = true;
};

/// Compares the answers, then times both sides in turns, then takes the memory of each alone if that is asked
/// for.
Measurement measure(Size const& size, Effort const& effort);

} // namespace Comparison
