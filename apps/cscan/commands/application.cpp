#include "apps/cscan/commands/application.h"

#include "Inspection/records/failure.h"
#include "apps/cscan/commands/commandline.h"
#include "apps/cscan/commands/commands.h"

#include <filesystem>
#include <new>
#include <ostream>

namespace cscan {

namespace {

void run(Options const& options, std::ostream& output, ProgressDisplay& display) {
    struct Runner {
        std::ostream& output;
        ProgressDisplay& display;

        void operator()(DemoOptions const& demo) const { runDemo(demo, output, display); }

        void operator()(PrepareOptions const& prepare) const { runPrepare(prepare, output, display); }

        void operator()(ScanOptions const& scan) const { runScan(scan, output, display); }

        void operator()(InfoOptions const& info) const { runInfo(info, output, display); }

        void operator()(FitOptions const& fit) const { runFit(fit, output, display); }

        void operator()(RegisterOptions const& pairs) const { runRegister(pairs, output, display); }

        void operator()(NeighboursOptions const& cloud) const { runNeighbours(cloud, output, display); }

        void operator()(SelftestOptions const& test) const { runSelftest(test, output, display); }

        void operator()(ReconstructOptions const& cloud) const { runReconstruct(cloud, output, display); }

        void operator()(CutOptions const& cut) const { runCut(cut, output, display); }

        void operator()(DeriveOptions const& derive) const { runDerive(derive, output, display); }

        void operator()(FootprintOptions const& beam) const { runFootprint(beam, output, display); }
    };

    std::visit(Runner{output, display}, options);
}

void runCommandLine(int argumentCount, char const* const* arguments, std::ostream& output,
                    std::ostream& errors) {
    CommandLine const commandLine = parseCommandLine(argumentCount, arguments);
    if (commandLine.options) {
        ProgressDisplay display(errors, isStandardErrorTerminal());
        run(*commandLine.options, output, display);
    } else {
        output << commandLine.help;
    }
    if (!output.flush()) {
        throw Failure("the standard output cannot be written");
    }
}

int complain(std::ostream& errors, char const* text, ExitStatus status) {
    errors << "cscan: ";
    for (char const* character = text; *character != '\0'; ++character) {
        errors << (*character == '\n' || *character == '\r' ? ' ' : *character);
    }
    errors << std::endl;
    return status;
}

} // namespace

int runApplication(int argumentCount, char const* const* arguments, std::ostream& output,
                   std::ostream& errors) {
    try {
        runCommandLine(argumentCount, arguments, output, errors);
        return Success;
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

} // namespace cscan
