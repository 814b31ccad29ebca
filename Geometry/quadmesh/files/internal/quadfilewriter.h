#pragma once

#include "Geometry/foundations/internal/outputfile.h"
#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/quadmesh/files/quadfileheader.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <functional>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

inline constexpr std::uint32_t writtenQuadFileVersion = 1;

/// Opens a file of a grid for writing. \throws std::ios_base::failure "Quad-mesh file open failure."; what
/// cannot be written later gives "Quad-mesh file write failure.".
OutputFile openGridOutput(char const* path, OutputFile::Mode mode);

/// Writes a `.quads` file of version 1, block after block: its header, one flag byte for every node, and the
/// points of the valid nodes as `getPoint` shows them, all numbers little-endian. What is written, and what
/// is reported before a write that fails, are those of writing byte by byte.
class QuadFileWriter {
public:
    /// `newGetRows` gives the rows of the grid as it is when asked; without it every node is asked for.
    QuadFileWriter(OutputFile& newFile, RectMesh const& newGrid, std::function<Nodes()> newGetRows = {})
        : file(newFile), grid(newGrid), getRows(std::move(newGetRows)) {}

    /// The magic and the fields of `header`, whose version must be that above.
    void writeHeader(QuadFileHeader const& header);

    void writeFlags(PercentageReporter& progress);

    /// \throws std::runtime_error "Unsupported coordinate data-type.".
    void writePoints(std::uint32_t coordinateDataType, PercentageReporter& progress);

private:
    struct Run;

    template <class Visit>
    void forEachRun(PercentageReporter& progress, Visit visit);
    std::optional<Nodes> getRowsOf(Run const& run) const;
    template <class Stored>
    void writePointsAs(PercentageReporter& progress);
    template <class Stored>
    void writeShownRun(Run const& run);
    template <class Stored>
    void writeStoredRun(Nodes const& nodes, Run const& run);
    template <class Stored>
    void put(Stored value);

    OutputFile& file;
    RectMesh const& grid;
    std::function<Nodes()> getRows;
    std::vector<char> block;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
