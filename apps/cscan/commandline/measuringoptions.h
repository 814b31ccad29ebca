#pragma once

#include "Inspection/results/measuredscan.h"
#include "apps/cscan/names.h"

#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cscan {

/// Of the options that are for measured shots alone.
inline constexpr char const* measuringGroup = "Options for a table of measured shots";

/// What is to be made of measured shots, as the command line tells it.
struct RawMeasuring {
    MeasuredScanOptions options; ///< its grids come from elsewhere
    DepthOptions depth;
    FrontOptions front;
    ColumnNumber reference;
    double standoffTolerance = 0.0;
    double coverage = 0.0; ///< percent
};

/// Offers the table of shots and what is to be made of it: --result, --value, --gate, --where, --depth and so
/// on.
void addMeasuringOptions(CLI::App& command, RawMeasuring& raw);

/// Whether a table of shots is given.
bool isMeasuring(CLI::App const& command);

/// What was asked for. Throws a `UsageError` where that does not fit together.
MeasuredScanOptions measuringOptionsOf(RawMeasuring const& raw, CLI::App const& command);

} // namespace cscan
