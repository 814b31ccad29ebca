#pragma once

#include "Inspection/export.h"
#include "Inspection/indications/findindications.h"
#include "Inspection/indications/indication.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/results/result.h"

#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// What to look for in which result, and what to write.
struct IndicationsOptions {
    std::filesystem::path result; ///< what `writeResult` has written
    IndicationOptions search;
    std::filesystem::path table;                ///< to write: a line for each indication
    std::optional<std::filesystem::path> poses; ///< to write: beams to go back to each
    std::optional<double> standoff;             ///< of these beams from the surface
};

/// What was found.
struct FoundIndications {
    Result result;
    IndicationSearch search;
    bool isTorn = false; ///< shots are farther apart than pixels: one flaw is found anew on each line of them
    bool isFilled = false; ///< the result has values for what lies between, which were not taken

    bool isFit() const { return !isTorn || search.indications.empty(); }
};

/// Finds the indications of a result and writes them. Fails if a file cannot be read or written, if there are
/// poses and no standoff above zero, and as `searchIndications` does.
QELT_INSPECTION_EXPORT FoundIndications indications(IndicationsOptions const& options,
                                                    ProgressListener* listener);

/// The same as a part of a larger run, whose record and outputs it is told in: first, before the work.
QELT_INSPECTION_EXPORT void addIndicationFiles(IndicationsOptions const& options, Record& record,
                                               Outputs& outputs);
QELT_INSPECTION_EXPORT FoundIndications indications(IndicationsOptions const& options,
                                                    ProgressListener* listener, Record& record,
                                                    Outputs& outputs);

} // namespace QELT::Inspection
