#pragma once

#include "Inspection/shots/shotreader.h"

namespace QELT::Inspection {

/// What a search for the lag came to.
struct LagSearch {
    std::optional<LagFinding> finding;
    std::string reason; ///< why there is none
};

/// Reads both tables of the options once to find by which lag lines there and back agree best, between plus
/// and minus a second.
LagSearch findLag(ShotOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
