#pragma once

#include "Inspection/import/part.h"
#include "apps/cscan/names.h"

#include <iosfwd>

namespace cscan {

/// What reading a part found and did: its format, points and triangles in and out, what was left out.
void printCounts(std::ostream& output, LoadReport const& report);

/// What the user should know besides, a line each; nothing if all is well.
void printLoadNotes(std::ostream& output, LoadReport const& report);

/// Both, of a part that commands other than `import` read; nothing of one taken as it is in its file but
/// where it lies far out.
void printLoad(std::ostream& output, LoadReport const& report);

} // namespace cscan
