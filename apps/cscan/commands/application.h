#pragma once

#include "apps/cscan/commandline/command.h"

#include <iosfwd>

namespace cscan {

/// Does what the arguments say and gives the status to end with. Findings go to `output`. A failure is one
/// line on `errors` that begins with "cscan: ". Work that a signal has stopped ends the program by that
/// signal.
int runApplication(int argumentCount, char const* const* arguments, std::ostream& output,
                   std::ostream& errors);

} // namespace cscan
