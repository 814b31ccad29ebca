#include "fuzz/harness.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>

namespace QELT::Fuzzing {

TemporaryFile::TemporaryFile(std::string const& ending) {
    std::random_device random;
    std::string const name =
        "qelt-fuzz-" + std::to_string(random()) + '-' + std::to_string(random()) + ending;
    path = (std::filesystem::temp_directory_path() / name).string();
}

TemporaryFile::~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

void TemporaryFile::write(std::uint8_t const* data, std::size_t size) const {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
    stream.close();
    require(!stream.fail(), "the temporary file can be written");
}

void require(bool holds, char const* promise) {
    if (!holds) {
        std::cerr << "Broken promise: " << promise << std::endl;
        std::abort();
    }
}

} // namespace QELT::Fuzzing
