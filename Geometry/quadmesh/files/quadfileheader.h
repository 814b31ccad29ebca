#pragma once

#include <cstddef>
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

/// The header of a `.quads` file in memory: what the file says of itself in front of its nodes, taken as it
/// stands. Nothing in it has been compared with the rest of the file, whose length it need not match.
/// `RectMesh::getFileHeader` answers with it, and a derived grid may read it off an open file by
/// `RectMesh::readFileHeader`.
struct QuadFileHeader {
    static constexpr std::size_t nameSize = 128;

    /// The grid's source name. A file that the library wrote has a zero byte at its end, another need not:
    /// it goes up to the first zero byte or the end.
    char name[nameSize] = {};
    /// The highest indices of the grid: it has `extentU` + 1 by `extentV` + 1 nodes.
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    /// 0 and 1 can be loaded.
    std::uint32_t version = 0;
    /// Areas of the quads as settled when the grid was written.
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
