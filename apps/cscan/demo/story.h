#pragma once

#include "apps/cscan/demo/demo.h"
#include "apps/cscan/names.h"

#include <filesystem>

namespace cscan {

/// An inspection from end to end, with a simulated cell in place of a real one: the blade comes in as STL, is
/// checked and prepared, a path is planned, the cell measures along it three flaws that nobody sees, and from
/// its table come C-scan, indications, a page to look at and a report. Adds what was done to the table, and
/// the files. Fails if a flaw is not found at its place.
void tellStory(std::filesystem::path const& folder, DemoResult& found, ProgressListener* listener);

} // namespace cscan
