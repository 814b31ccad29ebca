#include "Inspection/grids/gridfile.h"

#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <array>
#include <fstream>
#include <string_view>

namespace QELT::Inspection {

namespace {

constexpr std::string_view magic = "QELTQuad";
constexpr std::size_t versionOffset = 8;
constexpr std::size_t nameOffset = 12;
constexpr std::size_t nameLength = 128;
constexpr std::size_t dataTypeOffset = 172; ///< where a version 0 header ends
constexpr std::size_t headerLength = 176;

/// The file's first bytes, zero where it is shorter.
std::array<char, headerLength> firstBytesOf(std::filesystem::path const& path) {
    requireReadable(path);
    std::array<char, headerLength> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

/// A little-endian number.
std::uint32_t numberAt(std::array<char, headerLength> const& bytes, std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(bytes[offset + i]);
    }
    return number;
}

std::uintmax_t coordinateSizeOf(GridFileHeader const& header) {
    return header.coordinateDataType == 1 ? 8 : 4;
}

std::uintmax_t nodeCountOf(GridFileHeader const& header) {
    return (std::uintmax_t{header.extentU} + 1) * (std::uintmax_t{header.extentV} + 1);
}

/// The bytes up to the first point.
std::uintmax_t bytesBeforePoints(GridFileHeader const& header) {
    return (header.version == 0 ? dataTypeOffset : headerLength) + nodeCountOf(header);
}

void requireBytes(std::filesystem::path const& path, std::uintmax_t needed) {
    std::uintmax_t const size = std::filesystem::file_size(path);
    if (size < needed) {
        throw Failure(path.string() + ": the file is cut short (" + std::to_string(size) +
                      " bytes, at least " + std::to_string(needed) + " expected)");
    }
}

std::uintmax_t bytesOfPoints(GridFileHeader const& header, Grid const& grid) {
    std::uintmax_t const pointCount =
        header.version == 0 ? nodeCountOf(header) : std::uintmax_t{gridSummaryOf(grid).validNodeCount};
    return pointCount * 3 * coordinateSizeOf(header);
}

} // namespace

bool isGridFile(std::filesystem::path const& path) {
    auto const bytes = firstBytesOf(path);
    return std::string_view(bytes.data(), magic.size()) == magic;
}

GridFileHeader readGridFileHeader(std::filesystem::path const& path) {
    auto const bytes = firstBytesOf(path);
    GridFileHeader header;
    unsigned long extentU = 0;
    unsigned long extentV = 0;
    naming(path.string(), [&] {
        Grid::getFileHeaderItems(path.c_str(), extentU, extentV, header.meanQuadArea, header.minQuadArea,
                                 header.maxQuadArea);
    });
    header.extentU = static_cast<std::uint32_t>(extentU);
    header.extentV = static_cast<std::uint32_t>(extentV);
    header.version = numberAt(bytes, versionOffset);
    std::string_view const name(bytes.data() + nameOffset, nameLength);
    header.name = name.substr(0, name.find('\0'));
    if (header.version != 0) {
        header.coordinateDataType = numberAt(bytes, dataTypeOffset);
    }
    return header;
}

void loadGrid(Grid& grid, std::filesystem::path const& path) {
    GridFileHeader const header = readGridFileHeader(path);
    naming(path.string(), [&] {
        if (header.version <= 1) {
            requireBytes(path, bytesBeforePoints(header));
        }
        grid.load(path.c_str());
        requireBytes(path, bytesBeforePoints(header) + bytesOfPoints(header, grid));
    });
}

void requireGridOutput(std::filesystem::path const& path) {
    if (path.extension() != ".quads") {
        throw Failure(path.string() + ": the name of a grid file must end in .quads");
    }
    requireWritable(path);
}

void saveGrid(Grid& grid, std::filesystem::path const& path) {
    requireGridOutput(path);
    naming(path.string(), [&] { grid.save(path.c_str()); });
}

std::string nameOfDataType(std::uint32_t coordinateDataType) {
    switch (coordinateDataType) {
    case 0:
        return "32-bit float";
    case 1:
        return "64-bit float";
    case 2:
        return "32-bit integer";
    default:
        return "unknown";
    }
}

} // namespace QELT::Inspection
