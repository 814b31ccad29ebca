#pragma once

#include "Inspection/pages/internal/html.h"
#include "Inspection/pages/internal/reportcontent.h"

#include <string>
#include <utility>
#include <vector>

/// The parts of a report, in their order. Each begins with its heading.
namespace QELT::Inspection {

Html fieldsSection(ReportContent const& content);

/// Whether result and inputs are as they were.
Html standingSection(ReportContent const& content);
Html summarySection(ReportContent const& content, ReportRecord& record);
Html settingsSection(ReportRecord& record);
Html shotsSection(ReportRecord& record);
Html coverageSection(ReportContent const& content, ReportRecord& record);
Html spreadSection(ReportRecord& record);
Html distortionSection(ReportContent const& content);
Html picturesSection(ReportContent const& content, ProgressListener* listener);
Html indicationsSection(ReportContent const& content);
Html limitationsSection(ReportContent const& content, ReportRecord const& record);

/// What the record tells and no other section did.
Html restSection(ReportRecord& record);
Html inputsSection(ReportContent const& content, ReportRecord const& record);

/// The record word for word.
Html recordSection(ReportRecord const& record);

} // namespace QELT::Inspection
