#include "Inspection/grids/gridfile.h"

#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <array>
#include <fstream>
#include <string_view>

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::QuadMesh::QuadFileHeader;

/// The core's header of the file. Failures name the file.
QuadFileHeader headerOf(std::filesystem::path const& path) {
    requireReadable(path);
    return naming(path.string(), [&] { return Grid::getFileHeader(path.c_str()); });
}

std::uintmax_t coordinateSizeOf(GridFileHeader const& header) {
    return header.coordinateDataType == 1 ? 8 : 4;
}

std::uintmax_t nodeCountOf(GridFileHeader const& header) {
    return (std::uintmax_t{header.extentU} + 1) * (std::uintmax_t{header.extentV} + 1);
}

/// The bytes up to the first point.
std::uintmax_t bytesBeforePoints(GridFileHeader const& header) {
    constexpr std::uintmax_t headerLength0 = 172; ///< of version 0, which names no data type
    constexpr std::uintmax_t headerLength = 176;
    return (header.version == 0 ? headerLength0 : headerLength) + nodeCountOf(header);
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

void requireGridName(std::filesystem::path const& path) {
    if (path.extension() != ".quads") {
        throw Failure(path.string() + ": the name of a grid file must end in .quads");
    }
}

} // namespace

bool isGridFile(std::filesystem::path const& path) {
    constexpr std::string_view magic = "QELTQuad";
    requireReadable(path);
    std::array<char, magic.size()> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return std::string_view(bytes.data(), bytes.size()) == magic;
}

GridFileHeader readGridFileHeader(std::filesystem::path const& path) {
    QuadFileHeader const header = headerOf(path);
    std::string_view const name(header.name, sizeof(header.name));
    return {header.version,      std::string(name.substr(0, name.find('\0'))),
            header.extentU,      header.extentV,
            header.meanQuadArea, header.minQuadArea,
            header.maxQuadArea,  header.coordinateDataType};
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

void addGridOutput(Outputs& outputs, std::filesystem::path const& path) {
    requireGridName(path);
    outputs.add(path);
}

void saveGrid(Grid& grid, Destination const& to) {
    requireGridName(to.name);
    requireWritable(to.file);
    naming(to.name.string(), [&] { grid.save(to.file.c_str()); });
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
