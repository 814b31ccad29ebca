#include "apps/cscan/files/files.h"

#include "apps/cscan/files/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace cscan {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

void requireOpening(std::filesystem::path const& path, char const* mode, char const* complaint) {
    std::unique_ptr<std::FILE, CloseFile> const file(std::fopen(path.c_str(), mode));
    if (!file) {
        std::string const reason = std::generic_category().message(errno);
        throw Failure(path.string() + ": " + complaint + " (" + reason + ")");
    }
}

} // namespace

void requireReadable(std::filesystem::path const& path) {
    requireOpening(path, "rb", "cannot be read");
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw Failure(path.string() + ": cannot be read (it is a directory)");
    }
}

void requireWritable(std::filesystem::path const& path) {
    std::error_code ignored;
    bool const isNew = !std::filesystem::exists(path, ignored);
    requireOpening(path, "ab", "cannot be written");
    if (isNew) {
        std::filesystem::remove(path, ignored);
    }
}

} // namespace cscan
