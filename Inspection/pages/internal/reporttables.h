#pragma once

#include "Inspection/pages/internal/html.h"

#include <string>
#include <utility>
#include <vector>

/// How a report sets headings, tables and lists.
namespace QELT::Inspection {

/// A name and what there is to say.
using ReportPairs = std::vector<std::pair<std::string, Html>>;

/// Pairs in two columns.
Html pairTable(ReportPairs const& pairs);

/// With a heading line. A short table stays on one sheet of paper; a long one breaks between lines. Cells of
/// columns from the second on are set as numbers where `areNumbers`.
Html lineTable(std::vector<std::string> const& heading, std::vector<std::vector<Html>> const& lines,
               bool areNumbers);

/// A part of the report under a heading.
Html section(std::string const& heading, Html const& inside, bool doBeginSheet = false);
Html paragraph(std::string const& text, char const* kind = "");

} // namespace QELT::Inspection
