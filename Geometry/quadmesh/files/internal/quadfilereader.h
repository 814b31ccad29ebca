#pragma once

#include "Geometry/quadmesh/files/quadfileheader.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <fstream>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Opens a file of a grid for reading. \throws std::ios_base::failure "Quad-mesh file open failure.".
[[nodiscard]] std::ifstream openGridInput(char const* path);

/// Reads the header off the start of a file, up to the flag block. What the file is too short for reads as
/// zero. \throws std::runtime_error "Invalid .quads file.".
[[nodiscard]] QuadFileHeader readQuadFileHeader(std::ifstream& stream);

/// Reads the blocks behind the header into new nodes, in their order: flags, then points. What the file is
/// too short for reads as zero.
class QuadFileReader {
public:
    QuadFileReader(std::ifstream& newStream, Nodes const& newNodes) : stream(newStream), nodes(newNodes) {}

    /// One flag byte for every node, as it stands.
    void readFlags();

    /// The points of the valid nodes.
    /// \throws std::runtime_error "Unsupported coordinate data-type".
    void readPoints(std::uint32_t coordinateDataType);

    /// Version 0: a point for every node. Any flag byte but zero becomes that of a valid node.
    void readPointsOfVersion0();

private:
    template <class Stored>
    void readPointsAs();

    std::ifstream& stream;
    Nodes nodes;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
