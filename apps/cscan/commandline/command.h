#pragma once

#include "apps/cscan/names.h"
#include "apps/cscan/progress/progressdisplay.h"

#include <any>
#include <functional>
#include <iosfwd>

namespace CLI {
class App;
}

namespace cscan {

/// Where findings are printed and progress is shown.
struct Console {
    std::ostream& output;
    ProgressDisplay& display;
};

/// What the user asks of a command.
struct Request {
    std::any options;                       ///< the command's options structure
    std::function<void(Console&)> carryOut; ///< what goes wrong is thrown
};

/// A command as the command line offers it.
struct Command {
    CLI::App* app = nullptr; ///< owned by the program's parser
    /// Of what was parsed. Throws a `UsageError` where that does not fit together.
    std::function<Request()> request;
};

/// The command whose options `read` gives, and which `run` carries out on a console.
template <class Read, class Run>
Command commandOf(CLI::App* app, Read read, Run run) {
    return {app, [read, run] {
                auto const options = read();
                return Request{options, [options, run](Console& console) { run(options, console); }};
            }};
}

/// The command that has `call` of the inspection library do the work and `print` tell what came of it.
template <class Read, class Call, class Print>
Command commandOf(CLI::App* app, Read read, Call call, Print print) {
    return commandOf(app, read, [call, print](auto const& options, Console& console) {
        auto const result = call(options, &console.display);
        console.display.clear();
        print(console.output, options, result);
    });
}

} // namespace cscan
