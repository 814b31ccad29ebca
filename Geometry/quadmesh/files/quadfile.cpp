#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/internal/streamfailure.h"
#include "Geometry/quadmesh/files/internal/littleendian.h"
#include "Geometry/quadmesh/files/internal/quadfilewriter.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <iterator>
#include <locale>
#include <stdexcept>
#include <string_view>

// A `.quads` file is a header of fixed size, one flag byte for every node, and the points of the valid nodes,
// all little-endian. Version 0 has a shorter header, bytes that tell valid nodes alone, and a point of three
// doubles for every node.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr std::size_t bufferSize = 1U << 16;

/// Takes the values of the file's last block in large reads; zero from the first that is not whole.
template <class Stored>
class BlockReader {
public:
    explicit BlockReader(std::ifstream& source) : stream(source), buffer(bufferSize) {}

    Stored take() {
        if (next == end && !refill()) {
            return Stored{};
        }
        next += sizeof(Stored);
        return decode<Stored>(&buffer[next - sizeof(Stored)]);
    }

private:
    bool refill() {
        next = 0;
        end = 0;
        if (stream) {
            stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
            auto const count = static_cast<std::size_t>(stream.gcount());
            end = count - count % sizeof(Stored);
        }
        return end != 0;
    }

    std::ifstream& stream;
    std::vector<char> buffer;
    std::size_t next = 0;
    std::size_t end = 0;
};

/// The next bytes of the file; if it is too short for them, all of them zero.
template <std::size_t size>
std::array<char, size> readBytes(std::ifstream& stream) {
    std::array<char, size> bytes{};
    if (!stream.read(bytes.data(), size)) {
        bytes.fill(0);
    }
    return bytes;
}

template <class Stored>
Stored readValue(std::ifstream& stream) {
    return decode<Stored>(readBytes<sizeof(Stored)>(stream).data());
}

/// The path without directory and extension. Only a backslash separates directories.
std::string getBareName(std::string name) {
    std::size_t const separator = name.rfind('\\');
    if (separator != std::string::npos) {
        name.erase(0, separator + 1);
    }
    std::size_t const dot = name.rfind('.');
    if (dot != std::string::npos) {
        name.erase(dot);
    }
    return name;
}

/// The name up to the first zero byte, or the whole of the field.
std::string getNameIn(QuadFileHeader const& header) {
    return {std::begin(header.name), std::find(std::begin(header.name), std::end(header.name), '\0')};
}

} // namespace

std::ifstream RectMesh::openForReading(char const* path) {
    std::ifstream stream;
    stream.imbue(std::locale::classic());
    stream.open(path, std::ios_base::in | std::ios_base::binary);
    if (!stream.is_open()) {
        throw StreamFailure("Quad-mesh file open failure.");
    }
    return stream;
}

void RectMesh::save(char const* path) {
    std::string const name = path;
    if (name.find(".quads") != std::string::npos) {
        saveAsQuads(name.c_str());
    } else if (name.find(".obj") != std::string::npos) {
        saveAsOBJ(name.c_str());
    } else {
        throw std::runtime_error("Unsupported file extension");
    }
    setFileName(name);
}

void RectMesh::saveAsQuads(char const* path) {
    OutputFile file = openGridOutput(path, OutputFile::Mode::Binary);
    snapQuadAreas();
    QuadFileHeader const header = makeFileHeader();
    QuadFileWriter writer(file, *this);
    writer.writeHeader(header);
    PercentageReporter progress(progressListener);
    reportMessage(progressListener, "Writing point flags...");
    writer.writeFlags(progress);
    reportMessage(progressListener, "Writing quad points...");
    progress.restart();
    writer.writePoints(header.coordinateDataType, progress);
    file.close();
}

/// What a file of this grid says of it. The last byte of the name stays zero.
QuadFileHeader RectMesh::makeFileHeader() const {
    QuadFileHeader header;
    std::copy_n(sourceName.begin(), std::min(sourceName.size(), QuadFileHeader::nameSize - 1), header.name);
    header.extentU = extents.u;
    header.extentV = extents.v;
    header.version = writtenQuadFileVersion;
    header.meanQuadArea = meanQuadArea;
    header.minQuadArea = minQuadArea;
    header.maxQuadArea = maxQuadArea;
    header.coordinateDataType =
        getCoordinateDataType<decltype(std::declval<ThreeDimensional::Point const&>().getX())>();
    return header;
}

