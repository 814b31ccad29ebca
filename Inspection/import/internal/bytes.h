#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace QELT::Inspection {

/// The unsigned number that the bytes from `place` on are; they have to be there.
template <class Unsigned>
Unsigned unsignedAt(std::string_view bytes, std::size_t place, std::endian order) {
    Unsigned value = 0;
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        std::size_t const from = order == std::endian::little ? sizeof(Unsigned) - 1 - i : i;
        auto const byte = static_cast<unsigned char>(bytes[place + from]);
        value = static_cast<Unsigned>(sizeof(Unsigned) == 1 ? byte : (std::uint64_t{value} << 8U) | byte);
    }
    return value;
}

inline float floatAt(std::string_view bytes, std::size_t place, std::endian order) {
    return std::bit_cast<float>(unsignedAt<std::uint32_t>(bytes, place, order));
}

inline double doubleAt(std::string_view bytes, std::size_t place, std::endian order) {
    return std::bit_cast<double>(unsignedAt<std::uint64_t>(bytes, place, order));
}

} // namespace QELT::Inspection
