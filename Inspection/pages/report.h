#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// A result on paper.
namespace QELT::Inspection {

/// What to report on, and where to write it.
struct ReportOptions {
    std::filesystem::path result; ///< what `measuredScan` has written
    std::filesystem::path page;
    /// What the inspector tells of part and procedure: a JSON object of texts and numbers.
    std::optional<std::filesystem::path> fields;
    std::optional<std::filesystem::path> indications; ///< a table as `indications` writes it
    std::vector<std::filesystem::path> inputFolders;  ///< where inputs are looked for, besides the result's
    std::vector<std::string> values;                  ///< to be shown, by name or quantity; if empty, all
};

/// What became of a file that went into a result.
enum class InputState : std::uint8_t {
    AsRecorded,
    Changed,     ///< a file of its name is there, and it is another
    NotFound,    ///< none is
    NotRecorded, ///< the record has no digest: it was a pipe, or another file that is read once
};

/// A file that went into the result, as its record tells it, and what became of it.
struct CheckedInput {
    std::string name;
    std::optional<std::uint64_t> byteCount;
    std::string sha256; ///< as recorded
    InputState state = InputState::NotFound;
};

/// What the report holds.
struct Report {
    std::vector<CheckedInput> inputs;
    std::vector<std::string> misfits; ///< sentences on what does not go with the result's record
    std::size_t pictureCount = 0;
    std::size_t indicationCount = 0;
    std::size_t byteCount = 0; ///< of the page

    /// Whether nothing is known to have been changed since the scan.
    QELT_INSPECTION_EXPORT bool isAsRecorded() const;
};

/// Writes one page that needs nothing but a browser and prints on A4: what the inspector tells, how it was
/// measured, what was reached, C-scans, indications, limits, and the digests of what went into it. Numbers
/// are the record's. It does not judge the part. The same input gives the same bytes. Fails if a file cannot
/// be read, holds no record of a scan, or the page cannot be written.
QELT_INSPECTION_EXPORT Report report(ReportOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