void RectMesh::snapQuadAreas() {
    if (!doSnapQuadAreas) {
        return;
    }
    double const lowest = (1.0 - quadAreaTolerance) * targetQuadArea;
    double const highest = (1.0 + quadAreaTolerance) * targetQuadArea;
    for (double* const area : {&meanQuadArea, &minQuadArea, &maxQuadArea}) {
        if (*area < lowest || *area > highest) {
            *area = targetQuadArea;
        }
    }
}

void RectMesh::readFileHeader(std::ifstream& stream, QuadFileHeader& header) {
    auto const found = readBytes<quadFileMagic.size()>(stream);
    if (std::string_view(found.data(), found.size()) != quadFileMagic) {
        throw std::runtime_error("Invalid .quads file.");
    }
    header.version = readValue<std::uint32_t>(stream);
    auto const name = readBytes<QuadFileHeader::nameSize>(stream);
    std::copy(name.begin(), name.end(), header.name);
    header.extentU = readValue<std::uint32_t>(stream);
    header.extentV = readValue<std::uint32_t>(stream);
    header.meanQuadArea = readValue<double>(stream);
    header.minQuadArea = readValue<double>(stream);
    header.maxQuadArea = readValue<double>(stream);
    header.coordinateDataType = header.version == 0 ? DoubleCoordinates : readValue<std::uint32_t>(stream);
}

QuadFileHeader RectMesh::getFileHeader(char const* path) {
    std::ifstream stream = openForReading(path);
    QuadFileHeader header;
    readFileHeader(stream, header);
    return header;
}

void RectMesh::getFileHeaderItems(char const* path, unsigned long& extentU, unsigned long& extentV,
                                  double& meanArea, double& minArea, double& maxArea) {
    QuadFileHeader const header = getFileHeader(path);
    extentU = header.extentU;
    extentV = header.extentV;
    meanArea = header.meanQuadArea;
    minArea = header.minQuadArea;
    maxArea = header.maxQuadArea;
}

void RectMesh::load(char const* path) {
    std::ifstream stream = openForReading(path);
    QuadFileHeader header;
    readFileHeader(stream, header);
    setFileName(getBareName(path));
    switch (header.version) {
    case 0:
        loadv0(header, stream);
        break;
    case 1:
        loadv1(header, stream);
        break;
    default:
        throw std::runtime_error("Unsupported .quad file version.");
    }
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
}

void RectMesh::loadv0(QuadFileHeader const& header, std::ifstream& stream) {
    initFromHeader(header);
    readFlags(stream);
    BlockReader<double> reader(stream);
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        double const x = reader.take();
        double const y = reader.take();
        double const z = reader.take();
        bool const isValid = getPointFlags(node) != 0;
        setPointFlags(node, 0);
        if (isValid) {
            setPoint(node, ThreeDimensional::Point(x, y, z));
        }
    });
    markBoundaryAndInterior();
}

void RectMesh::loadv1(QuadFileHeader const& header, std::ifstream& stream) {
    initFromHeader(header);
    sourceName = getNameIn(header);
    readFlags(stream);
    switch (header.coordinateDataType) {
    case FloatCoordinates:
        return readPointsAs<float>(stream);
    case DoubleCoordinates:
        return readPointsAs<double>(stream);
    case IntegerCoordinates:
        return readPointsAs<std::int32_t>(stream);
    default:
        throw std::runtime_error("Unsupported coordinate data-type");
    }
}

void RectMesh::initFromHeader(QuadFileHeader const& header) {
    init(TwoDimensional::Vector<unsigned long>(header.extentU, header.extentV));
    meanQuadArea = header.meanQuadArea;
    minQuadArea = header.minQuadArea;
    maxQuadArea = header.maxQuadArea;
}

void RectMesh::readFlags(std::ifstream& stream) {
    auto const rowSize = static_cast<std::streamsize>(extents.u) + 1;
    for (std::size_t v = 0; v <= extents.v && stream; ++v) {
        stream.read(flags.get()[v].get(), rowSize);
    }
}

template <class Stored>
void RectMesh::readPointsAs(std::ifstream& stream) {
    BlockReader<Stored> reader(stream);
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        if (getIsPointValid(node)) {
            auto const x = static_cast<double>(reader.take());
            auto const y = static_cast<double>(reader.take());
            auto const z = static_cast<double>(reader.take());
            setPoint(node, ThreeDimensional::Point(x, y, z));
        }
    });
}

void RectMesh::markBoundaryAndInterior() {
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        if (getIsPointValid(node)) {
            setPointFlag(node, getIsBoundaryPoint(node) ? Boundary : Interior, true);
        }
    });
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
