#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// Numbers as they stand in a `.quads` file, the lowest byte first, on every machine.
namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The first bytes of the file.
inline constexpr std::string_view quadFileMagic = "QELTQuad";

/// The unsigned type that holds the bits of a 32 or 64 bit value.
template <class Stored>
using BitsOf = std::conditional_t<sizeof(Stored) == sizeof(std::uint32_t), std::uint32_t, std::uint64_t>;

/// Writes the bytes of the value.
template <class Stored>
void encode(Stored value, char* bytes) {
    auto const bits = std::bit_cast<BitsOf<Stored>>(value);
    for (std::size_t i = 0; i < sizeof(Stored); ++i) {
        bytes[i] = static_cast<char>(static_cast<unsigned char>(bits >> (8 * i)));
    }
}

template <class Stored>
Stored decode(char const* bytes) {
    BitsOf<Stored> bits = 0;
    for (std::size_t i = 0; i < sizeof(Stored); ++i) {
        bits |= static_cast<BitsOf<Stored>>(BitsOf<Stored>{static_cast<unsigned char>(bytes[i])} << (8 * i));
    }
    return std::bit_cast<Stored>(bits);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
