#pragma once

#include "apps/cscan/commandline/command.h"
#include "apps/cscan/commandline/usageerror.h"

#include <any>
#include <functional>
#include <string>

namespace cscan {

/// What the command line asks for: a command to be carried out, or a help text to be shown instead.
struct CommandLine : Request {
    std::string help; ///< empty if there is a request
};

/// Throws a `UsageError` of one line.
CommandLine parseCommandLine(int argumentCount, char const* const* arguments);

} // namespace cscan
