#pragma once

#include "Inspection/export.h"

#include <filesystem>

/// What is asked of files before work begins.
namespace QELT::Inspection {

/// Throws a `Failure` with the system's reason unless `path` is a file that can be opened for reading.
QELT_INSPECTION_EXPORT void requireReadable(std::filesystem::path const& path);

/// Throws a `Failure` with the system's reason unless `path` can be opened for writing. A file that is there
/// keeps its contents, and none is left behind where there was none. Asked before long work whose result
/// would have no place to go.
QELT_INSPECTION_EXPORT void requireWritable(std::filesystem::path const& path);

} // namespace QELT::Inspection
