#pragma once

#include "apps/cscan/commandline/options.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace cscan {

/// The command line asks for something that there is not.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for: a command's options, or a help text to be shown instead.
struct CommandLine {
    std::optional<Options> options;
    std::string help;
};

/// Throws a `UsageError` of one line.
CommandLine parseCommandLine(int argumentCount, char const* const* arguments);

} // namespace cscan
