#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/record.h"
#include "Inspection/results/coverage.h"
#include "Inspection/results/result.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// What a result holds, and whether its record fits.
struct ResultFileInfo {
    std::uintmax_t byteCount = 0;
    Result result;
    Coverage coverage;
    std::optional<FoundRecord> record;
};

/// Reads the whole file. Fails if it is no result.
QELT_INSPECTION_EXPORT ResultFileInfo resultInfoOf(std::filesystem::path const& file,
                                                   ProgressListener* listener);

} // namespace QELT::Inspection
