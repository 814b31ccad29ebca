#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/partfaults.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// Which part to check.
struct CheckOptions {
    PlacedPart part;             ///< of any format that is read
    std::optional<double> pixel; ///< that facets are measured by, in the part's unit; above 0
};

/// What was found.
struct CheckResult {
    PartFormat format = PartFormat::Obj;
    bool isMesh = false;
    PartAnalysis analysis; ///< of a mesh
    SuggestedMode mode;
    std::vector<PartFault> faults;         ///< those in the way first
    std::vector<std::string> nextCommands; ///< what to type next

    /// Nothing is in the way of `prepare`.
    bool canBePrepared() const { return !isAnyInTheWay(faults); }
};

/// Reads a part and tells all its faults at once, each with its place and its remedy. Fails only if the file
/// cannot be read as what it is.
QELT_INSPECTION_EXPORT CheckResult checkPart(CheckOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
