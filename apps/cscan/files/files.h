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

/// Makes the directory that holds `path` the working directory for as long as the object lives. The library
/// knows no separator but the backslash, so only a bare file name lets it find what lies beside the file.
class WorkingDirectory {
public:
    explicit WorkingDirectory(std::filesystem::path const& path);
    ~WorkingDirectory();
    WorkingDirectory(WorkingDirectory const&) = delete;
    WorkingDirectory& operator=(WorkingDirectory const&) = delete;

private:
    std::filesystem::path former;
};

} // namespace cscan
