#include "Geometry/foundations/percentage.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/quadfileheader.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <bit>
#include <locale>
#include <stdexcept>
#include <string_view>

// A `.quads` file is a header of fixed size, one flag byte for every node, and the points of the valid nodes,
// all little-endian. Version 0 has a shorter header, bytes that tell valid nodes alone, and a point of three
// doubles for every node.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr std::string_view magic = "QELTQuad";
constexpr std::uint32_t writtenVersion = 1;
constexpr char const* openFailureText = "Quad-mesh file open failure.";

/// libstdc++ appends the error code's text to what `failure` was given; here it is the text alone.
class FileOpenFailure : public std::ios_base::failure {
public:
    explicit FileOpenFailure(char const* newText)
        : std::ios_base::failure(newText, std::io_errc::stream), text(newText) {}

    char const* what() const noexcept override { return text; }

private:
    char const* text;
};

template <std::size_t size>
struct UnsignedOfSize;

template <>
struct UnsignedOfSize<4> {
    using Type = std::uint32_t;
};

template <>
struct UnsignedOfSize<8> {
    using Type = std::uint64_t;
};

/// Writes the bytes of a 32 or 64 bit value, the lowest first.
template <class Stored>
void encode(Stored value, char* bytes) {
    auto const bits = std::bit_cast<typename UnsignedOfSize<sizeof(Stored)>::Type>(value);
    for (std::size_t i = 0; i < sizeof(Stored); ++i) {
        bytes[i] = static_cast<char>(static_cast<unsigned char>(bits >> (8 * i)));
    }
}

template <class Stored>
Stored decode(char const* bytes) {
    using Bits = typename UnsignedOfSize<sizeof(Stored)>::Type;
    Bits bits = 0;
    for (std::size_t i = 0; i < sizeof(Stored); ++i) {
        bits |= static_cast<Bits>(Bits{static_cast<unsigned char>(bytes[i])} << (8 * i));
    }
    return std::bit_cast<Stored>(bits);
}

constexpr std::size_t bufferSize = 1U << 16;

/// Gathers values into large writes. What is not flushed is lost.
class BlockWriter {
public:
    explicit BlockWriter(std::ofstream& target) : stream(target), buffer(bufferSize) {}

    template <class Stored>
    void put(Stored value) {
        if constexpr (sizeof(Stored) == 1) {
            buffer[makeRoom(1)] = value;
        } else {
            encode(value, &buffer[makeRoom(sizeof(Stored))]);
        }
    }

    void flush() {
        stream.write(buffer.data(), static_cast<std::streamsize>(used));
        used = 0;
    }

private:
    std::size_t makeRoom(std::size_t size) {
        if (used + size > bufferSize) {
            flush();
        }
        std::size_t const start = used;
        used += size;
        return start;
    }

    std::ofstream& stream;
    std::vector<char> buffer;
    std::size_t used = 0;
};

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

template <class Stored>
Stored toStored(float coordinate) {
    if constexpr (std::is_integral_v<Stored>) {
        return truncateToInt32(static_cast<double>(coordinate));
    } else {
        return Stored{coordinate};
    }
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

/// The text up to the first zero byte, or the whole of the field.
std::string getText(std::array<char, 128> const& field) {
    return {field.begin(), std::find(field.begin(), field.end(), '\0')};
}

} // namespace

std::ofstream RectMesh::openForWriting(char const* path, std::ios_base::openmode mode,
                                       char const* failureText) {
    std::ofstream stream;
    stream.imbue(std::locale::classic());
    stream.open(path, mode);
    if (!stream.is_open()) {
        throw FileOpenFailure(failureText);
    }
    return stream;
}

