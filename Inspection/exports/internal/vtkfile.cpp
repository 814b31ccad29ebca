// VTK's XML files for structured grids (the VTK User's Guide, "VTK File Formats").
//
// All arrays stand at the file's end, raw, in blocks of zlib. VTK shows no cell that its array "vtkGhostType"
// hides, and no point likewise: that is how a grid has holes. A node that is not there needs coordinates all
// the same; it takes those of one that is, so that no bounding box grows and nobody meets a NaN that he
// computes with. Values are those of cells. Between cells VTK takes the mean, and the mean with a NaN is one:
// nothing finite is made up beside a pixel without a value.

#include "Inspection/exports/internal/deflating.h"
#include "Inspection/exports/internal/writers.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <fstream>
#include <limits>
#include <sstream>

namespace QELT::Inspection {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

constexpr std::size_t blockSize = std::size_t{1} << 20U;
constexpr std::uint8_t hiddenPoint = 2; // vtkDataSetAttributes::HIDDENPOINT
constexpr std::uint8_t hiddenCell = 32; // vtkDataSetAttributes::HIDDENCELL

std::string escaped(std::string const& text) {
    std::string result;
    for (char const character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

/// Arrays that are told in the file's head and appended to it.
class AppendedArrays {
public:
    /// The element that tells of an array, which is added.
    template <class Number>
    std::string add(char const* type, std::string const& name, std::vector<Number> const& numbers,
                    int components = 1) {
        std::string const element = "<DataArray type=\"" + std::string(type) + "\" Name=\"" + escaped(name) +
                                    "\" NumberOfComponents=\"" + std::to_string(components) +
                                    "\" format=\"appended\" offset=\"" + std::to_string(bytes.size()) +
                                    "\"/>\n";
        append(bytesOf(numbers));
        return element;
    }

    std::vector<std::byte> const& get() const { return bytes; }

private:
    std::vector<std::byte> bytes;

    /// Number of blocks, their size, that of the last if it is shorter, compressed sizes, then the blocks.
    void append(std::span<std::byte const> array) {
        std::vector<std::uint64_t> head{0, blockSize, array.size() % blockSize};
        std::vector<std::byte> blocks;
        for (std::size_t begin = 0; begin < array.size(); begin += blockSize) {
            auto const block =
                deflated(array.subspan(begin, std::min(blockSize, array.size() - begin)), DeflateForm::Zlib);
            head.push_back(block.size());
            blocks.insert(blocks.end(), block.begin(), block.end());
            ++head[0];
        }
        auto const headBytes = bytesOf(head);
        bytes.insert(bytes.end(), headBytes.begin(), headBytes.end());
        bytes.insert(bytes.end(), blocks.begin(), blocks.end());
    }
};

/// A grid of a result, cell by cell.
class Block {
public:
    Block(Result const& shownResult, std::size_t patchNumber)
        : result(shownResult), patch(shownResult.patches[patchNumber]), number(patchNumber) {
        for (std::size_t v = 0; v < patch.height; ++v) {
            for (std::size_t u = 0; u < patch.width; ++u) {
                pixels.push_back(result.indexOf(patch.left + u, patch.bottom + v));
            }
        }
    }

    /// Grids may lie over each other in the scan plane; a pixel is of one.
    bool isShown(std::size_t pixel) const {
        return result.hasSurface(pixel) && result.patch[pixel] == number;
    }

    /// One number a cell: of its pixel, or `otherwise` where the grid has none.
    template <class Number, class Read>
    std::vector<Number> cells(Number otherwise, Read const& read) const {
        std::vector<Number> numbers;
        numbers.reserve(pixels.size());
        for (std::size_t const pixel : pixels) {
            numbers.push_back(isShown(pixel) ? static_cast<Number>(read(pixel)) : otherwise);
        }
        return numbers;
    }

    std::vector<float> normals() const {
        std::vector<float> numbers;
        numbers.reserve(3 * pixels.size());
        for (std::size_t const pixel : pixels) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                numbers.push_back(isShown(pixel) ? result.normals[3 * pixel + axis]
                                                 : std::numeric_limits<float>::quiet_NaN());
            }
        }
        return numbers;
    }

    std::size_t nodeCount() const { return (patch.width + 1) * (patch.height + 1); }

    bool hasNode(std::size_t node) const { return nodePlace(result, patch, node).getIsReal(); }

    std::vector<double> points() const {
        Vector stand(0.0, 0.0, 0.0);
        for (std::size_t node = nodeCount(); node > 0; --node) {
            stand = hasNode(node - 1) ? nodePlace(result, patch, node - 1) : stand;
        }
        std::vector<double> numbers;
        numbers.reserve(3 * nodeCount());
        for (std::size_t node = 0; node < nodeCount(); ++node) {
            Vector const place = hasNode(node) ? nodePlace(result, patch, node) : stand;
            numbers.insert(numbers.end(), {place.getdX(), place.getdY(), place.getdZ()});
        }
        return numbers;
    }

    std::vector<std::uint8_t> hiddenPoints() const {
        std::vector<std::uint8_t> numbers;
        numbers.reserve(nodeCount());
        for (std::size_t node = 0; node < nodeCount(); ++node) {
            numbers.push_back(hasNode(node) ? 0 : hiddenPoint);
        }
        return numbers;
    }

    std::string extent() const {
        return "0 " + std::to_string(patch.width) + " 0 " + std::to_string(patch.height) + " 0 0";
    }

private:
    Result const& result;
    Patch const& patch;
    std::size_t number;
    std::vector<std::size_t> pixels{};
};

std::string cellArrays(AppendedArrays& arrays, Block const& block, Result const& result,
                       ValueMaps const& values) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::string text;
    for (ValueMap const* const map : values) {
        text += arrays.add("Float64", labelOf(*map),
                           block.cells(nan, [&](std::size_t pixel) { return map->values[pixel]; }));
    }
    std::uint8_t const noSurface = 0;
    text += arrays.add("UInt8", "state",
                       block.cells(noSurface, [&](std::size_t pixel) { return result.states[pixel]; }));
    text +=
        arrays.add("UInt32", "count",
                   block.cells(std::uint32_t{0}, [&](std::size_t pixel) { return result.counts[pixel]; }));
    std::string const areaName = result.unit.empty() ? "area" : "area [" + result.unit + "^2]";
    text += arrays.add("Float64", areaName,
                       block.cells(0.0, [&](std::size_t pixel) { return result.areas[pixel]; }));
    text += arrays.add("Float32", "normal", block.normals(), 3);
    text += arrays.add("UInt8", "vtkGhostType",
                       block.cells(hiddenCell, [](std::size_t) { return std::uint8_t{0}; }));
    return text;
}

