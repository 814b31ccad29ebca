#include "apps/cscan/commandline/partoptions.h"

namespace cscan {

CLI::Option* addPartOptions(CLI::App& command, std::string const& name, QELT::Inspection::PlacedPart& part,
                            std::string const& description) {
    CLI::Option* const positional = command.add_option(name, part.file, description)->required();
    addFrameOption(command, part.frame, "takes the coordinates of " + name + " to those of the part");
    return positional;
}

CLI::Option* addFrameOption(CLI::App& command, std::optional<std::filesystem::path>& frame,
                            std::string const& description) {
    return command.add_option("--frame", frame, "Frame that 'cscan register' wrote: " + description)
        ->type_name("FRAME.json");
}

} // namespace cscan