std::ifstream RectMesh::openForReading(char const* path) {
    std::ifstream stream;
    stream.imbue(std::locale::classic());
    stream.open(path, std::ios_base::in | std::ios_base::binary);
    if (!stream.is_open()) {
        throw FileOpenFailure(openFailureText);
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
    std::ofstream stream = openForWriting(path, std::ios_base::out | std::ios_base::binary, openFailureText);
    std::uint32_t const coordinateDataType =
        getCoordinateDataType<decltype(std::declval<ThreeDimensional::Point const&>().getX())>();
    snapQuadAreas();
    writeFileHeader(stream, coordinateDataType);
    PercentageReporter progress(progressListener);
    reportMessage(progressListener, "Writing point flags...");
    writeFlags(stream, progress);
    reportMessage(progressListener, "Writing quad points...");
    progress.restart();
    writePoints(stream, coordinateDataType, progress);
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

void RectMesh::writeFileHeader(std::ofstream& stream, std::uint32_t coordinateDataType) const {
    BlockWriter writer(stream);
    for (char const c : magic) {
        writer.put(c);
    }
    writer.put(writtenVersion);
    // The last byte of the name field is always zero.
    std::array<char, 128> name{};
    std::copy_n(sourceName.begin(), std::min(sourceName.size(), name.size() - 1), name.begin());
    for (char const c : name) {
        writer.put(c);
    }
    writer.put(extents.u);
    writer.put(extents.v);
    writer.put(meanQuadArea);
    writer.put(minQuadArea);
    writer.put(maxQuadArea);
    writer.put(coordinateDataType);
    writer.flush();
}

void RectMesh::writeFlags(std::ofstream& stream, PercentageReporter& progress) const {
    BlockWriter writer(stream);
    std::uint64_t const count = (std::uint64_t{extents.u} + 1) * (std::uint64_t{extents.v} + 1);
    std::uint64_t done = 0;
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        progress.reportShare(done++, count);
        writer.put(getPointFlags(node));
    });
    writer.flush();
}

void RectMesh::writePoints(std::ofstream& stream, std::uint32_t coordinateDataType,
                           PercentageReporter& progress) const {
    switch (coordinateDataType) {
    case FloatCoordinates:
        return writePointsAs<float>(stream, progress);
    case DoubleCoordinates:
        return writePointsAs<double>(stream, progress);
    case IntegerCoordinates:
        return writePointsAs<std::int32_t>(stream, progress);
    default:
        throw std::runtime_error("Unsupported coordinate data-type.");
    }
}

template <class Stored>
void RectMesh::writePointsAs(std::ofstream& stream, PercentageReporter& progress) const {
    BlockWriter writer(stream);
    std::uint64_t const count = (std::uint64_t{extents.u} + 1) * (std::uint64_t{extents.v} + 1);
    std::uint64_t done = 0;
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        progress.reportShare(done++, count);
        if (getIsPointValid(node)) {
            ThreeDimensional::Point const point = getPoint(node);
            writer.put(toStored<Stored>(point.getX()));
            writer.put(toStored<Stored>(point.getY()));
            writer.put(toStored<Stored>(point.getZ()));
        }
    });
    writer.flush();
}

void RectMesh::readFileHeader(std::ifstream& stream, QuadFileHeader& header) {
    auto const found = readBytes<magic.size()>(stream);
    if (std::string_view(found.data(), found.size()) != magic) {
        throw std::runtime_error("Invalid .quads file.");
    }
    header.version = readValue<std::uint32_t>(stream);
    header.name = readBytes<sizeof(header.name)>(stream);
    header.extentU = readValue<std::uint32_t>(stream);
    header.extentV = readValue<std::uint32_t>(stream);
    header.meanQuadArea = readValue<double>(stream);
    header.minQuadArea = readValue<double>(stream);
    header.maxQuadArea = readValue<double>(stream);
    header.coordinateDataType = header.version == 0 ? DoubleCoordinates : readValue<std::uint32_t>(stream);
}

void RectMesh::getFileHeaderItems(char const* path, unsigned long& extentU, unsigned long& extentV,
                                  double& meanArea, double& minArea, double& maxArea) {
    std::ifstream stream = openForReading(path);
    QuadFileHeader header;
    readFileHeader(stream, header);
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
    sourceName = getText(header.name);
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