/// A text as VTK has it: the numbers of its bytes, and a zero behind.
std::string textArray(std::string const& name, std::string const& text) {
    std::string numbers;
    for (char const character : text) {
        numbers += std::to_string(static_cast<unsigned char>(character)) + " ";
    }
    return "<Array type=\"String\" Name=\"" + name + "\" NumberOfTuples=\"1\" format=\"ascii\">" + numbers +
           "0</Array>\n";
}

std::string stateTexts() {
    std::string text;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        text += (i > 0 ? ", " : "") + std::to_string(i) + " " + nameOf(static_cast<PixelState>(i));
    }
    return text;
}

std::string headOf(AppendedArrays& arrays, Result const& result, std::size_t patchNumber,
                   ValueMaps const& values) {
    Block const block(result, patchNumber);
    std::string const extent = block.extent();
    return "<?xml version=\"1.0\"?>\n<VTKFile type=\"StructuredGrid\" version=\"1.0\" "
           "byte_order=\"LittleEndian\" header_type=\"UInt64\" compressor=\"vtkZLibDataCompressor\">\n"
           "<StructuredGrid WholeExtent=\"" +
           extent + "\">\n<FieldData>\n" + textArray("unit", result.unit) +
           textArray("states", stateTexts()) + textArray("grid", result.patches[patchNumber].name) +
           "</FieldData>\n<Piece Extent=\"" + extent + "\">\n<Points>\n" +
           arrays.add("Float64", "Points", block.points(), 3) + "</Points>\n<PointData>\n" +
           arrays.add("UInt8", "vtkGhostType", block.hiddenPoints()) + "</PointData>\n<CellData>\n" +
           cellArrays(arrays, block, result, values) +
           "</CellData>\n</Piece>\n</StructuredGrid>\n<AppendedData encoding=\"raw\">\n_";
}

void finish(std::ofstream& output, Destination const& to) {
    output.close();
    require(static_cast<bool>(output), to.name.string() + ": cannot be written");
}

} // namespace

std::string labelOf(ValueMap const& map) {
    return map.unit.empty() ? map.name : map.name + " [" + map.unit + "]";
}

void writeVts(Destination const& to, Result const& result, std::size_t patchNumber, ValueMaps const& values) {
    AppendedArrays arrays;
    std::string const head = headOf(arrays, result, patchNumber, values);
    std::ofstream output(to.file, std::ios::binary);
    output << head;
    output.write(reinterpret_cast<char const*>(arrays.get().data()),
                 static_cast<std::streamsize>(arrays.get().size()));
    output << "\n</AppendedData>\n</VTKFile>\n";
    finish(output, to);
}

void writeVtm(Destination const& to, Result const& result, std::vector<std::filesystem::path> const& files) {
    std::ofstream output(to.file, std::ios::binary);
    output << "<?xml version=\"1.0\"?>\n<VTKFile type=\"vtkMultiBlockDataSet\" version=\"1.0\" "
              "byte_order=\"LittleEndian\">\n<vtkMultiBlockDataSet>\n";
    for (std::size_t i = 0; i < files.size(); ++i) {
        output << "<DataSet index=\"" << i << "\" name=\"" << escaped(result.patches[i].name) << "\" file=\""
               << escaped(files[i].filename().string()) << "\"/>\n";
    }
    output << "</vtkMultiBlockDataSet>\n</VTKFile>\n";
    finish(output, to);
}

} // namespace QELT::Inspection
