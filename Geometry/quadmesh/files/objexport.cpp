#include "Geometry/quadmesh/files/internal/quadfilewriter.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <charconv>

// OBJ export: the grid as a polygon mesh for other programs. A line for every node, whether there is surface
// or not, so that node (u, v) is always vertex (extent of u + 1) v + u + 1, counted from 1 as the format
// counts; then a face of four vertices for every quad, counter-clockwise from its low corner. Nodes that no
// face names are harmless to readers.
//
// Points are written as `getPoint` shows them, in the six significant digits that a stream writes by default:
// enough to look at, not to compute with. Numbers are formatted without a stream, since a locale must not put
// commas into them. Cost: all nodes twice. An empty grid gives the two headings with nothing below.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr char const* comment = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\n";

/// The digits that a stream writes by default.
constexpr int significantDigits = 6;

/// Room for a float of six digits and an exponent, or a 32-bit number, with a minus sign.
constexpr std::size_t numberRoom = 32;

void writeNumber(OutputFile& file, float value) {
    std::array<char, numberRoom> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(value),
                                      std::chars_format::general, significantDigits);
    file.write({text.data(), result.ptr});
}

void writeNumber(OutputFile& file, std::uint32_t value) {
    std::array<char, numberRoom> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
    file.write({text.data(), result.ptr});
}

void writeVertexLine(OutputFile& file, ThreeDimensional::Point const& point) {
    file.write("v ");
    writeNumber(file, point.getX());
    file.write(" ");
    writeNumber(file, point.getY());
    file.write(" ");
    writeNumber(file, point.getZ());
    file.write("\n");
}

/// `lowCorner` is the vertex number of the quad's low corner, `nodesU` the number of nodes in a row.
void writeFaceLine(OutputFile& file, std::uint32_t lowCorner, std::uint32_t nodesU) {
    std::uint32_t const aboveLowCorner = lowCorner + nodesU;
    file.write("f");
    for (std::uint32_t const vertex : {lowCorner, lowCorner + 1U, aboveLowCorner + 1U, aboveLowCorner}) {
        file.write(" ");
        writeNumber(file, vertex);
    }
    file.write("\n");
}

} // namespace

void RectMesh::saveAsOBJ(char const* path) const {
    OutputFile file = openGridOutput(path, OutputFile::Mode::Text);
    std::uint32_t const nodesU = extents.u + 1U;
    file.write(comment);
    file.write("g Vertices\n");
    if (getHasRows()) {
        forEachNode(getExtents(),
                    [&](TwoDimensional::Point<int> const& node) { writeVertexLine(file, getPoint(node)); });
    }
    file.write("\ng Faces\n");
    forEachNode(getExtents(), [&](TwoDimensional::Point<int> const& node) {
        if (getIsQuadValid(node)) {
            auto const u = static_cast<std::uint32_t>(node.getU());
            auto const v = static_cast<std::uint32_t>(node.getV());
            writeFaceLine(file, nodesU * v + u + 1U, nodesU);
        }
    });
    file.close();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
