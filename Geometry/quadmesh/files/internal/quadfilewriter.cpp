#include "Geometry/quadmesh/files/internal/quadfilewriter.h"

#include "Geometry/foundations/internal/streamfailure.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/files/internal/littleendian.h"
#include "Geometry/quadmesh/internal/shownrow.h"

#include <algorithm>
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

/// A run of nodes of a row, the last not included.
struct QuadFileWriter::Run {
    std::uint64_t v;
    std::uint64_t first;
    std::uint64_t last;

    std::size_t getSize() const { return static_cast<std::size_t>(last - first); }

    template <class Visit>
    void forEachNode(Visit visit) const {
        for (std::uint64_t u = first; u < last; ++u) {
            visit(TwoDimensional::Point<int>(static_cast<int>(u), static_cast<int>(v)));
        }
    }
};

template <class Stored>
void QuadFileWriter::put(Stored value) {
    std::array<char, sizeof(Stored)> bytes;
    encode(value, bytes.data());
    file.write({bytes.data(), bytes.size()});
}

/// Calls `visit` with all nodes as runs, row by row, and reports each node's share before it: a run ends
/// where the percentage changes, so that there is nothing to report within. An empty grid counts as the one
/// node (0, 0).
template <class Visit>
void QuadFileWriter::forEachRun(PercentageReporter& progress, Visit visit) {
    std::uint64_t const nodesU = std::uint64_t{grid.getExtents().getdU()} + 1;
    std::uint64_t const nodesV = std::uint64_t{grid.getExtents().getdV()} + 1;
    std::uint64_t const total = nodesU * nodesV;
    for (std::uint64_t v = 0; v < nodesV; ++v) {
        for (std::uint64_t u = 0; u < nodesU;) {
            std::uint64_t const done = v * nodesU + u;
            progress.reportShare(done, total);
            std::uint64_t const nextShare = ((done * 100 / total + 1) * total + 99) / 100;
            std::uint64_t const last = std::min(nodesU, nextShare - v * nodesU);
            visit(Run{v, u, last});
            u = last;
        }
    }
}

/// The rows of the grid, if they are to be had and hold this run: a listener may have changed the grid.
std::optional<Nodes> QuadFileWriter::getRowsOf(Run const& run) const {
    Nodes nodes = getRows ? getRows() : Nodes();
    bool const isThere =
        nodes.points != nullptr && run.v <= nodes.extentV && run.last <= nodes.extentU + std::uint64_t{1};
    return isThere ? std::optional<Nodes>(std::move(nodes)) : std::nullopt;
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
    forEachRun(progress, [&](Run const& run) {
        if (auto const nodes = getRowsOf(run)) {
            file.writeBlock(
                {nodes->flags[static_cast<std::ptrdiff_t>(run.v)].get() + run.first, run.getSize()});
            return;
        }
        run.forEachNode([&](TwoDimensional::Point<int> const& node) {
            char const byte = grid.getPointFlags(node);
            file.write({&byte, 1});
        });
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
    bool const isPlain = getIsPlain(grid);
    forEachRun(progress, [&](Run const& run) {
        auto const nodes = isPlain ? getRowsOf(run) : std::nullopt;
        if (nodes) {
            writeStoredRun<Stored>(*nodes, run);
        } else {
            writeShownRun<Stored>(run);
        }
    });
    file.flush();
}

/// The run as `getPoint` shows it, node by node.
template <class Stored>
void QuadFileWriter::writeShownRun(Run const& run) {
    run.forEachNode([&](TwoDimensional::Point<int> const& node) {
        if (grid.getIsPointValid(node)) {
            ThreeDimensional::Point const point = grid.getPoint(node);
            put(toStored<Stored>(point.getX()));
            put(toStored<Stored>(point.getY()));
            put(toStored<Stored>(point.getZ()));
        }
    });
}

/// The run of a plain grid, off its rows.
template <class Stored>
void QuadFileWriter::writeStoredRun(Nodes const& nodes, Run const& run) {
    constexpr std::size_t bytesPerPoint = 3 * sizeof(Stored);
    ThreeDimensional::Point const* const points =
        nodes.points[static_cast<std::ptrdiff_t>(run.v)].get() + run.first;
    char const* const flags = nodes.flags[static_cast<std::ptrdiff_t>(run.v)].get() + run.first;
    block.resize(std::max(block.size(), run.getSize() * bytesPerPoint));
    char* next = block.data();
    for (std::size_t i = 0; i < run.getSize(); ++i) {
        if (getHasFlag(flags[i], RectMesh::Valid)) {
            encode(toStored<Stored>(points[i].getX()), next);
            encode(toStored<Stored>(points[i].getY()), next + sizeof(Stored));
            encode(toStored<Stored>(points[i].getZ()), next + 2 * sizeof(Stored));
            next += bytesPerPoint;
        }
    }
    file.writeBlock({block.data(), static_cast<std::size_t>(next - block.data())});
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
