#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// Blocks of bytes that a page carries, each deflated (zlib's format) and written in base64. Equal blocks are
/// kept once.
class Sections {
public:
    /// The number of the block.
    std::size_t add(std::vector<std::uint8_t> const& bytes);

    std::vector<std::string> const& getTexts() const { return texts; }

private:
    std::vector<std::string> texts;
};

/// With padding.
std::string toBase64(std::vector<std::uint8_t> const& bytes);

} // namespace QELT::Inspection
