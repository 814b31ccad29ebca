#include "tests/support/plain_quadfile.h"

#include <bit>
#include <cctype>

namespace QELT::Testing {

namespace {

constexpr std::size_t nameSize = 128;

bool hasRoomForPoint(PlainQuadFile const& file, std::size_t node) {
    return file.version == 0 || (file.flags[node] & 1U) != 0;
}

/// Takes values from the front; zero as soon as one is not there wholly.
class Cursor {
public:
    explicit Cursor(std::string const& newBytes) : bytes(newBytes) {}

    std::string take(std::size_t size) {
        if (at + size > bytes.size()) {
            at = bytes.size() + 1;
            return std::string(size, '\0');
        }
        at += size;
        return bytes.substr(at - size, size);
    }

    std::uint64_t takeNumber(std::size_t size) {
        std::uint64_t number = 0;
        std::string const taken = take(size);
        for (std::size_t i = size; i-- > 0;) {
            number = number * 256 + static_cast<unsigned char>(taken[i]);
        }
        return number;
    }

    std::uint32_t takeUnsigned() { return static_cast<std::uint32_t>(takeNumber(4)); }

    double takeDouble() { return std::bit_cast<double>(takeNumber(8)); }

    double takeCoordinate(std::uint32_t type) {
        switch (type) {
        case 0:
            return static_cast<double>(std::bit_cast<float>(takeUnsigned()));
        case 1:
            return takeDouble();
        default:
            return static_cast<double>(std::bit_cast<std::int32_t>(takeUnsigned()));
        }
    }

private:
    std::string const& bytes;
    std::size_t at = 0;
};

} // namespace

std::size_t PlainQuadFile::getNodeCount() const {
    return (std::size_t{extentU} + 1) * (std::size_t{extentV} + 1);
}

std::string littleEndian(std::uint64_t bits, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>(static_cast<unsigned char>(bits % 256));
        bits /= 256;
    }
    return bytes;
}

std::string floatBytes(float value) {
    return littleEndian(std::bit_cast<std::uint32_t>(value), 4);
}

std::string doubleBytes(double value) {
    return littleEndian(std::bit_cast<std::uint64_t>(value), 8);
}

std::string integerBytes(std::int32_t value) {
    return littleEndian(std::bit_cast<std::uint32_t>(value), 4);
}

std::string bytesFromHex(std::string const& digits) {
    std::string hex;
    for (char const c : digits) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            hex += c;
        }
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string encodeQuadFile(PlainQuadFile const& file) {
    std::string bytes = "QELTQuad" + littleEndian(file.version, 4);
    bytes += file.name + std::string(nameSize - file.name.size(), '\0');
    bytes += littleEndian(file.extentU, 4) + littleEndian(file.extentV, 4);
    bytes += doubleBytes(file.meanQuadArea) + doubleBytes(file.minQuadArea) + doubleBytes(file.maxQuadArea);
    if (file.version != 0) {
        bytes += littleEndian(file.coordinateDataType, 4);
    }
    for (unsigned char const flagByte : file.flags) {
        bytes += static_cast<char>(flagByte);
    }
    std::uint32_t const type = file.version == 0 ? 1 : file.coordinateDataType;
    for (std::size_t node = 0; node < file.flags.size(); ++node) {
        if (!hasRoomForPoint(file, node)) {
            continue;
        }
        for (double const c : file.points[node]) {
            bytes += type == 0   ? floatBytes(static_cast<float>(c))
                     : type == 1 ? doubleBytes(c)
                                 : integerBytes(static_cast<std::int32_t>(c));
        }
    }
    return bytes;
}

PlainQuadFile decodeQuadFile(std::string const& bytes) {
    Cursor cursor(bytes);
    cursor.take(8);
    PlainQuadFile file;
    file.version = cursor.takeUnsigned();
    file.name = cursor.take(nameSize);
    file.extentU = cursor.takeUnsigned();
    file.extentV = cursor.takeUnsigned();
    file.meanQuadArea = cursor.takeDouble();
    file.minQuadArea = cursor.takeDouble();
    file.maxQuadArea = cursor.takeDouble();
    file.coordinateDataType = file.version == 0 ? 1 : cursor.takeUnsigned();
    for (std::size_t node = 0; node < file.getNodeCount(); ++node) {
        file.flags.push_back(static_cast<unsigned char>(cursor.takeNumber(1)));
    }
    for (std::size_t node = 0; node < file.getNodeCount(); ++node) {
        std::array<double, 3> point{};
        if (hasRoomForPoint(file, node)) {
            for (double& c : point) {
                c = cursor.takeCoordinate(file.coordinateDataType);
            }
        }
        file.points.push_back(point);
    }
    return file;
}

PlainGrid gridOfQuadFile(PlainQuadFile const& file) {
    PlainGrid grid{file.extentU, file.extentV, {}, {}};
    for (std::size_t node = 0; node < file.getNodeCount(); ++node) {
        bool const isValid = file.version == 0 ? file.flags[node] != 0 : (file.flags[node] & 1U) != 0;
        std::array<double, 3> const& c = file.points[node];
        grid.points.push_back(isValid
                                  ? PlainPoint{plainNarrowed(c[0]), plainNarrowed(c[1]), plainNarrowed(c[2])}
                                  : PlainPoint{});
        grid.flags.push_back(file.version == 0 ? static_cast<unsigned char>(isValid ? 1 : 0)
                                               : file.flags[node]);
    }
    if (file.version != 0) {
        return grid;
    }
    PlainGrid marked = grid;
    for (std::int32_t v = 0; v <= static_cast<std::int32_t>(file.extentV); ++v) {
        for (std::int32_t u = 0; u <= static_cast<std::int32_t>(file.extentU); ++u) {
            if (grid.getIsPointValid({u, v})) {
                marked.flags[grid.getNode({u, v})] = grid.getIsBoundaryPoint({u, v}) ? 1 + 4 : 1 + 2;
            }
        }
    }
    return marked;
}

PlainQuadFile quadFileOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid) {
    PlainGrid const nodes = plainGridOf(grid);
    PlainQuadFile file;
    file.name = grid.sourceName.substr(0, nameSize - 1);
    file.extentU = nodes.highestU;
    file.extentV = nodes.highestV;
    file.meanQuadArea = grid.meanQuadArea;
    file.minQuadArea = grid.minQuadArea;
    file.maxQuadArea = grid.maxQuadArea;
    file.flags = nodes.flags;
    for (PlainPoint const& point : nodes.points) {
        file.points.push_back(
            {static_cast<double>(point.x), static_cast<double>(point.y), static_cast<double>(point.z)});
    }
    return file;
}

PlainQuadFile exampleQuadFile(std::uint32_t version, std::uint32_t coordinateDataType) {
    PlainQuadFile file;
    file.version = version;
    file.name = "example part";
    file.extentU = 4;
    file.extentV = 3;
    file.meanQuadArea = 1.25;
    file.minQuadArea = 0.75;
    file.maxQuadArea = 2.5;
    file.coordinateDataType = version == 0 ? 1 : coordinateDataType;
    std::array<unsigned char, 7> const flagBytes{1, 3, 0, 5, 21, 3, 7};
    for (int node = 0; node < 20; ++node) {
        file.flags.push_back(flagBytes[static_cast<std::size_t>(node) % flagBytes.size()]);
        file.points.push_back({10.0 * node, -7.0 * node + 3.0, static_cast<double>((node * node) % 11)});
    }
    return file;
}

} // namespace QELT::Testing
