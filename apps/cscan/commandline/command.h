#pragma once

#include "apps/cscan/names.h"
#include "apps/cscan/progress/interruption.h"
#include "apps/cscan/progress/progressdisplay.h"

#include <any>
#include <functional>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

namespace CLI {
class App;
}

namespace cscan {

/// The status with which the program ends.
enum ExitStatus : int {
    Success = 0, ///< the result can be used
    Failed = 1,
    WronglyUsed = 2,
    NotFit = 3, ///< done as asked, but the result is not fit for inspection, or what was checked is not fit
                ///< to go on
};

/// Where findings are printed and progress is shown.
struct Console {
    std::ostream& output;
    ProgressDisplay& display;
};

/// What the user asks of a command.
struct Request {
    std::any options;                             ///< the command's options structure
    std::function<ExitStatus(Console&)> carryOut; ///< what goes wrong is thrown
};

/// A command as the command line offers it.
struct Command {
    CLI::App* app = nullptr; ///< owned by the program's parser
    /// Of what was parsed. Throws a `UsageError` where that does not fit together.
    std::function<Request()> request;
};

/// Adds a command to the program's parser, which owns it.
CLI::App* addCommand(CLI::App& app, std::string const& name, std::string const& description);

/// What `act` gives back as a status, and success if it gives nothing.
template <class Act, class... Arguments>
ExitStatus statusOf(Act const& act, Arguments&&... arguments) {
    if constexpr (std::is_void_v<std::invoke_result_t<Act const&, Arguments...>>) {
        act(std::forward<Arguments>(arguments)...);
        return Success;
    } else {
        return act(std::forward<Arguments>(arguments)...);
    }
}

/// The command whose options `read` gives, and which `run` carries out on a console. `run` may give a status.
template <class Read, class Run>
Command commandOf(CLI::App* app, Read read, Run run) {
    return {app, [read, run] {
                auto const options = read();
                return Request{options,
                               [options, run](Console& console) { return statusOf(run, options, console); }};
            }};
}

/// The command that has `call` of the inspection library do the work and `print` tell what came of it.
/// `print` may give a status.
template <class Read, class Call, class Print>
Command commandOf(CLI::App* app, Read read, Call call, Print print) {
    return commandOf(app, read, [call, print](auto const& options, Console& console) {
        auto const result = call(options, &console.display);
        SignalWatch::stopEndingAtOnce();
        console.display.clear();
        return statusOf(print, console.output, options, result);
    });
}

} // namespace cscan
