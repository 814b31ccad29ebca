#include "Geometry/quadmesh/files/internal/quadfilewriter.h"

#include "Geometry/foundations/internal/streamfailure.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/files/internal/littleendian.h"

#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

template <class Stored>
Stored toStored(float coordinate) {
    if constexpr (std::is_integral_v<Stored>) {
        return truncateToInt32(static_cast<double>(coordinate));
    } else {
        return Stored{coordinate};
    }
}

} // namespace

OutputFile openGridOutput(char const* path, OutputFile::Mode mode) {
    auto file = OutputFile::open(path, mode, [] { throw StreamFailure("Quad-mesh file write failure."); });
    if (!file) {
        throw StreamFailure("Quad-mesh file open failure.");
    }
    return std::move(*file);
}

template <class Stored>
void QuadFileWriter::put(Stored value) {
    std::array<char, sizeof(Stored)> bytes;
    encode(value, bytes.data());
    file.write({bytes.data(), bytes.size()});
}

/// Calls `visit` with every node, row by row, and reports its share of them before. An empty grid counts as
/// the one node (0, 0).
template <class Visit>
void QuadFileWriter::forEachNode(PercentageReporter& progress, Visit visit) {
    std::uint64_t const nodesU = std::uint64_t{grid.getExtents().getdU()} + 1;
    std::uint64_t const nodesV = std::uint64_t{grid.getExtents().getdV()} + 1;
    for (std::uint64_t v = 0; v < nodesV; ++v) {
        for (std::uint64_t u = 0; u < nodesU; ++u) {
            progress.reportShare(v * nodesU + u, nodesU * nodesV);
            visit(TwoDimensional::Point<int>(static_cast<int>(u), static_cast<int>(v)));
        }
    }
}

void QuadFileWriter::writeHeader(QuadFileHeader const& header) {
    file.write(quadFileMagic);
    put(header.version);
    file.write({header.name, QuadFileHeader::nameSize});
    put(header.extentU);
    put(header.extentV);
    put(header.meanQuadArea);
    put(header.minQuadArea);
    put(header.maxQuadArea);
    put(header.coordinateDataType);
    file.flush();
}

void QuadFileWriter::writeFlags(PercentageReporter& progress) {
    forEachNode(progress, [&](TwoDimensional::Point<int> const& node) {
        char const byte = grid.getPointFlags(node);
        file.write({&byte, 1});
    });
    file.flush();
}

void QuadFileWriter::writePoints(std::uint32_t coordinateDataType, PercentageReporter& progress) {
    switch (coordinateDataType) {
    case FloatCoordinates:
        return writePointsAs<float>(progress);
    case DoubleCoordinates:
        return writePointsAs<double>(progress);
    case IntegerCoordinates:
        return writePointsAs<std::int32_t>(progress);
    default:
        throw std::runtime_error("Unsupported coordinate data-type.");
    }
}

template <class Stored>
void QuadFileWriter::writePointsAs(PercentageReporter& progress) {
    forEachNode(progress, [&](TwoDimensional::Point<int> const& node) {
        if (grid.getIsPointValid(node)) {
            ThreeDimensional::Point const point = grid.getPoint(node);
            put(toStored<Stored>(point.getX()));
            put(toStored<Stored>(point.getY()));
            put(toStored<Stored>(point.getZ()));
        }
    });
    file.flush();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
