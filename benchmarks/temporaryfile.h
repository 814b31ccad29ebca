#pragma once

#include <filesystem>
#include <string>
#include <unistd.h>

namespace Benchmarks {

/// A file in the folder for temporary ones for as long as the object lives.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string const& extension)
        : path((std::filesystem::temp_directory_path() /
                ("qelt_benchmark_" + std::to_string(getpid()) + extension))
                   .string()) {}

    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    ~TemporaryFile() { std::filesystem::remove(path); }

    char const* getPath() const { return path.c_str(); }

private:
    std::string path;
};

} // namespace Benchmarks
