#pragma once

#include "Inspection/scanning/beam.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// A column of measured values.
struct Quantity {
    std::string name; ///< such as "tof"
    std::string unit; ///< such as "us"; empty if none is told
};

/// Shots in their order, an entry each.
struct ShotBlock {
    std::vector<Beam> beams;
    std::vector<bool> hasDirection;   ///< else the probe looked at the surface nearest to the beam's origin
    std::vector<double> values;       ///< a row of all quantities for each; NaN where a field was empty
    std::vector<std::uint64_t> lines; ///< of the file, counted from 1
    std::vector<bool> isBad;          ///< the pose was read, but not all of what was measured

    std::size_t size() const { return beams.size(); }

    void clear() {
        beams.clear();
        hasDirection.clear();
        values.clear();
        lines.clear();
        isBad.clear();
    }
};

} // namespace QELT::Inspection
