#pragma once

#include "Inspection/grids/prepare.h"
#include "Inspection/records/record.h"

/// What the record of a grid says of its preparation.
namespace QELT::Inspection {

void addSettings(Record& record, PrepareOptions const& options);

void addFigures(Record& record, PrepareResult const& result);

} // namespace QELT::Inspection
