#pragma once

#include "tests/support/plain_grid.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// `.quads` files byte by byte, for the comparison with the library's reader and writer.
namespace QELT::Testing {

/// What a file of either version says, in its own terms.
struct PlainQuadFile {
    std::uint32_t version = 1;
    /// The name field; shorter ones are filled up with zero bytes.
    std::string name;
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    double meanQuadArea = 0.0;
    double minQuadArea = 0.0;
    double maxQuadArea = 0.0;
    /// 0 floats, 1 doubles, 2 signed integers. Not in a file of version 0, whose points are doubles.
    std::uint32_t coordinateDataType = 0;
    /// One for every node, row by row.
    std::vector<unsigned char> flags;
    /// One for every node too; those that have no room in the file (version 1: nodes without bit 0) are left
    /// out when encoding and zero when decoding.
    std::vector<std::array<double, 3>> points;

    std::size_t getNodeCount() const;
};

/// The lowest `size` bytes of a number, the lowest first.
std::string littleEndian(std::uint64_t bits, int size);
std::string floatBytes(float value);
std::string doubleBytes(double value);
std::string integerBytes(std::int32_t value);

/// Bytes given as hexadecimal digits; anything else between them is skipped.
std::string bytesFromHex(std::string const& digits);

std::string encodeQuadFile(PlainQuadFile const& file);

/// Values that the bytes do not hold wholly are zero, and so is all behind them. The magic is not looked at.
PlainQuadFile decodeQuadFile(std::string const& bytes);

/// The grid that a mesh holds after loading the file.
PlainGrid gridOfQuadFile(PlainQuadFile const& file);

/// What a file of the grid holds.
PlainQuadFile quadFileOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid);

/// A file of `version` with a few holes and all kinds of flag bytes; coordinates are whole numbers.
PlainQuadFile exampleQuadFile(std::uint32_t version, std::uint32_t coordinateDataType);

} // namespace QELT::Testing
