// Usage: <harness>_replay [--mutations N] PATH...
// Runs a harness, without a fuzzing engine, over files and the files of folders; with --mutations also over
// all prefixes of each file (at most N of them, evenly spread) and over N copies with a few bytes changed,
// the same ones on every run.

#include "fuzz/harness.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t mutationSeed = 19;
constexpr std::uint32_t maxChangedBytes = 4;

std::vector<std::filesystem::path> listFiles(std::vector<std::string> const& paths) {
    std::vector<std::filesystem::path> files;
    for (std::filesystem::path const path : paths) {
        if (!std::filesystem::is_directory(path)) {
            files.push_back(path);
            continue;
        }
        for (auto const& entry : std::filesystem::directory_iterator(path)) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

Bytes readBytes(std::filesystem::path const& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return Bytes(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

/// In a buffer of exactly that size, so that a read past the end is seen.
void runPrefix(Bytes const& bytes, std::size_t size) {
    Bytes const prefix(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(prefix.data(), prefix.size());
}

void runPrefixes(Bytes const& bytes, std::size_t most) {
    std::size_t const step = std::max<std::size_t>(1, bytes.size() / most);
    for (std::size_t size = 0; size < bytes.size(); size += step) {
        runPrefix(bytes, size);
    }
}

void runMutations(Bytes const& bytes, std::size_t count) {
    if (bytes.empty()) {
        return;
    }
    std::mt19937 random(mutationSeed);
    for (std::size_t i = 0; i < count; ++i) {
        Bytes changed = bytes;
        std::uint32_t const changes = 1 + random() % maxChangedBytes;
        for (std::uint32_t change = 0; change < changes; ++change) {
            changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
        }
        LLVMFuzzerTestOneInput(changed.data(), changed.size());
    }
}

int replay(std::vector<std::string> arguments) {
    std::size_t mutations = 0;
    if (arguments.size() >= 2 && arguments[0] == "--mutations") {
        mutations = std::stoul(arguments[1]);
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    auto const files = listFiles(arguments);
    for (auto const& file : files) {
        Bytes const bytes = readBytes(file);
        runPrefix(bytes, bytes.size());
        if (mutations > 0) {
            runPrefixes(bytes, mutations);
            runMutations(bytes, mutations);
        }
    }
    std::cout << "replayed " << files.size() << " files\n";
    return files.empty() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return replay(std::vector<std::string>(argv + 1, argv + argc));
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
