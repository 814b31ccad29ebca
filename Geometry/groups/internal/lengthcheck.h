#pragma once

#include <cstddef>
#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Throws `message` as a `std::runtime_error` unless a list has one entry for each of `wanted`.
inline void checkLength(std::size_t length, std::size_t wanted, char const* message) {
    if (length != wanted) {
        throw std::runtime_error(message);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
