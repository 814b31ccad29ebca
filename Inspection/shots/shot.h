#pragma once

#include "Inspection/scanning/beam.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// One of the numbers that come with each shot.
struct Quantity {
    std::string name; ///< such as "tof"
    std::string unit; ///< such as "us"; empty if none is told
};

/// Some shots, one after the other. All lists but `values` have one entry a shot.
struct ShotBlock {
    std::vector<Beam> beams;          ///< in the part's coordinates, moved
    std::vector<bool> hasDirection;   ///< not where a position alone is told: the direction is then zero
    std::vector<double> values;       ///< shot by shot, each all quantities; NaN where the field was empty
    std::vector<std::uint64_t> lines; ///< of the table of shots, from 1
    std::vector<bool> isBad;          ///< a value is no number, which is allowed where bad lines are skipped

    /// How many shots there are.
    std::size_t size() const { return beams.size(); }

    /// Leaves no shot.
    void clear() {
        beams.clear();
        hasDirection.clear();
        values.clear();
        lines.clear();
        isBad.clear();
    }
};

} // namespace QELT::Inspection
