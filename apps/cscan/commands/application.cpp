#include "apps/cscan/commands/application.h"

#include "Inspection/records/failure.h"
#include "apps/cscan/commands/commandline.h"
#include "apps/cscan/progress/interruption.h"

#include <filesystem>
#include <new>
#include <ostream>

namespace cscan {

namespace {

ExitStatus runCommandLine(int argumentCount, char const* const* arguments, std::ostream& output,
                          std::ostream& errors) {
    ExitStatus status = Success;
    CommandLine const commandLine = parseCommandLine(argumentCount, arguments);
    if (commandLine.carryOut) {
        ProgressDisplay display(errors, isStandardErrorTerminal());
        Console console{output, display};
        status = commandLine.carryOut(console);
    } else {
        output << commandLine.help;
    }
    if (!output.flush()) {
        throw Failure("the standard output cannot be written");
    }
    return status;
}

int complain(std::ostream& errors, char const* text, ExitStatus status) {
    errors << "cscan: ";
    for (char const* character = text; *character != '\0'; ++character) {
        errors << (*character == '\n' || *character == '\r' ? ' ' : *character);
    }
    errors << std::endl;
    return status;
}

/// What goes wrong is told.
int statusOfCommandLine(int argumentCount, char const* const* arguments, std::ostream& output,
                        std::ostream& errors) {
    try {
        return runCommandLine(argumentCount, arguments, output, errors);
    } catch (UsageError const& error) {
        return complain(errors, error.what(), WronglyUsed);
    } catch (std::bad_alloc const&) {
        return complain(errors, "not enough memory", Failed);
    } catch (std::exception const& error) {
        return complain(errors, error.what(), Failed);
    } catch (...) {
        // The linear algebra throws its dimension errors by pointer; none is expected to come this far.
        return complain(errors, "internal error", Failed);
    }
}

} // namespace

int runApplication(int argumentCount, char const* const* arguments, std::ostream& output,
                   std::ostream& errors) {
    SignalWatch const watch;
    int const status = statusOfCommandLine(argumentCount, arguments, output, errors);
    output.flush();
    // A signal that came too late to stop anything doesn't make a result a failure.
    return status == Failed ? SignalWatch::endIfAsked(status) : status;
}

} // namespace cscan
