#pragma once

#include "Inspection/import/part.h"
#include "apps/cscan/names.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace cscan {

/// The positional option `name` for the part, and `--frame` for the coordinates that it is in.
CLI::Option* addPartOptions(CLI::App& command, std::string const& name, QELT::Inspection::PlacedPart& part,
                            std::string const& description);

/// `--frame`, for a frame that `register` wrote; `description` says what it is for.
CLI::Option* addFrameOption(CLI::App& command, std::optional<std::filesystem::path>& frame,
                            std::string const& description);

} // namespace cscan
