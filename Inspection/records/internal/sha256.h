#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace QELT::Inspection {

/// The digest SHA-256 of bytes that come in pieces.
class Sha256 {
public:
    void add(std::span<unsigned char const> bytes);

    /// Of all that was added, as 64 hexadecimal digits. Nothing may be added after.
    std::string digits();

private:
    static constexpr std::size_t blockSize = 64;

    std::array<std::uint32_t, 8> state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, blockSize> block{};
    std::uint64_t byteCount = 0;

    void mix(unsigned char const* bytes);
    void pad();
};

/// What tells one file from another.
struct FileDigest {
    std::uint64_t byteCount = 0;
    std::string sha256;

    bool operator==(FileDigest const&) const = default;
};

/// Reads the file to its end. The listener, which may be null, may stop it. Throws a `Failure`.
FileDigest digestOf(std::filesystem::path const& path, ProgressListener* listener);

} // namespace QELT::Inspection
