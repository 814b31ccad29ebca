#include "Geometry/quadmesh/files/internal/quadfilereader.h"

#include "Geometry/foundations/internal/streamfailure.h"
#include "Geometry/quadmesh/files/internal/littleendian.h"

#include <algorithm>
#include <locale>
#include <stdexcept>
#include <string_view>

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

    Point takePoint() {
        if (end - next < 3 * sizeof(Stored)) {
            return takeDividedPoint();
        }
        char const* const bytes = buffer.data() + next;
        next += 3 * sizeof(Stored);
        return makePoint(decode<Stored>(bytes), decode<Stored>(bytes + sizeof(Stored)),
                         decode<Stored>(bytes + 2 * sizeof(Stored)));
    }

private:
    static Point makePoint(Stored x, Stored y, Stored z) {
        return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
    }

    /// A point of which what is read at once holds a part or nothing.
    Point takeDividedPoint() {
        Stored const x = take();
        Stored const y = take();
        Stored const z = take();
        return makePoint(x, y, z);
    }

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

} // namespace

std::ifstream openGridInput(char const* path) {
    std::ifstream stream;
    stream.imbue(std::locale::classic());
    stream.open(path, std::ios_base::in | std::ios_base::binary);
    if (!stream.is_open()) {
        throw StreamFailure("Quad-mesh file open failure.");
    }
    return stream;
}

QuadFileHeader readQuadFileHeader(std::ifstream& stream) {
    auto const found = readBytes<quadFileMagic.size()>(stream);
    if (std::string_view(found.data(), found.size()) != quadFileMagic) {
        throw std::runtime_error("Invalid .quads file.");
    }
    QuadFileHeader header;
    header.version = readValue<std::uint32_t>(stream);
    auto const name = readBytes<QuadFileHeader::nameSize>(stream);
    std::copy(name.begin(), name.end(), header.name);
    header.extentU = readValue<std::uint32_t>(stream);
    header.extentV = readValue<std::uint32_t>(stream);
    header.meanQuadArea = readValue<double>(stream);
    header.minQuadArea = readValue<double>(stream);
    header.maxQuadArea = readValue<double>(stream);
    header.coordinateDataType = header.version == 0 ? DoubleCoordinates : readValue<std::uint32_t>(stream);
    return header;
}

void QuadFileReader::readFlags() {
    auto const rowSize = static_cast<std::streamsize>(nodes.extentU) + 1;
    for (std::size_t v = 0; v <= nodes.extentV && stream; ++v) {
        stream.read(nodes.flags.get()[v].get(), rowSize);
    }
}

void QuadFileReader::readPoints(std::uint32_t coordinateDataType) {
    switch (coordinateDataType) {
    case FloatCoordinates:
        return readPointsAs<float>();
    case DoubleCoordinates:
        return readPointsAs<double>();
    case IntegerCoordinates:
        return readPointsAs<std::int32_t>();
    default:
        throw std::runtime_error("Unsupported coordinate data-type");
    }
}

template <class Stored>
void QuadFileReader::readPointsAs() {
    BlockReader<Stored> reader(stream);
    for (std::size_t v = 0; v <= nodes.extentV; ++v) {
        Point* const points = nodes.points.get()[v].get();
        char const* const flags = nodes.flags.get()[v].get();
        for (std::size_t u = 0; u <= nodes.extentU; ++u) {
            if (getHasFlag(flags[u], RectMesh::Valid)) {
                points[u] = reader.takePoint();
            }
        }
    }
}

void QuadFileReader::readPointsOfVersion0() {
    BlockReader<double> reader(stream);
    forEachNode({nodes.extentU, nodes.extentV}, [&](TwoDimensional::Point<int> const& node) {
        Point const point = reader.takePoint();
        char& flagByte = nodes.flagsOf(node);
        if (flagByte != 0) {
            nodes.pointOf(node) = point;
            flagByte = withFlag(0, RectMesh::Valid);
        }
    });
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
