#pragma once

#include <filesystem>
#include <string>

/// Where the core's functions must be given a file, or must be standing, to find what they need.
namespace QELT::Inspection {

/// Makes the directory that holds `path` the working directory for as long as the object lives. The core
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

/// A directory of its own for files that someone must read from a disk, gone with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::filesystem::path operator/(std::string const& name) const { return path / name; }

private:
    std::filesystem::path path;
};

} // namespace QELT::Inspection
