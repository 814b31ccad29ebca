#pragma once

#include <filesystem>
#include <string>

namespace cscan {

/// Throws a `Failure` with the system's reason unless `path` is a file that can be opened for reading.
void requireReadable(std::filesystem::path const& path);

/// Throws a `Failure` with the system's reason unless `path` can be opened for writing. A file that is there
/// keeps its contents, and none is left behind where there was none. Asked before long work whose result
/// would have no place to go.
void requireWritable(std::filesystem::path const& path);

} // namespace cscan
