#pragma once

#include "Inspection/export.h"
#include "Inspection/indications/indications.h"
#include "Inspection/pictures/image.h"
#include "Inspection/results/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// A map of values on the result's pixels, with the rim and the number of each indication over it.
QELT_INSPECTION_EXPORT Image indicationPictureOf(Result const& result, ValueMap const& map,
                                                 std::vector<Indication> const& indications);

/// What to look for, and the picture to write.
struct DrawnIndicationsOptions {
    IndicationsOptions indications;
    std::optional<std::filesystem::path> image; ///< picture to write, a PNG file
};

/// Finds the indications, writes and draws them. Fails as `indications` does, and if the picture cannot be
/// written.
QELT_INSPECTION_EXPORT FoundIndications drawIndications(DrawnIndicationsOptions const& options,
                                                        ProgressListener* listener);

} // namespace QELT::Inspection
