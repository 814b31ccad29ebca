#pragma once

#include <array>
#include <cstdint>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The header of a `.quads` file in memory.
struct QuadFileHeader {
    std::array<char, 128> name{};
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    std::uint32_t version = 0;
    double meanQuadArea = 0.0;
    double minQuadArea = 0.0;
    double maxQuadArea = 0.0;
    std::uint32_t coordinateDataType = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
