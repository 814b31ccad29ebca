#include "apps/cscan/commands/commandline.h"

#include "Inspection/records/version.h"
#include "apps/cscan/commandline/manpage.h"
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
    for (auto const add : {addDemo, addImport,   addCheck,       addCrop,      addPrepare,    addPath,
                           addScan, addPicture,  addIndications, addExport,    addView,       addReport,
                           addInfo, addFit,      addRegister,    addFitFrame,  addNeighbours, addReconstruct,
                           addCut,  addSelftest, addDerive,      addFootprint, addSimulate}) {
        commands.push_back(add(app));
    }
    return commands;
}

/// Offers the help of a command as a command.
CLI::App const& addHelp(CLI::App& app) {
    CLI::App& help = *app.add_subcommand("help", "Print the help of a command");
    help.add_option("COMMAND", "Of the program itself if none is given")->type_name("TEXT");
    help.add_flag("--man")->description("Print the manual page of the program, in the macros of man(7)");
    return help;
}

/// `help COMMAND` asks for what `COMMAND --help` does.
std::vector<std::string> withoutHelpCommand(CLI::App const& app, std::vector<std::string> arguments) {
    bool const isAsked = !arguments.empty() && arguments.size() <= 2 && arguments.front() == "help";
    if (!isAsked || arguments.back().starts_with('-')) {
        return arguments;
    }
    std::string const command = arguments.back();
    if (arguments.size() == 1 || command == "help") {
        return {"--help"};
    }
    auto const isNamedSo = [&](CLI::App const* offered) { return offered->check_name(command); };
    if (app.get_subcommands(isNamedSo).empty()) {
        throw UsageError("help: there is no command '" + command + "'");
    }
    return {command, "--help"};
}

void parse(CLI::App& app, std::vector<std::string> arguments) {
    arguments = withoutHelpCommand(app, std::move(arguments));
    std::reverse(arguments.begin(), arguments.end()); // as the parser takes them
    app.parse(std::move(arguments));
}

} // namespace

CommandLine parseCommandLine(int argumentCount, char const* const* arguments) {
    CLI::App app("Inspection of curved parts: from a triangle mesh to a C-scan.", "cscan");
    app.require_subcommand(1);
    app.set_version_flag("--version", "cscan " + libraryVersion() + "\n", "Print the version and exit");
    auto const commands = addCommands(app);
    CLI::App const& help = addHelp(app);
    try {
        parse(app, {arguments + std::min(argumentCount, 1), arguments + argumentCount});
    } catch (CLI::CallForVersion const& version) {
        return {{}, version.what()};
    } catch (CLI::CallForHelp const&) {
        return {{}, app.help()};
    } catch (CLI::ParseError const& error) {
        throw UsageError(oneLine(error.what()));
    }
    if (help.count("--man") > 0) {
        return {{}, manPageOf(app, libraryVersion())};
    }
    auto const asked = std::find_if(commands.begin(), commands.end(),
                                    [](Command const& command) { return command.app->parsed(); });
    if (asked == commands.end()) {
        throw UsageError("help: give one command");
    }
    return {asked->request(), {}};
}

} // namespace cscan
