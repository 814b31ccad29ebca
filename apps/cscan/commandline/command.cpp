#include "apps/cscan/commandline/command.h"

#include <CLI/CLI.hpp>

namespace cscan {

// Here alone: all of the parser is inline, and is compiled where one is made.
CLI::App* addCommand(CLI::App& app, std::string const& name, std::string const& description) {
    return app.add_subcommand(name, description);
}

} // namespace cscan
