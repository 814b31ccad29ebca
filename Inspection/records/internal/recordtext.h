#pragma once

#include "Inspection/records/internal/sha256.h"
#include "Inspection/records/record.h"

#include <filesystem>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// A file of which a record tells; `name` has no folder.
struct RecordedFile {
    std::string name;
    FileDigest digest;
};

/// The inputs of a run, read again to their ends unless that was done before. Fails if one has changed since
/// it was added to the record.
std::vector<RecordedFile> recordedInputsOf(Record const& record, ProgressListener* listener);

/// The text of a record: of a result's files, the result itself first, and all that went into it.
std::string textOf(Record const& record, std::vector<RecordedFile> const& files,
                   std::vector<RecordedFile> const& inputs);

/// Whether the text is that of a record.
bool isRecordFile(std::filesystem::path const& file);

} // namespace QELT::Inspection
