#pragma once

#include "apps/cscan/names.h"

#include <filesystem>
#include <string>
#include <vector>

namespace cscan {

struct DemoOptions {
    std::filesystem::path directory; ///< where the files go; made if it is not there
};

struct DemoResult {
    std::vector<std::vector<std::string>> table; ///< heading, then stage, time and what came of it
    std::vector<std::filesystem::path> files;    ///< in the order in which they were written
};

/// The main job on a built-in blade: made, flattened, resampled, scanned, drawn; then a whole inspection of
/// it, in a folder of its own.
DemoResult demonstrate(DemoOptions const& options, ProgressListener* listener);

} // namespace cscan
