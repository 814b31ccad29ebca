#pragma once

#include "Inspection/parts/partfaults.h"
#include "Inspection/parts/partrepair.h"
#include "apps/cscan/names.h"

#include <iosfwd>
#include <string>
#include <vector>

/// What is printed about parts by those commands that look for faults.
namespace cscan {

/// Size, pieces, rims and the largest jump of normals. The largest pieces and the longest rims are
/// told one by one.
void printAnalysis(std::ostream& output, PartAnalysis const& analysis);

/// Two or three lines a fault: cause, place, remedy.
void printFaults(std::ostream& output, std::vector<PartFault> const& faults);

/// Which pixel is likely to suit a part, and which map and why.
void printSuggestion(std::ostream& output, PartAnalysis const& analysis, SuggestedMode const& mode);

/// What a repair changed, a line for each thing that it did.
void printPartRepair(std::ostream& output, PartRepairReport const& report);

void printNextCommands(std::ostream& output, std::vector<std::string> const& commands);

} // namespace cscan
