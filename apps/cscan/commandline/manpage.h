#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cscan {

/// The manual page of the program in the macros of man(7), made of what its options say of themselves.
std::string manPageOf(CLI::App const& app, std::string const& version);

} // namespace cscan
