#pragma once

#include "Inspection/results/measuredscan.h"
#include "apps/cscan/names.h"

#include <iosfwd>

namespace cscan {

/// Shots, echoes, standoff, angles, coverage, gaps with their places, values, and what is to be known of
/// them.
void printMeasuredScan(std::ostream& output, MeasuredScan const& scan);

void printCoverage(std::ostream& output, Result const& result, Coverage const& coverage);

/// A line for each value, with its range.
void printValues(std::ostream& output, Result const& result);

} // namespace cscan
