#include "apps/cscan/demo/demo.h"

#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

void printDemo(std::ostream& output, DemoOptions const&, DemoResult const& result) {
    printTable(output, result.table);
    output << "\nwritten\n";
    for (auto const& file : result.files) {
        output << "  " << file.string() << '\n';
    }
}

} // namespace

Command addDemo(CLI::App& app) {
    auto const options = std::make_shared<DemoOptions>();
    CLI::App* const demo = addCommand(app, "demo", "Run the whole job on a built-in blade");
    options->directory = "cscan-demo";
    demo->add_option("DIR", options->directory, "Where its files go; made if it is not there")
        ->capture_default_str();
    return commandOf(
        demo, [options] { return *options; }, demonstrate, printDemo);
}

} // namespace cscan
