#pragma once

#include "Inspection/pages/internal/reportcontent.h"

#include <string>
#include <vector>

namespace QELT::Inspection {

/// Sentences on what the result does not tell, and on what its numbers were derived from. They follow from
/// the content alone; none of them judges the part.
std::vector<std::string> limitationsOf(ReportContent const& content, ReportRecord const& record);

/// "(x, y, z) mm, pixel u, v" of a pixel's centre on the part.
std::string placeText(ReportContent const& content, std::size_t pixel);

} // namespace QELT::Inspection
