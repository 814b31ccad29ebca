#pragma once

#include "Geometry/foundations/internal/outputfile.h"
#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/quadmesh/files/quadfileheader.h"
#include "Geometry/quadmesh/rectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

inline constexpr std::uint32_t writtenQuadFileVersion = 1;

/// Opens a file of a grid for writing. \throws std::ios_base::failure "Quad-mesh file open failure."; what
/// cannot be written later gives "Quad-mesh file write failure.".
OutputFile openGridOutput(char const* path, OutputFile::Mode mode);

/// Writes a `.quads` file of version 1, block after block: its header, one flag byte for every node, and the
/// points of the valid nodes as `getPoint` shows them, all numbers little-endian.
class QuadFileWriter {
public:
    QuadFileWriter(OutputFile& newFile, RectMesh const& newGrid) : file(newFile), grid(newGrid) {}

    /// The magic and the fields of `header`, whose version must be that above.
    void writeHeader(QuadFileHeader const& header);

    void writeFlags(PercentageReporter& progress);

    /// \throws std::runtime_error "Unsupported coordinate data-type.".
    void writePoints(std::uint32_t coordinateDataType, PercentageReporter& progress);

private:
    template <class Stored>
    void writePointsAs(PercentageReporter& progress);
    template <class Visit>
    void forEachNode(PercentageReporter& progress, Visit visit);
    template <class Stored>
    void put(Stored value);

    OutputFile& file;
    RectMesh const& grid;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
