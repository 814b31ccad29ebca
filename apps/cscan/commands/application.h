#pragma once

#include <iosfwd>

namespace cscan {

/// The status with which the program ends.
enum ExitStatus : int {
    Success = 0,
    Failed = 1,
    WronglyUsed = 2,
};

/// Does what the arguments say. Findings go to `output`. A failure is one line on `errors` that begins with
/// "cscan: ".
int runApplication(int argumentCount, char const* const* arguments, std::ostream& output,
                   std::ostream& errors);

} // namespace cscan
