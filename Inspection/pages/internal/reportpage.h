#pragma once

#include "Inspection/pages/internal/reportcontent.h"

#include <string>

namespace QELT::Inspection {

/// The whole page. Tells the listener, which may be null, of each picture.
std::string reportPage(ReportContent const& content, ReportRecord& record, ProgressListener* listener);

} // namespace QELT::Inspection
