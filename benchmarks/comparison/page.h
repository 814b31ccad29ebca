#pragma once

#include "benchmarks/comparison/contest.h"
#include "benchmarks/comparison/measuring.h"

#include <map>
#include <string>
#include <vector>

namespace Comparison {

/// A row and what came of its sizes, as many as were measured.
struct MeasuredRow {
    Row row;
    std::vector<Measurement> sizes;
};

/// A table in the page's dialect, a line for each row.
std::string tableOf(std::vector<MeasuredRow> const& rows);

std::string tableOf(std::vector<Stage> const& stages);

/// The template with each line `<!-- NAME -->` followed by the text of that name, if there is one.
std::string filledIn(std::string const& page, std::map<std::string, std::string> const& texts);

/// "12.3 ms"
std::string shownSeconds(double seconds);

/// "1,000,000"
std::string shownCount(double count);

/// "12 MB"
std::string shownBytes(double bytes);

} // namespace Comparison
