#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// How the coordinates of the points are stored in a `.quads` file.
enum CoordinateDataType : std::uint32_t {
    /// 32-bit float, which is what the library writes.
    FloatCoordinates = 0,
    /// 64-bit float; the only one of version 0.
    DoubleCoordinates = 1,
    /// 32-bit signed integer.
    IntegerCoordinates = 2,
    /// Any other type of coordinate: it can't be written.
    UnknownCoordinates = 3,
};

/// The header of a `.quads` file in memory.
struct QuadFileHeader {
    /// The grid's source name, up to the first zero byte or the end.
    std::array<char, 128> name{};
    /// The highest indices of the grid.
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    std::uint32_t version = 0;
    double meanQuadArea = 0.0;
    double minQuadArea = 0.0;
    double maxQuadArea = 0.0;
    /// A `CoordinateDataType`, or what else the file holds.
    std::uint32_t coordinateDataType = 0;
};

/// Which `CoordinateDataType` stores coordinates of the type `Coordinate`.
template <class Coordinate>
constexpr std::uint32_t getCoordinateDataType() {
    if constexpr (std::is_same_v<Coordinate, double>) {
        return DoubleCoordinates;
    } else if constexpr (std::is_same_v<Coordinate, float>) {
        return FloatCoordinates;
    } else if constexpr (std::is_same_v<Coordinate, int>) {
        return IntegerCoordinates;
    } else {
        return UnknownCoordinates;
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
