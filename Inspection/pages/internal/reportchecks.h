#pragma once

#include "Inspection/pages/internal/reportcontent.h"

namespace QELT::Inspection {

/// Looks for the inputs of a record beside the result and in other folders, and reads each again. The first
/// file of a name that is as it was counts, else the first that is there.
std::vector<CheckedInput> checkedInputs(std::vector<ReportRecord::Input> const& inputs,
                                        ReportOptions const& options, ProgressListener* listener);

/// Compares the result with the record beside it, and the figures of the record within with those of the
/// pixels; what does not go together becomes a misfit of the content, what cannot be checked a remark.
void checkResult(ReportContent& content, ReportRecord const& record, std::filesystem::path const& result,
                 ProgressListener* listener);

/// Compares the table with its record, and the result that it was made of with the one reported on.
void checkIndications(ReportContent& content, std::filesystem::path const& table,
                      std::filesystem::path const& result, ProgressListener* listener);

} // namespace QELT::Inspection
