#include "apps/cscan/commands/commandline.h"

#include "apps/cscan/commands/commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace cscan {

namespace {

std::string oneLine(std::string text) {
    for (char& character : text) {
        character = character == '\n' || character == '\r' ? ' ' : character;
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// In the order of the help text.
std::vector<Command> addCommands(CLI::App& app) {
    std::vector<Command> commands;
    for (auto const add :
         {addDemo, addImport, addCheck, addCrop, addPrepare, addScan, addInfo, addFit, addRegister,
          addNeighbours, addReconstruct, addCut, addSelftest, addDerive, addFootprint}) {
        commands.push_back(add(app));
    }
    return commands;
}

} // namespace

CommandLine parseCommandLine(int argumentCount, char const* const* arguments) {
    CLI::App app("Inspection of curved parts: from a triangle mesh to a C-scan.", "cscan");
    app.require_subcommand(1);
    auto const commands = addCommands(app);
    try {
        app.parse(argumentCount, arguments);
    } catch (CLI::CallForHelp const&) {
        return {{}, app.help()};
    } catch (CLI::ParseError const& error) {
        throw UsageError(oneLine(error.what()));
    }
    auto const asked = std::find_if(commands.begin(), commands.end(),
                                    [](Command const& command) { return command.app->parsed(); });
    return {asked->request(), {}};
}

} // namespace cscan
